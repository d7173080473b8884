// The formats of the library's log lines that tell how a diagnosis or a repair went. Lines of the journal are
// matched with these formats alone, and a test compares each format with the library's sources.
#pragma once

#include <array>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "set/KuraSet.h"

namespace cli {

enum class Line : std::size_t {
    // The engine has called back.
    kDiagnosed,
    kGuided,
    kHomeAsked,
    // One entry of the map, while a diagnosis evaluates it.
    kSkippedBackground,
    kSelected,
    kNeverAppeared,
    kAppearedEmpty,
    kQueryFailed,
    kNeverWent,
    kWentEmpty,
    kWentLater,
    kNoSolution,
    kAppearance,
    kSolution,
    kCameBack,
    kNotApplied,
    kFound,
    kNotFound,
    // The unfixed problems, while the home screen's list is made.
    kLoading,
    kLoaded,
    kNothingKept,
    kExamined,
    kOnDemand,
    kKeptNeverWent,
    kKeptQueryFailed,
    kKeptWentEmpty,
    kKeptWent,
    kRemoving,
    // A repair.
    kRepairing,
    kCommand,
    kCommandRefused,
    kCleanAsked,
    kCleanRefused,
    kRemoved,
    kApplied,
    // The sizes of applications.
    kSizeNotAnswered,
    kSizeRefused,
    kSizeInvalid,
    kSizeParameter,
    kAppListFailed,
    kNoPackageClient,
    kCount,
};

struct LogLine {
    Line line;
    const char* source;    ///< the library's file that holds the format, below src/
    const char* function;  ///< the function name in the line
    const char* format;    ///< the format that the library passes to its log
};

constexpr const char* kManagerSource = "KURA_DiagManager/KURA_DiagManager.cpp";
constexpr const char* kEvaluationSource = "KURA_DiagResultManager/Evaluation.cpp";
constexpr const char* kRowSource = "KURA_DiagResultManager/ResultRow.cpp";
constexpr const char* kRemainingSource = "KURA_DiagResultManager/RemainingProblems.cpp";
constexpr const char* kExecutorsSource = "KURA_SO_Interface/Executors.cpp";
constexpr const char* kSizeSource = "CGetData/PackageManagerSize.cpp";

// clang-format off
constexpr std::array<LogLine, static_cast<std::size_t>(Line::kCount)> kLogLines{{
    {Line::kDiagnosed, kManagerSource, "SolutionCallbackFunc", "SolutionCallbackFunc"},
    {Line::kGuided, kManagerSource, "TutorCallbackFunc", "TutorCallbackFunc"},
    {Line::kHomeAsked, kManagerSource, "RemainingCallbackFunc", "RemainingCallbackFunc"},
    {Line::kSkippedBackground, kEvaluationSource, "GetInferenceResult", "Skip bg issue"},
    {Line::kSelected, kEvaluationSource, "GetInferenceResult", "SelectIssueCode : %d"},
    {Line::kNeverAppeared, kRowSource, "GetInferenceResult",
     "No Matching WM_TRANSITION_TYPE_TRUE InferenceDB : %u"},
    {Line::kAppearedEmpty, kEvaluationSource, "GetInferenceResult", "TR true Result is empty! : %u"},
    {Line::kQueryFailed, kEvaluationSource, "GetInferenceResult", "GetInferenceDB API Error : %d"},
    {Line::kNeverWent, kRowSource, "GetInferenceResult",
     "No Matching WM_TRANSITION_TYPE_FALSE InferenceDB : %u"},
    {Line::kWentEmpty, kEvaluationSource, "GetInferenceResult", "TR False result is empty! : %u"},
    {Line::kWentLater, kEvaluationSource, "GetInferenceResult",
     "Skip because of time. TR_0 Time: [%s] >>> TR_1 Time : [%s]"},
    {Line::kNoSolution, kEvaluationSource, "GetInferenceResult", "No Matching SolutionDB : %u"},
    {Line::kAppearance, kEvaluationSource, "GetInferenceResult", "First Inf Result : %d %d %d %s %s"},
    {Line::kSolution, kEvaluationSource, "GetInferenceResult", "Sol Result : %d %d %d %d %s"},
    {Line::kCameBack, kEvaluationSource, "FindErrorCodeInDB",
     "sol.issue_code[%s], inf_data.at(0).issue_code [%d], inf_data.at(0).tr_type [%d]"},
    {Line::kNotApplied, kEvaluationSource, "FindErrorCodeInDB",
     "sol.issue_code[%s], inf_data.at(0).issue_code [%d], sol_data.isApply [%d]"},
    {Line::kFound, kEvaluationSource, "GetInferenceResult", "GetInferenceResult done : %d"},
    {Line::kNotFound, kEvaluationSource, "GetInferenceResult", "No matching with Inference Result"},
    {Line::kLoading, kRemainingSource, "LoadRemainingProblems", "LoadRemainingProblems"},
    {Line::kLoaded, kRemainingSource, "LoadRemainingProblems", "Remain Problem is Loaded : %zu"},
    {Line::kNothingKept, kRemainingSource, "LoadRemainingProblems", "Remain Problem is empty : %zu"},
    {Line::kExamined, kRemainingSource, "GetInferenceResult_Remaining", "INT_ISSUE_CODE : %d"},
    {Line::kOnDemand, kRemainingSource, "GetInferenceResult_Remaining", "ONDEMAND ISSUE"},
    {Line::kKeptNeverWent, kRowSource, "GetInferenceResult_Remaining",
     "No Matching WM_TRANSITION_TYPE_FALSE InferenceDB : %u"},
    {Line::kKeptQueryFailed, kRowSource, "GetInferenceResult_Remaining", "GetInferenceDB API Error : %d"},
    {Line::kKeptWentEmpty, kRemainingSource, "GetInferenceResult_Remaining", "Result is Empty"},
    {Line::kKeptWent, kRemainingSource, "GetInferenceResult_Remaining",
     "INT_RESULT_TR_FALSE_TIME [%s] LAST_TIME [%s]"},
    {Line::kRemoving, kRemainingSource, "DeleteRemainingDBColumn", "DeleteRemainingDBColumn"},
    {Line::kRepairing, "KURA_SO_Interface/RequestApplySolution.cpp", "RequestApplySolutionWrapper",
     "Value is %s and size = %zu"},
    {Line::kCommand, kExecutorsSource, "ProcessCMD", "\nsolution is cmd type : %s\n\n"},
    {Line::kCommandRefused, kExecutorsSource, "ProcessCMD", "File creation failed (%s)"},
    {Line::kCleanAsked, "CGetData/CleanUp.cpp", "performDeepClean", "[KELMGR] File (%s) Created Successfully"},
    {Line::kCleanRefused, "CGetData/CleanUp.cpp", "performDeepClean", "File creation failed (%s)"},
    {Line::kRemoved, "KURA_SO_Interface/KURA_SO_Interface.cpp", "RemoveSolvedProblemFromRemainingDB",
     "iss_code(%s) is removed from RemainingDB"},
    {Line::kApplied, "KURA_SO_Interface/RequestApplySolution.cpp", "RequestApplySolutionWrapper",
     "Choose_Solution issue_code : %s, sol_code : %s, sol_type : %s, sol_name : %s, sol_val : %s"},
    {Line::kSizeNotAnswered, kSizeSource, "getAppSize", "request failed: %d"},
    {Line::kSizeRefused, kSizeSource, "getAppSize", "request result failed: %d"},
    {Line::kSizeInvalid, kSizeSource, "getAppSize", "invalid size_info=(%lld)"},
    {Line::kSizeParameter, kSizeSource, "getAppSize", "invalid parameter"},
    {Line::kAppListFailed, "CGetData/AppInventory.cpp", "sendAppList", "get app list failed"},
    {Line::kNoPackageClient, "CGetData/AppInventory.cpp", "sendAppList", "out of memory"},
}};
// clang-format on

/// The journal's entries behind the first `before`.
std::vector<nlohmann::json> JournalSince(const kuraset::SetDirectory& set, std::size_t before);

/// Returns the values of the line in order, as texts; none when the journal's entry is another line. A value
/// ends where the next text of the format begins, the last one at the end of the message.
std::optional<std::vector<std::string>> ValuesOf(const nlohmann::json& entry, Line line);

/// Whether the journal's entry is that line.
bool Says(const nlohmann::json& entry, Line line);

}  // namespace cli
