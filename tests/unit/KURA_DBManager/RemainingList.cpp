#include "RemainingList.h"

#include "Database.h"
#include "KURA_DiagResultManager.h"
#include "KURA_MapToDBTable.h"

using KURA::KURA_DiagResultManager;
using KURA::MapToDBTable;

namespace remaining {

namespace {

using Table = std::vector<MapToDBTable>;

// The list to be saved is the result manager's own; naming a member in an explicit instantiation is how a
// test may reach it.
Table& TableOf(KURA_DiagResultManager& manager);

template <Table KURA_DiagResultManager::*kMember>
struct TableAccess {
    friend Table& TableOf(KURA_DiagResultManager& manager) { return manager.*kMember; }
};

template struct TableAccess<&KURA_DiagResultManager::m_table>;

}  // namespace

void Save(const Codes& codes) {
    KURA_DiagResultManager& manager = *KURA_DiagResultManager::GetInstance();
    TableOf(manager).clear();
    for (const std::string& code : codes) {
        MapToDBTable row;
        row.index = 1;
        row.issue_code = code;
        row.last_time = "2026-01-31T23:59:59";
        row.source = "ALL";
        row.view_authority = "USER";
        TableOf(manager).push_back(row);
    }
    manager.SaveRemainingProblems();
}

Codes Load() {
    KURA_DiagResultManager& manager = *KURA_DiagResultManager::GetInstance();
    manager.LoadRemainingProblems();
    Codes codes;
    for (const MapToDBTable& row : TableOf(manager)) {
        codes.push_back(row.issue_code);
    }
    return codes;
}

Codes Stored() {
    Codes codes;
    for (const database::Row& row :
         database::Query(database::kRemaining, "SELECT issue_code FROM remainingTBL")) {
        codes.push_back(row.front());
    }
    return codes;
}

Codes Many(std::size_t count) {
    Codes codes;
    for (std::size_t i = 0; i < count; ++i) {
        codes.push_back("N" + std::to_string(i));
    }
    return codes;
}

}  // namespace remaining
