#include "linux/imageio/rewrite/IptcChange.h"

#include <algorithm>
#include <array>
#include <optional>

#include "linux/imageio/Text.h"

namespace tessaly::imageio {
namespace {

struct DataSet {
    std::uint8_t record;
    std::uint8_t number;
    Bytes data;
};

constexpr std::uint8_t kMark = 0x1C;
constexpr std::size_t kLongestShort = 0x7FFF;
constexpr std::string_view kUtf8Escape = "\x1B%G";  // IIM 4.2, 1:90: ISO 2022's escape sequence for UTF-8.

/// IIM 4.2, 1.6. nullopt at the end or at what is no data set.
std::optional<DataSet> nextDataSet(ByteReader& reader) {
    while (reader.remaining() >= 5) {
        const auto mark = reader.read<std::uint8_t>();
        if (*mark == 0) continue;  // Padding between blocks.
        if (*mark != kMark) return std::nullopt;
        const auto record = reader.read<std::uint8_t>();
        const auto number = reader.read<std::uint8_t>();
        const auto length = reader.read<std::uint16_t>();
        if (!record || !number || !length) return std::nullopt;
        std::uint64_t size = *length;
        if (size > kLongestShort) {
            const auto bytes = reader.take(size & kLongestShort);
            if (!bytes || bytes->size() > 8) return std::nullopt;
            size = 0;
            for (const std::byte byte : *bytes) size = size << 8 | std::to_integer<std::uint64_t>(byte);
        }
        const auto data = reader.take(size);
        if (!data) return std::nullopt;
        return DataSet{*record, *number, *data};
    }
    return std::nullopt;
}

void append(ByteWriter& writer, std::uint8_t record, std::uint8_t number, Bytes data) {
    writer.write(kMark).write(record).write(number);
    if (data.size() <= kLongestShort)
        writer.write(static_cast<std::uint16_t>(data.size()));
    else
        writer.write(std::uint16_t{0x8004}).write(static_cast<std::uint32_t>(data.size()));
    writer.bytes(data);
}

}  // namespace

ByteVector changedIptc(Bytes datasets, const IptcRules& rules) {
    std::vector<DataSet> kept;
    ByteReader reader(datasets);
    bool isUtf8 = false;
    std::optional<Bytes> characterSet;
    std::array<bool, 256> isThere{};
    while (const auto set = nextDataSet(reader)) {
        if (set->record == 1 && set->number == 90) {
            characterSet = set->data;
            isUtf8 = asText(set->data) == kUtf8Escape;
            continue;
        }
        if (set->record == 2) isThere.at(set->number) = true;
        const bool isReplaced = set->record == 2 && std::ranges::any_of(rules.sets, [&](const IptcDataSet& other) {
                                    return other.number == set->number;
                                });
        if (!isReplaced && !(rules.removes && rules.removes(set->record, set->number))) kept.push_back(*set);
    }
    const auto isMade = [&](const IptcDataSet& set) {
        return !set.values.empty() && (!set.onlyWhereThere || isThere.at(set.number));
    };
    const bool setsValues = std::ranges::any_of(rules.sets, isMade);
    const bool hasContent = std::ranges::any_of(kept, [](const DataSet& set) { return set.record != 1 && set.number; });
    if (!setsValues && !hasContent && !(rules.keepsEmptyBlock && !kept.empty())) return {};

    // New values are UTF-8, so the old ones have to be as well: a block has one character set.
    const bool becomesUtf8 = isUtf8 || setsValues;
    ByteWriter writer;
    if (becomesUtf8)
        append(writer, 1, 90, asBytes(kUtf8Escape));
    else if (characterSet)
        append(writer, 1, 90, *characterSet);
    const auto appendKept = [&](const DataSet& set) {
        const bool isText =
            set.record == 2 && set.number != 0 && set.number != 200 && set.number != 201 && set.number != 202;
        if (becomesUtf8 && !isUtf8 && isText)
            append(writer, set.record, set.number, asBytes(toUtf8(asText(set.data))));
        else
            append(writer, set.record, set.number, set.data);
    };
    for (const DataSet& set : kept)
        if (set.record < 2 || (set.record == 2 && set.number == 0)) appendKept(set);
    for (const DataSet& set : kept)
        if (set.record == 2 && set.number != 0) appendKept(set);
    for (const IptcDataSet& set : rules.sets)
        for (const std::string& value : isMade(set) ? set.values : std::vector<std::string>())
            append(writer, 2, set.number, asBytes(value));
    for (const DataSet& set : kept)
        if (set.record > 2) appendKept(set);
    return writer.take();
}

void appendPhotoshopResource(ByteVector& resources, std::uint16_t identifier, Bytes data) {
    ByteWriter writer;
    writer.text("8BIM").write(identifier).write(std::uint16_t{0});
    writer.write(static_cast<std::uint32_t>(data.size())).bytes(data).alignTo(2);
    const Bytes made = writer.view();
    resources.insert(resources.end(), made.begin(), made.end());
}

ByteVector changedPhotoshopResources(Bytes resources, const ResourceChange& change) {
    ByteVector result;
    ByteReader reader(resources);
    while (reader.remaining() >= 12) {
        const std::size_t start = reader.position();
        const std::string_view mark = asText(*reader.take(4));
        if (mark != "8BIM" && mark != "PHUT" && mark != "AgHg" && mark != "DCSR" && mark != "MeSa") break;
        const auto identifier = reader.read<std::uint16_t>();
        const auto nameLength = reader.read<std::uint8_t>();
        if (!nameLength || !reader.skip(*nameLength + (*nameLength % 2 == 0 ? 1U : 0U))) break;
        const auto size = reader.read<std::uint32_t>();
        if (!size || *size > reader.remaining()) break;
        const std::size_t dataStart = reader.position();
        const Bytes data = *reader.take(*size);
        if (*size % 2 != 0) reader.skip(1);
        const auto changed = change(*identifier, data);
        if (!changed) continue;
        const Bytes head = resources.subspan(start, dataStart - 4 - start);
        result.insert(result.end(), head.begin(), head.end());
        ByteWriter body;
        body.write(static_cast<std::uint32_t>(changed->size())).bytes(*changed).alignTo(2);
        result.insert(result.end(), body.view().begin(), body.view().end());
    }
    return result;
}

}  // namespace tessaly::imageio
