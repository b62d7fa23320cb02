#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/Foundation/Value.h"

struct sqlite3;
struct sqlite3_stmt;

namespace tessaly::photos {

/// What SQLite refused, in its words. It never leaves this folder: operations turn it into their own failure.
class DatabaseError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Statements that wait to be used again: preparing one costs more than most of them take to run.
class StatementPool {
public:
    explicit StatementPool(sqlite3* database) : database_(database) {}
    StatementPool(const StatementPool&) = delete;
    StatementPool& operator=(const StatementPool&) = delete;
    ~StatementPool();
    [[nodiscard]] sqlite3* database() const noexcept { return database_; }
    [[nodiscard]] sqlite3_stmt* take(std::string_view sql);
    void giveBack(sqlite3_stmt* statement);

private:
    sqlite3* database_;
    std::unordered_map<std::string, std::vector<sqlite3_stmt*>> waiting_;
};

/// One prepared statement. Parameters and columns count from 0.
class Statement {
public:
    Statement(StatementPool& pool, std::string_view sql);

    /// Binds the parameters from the first on; nothing becomes NULL.
    template <class... Values>
    Statement& bind(const Values&... values) {
        reset();
        int index = 0;
        (bindAt(index++, Value(values)), ...);
        return *this;
    }
    Statement& bindAll(std::span<const Value> values);

    /// The next row; false after the last.
    bool step();
    /// Runs to the end.
    void run();
    void reset();

    [[nodiscard]] bool isNull(int column) const;
    [[nodiscard]] std::int64_t integer(int column) const;
    [[nodiscard]] double real(int column) const;
    [[nodiscard]] std::string text(int column) const;
    [[nodiscard]] Data data(int column) const;

private:
    struct GiverBack {
        StatementPool* pool;
        void operator()(sqlite3_stmt* statement) const noexcept { pool->giveBack(statement); }
    };
    void bindAt(int index, const Value& value);

    sqlite3* database_;
    std::unique_ptr<sqlite3_stmt, GiverBack> statement_;
};

/// A connection to one database file, for one thread at a time.
class Database {
public:
    enum class Mode : std::uint8_t { readWrite, readOnly };

    /// Opens or creates the file, with write-ahead logging.
    Database(const std::string& path, Mode mode);

    [[nodiscard]] Statement prepare(std::string_view sql) const { return {*pool_, sql}; }
    /// Runs one or several statements without parameters.
    void execute(const char* sql) const;
    /// Prepares, binds and runs.
    template <class... Values>
    void run(std::string_view sql, const Values&... values) const {
        prepare(sql).bind(values...).run();
    }
    /// The first column of the first row; nullopt without a row.
    template <class... Values>
    [[nodiscard]] std::optional<std::int64_t> integer(std::string_view sql, const Values&... values) const {
        Statement statement = prepare(sql);
        statement.bind(values...);
        return statement.step() ? std::optional(statement.integer(0)) : std::nullopt;
    }
    template <class... Values>
    [[nodiscard]] std::optional<std::string> text(std::string_view sql, const Values&... values) const {
        Statement statement = prepare(sql);
        statement.bind(values...);
        return statement.step() ? std::optional(statement.text(0)) : std::nullopt;
    }
    [[nodiscard]] std::int64_t lastRow() const;

private:
    struct Closer {
        void operator()(sqlite3* connection) const noexcept;
    };
    std::unique_ptr<sqlite3, Closer> connection_;
    std::unique_ptr<StatementPool> pool_;
};

/// Everything until `commit`, or nothing.
class Transaction {
public:
    explicit Transaction(const Database& database) : database_(database) { database_.execute("BEGIN IMMEDIATE"); }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    ~Transaction();
    void commit();

private:
    const Database& database_;
    bool isOpen_ = true;
};

/// Brings the database to this program's schema, step by step from whatever version it has. Throws for one that comes
/// from a newer program.
///
/// `version` other than the newest is for those who want to see what becomes of a library that an earlier program made.
inline constexpr std::size_t kNewestSchema = SIZE_MAX;
void prepareSchema(const Database& database, std::size_t version = kNewestSchema);
/// Throws when the file is damaged. Reads all of it.
void checkWholeness(const Database& database);

}  // namespace tessaly::photos
