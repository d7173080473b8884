// Decides which problems are present, keeps them and hands them to the host's screens.
#pragma once

#include <boost/thread/recursive_mutex.hpp>
#include <string>
#include <vector>

#include "KURA_Export.h"
#include "KURA_MapToDBTable.h"
#include "KURA_SolutionMap.h"
#include "watchman.h"

namespace KURA {

/// The solution table, column by column.
struct KURA_SolutionDB {
    std::vector<std::string> registerTime;  ///< when the repair was recorded
    std::vector<std::string> issueCode;     ///< of the issue that was repaired
    std::vector<std::string> solutionCode;  ///< of the solution that was applied
    std::vector<std::string> type;          ///< the engine's number of the action type
    std::vector<std::string> isApply;       ///< whether it was applied
};

/// The inference table, column by column.
struct KURA_InferenceDB {
    std::vector<std::string> registerTime;     ///< when the engine first saw the issue
    std::vector<std::string> lastUpdatedTime;  ///< when it last saw it appear or go
    std::vector<std::string> issueCode;        ///< of the issue
    std::vector<std::string> TR;               ///< the transition: appeared or gone
    std::vector<std::string> solutionCode;     ///< of its solution
};

/// Operations marked (locks) hold the class's recursive mutex and are thread-safe. For all others but
/// GetInstance the caller serialises.
class KURA_API KURA_DiagResultManager {
public:
    /// Created on the first call, never destroyed. Thread-safe.
    static KURA_DiagResultManager* GetInstance();
    KURA_DiagResultManager(const KURA_DiagResultManager&) = delete;
    KURA_DiagResultManager& operator=(const KURA_DiagResultManager&) = delete;

    /// Evaluates every entry of the stored map against the engine and appends a row per present problem to
    /// the table, which is not cleared. Returns the number of rows added. A declared count beyond the list
    /// throws std::out_of_range; rows added before stay.
    int GetInferenceResult();

    /// Returns 1 and appends a row when the issue is present and unfixed, else 0.
    int FindErrorCodeInDB(KURA_Solution& sol, std::vector<_WMInfDBRecord>& inf_data,
                          _WMSolDBRecord& sol_data);

    /// 1 when a is later than b, else 0; times are compared as text.
    int CompareTime(std::string& a, std::string b);

    /// Whether the row is for the user. Null reads as empty.
    bool CheckViewType(const char* view_authority);
    /// Whether the row concerns the input source that is showing. Null reads as empty.
    bool CheckSourceType(const char* source);

    /// Local time now, "2026-01-31T23:59:59".
    std::string GetCurrentTime();

    /// Appends the first five comma-separated texts of line to the five columns.
    void TokenString(std::string& line, KURA_SolutionDB& out);
    /// Appends the first five comma-separated texts of line to the five columns.
    void TokenString(std::string& line, KURA_InferenceDB& out);

    /// Replaces the stored problems by the rows of the table that pass both filters.
    void SaveRemainingProblems();
    /// (locks) Replaces the table by the stored problems; true when at least one was loaded. A damaged row
    /// index ends the loading with false; the table then keeps the rows before it. A column that has fewer
    /// values than there are rows throws std::out_of_range.
    bool LoadRemainingProblems();
    /// Appends a copy of the table to out; false when the table is empty.
    bool GetRemainingTable(std::vector<MapToDBTable>& out);
    /// Replaces the table by the stored problems and deletes from the store those on-demand problems that the
    /// engine has seen go away since they were recorded.
    void GetInferenceResult_Remaining();
    /// (locks) Checks the stored problems again and hands those that remain to the home screen.
    void CompareRemaining();
    /// (locks) Deletes the stored rows of one issue.
    void DeleteRemainingDBColumn(std::string issue_code);
    /// (locks) Deletes every stored row.
    void ClearRemainingProblems();

    /// (locks) Evaluates, saves, reports usage and hands the list to the start screen, once per call.
    void CreateErrorList();
    /// Writes the issue codes found to the guide application's result file.
    void CreateTutorErrList();
    /// (locks) Writes the issue codes found to path. Refuses a link and anything but a regular file with one
    /// name. The file is empty when there is nothing to write or when it cannot be written whole.
    void openTutorForWrite(char* path);
    /// Empties the table and resets the row being built, except for its sol_name.
    void CleanDiagResult();

private:
    KURA_DiagResultManager() = default;

    // Guarded by m_KDRMmutex in the operations marked (locks).
    std::vector<MapToDBTable> m_table;
    MapToDBTable m_currentRow;

    static KURA_DiagResultManager* m_pInstance;
    static boost::recursive_mutex& m_KDRMmutex;  ///< never destroyed
};

}  // namespace KURA
