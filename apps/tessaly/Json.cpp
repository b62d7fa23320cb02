#include "Json.h"

#include <charconv>
#include <cmath>

#include "Utf8.h"

namespace tessaly::cli {

void JsonWriter::separate() {
    if (!first_) out_ += ',';
    first_ = false;
}

JsonWriter& JsonWriter::beginObject() {
    separate();
    out_ += '{';
    first_ = true;
    return *this;
}

JsonWriter& JsonWriter::endObject() {
    out_ += '}';
    first_ = false;
    return *this;
}

JsonWriter& JsonWriter::beginArray() {
    separate();
    out_ += '[';
    first_ = true;
    return *this;
}

JsonWriter& JsonWriter::endArray() {
    out_ += ']';
    first_ = false;
    return *this;
}

JsonWriter& JsonWriter::key(std::string_view name) {
    text(name);
    out_ += ':';
    first_ = true;
    return *this;
}

JsonWriter& JsonWriter::text(std::string_view text) {
    constexpr std::string_view hexadecimal = "0123456789abcdef";
    separate();
    out_ += '"';
    while (!text.empty()) {
        const auto c = static_cast<unsigned char>(text.front());
        if (c >= 0x80) {
            const std::size_t length = utf8SequenceLength(text);
            // The controls of Latin-1 steer terminals as well.
            if (const auto next = length == 2 ? static_cast<unsigned char>(text[1]) : 0xFFU; c == 0xC2 && next < 0xA0) {
                (out_ += "\\u00").append(1, hexadecimal[next >> 4U]).append(1, hexadecimal[next & 15U]);
                text.remove_prefix(2);
                continue;
            }
            out_ += length == 0 ? std::string_view("\xEF\xBF\xBD") : text.substr(0, length);
            text.remove_prefix(length == 0 ? 1 : length);
            continue;
        }
        if (c == '"' || c == '\\') {
            out_ += '\\';
            out_ += static_cast<char>(c);
        } else if (c == '\n') {
            out_ += "\\n";
        } else if (c < 0x20 || c == 0x7F) {
            out_ += "\\u00";
            out_ += hexadecimal[c >> 4U];
            out_ += hexadecimal[c & 15U];
        } else {
            out_ += static_cast<char>(c);
        }
        text.remove_prefix(1);
    }
    out_ += '"';
    return *this;
}

JsonWriter& JsonWriter::number(double number) {
    if (!std::isfinite(number)) return null();
    separate();
    char buffer[32];
    out_.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, number).ptr);
    return *this;
}

JsonWriter& JsonWriter::number(std::int64_t number) {
    separate();
    char buffer[24];
    out_.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, number).ptr);
    return *this;
}

JsonWriter& JsonWriter::boolean(bool value) {
    separate();
    out_ += value ? "true" : "false";
    return *this;
}

JsonWriter& JsonWriter::null() {
    separate();
    out_ += "null";
    return *this;
}

namespace {

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = static_cast<unsigned char>(text.front()) < 0x80 ? 1 : utf8SequenceLength(text);
        if (length == 0) return false;
        text.remove_prefix(length);
    }
    return true;
}

std::string base64(std::string_view bytes) {
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const std::string_view piece = bytes.substr(at, 3);
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < 3; ++i)
            bits = bits << 8U | (i < piece.size() ? static_cast<unsigned char>(piece[i]) : 0U);
        for (std::size_t i = 0; i < 4; ++i) text += i <= piece.size() ? digits[bits >> (18 - 6 * i) & 63U] : '=';
    }
    return text;
}

}  // namespace

JsonWriter& JsonWriter::path(std::string_view path) {
    key("path").text(path);
    return isUtf8(path) ? *this : key("pathBytes").text(base64(path));
}

JsonWriter& JsonWriter::value(const Value& value) {
    switch (value.kind()) {
        case Value::Kind::null:
            return null();
        case Value::Kind::boolean:
            return boolean(value.boolValue());
        case Value::Kind::integer:
            return number(value.integerValue());
        case Value::Kind::real:
            return number(value.doubleValue());
        case Value::Kind::string:
            return text(value.string());
        case Value::Kind::date:
            return number(value.date().timeIntervalSince1970);
        case Value::Kind::data:
            return beginObject().key("bytes").number(static_cast<std::int64_t>(value.data().size())).endObject();
        case Value::Kind::array:
            beginArray();
            for (const Value& element : value.array()) this->value(element);
            return endArray();
        case Value::Kind::dictionary:
            beginObject();
            for (const auto& entry : value.dictionary()) key(entry.key()).value(entry.value);
            return endObject();
    }
    return *this;
}

}  // namespace tessaly::cli
