#include <algorithm>
#include <array>

#include "linux/imageio/containers/PsdSections.h"
#include "linux/imageio/rewrite/IptcChange.h"
#include "linux/imageio/rewrite/PassingReader.h"
#include "linux/imageio/rewrite/Rewriters.h"

namespace tessaly::imageio {
namespace {

constexpr std::uint16_t kIptc = 0x0404;
constexpr std::uint16_t kVersion = 0x0421;
constexpr std::uint16_t kExif = 0x0422;
constexpr std::uint16_t kXmp = 0x0424;
constexpr std::uint64_t kMaximumResources = 256 * 1024 * 1024;

/// The resources that a picture needs to look, print and be edited as before. What is not listed goes: Exif, IPTC, XMP,
/// thumbnails, captions, addresses, slices (they bear the file's name), what a plug-in or a raw converter left, and how
/// which printer was set up.
struct Kept {
    std::uint16_t first;
    std::uint16_t last;
};
constexpr std::array kKept{
    Kept{1003, 1003},  // Palette.
    Kept{1005, 1007},  // Resolution, channels and how they show.
    Kept{1009, 1019},  // Border, background, halftones, inks.
    Kept{1021, 1026},  // Masks, state and groups of layers, working path.
    Kept{1030, 1030},  // Compression.
    Kept{1032, 1032},  // Grid and guides.
    Kept{1037, 1037},  // Angle of light, ICC profile (with whether there is to be none), spots, next layer's number.
    Kept{1039, 1039},   Kept{1041, 1041}, Kept{1043, 1047}, Kept{1049, 1049},  // Altitude of light.
    Kept{1053, 1053},                                                          // Numbers of channels.
    Kept{1057, 1057},    // Whether there is a picture beside the layers.
    Kept{1062, 1062},    // Scale in print.
    Kept{1064, 1067},    // Shape of pixels, states of layers, inks.
    Kept{1069, 1070},    // Selected layers, tone mapping.
    Kept{1072, 1078},    // Groups, samplers, scale, frames.
    Kept{1080, 1080},    // Counts.
    Kept{1088, 1088},    // Selected path.
    Kept{2000, 3000},    // Paths.
    Kept{10000, 10000},  // Bleed in print.
};

bool stays(std::uint16_t identifier) {
    return std::ranges::any_of(kKept, [=](Kept kept) { return identifier >= kept.first && identifier <= kept.last; });
}

/// The same without the names of the programs that wrote it and are to read it.
ByteVector namelessVersion(Bytes data) {
    ByteWriter writer;
    if (data.size() < 5) return copyOf(data);
    writer.bytes(data.first(5)).write(std::uint32_t{0}).write(std::uint32_t{0}).write(std::uint32_t{1});
    return writer.take();
}

class PsdPlan {
public:
    PsdPlan(ByteSource& source, const BlockChange& change) : source_(source), reader_(source), change_(change) {}

    RewriteResult make(RewriteFault& fault) {
        fault = RewriteFault::damaged;
        const auto read = [this](std::uint64_t offset, std::span<std::byte> target) {
            return source_.copyTo(offset, target) == target.size();
        };
        const auto sections = PsdSectionsReader(source_.size(), read).sections();
        if (!sections || sections->pixels >= source_.size()) return std::nullopt;
        if (sections->resources.length > kMaximumResources) {
            fault = RewriteFault::tooLarge;
            return std::nullopt;
        }
        ByteVector resources(static_cast<std::size_t>(sections->resources.length));
        if (!read(sections->resources.position, resources)) return std::nullopt;
        const ByteVector changed = changedResources(resources);
        if (changed.size() > UINT32_MAX) {
            fault = RewriteFault::tooLarge;
            return std::nullopt;
        }
        RewritePlan plan;
        plan.copy(0, sections->resources.position - 4);
        plan.add(ByteWriter().write(static_cast<std::uint32_t>(changed.size())).take());
        plan.add(Bytes(changed));
        const std::uint64_t rest = sections->resources.position + sections->resources.length;
        plan.copy(rest, endOf(*sections) - rest);
        fault = RewriteFault::none;
        return plan;
    }

private:
    ByteVector changedResources(Bytes resources) const {
        Bytes exif, xmp;
        // Whatever stays: looked through for the blocks that a change may put new values into.
        const ByteVector kept = changedPhotoshopResources(
            resources, [&](std::uint16_t identifier, Bytes data) -> std::optional<ByteVector> {
                if (identifier == kExif && exif.empty()) exif = data;
                if (identifier == kXmp && xmp.empty()) xmp = data;
                if (!stays(identifier)) return std::nullopt;
                return identifier == kVersion ? namelessVersion(data) : copyOf(data);
            });
        const bool everything = change_.removesEverything();
        ByteVector changed = everything ? kept : change_.photoshop(resources);
        const auto append = [&](std::uint16_t identifier, const std::optional<ByteVector>& block) {
            if (block && !block->empty()) appendPhotoshopResource(changed, identifier, *block);
        };
        if (everything) append(kIptc, change_.iptc({}));
        if (everything || exif.empty()) append(kExif, change_.exif(exif, true));
        if (everything || xmp.empty()) append(kXmp, change_.xmp(xmp));
        return changed;
    }

    /// Where the picture ends. What is behind it no part accounts for; it goes with everything else.
    std::uint64_t endOf(const PsdSections& sections) {
        const std::uint64_t size = source_.size();
        const auto packing = reader_.read<std::uint16_t>(sections.pixels);
        if (!change_.removesEverything() || !packing) return size;
        const std::uint64_t start = sections.pixels + 2;
        const std::uint64_t rows = std::uint64_t{sections.channels} * sections.height;
        std::uint64_t end = size;
        if (*packing == 0 && sections.rowBytes() <= size) end = start + rows * sections.rowBytes();
        if (*packing == 1) {
            const std::size_t unit = sections.isLarge ? 4 : 2;
            end = start + rows * unit;
            for (std::uint64_t i = 0; i < rows && end < size; ++i) {
                const auto wide = sections.isLarge ? reader_.read<std::uint32_t>(start + i * unit) : std::nullopt;
                const auto narrow = sections.isLarge ? std::nullopt : reader_.read<std::uint16_t>(start + i * unit);
                end += wide ? *wide : narrow.value_or(0);
            }
        }
        return std::min(end, size);
    }

    ByteSource& source_;
    PassingReader reader_;
    const BlockChange& change_;
};

}  // namespace

RewriteResult rewritePsd(ByteSource& source, const BlockChange& change, RewriteFault& fault) {
    return PsdPlan(source, change).make(fault);
}

}  // namespace tessaly::imageio
