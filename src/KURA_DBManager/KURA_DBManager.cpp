// Four small databases behind one connection. SQL is glued together from its arguments as they come: the
// texts of the statements, oddities included, are what field engineers see in the log.
#include "KURA_DBManager.h"

#include <sqlite3.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <utility>

#include "base/Log.h"
#include "base/SetPaths.h"

namespace {

constexpr const char* kRemainingTable = "remainingTBL";

struct Database {
    const char* path;
    const char* table;
    const char* columns;  ///< follows the table's name in CREATE TABLE
};

constexpr const char* kInferenceColumns =
    "(registerTime TEXT, lastUpdatedTime TEXT, issueCode TEXT, TR INTEGER, solutionCode INTEGER)";

// Kept: the column types "INTEFER" and "TEST" are what databases in the field have.
constexpr std::array<Database, 4> kDatabases = {{
    {KURA::base::kInferenceDbPath, "inferenceTBL", kInferenceColumns},
    {KURA::base::kSolutionDbPath, "solutionTBL",
     "(registerTime TEXT, issueCode TEXT, solutionCode TEXT, type TEXT, isApply INTEFER)"},
    {KURA::base::kRemainingDbPath, kRemainingTable,
     "(idx TEXT, issue_code TEXT, is_fix TEXT, last_time TEXT, sol_type TEXT, sid_issue TEXT, sid_sol TEXT, "
     "sid_button1 TEXT, sid_button2 TEXT, action TEXT, toast1 TEST, toast2 TEXT, source TEXT, view_authority "
     "TEXT)"},
    {KURA::base::kTestDbPath, "testTBL", kInferenceColumns},
}};

constexpr int kTablesPerDatabase = 1;

bool IsDatabase(EDBName db) {
    return db >= EDB_INFERENCE && db <= EDB_TEST;
}

struct StatementFinalizer {
    void operator()(sqlite3_stmt* statement) const {
        sqlite3_reset(statement);
        sqlite3_finalize(statement);
    }
};

using Statement = std::unique_ptr<sqlite3_stmt, StatementFinalizer>;

/// Null, SQLite keeping the reason, when the query is wrong or the handle is null.
Statement Prepare(sqlite3* handle, const std::string& query) {
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare(handle, query.c_str(), static_cast<int>(query.size()), &statement, nullptr);
    return Statement(statement);
}

std::string IntegerOf(sqlite3_value* value) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%d", sqlite3_value_int(value));
    return text.data();
}

/// The row's columns in order, without a separator; types other than these have no text, and a text for which
/// SQLite has no memory is empty.
std::string RowText(sqlite3_stmt* statement, bool withIntegers) {
    std::string row;
    const int columns = sqlite3_column_count(statement);
    for (int column = 0; column < columns; ++column) {
        // Taken once: each question to the column itself would lock the connection.
        sqlite3_value* value = sqlite3_column_value(statement, column);
        const int type = sqlite3_value_type(value);
        if (type == SQLITE_TEXT) {
            const unsigned char* text = sqlite3_value_text(value);
            row += text == nullptr ? "" : reinterpret_cast<const char*>(text);
        } else if (type == SQLITE_INTEGER && withIntegers) {
            row += IntegerOf(value);
        }
    }
    return row;
}

}  // namespace

TCDBManager* TCDBManager::m_pInstance = nullptr;

TCDBManager* TCDBManager::GetInstance() {
    if (m_pInstance == nullptr) {
        m_pInstance = new TCDBManager;
    }
    return m_pInstance;
}

TCDBManager::TCDBManager() {
    KURA_ERROR("TCDBManager()");
    for (std::size_t i = 0; i < kDatabases.size(); ++i) {
        std::strncpy(m_tableNames[i], kDatabases[i].table, sizeof m_tableNames[i] - 1);
    }
}

TCDBManager::~TCDBManager() {
    KURA_ERROR("~TCDBManager()");
}

bool TCDBManager::OpenDB(EDBName db) {
    KURA_ERROR("OpenDB : %d", static_cast<int>(db));
    const std::string path = m_GetDBPath(db);
    m_AbandonTransaction();
    if (sqlite3_open(path.c_str(), &m_handle) != SQLITE_OK) {
        KURA_ERROR("ERROR: %s open is fail!! ( %s )", path.c_str(), sqlite3_errmsg(m_handle));
        sqlite3_close(m_handle);
        m_handle = nullptr;
    }
    // Kept: a failed open is not the caller's business; what follows fails and says so.
    const int tables = m_GetLimitForTableCnt(db);
    for (int index = 0; index < tables; ++index) {
        const std::string table = m_GetTableName(db, index);
        if (!m_IsTableExist(table)) {
            KURA_ERROR("%s is not exist!!", table.c_str());
            m_Create(table);
        }
    }
    return true;
}

bool TCDBManager::CloseDB() {
    m_AbandonTransaction();
    const bool closed = sqlite3_close(m_handle) == SQLITE_OK;
    m_handle = nullptr;
    return closed;
}

bool TCDBManager::GetDB(EDBName db, std::string column, std::vector<std::string>& out) {
    KURA_ERROR("GetDB");
    const int tables = m_GetLimitForTableCnt(db);
    for (int index = 0; index < tables; ++index) {
        const std::string table = m_GetTableName(db, index);
        if (m_IsTableExist(table) && !m_Select(table, column, out)) {
            return false;
        }
    }
    return true;
}

bool TCDBManager::SetDB(std::string table, std::list<std::string> values) {
    KURA_ERROR("SetDB");
    std::string text = "(";
    for (const std::string& value : values) {
        // Kept: contents are compared, not positions, so an earlier value equal to the last one also closes
        // the list, and SQLite refuses the statement.
        text += "\"" + value + (value == values.back() ? "\")" : "\",");
    }
    return m_Insert(std::move(table), std::move(text));
}

bool TCDBManager::DeleteDB(std::string issueCode) {
    KURA_ERROR("DeleteDB");
    const bool done =
        m_SqlExecute(std::string("DELETE FROM ") + kRemainingTable + " WHERE issue_code='" + issueCode + "'");
    if (!done) {
        KURA_ERROR("ERROR: %s column delete is fail!!", kRemainingTable);
    }
    return done;
}

bool TCDBManager::FlushDB(EDBName db) {
    KURA_ERROR("FlushDB");
    std::string table;
    const int tables = m_GetLimitForTableCnt(db);
    for (int index = 0; index < tables; ++index) {
        table = m_GetTableName(db, index);
    }
    const bool done = m_SqlExecute("DELETE FROM " + table);
    m_NoteFlush(done);
    if (!done) {
        KURA_ERROR("ERROR: %s column delete is fail!!", table.c_str());
    }
    return done;
}

bool TCDBManager::m_SqlExecute(std::string query) {
    KURA_ERROR("m_SqlExecute query : %s", query.c_str());
    if (m_Execute(query.c_str()) == SQLITE_OK) {
        return true;
    }
    KURA_ERROR("ERROR: sql execute is fail!! ( %s )", sqlite3_errmsg(m_handle));
    return false;
}

bool TCDBManager::m_Drop(std::string table) {
    KURA_ERROR("m_Drop");
    m_seenTable.clear();
    const bool done = m_SqlExecute("DROP TABLE IF EXISTS " + table + ";");
    if (!done) {
        KURA_ERROR("ERROR: %s table delete is fail!!", table.c_str());
    }
    return done;
}

bool TCDBManager::m_Insert(std::string table, std::string values) {
    KURA_ERROR("m_Insert");
    const bool done = m_SqlExecute("INSERT INTO " + table + " VALUES " + values + ";");
    if (!done) {
        KURA_ERROR("ERROR: %s table insert is fail!!", table.c_str());
    }
    return done;
}

bool TCDBManager::m_Create(std::string table) {
    KURA_ERROR("Create: %s table", table.c_str());
    const bool done = m_SqlExecute("CREATE TABLE " + table + m_GetQueryForCreateTable(table) + ";");
    if (!done) {
        KURA_ERROR("ERROR: %s table create is fail!!", table.c_str());
    }
    return done;
}

bool TCDBManager::m_IsTableExist(std::string table) {
    KURA_ERROR("m_IsTableExist");
    // No other connection can drop a table while the transaction that has seen it is open.
    if (table == m_seenTable && m_inTransaction && !m_IsDropped()) {
        return true;
    }
    const Statement statement =
        Prepare(m_handle, "SELECT name FROM sqlite_master WHERE type='table' AND name='" + table + "';");
    const bool exists = sqlite3_step(statement.get()) == SQLITE_ROW;
    m_seenTable = exists && m_inTransaction ? table : "";
    return exists;
}

bool TCDBManager::m_Select(std::string table, std::vector<std::string>& out) {
    KURA_ERROR("m_Select");
    const Statement statement = Prepare(m_handle, "SELECT * FROM " + table + ";");
    int step = SQLITE_ROW;
    while ((step = sqlite3_step(statement.get())) == SQLITE_ROW) {
        out.push_back(RowText(statement.get(), false));
    }
    if (step != SQLITE_DONE) {
        KURA_ERROR("ERROR: %s table select is fail!!", table.c_str());
    }
    return step == SQLITE_DONE;
}

bool TCDBManager::m_Select(std::string table, std::string columns, std::vector<std::string>& out) {
    KURA_ERROR("m_Select");
    const std::string query = "SELECT " + columns + " FROM " + table + ";";
    const Statement statement = Prepare(m_handle, query);
    KURA_ERROR("QUERY : %s", query.c_str());
    int step = SQLITE_ROW;
    while ((step = sqlite3_step(statement.get())) == SQLITE_ROW) {
        std::string row = RowText(statement.get(), true);
        KURA_ERROR("temp : %s", row.c_str());
        out.push_back(std::move(row));
    }
    if (step != SQLITE_DONE) {
        KURA_ERROR("ERROR: %s table select is fail!!", table.c_str());
    }
    return step == SQLITE_DONE;
}

std::string TCDBManager::m_GetQueryForCreateTable(std::string table) {
    KURA_ERROR("m_GetQueryForCreateTable");
    for (const Database& database : kDatabases) {
        if (table == database.table) {
            return database.columns;
        }
    }
    return "";
}

std::string TCDBManager::m_GetTableName(EDBName db, int index) {
    KURA_ERROR("m_GetTableName");
    const int slot = static_cast<int>(db) + index;
    if (!IsDatabase(db) || slot < 0 || slot >= static_cast<int>(std::size(m_tableNames))) {
        KURA_ERROR("ERROR: table name is wrong!! : %d", static_cast<int>(db));
        return "";
    }
    return m_tableNames[slot];
}

int TCDBManager::m_GetLimitForTableCnt(EDBName db) {
    KURA_ERROR("m_GetLimitForTableCnt");
    if (!IsDatabase(db)) {
        KURA_ERROR("ERROR: db option is wrong!!");
        return 0;
    }
    return kTablesPerDatabase;
}

std::string TCDBManager::m_GetDBPath(EDBName db) {
    KURA_ERROR("m_GetDBPath");
    if (!IsDatabase(db)) {
        KURA_ERROR("ERROR: db path is wrong!! : %d", static_cast<int>(db));
        return "";
    }
    const char* path = kDatabases[static_cast<std::size_t>(db)].path;
    KURA_ERROR("Path : %s", path);
    return path;
}
