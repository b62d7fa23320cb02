#include "linux/photos/MotionPhoto.h"

#include <algorithm>
#include <array>

#include "linux/imageio/ByteSource.h"
#include "linux/imageio/IsoBox.h"
#include "linux/imageio/Text.h"

namespace tessaly::photos {
namespace {

using imageio::asText;
using imageio::ByteOrder;
using imageio::ByteSource;

/// A movie's first box, by its size and type (ISO/IEC 14496-12, 4.3).
bool isMovieAt(ByteSource& source, std::uint64_t at) {
    const auto head = source.bytes(at, 8);
    if (!head || asText(*head).substr(4) != "ftyp") return false;
    const auto size = imageio::loadInteger<std::uint32_t>(head->data(), ByteOrder::big);
    return size >= 8 && size <= source.size() - at;
}

std::optional<std::uint64_t> movieBehind(ByteSource& source, std::uint64_t fromEnd) {
    if (fromEnd == 0 || fromEnd >= source.size()) return std::nullopt;
    const std::uint64_t at = source.size() - fromEnd;
    return isMovieAt(source, at) ? std::optional(at) : std::nullopt;
}

std::uint64_t numberOf(const Value& value) {
    const double number = value.isString() ? Value(value.string()).doubleValue() : value.doubleValue();
    return number > 0 && number < 1e15 ? static_cast<std::uint64_t>(number) : 0;
}

/// The container's list of what follows the picture: each item by its length, in order, up to the end of the file.
/// Makers write the items as fields of the list's entries, or below one named Container:Item.
std::optional<std::uint64_t> movieByDirectory(ByteSource& source, const Dictionary& xmp) {
    constexpr int kItems = 32;
    std::uint64_t behind = 0;
    bool isFound = false;
    for (int i = kItems; i > 0; --i) {
        const std::string entry = "Container:Directory[" + std::to_string(i) + "]/";
        for (const std::string& item : {entry + "Container:Item/", entry}) {
            const Value& semantic = xmp[item + "Item:Semantic"];
            if (semantic.isNull()) continue;
            if (semantic.string() == "Primary") continue;
            const std::uint64_t length = numberOf(xmp[item + "Item:Length"]);
            if (length > source.size() - behind) return std::nullopt;
            behind += length;
            if (semantic.string() == "MotionPhoto") isFound = true;
            break;
        }
        if (isFound) return movieBehind(source, behind);
    }
    return std::nullopt;
}

/// The trailer of phones of one maker: entries of data, then a table "SEFH" of where each is, its length and "SEFT". An
/// entry starts with its type, the length of its name, and the name.
std::optional<std::uint64_t> movieByTrailer(ByteSource& source) {
    constexpr std::string_view kName = "MotionPhoto_Data";
    constexpr std::uint64_t kEntryLength = 12;
    if (source.size() < 24) return std::nullopt;
    const std::uint64_t tableEnd = source.size() - 8;
    const auto end = source.bytes(tableEnd, 8);
    if (!end || asText(*end).substr(4) != "SEFT") return std::nullopt;
    const auto tableLength = imageio::loadInteger<std::uint32_t>(end->data(), ByteOrder::little);
    if (tableLength < 12 || tableLength > tableEnd) return std::nullopt;
    const std::uint64_t table = tableEnd - tableLength;
    const auto mark = source.bytes(table, 4);
    if (!mark || asText(*mark) != "SEFH") return std::nullopt;
    const auto count = source.read<std::uint32_t>(table + 8, ByteOrder::little).value_or(0);
    for (std::uint64_t i = 0; i < count && 12 + (i + 1) * kEntryLength <= tableLength; ++i) {
        const std::uint64_t entry = table + 12 + i * kEntryLength;
        const auto back = source.read<std::uint32_t>(entry + 4, ByteOrder::little).value_or(0);
        if (back == 0 || back > table) continue;
        const std::uint64_t data = table - back;
        const auto nameLength = source.read<std::uint32_t>(data + 4, ByteOrder::little).value_or(0);
        if (nameLength != kName.size()) continue;
        const auto name = source.bytes(data + 8, nameLength);
        if (name && asText(*name) == kName && isMovieAt(source, data + 8 + nameLength)) return data + 8 + nameLength;
    }
    return std::nullopt;
}

/// The box of a HEIF file that holds the movie.
std::optional<std::uint64_t> movieByBox(ByteSource& source) {
    const auto head = source.bytes(0, 12);
    if (!head || asText(*head).substr(4, 4) != "ftyp") return std::nullopt;
    constexpr int kBoxes = 64;
    std::uint64_t at = 0;
    for (int i = 0; i < kBoxes && at + 8 <= source.size(); ++i) {
        const auto type = source.bytes(at + 4, 4);
        if (!type) return std::nullopt;
        const bool isMovie = asText(*type) == "mpvd";
        std::uint64_t size = source.read<std::uint32_t>(at).value_or(0);
        std::uint64_t header = 8;
        if (size == 1) {
            size = source.read<std::uint64_t>(at + 8).value_or(0);
            header = 16;
        }
        if (size == 0) size = source.size() - at;  // The last one may go on to the end.
        if (size < header || size > source.size() - at) return std::nullopt;
        if (isMovie) return isMovieAt(source, at + header) ? std::optional(at + header) : std::nullopt;
        at += size;
    }
    return std::nullopt;
}

bool isSet(const Dictionary& xmp, std::string_view name) { return numberOf(xmp[name]) == 1; }

}  // namespace

std::optional<std::uint64_t> embeddedMovie(const std::string& path, const Dictionary& xmp, std::string_view make) {
    const bool saysSo = isSet(xmp, "GCamera:MotionPhoto") || isSet(xmp, "GCamera:MicroVideo");
    const bool mayHaveTrailer = imageio::lowerCase(make) == "samsung";
    if (!saysSo && !mayHaveTrailer) return std::nullopt;
    FileFault fault{};
    auto source = ByteSource::openFile(path, fault);
    if (!source) return std::nullopt;
    if (saysSo) {
        if (const auto at = movieByDirectory(*source, xmp)) return at;
        for (const char* offset : {"GCamera:MicroVideoOffset", "GCamera:MotionPhotoOffset"})
            if (const auto at = movieBehind(*source, numberOf(xmp[offset]))) return at;
        if (const auto at = movieByBox(*source)) return at;
    }
    return movieByTrailer(*source);
}

}  // namespace tessaly::photos
