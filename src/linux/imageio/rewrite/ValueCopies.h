#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "platform/ImageIO/MetadataChange.h"

/// Where programs repeat values that have a place of their own: a value that goes has to go from there, too.
namespace tessaly::imageio {

/// Whether a property of XMP repeats something of the dictionaries that go. By customary prefix and name; places are
/// no part of it (see namesPlace).
[[nodiscard]] bool repeatsDictionary(const MetadataChange::Dictionaries& removed, std::string_view prefix,
                                     std::string_view name) noexcept;

/// A property of XMP by its customary prefix and its name.
struct XmpName {
    std::string_view prefix;
    std::string_view name;
};

/// The further properties that repeat a value which `values` names: what they say is out of date with it.
[[nodiscard]] std::vector<XmpName> repeatingProperties(const Dictionary& values);
/// The same of fields in the first directory of Exif.
[[nodiscard]] std::vector<std::uint16_t> repeatingTags(const Dictionary& values);

/// The texts that a change takes out of a file's dictionaries, by which their copies are known under names that nobody
/// knows. Short ones, and short numbers, are none: they stand for anything.
class RemovedTexts {
public:
    RemovedTexts() = default;
    /// `properties`: of the file as it is.
    RemovedTexts(const Dictionary& properties, const MetadataChange& change);
    /// Whether there can be any.
    [[nodiscard]] static bool areIn(const MetadataChange& change);

    [[nodiscard]] bool empty() const noexcept { return texts_.empty(); }
    /// Whether `text` is one of them, or a list with one of them in it.
    [[nodiscard]] bool isIn(std::string_view text) const;

private:
    void add(const Value& value);
    [[nodiscard]] bool contains(std::string_view text) const;

    std::unordered_set<std::string> texts_;
};

}  // namespace tessaly::imageio
