// The library's only gateway to its SQLite databases.
#pragma once

#include <list>
#include <string>
#include <vector>

#include "KURA_Export.h"

struct sqlite3;

/// The databases, each one file with one table. The numbers index the tables of paths and names.
enum EDBName : int { EDB_INFERENCE = 0, EDB_SOLUTION, EDB_REMAINING, EDB_TEST };

/// One connection for the process. Each operation is thread-safe by itself. Threads that share the connection
/// serialise their sequences of OpenDB, operations and CloseDB; otherwise one sees what the others did to it.
/// A database failure throws nothing: the result is false and the log tells why. Only std::bad_alloc is
/// thrown, when memory runs out.
class KURA_API TCDBManager {
public:
    /// Created on the first call, never destroyed. Thread-safe.
    static TCDBManager* GetInstance();
    TCDBManager(const TCDBManager&) = delete;
    TCDBManager& operator=(const TCDBManager&) = delete;

    /// Opens the file of db and creates its table if missing. Returns true even when the open failed; the
    /// operations that follow then fail. A connection that is still open leaks, so close it first.
    bool OpenDB(EDBName db);
    /// Closes the connection. True also when none is open; false when SQLite could not close it.
    bool CloseDB();

    /// Appends the value of column for every row to out: text as it is, integers in decimal, anything else as
    /// an empty text. True also when the table is missing; after a failure out keeps the rows read so far.
    bool GetDB(EDBName db, std::string column, std::vector<std::string>& out);

    /// Inserts one row. Values are quoted, not escaped: a double quote inside a value ends its text early, so
    /// that SQLite mostly refuses the statement. SQLite also refuses a list in which an earlier value equals
    /// the last one, because that value closes the list.
    bool SetDB(std::string table, std::list<std::string> values);

    /// Deletes the rows of one issue from the remaining table of the database that is open. Also true when no
    /// row matched. The code is quoted, not escaped: an apostrophe in it mostly makes the statement fail.
    bool DeleteDB(std::string issueCode);

    /// Deletes every row; the table stays.
    bool FlushDB(EDBName db);

    /// Runs one save or one load in one transaction. The library does not export it; hosts cannot use it. Its
    /// rules stand in src/KURA_DBManager/Transaction.cpp.
    class Transaction {
    public:
        /// A save writes, a load only reads.
        enum class Kind { kSave, kLoad };
        /// Begins a transaction on the open connection. The manager outlives it.
        Transaction(TCDBManager& manager, Kind kind);
        /// Rolls back what was not committed.
        ~Transaction();
        Transaction(const Transaction&) = delete;
        Transaction& operator=(const Transaction&) = delete;

        /// Call it after an operation that failed. True when SQLite refused the text or the row of that
        /// operation; false when the store itself failed.
        bool IsOwnFault() const;
        /// Commits what was written; a failure is logged.
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
