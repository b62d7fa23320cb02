#include <algorithm>
#include <array>

#include "linux/imageio/Text.h"
#include "linux/imageio/blocks/Blocks.h"

namespace tessaly::imageio {
namespace {

struct DataSet {
    std::uint8_t number;
    bool repeats;  ///< Collected into an array.
    std::string_view name;
};

// IIM 4.2, chapter 6 (record 2), under the platform's names.
constexpr std::array kApplicationRecord{
    DataSet{4, false, "ObjectAttributeReference"},
    DataSet{5, false, "ObjectName"},
    DataSet{7, false, "EditStatus"},
    DataSet{10, false, "Urgency"},
    DataSet{12, true, "SubjectReference"},
    DataSet{15, false, "Category"},
    DataSet{20, true, "SupplementalCategory"},
    DataSet{22, false, "FixtureIdentifier"},
    DataSet{25, true, "Keywords"},
    DataSet{26, true, "ContentLocationCode"},
    DataSet{27, true, "ContentLocationName"},
    DataSet{30, false, "ReleaseDate"},
    DataSet{35, false, "ReleaseTime"},
    DataSet{37, false, "ExpirationDate"},
    DataSet{38, false, "ExpirationTime"},
    DataSet{40, false, "SpecialInstructions"},
    DataSet{55, false, "DateCreated"},
    DataSet{60, false, "TimeCreated"},
    DataSet{62, false, "DigitalCreationDate"},
    DataSet{63, false, "DigitalCreationTime"},
    DataSet{65, false, "OriginatingProgram"},
    DataSet{70, false, "ProgramVersion"},
    DataSet{75, false, "ObjectCycle"},
    DataSet{80, true, "Byline"},
    DataSet{85, true, "BylineTitle"},
    DataSet{90, false, "City"},
    DataSet{92, false, "SubLocation"},
    DataSet{95, false, "Province/State"},
    DataSet{100, false, "Country/PrimaryLocationCode"},
    DataSet{101, false, "Country/PrimaryLocationName"},
    DataSet{103, false, "OriginalTransmissionReference"},
    DataSet{105, false, "Headline"},
    DataSet{110, false, "Credit"},
    DataSet{115, false, "Source"},
    DataSet{116, false, "CopyrightNotice"},
    DataSet{118, true, "Contact"},
    DataSet{120, false, "Caption/Abstract"},
    DataSet{122, true, "Writer/Editor"},
    DataSet{130, false, "ImageType"},
    DataSet{131, false, "ImageOrientation"},
    DataSet{135, false, "LanguageIdentifier"},
};

constexpr std::size_t kMaximumDataSets = 4096;

/// Gathers one block; a name that the properties already have is left to whoever set it.
class IptcWalk {
public:
    explicit IptcWalk(ImageProperties& properties) : properties_(properties) {}

    void read(Bytes block) {
        ByteReader reader(block);
        for (std::size_t count = 0; count < kMaximumDataSets && reader.remaining() >= 5; ++count) {
            const auto mark = reader.read<std::uint8_t>();
            if (*mark == 0) continue;  // Padding between blocks.
            if (*mark != 0x1C) break;
            const auto record = reader.read<std::uint8_t>();
            const auto number = reader.read<std::uint8_t>();
            const auto length = lengthOf(reader);
            if (!number || !length) break;
            const auto data = reader.take(*length);
            if (!data) break;
            readDataSet(*record, *number, *data);
        }
        for (const DataSet& set : kApplicationRecord) {
            Array& values = gathered_[static_cast<std::size_t>(&set - kApplicationRecord.data())];
            if (!values.empty())
                ImageProperties::add(properties_.iptc, set.name, set.repeats ? Value(values) : values.first());
        }
    }

private:
    /// Two bytes, or with the high bit set the count of bytes that hold the length (IIM 4.2, 1.6.2).
    static std::optional<std::uint64_t> lengthOf(ByteReader& reader) {
        const auto length = reader.read<std::uint16_t>();
        if (!length || *length < 0x8000) return length;
        const auto bytes = reader.take(*length & 0x7FFFU);
        if (!bytes || bytes->size() > 8) return std::nullopt;
        std::uint64_t value = 0;
        for (const std::byte byte : *bytes) value = value << 8 | std::to_integer<std::uint64_t>(byte);
        return value;
    }

    void readDataSet(std::uint8_t record, std::uint8_t number, Bytes data) {
        if (record != 2) return;
        const auto set = std::ranges::find(kApplicationRecord, number, &DataSet::number);
        if (set == kApplicationRecord.end()) return;
        Value text = textValue(data);
        if (text.isNull()) return;
        Array& values = gathered_[static_cast<std::size_t>(set - kApplicationRecord.begin())];
        if (set->repeats || values.empty()) values.append(std::move(text));
    }

    ImageProperties& properties_;
    std::array<Array, kApplicationRecord.size()> gathered_;
};

}  // namespace

void readIptc(Bytes datasets, ImageProperties& properties) { IptcWalk(properties).read(datasets); }

}  // namespace tessaly::imageio
