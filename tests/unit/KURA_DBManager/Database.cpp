#include "Database.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace database {

namespace {

/// SQLite's function of that name.
template <typename Function>
Function* Find(const char* name, Function*) {
    void* symbol = dlsym(RTLD_DEFAULT, name);
    EXPECT_NE(symbol, nullptr) << name;
    return reinterpret_cast<Function*>(symbol);
}

#define SQLITE(name) Find(#name, static_cast<decltype(&::name)>(nullptr))

}  // namespace

Connection::Connection(const std::string& path) {
    EXPECT_EQ(SQLITE(sqlite3_open)(path.c_str(), &m_handle), SQLITE_OK) << path;
}

Connection::~Connection() {
    EXPECT_EQ(SQLITE(sqlite3_close)(m_handle), SQLITE_OK);
}

Rows Connection::Query(const std::string& sql) {
    Rows rows;
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(SQLITE(sqlite3_prepare_v2)(m_handle, sql.c_str(), -1, &statement, nullptr), SQLITE_OK)
        << sql << ": " << SQLITE(sqlite3_errmsg)(m_handle);
    int step = SQLITE_ROW;
    while ((step = SQLITE(sqlite3_step)(statement)) == SQLITE_ROW) {
        Row row;
        for (int i = 0; i < SQLITE(sqlite3_column_count)(statement); ++i) {
            const unsigned char* text = SQLITE(sqlite3_column_text)(statement, i);
            row.emplace_back(text == nullptr ? "NULL" : reinterpret_cast<const char*>(text));
        }
        rows.push_back(row);
    }
    EXPECT_EQ(step, SQLITE_DONE) << sql << ": " << SQLITE(sqlite3_errmsg)(m_handle);
    SQLITE(sqlite3_finalize)(statement);
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

std::string NullHandleError() {
    return SQLITE(sqlite3_errmsg)(nullptr);
}

std::vector<std::string> Problem(const std::string& issueCode) {
    return {"1",     issueCode, "0",    "2026-01-31T23:59:59",
            "2",     "issue",   "sol",  "button",
            "close", "action",  "done", "failed",
            "ALL",   "USER"};
}

}  // namespace database
