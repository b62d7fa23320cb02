#pragma once
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/Foundation/NSDate.h"
#include "platform/Foundation/SharedText.h"

namespace tessaly {

class Value;

/// Bytes, shared and immutable.
using Data = std::shared_ptr<const std::vector<std::byte>>;

/// Ordered values. A copy is cheap: it shares until one side changes.
class Array {
public:
    Array() = default;
    Array(std::initializer_list<Value> values);
    explicit Array(std::vector<Value> values);

    [[nodiscard]] std::size_t size() const noexcept;
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }
    /// The value at `index`, or the null value beyond the end.
    [[nodiscard]] const Value& operator[](std::size_t index) const noexcept;
    /// The first / last value, or the null value of an empty array.
    [[nodiscard]] const Value& first() const noexcept;
    [[nodiscard]] const Value& last() const noexcept;
    void append(Value value);
    [[nodiscard]] const Value* begin() const noexcept;
    [[nodiscard]] const Value* end() const noexcept;
    bool operator==(const Array& other) const noexcept;

private:
    std::shared_ptr<std::vector<Value>> values_;
};

/// Values by name, in the order in which the names first came. A copy is cheap: it shares until one side changes.
class Dictionary {
public:
    struct Entry;

    Dictionary() = default;
    Dictionary(std::initializer_list<std::pair<std::string_view, Value>> entries);

    [[nodiscard]] std::size_t size() const noexcept;
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }
    /// The value under `key`, or the null value.
    [[nodiscard]] const Value& operator[](std::string_view key) const noexcept;
    [[nodiscard]] bool contains(std::string_view key) const noexcept;
    /// Replaces the value under `key`, or appends it. Setting the null value removes the key.
    void set(std::string_view key, Value value);
    /// As set, for a key that lives as long as the program (a literal, a name of a static table): it is not copied.
    void setLiteral(std::string_view key, Value value);
    /// As setLiteral, for a key that is known to be absent: it is not looked for.
    void appendLiteral(std::string_view key, Value&& value);
    void remove(std::string_view key);
    /// Puts the null value under `key`, where a receiver tells "nothing" from "not said"; contains() is then true.
    void setNull(std::string_view key);
    void reserve(std::size_t count);
    [[nodiscard]] const Entry* begin() const noexcept;
    [[nodiscard]] const Entry* end() const noexcept;
    /// Same keys with equal values; the order does not count.
    bool operator==(const Dictionary& other) const noexcept;

private:
    std::vector<Entry>& mutableEntries();
    void put(SharedText key, Value value);

    std::shared_ptr<std::vector<Entry>> entries_;
};

/// One property: nothing, a number, a text, a date, bytes, or a container of such.
///
/// Number conversions are the platform's: what is missing or of another kind reads as 0, a text by its numeric prefix.
class Value {
public:
    enum class Kind : std::uint8_t { null, boolean, integer, real, string, date, data, array, dictionary };

    Value() noexcept = default;
    Value(std::same_as<bool> auto value) noexcept : state_(value) {}
    Value(std::integral auto value) noexcept requires(!std::same_as<decltype(value), bool>)
        : state_(static_cast<std::int64_t>(value)) {}
    Value(double value) noexcept : state_(value) {}
    Value(const char* text) : Value(std::string_view(text)) {}
    Value(std::string_view text) : state_(SharedText(text)) {}
    Value(const std::string& text) : Value(std::string_view(text)) {}
    Value(SharedText text) noexcept : state_(std::move(text)) {}
    Value(NSDate date) noexcept : state_(date) {}
    Value(Data data) noexcept;
    Value(Array array) noexcept : state_(std::move(array)) {}
    Value(Dictionary dictionary) noexcept : state_(std::move(dictionary)) {}

    [[nodiscard]] Kind kind() const noexcept { return static_cast<Kind>(state_.index()); }
    [[nodiscard]] bool isNull() const noexcept { return kind() == Kind::null; }
    [[nodiscard]] bool isNumber() const noexcept {
        return kind() == Kind::boolean || kind() == Kind::integer || kind() == Kind::real;
    }
    [[nodiscard]] bool isString() const noexcept { return kind() == Kind::string; }
    [[nodiscard]] bool isDate() const noexcept { return kind() == Kind::date; }
    [[nodiscard]] bool isData() const noexcept { return kind() == Kind::data; }
    [[nodiscard]] bool isArray() const noexcept { return kind() == Kind::array; }
    [[nodiscard]] bool isDictionary() const noexcept { return kind() == Kind::dictionary; }

    /// Truncated toward zero and clamped to 64 bits; NaN is 0.
    [[nodiscard]] std::int64_t integerValue() const noexcept;
    [[nodiscard]] double doubleValue() const noexcept;
    [[nodiscard]] float floatValue() const noexcept { return static_cast<float>(doubleValue()); }
    /// Any non-zero number; a text that begins with Y, y, T, t or a digit 1 to 9 after blanks, signs and zeros.
    [[nodiscard]] bool boolValue() const noexcept;

    /// The text itself, or "" of another kind.
    [[nodiscard]] std::string_view string() const noexcept;
    /// The date, or 1970 of another kind.
    [[nodiscard]] NSDate date() const noexcept;
    /// The bytes, or none of another kind.
    [[nodiscard]] std::span<const std::byte> data() const noexcept;
    /// The array / dictionary, or an empty one of another kind.
    [[nodiscard]] const Array& array() const noexcept;
    [[nodiscard]] const Dictionary& dictionary() const noexcept;

    /// What "%@" shows: a text as it is, a whole number in digits, a fraction in the shortest digits that read back
    /// as the same double, "" for nothing, an array's elements joined with ", ".
    [[nodiscard]] std::string description() const;

    /// Numbers compare by value whatever their kind; everything else by kind and content.
    bool operator==(const Value& other) const noexcept;

    /// The null value, for returning by reference.
    static const Value& null() noexcept;

private:
    std::variant<std::monostate, bool, std::int64_t, double, SharedText, NSDate, Data, Array, Dictionary> state_;
};

struct Dictionary::Entry {
    SharedText name;
    Value value;
    [[nodiscard]] std::string_view key() const noexcept { return name.view(); }
};

}  // namespace tessaly
