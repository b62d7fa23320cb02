#pragma once
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Photos/PHFetchOptions.h"

namespace tessaly::photos {

/// A property under its name, and the SQL that answers for it.
struct SqlColumn {
    std::string_view key;
    std::string_view sql;
    enum class Kind : std::uint8_t {
        number,
        text,
        date,
        existence
    } kind;  ///< Of existence only "is it there" can be asked.
};

struct SqlCondition {
    std::string sql;
    std::vector<Value> values;  ///< Of its question marks, in order.
};

/// The predicate in SQL, true for exactly the same rows. nullopt where SQL cannot say that (patterns, folded letters):
/// the rows are then judged one by one.
[[nodiscard]] std::optional<SqlCondition> sqlCondition(const NSPredicate& predicate,
                                                       std::span<const SqlColumn> columns);

/// "created DESC, ..., id DESC"; nullopt for a key that is no column.
[[nodiscard]] std::optional<std::string> sqlOrder(std::span<const NSSortDescriptor> descriptors,
                                                  std::span<const SqlColumn> columns);

/// Whether every key path that the predicate asks for is a column.
[[nodiscard]] bool knowsKeys(const PredicateNode& node, std::span<const SqlColumn> columns);

}  // namespace tessaly::photos
