// Every path that is compiled into the library, once.
#pragma once

namespace KURA::base {

// --- The library and its document ---
constexpr const char* kLibraryPath = "/usr/lib/libkura_parser.so";
constexpr const char* kSolutionMapPath = "/opt/usr/share/TVKuraHelp/SolutionMap.xml";

// --- Result databases ---
constexpr const char* kInferenceDbPath = "/home/owner/share/Watchman/DB/inference.db";
constexpr const char* kSolutionDbPath = "/home/owner/share/Watchman/DB/solution.db";
constexpr const char* kRemainingDbPath = "/opt/usr/home/owner/share/remaining.db";
constexpr const char* kTestDbPath = "/opt/usr/home/owner/share/test.db";

// --- The guide application's result file: after a diagnosis in the background, and otherwise ---
constexpr const char* kBackgroundGuideResultPath = "/opt/usr/home/owner/content/Documents/inference_result";
constexpr const char* kGuideResultPath = "/tmp/tutorlink/inference_result";

// --- Device facts ---
constexpr const char* kChipIdPath = "/proc/vex_chipid_val";
constexpr const char* kReleaseMarkPath = "/etc/release";
constexpr const char* kDebugMarkPath = "/etc/debug";
constexpr const char* kUserPartition = "/opt";
constexpr const char* kWebAppsCachePrefix = "/opt/usr/home/owner/.cache/Apps/WebAppsCache/";  ///< + app id

// --- The agent: data and result files, triggers (req), acknowledgements (ack). The agent acts as soon as a
// trigger appears, so the data file must be complete and closed before. Others may write to these folders.
// ---
constexpr const char* kDeepCleanTrigger = "/tmp/vardo/req/CleanAll.txt";
constexpr const char* kMemBoostTrigger = "/tmp/vardo/req/memBoost";
constexpr const char* kKillAppData = "/tmp/vardo/killApp";
constexpr const char* kKillAppTrigger = "/tmp/vardo/req/killApp";
constexpr const char* kClearAppCacheData = "/tmp/vardo/clearAppCache";
constexpr const char* kClearAppCacheTrigger = "/tmp/vardo/req/clearAppCache";
constexpr const char* kRunCommandData = "/tmp/vardo/runCmdNativeApps";
constexpr const char* kRunCommandTrigger = "/tmp/vardo/req/runCmdNativeApps";
constexpr const char* kCalcSizeDataPrefix = "/tmp/vardo/calcAppDataCacheSize_";         ///< + app id
constexpr const char* kCalcSizeTriggerPrefix = "/tmp/vardo/req/calcAppDataCacheSize_";  ///< + app id
constexpr const char* kSizeAckPrefix = "/tmp/vardo/ack/appDataCacheSize_";              ///< + app id
constexpr const char* kSizeResultPrefix = "/tmp/vardo/appDataCacheSize_";               ///< + app id
constexpr const char* kCobaltSizePath = "/tmp/vardo/cobalt_size";

}  // namespace KURA::base
