// A connection to a database file that anybody may have made. Its schema is not trusted, and every statement
// has a limit on how long it waits and computes and on how much it reads. A null handle is allowed: its
// statements fail in SQLite.
#pragma once

#include <sqlite3.h>

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>

#include "base/CancellationHeld.h"

namespace KURA::store {

/// Every operation of the manager holds one: threads take turns, and a cancelled thread finishes its
/// operation first.
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

/// Opens the file and returns SQLite's result. After a failure handle holds the reason; the caller closes it.
int Open(const std::string& path, sqlite3*& handle);

/// Null when SQLite refuses the query.
Statement Prepare(sqlite3* handle, const std::string& query);

/// Whether the file has a table of exactly that name. Also false when SQLite cannot tell.
bool HasTable(sqlite3* handle, const std::string& table);

/// Counts length more bytes of text as read. False beyond 16 MiB for one query, or for all queries of a
/// transaction.
bool MayRead(std::size_t length);

/// Runs a statement that contains texts and returns SQLite's result. No text can begin or end a transaction.
int Execute(sqlite3* handle, const std::string& statement);

/// Makes the next transaction durable. Call it before BEGIN, and before a statement outside of a transaction.
/// SQLite then syncs the folder after it has deleted the journal, which a power cut could otherwise bring
/// back. Fails while another process holds the file.
int PrepareTransaction(sqlite3* handle);
/// Runs a statement without texts, such as BEGIN or COMMIT.
int Run(sqlite3* handle, const char* statement);
void RollBack(sqlite3* handle);
bool IsInTransaction(sqlite3* handle);

}  // namespace KURA::store
