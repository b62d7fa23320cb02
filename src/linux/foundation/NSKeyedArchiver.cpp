#include "platform/Foundation/NSKeyedArchiver.h"

#include "platform/Foundation/PropertyList.h"

namespace tessaly {

Data archivedData(const Array& objects) {
    const std::string text = propertyListText(Dictionary{{"$archive", 1}, {"objects", objects}});
    const auto bytes = std::as_bytes(std::span(text));
    return std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end());
}

std::optional<Array> unarchivedObjects(std::span<const std::byte> archive) {
    const auto value = valueFromPropertyList({reinterpret_cast<const char*>(archive.data()), archive.size()});
    if (!value || value->dictionary()["$archive"] != Value(1)) return std::nullopt;
    const Value& objects = value->dictionary()["objects"];
    if (!objects.isArray()) return std::nullopt;
    return objects.array();
}

}  // namespace tessaly
