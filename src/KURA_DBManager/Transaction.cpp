// Runs one save or one load as a whole. Its rules:
//
// 1. While it lives, the manager's statements run in one transaction and log as they always do.
// 2. Without Commit nothing is stored: the destructor rolls back.
// 3. SQLite rolls back by itself after some errors, of the disk for example. A statement that runs after that
//    would be stored alone; the commit hook refuses it.
// 4. No text of a statement begins or ends a transaction (Execute).
// 5. A row that is refused for its own text or by a constraint is left out, and the others stay. After any
//    other failure, or when the old list could not be cleared, the owner does not commit: a part of a list,
//    or two lists, would be worse than none.
// 6. A commit that fails is logged, and nothing is stored.
// 7. When another thread opens or closes a database in between, nothing is stored.
#include "KURA_DBManager.h"
#include "KURA_DBManager/Connection.h"
#include "base/Log.h"

namespace store = KURA::store;

namespace {

int Refuse(void*) {
    return 1;
}

void SetCommitHook(sqlite3* handle, int (*hook)(void*)) {
    if (handle != nullptr) {
        sqlite3_commit_hook(handle, hook, nullptr);
    }
}

}  // namespace

TCDBManager::Transaction::Transaction(TCDBManager& manager, Kind kind) : m_manager(manager) {
    const store::Operation operation;
    sqlite3* handle = m_manager.m_handle;
    m_isDurable = kind == Kind::kSave && store::PrepareTransaction(handle) == SQLITE_OK;
    // BEGIN alone takes no lock. The first read does, and from then on a load sees one state of the file.
    store::Run(handle, "BEGIN");
    SetCommitHook(handle, Refuse);
}

TCDBManager::Transaction::~Transaction() {
    const store::Operation operation;
    SetCommitHook(m_manager.m_handle, nullptr);
    store::RollBack(m_manager.m_handle);
}

bool TCDBManager::Transaction::IsOwnFault() const {
    const store::Operation operation;
    constexpr int kPrimaryCode = 0xff;
    switch (sqlite3_errcode(m_manager.m_handle) & kPrimaryCode) {
        case SQLITE_ERROR:
        case SQLITE_TOOBIG:
        case SQLITE_CONSTRAINT:
        case SQLITE_MISMATCH:
        case SQLITE_AUTH:
            return true;
        default:
            return false;
    }
}

void TCDBManager::Transaction::Commit() {
    const store::Operation operation;
    sqlite3* handle = m_manager.m_handle;
    SetCommitHook(handle, nullptr);
    if (m_isDurable && store::IsInTransaction(handle) && store::Run(handle, "COMMIT") != SQLITE_OK) {
        KURA_LOG_AS("m_SqlExecute", DLOG_ERROR, "ERROR: sql execute is fail!! ( %s )",
                    sqlite3_errmsg(handle));
    }
}
