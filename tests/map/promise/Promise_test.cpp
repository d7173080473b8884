// What the checker promises its users: a map without errors works on a set. Random maps go through the
// checker and through the library; whatever the library cannot load, evaluate, keep or apply must have been
// reported as an error.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "Database.h"
#include "Fakes.h"
#include "KURA_DiagResultManager.h"
#include "KURA_MapToDBTable.h"
#include "KURA_SO_Interface.h"
#include "KURA_SolutionMap.h"
#include "KURA_Storage.h"
#include "RandomMap.h"
#include "StoredColumns.h"
#include "map/Check.h"
#include "map/XmlDocument.h"

namespace fs = std::filesystem;

using fakes::Set;
using KURA::KURA_Solution;
using KURA::MapToDBTable;

namespace {

constexpr const char* kMapPath = "/opt/usr/share/TVKuraHelp/SolutionMap.xml";
constexpr const char* kCommandFolder = "/tmp/vardo/req";
constexpr const char* kCommandRequest = "/tmp/vardo/req/runCmdNativeApps";
constexpr int kHdmiSource = 13;

/// How many maps: a sample, unless the environment asks for more.
std::uint64_t MapCount() {
    const char* const wanted = std::getenv("KURA_PROMISE_MAPS");
    return wanted == nullptr ? 2000 : std::strtoull(wanted, nullptr, 10);
}

KURA::KURA_DiagResultManager& Manager() {
    return *KURA::KURA_DiagResultManager::GetInstance();
}

/// The number that the engine is asked for.
int EngineCode(const std::string& code) {
    const long long number = std::strtoll(code.c_str(), nullptr, 10);
    return static_cast<int>(std::clamp<long long>(number, std::numeric_limits<std::int32_t>::min(),
                                                  std::numeric_limits<std::int32_t>::max()));
}

/// The tags of the errors that the checker reports; "unreadable" for what it refuses to read.
std::vector<std::string> ErrorTags(const std::string& text) {
    std::vector<std::string> tags;
    try {
        const kuramap::XmlDocument document = kuramap::XmlDocument::Parse(text, "map.xml");
        for (const kuramap::Finding& finding : kuramap::CheckMap(document, {})) {
            if (finding.severity == kuramap::Severity::kError) {
                tags.emplace_back(finding.rule->tag);
            }
        }
    } catch (const kuramap::Unreadable&) {
        tags.emplace_back("unreadable");
    }
    return tags;
}

void ForgetWhatHappened() {
    Set().calls.clear();
    Set().log.clear();
    Set().events.clear();
    Set().launches.clear();
    Set().usageEvents.clear();
    Set().startScreenLists.clear();
    Set().recordedSolutions.clear();
    Set().inferences.clear();
}

void Install(const std::string& text) {
    std::ofstream file(kMapPath, std::ios::binary | std::ios::trunc);
    file << text;
    ASSERT_TRUE(file.flush());
}

std::vector<KURA_Solution> StoredSolutions() {
    unsigned int count = 0;
    std::vector<KURA_Solution> solutions;
    KURA::TCInformationStorage::Instance()->GetSolutionInformation(count, solutions);
    return solutions;
}

/// Empty when the library loaded the whole document, otherwise what went wrong.
std::string Load() {
    try {
        ParseSolutionMap();
    } catch (const std::exception& error) {
        return std::string("load: ") + error.what();
    }
    return Set().Logged(6, "Parse error!!!!") ? "load: the document ends at an error" : "";
}

/// Every issue of the map is present; each one in the foreground must come to the list.
std::string Evaluate(const std::vector<KURA_Solution>& solutions, std::vector<MapToDBTable>& shown) {
    std::vector<std::string> expected;
    for (const KURA_Solution& solution : solutions) {
        const int code = EngineCode(solution.issue_code);
        Set().inferences[{code, WM_TRANSITION_TYPE_TRUE}] = {
            {code, WM_TRANSITION_TYPE_TRUE, 70, "2026-03-04T05:06:07", "2026-03-04T05:06:07"}};
        if (solution.is_fg_bg != "bg") {
            expected.push_back(solution.issue_code);
        }
    }
    try {
        Manager().CreateErrorList();
    } catch (const std::exception& error) {
        return std::string("evaluation: ") + error.what();
    }
    std::vector<MapToDBTable> found;
    Manager().GetRemainingTable(found);
    std::vector<std::string> codes;
    for (const MapToDBTable& row : found) {
        codes.push_back(row.issue_code);
    }
    if (codes != expected) {
        return "evaluation: " + std::to_string(codes.size()) + " of " + std::to_string(expected.size()) +
               " issues found";
    }
    if (Set().startScreenLists.size() != 1) {
        return "evaluation: no list for the screen";
    }
    shown = Set().startScreenLists.front();
    return "";
}

/// What a screen needs of a row. toast1 is left out: the store takes a number for a number, which the checker
/// warns of.
std::array<std::string, fakes::kStoredColumns> Kept(const MapToDBTable& row) {
    MapToDBTable kept = row;
    kept.toast1.clear();
    return fakes::StoredColumns(kept);
}

std::string Reload(const std::vector<MapToDBTable>& shown) {
    std::vector<MapToDBTable> kept;
    try {
        Manager().CleanDiagResult();
        Manager().LoadRemainingProblems();
        Manager().GetRemainingTable(kept);
    } catch (const std::exception& error) {
        return std::string("store: ") + error.what();
    }
    const auto isSame = [](const MapToDBTable& a, const MapToDBTable& b) { return Kept(a) == Kept(b); };
    if (!std::equal(shown.begin(), shown.end(), kept.begin(), kept.end(), isSame)) {
        return "store: " + std::to_string(kept.size()) + " rows of " + std::to_string(shown.size()) +
               " came back, or changed ones";
    }
    return "";
}

/// Calls that change the set or open something.
std::size_t CountEffects() {
    std::size_t count = 0;
    for (const char* call :
         {"vconf_set_bool(", "vconf_set_int(", "vconf_set_str(", "app_control_send_launch_request(",
          "SetItemValue(", "ResetPictureSize(", "pixo_reset_picture(", "ResetOnOffTimer(",
          "CManageStorage::m_CreateManageStorageScreen("}) {
        count += Set().CountCalls(call);
    }
    return count;
}

std::string Apply(const std::string& code, const std::vector<KURA_Solution>& solutions) {
    std::size_t wanted = 0;
    bool hasCommand = false;
    for (const KURA_Solution& solution : solutions) {
        if (solution.issue_code == code && solution.sol_type == "CMD") {
            hasCommand = true;
        } else if (solution.issue_code == code && solution.sol_type != "INFO") {
            ++wanted;
        }
    }
    ForgetWhatHappened();
    fs::remove(kCommandRequest);
    RequestApplySolution(code.c_str());
    if (CountEffects() != wanted) {
        return "apply: issue " + code + ", " + std::to_string(CountEffects()) + " effects of " +
               std::to_string(wanted);
    }
    if (fs::exists(kCommandRequest) != hasCommand) {
        return "apply: issue " + code + ", the request for the agent";
    }
    const std::vector<std::string> left = database::Codes();
    if (std::find(left.begin(), left.end(), code) != left.end()) {
        return "apply: issue " + code + ", still kept as unfixed";
    }
    return Set().recordedSolutions.empty() ? "apply: issue " + code + ", not recorded" : "";
}

/// What the library cannot do with a map; empty when all is well.
std::string BreakageOf(const std::string& text) {
    ForgetWhatHappened();
    database::Run("DELETE FROM remainingTBL;");
    Install(text);
    std::string breakage = Load();
    if (!breakage.empty()) {
        return breakage;
    }
    const std::vector<KURA_Solution> solutions = StoredSolutions();
    if (solutions.empty()) {
        return "load: no solution";
    }
    std::vector<MapToDBTable> shown;
    breakage = Evaluate(solutions, shown);
    if (breakage.empty()) {
        breakage = Reload(shown);
    }
    std::set<std::string> codes;
    for (const KURA_Solution& solution : solutions) {
        codes.insert(solution.issue_code);
    }
    for (const std::string& code : codes) {
        breakage = breakage.empty() ? Apply(code, solutions) : breakage;
    }
    return breakage;
}

class Promise : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(fs::path(kMapPath).parent_path());
        fs::create_directories(kCommandFolder);
        database::Make();
    }
};

TEST_F(Promise, WhateverTheLibraryCannotDoTheCheckerCallsAnError) {
    std::map<std::string, std::size_t> breakages;
    std::size_t clean = 0;
    std::size_t errors = 0;
    const std::uint64_t count = MapCount();
    for (std::uint64_t seed = 1; seed <= count; ++seed) {
        const randommap::Map map = randommap::Make(seed);
        // Both filters let something pass in turn.
        Set().currentSource = seed % 2 == 0 ? kHdmiSource : 0;
        const std::vector<std::string> reported = ErrorTags(map.text);
        if (!map.hasMischief) {
            ASSERT_THAT(reported, testing::IsEmpty()) << "seed " << seed << "\n" << map.text;
        }
        const std::string breakage = BreakageOf(map.text);
        if (reported.empty()) {
            ++clean;
            ASSERT_EQ(breakage, "") << "seed " << seed << "\n" << map.text;
        } else {
            ++errors;
        }
        ++breakages[breakage.substr(0, breakage.find(':'))];
    }
    // Neither side of the promise may be empty, or nothing was tried.
    EXPECT_GT(clean, count / 4);
    EXPECT_GT(errors, count / 20);
    for (const char* kind : {"load", "evaluation", "store", "apply"}) {
        EXPECT_GT(breakages[kind], count / 1000) << kind;
    }
    RecordProperty("clean", static_cast<int>(clean));
    RecordProperty("errors", static_cast<int>(errors));
    for (const auto& [kind, times] : breakages) {
        std::cout << (kind.empty() ? "works" : kind) << ": " << times << '\n';
    }
}

}  // namespace
