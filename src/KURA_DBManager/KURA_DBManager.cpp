// Four small databases behind one connection. Statements are built from their arguments as they are, oddities
// included, because field engineers know them from the log.
#include "KURA_DBManager.h"

#include <sqlite3.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <string>
#include <utility>

#include "KURA_DBManager/Connection.h"
#include "base/Log.h"
#include "base/SetPaths.h"

using KURA::store::Operation;
using KURA::store::Statement;

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

/// Joins the row's columns in order, without a separator. Only texts count, and integers if withIntegers.
/// SQLite returns null for a text when it is out of memory; the text is then left out.
std::string RowText(sqlite3_stmt* statement, bool withIntegers) {
    std::string row;
    const int columns = sqlite3_column_count(statement);
    for (int column = 0; column < columns; ++column) {
        const int type = sqlite3_column_type(statement, column);
        if (type == SQLITE_TEXT) {
            const unsigned char* text = sqlite3_column_text(statement, column);
            row += text == nullptr ? "" : reinterpret_cast<const char*>(text);
        } else if (type == SQLITE_INTEGER && withIntegers) {
            row += std::to_string(sqlite3_column_int(statement, column));
        }
    }
    return row;
}

/// Appends the text of every row. After a failure, which is logged, out keeps the rows before it.
bool Read(const Statement& statement, const std::string& table, bool withIntegers,
          std::vector<std::string>& out) {
    int step = SQLITE_ROW;
    while ((step = sqlite3_step(statement.get())) == SQLITE_ROW) {
        std::string row = RowText(statement.get(), withIntegers);
        if (!KURA::store::MayRead(row.size())) {
            break;
        }
        if (withIntegers) {
            KURA_LOG_AS("m_Select", DLOG_ERROR, "temp : %s", row.c_str());
        }
        out.push_back(std::move(row));
    }
    if (step != SQLITE_DONE) {
        KURA_LOG_AS("m_Select", DLOG_ERROR, "ERROR: %s table select is fail!!", table.c_str());
    }
    return step == SQLITE_DONE;
}

}  // namespace

TCDBManager* TCDBManager::m_pInstance = nullptr;

TCDBManager* TCDBManager::GetInstance() {
    const Operation operation;
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
    const Operation operation;
    KURA_ERROR("OpenDB : %d", static_cast<int>(db));
    const std::string path = m_GetDBPath(db);
    KURA::store::RollBack(m_handle);
    if (KURA::store::Open(path, m_handle) != SQLITE_OK) {
        KURA_ERROR("ERROR: %s open is fail!! ( %s )", path.c_str(), sqlite3_errmsg(m_handle));
        sqlite3_close(m_handle);
        m_handle = nullptr;
    }
    // Kept: a failed open is not reported to the caller. The operations that follow fail and log why.
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
    const Operation operation;
    const bool closed = sqlite3_close(m_handle) == SQLITE_OK;
    m_handle = nullptr;
    return closed;
}

bool TCDBManager::GetDB(EDBName db, std::string column, std::vector<std::string>& out) {
    const Operation operation;
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
    const Operation operation;
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
    const Operation operation;
    KURA_ERROR("DeleteDB");
    const bool done =
        m_SqlExecute(std::string("DELETE FROM ") + kRemainingTable + " WHERE issue_code='" + issueCode + "'");
    if (!done) {
        KURA_ERROR("ERROR: %s column delete is fail!!", kRemainingTable);
    }
    return done;
}

bool TCDBManager::FlushDB(EDBName db) {
    const Operation operation;
    KURA_ERROR("FlushDB");
    std::string table;
    const int tables = m_GetLimitForTableCnt(db);
    for (int index = 0; index < tables; ++index) {
        table = m_GetTableName(db, index);
    }
    const bool done = m_SqlExecute("DELETE FROM " + table);
    if (!done) {
        KURA_ERROR("ERROR: %s column delete is fail!!", table.c_str());
    }
    return done;
}

bool TCDBManager::m_SqlExecute(std::string query) {
    KURA_ERROR("m_SqlExecute query : %s", query.c_str());
    if (KURA::store::Execute(m_handle, query) == SQLITE_OK) {
        return true;
    }
    KURA_ERROR("ERROR: sql execute is fail!! ( %s )", sqlite3_errmsg(m_handle));
    return false;
}

bool TCDBManager::m_Drop(std::string table) {
    KURA_ERROR("m_Drop");
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
    return KURA::store::HasTable(m_handle, table);
}

bool TCDBManager::m_Select(std::string table, std::vector<std::string>& out) {
    KURA_ERROR("m_Select");
    return Read(KURA::store::Prepare(m_handle, "SELECT * FROM " + table + ";"), table, false, out);
}

bool TCDBManager::m_Select(std::string table, std::string columns, std::vector<std::string>& out) {
    KURA_ERROR("m_Select");
    const std::string query = "SELECT " + columns + " FROM " + table + ";";
    const Statement statement = KURA::store::Prepare(m_handle, query);
    KURA_ERROR("QUERY : %s", query.c_str());
    return Read(statement, table, true, out);
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
