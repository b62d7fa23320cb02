#include "platform/AVFoundation/AVAsset.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>

#include "linux/imageio/ByteSource.h"
#include "linux/media/Movie.h"

namespace tessaly {
namespace {

using imageio::asText;
using imageio::ByteSource;
using std::string_view_literals::operator""sv;

struct MovieFormat {
    std::string_view typeIdentifier;
    void (*read)(ByteSource&, AVAsset&);
};

struct Brand {
    std::string_view prefix;
    std::string_view typeIdentifier;
};

constexpr std::array kBrands{
    Brand{"qt  ", "com.apple.quicktime-movie"},
    Brand{"3gp", "public.3gpp"},
    Brand{"3gr", "public.3gpp"},
    Brand{"3gs", "public.3gpp"},
    Brand{"3g2", "public.3gpp2"},
    Brand{"M4V", "com.apple.m4v-video"},
};
/// Sound only, and pictures that another reader knows.
constexpr std::array kOthers{"M4A "sv, "M4B "sv, "M4P "sv, "F4A "sv};
/// What a QuickTime file of before there was "ftyp" begins with.
constexpr std::array kFirstAtoms{"moov"sv, "mdat"sv, "wide"sv, "free"sv, "skip"sv, "pnot"sv};

std::optional<MovieFormat> formatOf(ByteSource& source) {
    const std::string_view head = asText(source.bytesUpTo(0, 64));
    if (head.size() < 12) return std::nullopt;
    if (head.starts_with("\x1A\x45\xDF\xA3"sv)) {
        const bool webm = head.find("webm"sv) != std::string_view::npos;
        return MovieFormat{webm ? "org.webmproject.webm"sv : "org.matroska.mkv"sv, media::readMatroska};
    }
    if (head.starts_with("RIFF"sv) && head.substr(8, 4) == "AVI "sv) return MovieFormat{"public.avi", media::readAvi};
    if (media::transportStride(source) != 0) return MovieFormat{"public.mpeg-2-transport-stream", media::readTransport};
    const std::string_view atom = head.substr(4, 4);
    if (atom == "ftyp"sv) {
        const std::string_view brand = head.substr(8, 4);
        if (std::ranges::find(kOthers, brand) != kOthers.end()) return std::nullopt;
        for (const Brand& known : kBrands)
            if (brand.starts_with(known.prefix)) return MovieFormat{known.typeIdentifier, media::readMovie};
        return MovieFormat{"public.mpeg-4", media::readMovie};
    }
    if (std::ranges::find(kFirstAtoms, atom) != kFirstAtoms.end())
        return MovieFormat{"com.apple.quicktime-movie", media::readMovie};
    return std::nullopt;
}

/// When the file was made; where the file system does not keep that, when it was changed last.
std::optional<NSDate> creationDateOf(const std::string& path) {
    struct statx status {};
    if (::statx(AT_FDCWD, path.c_str(), 0, STATX_BTIME | STATX_MTIME, &status) != 0) return std::nullopt;
    const auto& time = (status.stx_mask & STATX_BTIME) != 0 ? status.stx_btime : status.stx_mtime;
    return NSDate{static_cast<double>(time.tv_sec) + time.tv_nsec / 1e9};
}

void read(ByteSource& source, AVAsset& asset) {
    asset.byteCount = source.size();
    const auto format = formatOf(source);
    if (!format) {
        asset.fault = source.size() == 0 ? AVAssetFault::empty : AVAssetFault::unknownFormat;
        return;
    }
    asset.typeIdentifier = format->typeIdentifier;
    format->read(source, asset);
}

}  // namespace

std::string_view media::movieTypeOf(ByteSource& source) {
    const auto format = formatOf(source);
    return format ? format->typeIdentifier : std::string_view{};
}

std::shared_ptr<AVAsset> AVAsset::assetWithURL(const std::string& path) {
    auto asset = std::make_shared<AVAsset>();
    asset->path = path;
    auto source = ByteSource::openFile(path, asset->fault);
    if (!source) return asset;
    asset->fileCreationDate = creationDateOf(path);
    read(*source, *asset);
    return asset;
}

std::shared_ptr<AVAsset> AVAsset::assetWithData(const Data& data) {
    auto asset = std::make_shared<AVAsset>();
    asset->data = data;
    ByteSource source(data ? imageio::Bytes(*data) : imageio::Bytes());
    read(source, *asset);
    return asset;
}

const AVAssetTrack* AVAsset::firstVideoTrack() const noexcept {
    for (const AVAssetTrack& track : tracks)
        if (track.mediaType == AVMediaType::video) return &track;
    return nullptr;
}

}  // namespace tessaly
