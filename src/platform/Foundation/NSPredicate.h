#pragma once
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/Foundation/Value.h"

namespace tessaly {

/// One side of a comparison.
struct PredicateExpression {
    enum class Kind : std::uint8_t { constant, keyPath, self, aggregate };

    Kind kind = Kind::constant;
    Value value;                                ///< Of a constant; never an array, those become aggregates.
    std::string keyPath;                        ///< "a.b.c" of a key path.
    std::vector<PredicateExpression> elements;  ///< Of an aggregate, in the order written.

    bool operator==(const PredicateExpression& other) const = default;
};

enum class PredicateOperator : std::uint8_t {
    equal,
    notEqual,
    less,
    lessOrEqual,
    greater,
    greaterOrEqual,
    contains,
    beginsWith,
    endsWith,
    like,
    matches,
    in,
    between
};

/// How a comparison treats several values on its left: it wants one, every or no value to satisfy it.
enum class PredicateModifier : std::uint8_t { direct, any, all, none };

struct PredicateOptions {
    bool caseInsensitive = false;
    bool diacriticInsensitive = false;

    bool operator==(const PredicateOptions&) const = default;
};

class PredicatePattern;

struct PredicateComparison {
    PredicateModifier modifier = PredicateModifier::direct;
    PredicateExpression left;
    PredicateOperator comparisonOperator = PredicateOperator::equal;
    PredicateOptions options;
    PredicateExpression right;
    /// The constant right side of `matches`, compiled once; says nothing that the other members do not.
    std::shared_ptr<const PredicatePattern> pattern;

    bool operator==(const PredicateComparison& other) const;
};

/// A predicate or a part of one. Reachable only as const, so any number of threads may read a tree.
struct PredicateNode {
    enum class Kind : std::uint8_t { alwaysTrue, alwaysFalse, comparison, conjunction, disjunction, negation };

    Kind kind = Kind::alwaysTrue;
    PredicateComparison comparison;       ///< Of a comparison.
    std::vector<PredicateNode> children;  ///< One of a negation, two or more of a conjunction or disjunction.

    bool operator==(const PredicateNode& other) const = default;
};

/// A condition on an object's properties, written as text. A copy is cheap: it shares the tree.
///
/// Texts compare by code point; [c] ignores case, [d] diacritics. Numbers compare whatever their kind. Nothing equals
/// only nothing, and has no order. Sides that do not compare make a comparison false, never an error.
class NSPredicate {
public:
    /// Answers for one object; SELF asks for the key path "SELF".
    using ValueForKeyPath = std::function<Value(std::string_view keyPath)>;

    /// Parses `format`, filling %@ %d %i %u %ld %li %lu %lld %lli %llu %f with values and %K with names; %% is a
    /// percent sign. Nothing is filled in between quotes.
    ///
    /// A name that is also a word of the language is written #name, any other text as a name #'text'. A date is
    /// DATE(seconds since 1970); 2024-05, 2024-05-01 and 2024-05-01T12:30:05+02:00 without quotes are texts. Nesting is
    /// limited to 200. Nullopt with a message in `error` for anything else.
    static std::optional<NSPredicate> predicateWithFormat(std::string_view format,
                                                          std::span<const Value> arguments = {},
                                                          std::string* error = nullptr);
    static std::optional<NSPredicate> predicateWithFormat(std::string_view format,
                                                          std::initializer_list<Value> arguments,
                                                          std::string* error = nullptr);

    /// The condition that a tree stands for.
    static NSPredicate predicateWithRoot(PredicateNode root) { return NSPredicate(std::move(root)); }

    [[nodiscard]] bool evaluateWithObject(const ValueForKeyPath& valueForKeyPath) const;
    [[nodiscard]] const PredicateNode& root() const noexcept { return *root_; }
    /// Text without substitutions that parses back to the same tree.
    [[nodiscard]] std::string predicateFormat() const;

    bool operator==(const NSPredicate& other) const { return root_ == other.root_ || *root_ == *other.root_; }

private:
    explicit NSPredicate(PredicateNode root) : root_(std::make_shared<const PredicateNode>(std::move(root))) {}

    std::shared_ptr<const PredicateNode> root_;
};

}  // namespace tessaly
