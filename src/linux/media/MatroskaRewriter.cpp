#include <algorithm>
#include <array>

#include "linux/media/EmptiedBlocks.h"
#include "linux/media/MatroskaElements.h"
#include "linux/media/MovieRewriters.h"

namespace tessaly::media {
namespace {

using namespace matroska;
using imageio::ByteSource;
using imageio::ByteWriter;
using imageio::PassingReader;
using imageio::RewriteFault;

constexpr std::size_t kMaximumClusters = 10'000'000;
constexpr std::uint64_t kLargestElement = 16 * 1024 * 1024;

/// Elements become empty space ("Void") of the same length, so that no index has to be corrected.
class MatroskaPlan {
public:
    MatroskaPlan(ByteSource& source, const imageio::BlockChange& change)
        : source_(source), reader_(source), emptied_(source), everything_(change.removesEverything()) {}

    imageio::RewriteResult make(RewriteFault& fault) {
        fault = RewriteFault::damaged;
        Elements<PassingReader> elements(reader_, 0, source_.size());
        std::uint64_t end = 0;
        while (const auto element = elements.next()) {
            if (element->id == kSegment && !readSegment(*element)) return std::nullopt;
            end = element->end();
        }
        if (end == 0) return std::nullopt;
        fault = RewriteFault::none;
        return emptied_.plan(everything_ ? end : source_.size());
    }

private:
    /// @return whether its elements could be followed to its end.
    bool readSegment(const Element& segment) {
        Elements<PassingReader> elements(reader_, segment.position, segment.end());
        elements.setLimit(kMaximumClusters);
        std::uint64_t end = segment.position;
        while (const auto element = elements.next()) {
            end = element->end();
            if (element->id == kTags) readTags(*element);
            if (!everything_) continue;
            if (element->id == kInformation)
                readChildren(*element, {kTitle, kDate, kMuxingProgram, kWritingProgram, kSegmentFile, kChecksum});
            if (element->id == kTracks) readTracks(*element);
            if (element->id == kVoid && element->length < kLargestElement) blank(*element);
        }
        return end == segment.end();
    }

    void readTags(const Element& tags) {
        if (everything_) return blank(tags);
        Elements<PassingReader> each(reader_, tags.position, tags.end());
        while (const auto tag = each.next()) {
            if (tag->id != kTag) continue;
            Elements<PassingReader> simple(reader_, tag->position, tag->end());
            while (const auto one = simple.next())
                if (one->id == kSimpleTag && tellsPlace(*one)) blank(*one);
        }
    }

    /// RFC 9559, 5.1.8, and the registry of tag names: LOCATION, RECORDING_LOCATION, COMPOSITION_LOCATION, ...
    bool tellsPlace(const Element& simple) {
        Elements<PassingReader> fields(reader_, simple.position, simple.end());
        while (const auto field = fields.next()) {
            if (field->id != kTagName) continue;
            const auto name =
                reader_.bytes(field->position, static_cast<std::size_t>(std::min<std::uint64_t>(field->length, 128)));
            if (!name) return false;
            const std::string_view text = imageio::asText(*name);
            return text.find("LOCATION") != std::string_view::npos || text.find("location") != std::string_view::npos ||
                   text.find("GPS") != std::string_view::npos;
        }
        return false;
    }

    void readTracks(const Element& tracks) {
        Elements<PassingReader> entries(reader_, tracks.position, tracks.end());
        while (const auto entry = entries.next()) {
            if (entry->id == kTrackEntry) readChildren(*entry, {kTrackName, kChecksum});
            if (entry->id == kChecksum) blank(*entry);
        }
    }

    void readChildren(const Element& parent, std::initializer_list<std::uint32_t> ids) {
        Elements<PassingReader> fields(reader_, parent.position, parent.end());
        while (const auto field = fields.next())
            if (std::ranges::find(ids, field->id) != ids.end()) blank(*field);
    }

    void blank(const Element& element) {
        const std::uint64_t whole = element.end() - element.start;
        if (whole < 2 || whole > kLargestElement) return;
        // The length's own length is chosen so that identifier, length and content fill the place exactly.
        const std::size_t sizeBytes = whole - 2 < 127 ? 1 : 8;
        if (whole < 1 + sizeBytes) return;
        const std::uint64_t content = whole - 1 - sizeBytes;
        ByteWriter writer;
        writer.write(static_cast<std::uint8_t>(kVoid));
        writer.writeSized(content | std::uint64_t{1} << (7 * sizeBytes), sizeBytes);
        writer.zeros(static_cast<std::size_t>(content));
        emptied_.put(element.start, writer.take());
    }

    ByteSource& source_;
    PassingReader reader_;
    EmptiedBlocks emptied_;
    bool everything_;
};

}  // namespace

imageio::RewriteResult rewriteMatroska(ByteSource& source, const imageio::BlockChange& change, RewriteFault& fault) {
    return rewriteByEmptying<MatroskaPlan>(source, change, fault);
}

}  // namespace tessaly::media
