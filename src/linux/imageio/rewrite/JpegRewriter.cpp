#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <string>
#include <utility>

#include "linux/imageio/containers/JpegSegments.h"
#include "linux/imageio/rewrite/JpegImages.h"
#include "linux/imageio/rewrite/JpegScans.h"
#include "linux/imageio/rewrite/Rewriters.h"

namespace tessaly::imageio {
namespace {

using namespace jpeg;

constexpr std::size_t kLargestPayload = 65533;
constexpr std::size_t kMaximumJoined = 16 * 1024 * 1024;
constexpr std::string_view kExifHead("Exif\0\0", 6);

struct Segment {
    std::uint8_t marker = 0;
    std::uint64_t start = 0;     ///< Of the marker.
    std::uint64_t position = 0;  ///< Of the payload.
    std::uint64_t length = 0;    ///< Of the payload.
};

ByteVector segmentBytes(std::uint8_t marker, std::string_view mark, Bytes payload) {
    ByteWriter writer;
    writer.write(std::uint8_t{0xFF}).write(marker);
    writer.write(static_cast<std::uint16_t>(2 + mark.size() + payload.size())).text(mark).bytes(payload);
    return writer.take();
}

/// Plans one image: its tables and scans are copied, its metadata segments are made anew.
class JpegPlan {
public:
    JpegPlan(ByteSource& source, const BlockChange& change) : source_(source), change_(change) {}

    RewriteResult make(RewriteFault& fault, bool isGainMap) {
        fault = RewriteFault::damaged;
        if (!readHead()) return std::nullopt;
        std::uint64_t imageEnd = 0;
        isOpenEnded_ = change_.removesEverything() && !isGainMap && !mayHaveGainMap();
        if (!isOpenEnded_) {
            scans_ = findJpegScans(source_, scanStart_, change_.removesEverything());
            imageEnd = scans_.end;
        }
        if (cutsTrailer() && !isGainMap && !isOpenEnded_) cleanFurtherImages(imageEnd);
        fault = RewriteFault::tooLarge;
        if (!addBlocks(isGainMap)) return std::nullopt;
        fault = RewriteFault::none;
        return cutsTrailer() ? joinClean() : joinWithTrailer(imageEnd);
    }

private:
    /// Of what follows the image, only what shows with it stays: gain maps, not previews, videos, nor what nobody
    /// knows.
    [[nodiscard]] bool cutsTrailer() const {
        return change_.removesEverything() || change_.change().removal == MetadataChange::Removal::dictionaries;
    }

    bool startsWith(const Segment& segment, std::string_view mark) {
        const auto head = source_.bytes(segment.position, mark.size());
        return segment.length >= mark.size() && head && asText(*head) == mark;
    }

    Bytes payload(const Segment& segment, std::size_t head = 0) {
        const auto bytes = source_.bytes(segment.position, segment.length);
        return bytes && bytes->size() >= head ? bytes->subspan(head) : Bytes();
    }

    bool readHead() {
        std::uint64_t position = 2;
        for (std::size_t count = 0; count < kMaximumSegments; ++count) {
            const auto marker = nextMarker(source_, position);
            if (!marker || *marker == kEndOfImage) return false;
            if (*marker == kStartOfScan) {
                scanStart_ = position - 2;
                return true;
            }
            if (standsAlone(*marker) || *marker == kStartOfImage) continue;
            const auto length = source_.read<std::uint16_t>(position);
            if (!length || *length < 2 || position + *length > source_.size()) return false;
            sort({*marker, position - 2, position + 2, *length - 2U});
            position += *length;
        }
        return false;
    }

    void sort(const Segment& segment) {
        switch (segment.marker) {
            case kApp0:
                return startsWith(segment, kJfifMark) ? void(jfif_.push_back(segment))
                                                      : void(others_.push_back(segment));
            case kApp1:
                return sortApp1(segment);
            case kApp2:
                if (startsWith(segment, kMpfMark)) {
                    mpf_ = {segment.position + kMpfMark.size(), segment.length - kMpfMark.size()};
                    return;
                }
                others_.push_back(segment);
                return;
            case kApp13:
                return startsWith(segment, kPhotoshopMark) ? void(photoshop_.push_back(segment))
                                                           : void(others_.push_back(segment));
            default:
                others_.push_back(segment);
        }
    }

    void sortApp1(const Segment& segment) {
        if (startsWith(segment, kExifMark) || startsWith(segment, "II*\0"sv) || startsWith(segment, "MM\0*"sv))
            exif_.push_back(segment);
        else if (startsWith(segment, kExtendedXmpMark))
            extendedXmp_.push_back(segment);
        else if (startsWith(segment, "http://ns.adobe.com/xap/"sv) || startsWith(segment, "<?xpacket"sv))
            xmp_.push_back(segment);
        else
            others_.push_back(segment);
    }

    /// Whether a further image belongs to what is shown: an index, or a sign of a gain map, says so.
    bool mayHaveGainMap() {
        const auto names = [&](const Segment& segment) {
            const std::string_view text = asText(payload(segment));
            return text.find("hdr-gain-map") != std::string_view::npos ||
                   text.starts_with("urn:iso:std:iso:ts:21496"sv);
        };
        return mpf_.length != 0 || std::ranges::any_of(xmp_, names) || std::ranges::any_of(others_, names);
    }

    // --- The blocks ---

    void add(std::uint8_t marker, std::string_view mark, Bytes bytes) {
        head_.push_back(segmentBytes(marker, mark, bytes));
    }

    bool addBlocks(bool isGainMap) {
        const bool hasDensity = addJfif();
        if (!addExif(hasDensity)) return false;
        if (!addXmp(isGainMap)) return false;
        return addPhotoshop();
    }

    /// JFIF 1.02: kept without its thumbnail. @return whether it tells a density.
    bool addJfif() {
        bool hasDensity = false;
        for (const Segment& segment : jfif_) {
            const Bytes body = payload(segment);
            if (body.size() < 14) continue;
            hasDensity |= body[7] != std::byte{0};
            ByteVector kept = copyOf(change_.removesEverything() ? body.first(14) : body);
            if (change_.removesEverything()) kept[12] = kept[13] = std::byte{0};
            add(kApp0, {}, kept);
            if (change_.removesEverything()) break;
        }
        return hasDensity;
    }

    /// One block above 64 KB is cut into segments, of which only the first has a TIFF header.
    ByteVector exifBlock() {
        ByteVector whole;
        for (const Segment& segment : exif_) {
            Bytes body = payload(segment);
            if (asText(body).starts_with("Exif")) body = body.subspan(std::min<std::size_t>(6, body.size()));
            const bool hasHeader = asText(body).starts_with("II*\0"sv) || asText(body).starts_with("MM\0*"sv);
            if (!whole.empty() && hasHeader) break;
            if (whole.size() + body.size() > kMaximumJoined) break;
            whole.insert(whole.end(), body.begin(), body.end());
        }
        return whole;
    }

    bool addExif(bool hasDensity) {
        const auto block = change_.exif(exifBlock(), hasDensity);
        if (!block) return true;
        constexpr std::size_t most = kLargestPayload - kExifHead.size();
        for (std::size_t at = 0; at < block->size(); at += most)
            add(kApp1, kExifHead, Bytes(*block).subspan(at, std::min(most, block->size() - at)));
        return true;
    }

    bool addXmp(bool isGainMap) {
        if (change_.removesEverything() && isGainMap) {
            for (const Segment& segment : xmp_)
                if (const auto kept = BlockChange::gainMapXmp(payload(segment))) add(kApp1, kXmpMark, *kept);
            return true;
        }
        Bytes packet;
        if (!xmp_.empty()) {
            const Bytes body = payload(xmp_.front());
            packet = startsWith(xmp_.front(), kXmpMark) ? body.subspan(kXmpMark.size())
                                                        : body.subspan(std::min(asText(body).find('<'), body.size()));
        }
        const bool announcesMap = asText(packet).find("hdr-gain-map") != std::string_view::npos;
        const auto changed =
            cutsTrailer() && !isGainMap
                ? change_.xmpBeforeImages(packet, announcesMap ? gainMapDescription(further_) : std::string())
                : change_.xmp(packet);
        if (changed && changed->size() > kLargestPayload - kXmpMark.size()) return false;
        if (changed) add(kApp1, kXmpMark, *changed);
        return change_.removesEverything() || (addFurtherXmp() && addExtendedXmp());
    }

    /// One packet is the rule; programs that append theirs make a few.
    bool addFurtherXmp() {
        for (std::size_t i = 1; i < xmp_.size(); ++i) {
            const Bytes body = payload(xmp_[i]);
            const std::size_t start = startsWith(xmp_[i], kXmpMark) ? kXmpMark.size() : asText(body).find('<');
            const auto changed = change_.furtherXmp(body.subspan(std::min(start, body.size())));
            if (changed && changed->size() > kLargestPayload - kXmpMark.size()) return false;
            if (changed) add(kApp1, kXmpMark, *changed);
        }
        return true;
    }

    /// XMP part 3, 1.1.3.1: portions with a digest (32), the full length, their offset.
    bool addExtendedXmp() {
        std::map<std::string, std::map<std::uint32_t, Bytes>> packets;
        for (const Segment& segment : extendedXmp_) {
            const Bytes body = payload(segment, kExtendedXmpMark.size());
            if (body.size() < 40) continue;
            const auto offset = loadInteger<std::uint32_t>(body.data() + 36, ByteOrder::big);
            packets[std::string(asText(body.first(32)))].try_emplace(offset, body.subspan(40));
        }
        for (const auto& [digest, portions] : packets) {
            ByteVector whole;
            for (const auto& [offset, portion] : portions)
                if (offset == whole.size()) whole.insert(whole.end(), portion.begin(), portion.end());
            const auto changed = change_.furtherXmp(whole);
            if (!changed) continue;
            constexpr std::size_t most = 65400;
            for (std::size_t at = 0; at < changed->size(); at += most) {
                const Bytes portion = Bytes(*changed).subspan(at, std::min(most, changed->size() - at));
                ByteWriter writer;
                writer.text(digest).write(static_cast<std::uint32_t>(changed->size()));
                writer.write(static_cast<std::uint32_t>(at)).bytes(portion);
                add(kApp1, kExtendedXmpMark, writer.view());
            }
        }
        return true;
    }

    bool addPhotoshop() {
        ByteVector resources;
        for (const Segment& segment : photoshop_) {
            const Bytes body = payload(segment, kPhotoshopMark.size());
            if (resources.size() + body.size() > kMaximumJoined) break;
            resources.insert(resources.end(), body.begin(), body.end());
        }
        const ByteVector changed = change_.photoshop(resources);
        constexpr std::size_t most = kLargestPayload - kPhotoshopMark.size();
        for (std::size_t at = 0; at < changed.size(); at += most)
            add(kApp13, kPhotoshopMark, Bytes(changed).subspan(at, std::min(most, changed.size() - at)));
        return true;
    }

    // --- Putting it together ---

    /// Segments that decide how the picture shows: tables, frames, colour.
    bool isNeeded(const Segment& segment) {
        if (segment.marker == kComment) return false;
        if (segment.marker < kApp0 || segment.marker > kApp15) return true;
        if (segment.marker == kApp14) return startsWith(segment, "Adobe"sv);
        if (segment.marker == kApp2)
            return startsWith(segment, kIccMark) || startsWith(segment, "urn:iso:std:iso:ts:21496"sv);
        if (segment.marker == kApp11) return isExtensionLayer(segment);
        return false;
    }

    /// Boxes of JPEG XT (ISO/IEC 18477-3), whose residual layers show: their types are capitals, and nobody else's are.
    /// Content credentials (JUMBF) do not show.
    bool isExtensionLayer(const Segment& segment) {
        const auto head = source_.bytes(segment.position, 16);
        if (!head || segment.length < 16 || !asText(*head).starts_with("JP")) return false;
        const std::string_view type = asText(*head).substr(12, 4);
        return type == "ftyp" || std::ranges::all_of(type, [](char c) { return c >= 'A' && c <= 'Z'; });
    }

    void startPlan(RewritePlan& plan) const {
        plan.copy(0, 2);
        for (const ByteVector& segment : head_) plan.add(segment);
    }

    void addOthers(RewritePlan& plan, bool onlyNeeded) {
        for (const Segment& segment : others_)
            if (!onlyNeeded || isNeeded(segment)) plan.copy(segment.start, segment.length + 4);
    }

    void addScans(RewritePlan& plan) const {
        if (isOpenEnded_) return plan.copyScans(scanStart_);
        for (const JpegScans::Part& part : scans_.parts) plan.copy(part.offset, part.length);
    }

    /// Plans the images that stay behind the first; their lengths are then those of the result.
    void cleanFurtherImages(std::uint64_t imageEnd) {
        for (JpegImage image : furtherImages(source_, mpf_, imageEnd, true)) {
            ByteSource part = source_.part(image.offset, image.length);
            RewriteFault ignored{};
            auto plan = JpegPlan(part, change_).make(ignored, image.isGainMap);
            if (!plan) continue;
            RewritePlan moved;
            moved.append(std::move(*plan), image.offset);
            image.length = moved.size();
            further_.push_back(image);
            furtherPlans_.push_back(std::move(moved));
        }
    }

    RewritePlan joinClean() {
        RewritePlan plan, rest;
        startPlan(plan);
        addOthers(rest, change_.removesEverything());
        addScans(rest);
        if (!further_.empty() && mpf_.length != 0) plan.add(mpfSegment(further_, plan.size(), rest.size()));
        plan.append(std::move(rest), 0);
        for (RewritePlan& image : furtherPlans_) plan.append(std::move(image), 0);
        return plan;
    }

    /// The rest as it was: what follows the image moves, so the index that tells where it stands is corrected.
    RewritePlan joinWithTrailer(std::uint64_t imageEnd) {
        RewritePlan plan;
        startPlan(plan);
        const bool dropsTrailer = change_.change().firstImageOnly;
        std::size_t mpfSlot = 0;
        std::uint64_t mpfPosition = 0;
        if (mpf_.length != 0 && !dropsTrailer) {
            mpfPosition = plan.size() + 4 + kMpfMark.size();
            mpfSlot = plan.pieces().size();
            const auto body = source_.bytes(mpf_.position, mpf_.length);
            plan.add(segmentBytes(kApp2, kMpfMark, body.value_or(Bytes())));
        }
        addOthers(plan, false);
        addScans(plan);
        if (dropsTrailer || imageEnd >= source_.size()) return plan;
        const auto moved = static_cast<std::int64_t>(plan.size() - imageEnd);
        RewritePlan whole;
        if (mpfSlot != 0) {
            const auto shift =
                moved - (static_cast<std::int64_t>(mpfPosition) - static_cast<std::int64_t>(mpf_.position));
            whole = withMovedIndex(plan, mpfSlot, shift);
        } else {
            whole = std::move(plan);
        }
        whole.copyPatched(imageEnd, source_.size() - imageEnd, trailerPatches(imageEnd));
        return whole;
    }

    RewritePlan withMovedIndex(const RewritePlan& plan, std::size_t slot, std::int64_t shift) {
        RewritePlan whole;
        for (std::size_t i = 0; i < plan.pieces().size(); ++i) {
            const RewritePlan::Piece& piece = plan.pieces()[i];
            if (piece.isCopied()) {
                whole.copy(piece.offset, piece.length);
                continue;
            }
            ByteVector own = piece.own;
            if (i == slot) moveMpfOffsets(own, 4 + kMpfMark.size(), shift);
            whole.add(std::move(own));
        }
        return whole;
    }

    std::vector<RewritePlan::Patch> trailerPatches(std::uint64_t imageEnd) {
        std::vector<RewritePlan::Patch> patches;
        if (!change_.removesPlace()) return patches;
        for (const JpegImage& image : furtherImages(source_, mpf_, imageEnd, false)) {
            auto inner = patchEmbeddedJpeg(source_, image.offset, image.length, change_);
            patches.insert(patches.end(), std::make_move_iterator(inner.begin()), std::make_move_iterator(inner.end()));
        }
        auto movie = patchTrailingMovie(source_, imageEnd);
        patches.insert(patches.end(), std::make_move_iterator(movie.begin()), std::make_move_iterator(movie.end()));
        std::ranges::sort(patches, {}, &RewritePlan::Patch::offset);
        return patches;
    }

    ByteSource& source_;
    const BlockChange& change_;
    std::vector<Segment> jfif_, exif_, xmp_, extendedXmp_, photoshop_, others_;
    JpegPart mpf_;
    std::uint64_t scanStart_ = 0;
    JpegScans scans_;
    bool isOpenEnded_ = false;  ///< Nothing behind the image is wanted: its end is found while it is written.
    std::vector<ByteVector> head_;
    std::vector<JpegImage> further_;
    std::vector<RewritePlan> furtherPlans_;
};

}  // namespace

RewriteResult rewriteJpeg(ByteSource& source, const BlockChange& change, RewriteFault& fault) {
    return JpegPlan(source, change).make(fault, false);
}

}  // namespace tessaly::imageio
