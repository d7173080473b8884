#include "EngineStore.h"

#include <cstdio>
#include <ctime>
#include <memory>
#include <string>
#include <system_error>

#include <sqlite3.h>

#include "FileAccess.h"

namespace kuraset {

namespace fs = std::filesystem;

namespace {

// Kept: sets in the field have the type "INTEFER"; SQLite accepts any word as a type.
constexpr const char* kCreateInference =
    "CREATE TABLE IF NOT EXISTS inferenceTBL(registerTime TEXT, lastUpdatedTime TEXT, issueCode TEXT, TR "
    "INTEGER, "
    "solutionCode INTEGER);";
constexpr const char* kCreateSolution =
    "CREATE TABLE IF NOT EXISTS solutionTBL(registerTime TEXT, issueCode TEXT, solutionCode TEXT, type TEXT, "
    "isApply INTEFER);";

enum class Access { Read, Write };

class Database {
public:
    Database(const fs::path& path, Access access, const char* createTable) : m_path(path) {
        const int flags =
            access == Access::Read ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
        sqlite3* opened = nullptr;
        const int result = sqlite3_open_v2(path.c_str(), &opened, flags, nullptr);
        m_handle.reset(opened);
        Require(result == SQLITE_OK);
        sqlite3_busy_timeout(m_handle.get(), 5000);
        if (access == Access::Write) {
            if (WithoutSync::IsActive()) {
                Run("PRAGMA synchronous=OFF");
            }
            Run(createTable);
        }
    }

    void Run(const char* sql) const {
        Require(sqlite3_exec(Handle(), sql, nullptr, nullptr, nullptr) == SQLITE_OK);
    }

    void Require(bool success) const {
        if (success) {
            return;
        }
        const int code = m_handle ? sqlite3_errcode(m_handle.get()) : SQLITE_NOMEM;
        const bool damaged = code == SQLITE_CORRUPT || code == SQLITE_NOTADB || code == SQLITE_ERROR;
        throw SetError(
            damaged ? SetError::Kind::Damaged : SetError::Kind::Io,
            m_path.string() + ": " + (m_handle ? sqlite3_errmsg(m_handle.get()) : "out of memory"));
    }

    sqlite3* Handle() const { return m_handle.get(); }

private:
    struct Closer {
        void operator()(sqlite3* handle) const { sqlite3_close(handle); }
    };

    fs::path m_path;
    std::unique_ptr<sqlite3, Closer> m_handle;
};

class Statement {
public:
    Statement(const Database& database, const std::string& sql) : m_database(database) {
        sqlite3_stmt* prepared = nullptr;
        database.Require(sqlite3_prepare_v2(database.Handle(), sql.c_str(), -1, &prepared, nullptr) ==
                         SQLITE_OK);
        m_statement.reset(prepared);
    }

    Statement& Bind(const std::string& text) {
        m_database.Require(sqlite3_bind_text(m_statement.get(), ++m_bound, text.c_str(),
                                             static_cast<int>(text.size()), SQLITE_TRANSIENT) == SQLITE_OK);
        return *this;
    }

    Statement& Bind(int number) {
        m_database.Require(sqlite3_bind_int(m_statement.get(), ++m_bound, number) == SQLITE_OK);
        return *this;
    }

    /// Steps to the next row; false when there is none.
    bool Step() {
        const int result = sqlite3_step(m_statement.get());
        m_database.Require(result == SQLITE_ROW || result == SQLITE_DONE);
        return result == SQLITE_ROW;
    }

    int Number(int column) const { return sqlite3_column_int(m_statement.get(), column); }

    std::string Text(int column) const {
        const unsigned char* text = sqlite3_column_text(m_statement.get(), column);
        return text == nullptr ? std::string() : reinterpret_cast<const char*>(text);
    }

private:
    struct Finalizer {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };

    const Database& m_database;
    std::unique_ptr<sqlite3_stmt, Finalizer> m_statement;
    int m_bound = 0;
};

fs::path InferencePath(const fs::path& folder) {
    return folder / "inference.db";
}
fs::path SolutionPath(const fs::path& folder) {
    return folder / "solution.db";
}

bool Exists(const fs::path& path) {
    std::error_code error;
    return fs::exists(path, error);
}

void MakeFolder(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) {
        throw SetError(SetError::Kind::Io, folder.string() + ": cannot create: " + error.message());
    }
}

}  // namespace

std::string EngineTimeNow() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char text[80];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d", local.tm_year + 1900, local.tm_mon + 1,
                  local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
    return text;
}

EngineStore::EngineStore(const fs::path& home) : m_folder(home / "owner" / "share" / "Watchman" / "DB") {}

void EngineStore::CreateTables() const {
    MakeFolder(m_folder);
    Database(InferencePath(m_folder), Access::Write, kCreateInference);
    Database(SolutionPath(m_folder), Access::Write, kCreateSolution);
}

void EngineStore::Append(const InferenceRecord& record) const {
    MakeFolder(m_folder);
    const Database database(InferencePath(m_folder), Access::Write, kCreateInference);
    Statement(database, "INSERT INTO inferenceTBL VALUES (?,?,?,?,?)")
        .Bind(record.registerTime)
        .Bind(record.lastUpdateTime)
        .Bind(std::to_string(record.issueCode))
        .Bind(record.present ? 1 : 0)
        .Bind(record.solutionCode)
        .Step();
}

void EngineStore::Append(const SolutionRecord& record) const {
    MakeFolder(m_folder);
    const Database database(SolutionPath(m_folder), Access::Write, kCreateSolution);
    Statement(database, "INSERT INTO solutionTBL VALUES (?,?,?,?,?)")
        .Bind(record.registerTime)
        .Bind(std::to_string(record.issueCode))
        .Bind(std::to_string(record.solutionCode))
        .Bind(std::to_string(record.type))
        .Bind(record.applied ? 1 : 0)
        .Step();
}

std::vector<InferenceRecord> EngineStore::Inferences(std::optional<int> issueCode,
                                                     std::optional<bool> present) const {
    std::vector<InferenceRecord> records;
    if (!Exists(InferencePath(m_folder))) {
        return records;
    }
    const Database database(InferencePath(m_folder), Access::Read, kCreateInference);
    std::string sql =
        "SELECT issueCode, TR, solutionCode, registerTime, lastUpdatedTime FROM inferenceTBL WHERE 1";
    sql += issueCode ? " AND issueCode = ?" : "";
    sql += present ? " AND TR = ?" : "";
    Statement query(database, sql + " ORDER BY lastUpdatedTime DESC, rowid DESC");
    if (issueCode) {
        query.Bind(std::to_string(*issueCode));
    }
    if (present) {
        query.Bind(*present ? 1 : 0);
    }
    while (query.Step()) {
        records.push_back(
            {query.Number(0), query.Number(1) != 0, query.Number(2), query.Text(3), query.Text(4)});
    }
    return records;
}

std::vector<SolutionRecord> EngineStore::Solutions(std::optional<int> issueCode) const {
    std::vector<SolutionRecord> records;
    if (!Exists(SolutionPath(m_folder))) {
        return records;
    }
    const Database database(SolutionPath(m_folder), Access::Read, kCreateSolution);
    std::string sql = "SELECT issueCode, solutionCode, type, isApply, registerTime FROM solutionTBL";
    sql += issueCode ? " WHERE issueCode = ?" : "";
    Statement query(database, sql + " ORDER BY registerTime DESC, rowid DESC");
    if (issueCode) {
        query.Bind(std::to_string(*issueCode));
    }
    while (query.Step()) {
        records.push_back(
            {query.Number(0), query.Number(1), query.Number(2), query.Number(3) != 0, query.Text(4)});
    }
    return records;
}

void EngineStore::Forget() const {
    MakeFolder(m_folder);
    Database(InferencePath(m_folder), Access::Write, kCreateInference).Run("DELETE FROM inferenceTBL");
    Database(SolutionPath(m_folder), Access::Write, kCreateSolution).Run("DELETE FROM solutionTBL");
}

void SetDirectory::ReportInference(int issueCode, bool present, int solutionCode,
                                   const std::string& registerTime, const std::string& lastUpdateTime) const {
    const std::string registered = registerTime.empty() ? TimeNow() : registerTime;
    EngineStore(FilesHome())
        .Append(InferenceRecord{issueCode, present, solutionCode, registered,
                                lastUpdateTime.empty() ? registered : lastUpdateTime});
}

void SetDirectory::ReportSolution(int issueCode, int solutionCode, int type, bool applied,
                                  const std::string& registerTime) const {
    EngineStore(FilesHome())
        .Append(SolutionRecord{issueCode, solutionCode, type, applied,
                               registerTime.empty() ? TimeNow() : registerTime});
}

std::vector<InferenceRecord> SetDirectory::ListInferences() const {
    return EngineStore(FilesHome()).Inferences();
}

std::vector<SolutionRecord> SetDirectory::ListSolutions() const {
    return EngineStore(FilesHome()).Solutions();
}

void SetDirectory::ForgetRecords() const {
    EngineStore(FilesHome()).Forget();
}

}  // namespace kuraset
