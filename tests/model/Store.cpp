#include "Store.h"

namespace model {

const std::vector<std::string> kColumns = {
    "idx",         "issue_code",  "is_fix", "last_time", "sol_type", "sid_issue", "sid_sol",
    "sid_button1", "sid_button2", "action", "toast1",    "toast2",   "source",    "view_authority"};

namespace {

constexpr const char* kColumnList =
    "(idx TEXT, issue_code TEXT, is_fix TEXT, last_time TEXT, sol_type TEXT, sid_issue TEXT, sid_sol TEXT, "
    "sid_button1 TEXT, sid_button2 TEXT, action TEXT, toast1 TEST, toast2 TEXT, source TEXT, view_authority "
    "TEXT)";

}  // namespace

Store::Store(Record& record) : m_record(record) {
    Reset();
}

Store::~Store() {
    sqlite3_close(m_memory);
}

void Store::Reset() {
    sqlite3_close(m_memory);
    sqlite3_open(":memory:", &m_memory);
    RunNothingStored(m_memory);
}

void Store::RunNothingStored(sqlite3* handle) {
    sqlite3_db_config(handle, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
}

void Store::Change(const std::string& statements) {
    sqlite3_exec(m_memory, statements.c_str(), nullptr, nullptr, nullptr);
}

std::string Store::CreateStatement() {
    return std::string("CREATE TABLE ") + kTable + kColumnList + ";";
}

void Store::Manager() {
    wasUsed = true;
    if (!m_managerExists) {
        m_managerExists = true;
        m_record.Log(kError, "TCDBManager", "TCDBManager()");
    }
}

bool Store::Execute(const std::string& query) {
    m_record.Log(kError, "m_SqlExecute", "m_SqlExecute query : %s", query.c_str());
    if (sqlite3_exec(m_handle, query.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK) {
        return true;
    }
    m_record.Log(kError, "m_SqlExecute", "ERROR: sql execute is fail!! ( %s )", sqlite3_errmsg(m_handle));
    return false;
}

bool Store::HasTable() {
    m_record.Log(kError, "m_IsTableExist", "m_IsTableExist");
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare(m_handle, "SELECT name FROM sqlite_master WHERE type='table' AND name='remainingTBL';",
                    -1, &statement, nullptr);
    const bool found = sqlite3_step(statement) == SQLITE_ROW;
    sqlite3_finalize(statement);
    return found;
}

void Store::Open() {
    Manager();
    m_record.Log(kError, "OpenDB", "OpenDB : %d", 2);
    m_record.Log(kError, "m_GetDBPath", "m_GetDBPath");
    m_record.Log(kError, "m_GetDBPath", "Path : %s", kStorePath);
    m_handle = m_memory;
    if (isSpoilt && sqlite3_open(kStorePath, &m_handle) != SQLITE_OK) {
        m_record.Log(kError, "OpenDB", "ERROR: %s open is fail!! ( %s )", kStorePath,
                     sqlite3_errmsg(m_handle));
        sqlite3_close(m_handle);
        m_handle = nullptr;
    }
    m_record.Log(kError, "m_GetLimitForTableCnt", "m_GetLimitForTableCnt");
    m_record.Log(kError, "m_GetTableName", "m_GetTableName");
    if (HasTable()) {
        return;
    }
    m_record.Log(kError, "OpenDB", "%s is not exist!!", kTable);
    m_record.Log(kError, "m_Create", "Create: %s table", kTable);
    m_record.Log(kError, "m_GetQueryForCreateTable", "m_GetQueryForCreateTable");
    if (!Execute(CreateStatement())) {
        m_record.Log(kError, "m_Create", "ERROR: %s table create is fail!!", kTable);
    }
}

void Store::Close() {
    Manager();
    if (m_handle != m_memory) {
        sqlite3_close(m_handle);
    }
    m_handle = nullptr;
}

bool Store::Get(const std::string& column, std::vector<std::string>& out) {
    Manager();
    m_record.Log(kError, "GetDB", "GetDB");
    m_record.Log(kError, "m_GetLimitForTableCnt", "m_GetLimitForTableCnt");
    m_record.Log(kError, "m_GetTableName", "m_GetTableName");
    if (!HasTable()) {
        return true;
    }
    m_record.Log(kError, "m_Select", "m_Select");
    const std::string query = "SELECT " + column + " FROM " + kTable + ";";
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare(m_handle, query.c_str(), -1, &statement, nullptr);
    m_record.Log(kError, "m_Select", "QUERY : %s", query.c_str());
    int result = sqlite3_step(statement);
    for (; result == SQLITE_ROW; result = sqlite3_step(statement)) {
        std::string text;
        if (sqlite3_column_type(statement, 0) == SQLITE_TEXT) {
            text = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
        } else if (sqlite3_column_type(statement, 0) == SQLITE_INTEGER) {
            text = std::to_string(sqlite3_column_int(statement, 0));
        }
        m_record.Log(kError, "m_Select", "temp : %s", text.c_str());
        out.push_back(text);
    }
    sqlite3_finalize(statement);
    if (result != SQLITE_DONE) {
        m_record.Log(kError, "m_Select", "ERROR: %s table select is fail!!", kTable);
    }
    return result == SQLITE_DONE;
}

bool Store::Insert(const std::vector<std::string>& values) {
    Manager();
    m_record.Log(kError, "SetDB", "SetDB");
    std::string text = "(";
    for (const std::string& value : values) {
        text += "\"" + value + (value == values.back() ? "\")" : "\",");
    }
    m_record.Log(kError, "m_Insert", "m_Insert");
    if (Execute(std::string("INSERT INTO ") + kTable + " VALUES " + text + ";")) {
        return true;
    }
    m_record.Log(kError, "m_Insert", "ERROR: %s table insert is fail!!", kTable);
    return false;
}

bool Store::Delete(const std::string& issueCode) {
    Manager();
    m_record.Log(kError, "DeleteDB", "DeleteDB");
    if (Execute(std::string("DELETE FROM ") + kTable + " WHERE issue_code='" + issueCode + "'")) {
        return true;
    }
    m_record.Log(kError, "DeleteDB", "ERROR: %s column delete is fail!!", kTable);
    return false;
}

bool Store::Flush() {
    Manager();
    m_record.Log(kError, "FlushDB", "FlushDB");
    m_record.Log(kError, "m_GetLimitForTableCnt", "m_GetLimitForTableCnt");
    m_record.Log(kError, "m_GetTableName", "m_GetTableName");
    if (Execute(std::string("DELETE FROM ") + kTable)) {
        return true;
    }
    m_record.Log(kError, "FlushDB", "ERROR: %s column delete is fail!!", kTable);
    return false;
}

std::vector<std::string> Store::Rows() {
    return RowsOf(m_memory);
}

std::vector<std::string> RowsOf(sqlite3* handle) {
    std::vector<std::string> rows;
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(handle, "SELECT * FROM remainingTBL;", -1, &statement, nullptr);
    while (sqlite3_step(statement) == SQLITE_ROW) {
        std::string row;
        for (int i = 0; i < sqlite3_column_count(statement); ++i) {
            row += std::to_string(sqlite3_column_type(statement, i)) + ":";
            const auto* const text = reinterpret_cast<const char*>(sqlite3_column_text(statement, i));
            row += std::string(text == nullptr ? "" : text) + "|";
        }
        rows.push_back(row);
    }
    sqlite3_finalize(statement);
    return rows;
}

}  // namespace model
