#include "Condition.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <chrono>
#include <vector>

#include "Suggestion.h"
#include "platform/Foundation/NSTimeZone.h"

namespace tessaly::cli {
namespace {

using Expression = PredicateExpression;
using Kind = ConditionKind;

/// Reads numbers of fixed lengths one after the other.
class Digits {
public:
    explicit Digits(std::string_view text) : rest_(text) {}
    [[nodiscard]] bool atEnd() const { return rest_.empty(); }
    [[nodiscard]] bool takes(std::string_view any) {
        if (rest_.empty() || any.find(rest_.front()) == std::string_view::npos) return false;
        rest_.remove_prefix(1);
        return true;
    }
    /// -1 for what is no number of so many digits.
    int number(std::size_t digits) {
        if (rest_.size() < digits) return -1;
        int number = 0;
        for (const char c : rest_.substr(0, digits)) {
            if (c < '0' || c > '9') return -1;
            number = number * 10 + (c - '0');
        }
        rest_.remove_prefix(digits);
        return number;
    }
    [[nodiscard]] char front() const { return rest_.empty() ? '\0' : rest_.front(); }

private:
    std::string_view rest_;
};

std::optional<double> civilDay(int year, int month, int day) {
    using namespace std::chrono;
    if (year < 1 || month < 1 || day < 1) return std::nullopt;
    const year_month_day date{std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                              std::chrono::day(static_cast<unsigned>(day))};
    if (!date.ok()) return std::nullopt;
    return static_cast<double>(sys_days(date).time_since_epoch().count()) * 86400;
}

/// As if they were UTC.
struct CivilPeriod {
    double begin = 0;
    double end = 0;
    std::optional<int> offset;  ///< Seconds, where the text says the zone.
};

std::optional<CivilPeriod> timeOfDay(Digits& text, double day) {
    const int hour = text.number(2);
    if (hour < 0 || hour > 23 || !text.takes(":")) return std::nullopt;
    const int minute = text.number(2);
    if (minute < 0 || minute > 59) return std::nullopt;
    const double start = day + hour * 3600 + minute * 60;
    CivilPeriod period{start, start + 60, std::nullopt};
    if (text.takes(":")) {
        const int second = text.number(2);
        if (second < 0 || second > 59) return std::nullopt;
        period.begin += second;
        period.end = period.begin + 1;
    }
    if (text.takes("Z")) {
        period.offset = 0;
    } else if (const bool isWest = text.front() == '-'; text.takes("+-")) {
        const int hours = text.number(2);
        const int minutes = text.takes(":") ? text.number(2) : -1;
        if (hours < 0 || hours > 14 || minutes < 0 || minutes > 59) return std::nullopt;
        period.offset = (isWest ? -1 : 1) * (hours * 3600 + minutes * 60);
    }
    return period;
}

std::optional<CivilPeriod> civilPeriod(Digits text) {
    const auto between = [](std::optional<double> begin, std::optional<double> end) -> std::optional<CivilPeriod> {
        if (!begin || !end) return std::nullopt;
        return CivilPeriod{*begin, *end, std::nullopt};
    };
    const int year = text.number(4);
    if (text.atEnd()) return between(civilDay(year, 1, 1), civilDay(year + 1, 1, 1));
    if (!text.takes("-")) return std::nullopt;
    const int month = text.number(2);
    if (text.atEnd())
        return between(civilDay(year, month, 1), month == 12 ? civilDay(year + 1, 1, 1) : civilDay(year, month + 1, 1));
    if (!text.takes("-")) return std::nullopt;
    const auto day = civilDay(year, month, text.number(2));
    if (!day) return std::nullopt;
    if (text.atEnd()) return CivilPeriod{*day, *day + 86400, std::nullopt};
    if (!text.takes("T ")) return std::nullopt;
    const auto period = timeOfDay(text, *day);
    return text.atEnd() ? period : std::nullopt;
}

std::string_view spellingOf(PredicateOperator value) {
    using enum PredicateOperator;
    switch (value) {
        case equal:
            return "=";
        case notEqual:
            return "!=";
        case less:
            return "<";
        case lessOrEqual:
            return "<=";
        case greater:
            return ">";
        case greaterOrEqual:
            return ">=";
        case contains:
            return "CONTAINS";
        case beginsWith:
            return "BEGINSWITH";
        case endsWith:
            return "ENDSWITH";
        case like:
            return "LIKE";
        case matches:
            return "MATCHES";
        case in:
            return "IN";
        case between:
            return "BETWEEN";
    }
    return {};
}

bool isEquality(PredicateOperator value) {
    return value == PredicateOperator::equal || value == PredicateOperator::notEqual;
}

bool isOfTexts(PredicateOperator value) {
    return value >= PredicateOperator::contains && value <= PredicateOperator::matches;
}

/// What `b op a` is as `a op b`.
PredicateOperator mirrored(PredicateOperator value) {
    using enum PredicateOperator;
    switch (value) {
        case less:
            return greater;
        case lessOrEqual:
            return greaterOrEqual;
        case greater:
            return less;
        case greaterOrEqual:
            return lessOrEqual;
        default:
            return value;
    }
}

std::string_view nounOf(Kind kind) {
    switch (kind) {
        case Kind::number:
            return "a number";
        case Kind::text:
            return "a text";
        case Kind::date:
            return "a date";
        case Kind::truth:
            return "YES or NO";
        case Kind::place:
            return "a place";
        case Kind::property:
            return "a property";
    }
    return {};
}

PredicateNode joined(PredicateNode::Kind kind, std::vector<PredicateNode> children) {
    PredicateNode node;
    node.kind = kind;
    node.children = std::move(children);
    return node;
}

PredicateNode compared(const Expression& left, PredicateOperator comparisonOperator, NSDate date) {
    PredicateNode node;
    node.kind = PredicateNode::Kind::comparison;
    node.comparison.left = left;
    node.comparison.comparisonOperator = comparisonOperator;
    node.comparison.right.value = date;
    return node;
}

PredicateNode within(const Expression& name, const Period& first, const Period& last) {
    return joined(PredicateNode::Kind::conjunction, {compared(name, PredicateOperator::greaterOrEqual, first.begin),
                                                     compared(name, PredicateOperator::less, last.end)});
}

/// `name op period`
PredicateNode compared(const Expression& name, PredicateOperator comparisonOperator, const Period& period) {
    using enum PredicateOperator;
    switch (comparisonOperator) {
        case less:
            return compared(name, less, period.begin);
        case lessOrEqual:
            return compared(name, less, period.end);
        case greater:
            return compared(name, greaterOrEqual, period.end);
        case greaterOrEqual:
            return compared(name, greaterOrEqual, period.begin);
        case notEqual:
            return joined(PredicateNode::Kind::negation, {within(name, period, period)});
        default:
            return within(name, period, period);
    }
}

class Check {
public:
    Check(std::string_view option, std::span<const ConditionName> names) : option_(option), names_(names) {}

    [[nodiscard]] PredicateNode node(const PredicateNode& node) const {
        if (node.kind == PredicateNode::Kind::comparison) return comparison(node);
        PredicateNode checked = node;
        for (PredicateNode& child : checked.children) child = this->node(child);
        return checked;
    }

private:
    [[noreturn]] void fail(const std::string& why) const {
        throw CLI::ValidationError(std::string(option_) + ": " + why);
    }

    [[nodiscard]] std::optional<Kind> kindOf(const Expression& side) const {
        if (side.kind == Expression::Kind::self) fail("SELF stands for nothing here; write a name");
        if (side.kind != Expression::Kind::keyPath) return std::nullopt;
        const auto found = std::ranges::find(names_, side.keyPath, &ConditionName::name);
        if (found != names_.end()) return found->kind;
        std::vector<std::string_view> known;
        for (const ConditionName& each : names_) known.push_back(each.name);
        fail("'" + side.keyPath + "' is not a name that can be asked for" + suggestion(side.keyPath, known));
    }

    [[nodiscard]] PredicateNode comparison(const PredicateNode& node) const {
        const PredicateComparison& comparison = node.comparison;
        const auto left = kindOf(comparison.left);
        const auto right = kindOf(comparison.right);
        for (const Expression* side : {&comparison.left, &comparison.right})
            for (const Expression& element : side->elements) static_cast<void>(kindOf(element));
        if (!left && !right) return node;
        if (left && right) {
            if (*left != *right && *left != Kind::property && *right != Kind::property)
                fail("'" + comparison.left.keyPath + "' is " + std::string(nounOf(*left)) + ", and '" +
                     comparison.right.keyPath + "' is " + std::string(nounOf(*right)));
            return node;
        }
        const Expression& name = left ? comparison.left : comparison.right;
        const Expression& value = left ? comparison.right : comparison.left;
        const Kind kind = left ? *left : *right;
        checkOperator(name, kind, comparison.comparisonOperator);
        checkValue(name, kind, value, comparison.comparisonOperator);
        return kind == Kind::date ? dated(node, name, value, !left) : node;
    }

    void checkOperator(const Expression& name, Kind kind, PredicateOperator comparisonOperator) const {
        const bool isOrder = !isEquality(comparisonOperator) && !isOfTexts(comparisonOperator) &&
                             comparisonOperator != PredicateOperator::in;
        const bool applies =
            kind == Kind::property || kind == Kind::text ||
            (kind == Kind::place ? isEquality(comparisonOperator)
                                 : !isOfTexts(comparisonOperator) && (kind != Kind::truth || !isOrder));
        if (!applies)
            fail("'" + name.keyPath + "' is " + std::string(nounOf(kind)) + ", to which " +
                 std::string(spellingOf(comparisonOperator)) + " does not apply");
    }

    void checkValue(const Expression& name, Kind kind, const Expression& value,
                    PredicateOperator comparisonOperator) const {
        if (value.kind == Expression::Kind::aggregate) {
            for (const Expression& element : value.elements)
                if (element.kind == Expression::Kind::constant) checkConstant(name, kind, element.value, true);
        } else {
            checkConstant(name, kind, value.value, !isEquality(comparisonOperator));
        }
    }

    void checkConstant(const Expression& name, Kind kind, const Value& value, bool mustBeThere) const {
        if (value.isNull() && !mustBeThere) return;
        const bool fits = kind == Kind::property ? !value.isNull()
                          : kind == Kind::number ? value.isNumber()
                          : kind == Kind::truth  ? value.isNumber()
                          : kind == Kind::text   ? value.isString()
                          : kind == Kind::date   ? value.isDate() || periodOf(value).has_value()
                                                 : false;
        if (fits) return;
        std::string why = "'" + name.keyPath + "' is " + std::string(nounOf(kind)) + ", and ";
        why += value.isNull()     ? "NULL"
               : value.isString() ? "'" + std::string(value.string()) + "'"
                                  : value.description();
        why += kind == Kind::truth ? " is neither" : " is none";
        if (kind == Kind::date) why += "; dates are written 2024, 2024-05, 2024-05-01 or 2024-05-01T12:30";
        if (kind == Kind::place) why += "; ask '" + name.keyPath + " = NULL' or '" + name.keyPath + " != NULL'";
        fail(why);
    }

    static std::optional<Period> periodOf(const Value& value) {
        return Period::of(value.isString() ? std::string(value.string()) : value.description());
    }

    /// Dates of the text become moments, whose order everything knows.
    [[nodiscard]] static PredicateNode dated(const PredicateNode& node, const Expression& name, const Expression& value,
                                             bool isMirrored) {
        const PredicateOperator given = node.comparison.comparisonOperator;
        if (given == PredicateOperator::between && value.elements.size() == 2) {
            const auto first = boundOf(value.elements[0].value);
            const auto last = boundOf(value.elements[1].value);
            return first && last ? within(name, *first, *last) : node;
        }
        if (given == PredicateOperator::in) {
            std::vector<PredicateNode> each;
            for (const Expression& element : value.elements)
                if (const auto period = boundOf(element.value))
                    each.push_back(compared(name, PredicateOperator::equal, *period));
            if (each.size() == 1) return each.front();
            const auto kind = each.empty() ? PredicateNode::Kind::alwaysFalse : PredicateNode::Kind::disjunction;
            return joined(kind, std::move(each));
        }
        const auto period = periodOf(value.value);
        return period ? compared(name, isMirrored ? mirrored(given) : given, *period) : node;
    }

    static std::optional<Period> boundOf(const Value& value) {
        if (!value.isDate()) return periodOf(value);
        return Period{value.date(), NSDate{value.date().timeIntervalSince1970 + 0.001}};
    }

    std::string_view option_;
    std::span<const ConditionName> names_;
};

}  // namespace

std::optional<Period> Period::of(std::string_view text) {
    const auto civil = civilPeriod(Digits(text));
    if (!civil) return std::nullopt;
    if (civil->offset) return Period{{civil->begin - *civil->offset}, {civil->end - *civil->offset}};
    return Period{NSTimeZone::dateFromLocalTime(civil->begin), NSTimeZone::dateFromLocalTime(civil->end)};
}

NSPredicate parsedCondition(std::string_view option, std::string_view text, std::span<const ConditionName> names) {
    std::string error;
    const auto predicate = NSPredicate::predicateWithFormat(text, {}, &error);
    if (!predicate) throw CLI::ValidationError(std::string(option) + ": " + error);
    return NSPredicate::predicateWithRoot(Check(option, names).node(predicate->root()));
}

}  // namespace tessaly::cli
