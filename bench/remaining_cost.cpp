// remaining_cost ROWS: how often a save of so many remaining problems waits for the disk, counted in fsync
// and fdatasync. Prints "save syncs N" and, for the same rows inserted one by one, "single syncs N". The
// database's path is compiled in, so give the process a private /opt; bench/remaining_syncs does.
#include <dlfcn.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "KURA_DBManager.h"
#include "KURA_DiagResultManager.h"
#include "KURA_MapToDBTable.h"

namespace {

using KURA::KURA_DiagResultManager;
using KURA::MapToDBTable;
using Table = std::vector<MapToDBTable>;

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

std::size_t SaveSyncs(std::size_t rows) {
    KURA_DiagResultManager& manager = *KURA_DiagResultManager::GetInstance();
    for (std::size_t i = 0; i < rows; ++i) {
        MapToDBTable row;
        row.index = 1;
        row.issue_code = std::to_string(i);
        row.view_authority = "USER";
        TableOf(manager).push_back(row);
    }
    const std::size_t before = g_syncs;
    manager.SaveRemainingProblems();
    return g_syncs - before;
}

/// Of a table that is cleared and filled row by row, as other users of the manager do.
std::size_t SingleSyncs(std::size_t rows) {
    TCDBManager& manager = *TCDBManager::GetInstance();
    const std::size_t before = g_syncs;
    manager.OpenDB(EDB_REMAINING);
    manager.FlushDB(EDB_REMAINING);
    for (std::size_t i = 0; i < rows; ++i) {
        manager.SetDB("remainingTBL",
                      {"1", std::to_string(i), "0", "", "", "", "", "", "", "", "", "", "", "USER"});
    }
    manager.CloseDB();
    return g_syncs - before;
}

std::size_t StoredRows() {
    std::vector<std::string> codes;
    TCDBManager::GetInstance()->OpenDB(EDB_REMAINING);
    TCDBManager::GetInstance()->GetDB(EDB_REMAINING, "issue_code", codes);
    TCDBManager::GetInstance()->CloseDB();
    return codes.size();
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
    if (argc != 2) {
        std::fputs("usage: remaining_cost ROWS\n", stderr);
        return 64;
    }
    const std::size_t rows = std::strtoul(argv[1], nullptr, 10);
    std::error_code ignored;
    std::filesystem::create_directories("/opt/usr/home/owner/share", ignored);
    // The file and its table are there before a save is counted, with a row to be cleared.
    if (SingleSyncs(1) == 0) {
        std::fputs("remaining_cost: no database; is /opt writable?\n", stderr);
        return 1;
    }
    const std::size_t save = SaveSyncs(rows);
    if (StoredRows() != rows) {
        std::fputs("remaining_cost: the save did not keep every row\n", stderr);
        return 1;
    }
    std::printf("save syncs %zu\nsingle syncs %zu\n", save, SingleSyncs(rows));
    return StoredRows() == rows ? 0 : 1;
}
