#include "platform/Foundation/PropertyList.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <vector>

namespace tessaly {
namespace {

constexpr int kMaximumDepth = 64;
constexpr std::string_view kBase64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string base64(std::span<const std::byte> bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        std::uint32_t word = 0;
        for (std::size_t i = 0; i < 3; ++i)
            word = word << 8 | (at + i < bytes.size() ? std::to_integer<std::uint32_t>(bytes[at + i]) : 0);
        for (std::size_t i = 0; i < 4; ++i) text += i <= bytes.size() - at ? kBase64[word >> (18 - 6 * i) & 63] : '=';
    }
    return text;
}

std::optional<Data> bytesFromBase64(std::string_view text) {
    while (text.ends_with('=')) text.remove_suffix(1);
    auto bytes = std::make_shared<std::vector<std::byte>>();
    std::uint32_t word = 0;
    int bits = 0;
    for (const char c : text) {
        const auto digit = kBase64.find(c);
        if (digit == std::string_view::npos) return std::nullopt;
        word = word << 6 | static_cast<std::uint32_t>(digit);
        bits += 6;
        if (bits < 8) continue;
        bits -= 8;
        bytes->push_back(static_cast<std::byte>(word >> bits & 0xFF));
    }
    return bytes;
}

class Writer {
public:
    explicit Writer(bool readable) : readable_(readable) {}

    void write(const Value& value, int depth) {
        switch (value.kind()) {
            case Value::Kind::null:
                text_ += "null";
                return;
            case Value::Kind::boolean:
                text_ += value.boolValue() ? "true" : "false";
                return;
            case Value::Kind::integer:
                text_ += std::to_string(value.integerValue());
                return;
            case Value::Kind::real:
                return writeReal(value.doubleValue());
            case Value::Kind::string:
                return writeText(value.string());
            case Value::Kind::date:
                text_ += "{\"$date\": ";
                writeReal(value.date().timeIntervalSince1970);
                text_ += '}';
                return;
            case Value::Kind::data:
                text_ += "{\"$data\": \"" + base64(value.data()) + "\"}";
                return;
            case Value::Kind::array:
                return writeArray(value.array(), depth);
            case Value::Kind::dictionary:
                return writeDictionary(value.dictionary(), depth);
        }
    }

    std::string take() { return std::move(text_); }

private:
    void writeReal(double number) {
        if (!std::isfinite(number)) number = 0;
        std::string digits = Value(number).description();
        if (digits.find_first_of(".e") == std::string::npos) digits += ".0";
        text_ += digits;
    }

    void writeText(std::string_view text) {
        text_ += '"';
        for (const char c : text) {
            if (c == '"' || c == '\\') {
                text_ += '\\';
                text_ += c;
            } else if (static_cast<unsigned char>(c) < 0x20) {
                constexpr std::string_view digits = "0123456789abcdef";
                text_ += "\\u00";
                text_ += digits[static_cast<unsigned char>(c) >> 4];
                text_ += digits[static_cast<unsigned char>(c) & 15];
            } else {
                text_ += c;
            }
        }
        text_ += '"';
    }

    void newLine(int depth) {
        if (!readable_) return;
        text_ += '\n';
        text_.append(static_cast<std::size_t>(depth) * 2, ' ');
    }

    void writeArray(const Array& array, int depth) {
        text_ += '[';
        for (const Value& value : array) {
            if (&value != array.begin()) text_ += ", ";
            write(value, depth + 1);
        }
        text_ += ']';
    }

    void writeDictionary(const Dictionary& dictionary, int depth) {
        text_ += '{';
        for (const auto& entry : dictionary) {
            if (&entry != dictionary.begin()) text_ += readable_ ? "," : ", ";
            newLine(depth + 1);
            writeText(entry.key());
            text_ += ": ";
            write(entry.value, depth + 1);
        }
        if (!dictionary.empty()) newLine(depth);
        text_ += '}';
    }

    bool readable_;
    std::string text_;
};

class Parser {
public:
    explicit Parser(std::string_view text) : rest_(text) {}

    std::optional<Value> parse() {
        auto value = parseValue(0);
        skipBlanks();
        if (!rest_.empty()) return std::nullopt;
        return value;
    }

private:
    void skipBlanks() { rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t\r\n"), rest_.size())); }

    bool take(std::string_view wanted) {
        skipBlanks();
        if (!rest_.starts_with(wanted)) return false;
        rest_.remove_prefix(wanted.size());
        return true;
    }

    std::optional<Value> parseValue(int depth) {
        if (depth > kMaximumDepth) return std::nullopt;
        skipBlanks();
        if (rest_.empty()) return std::nullopt;
        if (rest_.front() == '{') return parseDictionary(depth);
        if (rest_.front() == '[') return parseArray(depth);
        if (rest_.front() == '"') {
            auto text = parseText();
            if (!text) return std::nullopt;
            return Value(*text);
        }
        if (take("true")) return Value(true);
        if (take("false")) return Value(false);
        if (take("null")) return Value();
        return parseNumber();
    }

    std::optional<Value> parseNumber() {
        const auto end = std::min(rest_.find_first_of(",]} \t\r\n"), rest_.size());
        const std::string_view digits = rest_.substr(0, end);
        rest_.remove_prefix(end);
        std::int64_t whole = 0;
        const char* const last = digits.data() + digits.size();
        if (const auto result = std::from_chars(digits.data(), last, whole);
            result.ec == std::errc{} && result.ptr == last)
            return Value(whole);
        double real = 0;
        if (const auto result = std::from_chars(digits.data(), last, real);
            result.ec == std::errc{} && result.ptr == last)
            return Value(real);
        return std::nullopt;
    }

    std::optional<std::string> parseText() {
        if (!take("\"")) return std::nullopt;
        std::string text;
        while (!rest_.empty()) {
            const char c = rest_.front();
            rest_.remove_prefix(1);
            if (c == '"') return text;
            if (c != '\\') {
                text += c;
            } else if (!parseEscape(text)) {
                return std::nullopt;
            }
        }
        return std::nullopt;
    }

    bool parseEscape(std::string& text) {
        if (rest_.empty()) return false;
        const char c = rest_.front();
        rest_.remove_prefix(1);
        if (c == 'n')
            text += '\n';
        else if (c == 't')
            text += '\t';
        else if (c == 'u')
            return parseControl(text);
        else
            text += c;
        return true;
    }

    /// Only control characters are ever written this way.
    bool parseControl(std::string& text) {
        if (rest_.size() < 4) return false;
        unsigned code = 0;
        const auto result = std::from_chars(rest_.data(), rest_.data() + 4, code, 16);
        if (result.ec != std::errc{} || result.ptr != rest_.data() + 4 || code > 0x7F) return false;
        text += static_cast<char>(code);
        rest_.remove_prefix(4);
        return true;
    }

    std::optional<Value> parseArray(int depth) {
        take("[");
        Array array;
        if (take("]")) return Value(array);
        do {
            auto value = parseValue(depth + 1);
            if (!value) return std::nullopt;
            array.append(std::move(*value));
        } while (take(","));
        if (!take("]")) return std::nullopt;
        return Value(std::move(array));
    }

    std::optional<Value> parseDictionary(int depth) {
        take("{");
        Dictionary dictionary;
        if (take("}")) return Value(dictionary);
        do {
            const auto key = parseText();
            if (!key || !take(":")) return std::nullopt;
            auto value = parseValue(depth + 1);
            if (!value) return std::nullopt;
            dictionary.set(*key, std::move(*value));
        } while (take(","));
        if (!take("}")) return std::nullopt;
        return typed(std::move(dictionary));
    }

    static std::optional<Value> typed(Dictionary dictionary) {
        if (dictionary.size() == 1 && dictionary.contains("$date")) {
            const Value& seconds = dictionary["$date"];
            return seconds.isNumber() ? std::optional(Value(NSDate{seconds.doubleValue()})) : std::nullopt;
        }
        if (dictionary.size() == 1 && dictionary.contains("$data")) {
            auto bytes = bytesFromBase64(dictionary["$data"].string());
            if (!bytes) return std::nullopt;
            return Value(std::move(*bytes));
        }
        return Value(std::move(dictionary));
    }

    std::string_view rest_;
};

}  // namespace

std::string propertyListText(const Value& value, bool readable) {
    Writer writer(readable);
    writer.write(value, 0);
    return writer.take();
}

std::optional<Value> valueFromPropertyList(std::string_view text) { return Parser(text).parse(); }

}  // namespace tessaly
