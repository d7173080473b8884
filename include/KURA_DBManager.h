// The library's only gateway to its SQLite databases.
#pragma once

#include <list>
#include <string>
#include <vector>

#include "KURA_Export.h"

struct sqlite3;

namespace KURA {
class KURA_DiagResultManager;
}

/// The databases, each one file with one table. The numbers index the tables of paths and names.
enum EDBName : int { EDB_INFERENCE = 0, EDB_SOLUTION, EDB_REMAINING, EDB_TEST };

/// One connection for the process. Not thread-safe: callers serialise OpenDB, the operations, CloseDB.
/// Nothing throws for a database failure: the result is false and the log tells why. Only memory that runs
/// out throws, std::bad_alloc.
class KURA_API TCDBManager {
public:
    /// Created on the first call, never destroyed.
    static TCDBManager* GetInstance();

    /// Opens the file of db and creates its table if missing. Always true, also after a failed open; the
    /// operations that follow then fail. A connection still open is abandoned, so close it first.
    bool OpenDB(EDBName db);
    bool CloseDB();

    /// Appends the value of column for every row to out: text as it is, integers in decimal, anything else as
    /// an empty text. True also when the table is missing; after a failure out keeps the rows read so far.
    bool GetDB(EDBName db, std::string column, std::vector<std::string>& out);

    /// Inserts one row. Values are quoted, not escaped: one that holds a double quote fails, and so does a
    /// list in which an earlier value equals the last one.
    bool SetDB(std::string table, std::list<std::string> values);

    /// Deletes the rows of one issue from the remaining table, whichever database is open. True if none
    /// matched.
    bool DeleteDB(std::string issueCode);

    /// Deletes every row; the table stays.
    bool FlushDB(EDBName db);

private:
    friend class KURA::KURA_DiagResultManager;

    TCDBManager();
    ~TCDBManager();

    bool m_SqlExecute(std::string query);
    bool m_Drop(std::string table);
    bool m_Insert(std::string table, std::string values);
    bool m_Create(std::string table);
    bool m_IsTableExist(std::string table);
    bool m_Select(std::string table, std::vector<std::string>& out);
    bool m_Select(std::string table, std::string columns, std::vector<std::string>& out);
    std::string m_GetQueryForCreateTable(std::string table);
    std::string m_GetTableName(EDBName db, int index);
    int m_GetLimitForTableCnt(EDBName db);
    std::string m_GetDBPath(EDBName db);

    // Around the rows of one save, or the reads of one load: all of them or none, without a log line. Where
    // it cannot begin, the statements fail or are taken back.
    void m_BeginTransaction();
    bool m_EndTransaction();
    void m_AbandonTransaction();
    bool m_IsDropped() const;
    void m_NoteFlush(bool done);
    int m_Execute(const char* statement);

    char m_tableNames[4][20] = {};
    sqlite3* m_handle = nullptr;
    bool m_inTransaction = false;
    bool m_transactionLost = false;
    bool m_flushFailed = false;
    std::string m_seenTable;  ///< by the transaction that is open

    static TCDBManager* m_pInstance;
};
