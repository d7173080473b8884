// Keeps the problems that the user has not fixed in the remaining database, so that the home screen can show
// them again after a restart. A save clears the old list and then writes the new one in one transaction: the
// store holds the whole old list, nothing, or the whole new list.
#include <array>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "KURA_DBManager.h"
#include "KURA_DiagResultManager.h"
#include "KURA_DiagResultManager/ResultRow.h"
#include "base/Log.h"
#include "base/SetKeys.h"
#include "base/Text32.h"
#include "host/CHomeScreen.h"
#include "vconf.h"
#include "watchman.h"

namespace KURA {

namespace {

using Lock = boost::lock_guard<boost::recursive_mutex>;

constexpr const char* kRemainingTable = "remainingTBL";

/// One column and the member that it stores, a number or a text. sol_name is not stored.
struct Column {
    const char* name;
    const char* label;  ///< in the log of a load
    int MapToDBTable::*number;
    std::string MapToDBTable::*text;
};

// Kept: sol_type is logged under the label last_time, as log readers expect.
constexpr std::array<Column, 14> kColumns{{
    {"idx", "index", &MapToDBTable::index, nullptr},
    {"issue_code", "issue_code", nullptr, &MapToDBTable::issue_code},
    {"is_fix", "is_fix", &MapToDBTable::is_fix, nullptr},
    {"last_time", "last_time", nullptr, &MapToDBTable::last_time},
    {"sol_type", "last_time", nullptr, &MapToDBTable::sol_type},
    {"sid_issue", "sid_issue", nullptr, &MapToDBTable::sid_issue},
    {"sid_sol", "sid_sol", nullptr, &MapToDBTable::sid_sol},
    {"sid_button1", "sid_button1", nullptr, &MapToDBTable::sid_button1},
    {"sid_button2", "sid_button2", nullptr, &MapToDBTable::sid_button2},
    {"action", "action", nullptr, &MapToDBTable::action},
    {"toast1", "toast1", nullptr, &MapToDBTable::toast1},
    {"toast2", "toast2", nullptr, &MapToDBTable::toast2},
    {"source", "source", nullptr, &MapToDBTable::source},
    {"view_authority", "view_authority", nullptr, &MapToDBTable::view_authority},
}};

/// The texts of every stored row, column by column.
using StoredColumns = std::array<std::vector<std::string>, kColumns.size()>;

struct DatabaseCloser {
    void operator()(TCDBManager* manager) const { manager->CloseDB(); }
};

/// The manager while it holds the remaining database open; closed on every path out.
using OpenDatabase = std::unique_ptr<TCDBManager, DatabaseCloser>;

OpenDatabase OpenRemaining() {
    OpenDatabase database(TCDBManager::GetInstance());
    database->OpenDB(EDB_REMAINING);
    return database;
}

/// Whether the stored problems were all deleted.
bool Clear(boost::recursive_mutex& mutex) {
    KURA_LOG_AS("ClearRemainingProblems", DLOG_INFO, "ClearRemainingProblems");
    const Lock lock(mutex);
    return OpenRemaining()->FlushDB(EDB_REMAINING);
}

std::list<std::string> ColumnValues(const MapToDBTable& row) {
    std::list<std::string> values;
    for (const Column& column : kColumns) {
        values.push_back(column.number != nullptr ? std::to_string(row.*column.number) : row.*column.text);
    }
    return values;
}

/// Moves the texts out of the columns. The first column, the index, is converted already.
void FillRow(StoredColumns& stored, std::size_t k, std::int32_t index, MapToDBTable& row) {
    row.index = index;
    for (std::size_t i = 1; i < kColumns.size(); ++i) {
        std::string& value = stored[i].at(k);
        if (kColumns[i].number != nullptr) {
            row.*kColumns[i].number = base::ToInt32(value.c_str());
        } else {
            row.*kColumns[i].text = std::move(value);
        }
    }
}

void LogRow(const MapToDBTable& row) {
    for (const Column& column : kColumns) {
        if (column.number != nullptr) {
            KURA_LOG_AS("LoadRemainingProblems", DLOG_INFO, "mdt.%s : %d", column.label, row.*column.number);
        } else {
            KURA_LOG_AS("LoadRemainingProblems", DLOG_INFO, "mdt.%s : %s", column.label,
                        (row.*column.text).c_str());
        }
    }
}

/// On-demand issues have the codes 10000000 to 19999999; only they are checked again. The subtraction wraps
/// smaller and negative codes beyond the range.
bool IsOnDemand(std::int32_t code) {
    constexpr std::uint32_t kFirst = 10000000;
    constexpr std::uint32_t kCount = 10000000;
    return static_cast<std::uint32_t>(code) - kFirst < kCount;
}

/// Whether the engine saw the issue disappear after the row was recorded. In doubt it is still there.
bool HasDisappeared(std::int32_t code, const std::string& lastTime) {
    constexpr const char* kOperation = "GetInferenceResult_Remaining";
    std::vector<_WMInfDBRecord> records;
    if (!QueryInference(kOperation, code, WM_TRANSITION_TYPE_FALSE, records)) {
        return false;
    }
    if (records.empty()) {
        KURA_LOG_AS(kOperation, DLOG_INFO, "Result is Empty");
        return false;
    }
    const std::string& goneAt = records.at(0).lastUpdateTime;
    KURA_LOG_AS(kOperation, DLOG_INFO, "INT_RESULT_TR_FALSE_TIME [%s] LAST_TIME [%s]", goneAt.c_str(),
                lastTime.c_str());
    return goneAt > lastTime;
}

}  // namespace

void KURA_DiagResultManager::SaveRemainingProblems() {
    KURA_INFO("SaveRemainingProblems");
    bool isWhole = Clear(m_KDRMmutex);
    {
        const OpenDatabase database = OpenRemaining();
        TCDBManager::Transaction rows(*database, TCDBManager::Transaction::Kind::kSave);
        for (const MapToDBTable& row : m_table) {
            if (CheckSourceType(row.source.c_str()) && CheckViewType(row.view_authority.c_str())) {
                const bool stored = database->SetDB(kRemainingTable, ColumnValues(row));
                isWhole = isWhole && (stored || rows.IsOwnFault());
            }
        }
        if (isWhole) {
            rows.Commit();
        }
    }
    KURA_INFO("Remaining DB is saved");
}

bool KURA_DiagResultManager::LoadRemainingProblems() {
    KURA_INFO("LoadRemainingProblems");
    const Lock lock(m_KDRMmutex);
    StoredColumns stored;
    {
        // One transaction, so that all columns show the same rows.
        const OpenDatabase database = OpenRemaining();
        const TCDBManager::Transaction reads(*database, TCDBManager::Transaction::Kind::kLoad);
        for (std::size_t i = 0; i < kColumns.size(); ++i) {
            database->GetDB(EDB_REMAINING, kColumns[i].name, stored[i]);
        }
    }
    CleanDiagResult();
    const std::vector<std::string>& indices = stored.front();
    m_table.reserve(indices.size());
    for (std::size_t k = 0; k < indices.size(); ++k) {
        const std::int32_t index = base::ToInt32(indices[k].c_str());
        if (index < 0 || static_cast<std::size_t>(index) > indices.size()) {
            return false;
        }
        FillRow(stored, k, index, m_currentRow);
        LogRow(m_currentRow);
        m_table.push_back(m_currentRow);
    }
    if (m_table.empty()) {
        KURA_INFO("Remain Problem is empty : %zu", m_table.size());
        return false;
    }
    KURA_INFO("Remain Problem is Loaded : %zu", m_table.size());
    return true;
}

bool KURA_DiagResultManager::GetRemainingTable(std::vector<MapToDBTable>& out) {
    KURA_INFO("GetRemainingTable");
    if (m_table.empty()) {
        KURA_INFO("Remain Problem Table is empty : %zu", m_table.size());
        return false;
    }
    out.insert(out.end(), m_table.begin(), m_table.end());
    KURA_INFO("GetRemainingTable is done : %zu", m_table.size());
    return true;
}

void KURA_DiagResultManager::GetInferenceResult_Remaining() {
    KURA_INFO("GetInferenceResult_Remaining");
    if (!LoadRemainingProblems()) {
        return;
    }
    std::vector<MapToDBTable> rows;
    GetRemainingTable(rows);
    for (const MapToDBTable& row : rows) {
        const std::int32_t code = base::ToInt32(row.issue_code.c_str());
        KURA_INFO("INT_ISSUE_CODE : %d", code);
        if (!IsOnDemand(code)) {
            continue;
        }
        KURA_INFO("ONDEMAND ISSUE");
        if (HasDisappeared(code, row.last_time)) {
            DeleteRemainingDBColumn(row.issue_code);
        }
    }
}

void KURA_DiagResultManager::CompareRemaining() {
    KURA_INFO("CompareRemaining");
    const Lock lock(m_KDRMmutex);
    vconf_set_str(base::kProgressKey, "{\"id\" : \"CompareRemaining\"}");
    std::vector<MapToDBTable> shown;
    GetInferenceResult_Remaining();
    std::vector<MapToDBTable> rows;
    if (LoadRemainingProblems()) {
        GetRemainingTable(rows);
    }
    for (const MapToDBTable& row : rows) {
        LogListed(__func__, row);
        // The source may have changed since the rows were saved. The viewer has not, so it is not checked.
        if (CheckSourceType(row.source.c_str())) {
            LogSending(__func__, row);
            shown.push_back(row);
        }
    }
    CHomeScreen::Instance()->m_DiagResCallback(std::move(shown));
}

void KURA_DiagResultManager::DeleteRemainingDBColumn(std::string issue_code) {
    KURA_INFO("DeleteRemainingDBColumn");
    const Lock lock(m_KDRMmutex);
    OpenRemaining()->DeleteDB(std::move(issue_code));
}

void KURA_DiagResultManager::ClearRemainingProblems() {
    Clear(m_KDRMmutex);
}

}  // namespace KURA
