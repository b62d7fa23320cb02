#include <algorithm>
#include <array>
#include <string>

#include "linux/imageio/blocks/ExifValues.h"
#include "linux/imageio/makernotes/MakerNotes.h"

namespace tessaly::imageio {
namespace {

constexpr std::uint16_t kLensSpecification = 0xB02A;
constexpr std::uint16_t kEncipheredInfo = 0x9050;
/// Height, then width.
constexpr std::uint16_t kFullImageSize = 0xB02B;

constexpr std::array kTags{
    NoteTag{0x2031, TagForm::text, &ImageProperties::makerAux, "SerialNumber"},
    NoteTag{0x0104, TagForm::number, &ImageProperties::makerAux, "FlashCompensation"},
};

/// Blocks 0x9050 and 0x94xx are enciphered byte by byte: b becomes b * b * b modulo 249; 249 and above stay.
constexpr std::array<std::uint8_t, 256> kDeciphered = [] {
    std::array<std::uint8_t, 256> table{};
    for (unsigned b = 0; b < 256; ++b) table[b < 249 ? b * b * b % 249 : b] = static_cast<std::uint8_t>(b);
    return table;
}();

/// Where the block keeps the number of exposures: bodies since the first with a full-frame mirrorless of the second
/// generation keep it at 0x3A, those before at 0x32, compact cameras nowhere.
std::uint64_t counterPosition(std::string_view model) {
    static constexpr std::array<std::string_view, 20> later{
        "ILCE-1",    "ILCE-6100", "ILCE-6300", "ILCE-6400", "ILCE-6500", "ILCE-6600", "ILCE-6700",
        "ILCE-7C",   "ILCE-7M3",  "ILCE-7M4",  "ILCE-7RM2", "ILCE-7RM3", "ILCE-7RM4", "ILCE-7RM5",
        "ILCE-7SM2", "ILCE-7SM3", "ILCE-9",    "ILME-FX",   "ILCA-99M2", "ZV-E10",
    };
    if (model.starts_with("DSC-") || model.starts_with("ZV-1") || model.starts_with("Stellar")) return 0;
    return std::ranges::any_of(later, [model](std::string_view name) { return model.starts_with(name); }) ? 0x3A : 0x32;
}

void readCounter(const MakerDirectory& note, const TiffEntry& entry, ImageProperties& properties) {
    const std::uint64_t position = counterPosition(note.model);
    if (position == 0 || entry.byteLength() < position + 3) return;
    const auto bytes = note.tiff.source.bytes(entry.position + position, 3);
    if (!bytes) return;
    std::uint32_t count = 0;
    for (std::size_t i = 3; i > 0; --i)
        count = count << 8U | kDeciphered[std::to_integer<std::size_t>((*bytes)[i - 1])];
    ImageProperties::add(properties.makerAux, "ImageNumber", count);
}

/// Packed decimal digits, high half first; -1 where a half is none.
int packedDecimal(Bytes bytes) {
    int number = 0;
    for (const std::byte byte : bytes) {
        const int high = std::to_integer<int>(byte >> 4);
        const int low = std::to_integer<int>(byte & std::byte{15});
        if (high > 9 || low > 9) return -1;
        number = number * 100 + high * 10 + low;
    }
    return number;
}

/// Eight bytes: features, shortest and longest focal length (two each), widest apertures in tenths, features.
void readLens(TiffContext& tiff, const TiffEntry& entry, ImageProperties& properties) {
    const auto bytes = entry.bytes(tiff);
    if (!bytes || bytes->size() != 8) return;
    const LensRange lens{static_cast<double>(packedDecimal(bytes->subspan(1, 2))),
                         static_cast<double>(packedDecimal(bytes->subspan(3, 2))),
                         packedDecimal(bytes->subspan(5, 1)) / 10.0, packedDecimal(bytes->subspan(6, 1)) / 10.0};
    ImageProperties::add(properties.makerAux, "LensInfo", lensInfo(lens));
    ImageProperties::add(properties.makerAux, "LensModel", lensDescription(lens));
}

}  // namespace

void readSonyNote(const MakerDirectory& note, ImageProperties& properties) {
    addNoteTags(note.tiff, note.directory, kTags, properties);
    if (const auto lens = note.directory.find(kLensSpecification)) readLens(note.tiff, *lens, properties);
    if (const auto info = note.directory.find(kEncipheredInfo)) readCounter(note, *info, properties);
    if (const auto size = note.directory.find(kFullImageSize); size && size->count == 2)
        properties.makerSize = {size->integer(note.tiff, 1).value_or(0), size->integer(note.tiff, 0).value_or(0)};
}

}  // namespace tessaly::imageio
