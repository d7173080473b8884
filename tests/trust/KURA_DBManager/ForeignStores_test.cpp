// Stores that somebody else made: other tables, constraints, triggers, views, generated columns, encodings,
// up to 1 MiB. Each operation on each of them ends within a second of processor time and 64 MiB of memory,
// and the rows that the table accepts are kept.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Database.h"
#include "Fakes.h"
#include "KURA_DiagResultManager.h"
#include "RemainingList.h"
#include "trust/Trust.h"

using remaining::Codes;

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kLargestFile = 1 << 20;
constexpr double kMostSeconds = 1.0;
constexpr std::size_t kMostMemory = 64 << 20;

const Codes kList = {"N1", "N2", "N3"};

struct Kind {
    const char* name;
    std::string schema;
    /// What is stored of N1, N2 and N3 after their save; nothing where that cannot be asked for.
    std::optional<Codes> kept;
};

std::string Repeat(const std::string& text, std::size_t times) {
    std::string all;
    for (std::size_t i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

/// The fourteen columns; one of them, or all, may be declared otherwise, and something may follow them.
std::string Table(const std::string& after = "", const std::string& issueCode = "issue_code TEXT",
                  const std::string& idx = "idx TEXT", const std::string& type = "TEXT",
                  const std::string& option = "") {
    std::string columns = idx + "," + issueCode;
    for (const char* name : {"is_fix", "last_time", "sol_type", "sid_issue", "sid_sol", "sid_button1",
                             "sid_button2", "action", "toast1", "toast2", "source", "view_authority"}) {
        columns += std::string(",") + name + " " + type;
    }
    return "CREATE TABLE remainingTBL(" + columns + after + ") " + option + ";";
}

/// So many rows, their first column being value.
std::string Rows(std::size_t count, const std::string& value) {
    return "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
           std::to_string(count) + ") INSERT INTO remainingTBL(issue_code, last_time) SELECT i, " + value +
           " FROM n;";
}

std::string Literal(std::size_t size) {
    return "'" + std::string(size, 'a') + "'";
}

/// So many columns of one expression.
std::string Columns(std::size_t count, const std::string& expression, const std::string& kind) {
    std::string columns;
    for (std::size_t i = 0; i < count; ++i) {
        columns += ", g" + std::to_string(i) + " AS (" + expression + ") " + kind;
    }
    return columns;
}

/// Each column is the one before ten times.
std::string Growing(std::size_t count, const std::string& kind) {
    std::string columns;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string before = i == 0 ? "source" : "g" + std::to_string(i - 1);
        columns += ", g" + std::to_string(i) + " AS (" + before + Repeat("||" + before, 9) + ") " + kind;
    }
    return columns;
}

/// Puts the table's text into the schema, for newer releases of SQLite read all columns of a table that they
/// make.
std::string WithoutReading(const std::string& table) {
    return Table() + "PRAGMA writable_schema=1; UPDATE sqlite_master SET sql = '" +
           table.substr(0, table.find(';')) + "' WHERE name = 'remainingTBL';";
}

const std::string kTrigger = "CREATE TRIGGER t AFTER INSERT ON remainingTBL BEGIN ";
const std::string kEndless = "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) ";

std::vector<Kind> HarmlessKinds() {
    const Codes none;
    return {
        {"the library's own", Table(), kList},
        {"UTF-16, little endian", "PRAGMA encoding='UTF-16le';" + Table(), kList},
        {"UTF-16, big endian", "PRAGMA encoding='UTF-16be';" + Table(), kList},
        {"write-ahead log", "PRAGMA journal_mode=WAL;" + Table(), kList},
        {"pages of 512 bytes", "PRAGMA page_size=512;" + Table(), kList},
        {"pages of 64 KiB", "PRAGMA page_size=65536;" + Table(), kList},
        {"vacuumed at each commit", "PRAGMA auto_vacuum=FULL;" + Table(), kList},
        {"strict", Table("", "issue_code TEXT", "idx TEXT", "TEXT", "STRICT"), kList},
        {"without rowid",
         Table(", PRIMARY KEY(issue_code)", "issue_code TEXT", "idx TEXT", "TEXT", "WITHOUT ROWID"), kList},
        {"columns without a type", Table("", "issue_code", "idx", ""), kList},
        {"numbers", Table("", "issue_code TEXT", "idx INTEGER", "INTEGER"), kList},
        {"a key that must be a number", Table("", "issue_code INTEGER PRIMARY KEY"), none},
        {"unique codes", Table(", UNIQUE(issue_code)"), kList},
        {"unique, the first stays", Table(", UNIQUE(idx)"), Codes{"N1"}},
        {"unique, the others are ignored", Table(", UNIQUE(idx) ON CONFLICT IGNORE"), Codes{"N1"}},
        {"unique, the last replaces", Table(", UNIQUE(idx) ON CONFLICT REPLACE"), Codes{"N3"}},
        {"unique, or roll back", Table(", UNIQUE(idx) ON CONFLICT ROLLBACK"), none},
        {"a check", Table(", CHECK(issue_code <> 'N2')"), Codes{"N1", "N3"}},
        {"a check of a length", Table(", CHECK(length(issue_code) < 10)"), kList},
        {"a check of a pattern", Table(", CHECK(issue_code LIKE 'N%' AND issue_code GLOB 'N[12]')"),
         Codes{"N1", "N2"}},
        {"not null", Table(", extra NOT NULL DEFAULT 'x'"), none},
        {"a foreign key", Table(", FOREIGN KEY(issue_code) REFERENCES absent(code)"), kList},
        {"another collation", Table("", "issue_code TEXT COLLATE NOCASE UNIQUE"), kList},
        {"an index of an expression", Table() + "CREATE UNIQUE INDEX i ON remainingTBL(lower(issue_code));",
         kList},
        {"a generated column", Table(", g AS (issue_code || idx)"), kList},
        {"a stored generated column", Table(", g AS (issue_code || idx) STORED UNIQUE"), kList},
        {"full text",
         "CREATE VIRTUAL TABLE remainingTBL USING fts5(idx, issue_code, is_fix, last_time, sol_type, "
         "sid_issue, sid_sol, sid_button1, "
         "sid_button2, action, toast1, toast2, source, view_authority);",
         kList},
        {"other letters", "CREATE TABLE REMAININGTBL(a);", std::nullopt},
        {"15,000 rows", Table() + Rows(15000, "'2026-01-31T23:59:59'"), kList},
        {"a text of 900,000 bytes", Table() + Rows(1, Literal(900000)), kList},
        {"1,000 other tables",
         [] {
             std::string all = Table();
             for (int i = 0; i < 1000; ++i) {
                 all += "CREATE TABLE t" + std::to_string(i) + "(a);";
             }
             return "PRAGMA page_size=512;" + all;
         }(),
         kList},
    };
}

std::vector<Kind> HostileKinds() {
    const Codes none;
    const std::string long1 = Literal(400000);
    return {
        {"a trigger without an end",
         "PRAGMA recursive_triggers=1;" + Table() + kTrigger +
             "INSERT INTO remainingTBL SELECT * FROM remainingTBL; END;",
         kList},
        {"a trigger that counts",
         Table() + kTrigger + "INSERT INTO remainingTBL(idx) SELECT * FROM (" + kEndless +
             "SELECT i FROM n); END;",
         std::nullopt},
        {"a trigger that refuses",
         Table() + "CREATE TRIGGER t BEFORE INSERT ON remainingTBL BEGIN SELECT "
                   "RAISE(ABORT, 'no'); END;",
         kList},
        {"a trigger at the deletion",
         Table() + Rows(1000, "1") +
             "CREATE TRIGGER t BEFORE DELETE ON remainingTBL BEGIN INSERT INTO "
             "remainingTBL SELECT * FROM remainingTBL; END;",
         kList},
        {"a view without an end",
         "CREATE VIEW remainingTBL AS " + kEndless + "SELECT i AS idx, i AS issue_code FROM n;",
         std::nullopt},
        {"a long text in each new row", Table(", g AS (hex(zeroblob(500000000))) STORED"), none},
        {"a hundred long texts in each new row", Table(Columns(100, "hex(zeroblob(8000000))", "STORED")),
         none},
        {"formatted", Table(Columns(100, "printf('%.*c', 16000000, 'x')", "STORED")), none},
        {"quoted", Table(Columns(100, "quote(zeroblob(8000000))", "STORED")), none},
        {"joined", Table(Growing(20, "STORED")), std::nullopt},
        {"joined, not stored", WithoutReading(Table(Growing(20, ""))), std::nullopt},
        {"a long literal joined in each row that is read",
         Table("", "issue_code TEXT", "base TEXT") + Rows(5000, "1") +
             "ALTER TABLE remainingTBL ADD COLUMN idx AS (issue_code" + Repeat("||" + Literal(14000), 30) +
             ");",
         kList},
        {"measured in each row that is read",
         Table("", "issue_code TEXT", "base TEXT") + Rows(5000, "1") +
             "ALTER TABLE remainingTBL ADD COLUMN longText AS (issue_code" +
             Repeat("||" + Literal(14000), 30) +
             ");ALTER TABLE remainingTBL ADD COLUMN idx AS (length(longText||longText||longText||longText));",
         kList},
        {"measured often in each new row",
         Table(", longText AS (source" + Repeat("||" + Literal(14000), 30) + "), CHECK(0" +
               Repeat("+length(longText||longText)", 4) + " >= 0)"),
         std::nullopt},
        {"searched in each new row",
         Table(", CHECK(instr(" + long1 + "||issue_code," + Literal(200000) + "||'b') = 0)"), none},
        {"searched by a pattern",
         Table(", CHECK(issue_code||" + long1 + " NOT LIKE '%" + Repeat("a%", 2000) + "b')"), none},
        {"a check in 90 levels",
         Table(", CHECK(" + Repeat("(", 90) + "issue_code" + Repeat("||'x')", 90) + " <> '')"), kList},
        {"a list of 100,000 values", Table(", CHECK(idx NOT IN (-1" + Repeat(",-1", 100000) + "))"), none},
        {"30 indexes",
         [] {
             std::string all = "PRAGMA page_size=512;" + Table();
             for (int i = 0; i < 30; ++i) {
                 all += "CREATE INDEX i" + std::to_string(i) + " ON remainingTBL(issue_code, idx);";
             }
             return all;
         }(),
         kList},
        {"1,900 columns",
         [] {
             std::string more;
             for (int i = 0; i < 1900; ++i) {
                 more += ", c" + std::to_string(i);
             }
             return Table(more) + Rows(100, "1");
         }(),
         none},
    };
}

void Make(const Kind& kind) {
    database::MakeFolders();
    sqlite3* handle = nullptr;
    ASSERT_EQ(sqlite3_open(database::kRemaining, &handle), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(handle, kind.schema.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(handle);
    ASSERT_EQ(sqlite3_close(handle), SQLITE_OK);
    EXPECT_LE(fs::file_size(database::kRemaining), kLargestFile);
}

/// The most that any operation took.
struct Cost {
    double seconds = 0;
    std::size_t memory = 0;
};

bool HasSanitizer() {
    return dlsym(RTLD_DEFAULT, "__asan_init") != nullptr || dlsym(RTLD_DEFAULT, "__tsan_init") != nullptr;
}

/// An SQLite that checks itself takes its time.
double MostSeconds() {
#if defined(KURA_MAY_BE_EMULATED)
    return 20 * kMostSeconds;
#else
    return sqlite3_compileoption_used("DEBUG") == 0 ? kMostSeconds : 20 * kMostSeconds;
#endif
}

double ProcessorSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// A line of /proc/self/status, in bytes.
std::size_t Status(const std::string& name) {
    std::ifstream file("/proc/self/status");
    std::string word;
    while (file >> word) {
        if (word == name + ":") {
            std::size_t kilobytes = 0;
            file >> kilobytes;
            return kilobytes * 1024;
        }
    }
    return 0;
}

/// A sanitizer's allocator keeps what is freed; SQLite's own count then stands for the memory.
void Measure(const std::function<void()>& operation, Cost& most) {
    std::ofstream("/proc/self/clear_refs") << 5;
    sqlite3_memory_highwater(1);
    const std::size_t before = Status("VmRSS");
    const double start = ProcessorSeconds();
    operation();
    const double seconds = ProcessorSeconds() - start;
    const std::size_t peak = Status("VmHWM");
    const std::size_t own = peak > before ? peak - before : 0;
    const auto sqlites = static_cast<std::size_t>(sqlite3_memory_highwater(0));
    most.seconds = std::max(most.seconds, seconds);
    most.memory = std::max(most.memory, HasSanitizer() ? sqlites : std::max(own, sqlites));
}

void Load() {
    try {
        remaining::Load();
    } catch (const std::out_of_range&) {
        // A column that could not be read is shorter than the first.
    }
}

void UseAll(const Kind& kind, Cost& most) {
    fakes::Set().keepRecords = false;
    Make(kind);
    Measure(Load, most);
    Measure([] { remaining::Save(kList); }, most);
    if (kind.kept.has_value()) {
        EXPECT_EQ(remaining::Stored(), *kind.kept);
    }
    Measure(Load, most);
    Measure([] { KURA::KURA_DiagResultManager::GetInstance()->DeleteRemainingDBColumn("N2"); }, most);
    Measure([] { KURA::KURA_DiagResultManager::GetInstance()->ClearRemainingProblems(); }, most);
    EXPECT_LE(most.seconds, MostSeconds());
    EXPECT_LE(most.memory, kMostMemory);
}

Cost* Share() {
    void* page = mmap(nullptr, sizeof(Cost), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return page == MAP_FAILED ? nullptr : new (page) Cost;
}

void UseEachInAProcess(const std::vector<Kind>& kinds, const char* mechanism) {
    trust::Watch();
    Cost worst;
    for (const Kind& kind : kinds) {
        SCOPED_TRACE(kind.name);
        Cost* most = Share();
        ASSERT_NE(most, nullptr);
        std::fflush(stdout);
        const bool failedBefore = testing::Test::HasFailure();
        const pid_t process = fork();
        if (process == 0) {
            UseAll(kind, *most);
            std::fflush(stdout);
            _exit(testing::Test::HasFailure() && !failedBefore ? 1 : 0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(process, &status, 0), process);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
        std::printf("%-45s %.3f s %6.1f MiB\n", kind.name, most->seconds,
                    static_cast<double>(most->memory) / (1 << 20));
        worst.seconds = std::max(worst.seconds, most->seconds);
        worst.memory = std::max(worst.memory, most->memory);
        munmap(most, sizeof *most);
        for (const char* file : {"", "-journal", "-wal", "-shm"}) {
            fs::remove(std::string(database::kRemaining) + file);
        }
    }
    std::printf("worst: %.3f s, %.1f MiB\n", worst.seconds, static_cast<double>(worst.memory) / (1 << 20));
    trust::Report("Stores that others made", mechanism, kinds.size());
}

}  // namespace

TEST(ForeignStores, KeepTheRowsThatTheirTableAccepts) {
    UseEachInAProcess(HarmlessKinds(), "other tables, constraints, encodings: load, save, deletion");
}

TEST(ForeignStores, CannotMakeAnOperationTakeLong) {
    UseEachInAProcess(HostileKinds(),
                      "triggers, views, generated columns, long checks: load, save, deletion");
}
