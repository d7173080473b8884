// A connection to a file that may come from anywhere: what it brings along is not trusted, and no statement
// on it waits, computes or reads without a bound. A null handle fails in SQLite, as it does in sqlite3_exec.
#pragma once

#include <sqlite3.h>

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>

#include "base/CancellationHeld.h"

namespace KURA::store {

/// Held by every operation: threads take turns, and one that is cancelled finishes its operation first.
class Operation {
public:
    Operation();

private:
    base::CancellationHeld m_cancellation;
    std::unique_lock<std::mutex> m_lock;
};

struct StatementFinalizer {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, StatementFinalizer>;

/// SQLite's result. The handle of a failed open has the reason, and is to be closed.
int Open(const std::string& path, sqlite3*& handle);

/// Null when the query is wrong.
Statement Prepare(sqlite3* handle, const std::string& query);

/// Whether so much text more may be read: by this query, or by all of a transaction.
bool MayRead(std::size_t length);

/// SQLite's result of a statement made of texts, none of which can begin or end a transaction.
int Execute(sqlite3* handle, const std::string& statement);

/// Before BEGIN and before a statement outside of a transaction. Its end is then durable: the folder is
/// synced once the journal is gone, which a cut of power could bring back. Fails while another process holds
/// the file.
int PrepareTransaction(sqlite3* handle);
/// A statement without texts, BEGIN or COMMIT.
int Run(sqlite3* handle, const char* statement);
void RollBack(sqlite3* handle);
bool IsInTransaction(sqlite3* handle);
/// Whether a transaction is open and has read, so that nobody changes the tables.
bool HasRead(sqlite3* handle);

}  // namespace KURA::store
