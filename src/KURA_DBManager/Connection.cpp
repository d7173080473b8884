#include "KURA_DBManager/Connection.h"

#include <chrono>
#include <ctime>
#include <thread>
#include <type_traits>

namespace KURA::store {

namespace {

using Clock = std::chrono::steady_clock;

constexpr Clock::duration kLongestWait = std::chrono::seconds(1);
constexpr long long kMostProcessorTime = 500000000;  // nanoseconds
constexpr int kStepsBetweenLooks = 100;
constexpr int kMostText = 16 << 20;

// A completion may come while the process ends, so the mutex is never destroyed. It also guards the three
// variables below.
std::mutex g_mutex;
static_assert(std::is_trivially_destructible_v<std::mutex>);
Clock::duration g_waited{};  ///< how long this transaction has waited for readers
std::size_t g_read = 0;      ///< bytes of text that this transaction has read
long long g_deadline = 1;    ///< of the statement, in processor time; 0 stops all until the next open

/// The table that this transaction has found, or an empty text. Never destroyed, like the mutex.
std::string& FoundTable() {
    static std::string& table = *new std::string;
    return table;
}

long long ProcessorTime() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return time.tv_sec * 1000000000LL + time.tv_nsec;
}

/// Sets the deadline of the next statement; outside of a transaction it also starts the other counts anew.
void Allow(sqlite3* handle) {
    if (!IsInTransaction(handle)) {
        g_waited = {};
        g_read = 0;
        FoundTable().clear();
    }
    g_deadline = g_deadline == 0 ? 0 : ProcessorTime() + kMostProcessorTime;
}

int IsTooSlow(void*) {
    g_deadline = ProcessorTime() < g_deadline ? g_deadline : 0;
    return g_deadline == 0 ? 1 : 0;
}

/// The busy handler. Only a commit waits, for processes that still read; SQLite admits no new readers
/// meanwhile.
int WaitForReaders(void* handle, int) {
    const bool commits = sqlite3_txn_state(static_cast<sqlite3*>(handle), nullptr) == SQLITE_TXN_WRITE;
    if (!commits || g_waited >= kLongestWait) {
        return 0;
    }
    const Clock::time_point before = Clock::now();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    g_waited += Clock::now() - before;
    return 1;
}

int RefuseTransactions(void*, int action, const char*, const char*, const char*, const char*) {
    // ATTACH is refused as well: with it a text could write to any file.
    return action == SQLITE_TRANSACTION || action == SQLITE_SAVEPOINT || action == SQLITE_ATTACH ? SQLITE_DENY
                                                                                                 : SQLITE_OK;
}

void RefuseFunction(sqlite3_context* context, int, sqlite3_value**) {
    sqlite3_result_error(context, "not available", -1);
}

void Distrust(sqlite3* handle) {
    for (const int feature :
         {SQLITE_DBCONFIG_ENABLE_TRIGGER, SQLITE_DBCONFIG_ENABLE_VIEW, SQLITE_DBCONFIG_TRUSTED_SCHEMA}) {
        sqlite3_db_config(handle, feature, 0, nullptr);
    }
    sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_limit(handle, SQLITE_LIMIT_LENGTH, kMostText);
    sqlite3_limit(handle, SQLITE_LIMIT_SQL_LENGTH, kMostText);
    sqlite3_limit(handle, SQLITE_LIMIT_LIKE_PATTERN_LENGTH, 1000);
    sqlite3_limit(handle, SQLITE_LIMIT_VDBE_OP, 1000);
    // SQLite cannot interrupt a function. These make a long text of a short one, or take quadratic time.
    for (const char* name : {"format", "hex", "instr", "ltrim", "printf", "quote", "randomblob", "replace",
                             "rtrim", "trim", "zeroblob"}) {
        sqlite3_create_function(handle, name, -1, SQLITE_UTF8, nullptr, RefuseFunction, nullptr, nullptr);
    }
}

}  // namespace

Operation::Operation() : m_lock(g_mutex) {}

int Open(const std::string& path, sqlite3*& handle) {
    const int result = sqlite3_open_v2(
        path.c_str(), &handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    if (result == SQLITE_OK) {
        Distrust(handle);
        sqlite3_busy_handler(handle, WaitForReaders, handle);
        sqlite3_progress_handler(handle, kStepsBetweenLooks, IsTooSlow, nullptr);
        g_deadline = 1;
    }
    return result;
}

Statement Prepare(sqlite3* handle, const std::string& query) {
    Allow(handle);
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare(handle, query.c_str(), static_cast<int>(query.size()), &statement, nullptr);
    return Statement(statement);
}

bool MayRead(std::size_t length) {
    g_read += length;
    return g_read <= kMostText;
}

bool HasTable(sqlite3* handle, const std::string& table) {
    // A transaction that has read sees the same tables until its end.
    if (IsInTransaction(handle) && !table.empty() && table == FoundTable()) {
        return true;
    }
    const Statement statement =
        Prepare(handle, "SELECT name FROM sqlite_master WHERE type='table' AND name='" + table + "';");
    const bool exists = sqlite3_step(statement.get()) == SQLITE_ROW;
    FoundTable() = exists ? table : "";
    return exists;
}

int Execute(sqlite3* handle, const std::string& statement) {
    FoundTable().clear();
    if (!IsInTransaction(handle) && PrepareTransaction(handle) != SQLITE_OK) {
        // A statement that is wrong tells its own error, whatever the state of the file.
        const bool isWrong = Prepare(handle, statement) == nullptr;
        if (isWrong || PrepareTransaction(handle) != SQLITE_OK) {
            return sqlite3_errcode(handle);
        }
    }
    sqlite3_set_authorizer(handle, RefuseTransactions, nullptr);
    const int result = Run(handle, statement.c_str());
    sqlite3_set_authorizer(handle, nullptr, nullptr);
    return result;
}

int PrepareTransaction(sqlite3* handle) {
    return Run(handle, "PRAGMA synchronous=EXTRA");
}

int Run(sqlite3* handle, const char* statement) {
    Allow(handle);
    return sqlite3_exec(handle, statement, nullptr, nullptr, nullptr);
}

void RollBack(sqlite3* handle) {
    if (IsInTransaction(handle)) {
        Run(handle, "ROLLBACK");
    }
}

bool IsInTransaction(sqlite3* handle) {
    return handle != nullptr && sqlite3_get_autocommit(handle) == 0;
}

}  // namespace KURA::store
