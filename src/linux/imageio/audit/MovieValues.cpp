#include <algorithm>
#include <array>
#include <vector>

#include "linux/imageio/IsoBox.h"
#include "linux/imageio/Text.h"
#include "linux/imageio/audit/FoundValues.h"

namespace tessaly::imageio {
namespace {

using std::string_view_literals::operator""sv;

constexpr std::uint64_t kLongestText = 64 * 1024;
constexpr int kMaximumDepth = 8;

struct CodeName {
    std::string_view code;
    std::string_view name;
};
/// User data and items whose codes are no words (QuickTime File Format, "User data atoms"; TS 26.244, 8).
constexpr std::array kNames{
    CodeName{"\xA9xyz"sv, "location"},
    CodeName{"loci"sv, "location"},
    CodeName{"\xA9gps"sv, "location"},
    CodeName{"gps "sv, "location"},
    CodeName{"GPS "sv, "location"},
    CodeName{"gps0"sv, "location"},
    CodeName{"\xA9"
             "day"sv,
             "date"},
    CodeName{"yrrc"sv, "recording date"},
    CodeName{"date"sv, "date"},
    CodeName{"\xA9nam"sv, "title"},
    CodeName{"titl"sv, "title"},
    CodeName{"\xA9"
             "ART"sv,
             "artist"},
    CodeName{"auth"sv, "author"},
    CodeName{"\xA9"
             "aut"sv,
             "author"},
    CodeName{"perf"sv, "artist"},
    CodeName{"cprt"sv, "copyright"},
    CodeName{"\xA9"
             "cpy"sv,
             "copyright"},
    CodeName{"dscp"sv, "description"},
    CodeName{"desc"sv, "description"},
    CodeName{"\xA9"
             "des"sv,
             "description"},
    CodeName{"\xA9"
             "cmt"sv,
             "comment"},
    CodeName{"kywd"sv, "keywords"},
    CodeName{"CAME"sv, "serial number"},
    CodeName{"MUID"sv, "unique identifier"},
    CodeName{"GUMI"sv, "unique identifier"},
};

std::string nameOf(std::string_view code) {
    const auto known = std::ranges::find(kNames, code, &CodeName::code);
    return known != kNames.end() ? std::string(known->name) : toUtf8(trimmed(code));
}

class Boxes {
public:
    Boxes(ByteSource& source, const ValueVisitor& visit) : source_(source), visit_(visit) {}

    void read(IsoBoxes boxes, int depth, bool isUserData) {
        if (depth > kMaximumDepth) return;
        while (const auto box = boxes.next()) readBox(*box, depth, isUserData);
    }

private:
    std::string textOf(const IsoBox& box, std::uint64_t skipped = 0) {
        const auto length = std::min(kLongestText, box.length > skipped ? box.length - skipped : 0);
        std::string text = toUtf8(asText(source_.bytesUpTo(box.position + skipped, length)));
        std::erase(text, '\0');
        return text;
    }

    void readBox(const IsoBox& box, int depth, bool isUserData) {
        static constexpr std::array kParents{"moov"sv, "trak"sv, "mdia"sv, "minf"sv, "stbl"sv, "moof"sv, "traf"sv};
        const std::string_view type = box.type();
        if (std::ranges::find(kParents, type) != kParents.end())
            read(IsoBoxes(source_, box), depth + 1, false);
        else if (type == "udta"sv)
            read(IsoBoxes(source_, box), depth + 1, true);
        else if (type == "meta"sv)
            readMeta(box);
        else if (type == "mvhd"sv || type == "tkhd"sv || type == "mdhd"sv)
            readTimes(box);
        else if (type == "stsd"sv)
            readDescriptions(box);
        else if (isUserData || type == "gps "sv || type == "GPS "sv)
            visit_({"movie", nameOf(type), textOf(box)});
    }

    /// Seconds since 1904 of creation and modification; 0 is unknown.
    void readTimes(const IsoBox& box) {
        const std::uint64_t length = source_.read<std::uint8_t>(box.position) == 1 ? 16 : 8;
        const auto times = source_.bytes(box.position + kFullBoxHead, length);
        if (times && std::ranges::any_of(*times, [](std::byte byte) { return byte != std::byte{0}; }))
            visit_({"movie", std::string(box.type()) + " creation time", "set"});
    }

    /// Tracks of what a camera measured (GPMF, CAMM).
    void readDescriptions(const IsoBox& box) {
        IsoBoxes entries(source_, box, kFullBoxHead + 4);
        while (const auto entry = entries.next())
            if (entry->type() == "gpmd"sv || entry->type() == "camm"sv)
                visit_({"movie", "location track", std::string(entry->type())});
            else if (entry->type() == "mebx"sv && textOf(*entry).find("location") != std::string::npos)
                visit_({"movie", "location track", "mebx"});
    }

    void readMeta(const IsoBox& meta) {
        // QuickTime's has no version and flags before its boxes.
        const auto first = source_.bytes(meta.position + 4, 4);
        const std::uint64_t head = first && asText(*first) == "hdlr"sv ? 0 : kFullBoxHead;
        std::vector<std::string> keys;
        if (const auto box = findBox(source_, meta, "keys"sv, head)) keys = keysOf(*box);
        const auto list = findBox(source_, meta, "ilst"sv, head);
        if (!list) return;
        IsoBoxes items(source_, *list);
        while (const auto item = items.next()) {
            const auto data = findBox(source_, *item, "data"sv);
            visit_({"movie", itemName(*item, keys), data ? textOf(*data, 8) : textOf(*item)});
        }
    }

    std::string itemName(const IsoBox& item, const std::vector<std::string>& keys) {
        const auto index =
            loadInteger<std::uint32_t>(reinterpret_cast<const std::byte*>(item.code.data()), ByteOrder::big);
        if (index >= 1 && index <= keys.size()) return keys[index - 1];
        if (item.type() == "----"sv)
            if (const auto name = findBox(source_, item, "name"sv)) return textOf(*name, kFullBoxHead);
        return nameOf(item.type());
    }

    std::vector<std::string> keysOf(const IsoBox& box) {
        std::vector<std::string> names;
        ByteReader reader(source_.bytesUpTo(box.position, std::min(box.length, kLongestText)));
        reader.skip(8);
        while (const auto size = reader.read<std::uint32_t>()) {
            const auto key = *size >= 8 ? reader.take(*size - 4U) : std::nullopt;
            if (!key) break;
            names.push_back(toUtf8(asText(key->subspan(4))));
        }
        return names;
    }

    ByteSource& source_;
    const ValueVisitor& visit_;
};

}  // namespace

void visitMovieValues(ByteSource& source, const ValueVisitor& visit) {
    Boxes(source, visit).read(IsoBoxes(source), 0, false);
}

}  // namespace tessaly::imageio
