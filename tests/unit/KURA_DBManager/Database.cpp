#include "Database.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace database {

Connection::Connection(const std::string& path) {
    EXPECT_EQ(sqlite3_open(path.c_str(), &m_handle), SQLITE_OK) << path;
}

Connection::~Connection() {
    EXPECT_EQ(sqlite3_close(m_handle), SQLITE_OK);
}

Rows Connection::Query(const std::string& sql) {
    Rows rows;
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(m_handle, sql.c_str(), -1, &statement, nullptr), SQLITE_OK)
        << sql << ": " << sqlite3_errmsg(m_handle);
    int step = SQLITE_ROW;
    while ((step = sqlite3_step(statement)) == SQLITE_ROW) {
        Row row;
        for (int i = 0; i < sqlite3_column_count(statement); ++i) {
            const unsigned char* text = sqlite3_column_text(statement, i);
            row.emplace_back(text == nullptr ? "NULL" : reinterpret_cast<const char*>(text));
        }
        rows.push_back(row);
    }
    EXPECT_EQ(step, SQLITE_DONE) << sql << ": " << sqlite3_errmsg(m_handle);
    sqlite3_finalize(statement);
    return rows;
}

std::string Connection::Value(const std::string& sql) {
    const Rows rows = Query(sql);
    EXPECT_EQ(rows.size(), 1U) << sql;
    return rows.empty() ? "" : rows.front().front();
}

void MakeFolders() {
    std::filesystem::create_directories(kFolder);
    std::filesystem::create_directories(kWatchmanFolder);
}

Rows Query(const std::string& path, const std::string& sql) {
    return Connection(path).Query(sql);
}

std::string Value(const std::string& path, const std::string& sql) {
    return Connection(path).Value(sql);
}

void Close(sqlite3* handle) {
    EXPECT_NE(handle, nullptr);
    EXPECT_EQ(sqlite3_close(handle), SQLITE_OK);
}

std::string NullHandleError() {
    return sqlite3_errmsg(nullptr);
}

std::vector<std::string> Problem(const std::string& issueCode) {
    return {"1",     issueCode, "0",    "2026-01-31T23:59:59",
            "2",     "issue",   "sol",  "button",
            "close", "action",  "done", "failed",
            "ALL",   "USER"};
}

}  // namespace database
