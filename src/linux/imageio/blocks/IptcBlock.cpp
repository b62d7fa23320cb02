#include <algorithm>
#include <array>

#include "linux/imageio/Text.h"
#include "linux/imageio/blocks/Blocks.h"
#include "linux/imageio/blocks/IptcDataSets.h"

namespace tessaly::imageio {
namespace {

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
        for (std::size_t i = 0; i < gathered_.size(); ++i) {
            const IptcDataSetRule& set = kIptcDataSets[i];
            if (!gathered_[i].empty())
                ImageProperties::add(properties_.iptc, set.name,
                                     set.repeats ? Value(gathered_[i]) : gathered_[i].first());
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
        const auto set = std::ranges::find(kIptcDataSets, number, &IptcDataSetRule::number);
        if (set == kIptcDataSets.end()) return;
        Value text = textValue(data);
        if (text.isNull()) return;
        Array& values = gathered_[static_cast<std::size_t>(set - kIptcDataSets.begin())];
        if (set->repeats || values.empty()) values.append(std::move(text));
    }

    ImageProperties& properties_;
    std::array<Array, kIptcDataSets.size()> gathered_;
};

}  // namespace

void readIptc(Bytes datasets, ImageProperties& properties) { IptcWalk(properties).read(datasets); }

}  // namespace tessaly::imageio
