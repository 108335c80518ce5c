#include "apps/sandbox/Database.h"

#include <sqlite3.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace driftwell::sandbox {

Database::Database(const std::filesystem::path& file) {
    const int result = sqlite3_open_v2(file.c_str(), &m_database,
                                       SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX, nullptr);
    if (result != SQLITE_OK) {
        const std::string message = m_database != nullptr ? sqlite3_errmsg(m_database) : sqlite3_errstr(result);
        sqlite3_close(m_database);
        throw std::runtime_error(file.string() + ": " + message);
    }
}

Database::~Database() {
    sqlite3_close(m_database);
}

void Database::fail(sqlite3* database) {
    const std::string message = std::string("database: ") + sqlite3_errmsg(database);
    const int result = sqlite3_errcode(database);
    const int cause = sqlite3_system_errno(database);
    const bool isDiskTrouble = result == SQLITE_IOERR || result == SQLITE_CANTOPEN;
    if (result == SQLITE_FULL || (isDiskTrouble && (cause == ENOSPC || cause == EDQUOT))) {
        throw std::system_error(ENOSPC, std::generic_category(), message);
    }
    throw std::runtime_error(message);
}

void Database::run(const char* statements) {
    if (sqlite3_exec(m_database, statements, nullptr, nullptr, nullptr) != SQLITE_OK) {
        fail(m_database);
    }
}

Statement::Statement(Database& database, std::string_view text) : m_database(database.m_database) {
    check(sqlite3_prepare_v2(m_database, text.data(), static_cast<int>(text.size()), &m_statement, nullptr));
}

Statement::~Statement() {
    sqlite3_finalize(m_statement);
}

void Statement::check(int result) const {
    if (result != SQLITE_OK) {
        Database::fail(m_database);
    }
}

Statement& Statement::bind(std::string_view value) {
    check(sqlite3_bind_text64(m_statement, ++m_bound, value.data(), value.size(), SQLITE_TRANSIENT, SQLITE_UTF8));
    return *this;
}

Statement& Statement::bind(std::int64_t value) {
    check(sqlite3_bind_int64(m_statement, ++m_bound, value));
    return *this;
}

Statement& Statement::bindOptional(const std::optional<std::string>& value) {
    if (value) {
        return bind(*value);
    }
    check(sqlite3_bind_null(m_statement, ++m_bound));
    return *this;
}

bool Statement::step() {
    const int result = sqlite3_step(m_statement);
    if (result == SQLITE_ROW) {
        return true;
    }
    check(result == SQLITE_DONE ? SQLITE_OK : result);
    return false;
}

int Statement::run() {
    step();
    return sqlite3_changes(m_database);
}

std::string Statement::text(int column) const {
    return optionalText(column).value_or(std::string());
}

std::optional<std::string> Statement::optionalText(int column) const {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
    if (text == nullptr) {
        return std::nullopt;
    }
    return std::string(text, static_cast<size_t>(sqlite3_column_bytes(m_statement, column)));
}

std::int64_t Statement::integer(int column) const {
    return sqlite3_column_int64(m_statement, column);
}

Transaction::Transaction(Database& database) : m_database(database) {
    m_database.run("BEGIN IMMEDIATE");
}

Transaction::~Transaction() {
    if (m_open) {
        // A failure here means that SQLite has already undone the transaction.
        sqlite3_exec(m_database.m_database, "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

void Transaction::commit() {
    m_database.run("COMMIT");
    m_open = false;
}

} // namespace driftwell::sandbox
