// The library's plain entry points. Texts are zero-terminated; null reads as an empty text. The caller
// serialises the calls.
#pragma once

#include <string>
#include <vector>

#include "KURA_Export.h"
#include "KURA_SolutionMap.h"
#include "watchman.h"

extern "C" {

/// Reads the installed document and replaces the stored map. After a failure the store holds what was read
/// before it. A misplaced value element throws std::out_of_range and leaves the store as it was.
KURA_API void ParseSolutionMap();

/// Reads the document at path into map. When the file cannot be read, logs it, returns false and leaves map
/// untouched; otherwise see parseInterface.
KURA_API bool XMLParse(const char* path, KURA::KURA_SolutionMap& map);

/// Reads a document's text into map; see KURA::TCXMLParser::Parse.
KURA_API bool parseInterface(const std::string& text, KURA::KURA_SolutionMap& map);

/// Records with the engine that the issue's solution was started ("start") or declined ("cancel").
KURA_API void SaveResultToSolutionDB(const std::string& issueCode, const std::string& state);

/// Removes the issue from the remaining problems.
KURA_API void RemoveSolvedProblemFromRemainingDB(const std::string& issueCode);

/// Sends a usage event: the item chosen and a status text.
KURA_API void SendSelfDiagnosisResult(const char* first, const char* second);

/// Reads the solution map anew and applies every solution of the issue, whose code value gives in decimal.
/// After each solution it removes the issue from the remaining problems and records the start with the
/// engine, also when the action failed. Never throws; failures are logged.
KURA_API void RequestApplySolution(const char* value);

/// Does the same, but does not record the start: it hands the engine's record back in params. A null params
/// is ignored.
KURA_API void RequestApplySolution_BG(const char* value, WMSolutionParams* params);

// Executors, one action each. They do not throw when a platform call fails; some log the failure.

/// Writes the settings key as a text.
KURA_API void ProcessVconf_STR(const char* key, const char* value);
/// Writes the settings key as a boolean. value is a decimal number; a text without digits is 0, false.
KURA_API void ProcessVconf_BOOL(const char* key, const char* value);
/// Writes the settings key as a whole number. value is a decimal number; a text without digits is 0.
KURA_API void ProcessVconf_INT(const char* key, const char* value);
/// Hands a command line to the agent and does not wait. Returns 0 when the request was written, else -1.
KURA_API int ProcessCMD(const char* command);
/// Launches the application without extra data and does not wait.
KURA_API void ProcessLaunchApp(const char* appId);
/// Sets an item of the settings service.
KURA_API void ProcessSettingAPI(const char* key, const char* value);
/// Runs the named operation of the set; an unknown name does nothing. The caller keeps values; null or an
/// empty list counts as one empty value. "performDeepClean" blocks up to about 10 s.
KURA_API void ProcessAPI(const char* name, std::vector<KURA::KURA_SolutionValue>* values);
}

/// Both requests run this: RequestApplySolution with isBGPatch false, RequestApplySolution_BG with true.
KURA_API void RequestApplySolutionWrapper(const char* value, bool isBGPatch);

/// Fills the engine's record from the stored map. When the issue has several solutions, the last one is used.
KURA_API void FillSolutionParams(std::string issueCode, std::string state, WMSolutionParams* params);
