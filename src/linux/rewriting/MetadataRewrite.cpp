#include "platform/ImageIO/MetadataRewrite.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

#include "linux/foundation/AtomicFile.h"
#include "linux/imageio/ImageFormat.h"
#include "linux/imageio/rewrite/JpegScans.h"
#include "linux/imageio/rewrite/Rewriters.h"
#include "linux/imageio/rewrite/ValueCompanions.h"
#include "linux/media/Movie.h"
#include "linux/media/MovieRewriters.h"
#include "linux/rewriting/FileRewriter.h"

namespace tessaly {
namespace {

using namespace imageio;
using std::string_view_literals::operator""sv;

using Rewriter = RewriteResult (*)(ByteSource&, const BlockChange&, RewriteFault&);

struct KnownRewriter {
    std::string_view typeIdentifier;
    Rewriter rewrite;
};

/// Raws that are TIFF inside are named by their ending; those in containers of their own have none.
constexpr std::array kRewriters{
    KnownRewriter{"public.jpeg", rewriteJpeg},
    KnownRewriter{"public.png", rewritePng},
    KnownRewriter{"com.compuserve.gif", rewriteGif},
    KnownRewriter{"org.webmproject.webp", rewriteWebp},
    KnownRewriter{"com.microsoft.bmp", rewriteBmp},
    KnownRewriter{"public.tiff", rewriteTiff},
    KnownRewriter{"public.heic", rewriteHeif},
    KnownRewriter{"public.heif", rewriteHeif},
    KnownRewriter{"public.avif", rewriteHeif},
    KnownRewriter{"public.jpeg-2000", rewriteJp2},
    KnownRewriter{"public.jpeg-xl", rewriteJxl},
    KnownRewriter{"com.canon.cr3-raw-image", rewriteCr3},
    KnownRewriter{"com.fuji.raw-image", rewriteRaf},
    KnownRewriter{"com.konicaminolta.raw-image", rewriteMrw},
    KnownRewriter{"com.adobe.photoshop-image", rewritePsd},
    KnownRewriter{"com.adobe.photoshop-large-image", rewritePsd},
    KnownRewriter{"com.canon.crw-raw-image", nullptr},
    KnownRewriter{"com.sigma.x3f-raw-image", nullptr},
    KnownRewriter{"com.microsoft.jxr", nullptr},
};

Rewriter rewriterOf(ByteSource& source, FileFault& fault) {
    fault = FileFault::none;
    if (source.size() == 0) {
        fault = FileFault::empty;
        return nullptr;
    }
    if (const ImageFormat* format = detectImageFormat(source)) {
        const auto known = std::ranges::find(kRewriters, format->typeIdentifier, &KnownRewriter::typeIdentifier);
        return known != kRewriters.end() ? known->rewrite : rewriteRawTiff;
    }
    const std::string_view movie = media::movieTypeOf(source);
    if (movie.empty()) {
        fault = FileFault::unknownFormat;
        return nullptr;
    }
    if (movie == "public.avi") return media::rewriteAvi;
    if (movie == "public.mpeg-2-transport-stream") return nullptr;
    return movie.starts_with("org.") ? media::rewriteMatroska : rewriteMovie;
}

RewriteFailure failureOf(RewriteFault fault) {
    switch (fault) {
        case RewriteFault::damaged:
            return {RewriteFailure::Kind::damaged};
        case RewriteFault::tooLarge:
            return {RewriteFailure::Kind::tooLarge};
        case RewriteFault::unsupported:
            return {RewriteFailure::Kind::unsupported};
        case RewriteFault::none:
            break;
    }
    return {};
}

/// A file of that size is written sooner than a thread is started.
constexpr std::uint64_t kSmall = 2 * 1024 * 1024;

/// An open file that is written onwards.
class OpenFile {
public:
    explicit OpenFile(int file) : file_(file) {}

    bool write(std::span<const std::byte> bytes) {
        while (!bytes.empty()) {
            const auto written = ::write(file_, bytes.data(), bytes.size());
            if (written < 0 && errno == EINTR) continue;
            if (written <= 0) return false;
            bytes = bytes.subspan(static_cast<std::size_t>(written));
        }
        return true;
    }
    bool copyFrom(int source, std::uint64_t offset, std::uint64_t length) {
        std::vector<std::byte> buffer(static_cast<std::size_t>(std::min<std::uint64_t>(length, 256 * 1024)));
        while (length > 0) {
            const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(length, buffer.size()));
            const auto got = ::pread(source, buffer.data(), wanted, static_cast<off_t>(offset));
            if (got < 0 && errno == EINTR) continue;
            if (got == 0) errno = EIO;  // The file has become shorter.
            if (got <= 0 || !write(std::span(buffer).first(static_cast<std::size_t>(got)))) return false;
            offset += static_cast<std::uint64_t>(got);
            length -= static_cast<std::uint64_t>(got);
        }
        return true;
    }

private:
    int file_;
};

template <class Target>
bool writePlan(const RewritePlan& plan, ByteSource& source, Target& target) {
    return std::ranges::all_of(plan.pieces(), [&](const RewritePlan::Piece& piece) {
        if (piece.isScans)
            return writeJpegScans(source, piece.offset,
                                  [&](std::span<const std::byte> bytes) { return target.write(bytes); });
        return piece.isCopied() ? target.copyFrom(source.descriptor(), piece.offset, piece.length)
                                : target.write(piece.own);
    });
}

RewriteFailure writeFailure() {
    return {errno == EEXIST ? RewriteFailure::Kind::exists : RewriteFailure::Kind::cannotWrite, FileFault::none, errno};
}

/// Properties that tell no more than how a picture shows.
constexpr std::array kShown{"Orientation"sv,    "XResolution"sv,          "YResolution"sv,
                            "ResolutionUnit"sv, "Compression"sv,          "PhotometricInterpretation"sv,
                            "ColorSpace"sv,     "WhitePoint"sv,           "XPosition"sv,
                            "YPosition"sv,      "PrimaryChromaticities"sv};
/// Those that even a raw, which needs most of them to be developed, has no use for.
constexpr std::array kPersonal{"Artist"sv,           "Copyright"sv,        "DateTime"sv,          "ImageDescription"sv,
                               "HostComputer"sv,     "DateTimeOriginal"sv, "DateTimeDigitized"sv, "UserComment"sv,
                               "BodySerialNumber"sv, "LensSerialNumber"sv, "CameraOwnerName"sv,   "ImageUniqueID"sv,
                               "OwnerName"sv};

void addLeft(const Dictionary& properties, std::string_view dictionary, bool isRaw, std::vector<std::string>& left) {
    for (const Dictionary::Entry& entry : properties[dictionary].dictionary()) {
        const bool stays = isRaw ? std::ranges::find(kPersonal, entry.key()) == kPersonal.end()
                                 : std::ranges::find(kShown, entry.key()) != kShown.end();
        if (!stays) left.push_back(std::string(dictionary) + " " + std::string(entry.key()));
    }
}

Dictionary propertiesOf(ByteSource& source, const ImageFormat& format) {
    ImageProperties found;
    format.read(source, found);
    return std::move(found).assemble();
}

RemovedTexts removedTexts(ByteSource& source, const MetadataChange& change) {
    const ImageFormat* format = RemovedTexts::areIn(change) ? detectImageFormat(source) : nullptr;
    return format ? RemovedTexts(propertiesOf(source, *format), change) : RemovedTexts();
}

}  // namespace

std::optional<RewritePlan> imageio::rewritePlan(ByteSource& source, const MetadataChange& change,
                                                RewriteFailure& failure) {
    FileFault fault{};
    const Rewriter rewrite = rewriterOf(source, fault);
    if (fault != FileFault::none) {
        failure = {RewriteFailure::Kind::cannotRead, fault, 0};
        return std::nullopt;
    }
    if (!rewrite) {
        failure = {RewriteFailure::Kind::unsupported};
        return std::nullopt;
    }
    RewriteFault why = RewriteFault::none;
    const MetadataChange whole = withCompanions(change);
    auto plan = rewrite(source, BlockChange(whole, removedTexts(source, whole)), why);
    if (!plan) failure = failureOf(why == RewriteFault::none ? RewriteFault::damaged : why);
    return plan;
}

bool imageio::canRewrite(std::string_view typeIdentifier) {
    const auto known = std::ranges::find(kRewriters, typeIdentifier, &KnownRewriter::typeIdentifier);
    return known != kRewriters.end() && known->rewrite;
}

RewriteFailure rewriteMetadata(const std::string& source, const std::string& target, const MetadataChange& change,
                               const RewriteOptions& options) {
    FileFault fault{};
    auto bytes = ByteSource::openFile(source, fault);
    if (!bytes) return {RewriteFailure::Kind::cannotRead, fault, 0};
    RewriteFailure failure;
    const auto plan = rewritePlan(*bytes, change, failure);
    if (!plan) return failure;
    auto file = AtomicFile::create(target);
    if (!file) return writeFailure();
    const auto existing = options.replaces ? AtomicFile::Existing::replaced : AtomicFile::Existing::kept;
    const bool isSmall = bytes->size() < kSmall;
    if (!writePlan(isSmall ? plan->resolved(*bytes) : *plan, *bytes, *file) ||
        !file->adopt(bytes->descriptor(), options.keepsTimes) || !file->commit(existing))
        return writeFailure();
    return {};
}

RewriteFailure rewriteMetadata(const std::string& source, int target, const MetadataChange& change) {
    FileFault fault{};
    auto bytes = ByteSource::openFile(source, fault);
    if (!bytes) return {RewriteFailure::Kind::cannotRead, fault, 0};
    RewriteFailure failure;
    const auto plan = rewritePlan(*bytes, change, failure);
    if (!plan) return failure;
    OpenFile file(target);
    if (!writePlan(*plan, *bytes, file)) return writeFailure();
    return {};
}

Data rewriteMetadata(const Data& bytes, const MetadataChange& change, RewriteFailure* failure) {
    RewriteFailure ignored;
    RewriteFailure& why = failure ? *failure : ignored;
    why = {};
    ByteSource source(bytes ? Bytes(*bytes) : Bytes());
    const auto plan = rewritePlan(source, change, why);
    return plan ? std::make_shared<const std::vector<std::byte>>(plan->bytes(source)) : nullptr;
}

std::optional<std::vector<std::string>> metadataLeft(const std::string& path, const MetadataChange& change) {
    FileFault fault{};
    auto source = ByteSource::openFile(path, fault);
    if (!source) return std::nullopt;
    RewriteFailure failure;
    const auto plan = rewritePlan(*source, change, failure);
    if (!plan) return std::nullopt;
    std::vector<std::string> left;
    if (const ImageFormat* format = detectImageFormat(*source)) {
        const Dictionary properties = propertiesOf(*source, *format);
        const bool isRaw = format->typeIdentifier.find("raw-image") != std::string_view::npos;
        addLeft(properties, "{GPS}", false, left);
        if (change.removesEverything() && change.values.empty())
            for (const std::string_view dictionary : {"{TIFF}"sv, "{Exif}"sv, "{IPTC}"sv, "{ExifAux}"sv}) {
                addLeft(properties, dictionary, isRaw, left);
            }
    }
    if (!plan->reproduces(*source)) left.emplace_back("hidden data");
    return left;
}

}  // namespace tessaly
