#include "CleanStore.h"

#include <sqlite3.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace cli {

namespace {

using Database = std::unique_ptr<sqlite3, decltype(&sqlite3_close)>;
using Rows = std::vector<std::vector<std::string>>;

/// Runs the statements. Returns the rows; a null is an empty text.
Rows RunOn(const Database& database, const std::string& sql) {
    Rows rows;
    const auto collect = [](void* to, int count, char** cells, char**) {
        auto& row = static_cast<Rows*>(to)->emplace_back();
        for (int i = 0; i < count; ++i) {
            row.emplace_back(cells[i] == nullptr ? "" : cells[i]);
        }
        return 0;
    };
    if (sqlite3_exec(database.get(), sql.c_str(), collect, &rows, nullptr) != SQLITE_OK) {
        throw std::runtime_error(sqlite3_errmsg(database.get()));
    }
    return rows;
}

std::string SqlName(const std::string& name) {
    std::string quoted = "\"";
    for (const char c : name) {
        quoted.append(c == '"' ? 2 : 1, c);
    }
    return quoted + '"';
}

/// The SQL function: a text or a blob cleaned, any other value as it is.
void CleanValue(sqlite3_context* context, int, sqlite3_value** arguments) {
    sqlite3_value* value = arguments[0];
    const int type = sqlite3_value_type(value);
    if (type != SQLITE_TEXT && type != SQLITE_BLOB) {
        sqlite3_result_value(context, value);
        return;
    }
    try {
        const void* bytes = type == SQLITE_TEXT ? sqlite3_value_text(value) : sqlite3_value_blob(value);
        const auto size = static_cast<std::size_t>(sqlite3_value_bytes(value));
        const std::string cleaned = static_cast<PrivateValues*>(sqlite3_user_data(context))
                                        ->Clean(std::string(static_cast<const char*>(bytes), size));
        const auto length = static_cast<int>(cleaned.size());
        if (type == SQLITE_TEXT) {
            sqlite3_result_text(context, cleaned.data(), length, SQLITE_TRANSIENT);
        } else {
            sqlite3_result_blob(context, cleaned.data(), length, SQLITE_TRANSIENT);
        }
    } catch (...) {
        sqlite3_result_error_nomem(context);
    }
}

void CleanTable(const Database& database, const std::string& table) {
    std::string columns;
    for (const auto& column : RunOn(database, "PRAGMA table_info(" + SqlName(table) + ")")) {
        const std::string name = SqlName(column.at(1));
        columns.append(columns.empty() ? "" : ",").append(name).append("=clean(").append(name).append(")");
    }
    RunOn(database, "UPDATE " + SqlName(table) + " SET " + columns);
}

}  // namespace

void CleanStore(const std::filesystem::path& path, PrivateValues& values) {
    sqlite3* opened = nullptr;
    const int result = sqlite3_open_v2(path.c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
    const Database database(opened, &sqlite3_close);
    if (result != SQLITE_OK || sqlite3_create_function(opened, "clean", 1, SQLITE_UTF8, &values, CleanValue,
                                                       nullptr, nullptr) != SQLITE_OK) {
        throw std::runtime_error(sqlite3_errstr(result));
    }
    // The store may be anybody's: its triggers are not run, and no journal of what it held is kept.
    sqlite3_db_config(opened, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(opened, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    const Rows findings = RunOn(database, "PRAGMA quick_check(1)");
    if (findings.at(0).at(0) != "ok") {
        throw std::runtime_error(findings.at(0).at(0));
    }
    RunOn(database, "PRAGMA journal_mode=DELETE");
    for (const auto& table : RunOn(database,
                                   "SELECT name FROM sqlite_master WHERE type='table' AND name NOT "
                                   "LIKE 'sqlite_%'")) {
        CleanTable(database, table.front());
    }
    RunOn(database, "VACUUM");
}

}  // namespace cli
