#include <algorithm>
#include <array>

#include "linux/media/EmptiedBlocks.h"
#include "linux/media/MovieRewriters.h"
#include "linux/media/RiffChunks.h"

namespace tessaly::media {
namespace {

using imageio::asText;
using imageio::BlockChange;
using imageio::ByteSource;
using imageio::ByteVector;
using imageio::ByteWriter;
using imageio::PassingReader;
using imageio::RewriteFault;
using std::string_view_literals::operator""sv;

constexpr std::uint64_t kLargestChunk = 64 * 1024 * 1024;
/// XMP (part 3, 2.3.1).
constexpr auto kPacket = "_PMX"sv;

/// Chunks become empty ones ("JUNK") of the same length: an index may count from the file's start, so nothing moves.
class AviPlan {
public:
    AviPlan(ByteSource& source, const BlockChange& change)
        : source_(source),
          reader_(source),
          emptied_(source),
          change_(change),
          everything_(change.removesEverything()) {}

    imageio::RewriteResult make(RewriteFault& fault) {
        fault = RewriteFault::damaged;
        // A large file is several parts one behind the other.
        RiffChunks<PassingReader> parts(reader_, 0, source_.size());
        std::uint64_t end = 0;
        bool hasMovie = false;
        while (const auto part = parts.next()) {
            if (part->name != "RIFF") break;
            RiffChunks<PassingReader> chunks(reader_, *part);
            while (const auto chunk = chunks.next()) {
                hasMovie |= chunk->isList("movi");
                place(*chunk);
            }
            end = part->end();
        }
        if (!hasMovie) return std::nullopt;
        fault = isTooLarge_ ? RewriteFault::unsupported : RewriteFault::none;
        if (isTooLarge_) return std::nullopt;
        return emptied_.plan(everything_ ? end : source_.size());
    }

private:
    /// What shows and sounds: pictures, indices, and how they are to be read.
    static bool isPlayed(const RiffChunk& chunk) {
        static constexpr std::array played{"avih"sv, "idx1"sv, "strh"sv, "strf"sv, "indx"sv, "vprp"sv, "dmlh"sv};
        return std::ranges::find(played, chunk.name) != played.end() || chunk.isList("movi");
    }

    void place(const RiffChunk& chunk) {
        if (chunk.isList("hdrl") || chunk.isList("strl") || chunk.isList("odml")) {
            RiffChunks<PassingReader> chunks(reader_, chunk);
            while (const auto inner = chunks.next()) place(*inner);
        } else if (chunk.name == kPacket && !everything_) {
            cutPacket(chunk);
        } else if (tellsPlace(chunk) || (everything_ && !isPlayed(chunk) && !isCodecData(chunk))) {
            blank(chunk);
        }
    }

    /// A camera's own data in a stream's head. Other streams keep there what their codec needs.
    bool isCameraData(const RiffChunk& chunk) {
        if (chunk.name != "strd") return false;
        const auto mark = reader_.bytes(chunk.position, 4);
        const std::string_view text = mark ? asText(*mark) : ""sv;
        return text == "AVIF" || text == "CASI" || text == "Zora";
    }
    bool isCodecData(const RiffChunk& chunk) { return chunk.name == "strd" && !isCameraData(chunk); }

    /// Where coordinates or names of places may stand: with those, all of the block.
    bool tellsPlace(const RiffChunk& chunk) {
        return chunk.isList("hydt") || chunk.isList("pntx") || isCameraData(chunk);
    }

    /// Without the place it is no longer than before; the rest is filled with what XML does not mind.
    void cutPacket(const RiffChunk& chunk) {
        if (chunk.length > kLargestChunk) return void(isTooLarge_ = true);
        ByteVector packet(static_cast<std::size_t>(chunk.length));
        if (source_.copyTo(chunk.position, packet) != packet.size()) return;
        auto cut = change_.xmp(packet);
        if (!cut || cut->size() > packet.size()) return blank(chunk);
        cut->resize(packet.size(), std::byte{' '});
        emptied_.put(chunk.position, std::move(*cut));
    }

    void blank(const RiffChunk& chunk) {
        const std::uint64_t content = chunk.end() - chunk.start - 8;
        if (content > kLargestChunk) {
            isTooLarge_ = true;
            return;
        }
        ByteWriter writer(imageio::ByteOrder::little);
        writer.text("JUNK").write(static_cast<std::uint32_t>(content)).zeros(static_cast<std::size_t>(content));
        emptied_.put(chunk.start, writer.take());
    }

    ByteSource& source_;
    PassingReader reader_;
    EmptiedBlocks emptied_;
    const BlockChange& change_;
    bool everything_;
    bool isTooLarge_ = false;
};

}  // namespace

imageio::RewriteResult rewriteAvi(ByteSource& source, const BlockChange& change, RewriteFault& fault) {
    return rewriteByEmptying<AviPlan>(source, change, fault);
}

}  // namespace tessaly::media
