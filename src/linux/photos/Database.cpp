#include "linux/photos/Database.h"

#include <sqlite3.h>

#include <cstring>

namespace tessaly::photos {
namespace {

/// "disk I/O error" alone does not say that the disk is full.
[[noreturn]] void fail(sqlite3* database) {
    std::string why = sqlite3_errmsg(database);
    const int status = sqlite3_errcode(database) & 0xFF;
    const int cause = status == SQLITE_IOERR || status == SQLITE_CANTOPEN ? sqlite3_system_errno(database) : 0;
    if (cause != 0) why += std::string(": ") + std::strerror(cause);
    throw DatabaseError(why);
}

/// Another program may be writing: wait for it rather than fail.
constexpr int kBusyMilliseconds = 10'000;

/// SQLite does not wait by itself when two programs make a database at the same time.
void startLog(sqlite3* database) {
    constexpr int kPauseMilliseconds = 10;
    int status = SQLITE_OK;
    for (int waited = 0; waited < kBusyMilliseconds; waited += kPauseMilliseconds) {
        status = sqlite3_exec(database, "PRAGMA journal_mode = WAL", nullptr, nullptr, nullptr);
        if ((status & 0xFF) != SQLITE_BUSY) break;
        sqlite3_sleep(kPauseMilliseconds);
    }
    if (status != SQLITE_OK) fail(database);
}

}  // namespace

StatementPool::~StatementPool() {
    for (const auto& [sql, statements] : waiting_)
        for (sqlite3_stmt* statement : statements) sqlite3_finalize(statement);
}

sqlite3_stmt* StatementPool::take(std::string_view sql) {
    const std::string key(sql);
    if (const auto known = waiting_.find(key); known != waiting_.end() && !known->second.empty()) {
        sqlite3_stmt* statement = known->second.back();
        known->second.pop_back();
        return statement;
    }
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v3(database_, key.c_str(), static_cast<int>(key.size() + 1), SQLITE_PREPARE_PERSISTENT,
                           &statement, nullptr) != SQLITE_OK)
        fail(database_);
    return statement;
}

void StatementPool::giveBack(sqlite3_stmt* statement) {
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
    waiting_[sqlite3_sql(statement)].push_back(statement);
}

Statement::Statement(StatementPool& pool, std::string_view sql)
    : database_(pool.database()), statement_(pool.take(sql), GiverBack{&pool}) {}

void Statement::bindAt(int index, const Value& value) {
    sqlite3_stmt* statement = statement_.get();
    const int at = index + 1;
    int status = SQLITE_OK;
    switch (value.kind()) {
        case Value::Kind::boolean:
        case Value::Kind::integer:
            status = sqlite3_bind_int64(statement, at, value.integerValue());
            break;
        case Value::Kind::real:
            status = sqlite3_bind_double(statement, at, value.doubleValue());
            break;
        case Value::Kind::date:
            status = sqlite3_bind_double(statement, at, value.date().timeIntervalSince1970);
            break;
        case Value::Kind::string: {
            // A null pointer would bind NULL, not the empty text.
            const std::string_view text = value.string().empty() ? std::string_view("") : value.string();
            status = sqlite3_bind_text64(statement, at, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
            break;
        }
        case Value::Kind::data:
            status = sqlite3_bind_blob64(statement, at, value.data().data(), value.data().size(), SQLITE_TRANSIENT);
            break;
        default:
            status = sqlite3_bind_null(statement, at);
    }
    if (status != SQLITE_OK) fail(database_);
}

Statement& Statement::bindAll(std::span<const Value> values) {
    reset();
    int index = 0;
    for (const Value& value : values) bindAt(index++, value);
    return *this;
}

bool Statement::step() {
    const int status = sqlite3_step(statement_.get());
    if (status == SQLITE_ROW) return true;
    if (status != SQLITE_DONE) fail(database_);
    return false;
}

void Statement::run() {
    while (step()) {
    }
    reset();
}

void Statement::reset() { sqlite3_reset(statement_.get()); }

bool Statement::isNull(int column) const { return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL; }

std::int64_t Statement::integer(int column) const { return sqlite3_column_int64(statement_.get(), column); }

double Statement::real(int column) const { return sqlite3_column_double(statement_.get(), column); }

std::string Statement::text(int column) const {
    const auto* text = sqlite3_column_text(statement_.get(), column);
    if (!text) return {};
    return {reinterpret_cast<const char*>(text),
            static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

Data Statement::data(int column) const {
    if (isNull(column)) return nullptr;
    const auto* bytes = static_cast<const std::byte*>(sqlite3_column_blob(statement_.get(), column));
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column));
    return std::make_shared<std::vector<std::byte>>(bytes, bytes + size);
}

void Database::Closer::operator()(sqlite3* connection) const noexcept { sqlite3_close_v2(connection); }

Database::Database(const std::string& path, Mode mode) {
    const int flags = (mode == Mode::readOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE) |
                      SQLITE_OPEN_NOMUTEX;
    sqlite3* connection = nullptr;
    const int status = sqlite3_open_v2(path.c_str(), &connection, flags, nullptr);
    connection_.reset(connection);
    if (status != SQLITE_OK) {
        if (!connection) throw DatabaseError("not enough memory");
        fail(connection);
    }
    sqlite3_extended_result_codes(connection, 1);
    sqlite3_busy_timeout(connection, kBusyMilliseconds);
    pool_ = std::make_unique<StatementPool>(connection);
    if (mode == Mode::readOnly) {
        execute("PRAGMA query_only = ON");
        return;
    }
    startLog(connection);
    // The journal of file changes leans on every commit being on the disk.
    execute("PRAGMA synchronous = FULL; PRAGMA foreign_keys = ON");
}

void Database::execute(const char* sql) const {
    if (sqlite3_exec(connection_.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK) fail(connection_.get());
}

std::int64_t Database::lastRow() const { return sqlite3_last_insert_rowid(connection_.get()); }

Transaction::~Transaction() {
    if (!isOpen_) return;
    try {
        database_.execute("ROLLBACK");
    } catch (const DatabaseError&) {
        // SQLite has rolled back by itself, as it does when the disk is full.
    }
}

void Transaction::commit() {
    database_.execute("COMMIT");
    isOpen_ = false;
}

}  // namespace tessaly::photos
