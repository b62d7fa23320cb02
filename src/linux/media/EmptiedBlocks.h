#pragma once
#include "linux/imageio/rewrite/PassingReader.h"
#include "linux/imageio/rewrite/Rewriters.h"

namespace tessaly::media {

/// Blocks of a film that give way to empty ones of the same length, so that nothing moves and no index is wrong.
class EmptiedBlocks {
public:
    explicit EmptiedBlocks(imageio::ByteSource& source) : source_(source) {}

    /// What stands at `start` from now on, if it does not already.
    void put(std::uint64_t start, imageio::ByteVector bytes) {
        imageio::ByteVector there(bytes.size());
        if (source_.copyTo(start, there) == there.size() && there == bytes) return;
        patches_.push_back({start, std::move(bytes)});
    }

    /// The first `length` bytes of the film.
    [[nodiscard]] imageio::RewritePlan plan(std::uint64_t length) const {
        imageio::RewritePlan plan;
        plan.copyPatched(0, length, patches_);
        return plan;
    }

private:
    imageio::ByteSource& source_;
    std::vector<imageio::RewritePlan::Patch> patches_;
};

/// For containers in which values have no place to be written to. `Plan` is made of the source and the change; its
/// make(fault) returns the result.
template <class Plan>
[[nodiscard]] imageio::RewriteResult rewriteByEmptying(imageio::ByteSource& source, const imageio::BlockChange& change,
                                                       imageio::RewriteFault& fault) {
    if (!change.change().values.empty()) {
        fault = imageio::RewriteFault::unsupported;
        return std::nullopt;
    }
    if (change.removesPlace()) return Plan(source, change).make(fault);
    fault = imageio::RewriteFault::none;
    return EmptiedBlocks(source).plan(source.size());
}

}  // namespace tessaly::media
