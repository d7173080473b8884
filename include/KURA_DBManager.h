// The library's only gateway to its SQLite databases.
#pragma once

#include <list>
#include <string>
#include <vector>

#include "KURA_Export.h"

struct sqlite3;

/// The databases, each one file with one table. The numbers index the tables of paths and names.
enum EDBName : int { EDB_INFERENCE = 0, EDB_SOLUTION, EDB_REMAINING, EDB_TEST };

/// One connection for the process. Each operation is thread-safe by itself; users who share the connection
/// serialise their OpenDB, operations and CloseDB, or each meets what the others did to it.
/// Nothing throws for a database failure: the result is false and the log tells why. Only memory that runs
/// out throws, std::bad_alloc.
class KURA_API TCDBManager {
public:
    /// Created on the first call, never destroyed. Thread-safe.
    static TCDBManager* GetInstance();
    TCDBManager(const TCDBManager&) = delete;
    TCDBManager& operator=(const TCDBManager&) = delete;

    /// Opens the file of db and creates its table if missing. Always true, also after a failed open; the
    /// operations that follow then fail. A connection still open is abandoned, so close it first.
    bool OpenDB(EDBName db);
    /// Closes the connection; false when none is open.
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

    /// One save or one load as a whole, for the library alone: it does not export this. What it promises
    /// stands in src/KURA_DBManager/Transaction.cpp.
    class Transaction {
    public:
        /// A save writes, a load only reads.
        enum class Kind { kSave, kLoad };
        /// Begins on the connection that is open; the manager outlives it.
        Transaction(TCDBManager& manager, Kind kind);
        /// Takes back what was not committed.
        ~Transaction();
        Transaction(const Transaction&) = delete;
        Transaction& operator=(const Transaction&) = delete;

        /// After an operation that failed: whether its own text or row was refused, not the store.
        bool IsOwnFault() const;
        /// Keeps what was written; a failure is logged.
        void Commit();

    private:
        TCDBManager& m_manager;
        bool m_isDurable = false;
    };

private:
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

    char m_tableNames[4][20] = {};
    sqlite3* m_handle = nullptr;

    static TCDBManager* m_pInstance;
};
