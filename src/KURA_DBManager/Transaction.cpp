// One save is one transaction, so that a power cut or a full disk leaves the table as it was before the rows,
// or with all of them. A row that SQLite refuses for its own text is only left out, as it would be without a
// transaction; any other failure takes the whole save back, and so does a table that could not be cleared
// before: the new list must not join the old one. The statements in between run and log as they always do.
#include <sqlite3.h>

#include "KURA_DBManager.h"
#include "base/Log.h"

namespace {

constexpr int kPrimaryCode = 0xff;

int Run(sqlite3* handle, const char* statement) {
    return sqlite3_exec(handle, statement, nullptr, nullptr, nullptr);
}

/// Whether only the statement is to blame, not the disk, the lock or the file.
bool IsStatementsOwn(int result) {
    return result == SQLITE_ERROR || result == SQLITE_TOOBIG;
}

}  // namespace

void TCDBManager::m_BeginTransaction() {
    const bool begun = Run(m_handle, "BEGIN") == SQLITE_OK;
    m_inTransaction = m_handle != nullptr;
    m_transactionLost = m_flushFailed || !begun;
    m_seenTable.clear();
}

void TCDBManager::m_NoteFlush(bool done) {
    m_flushFailed = !done && !IsStatementsOwn(sqlite3_errcode(m_handle) & kPrimaryCode);
}

int TCDBManager::m_Execute(const char* statement) {
    if (!m_inTransaction) {
        return Run(m_handle, statement);
    }
    if (m_IsDropped()) {
        // SQLite takes some failures back by itself, and with them the transaction; what follows must not
        // stay alone.
        m_transactionLost = true;
        const int begun = Run(m_handle, "BEGIN");
        if (begun != SQLITE_OK) {
            return begun;
        }
    }
    const int result = Run(m_handle, statement);
    if (result != SQLITE_OK && !IsStatementsOwn(result)) {
        m_transactionLost = true;
    }
    return result;
}

bool TCDBManager::m_EndTransaction() {
    if (!m_inTransaction) {
        return true;
    }
    if (!m_transactionLost && !m_IsDropped()) {
        if (Run(m_handle, "COMMIT") == SQLITE_OK) {
            m_inTransaction = false;
            return true;
        }
        KURA_LOG_AS("m_SqlExecute", DLOG_ERROR, "ERROR: sql execute is fail!! ( %s )",
                    sqlite3_errmsg(m_handle));
    }
    m_AbandonTransaction();
    return false;
}

void TCDBManager::m_AbandonTransaction() {
    if (m_inTransaction && !m_IsDropped()) {
        Run(m_handle, "ROLLBACK");
    }
    m_inTransaction = false;
}

bool TCDBManager::m_IsDropped() const {
    return sqlite3_get_autocommit(m_handle) != 0;
}
