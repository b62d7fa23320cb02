#include "support/TiffBuilder.h"

#include <algorithm>

namespace tessaly::test {

TiffBuilder& TiffBuilder::text(Directory directory, unsigned tag, std::string_view text) {
    ByteString value(text);
    value.u8(0);
    return raw(directory, tag, 2, static_cast<std::uint32_t>(value.size()), value);
}

TiffBuilder& TiffBuilder::shorts(Directory directory, unsigned tag, std::initializer_list<unsigned> values) {
    ByteString value;
    for (const unsigned number : values) value.number(static_cast<std::uint16_t>(number), little_);
    return raw(directory, tag, 3, static_cast<std::uint32_t>(values.size()), value);
}

TiffBuilder& TiffBuilder::longs(Directory directory, unsigned tag, std::initializer_list<std::uint32_t> values) {
    ByteString value;
    for (const std::uint32_t number : values) value.number(number, little_);
    return raw(directory, tag, 4, static_cast<std::uint32_t>(values.size()), value);
}

TiffBuilder& TiffBuilder::rationals(Directory directory, unsigned tag, std::initializer_list<Ratio> values,
                                    bool isSigned) {
    ByteString value;
    for (const Ratio& ratio : values) value.number(ratio.numerator, little_).number(ratio.denominator, little_);
    return raw(directory, tag, isSigned ? 10 : 5, static_cast<std::uint32_t>(values.size()), value);
}

TiffBuilder& TiffBuilder::raw(Directory directory, unsigned tag, unsigned type, std::uint32_t count,
                              const ByteString& value) {
    entries_[directory].push_back({tag, type, count, value});
    return *this;
}

ByteString TiffBuilder::render(std::vector<Entry> entries, std::uint32_t offset) const {
    std::ranges::stable_sort(entries, {}, &Entry::tag);
    ByteString table;
    ByteString heap;
    const auto heapAt = static_cast<std::uint32_t>(offset + 2 + entries.size() * 12 + 4);
    table.number(static_cast<std::uint16_t>(entries.size()), little_);
    for (const Entry& entry : entries) {
        table.number(static_cast<std::uint16_t>(entry.tag), little_)
            .number(static_cast<std::uint16_t>(entry.type), little_)
            .number(entry.count, little_);
        if (entry.value.size() <= 4) {
            table.add(entry.value).add(4 - entry.value.size(), '\0');
        } else {
            table.number(static_cast<std::uint32_t>(heapAt + heap.size()), little_);
            heap.add(entry.value).add(entry.value.size() % 2, '\0');
        }
    }
    table.number(std::uint32_t{0}, little_);
    return table.add(heap);
}

ByteString TiffBuilder::directory(Directory directory, std::uint32_t offset) const {
    return render(entries_[directory], offset);
}

ByteString TiffBuilder::build() const {
    std::vector<Entry> main = entries_[first];
    const auto pointer = [&](unsigned tag, std::uint32_t offset) {
        ByteString value;
        value.number(offset, little_);
        main.push_back({tag, 4, 1, value});
    };
    // Pointers are of a fixed size, so a first rendering tells where the others come to stand.
    if (!entries_[exif].empty()) pointer(0x8769, 0);
    if (!entries_[gps].empty()) pointer(0x8825, 0);
    const auto exifAt = static_cast<std::uint32_t>(8 + render(main, 8).size());
    const ByteString exifPart = entries_[exif].empty() ? ByteString() : render(entries_[exif], exifAt);
    const auto gpsAt = static_cast<std::uint32_t>(exifAt + exifPart.size());
    main = entries_[first];
    if (!entries_[exif].empty()) pointer(0x8769, exifAt);
    if (!entries_[gps].empty()) pointer(0x8825, gpsAt);
    ByteString whole(little_ ? "II" : "MM");
    whole.number(std::uint16_t{42}, little_).number(std::uint32_t{8}, little_).add(render(main, 8)).add(exifPart);
    if (!entries_[gps].empty()) whole.add(render(entries_[gps], gpsAt));
    return whole;
}

ByteString withNext(const ByteString& tiff, std::uint32_t offset) {
    std::string text(tiff.text());
    const auto count = static_cast<unsigned char>(text[8]) + 256U * static_cast<unsigned char>(text[9]);
    text.replace(10 + count * 12, 4, std::string(ByteString().number(offset, true).text()));
    return ByteString(text);
}

}  // namespace tessaly::test
