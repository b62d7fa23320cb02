#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "linux/imageio/IsoBox.h"
#include "linux/imageio/rewrite/BlockChange.h"
#include "linux/imageio/rewrite/ByteRanges.h"
#include "linux/imageio/rewrite/RewritePlan.h"

namespace tessaly::imageio {

/// The "moov" box of a movie (QuickTime; ISO/IEC 14496-12, 8) as it will be: texts, dates and names gone or changed,
/// tracks that only tell about the recording (positions, timed metadata) left out.
class MovieBoxes {
public:
    MovieBoxes(ByteSource& source, const IsoBox& movie, const BlockChange& change);

    /// Whether something is to go that stands in a form that cannot be taken apart (a compressed header).
    [[nodiscard]] bool isRefused() const noexcept { return isRefused_; }
    [[nodiscard]] bool dropsTracks() const noexcept { return !droppedTracks_.empty(); }
    /// Media data of what goes.
    [[nodiscard]] ByteRanges& droppedData() noexcept { return droppedData_; }

    /// The box, its media data at `destinationOf` their old positions. `wide`: with 64-bit offsets.
    [[nodiscard]] RewritePlan plan(const std::function<std::uint64_t(std::uint64_t)>& destinationOf, bool wide) const;

private:
    struct Track {
        IsoBox box;
        std::uint32_t identifier = 0;
        std::string handler;
    };
    void readTrack(const IsoBox& box);
    [[nodiscard]] bool dropsTrack(const Track& track, const IsoBox& table);
    [[nodiscard]] bool tellsPlace(const IsoBox& description, const IsoBox& table, std::string_view handler);
    [[nodiscard]] Bytes firstSample(const IsoBox& table);
    void dropChunks(const IsoBox& table);
    void dropPositionBlocks(const IsoBox& box);

    ByteSource& source_;
    IsoBox movie_;
    const BlockChange& change_;
    std::vector<std::uint64_t> droppedTracks_;  ///< Where their boxes start.
    std::vector<std::uint32_t> droppedIdentifiers_;
    ByteRanges droppedData_;
    bool isRefused_ = false;
    ByteVector sample_;
};

/// A "meta" or "udta" box as it will be; an empty plan for none.
[[nodiscard]] RewritePlan changedTexts(ByteSource& source, const IsoBox& box, const BlockChange& change);

/// Patches that take the place out of a movie (QuickTime, MP4) at `offset` of a larger file, keeping its length: boxes
/// that tell it become "free" and are blanked.
[[nodiscard]] std::vector<RewritePlan::Patch> placePatches(ByteSource& source, std::uint64_t offset,
                                                           std::uint64_t length);

}  // namespace tessaly::imageio
