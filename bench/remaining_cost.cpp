// remaining_cost WHAT ROWS: what keeping so many remaining problems costs.
//   syncs         how often each work waits for the disk, in fsync and fdatasync: "save", "single" for the
//   same
//                 rows inserted one by one, "hit" for a deletion that finds its row, "miss" for one that does
//                 not
//   save, load    through the library, for counting
//   save-by-hand  the same statements given to SQLite by hand, each with its own text
//   save-at-once  one transaction, one statement for all rows
//   load-by-hand  a SELECT for each column in one transaction, and the rows made of the columns
// The database's path is compiled in, so give the process a private /opt; bench/run does.
#include <dlfcn.h>
#include <sqlite3.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <system_error>
#include <vector>

#include "Cost.h"
#include "KURA_DBManager.h"
#include "KURA_DiagResultManager.h"
#include "KURA_MapToDBTable.h"
#include "StoredColumns.h"

namespace {

using KURA::KURA_DiagResultManager;
using KURA::MapToDBTable;
using Table = std::vector<MapToDBTable>;

constexpr const char* kFolder = "/opt/usr/home/owner/share";
constexpr const char* kTable = "remainingTBL";

std::size_t g_syncs = 0;

int Sync(const char* name, int fd) {
    ++g_syncs;
    return reinterpret_cast<int (*)(int)>(dlsym(RTLD_NEXT, name))(fd);
}

// The list that a save stores belongs to the result manager; an explicit instantiation may name the member.
Table& TableOf(KURA_DiagResultManager& manager);

template <Table KURA_DiagResultManager::*kMember>
struct TableAccess {
    friend Table& TableOf(KURA_DiagResultManager& manager) { return manager.*kMember; }
};

template struct TableAccess<&KURA_DiagResultManager::m_table>;

KURA_DiagResultManager& Manager() {
    return *KURA_DiagResultManager::GetInstance();
}

Table Rows(std::size_t count) {
    Table rows;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string number = std::to_string(100000 + i);
        MapToDBTable row;
        row.index = 1;
        row.issue_code = number;
        row.last_time = "2026-01-31T12:00:00";
        row.sol_type = "AUTO";
        row.sid_issue = "SID_KURA_ISSUE_" + number + "_TITLE";
        row.sid_sol = "SID_KURA_SOLUTION_" + number + "_TEXT";
        row.action = "VCONFSET_INT";
        row.toast1 = "SID_KURA_TOAST_" + number;
        row.view_authority = "USER";
        rows.push_back(row);
    }
    return rows;
}

// --- By hand ---

/// The remaining database without the library, open as long as this lives.
class Hand {
public:
    Hand() { sqlite3_open((std::string(kFolder) + "/remaining.db").c_str(), &m_handle); }
    ~Hand() { sqlite3_close(m_handle); }
    Hand(const Hand&) = delete;
    Hand& operator=(const Hand&) = delete;

    void Execute(const std::string& statement) {
        sqlite3_exec(m_handle, statement.c_str(), nullptr, nullptr, nullptr);
    }

    void Read(const std::string& column, std::vector<std::string>& out) {
        sqlite3_stmt* statement = Prepared("SELECT " + column + " FROM " + kTable);
        while (sqlite3_step(statement) == SQLITE_ROW) {
            out.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)));
        }
        sqlite3_finalize(statement);
    }

    void InsertAll(const Table& rows) {
        sqlite3_stmt* statement =
            Prepared(std::string("INSERT INTO ") + kTable + " VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?)");
        for (const MapToDBTable& row : rows) {
            int place = 0;
            for (const std::string& value : fakes::StoredColumns(row)) {
                sqlite3_bind_text(statement, ++place, value.c_str(), static_cast<int>(value.size()),
                                  SQLITE_TRANSIENT);
            }
            sqlite3_step(statement);
            sqlite3_reset(statement);
        }
        sqlite3_finalize(statement);
    }

private:
    sqlite3_stmt* Prepared(const std::string& text) {
        sqlite3_stmt* statement = nullptr;
        sqlite3_prepare_v2(m_handle, text.c_str(), -1, &statement, nullptr);
        return statement;
    }

    sqlite3* m_handle = nullptr;
};

void SaveByHand(const Table& rows) {
    Hand().Execute(std::string("DELETE FROM ") + kTable);
    Hand hand;
    hand.Execute("BEGIN");
    for (const MapToDBTable& row : rows) {
        std::string values;
        for (const std::string& value : fakes::StoredColumns(row)) {
            values += (values.empty() ? "\"" : ",\"") + value + "\"";
        }
        hand.Execute(std::string("INSERT INTO ") + kTable + " VALUES (" + values + ");");
    }
    hand.Execute("COMMIT");
}

void SaveAtOnce(const Table& rows) {
    Hand hand;
    hand.Execute("BEGIN");
    hand.Execute(std::string("DELETE FROM ") + kTable);
    hand.InsertAll(rows);
    hand.Execute("COMMIT");
}

Table LoadByHand() {
    constexpr std::array<const char*, 14> kNames = {
        "idx",         "issue_code",  "is_fix", "last_time", "sol_type", "sid_issue", "sid_sol",
        "sid_button1", "sid_button2", "action", "toast1",    "toast2",   "source",    "view_authority"};
    std::array<std::vector<std::string>, kNames.size()> columns;
    {
        Hand hand;
        hand.Execute("BEGIN");
        for (std::size_t i = 0; i < kNames.size(); ++i) {
            hand.Read(kNames[i], columns[i]);
        }
        hand.Execute("COMMIT");
    }
    Table rows;
    for (std::size_t k = 0; k < columns[0].size(); ++k) {
        MapToDBTable row;
        row.index = std::atoi(columns[0][k].c_str());
        row.issue_code = columns[1][k];
        row.is_fix = std::atoi(columns[2][k].c_str());
        row.last_time = columns[3][k];
        row.sol_type = columns[4][k];
        row.sid_issue = columns[5][k];
        row.sid_sol = columns[6][k];
        row.sid_button1 = columns[7][k];
        row.sid_button2 = columns[8][k];
        row.action = columns[9][k];
        row.toast1 = columns[10][k];
        row.toast2 = columns[11][k];
        row.source = columns[12][k];
        row.view_authority = columns[13][k];
        rows.push_back(row);
    }
    return rows;
}

// --- What is measured ---

bool IsStored(const Table& rows) {
    const Table stored = LoadByHand();
    bool equal = stored.size() == rows.size();
    for (std::size_t i = 0; equal && i < rows.size(); ++i) {
        equal = fakes::StoredColumns(stored[i]) == fakes::StoredColumns(rows[i]);
    }
    return equal;
}

std::size_t SyncsOf(const std::function<void()>& work) {
    const std::size_t before = g_syncs;
    work();
    return g_syncs - before;
}

/// Clears the table and fills it row by row, as other users of the manager do.
void SaveRowByRow(const Table& rows) {
    TCDBManager& manager = *TCDBManager::GetInstance();
    manager.OpenDB(EDB_REMAINING);
    manager.FlushDB(EDB_REMAINING);
    for (const MapToDBTable& row : rows) {
        const auto values = fakes::StoredColumns(row);
        manager.SetDB(kTable, {values.begin(), values.end()});
    }
    manager.CloseDB();
}

bool CountSyncs(const Table& rows) {
    std::printf("single syncs %zu\n", SyncsOf([&] { SaveRowByRow(rows); }));
    const std::size_t save = SyncsOf([] { Manager().SaveRemainingProblems(); });
    if (!IsStored(rows)) {
        return false;
    }
    std::printf("save syncs %zu\n", save);
    std::printf("miss syncs %zu\n", SyncsOf([] { Manager().DeleteRemainingDBColumn("1"); }));
    std::printf("hit syncs %zu\n",
                SyncsOf([&] { Manager().DeleteRemainingDBColumn(rows.back().issue_code); }));
    return IsStored(Table(rows.begin(), rows.end() - 1));
}

bool MeasureSave(const std::string& what, const Table& rows) {
    static const std::map<std::string, std::function<void(const Table&)>> saves = {
        {"save", [](const Table&) { Manager().SaveRemainingProblems(); }},
        {"save-by-hand", SaveByHand},
        {"save-at-once", SaveAtOnce}};
    const auto save = saves.find(what);
    if (save == saves.end()) {
        return false;
    }
    save->second(rows);
    bench::Measure(what, [&] { save->second(rows); });
    return IsStored(rows);
}

bool MeasureLoad(const std::string& what, const Table& rows) {
    Manager().SaveRemainingProblems();
    Manager().LoadRemainingProblems();
    LoadByHand();
    Table loaded;
    bench::Measure(what, [&] {
        if (what == "load") {
            Manager().LoadRemainingProblems();
        } else {
            loaded = LoadByHand();
        }
    });
    const Table& made = what == "load" ? TableOf(Manager()) : loaded;
    return made.size() == rows.size() &&
           fakes::StoredColumns(made.back()) == fakes::StoredColumns(rows.back());
}

}  // namespace

extern "C" {

int fsync(int fd) {
    return Sync("fsync", fd);
}

int fdatasync(int fd) {
    return Sync("fdatasync", fd);
}
}

int main(int argc, char** argv) {
    const std::string what = argc == 3 ? argv[1] : "";
    const std::size_t count = argc == 3 ? std::strtoul(argv[2], nullptr, 10) : 0;
    if (count == 0) {
        std::fputs("usage: remaining_cost syncs|save|save-by-hand|save-at-once|load|load-by-hand ROWS\n",
                   stderr);
        return 64;
    }
    std::error_code ignored;
    std::filesystem::create_directories(kFolder, ignored);
    const Table rows = Rows(count);
    TableOf(Manager()) = rows;
    // The file and its table are there, with rows to be cleared, before anything is counted.
    SaveRowByRow(rows);
    const bool isLoad = what == "load" || what == "load-by-hand";
    if (!(what == "syncs" ? CountSyncs(rows) : isLoad ? MeasureLoad(what, rows) : MeasureSave(what, rows))) {
        std::fputs("remaining_cost: the rows are not as they should be; is /opt writable?\n", stderr);
        return 1;
    }
    return 0;
}
