#include "database.h"

#include "geometry.h"

namespace {

constexpr int application_id = 0x4b6f7276; // "Korv", so that a file of another program is not written to
constexpr int schema_version = 1;
constexpr int busy_timeout_ms = 5000; // a developer's SQL shell may hold the file for a moment

[[noreturn]] void fail(sqlite3* handle)
{
    throw database_error(sqlite3_errmsg(handle));
}

struct value_binder {
    sqlite3_stmt* statement;
    int index;

    int operator()(std::monostate) const { return sqlite3_bind_null(statement, index); }
    int operator()(std::int64_t value) const { return sqlite3_bind_int64(statement, index, value); }
    int operator()(double value) const { return sqlite3_bind_double(statement, index, value); }
    int operator()(const std::string& value) const
    {
        return sqlite3_bind_text64(statement, index, value.data(), value.size(), SQLITE_TRANSIENT,
                                   SQLITE_UTF8);
    }
    int operator()(const blob& value) const
    {
        return sqlite3_bind_blob64(statement, index, value.bytes.data(), value.bytes.size(),
                                   SQLITE_TRANSIENT);
    }
};

std::string_view blob_argument(sqlite3_value* value)
{
    const void* bytes = sqlite3_value_blob(value);
    return {static_cast<const char*>(bytes), static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

// overlaps(shape, area). The area is the same for all rows of a query, so it is prepared once and kept with
// the running statement.
void sql_overlaps(sqlite3_context* context, int, sqlite3_value** arguments)
{
    constexpr int area_argument = 1;
    try {
        auto* area = static_cast<prepared_area*>(sqlite3_get_auxdata(context, area_argument));
        std::unique_ptr<prepared_area> fresh;
        if (area == nullptr) {
            fresh = std::make_unique<prepared_area>(blob_argument(arguments[area_argument]));
            area = fresh.get();
        }
        sqlite3_result_int(context, area->overlaps(blob_argument(arguments[0])));
        if (fresh)
            sqlite3_set_auxdata(context, area_argument, fresh.release(),
                                [](void* kept) { delete static_cast<prepared_area*>(kept); });
    } catch (const std::exception& error) {
        sqlite3_result_error(context, error.what(), -1);
    }
}

} // namespace

result_rows::~result_rows()
{
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
}

bool result_rows::next()
{
    const int result = sqlite3_step(statement_);
    if (result != SQLITE_ROW && result != SQLITE_DONE)
        fail(sqlite3_db_handle(statement_));
    return result == SQLITE_ROW;
}

std::string_view result_rows::text(int column) const
{
    const unsigned char* text = sqlite3_column_text(statement_, column);
    return {reinterpret_cast<const char*>(text),
            static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

database::database(const std::string& file)
{
    sqlite3* handle = nullptr;
    const int result =
        sqlite3_open_v2(file.empty() ? ":memory:" : file.c_str(), &handle,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    handle_.reset(handle);
    if (result != SQLITE_OK)
        fail(handle);
    sqlite3_busy_timeout(handle, busy_timeout_ms);
    check_is_ours(file);
    // In write-ahead mode a commit is in the file, for every other process, once written; NORMAL leaves the
    // slow flush to the device to the checkpoints: only a crash of the whole machine can take recent records.
    execute("PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL;"
            "PRAGMA application_id = " +
            std::to_string(application_id) + "; PRAGMA user_version = " + std::to_string(schema_version));
    if (sqlite3_create_function_v2(handle, "overlaps", 2, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr,
                                   sql_overlaps, nullptr, nullptr, nullptr) != SQLITE_OK)
        fail(handle);
}

void database::check_is_ours(const std::string& file)
{
    if (integer("SELECT COUNT(*) FROM sqlite_master") == 0)
        return;
    if (integer("PRAGMA application_id") != application_id)
        throw database_error(file + " is a database of another program");
    if (const std::int64_t version = integer("PRAGMA user_version"); version != schema_version)
        throw database_error(file + " has the layout version " + std::to_string(version) + ", expected " +
                             std::to_string(schema_version));
}

void database::execute(const std::string& sql)
{
    if (sqlite3_exec(handle_.get(), sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
        fail(handle_.get());
}

sqlite3_stmt* database::prepared(const std::string& sql)
{
    auto& statement = statements_[sql];
    if (!statement) {
        sqlite3_stmt* fresh = nullptr;
        if (sqlite3_prepare_v3(handle_.get(), sql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &fresh, nullptr) !=
            SQLITE_OK)
            fail(handle_.get());
        statement.reset(fresh);
    }
    return statement.get();
}

result_rows database::query(const std::string& sql, const std::vector<sql_value>& values)
{
    sqlite3_stmt* statement = prepared(sql);
    int index = 0;
    for (const sql_value& value : values)
        if (std::visit(value_binder{statement, ++index}, value) != SQLITE_OK)
            fail(handle_.get());
    return result_rows(statement);
}

std::int64_t database::change(const std::string& sql, const std::vector<sql_value>& values)
{
    query(sql, values).next();
    return sqlite3_changes(handle_.get());
}

std::int64_t database::integer(const std::string& sql, const std::vector<sql_value>& values)
{
    result_rows rows = query(sql, values);
    return rows.next() ? rows.integer(0) : 0;
}

transaction::transaction(database& db)
    : database_(db)
{
    database_.change("BEGIN IMMEDIATE");
}

transaction::~transaction()
{
    if (!open_)
        return;
    try {
        database_.change("ROLLBACK");
    } catch (const database_error&) {
        // SQLite has rolled back by itself, which is all that is wanted here.
    }
}

void transaction::commit()
{
    database_.change("COMMIT");
    open_ = false;
}
