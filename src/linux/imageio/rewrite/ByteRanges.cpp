#include "linux/imageio/rewrite/ByteRanges.h"

#include <algorithm>
#include <utility>

namespace tessaly::imageio {

const std::vector<ByteRange>& ByteRanges::tidy() {
    if (isTidy_) return ranges_;
    std::ranges::sort(ranges_, {}, &ByteRange::start);
    std::size_t last = 0;
    for (std::size_t i = 1; i < ranges_.size(); ++i) {
        if (ranges_[i].start <= ranges_[last].end)
            ranges_[last].end = std::max(ranges_[last].end, ranges_[i].end);
        else
            ranges_[++last] = ranges_[i];
    }
    ranges_.resize(ranges_.empty() ? 0 : last + 1);
    isTidy_ = true;
    return ranges_;
}

std::vector<ByteRange> ByteRanges::without(ByteRanges& others) {
    std::vector<ByteRange> left;
    const std::vector<ByteRange>& holes = others.tidy();
    auto hole = holes.begin();
    for (ByteRange range : tidy()) {
        while (hole != holes.end() && hole->end <= range.start) ++hole;
        for (auto inside = hole; inside != holes.end() && inside->start < range.end; ++inside) {
            if (inside->start > range.start) left.push_back({range.start, inside->start});
            range.start = std::max(range.start, inside->end);
        }
        if (range.start < range.end) left.push_back(range);
    }
    return left;
}

MovedRanges::MovedRanges(std::vector<ByteRange> kept, std::uint64_t destination, std::uint64_t unit)
    : kept_(std::move(kept)), end_(destination) {
    destinations_.reserve(kept_.size());
    for (const ByteRange& range : kept_) {
        end_ += end_ % unit;
        destinations_.push_back(end_);
        end_ += range.end - range.start;
    }
}

std::optional<std::uint64_t> MovedRanges::destinationOf(std::uint64_t position) const {
    const auto behind = std::ranges::upper_bound(kept_, position, {}, &ByteRange::start);
    if (behind == kept_.begin()) return std::nullopt;
    const auto range = std::prev(behind);
    if (position > range->end) return std::nullopt;
    return destinations_[static_cast<std::size_t>(range - kept_.begin())] + (position - range->start);
}

void MovedRanges::addTo(RewritePlan& plan) const {
    std::uint64_t at = destinations_.empty() ? 0 : destinations_.front();
    for (std::size_t i = 0; i < kept_.size(); ++i) {
        if (at != destinations_[i]) plan.add(ByteVector(1));
        plan.copy(kept_[i].start, kept_[i].end - kept_[i].start);
        at = destinations_[i] + (kept_[i].end - kept_[i].start);
    }
}

}  // namespace tessaly::imageio
