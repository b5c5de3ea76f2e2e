#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <variant>
#include <vector>

/// Bytes that are no text.
struct blob {
    std::string bytes;
};

/// What can be bound to a "?"; std::monostate is NULL.
using sql_value = std::variant<std::monostate, std::int64_t, double, std::string, blob>;

/// The database refused; what() holds its words.
class database_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct database_closer {
    void operator()(sqlite3* handle) const { sqlite3_close_v2(handle); }
};
struct statement_closer {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

/// The rows of one running statement; the statement is rewound when this goes out of scope.
class result_rows {
public:
    explicit result_rows(sqlite3_stmt* statement)
        : statement_(statement)
    {
    }
    ~result_rows();
    result_rows(const result_rows&) = delete;
    result_rows& operator=(const result_rows&) = delete;

    /// Moves to the next row; false behind the last one.
    bool next();

    std::int64_t integer(int column) const { return sqlite3_column_int64(statement_, column); }
    bool is_null(int column) const { return sqlite3_column_type(statement_, column) == SQLITE_NULL; }
    /// Valid until the next row is asked for.
    std::string_view text(int column) const;

private:
    sqlite3_stmt* statement_;
};

/// One SQLite connection with its prepared statements. For one thread at a time.
///
/// Beside SQLite's own functions, SQL may call overlaps(shape, area), both well-known binary: see geometry.h.
class database {
public:
    /// Opens or makes the file; an empty name keeps the data in memory. Throws database_error.
    explicit database(const std::string& file);

    /// Runs SQL text without values, several statements too.
    void execute(const std::string& sql);

    /// Runs one statement with its values. Each SQL text is prepared once, so two results of the same text
    /// must not be read at the same time.
    result_rows query(const std::string& sql, const std::vector<sql_value>& values = {});

    /// Runs one statement to its end; the number of rows that it changed, triggers not counted.
    std::int64_t change(const std::string& sql, const std::vector<sql_value>& values = {});

    /// The first column of the first row.
    std::int64_t integer(const std::string& sql, const std::vector<sql_value>& values = {});

    std::int64_t last_insert_id() const { return sqlite3_last_insert_rowid(handle_.get()); }

private:
    void check_is_ours(const std::string& file);
    sqlite3_stmt* prepared(const std::string& sql);

    std::unique_ptr<sqlite3, database_closer> handle_;
    std::unordered_map<std::string, std::unique_ptr<sqlite3_stmt, statement_closer>> statements_;
};

/// Everything changed in its scope is kept by commit(), or nothing is.
class transaction {
public:
    explicit transaction(database& db);
    ~transaction();
    transaction(const transaction&) = delete;
    transaction& operator=(const transaction&) = delete;

    /// When this returns, the changes survive the end of this process, however it ends.
    void commit();

private:
    database& database_;
    bool open_ = true;
};
