#include "platform/Foundation/NSPredicate.h"

#include <unicode/normalizer2.h>
#include <unicode/regex.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cmath>
#include <compare>

#include "linux/foundation/NSPredicateParser.h"
#include "platform/Foundation/Utf8.h"

namespace tessaly {
namespace {

/// ICU's unit is about a millisecond: a pattern that backtracks without end must not hang a search.
constexpr std::int32_t kMatchTimeLimit = 250;
/// What ICU's 32-bit lengths hold even when a text grows by folding.
constexpr std::size_t kMaximumIcuBytes = std::size_t{1} << 28;

icu::UnicodeString unicode(std::string_view text) {
    const std::string_view held = text.substr(0, kMaximumIcuBytes);
    return icu::UnicodeString::fromUTF8({held.data(), static_cast<std::int32_t>(held.size())});
}

icu::UnicodeString normalized(const icu::Normalizer2* form, const icu::UnicodeString& text) {
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString result = form ? form->normalize(text, status) : text;
    return U_SUCCESS(status) ? result : text;
}

/// Composed again afterwards: what does not lose its marks must not fall apart into pieces that match on their own.
icu::UnicodeString withoutDiacritics(const icu::UnicodeString& text) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::UnicodeString decomposed = normalized(icu::Normalizer2::getNFDInstance(status), text);
    icu::UnicodeString bare;
    for (std::int32_t at = 0; at < decomposed.length(); at = decomposed.moveIndex32(at, 1)) {
        const UChar32 character = decomposed.char32At(at);
        if (u_charType(character) != U_NON_SPACING_MARK) bare.append(character);
    }
    return normalized(icu::Normalizer2::getNFCInstance(status), bare);
}

bool isAscii(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::string asciiFolded(std::string_view text) {
    std::string folded(text);
    for (char& c : folded)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return folded;
}

std::string foldedText(std::string_view text, PredicateOptions options) {
    if (isAscii(text)) return options.caseInsensitive ? asciiFolded(text) : std::string(text);
    icu::UnicodeString folded = unicode(text);
    if (options.diacriticInsensitive) folded = withoutDiacritics(folded);
    if (options.caseInsensitive) folded.foldCase();
    std::string result;
    return folded.toUTF8String(result);
}

/// `value` in the form in which texts compare by their bytes.
Value folded(const Value& value, PredicateOptions options) {
    if (!value.isString() || options == PredicateOptions{}) return value;
    return foldedText(value.string(), options);
}

/// Exact: a 64-bit number may lie between two neighbouring doubles.
std::partial_ordering compareWholeToReal(std::int64_t whole, double real) {
    if (std::isnan(real)) return std::partial_ordering::unordered;
    if (real >= 0x1p63) return std::partial_ordering::less;
    if (real < -0x1p63) return std::partial_ordering::greater;
    const double floor = std::floor(real);
    const auto order = whole <=> static_cast<std::int64_t>(floor);
    if (order != 0) return order;
    return floor < real ? std::partial_ordering::less : std::partial_ordering::equivalent;
}

std::partial_ordering compareNumbers(const Value& left, const Value& right) {
    const bool leftIsReal = left.kind() == Value::Kind::real;
    const bool rightIsReal = right.kind() == Value::Kind::real;
    if (leftIsReal && rightIsReal) return left.doubleValue() <=> right.doubleValue();
    if (rightIsReal) return compareWholeToReal(left.integerValue(), right.doubleValue());
    if (leftIsReal) return 0 <=> compareWholeToReal(right.integerValue(), left.doubleValue());
    return left.integerValue() <=> right.integerValue();
}

/// Unordered when the kinds have no common order.
std::partial_ordering compare(const Value& left, const Value& right) {
    if (left.isNumber() && right.isNumber()) return compareNumbers(left, right);
    if (left.isString() && right.isString()) return left.string() <=> right.string();
    if (left.isDate() && right.isDate()) return left.date() <=> right.date();
    return std::partial_ordering::unordered;
}

bool areEqual(const Value& left, const Value& right) {
    return left.isNumber() && right.isNumber() ? compareNumbers(left, right) == 0 : left == right;
}

std::size_t characterLength(std::string_view text, std::size_t at) {
    return std::max<std::size_t>(1, utf8SequenceLength(text, at));
}

/// Moves over one unit of `pattern`, if it is neither its end nor a star, and what it stands for.
bool passUnit(std::string_view text, std::size_t& at, std::string_view pattern, std::size_t& unit) {
    if (unit == pattern.size()) return false;
    if (pattern[unit] == '?') {
        at += characterLength(text, at);
        ++unit;
        return true;
    }
    const std::size_t literal = pattern[unit] == '\\' && unit + 1 < pattern.size() ? unit + 1 : unit;
    if (pattern[literal] != text[at]) return false;
    unit = literal + 1;
    ++at;
    return true;
}

/// Only the last star is ever tried again, which keeps the work below the product of the lengths.
bool matchesWildcards(std::string_view text, std::string_view pattern) {
    std::size_t at = 0;
    std::size_t unit = 0;
    std::size_t retryAt = 0;
    std::size_t afterStar = std::string_view::npos;
    while (at < text.size()) {
        if (unit < pattern.size() && pattern[unit] == '*') {
            afterStar = ++unit;
            retryAt = at;
        } else if (!passUnit(text, at, pattern, unit)) {
            if (afterStar == std::string_view::npos) return false;
            retryAt += characterLength(text, retryAt);
            at = retryAt;
            unit = afterStar;
        }
    }
    return pattern.find_first_not_of('*', unit) == std::string_view::npos;
}

}  // namespace

class PredicatePattern {
public:
    PredicatePattern(std::string_view text, PredicateOptions options) : withDiacritics_(!options.diacriticInsensitive) {
        UErrorCode status = U_ZERO_ERROR;
        const std::uint32_t flags = options.caseInsensitive ? UREGEX_CASE_INSENSITIVE : 0;
        pattern_.reset(icu::RegexPattern::compile(prepared(text), flags, status));
        if (U_FAILURE(status)) pattern_.reset();
    }

    [[nodiscard]] bool isValid() const { return pattern_ != nullptr; }

    [[nodiscard]] bool matches(std::string_view text) const {
        UErrorCode status = U_ZERO_ERROR;
        const icu::UnicodeString input = prepared(text);
        const std::unique_ptr<icu::RegexMatcher> matcher(pattern_->matcher(input, status));
        if (U_FAILURE(status)) return false;
        matcher->setTimeLimit(kMatchTimeLimit, status);
        return matcher->matches(status) && U_SUCCESS(status);
    }

private:
    [[nodiscard]] icu::UnicodeString prepared(std::string_view text) const {
        return withDiacritics_ ? unicode(text) : withoutDiacritics(unicode(text));
    }

    bool withDiacritics_;
    std::unique_ptr<icu::RegexPattern> pattern_;
};

std::shared_ptr<const PredicatePattern> compilePredicatePattern(std::string_view text, PredicateOptions options) {
    auto pattern = std::make_shared<const PredicatePattern>(text, options);
    return pattern->isValid() ? pattern : nullptr;
}

namespace {

class Evaluator {
public:
    explicit Evaluator(const NSPredicate::ValueForKeyPath& valueForKeyPath) : valueForKeyPath_(valueForKeyPath) {}

    [[nodiscard]] bool evaluate(const PredicateNode& node) const {
        const auto holds = [this](const PredicateNode& child) { return evaluate(child); };
        switch (node.kind) {
            case PredicateNode::Kind::alwaysTrue:
                return true;
            case PredicateNode::Kind::alwaysFalse:
                return false;
            case PredicateNode::Kind::comparison:
                return evaluate(node.comparison);
            case PredicateNode::Kind::conjunction:
                return std::ranges::all_of(node.children, holds);
            case PredicateNode::Kind::disjunction:
                return std::ranges::any_of(node.children, holds);
            case PredicateNode::Kind::negation:
                return std::ranges::none_of(node.children, holds);
        }
        return false;
    }

private:
    [[nodiscard]] Value valueOf(const PredicateExpression& expression) const {
        switch (expression.kind) {
            case PredicateExpression::Kind::constant:
                return expression.value;
            case PredicateExpression::Kind::keyPath:
                return valueForKeyPath_ ? valueForKeyPath_(expression.keyPath) : Value();
            case PredicateExpression::Kind::self:
                return valueForKeyPath_ ? valueForKeyPath_("SELF") : Value();
            case PredicateExpression::Kind::aggregate:
                break;
        }
        Array values;
        for (const PredicateExpression& element : expression.elements) values.append(valueOf(element));
        return values;
    }

    [[nodiscard]] bool evaluate(const PredicateComparison& comparison) const {
        const Value left = valueOf(comparison.left);
        if (comparison.modifier == PredicateModifier::direct) return holds(comparison, left);
        const auto each = [&](const Value& value) { return holds(comparison, value); };
        const Array values = left.isArray() ? left.array() : left.isNull() ? Array{} : Array{left};
        if (comparison.modifier == PredicateModifier::any) return std::ranges::any_of(values, each);
        if (comparison.modifier == PredicateModifier::all) return std::ranges::all_of(values, each);
        return std::ranges::none_of(values, each);
    }

    [[nodiscard]] bool holds(const PredicateComparison& comparison, const Value& left) const {
        switch (comparison.comparisonOperator) {
            case PredicateOperator::matches:
                return matches(comparison, left);
            case PredicateOperator::in:
                return isIn(comparison, folded(left, comparison.options));
            case PredicateOperator::between:
                return isBetween(comparison, folded(left, comparison.options));
            default:
                return compareFolded(comparison, folded(left, comparison.options),
                                     folded(valueOf(comparison.right), comparison.options));
        }
    }

    static bool compareFolded(const PredicateComparison& comparison, const Value& left, const Value& right) {
        switch (comparison.comparisonOperator) {
            case PredicateOperator::equal:
                return areEqual(left, right);
            case PredicateOperator::notEqual:
                return !areEqual(left, right);
            case PredicateOperator::less:
                return compare(left, right) < 0;
            case PredicateOperator::lessOrEqual:
                return compare(left, right) <= 0;
            case PredicateOperator::greater:
                return compare(left, right) > 0;
            case PredicateOperator::greaterOrEqual:
                return compare(left, right) >= 0;
            case PredicateOperator::contains:
                return contains(left, right, comparison.options);
            default:
                return left.isString() && right.isString() &&
                       compareTexts(comparison.comparisonOperator, left.string(), right.string());
        }
    }

    static bool compareTexts(PredicateOperator comparisonOperator, std::string_view left, std::string_view right) {
        if (comparisonOperator == PredicateOperator::beginsWith) return left.starts_with(right);
        if (comparisonOperator == PredicateOperator::endsWith) return left.ends_with(right);
        return matchesWildcards(left, right);
    }

    /// `item` is folded, what is in `container` is so only when it is a text.
    static bool contains(const Value& container, const Value& item, PredicateOptions options) {
        if (container.isString() && item.isString())
            return container.string().find(item.string()) != std::string_view::npos;
        return std::ranges::any_of(container.array(),
                                   [&](const Value& value) { return areEqual(folded(value, options), item); });
    }

    /// Long lists of identifiers are looked through in place instead of being made into an array for every object.
    [[nodiscard]] bool isIn(const PredicateComparison& comparison, const Value& left) const {
        const PredicateExpression& right = comparison.right;
        const PredicateOptions options = comparison.options;
        if (right.kind != PredicateExpression::Kind::aggregate)
            return contains(folded(valueOf(right), options), left, options);
        return std::ranges::any_of(right.elements, [&](const PredicateExpression& element) {
            return areEqual(folded(valueOf(element), options), left);
        });
    }

    [[nodiscard]] bool isBetween(const PredicateComparison& comparison, const Value& left) const {
        const Value bounds = valueOf(comparison.right);
        return compare(folded(bounds.array()[0], comparison.options), left) <= 0 &&
               compare(left, folded(bounds.array()[1], comparison.options)) <= 0;
    }

    [[nodiscard]] bool matches(const PredicateComparison& comparison, const Value& left) const {
        if (!left.isString()) return false;
        if (comparison.pattern) return comparison.pattern->matches(left.string());
        const Value right = valueOf(comparison.right);
        const auto pattern = right.isString() ? compilePredicatePattern(right.string(), comparison.options) : nullptr;
        return pattern && pattern->matches(left.string());
    }

    const NSPredicate::ValueForKeyPath& valueForKeyPath_;
};

/// A real keeps a sign of being one, or it would be read back as a whole number.
std::string realText(double number) {
    std::string digits = Value(number).description();
    return digits.find_first_of(".e") == std::string::npos ? digits + ".0" : digits;
}

std::string constantText(const Value& value) {
    switch (value.kind()) {
        case Value::Kind::boolean:
            return value.boolValue() ? "YES" : "NO";
        case Value::Kind::integer:
            return value.description();
        case Value::Kind::real:
            return realText(value.doubleValue());
        case Value::Kind::string:
            return predicateQuotedText(value.string());
        case Value::Kind::date:
            return "DATE(" + realText(value.date().timeIntervalSince1970) + ")";
        default:
            return "NULL";
    }
}

std::string textOf(const PredicateExpression& expression) {
    switch (expression.kind) {
        case PredicateExpression::Kind::constant:
            return constantText(expression.value);
        case PredicateExpression::Kind::keyPath:
            return predicateNameText(expression.keyPath);
        case PredicateExpression::Kind::self:
            return "SELF";
        case PredicateExpression::Kind::aggregate:
            break;
    }
    std::string text = "{";
    for (const PredicateExpression& element : expression.elements)
        text += (text.size() > 1 ? ", " : "") + textOf(element);
    return text + '}';
}

std::string textOf(PredicateOptions options) {
    if (options == PredicateOptions{}) return {};
    return std::string("[") + (options.caseInsensitive ? "c" : "") + (options.diacriticInsensitive ? "d" : "") + "]";
}

std::string textOf(const PredicateComparison& comparison) {
    constexpr std::string_view modifiers[] = {"", "ANY ", "ALL ", "NONE "};
    const auto* spelling =
        std::ranges::find(kPredicateOperators, comparison.comparisonOperator, &PredicateOperatorSpelling::value);
    std::string text(modifiers[static_cast<std::size_t>(comparison.modifier)]);
    text += textOf(comparison.left) + " ";
    text += spelling->text;
    return text + textOf(comparison.options) + " " + textOf(comparison.right);
}

/// Parentheses stand only where the tree would differ without them, so the text nests no deeper than its source.
bool needsParentheses(const PredicateNode& child, PredicateNode::Kind parent) {
    if (child.kind == PredicateNode::Kind::disjunction) return true;
    return child.kind == PredicateNode::Kind::conjunction && parent != PredicateNode::Kind::disjunction;
}

std::string textOf(const PredicateNode& node);

std::string childText(const PredicateNode& child, PredicateNode::Kind parent) {
    return needsParentheses(child, parent) ? "(" + textOf(child) + ")" : textOf(child);
}

std::string joined(const PredicateNode& node, std::string_view separator) {
    std::string text;
    for (const PredicateNode& child : node.children) {
        if (!text.empty()) text += separator;
        text += childText(child, node.kind);
    }
    return text;
}

std::string textOf(const PredicateNode& node) {
    switch (node.kind) {
        case PredicateNode::Kind::alwaysTrue:
            return "TRUEPREDICATE";
        case PredicateNode::Kind::alwaysFalse:
            return "FALSEPREDICATE";
        case PredicateNode::Kind::comparison:
            return textOf(node.comparison);
        case PredicateNode::Kind::conjunction:
            return joined(node, " AND ");
        case PredicateNode::Kind::disjunction:
            return joined(node, " OR ");
        case PredicateNode::Kind::negation:
            return "NOT " + joined(node, {});
    }
    return {};
}

}  // namespace

bool PredicateComparison::operator==(const PredicateComparison& other) const {
    return modifier == other.modifier && left == other.left && comparisonOperator == other.comparisonOperator &&
           options == other.options && right == other.right;
}

std::optional<NSPredicate> NSPredicate::predicateWithFormat(std::string_view format, std::span<const Value> arguments,
                                                            std::string* error) {
    std::string message;
    auto root = parsePredicate(format, arguments, message);
    if (error) *error = message;
    if (!root) return std::nullopt;
    return NSPredicate(std::move(*root));
}

std::optional<NSPredicate> NSPredicate::predicateWithFormat(std::string_view format,
                                                            std::initializer_list<Value> arguments,
                                                            std::string* error) {
    return predicateWithFormat(format, std::span<const Value>(arguments.begin(), arguments.size()), error);
}

bool NSPredicate::evaluateWithObject(const ValueForKeyPath& valueForKeyPath) const {
    return Evaluator(valueForKeyPath).evaluate(*root_);
}

std::string NSPredicate::predicateFormat() const { return textOf(*root_); }

}  // namespace tessaly
