// Reads the remaining database through a second connection. The tests do not link SQLite, because the library
// brings it along.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <string>
#include <vector>

namespace database {

constexpr const char* kFolder = "/opt/usr/home/owner/share";
constexpr const char* kPath = "/opt/usr/home/owner/share/remaining.db";
constexpr const char* kSchema =
    "CREATE TABLE remainingTBL(idx TEXT, issue_code TEXT, is_fix TEXT, last_time TEXT, sol_type TEXT, "
    "sid_issue TEXT, sid_sol TEXT, sid_button1 TEXT, sid_button2 TEXT, action TEXT, toast1 TEST, toast2 "
    "TEXT, "
    "source TEXT, view_authority TEXT);";

using Row = std::vector<std::string>;

template <typename Function>
Function* Sqlite(const char* name) {
    auto* const function = reinterpret_cast<Function*>(dlsym(RTLD_DEFAULT, name));
    EXPECT_NE(function, nullptr) << name;
    return function;
}

/// The rows that statement yields; fails the test when SQLite refuses it.
inline std::vector<Row> Run(const std::string& statement) {
    static const auto open = Sqlite<decltype(sqlite3_open)>("sqlite3_open");
    static const auto exec = Sqlite<decltype(sqlite3_exec)>("sqlite3_exec");
    static const auto close = Sqlite<decltype(sqlite3_close)>("sqlite3_close");
    std::vector<Row> rows;
    sqlite3* handle = nullptr;
    EXPECT_EQ(open(kPath, &handle), SQLITE_OK);
    const auto keep = [](void* out, int count, char** values, char**) {
        Row row;
        for (int i = 0; i < count; ++i) {
            row.emplace_back(values[i] == nullptr ? "NULL" : values[i]);
        }
        static_cast<std::vector<Row>*>(out)->push_back(row);
        return 0;
    };
    EXPECT_EQ(exec(handle, statement.c_str(), keep, &rows, nullptr), SQLITE_OK) << statement;
    EXPECT_EQ(close(handle), SQLITE_OK);
    return rows;
}

inline void MakeFolder() {
    std::filesystem::create_directories(kFolder);
}

/// A store with the library's own table and nothing in it.
inline void Make() {
    MakeFolder();
    Run(kSchema);
}

/// Adds a row with these four values; its other columns hold their own names.
inline void Add(const std::string& idx, const std::string& code,
                const std::string& lastTime = "2026-01-01T00:00:00", const std::string& source = "",
                const std::string& viewer = "USER") {
    Run("INSERT INTO remainingTBL VALUES('" + idx + "', '" + code + "', '0', '" + lastTime +
        "', 'sol_type', 'sid_issue', 'sid_sol', 'sid_button1', 'sid_button2', 'action', 'toast1', 'toast2', "
        "'" +
        source + "', '" + viewer + "');");
}

inline std::vector<Row> Rows() {
    return Run("SELECT * FROM remainingTBL;");
}

/// The issue codes stored, in table order.
inline std::vector<std::string> Codes() {
    std::vector<std::string> codes;
    for (const Row& row : Run("SELECT issue_code FROM remainingTBL;")) {
        codes.push_back(row.front());
    }
    return codes;
}

}  // namespace database
