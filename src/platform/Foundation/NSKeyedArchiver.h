#pragma once
#include <optional>
#include <vector>

#include "platform/Foundation/Value.h"

namespace tessaly {

/// What an archived object puts its parts into and takes them from, by key.
class NSCoder {
public:
    NSCoder() = default;
    explicit NSCoder(Dictionary entries) : entries_(std::move(entries)) {}
    void encodeObject(Value object, std::string_view key) { entries_.set(key, std::move(object)); }
    [[nodiscard]] const Value& decodeObjectForKey(std::string_view key) const { return entries_[key]; }
    [[nodiscard]] const Dictionary& entries() const noexcept { return entries_; }

private:
    Dictionary entries_;
};

/// A keyed archive of objects of one class, as bytes: {"$archive": 1, "objects": [{...}, ...]} as a property list.
[[nodiscard]] Data archivedData(const Array& objects);
/// The objects' entries; nullopt for bytes that are no archive.
[[nodiscard]] std::optional<Array> unarchivedObjects(std::span<const std::byte> archive);

/// Archives anything with encodeWithCoder(NSCoder&).
template <class Object>
[[nodiscard]] Data archivedDataWithRootObject(const std::vector<Object>& objects) {
    Array entries;
    for (const Object& object : objects) {
        NSCoder coder;
        object.encodeWithCoder(coder);
        entries.append(coder.entries());
    }
    return archivedData(entries);
}

/// The reverse, for anything with a constructor from an NSCoder.
template <class Object>
[[nodiscard]] std::optional<std::vector<Object>> unarchiveObjectWithData(std::span<const std::byte> archive) {
    const auto entries = unarchivedObjects(archive);
    if (!entries) return std::nullopt;
    std::vector<Object> objects;
    for (const Value& entry : *entries) objects.emplace_back(NSCoder(entry.dictionary()));
    return objects;
}

}  // namespace tessaly
