#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/Foundation/Value.h"

namespace tessaly::cli {

/// Writes one JSON value (RFC 8259) into a string. Texts that are not valid UTF-8 come out with U+FFFD in the damaged
/// places, numbers that JSON has no form for as null, bytes as {"bytes": count}: the result is always valid JSON.
class JsonWriter {
public:
    explicit JsonWriter(std::string& out) : out_(out) {}

    JsonWriter& beginObject();
    JsonWriter& endObject();
    JsonWriter& beginArray();
    JsonWriter& endArray();
    JsonWriter& key(std::string_view name);
    JsonWriter& text(std::string_view text);
    JsonWriter& number(double number);
    JsonWriter& number(std::int64_t number);
    JsonWriter& boolean(bool value);
    JsonWriter& null();
    JsonWriter& value(const Value& value);
    /// "path": the name of a file; where it is no UTF-8 also "pathBytes": its bytes in Base64 (RFC 4648).
    JsonWriter& path(std::string_view path);

private:
    void separate();

    std::string& out_;
    bool first_ = true;
};

}  // namespace tessaly::cli
