#include <algorithm>
#include <array>
#include <string_view>

#include "linux/imageio/rewrite/BoxWriter.h"
#include "linux/imageio/rewrite/MovieBoxes.h"
#include "linux/imageio/rewrite/Rewriters.h"

namespace tessaly::imageio {
namespace {

using std::string_view_literals::operator""sv;

constexpr std::size_t kMaximumBoxes = 1'000'000;

/// Plans a movie: its type, the movie box, then the media data.
class MovieFile {
public:
    MovieFile(ByteSource& source, const BlockChange& change) : source_(source), change_(change) {}

    RewriteResult make(RewriteFault& fault) {
        fault = RewriteFault::unsupported;
        if (!change_.change().values.empty()) return std::nullopt;
        readBoxes();
        fault = RewriteFault::damaged;
        if (!movie_) return std::nullopt;
        MovieBoxes boxes(source_, *movie_, change_);
        fault = RewriteFault::unsupported;
        if (boxes.isRefused()) return std::nullopt;
        // In fragments, tracks are woven into boxes that count from each other.
        if (isFragmented_ && boxes.dropsTracks()) return std::nullopt;
        fault = RewriteFault::none;
        if (isFragmented_) return inOldOrder(boxes);
        return movieFirst(boxes, fault);
    }

private:
    void readBoxes() {
        IsoBoxes boxes(source_);
        boxes.setLimit(kMaximumBoxes);
        while (const auto box = boxes.next()) {
            const std::string_view type = box->type();
            if (type == "moov"sv && !movie_) movie_ = box;
            isFragmented_ |= type == "moof"sv;
            all_.push_back(*box);
        }
    }

    [[nodiscard]] bool isCopied(const IsoBox& box) const {
        static constexpr std::array padding{"wide"sv, "mfra"sv};  // An index of fragments is optional, and moves.
        static constexpr std::array known{"ftyp"sv, "styp"sv, "sidx"sv, "ssix"sv,
                                          "prft"sv, "moof"sv, "mdat"sv, "pdin"sv};
        if (change_.removesEverything()) return std::ranges::find(known, box.type()) != known.end();
        return std::ranges::find(padding, box.type()) == padding.end();
    }

    /// Adds what is neither the movie box nor media data.
    void addOther(RewritePlan& plan, const IsoBox& box) const {
        const std::string_view type = box.type();
        if (type == "meta"sv || type == "udta"sv || type == "uuid"sv)
            plan.append(changedTexts(source_, box, change_), 0);
        else if (isCopied(box))
            copyBox(plan, box);
    }

    RewriteResult movieFirst(MovieBoxes& boxes, RewriteFault& fault) {
        RewritePlan head, tail;
        ByteRanges data;
        for (const IsoBox& box : all_) {
            if (box.type() == "mdat"sv)
                data.add(box.position, box.length);
            else if (box.type() == "ftyp"sv)
                addOther(head, box);
            else if (box.type() != "moov"sv)
                addOther(tail, box);
        }
        const std::vector<ByteRange> kept = data.without(boxes.droppedData());
        const auto unmoved = [](std::uint64_t offset) { return offset; };
        bool wide = false;
        std::uint64_t start = 0;
        // The movie box is as long with any offsets; only their width depends on where the data end.
        for (int pass = 0; pass < 2; ++pass) {
            start = head.size() + boxes.plan(unmoved, wide).size() + kLongHead;
            if (MovedRanges(kept, start, 1).end() <= UINT32_MAX) break;
            wide = true;
        }
        const MovedRanges moved(kept, start, 1);
        bool isLost = false;
        const auto destination = [&](std::uint64_t offset) {
            if (const auto found = moved.destinationOf(offset)) return *found;
            // A file that was cut has chunks behind its end.
            if (kept.empty()) return offset;
            if (offset >= kept.back().end) return offset - kept.back().end + moved.end();
            isLost = true;
            return offset;
        };
        RewritePlan plan = std::move(head);
        plan.append(boxes.plan(destination, wide), 0);
        if (isLost) {
            fault = RewriteFault::unsupported;
            return std::nullopt;
        }
        addMediaHead(plan, moved.end() - start);
        moved.addTo(plan);
        plan.append(std::move(tail), 0);
        return plan;
    }

    /// Always with the 64-bit size, so that where the data start does not depend on how many they are.
    static void addMediaHead(RewritePlan& plan, std::uint64_t length) {
        ByteWriter writer;
        writer.write(std::uint32_t{1}).text("mdat"sv).write(kLongHead + length);
        plan.add(writer.take());
    }

    RewritePlan inOldOrder(const MovieBoxes& boxes) {
        const auto unmoved = [](std::uint64_t offset) { return offset; };
        RewritePlan plan;
        for (const IsoBox& box : all_) {
            if (box.type() == "moov"sv) {
                const std::uint64_t was = box.end() - box.start;
                const RewritePlan made = boxes.plan(unmoved, false);
                if (made.size() > was) return {};
                plan.append(made, 0);
                pad(plan, was - made.size());
            } else if (const std::uint64_t before = plan.size(); true) {
                addOther(plan, box);
                // Fragments may count from the start of the file, so nothing moves: what goes leaves a gap.
                pad(plan, box.end() - box.start - (plan.size() - before));
            }
        }
        return plan;
    }

    static void pad(RewritePlan& plan, std::uint64_t length) {
        if (length < 8) return;
        plan.add(boxBytes("free", ByteVector(static_cast<std::size_t>(length) - 8)));
    }

    static constexpr std::uint64_t kLongHead = 16;

    ByteSource& source_;
    const BlockChange& change_;
    std::vector<IsoBox> all_;
    std::optional<IsoBox> movie_;
    bool isFragmented_ = false;
};

}  // namespace

RewriteResult rewriteMovie(ByteSource& source, const BlockChange& change, RewriteFault& fault) {
    return MovieFile(source, change).make(fault);
}

}  // namespace tessaly::imageio
