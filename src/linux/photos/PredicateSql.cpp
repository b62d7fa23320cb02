#include "linux/photos/PredicateSql.h"

#include <algorithm>

namespace tessaly::photos {
namespace {

using Kind = PredicateExpression::Kind;

const SqlColumn* columnOf(std::string_view key, std::span<const SqlColumn> columns) {
    const auto found = std::ranges::find(columns, key, &SqlColumn::key);
    return found == columns.end() ? nullptr : &*found;
}

class Translator {
public:
    explicit Translator(std::span<const SqlColumn> columns) : columns_(columns) {}

    /// False where SQL cannot say it.
    bool node(const PredicateNode& node, bool isNegated) {
        switch (node.kind) {
            case PredicateNode::Kind::alwaysTrue:
                return say("1");
            case PredicateNode::Kind::alwaysFalse:
                return say("0");
            case PredicateNode::Kind::negation:
                return say("NOT (") && this->node(node.children.front(), true) && say(")");
            case PredicateNode::Kind::conjunction:
                return joined(node.children, " AND ", isNegated);
            case PredicateNode::Kind::disjunction:
                return joined(node.children, " OR ", isNegated);
            case PredicateNode::Kind::comparison:
                // SQL's NULL is neither true nor false, and stays so behind a NOT; ours is false.
                return isNegated ? say("COALESCE(") && comparison(node.comparison) && say(", 0)")
                                 : comparison(node.comparison);
        }
        return false;
    }

    SqlCondition take() { return std::move(condition_); }

private:
    bool say(std::string_view sql) {
        condition_.sql += sql;
        return true;
    }

    bool joined(const std::vector<PredicateNode>& children, std::string_view word, bool isNegated) {
        say("(");
        for (const PredicateNode& child : children) {
            if (&child != &children.front()) say(word);
            if (!node(child, isNegated)) return false;
        }
        return say(")");
    }

    bool side(const PredicateExpression& side) {
        if (side.kind == Kind::constant) {
            const Value::Kind kind = side.value.kind();
            if (kind == Value::Kind::data || kind == Value::Kind::dictionary) return false;
            condition_.values.push_back(side.value);
            return say("?");
        }
        const SqlColumn* column = side.kind == Kind::keyPath ? columnOf(side.keyPath, columns_) : nullptr;
        return column && column->kind != SqlColumn::Kind::existence && say(column->sql);
    }

    /// The two sides must be of one kind: SQL orders a number before any text, and takes dates for numbers.
    [[nodiscard]] SqlColumn::Kind kindOf(const PredicateExpression& side) const {
        using enum SqlColumn::Kind;
        if (side.kind == Kind::constant) return side.value.isString() ? text : side.value.isDate() ? date : number;
        const SqlColumn* column = columnOf(side.keyPath, columns_);
        return column ? column->kind : existence;
    }
    [[nodiscard]] bool isText(const PredicateExpression& side) const { return kindOf(side) == SqlColumn::Kind::text; }
    [[nodiscard]] static bool isNull(const PredicateExpression& side) {
        return side.kind == Kind::constant && side.value.isNull();
    }

    bool existence(const PredicateComparison& comparison) {
        const bool leftIsNull = isNull(comparison.left);
        const PredicateExpression& other = leftIsNull ? comparison.right : comparison.left;
        const SqlColumn* column = other.kind == Kind::keyPath ? columnOf(other.keyPath, columns_) : nullptr;
        if (!column) return false;
        if (comparison.comparisonOperator == PredicateOperator::equal) return say(column->sql) && say(" IS NULL");
        if (comparison.comparisonOperator == PredicateOperator::notEqual)
            return say(column->sql) && say(" IS NOT NULL");
        return false;
    }

    bool binary(const PredicateComparison& comparison, std::string_view word) {
        if (kindOf(comparison.left) != kindOf(comparison.right)) return false;
        return side(comparison.left) && say(word) && side(comparison.right);
    }

    bool comparison(const PredicateComparison& comparison) {
        if (comparison.modifier != PredicateModifier::direct || comparison.options != PredicateOptions{}) return false;
        if (isNull(comparison.left) || isNull(comparison.right)) return existence(comparison);
        switch (comparison.comparisonOperator) {
            case PredicateOperator::equal:
                return binary(comparison, " IS ");
            case PredicateOperator::notEqual:
                return binary(comparison, " IS NOT ");
            case PredicateOperator::less:
                return binary(comparison, " < ");
            case PredicateOperator::lessOrEqual:
                return binary(comparison, " <= ");
            case PredicateOperator::greater:
                return binary(comparison, " > ");
            case PredicateOperator::greaterOrEqual:
                return binary(comparison, " >= ");
            case PredicateOperator::contains:
                return contains(comparison, " > 0");
            case PredicateOperator::beginsWith:
                return contains(comparison, " = 1");
            case PredicateOperator::in:
                return isIn(comparison);
            default:
                return false;
        }
    }

    bool contains(const PredicateComparison& comparison, std::string_view position) {
        if (!isText(comparison.left) || !isText(comparison.right)) return false;
        return say("instr(") && side(comparison.left) && say(", ") && side(comparison.right) && say(")") &&
               say(position);
    }

    bool isIn(const PredicateComparison& comparison) {
        if (comparison.right.kind != Kind::aggregate) return false;
        const SqlColumn::Kind kind = kindOf(comparison.left);
        if (!side(comparison.left) || !say(" IN (")) return false;
        for (const PredicateExpression& element : comparison.right.elements) {
            if (isNull(element) || kindOf(element) != kind) return false;
            if (&element != &comparison.right.elements.front()) say(", ");
            if (!side(element)) return false;
        }
        return say(")");
    }

    std::span<const SqlColumn> columns_;
    SqlCondition condition_;
};

bool knowsKeys(const PredicateExpression& side, std::span<const SqlColumn> columns) {
    if (side.kind == Kind::keyPath) return columnOf(side.keyPath, columns) != nullptr;
    return std::ranges::all_of(side.elements, [&](const auto& element) { return knowsKeys(element, columns); });
}

}  // namespace

bool knowsKeys(const PredicateNode& node, std::span<const SqlColumn> columns) {
    if (node.kind == PredicateNode::Kind::comparison)
        return knowsKeys(node.comparison.left, columns) && knowsKeys(node.comparison.right, columns);
    return std::ranges::all_of(node.children, [&](const PredicateNode& child) { return knowsKeys(child, columns); });
}

std::optional<SqlCondition> sqlCondition(const NSPredicate& predicate, std::span<const SqlColumn> columns) {
    Translator translator(columns);
    if (!translator.node(predicate.root(), false)) return std::nullopt;
    return translator.take();
}

std::optional<std::string> sqlOrder(std::span<const NSSortDescriptor> descriptors, std::span<const SqlColumn> columns) {
    std::string order;
    for (const NSSortDescriptor& descriptor : descriptors) {
        const SqlColumn* column = columnOf(descriptor.key, columns);
        if (!column) return std::nullopt;
        order += std::string(column->sql) + (descriptor.ascending ? " ASC, " : " DESC, ");
    }
    const bool ascends = descriptors.empty() || descriptors.back().ascending;
    return order + (ascends ? "id ASC" : "id DESC");
}

}  // namespace tessaly::photos
