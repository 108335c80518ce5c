#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace driftwell::sandbox {

/// An open SQLite file. Not for two threads at once. Every failure is a std::runtime_error with SQLite's text, and a
/// std::system_error where the disk is full.
class Database {
public:
    explicit Database(const std::filesystem::path& file);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// Runs statements that give no rows and take no values.
    void run(const char* statements);

private:
    friend class Statement;
    friend class Transaction;
    /// Throws what the last call has left.
    [[noreturn]] static void fail(sqlite3* database);

    sqlite3* m_database = nullptr;
};

/// One prepared statement. Values are bound in the order of its question marks.
class Statement {
public:
    Statement(Database& database, std::string_view text);
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    Statement& bind(std::string_view value);
    Statement& bind(std::int64_t value);
    /// NULL where there is none.
    Statement& bindOptional(const std::optional<std::string>& value);

    /// True when there is a row to read.
    bool step();
    /// Runs a statement that gives no rows, and tells how many it changed.
    int run();

    [[nodiscard]] std::string text(int column) const;
    [[nodiscard]] std::optional<std::string> optionalText(int column) const;
    [[nodiscard]] std::int64_t integer(int column) const;

private:
    void check(int result) const;

    sqlite3* m_database;
    sqlite3_stmt* m_statement = nullptr;
    int m_bound = 0;
};

/// Undone unless it is committed.
class Transaction {
public:
    explicit Transaction(Database& database);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    void commit();

private:
    Database& m_database;
    bool m_open = true;
};

} // namespace driftwell::sandbox
