#include "platform/Foundation/Value.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace tessaly {
namespace {

std::string_view withoutLeadingBlanks(std::string_view text) {
    const auto start = text.find_first_not_of(" \t\n\r\f\v");
    return start == std::string_view::npos ? std::string_view{} : text.substr(start);
}

template <class Number>
Number prefixOf(std::string_view text) {
    text = withoutLeadingBlanks(text);
    if (text.starts_with('+')) text.remove_prefix(1);
    Number number{};
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec == std::errc::result_out_of_range) {
        if constexpr (std::is_integral_v<Number>)
            return text.starts_with('-') ? std::numeric_limits<Number>::min() : std::numeric_limits<Number>::max();
    }
    return result.ec == std::errc{} ? number : Number{};
}

std::int64_t truncated(double value) {
    if (std::isnan(value)) return 0;
    if (value >= 9223372036854775807.0) return std::numeric_limits<std::int64_t>::max();
    if (value <= -9223372036854775808.0) return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(value);
}

bool truthOf(std::string_view text) {
    text = withoutLeadingBlanks(text);
    if (text.starts_with('-') || text.starts_with('+')) text.remove_prefix(1);
    text.remove_prefix(std::min(text.find_first_not_of('0'), text.size()));
    return !text.empty() && std::string_view("YyTt123456789").find(text.front()) != std::string_view::npos;
}

std::string shortest(double value) {
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return {buffer, result.ptr};
}

}  // namespace

Array::Array(std::initializer_list<Value> values) : values_(std::make_shared<std::vector<Value>>(values)) {}
Array::Array(std::vector<Value> values) : values_(std::make_shared<std::vector<Value>>(std::move(values))) {}

std::size_t Array::size() const noexcept { return values_ ? values_->size() : 0; }

const Value& Array::operator[](std::size_t index) const noexcept {
    return index < size() ? (*values_)[index] : Value::null();
}

const Value& Array::first() const noexcept { return (*this)[0]; }
const Value& Array::last() const noexcept { return empty() ? Value::null() : values_->back(); }

void Array::append(Value value) {
    if (!values_)
        values_ = std::make_shared<std::vector<Value>>();
    else if (values_.use_count() > 1)
        values_ = std::make_shared<std::vector<Value>>(*values_);
    values_->push_back(std::move(value));
}

const Value* Array::begin() const noexcept { return values_ ? values_->data() : nullptr; }
const Value* Array::end() const noexcept { return values_ ? values_->data() + values_->size() : nullptr; }

bool Array::operator==(const Array& other) const noexcept {
    return values_ == other.values_ || std::equal(begin(), end(), other.begin(), other.end());
}

Dictionary::Dictionary(std::initializer_list<std::pair<std::string_view, Value>> entries) {
    for (const auto& [key, value] : entries) set(key, value);
}

std::size_t Dictionary::size() const noexcept { return entries_ ? entries_->size() : 0; }

const Value& Dictionary::operator[](std::string_view key) const noexcept {
    for (const Entry& entry : *this)
        if (entry.key() == key) return entry.value;
    return Value::null();
}

bool Dictionary::contains(std::string_view key) const noexcept {
    return std::ranges::any_of(*this, [key](const Entry& entry) { return entry.key() == key; });
}

std::vector<Dictionary::Entry>& Dictionary::mutableEntries() {
    if (!entries_)
        entries_ = std::make_shared<std::vector<Entry>>();
    else if (entries_.use_count() > 1)
        entries_ = std::make_shared<std::vector<Entry>>(*entries_);
    return *entries_;
}

void Dictionary::put(SharedText key, Value value) {
    if (value.isNull()) return remove(key.view());
    auto& entries = mutableEntries();
    for (Entry& entry : entries)
        if (entry.key() == key.view()) {
            entry.value = std::move(value);
            return;
        }
    entries.push_back({std::move(key), std::move(value)});
}

void Dictionary::set(std::string_view key, Value value) { put(SharedText(key), std::move(value)); }
void Dictionary::setLiteral(std::string_view key, Value value) { put(SharedText::literal(key), std::move(value)); }

void Dictionary::appendLiteral(std::string_view key, Value&& value) {
    if (!value.isNull()) mutableEntries().push_back({SharedText::literal(key), std::move(value)});
}

void Dictionary::remove(std::string_view key) {
    if (contains(key)) std::erase_if(mutableEntries(), [key](const Entry& entry) { return entry.key() == key; });
}

void Dictionary::setNull(std::string_view key) {
    remove(key);
    mutableEntries().push_back({SharedText(key), Value()});
}

void Dictionary::reserve(std::size_t count) { mutableEntries().reserve(count); }

const Dictionary::Entry* Dictionary::begin() const noexcept { return entries_ ? entries_->data() : nullptr; }
const Dictionary::Entry* Dictionary::end() const noexcept {
    return entries_ ? entries_->data() + entries_->size() : nullptr;
}

bool Dictionary::operator==(const Dictionary& other) const noexcept {
    return entries_ == other.entries_ ||
           (size() == other.size() &&
            std::all_of(begin(), end(), [&](const Entry& entry) { return other[entry.key()] == entry.value; }));
}

Value::Value(Data data) noexcept {
    if (data) state_ = std::move(data);
}

std::int64_t Value::integerValue() const noexcept {
    switch (kind()) {
        case Kind::boolean:
            return std::get<bool>(state_) ? 1 : 0;
        case Kind::integer:
            return std::get<std::int64_t>(state_);
        case Kind::real:
            return truncated(std::get<double>(state_));
        case Kind::string:
            return prefixOf<std::int64_t>(string());
        default:
            return 0;
    }
}

double Value::doubleValue() const noexcept {
    switch (kind()) {
        case Kind::boolean:
            return std::get<bool>(state_) ? 1 : 0;
        case Kind::integer:
            return static_cast<double>(std::get<std::int64_t>(state_));
        case Kind::real:
            return std::get<double>(state_);
        case Kind::string:
            return prefixOf<double>(string());
        default:
            return 0;
    }
}

bool Value::boolValue() const noexcept { return isString() ? truthOf(string()) : doubleValue() != 0; }

std::string_view Value::string() const noexcept {
    const auto* text = std::get_if<SharedText>(&state_);
    return text ? text->view() : std::string_view{};
}

NSDate Value::date() const noexcept {
    const auto* date = std::get_if<NSDate>(&state_);
    return date ? *date : NSDate{};
}

std::span<const std::byte> Value::data() const noexcept {
    const auto* data = std::get_if<Data>(&state_);
    return data ? std::span<const std::byte>(**data) : std::span<const std::byte>{};
}

const Array& Value::array() const noexcept {
    static const Array none;
    const auto* array = std::get_if<Array>(&state_);
    return array ? *array : none;
}

const Dictionary& Value::dictionary() const noexcept {
    static const Dictionary none;
    const auto* dictionary = std::get_if<Dictionary>(&state_);
    return dictionary ? *dictionary : none;
}

std::string Value::description() const {
    switch (kind()) {
        case Kind::null:
            return {};
        case Kind::boolean:
            return std::get<bool>(state_) ? "1" : "0";
        case Kind::integer:
            return std::to_string(std::get<std::int64_t>(state_));
        case Kind::real:
            return shortest(std::get<double>(state_));
        case Kind::string:
            return std::string(string());
        case Kind::date:
            return shortest(date().timeIntervalSince1970);
        case Kind::data:
            return std::to_string(data().size()) + " bytes";
        case Kind::array: {
            std::string joined;
            for (const Value& value : array()) joined += (joined.empty() ? "" : ", ") + value.description();
            return joined;
        }
        case Kind::dictionary: {
            std::string joined;
            for (const auto& entry : dictionary())
                joined += (joined.empty() ? "" : ", ") + std::string(entry.key()) + " = " + entry.value.description();
            return joined;
        }
    }
    return {};
}

bool Value::operator==(const Value& other) const noexcept {
    if (isNumber() && other.isNumber()) {
        if (kind() != Kind::real && other.kind() != Kind::real) return integerValue() == other.integerValue();
        return doubleValue() == other.doubleValue();
    }
    if (kind() != other.kind()) return false;
    switch (kind()) {
        case Kind::string:
            return string() == other.string();
        case Kind::date:
            return date() == other.date();
        case Kind::data:
            return std::ranges::equal(data(), other.data());
        case Kind::array:
            return array() == other.array();
        case Kind::dictionary:
            return dictionary() == other.dictionary();
        default:
            return true;
    }
}

const Value& Value::null() noexcept {
    static const Value nothing;
    return nothing;
}

}  // namespace tessaly
