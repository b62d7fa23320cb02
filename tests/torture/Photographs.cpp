#include "Photographs.h"

#include <charconv>

#include "support/Containers.h"
#include "support/TiffBuilder.h"

namespace tessaly::test {
namespace {

constexpr std::string_view kDay = "2020:01:01";
constexpr std::string_view kMark = "~photo=";
constexpr std::string_view kVersionMark = "~version=";
constexpr std::size_t kAlike = 20'000;
constexpr std::size_t kTable = 64;

std::string digits(int number, std::size_t count) {
    std::string text = std::to_string(number);
    return std::string(count > text.size() ? count - text.size() : 0, '0') + text;
}

std::optional<int> numberAfter(const std::string& file, std::string_view mark) {
    const auto at = file.find(mark);
    if (at == std::string::npos) return std::nullopt;
    const char* first = file.data() + at + mark.size();
    int number = 0;
    if (std::from_chars(first, file.data() + file.size(), number).ec != std::errc()) return std::nullopt;
    return number;
}

}  // namespace

std::string Photographs::take() { return file(++photos_, 0, true); }
std::string Photographs::version(const std::string& before) {
    return file(photoIn(before).value_or(0), ++versions_, saysMoment(before));
}

std::string Photographs::file(int photo, int version, bool hasMoment) const {
    const int second = areAlike_ ? 0 : photo;
    const std::string moment = std::string(kDay) + " 00:" + digits(second / 60 % 60, 2) + ":" + digits(second % 60, 2);
    TiffBuilder tiff;
    tiff.text(TiffBuilder::first, 0x010F, "Maker").text(TiffBuilder::exif, 0x9003, moment);
    tiff.rationals(TiffBuilder::gps, 2, {{52, 1}, {31, 1}, {0, 1}}).text(TiffBuilder::gps, 1, "N");
    tiff.rationals(TiffBuilder::gps, 4, {{13, 1}, {24, 1}, {0, 1}}).text(TiffBuilder::gps, 3, "E");
    std::string table(1, '\0');
    table.append(kMark).append(digits(photo, 5)).append(kVersionMark).append(digits(version, 5));
    table.resize(1 + kTable, '\x11');
    const ByteString exif =
        jpegSegment(0xE1, ByteString("Exif\0\0"_z).add(hasMoment ? tiff.build() : TiffBuilder().build()));
    const ByteString pixels = jpegSegment(0xDB, ByteString(table));
    if (!areAlike_) return std::string(jpeg({exif, pixels}).text());
    const ByteString alike = jpegSegment(0xDB, ByteString(std::string(1, '\1') + std::string(kTable, '\x11')));
    ByteString padding;
    while (padding.size() < kAlike) padding.add(alike);
    return std::string(jpeg({exif, padding, pixels}).text());
}

std::optional<int> photoIn(const std::string& file) {
    if (!file.starts_with("\xFF\xD8") || !file.ends_with("\xFF\xD9")) return std::nullopt;
    return numberAfter(file, kMark);
}

bool saysMoment(const std::string& file) { return file.find(kDay) != std::string::npos; }

std::string describe(const std::string& file) {
    const auto photo = photoIn(file);
    if (!photo) return "a torn file of " + std::to_string(file.size()) + " bytes";
    return "photo " + std::to_string(*photo) + ", version " +
           std::to_string(numberAfter(file, kVersionMark).value_or(0)) + ", " + std::to_string(file.size()) + " bytes";
}

}  // namespace tessaly::test
