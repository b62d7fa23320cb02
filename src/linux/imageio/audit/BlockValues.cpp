#include <algorithm>
#include <array>
#include <map>
#include <vector>

#include "linux/imageio/Inflate.h"
#include "linux/imageio/Text.h"
#include "linux/imageio/audit/FoundValues.h"
#include "linux/imageio/blocks/IptcDataSets.h"
#include "linux/imageio/blocks/RawProfile.h"
#include "linux/imageio/blocks/XmpPacket.h"
#include "linux/imageio/containers/PngText.h"

namespace tessaly::imageio {
namespace {

using std::string_view_literals::operator""sv;

constexpr std::uint64_t kLargestBlock = 8 * 1024 * 1024;
constexpr std::size_t kWindow = 1024 * 1024;
constexpr std::size_t kMaximumHits = 4096;

enum class Mark : std::uint8_t { exif, tiff, xmp, extendedXmp, iptc };
struct MarkText {
    Mark mark;
    std::string_view text;
};
constexpr std::array kMarks{
    MarkText{Mark::exif, "Exif\0\0"sv},
    // Where no such name stands before it: HEIF, PNG, WebP, JPEG XL, CR3. The directory follows its header at once.
    MarkText{Mark::tiff, "II*\0\x08\0\0\0"sv},
    MarkText{Mark::tiff, "MM\0*\0\0\0\x08"sv},
    MarkText{Mark::xmp, "<rdf:RDF"sv},
    MarkText{Mark::extendedXmp, "http://ns.adobe.com/xmp/extension/\0"sv},
    MarkText{Mark::iptc, "8BIM\x04\x04"sv},
};
constexpr std::size_t kLongestMark = 40;

struct Hit {
    Mark mark;
    std::uint64_t position;  ///< Behind the mark, of a TIFF of the mark itself.
};

std::vector<Hit> hitsIn(ByteSource& source) {
    std::vector<Hit> hits;
    std::vector<std::byte> window(kWindow);
    for (std::uint64_t start = 0; start < source.size() && hits.size() < kMaximumHits;
         start += kWindow - kLongestMark) {
        const std::size_t count = source.copyTo(start, window);
        const std::string_view text = asText(Bytes(window).first(count));
        const bool isLast = count < kWindow;
        for (const MarkText& mark : kMarks)
            for (std::size_t at = text.find(mark.text); at != text.npos; at = text.find(mark.text, at + 1)) {
                // What begins in the overlap belongs to the next window.
                if (!isLast && at >= kWindow - kLongestMark) break;
                hits.push_back({mark.mark, start + at + (mark.mark == Mark::tiff ? 0 : mark.text.size())});
                if (hits.size() >= kMaximumHits) return hits;
            }
    }
    return hits;
}

void visitXmp(std::string_view packet, const ValueVisitor& visit) {
    visitXmpPacket(asBytes(packet), {}, [&](std::string_view name, const Value& value) {
        std::string text(value.string());
        for (const Value& element : value.array()) text += (text.empty() ? "" : ", ") + std::string(element.string());
        visit({"XMP", std::string(name), text});
    });
}

/// The packet from its mark on to its end, whatever comes before it.
void visitXmpAt(ByteSource& source, std::uint64_t position, const ValueVisitor& visit) {
    constexpr std::string_view kStart = "<rdf:RDF";
    constexpr std::string_view kEnd = "</rdf:RDF>";
    const std::uint64_t start = position - kStart.size();
    const auto most = static_cast<std::size_t>(std::min(kLargestBlock, source.size() - start));
    // Most packets are short, and a file may have many.
    for (std::size_t size = std::min<std::size_t>(most, 64 * 1024);; size = std::min(most, size * 8)) {
        std::vector<std::byte> bytes(size);
        const std::string_view text = asText(Bytes(bytes).first(source.copyTo(start, bytes)));
        const std::size_t end = text.find(kEnd);
        if (end == text.npos && size < most) continue;
        visitXmp(end == text.npos ? text : text.substr(0, end + kEnd.size()), visit);
        return;
    }
}

/// The parts of a packet that was too long for one segment, by its identifier (XMP part 3, 1.1.3.1).
class ExtendedPackets {
public:
    void add(ByteSource& source, std::uint64_t position) {
        constexpr std::size_t kIdentifier = 32, kHead = kIdentifier + 8;
        constexpr std::size_t kBefore = 35 + 2;  // The mark and the segment's length.
        const auto head = source.bytes(position, kHead);
        const auto length = position >= kBefore ? source.read<std::uint16_t>(position - kBefore) : std::nullopt;
        if (!head || !length || *length < kBefore + kHead) return;
        const auto offset = loadInteger<std::uint32_t>(head->data() + kIdentifier + 4, ByteOrder::big);
        const auto part = source.bytes(position + kHead, *length - kBefore - kHead);
        if (part) parts_[std::string(asText(head->first(kIdentifier)))][offset] = std::string(asText(*part));
    }

    void visit(const ValueVisitor& visitor) const {
        for (const auto& [identifier, parts] : parts_) {
            std::string packet;
            for (const auto& [offset, part] : parts) packet += part;
            visitXmp(packet, visitor);
        }
    }

private:
    std::map<std::string, std::map<std::uint32_t, std::string>> parts_;
};

/// A Photoshop resource: its name, of which one byte tells the length, padded to an even count; its size; its data.
void visitIptcResource(ByteSource& source, std::uint64_t position, const ValueVisitor& visit) {
    const auto length = source.read<std::uint8_t>(position);
    if (!length) return;
    position += (*length + 2U) & ~1U;
    const auto size = source.read<std::uint32_t>(position);
    if (!size || *size > kLargestBlock) return;
    visitIptcValues(source.bytesUpTo(position + 4, *size), visit);
}

void visitMarked(ByteSource& source, const ValueVisitor& visit) {
    std::vector<std::pair<std::uint64_t, std::uint64_t>> notes;
    const auto keepNote = [&notes](std::uint64_t position, std::uint64_t length) {
        notes.emplace_back(position, position + length);
    };
    const std::vector<Hit> hits = hitsIn(source);
    ExtendedPackets extended;
    visitTiffValues(source, 0, visit, keepNote);
    for (const auto& [mark, position] : hits) {
        if (mark == Mark::exif) visitTiffValues(source, position, visit, keepNote);
        if (mark == Mark::xmp) visitXmpAt(source, position, visit);
        if (mark == Mark::extendedXmp) extended.add(source, position);
        if (mark == Mark::iptc) visitIptcResource(source, position, visit);
    }
    extended.visit(visit);
    const auto standsAfterName = [&](std::uint64_t position) {
        const auto name = position >= 6 ? source.bytes(position - 6, 6) : std::nullopt;
        return position == 0 || (name && asText(*name) == "Exif\0\0"sv);
    };
    // A maker's note may have such a header of its own, whose tags mean other things.
    for (const auto& [mark, position] : hits) {
        const bool isInNote = std::ranges::any_of(
            notes, [&](const auto& note) { return position >= note.first && position < note.second; });
        const auto maker = position >= 10 ? source.bytes(position - 10, 5) : std::nullopt;
        if (mark == Mark::tiff && !isInNote && !(maker && asText(*maker) == "Nikon"sv) && !standsAfterName(position))
            visitTiffValues(source, position, visit, keepNote);
    }
}

void visitPngText(std::string_view type, Bytes chunk, const ValueVisitor& visit) {
    const auto text = readPngText(type, chunk);
    if (!text) return;
    const std::vector<std::byte> wide = text->compressed ? inflated(text->body) : std::vector<std::byte>();
    const Bytes body = text->compressed ? Bytes(wide) : text->body;
    constexpr std::string_view kProfile = "Raw profile type ";
    if (text->keyword.starts_with(kProfile)) {
        const std::vector<std::byte> profile = decodedRawProfile(asText(body));
        ByteSource inner{Bytes(profile)};
        visitMarked(inner, visit);
        visitIptcValues(profile, visit);
    } else if (text->keyword == "XML:com.adobe.xmp"sv) {
        visitXmp(asText(body), visit);
    } else {
        visit({"PNG", toUtf8(text->keyword), toUtf8(asText(body))});
    }
}

/// PNG, 5: length, type, data, check.
void visitPngChunks(ByteSource& source, const ValueVisitor& visit) {
    for (std::uint64_t position = 8; position + 12 <= source.size();) {
        const auto length = source.read<std::uint32_t>(position);
        const auto type = source.bytes(position + 4, 4);
        if (!length || !type) return;
        const std::string_view name = asText(*type);
        if (name == "tIME") visit({"PNG", "modification time", "tIME"});
        if ((name == "tEXt" || name == "zTXt" || name == "iTXt") && *length <= kLargestBlock)
            visitPngText(name, source.bytesUpTo(position + 8, *length), visit);
        if (name == "eXIf") visitTiffValues(source, position + 8, visit, [](std::uint64_t, std::uint64_t) {});
        position += 12ULL + *length;
    }
}

/// The comments before the picture (ITU-T T.81, B.2.4.5).
void visitJpegComments(ByteSource& source, const ValueVisitor& visit) {
    for (std::uint64_t position = 2; const auto marker = source.read<std::uint16_t>(position);) {
        const auto length = source.read<std::uint16_t>(position + 2);
        if (*marker < 0xFF00 || *marker == 0xFFDA || !length || *length < 2) return;
        if (*marker == 0xFFFE) visit({"JPEG", "comment", toUtf8(asText(source.bytesUpTo(position + 4, *length - 2U)))});
        position += 2U + *length;
    }
}

std::string dataSetName(unsigned record, std::uint8_t number) {
    if (record == 2) {
        const auto rule = std::ranges::find(kIptcDataSets, number, &IptcDataSetRule::number);
        if (rule != kIptcDataSets.end()) return std::string(rule->name);
    }
    if (record == 1 && number == 70) return "DateSent";
    if (record == 1 && number == 80) return "TimeSent";
    return std::to_string(record) + ":" + std::to_string(number);
}

}  // namespace

bool isTelling(std::string_view text) noexcept {
    return text.find_first_not_of(" \t\r\n-0:./,+"sv) != text.npos &&
           std::ranges::any_of(text, [](char letter) { return letter != '\0' && letter != ' '; });
}

void visitIptcValues(Bytes datasets, const ValueVisitor& visit) {
    ByteReader reader(datasets);
    while (const auto mark = reader.read<std::uint8_t>()) {
        if (*mark != 0x1C) return;
        const auto record = reader.read<std::uint8_t>();
        const auto number = reader.read<std::uint8_t>();
        const auto length = reader.read<std::uint16_t>();
        const auto value = length && *length < 0x8000 ? reader.take(*length) : std::nullopt;
        if (!record || !number || !value) return;
        const bool isVersion = *number == 0 || (*record == 1 && *number == 90);
        if (!isVersion) visit({"IPTC", dataSetName(*record, *number), toUtf8(asText(*value))});
    }
}

void visitFoundValues(ByteSource& source, const ValueVisitor& visitor) {
    const ValueVisitor visit = [&visitor](FoundValue value) {
        if (isTelling(value.text)) visitor(std::move(value));
    };
    visitMarked(source, visit);
    const std::string_view head = asText(source.bytesUpTo(0, 12));
    if (head.starts_with("\x89PNG")) visitPngChunks(source, visit);
    if (head.starts_with("\xFF\xD8")) visitJpegComments(source, visit);
    static constexpr std::array kMovieStarts{"ftyp"sv, "moov"sv, "wide"sv, "mdat"sv, "free"sv, "skip"sv};
    if (head.size() >= 8 && std::ranges::find(kMovieStarts, head.substr(4, 4)) != kMovieStarts.end())
        visitMovieValues(source, visit);
}

}  // namespace tessaly::imageio
