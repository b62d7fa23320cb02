#pragma once
#include <array>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/Foundation/NSPredicate.h"

namespace tessaly {

struct PredicateOperatorSpelling {
    std::string_view text;
    PredicateOperator value;
};

/// The first spelling of an operator is the one that is written.
inline constexpr std::array kPredicateOperators = std::to_array<PredicateOperatorSpelling>({
    {"==", PredicateOperator::equal},
    {"=", PredicateOperator::equal},
    {"!=", PredicateOperator::notEqual},
    {"<>", PredicateOperator::notEqual},
    {"<", PredicateOperator::less},
    {"<=", PredicateOperator::lessOrEqual},
    {"=<", PredicateOperator::lessOrEqual},
    {">", PredicateOperator::greater},
    {">=", PredicateOperator::greaterOrEqual},
    {"=>", PredicateOperator::greaterOrEqual},
    {"CONTAINS", PredicateOperator::contains},
    {"BEGINSWITH", PredicateOperator::beginsWith},
    {"ENDSWITH", PredicateOperator::endsWith},
    {"LIKE", PredicateOperator::like},
    {"MATCHES", PredicateOperator::matches},
    {"IN", PredicateOperator::in},
    {"BETWEEN", PredicateOperator::between},
});

/// Nullopt with a message that ends in the position of the fault, counted in bytes from 1.
[[nodiscard]] std::optional<PredicateNode> parsePredicate(std::string_view format, std::span<const Value> arguments,
                                                          std::string& error);

/// `keyPath` as it must be written to be read as that name: plain, behind a # or quoted behind one.
[[nodiscard]] std::string predicateNameText(std::string_view keyPath);
/// `text` between quotes.
[[nodiscard]] std::string predicateQuotedText(std::string_view text);

/// The regular expression `text`, or null when it is none.
[[nodiscard]] std::shared_ptr<const PredicatePattern> compilePredicatePattern(std::string_view text,
                                                                              PredicateOptions options);

}  // namespace tessaly
