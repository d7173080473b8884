#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "Fakes.h"
#include "Files.h"
#include "KURA_DBManager.h"
#include "KURA_DiagManager.h"
#include "KURA_SO_Interface.h"
#include "KURA_SolutionMap.h"
#include "KURA_Storage.h"

using fakes::Set;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Not;

namespace fs = std::filesystem;

namespace {

const std::string kWrapper = "log 4 RequestApplySolutionWrapper: ";

/// Everything that the entry points log, and every call of the set.
std::vector<std::string> Road() {
    return files::Events({"RequestApplySolutionWrapper", "RequestApplySolution_BG", "ParseSolutionMap",
                          "XMLParse", "GetSolutionInformation", "ProcessVconf_STR", "ProcessVconf_BOOL",
                          "ProcessVconf_INT", "ProcessCMD", "ProcessLaunchApp", "ProcessSettingAPI",
                          "ProcessAPI", "RemoveSolvedProblemFromRemainingDB", "DeleteRemainingDBColumn",
                          "SaveResultToSolutionDB", "StartSelfDiagnosis", "GetCurrentSourceInfo"});
}

std::vector<std::string> LoadEvents(const std::string& value, bool background, const std::string& stored) {
    return {
        kWrapper + "RequestApplySolutionWrapper called with value = " + value +
            " and isBGPatch = " + (background ? "1" : "0"),
        "log 6 ParseSolutionMap: ParseSolutionMap in so_interface",
        "log 4 XMLParse: XMLParse FUNCTION --",
        "log 4 GetSolutionInformation: GetSolutionInformation IN",
        "log 4 GetSolutionInformation: GetSolutionInformation Out",
        "log 6 RequestApplySolutionWrapper: Value is " + value + " and size = " + stored,
    };
}

std::vector<std::string> RemovalEvents(const std::string& value) {
    return {
        "log 4 RemoveSolvedProblemFromRemainingDB: RemoveSolvedProblemFromRemainingDB called",
        "log 4 DeleteRemainingDBColumn: DeleteRemainingDBColumn",
        "log 3 RemoveSolvedProblemFromRemainingDB: iss_code(" + value + ") is removed from RemainingDB",
    };
}

std::vector<std::string> FillEvents() {
    return {"log 4 GetSolutionInformation: GetSolutionInformation IN",
            "log 4 GetSolutionInformation: GetSolutionInformation Out"};
}

std::vector<std::string> SaveEvents(const std::string& engineCall) {
    std::vector<std::string> events = {"log 4 SaveResultToSolutionDB: save result to sol DB called"};
    for (const std::string& event : FillEvents()) {
        events.push_back(event);
    }
    events.push_back(engineCall);
    return events;
}

std::vector<std::string> Joined(const std::vector<std::vector<std::string>>& parts) {
    std::vector<std::string> all;
    for (const std::vector<std::string>& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

struct ActionCase {
    std::string type;
    std::string name;
    std::vector<std::string> values;
    int engineCode;
    std::vector<std::string> events;  ///< of the action alone

    std::string ChoiceEvent() const {
        return kWrapper + "Choose_Solution issue_code : 100, sol_code : 7, sol_type : " + type +
               ", sol_name : " + name + ", sol_val : " + (values.empty() ? "" : values[0]);
    }
};

std::vector<std::string> ApiEvents(const std::string& name, const std::string& value) {
    return {"log 4 ProcessAPI: Process API called with name " + name, "log 4 ProcessAPI: SUCCESS APPLY API",
            "log 4 ProcessAPI: Apply_API : option_name_" + name + " , option_val_" + value,
            "log 4 ProcessAPI: Process API EXIT"};
}

using Extras = std::vector<std::pair<std::string, std::string>>;

const Extras kSoundTestExtras = {{"launchedFrom", "com.norvik.TVKuraHelp"}};
const Extras kSignalExtras = {{"ID", "signal-information"},
                              {"PrevSubmenu", "com.norvik.TVKuraHelp"},
                              {"__K_RELOCATE_BELOW", "org.vesta.tv-viewer"}};

std::vector<std::string> LaunchEvents(const std::string& appId, const Extras& extras = {}) {
    std::vector<std::string> events = {"app_control_create()", "app_control_set_operation(default)",
                                       "app_control_set_app_id(" + appId + ")"};
    for (const auto& [key, value] : extras) {
        events.push_back("app_control_add_extra_data(" + key + ", " + value + ")");
    }
    events.push_back("app_control_send_launch_request(" + appId + ")");
    events.emplace_back("app_control_destroy()");
    return events;
}

std::vector<std::string> IntEvents(const std::string& value, const std::string& number) {
    return {"log 6 ProcessVconf_INT: ProcessVconf_INT!!!!!!!!!!!!", "vconf_set_int(db/key, " + number + ")",
            "log 6 ProcessVconf_INT: ret : 0",
            "log 6 ProcessVconf_INT: SetVconf_INT : option_name_db/key , option_val_" + value +
                ", option_value_" + number};
}

std::vector<std::string> ScreenEvents(const std::string& name, const std::vector<std::string>& events) {
    return Joined({{kWrapper + "MSGPORT : " + name}, events});
}

std::vector<ActionCase> ScreenCases() {
    const std::vector<std::string> elseCase = {kWrapper + "else case "};
    const std::vector<std::string> signalEvents = {
        kWrapper + "launch Signal Information",
        "log 4 StartSelfDiagnosis: StartSelfDiagnosis!!!!!!!!!!!!!",
        "log 4 StartSelfDiagnosis: launch Signal Info from KURA Native side",
        "CreateSourceControl(1, 0)",
        "GetCurrentSource()",
        "log 4 GetCurrentSourceInfo: GetCurrentSourceInfo success",
        "log 4 GetCurrentSourceInfo: Current source : 0",
        "log 4 StartSelfDiagnosis: NOT HDMI MODE",
        "log 4 ProcessLaunchApp: signal launch signal-information",
        "CUtils::m_SetMultitaskingStatus(1)"};
    const auto row = [](const std::string& name, const std::vector<std::string>& events) {
        return ActionCase{"MSGPORT", name, {}, 0, ScreenEvents(name, events)};
    };
    return {
        row("ShowSignalInfo",
            Joined({signalEvents, LaunchEvents("com.norvik.tv.broadcastingmenu", kSignalExtras)})),
        row("ShowMgrStorage",
            {"CStartKHIssues::m_HideStartKHIssue()", "CManageStorage::m_CreateManageStorageScreen()"}),
        row("ShowSoundTest", Joined({{"CUtils::m_SetMultitaskingStatus(1)"},
                                     LaunchEvents("org.vesta.sound-test", kSoundTestExtras)})),
        row("ShowMgrStorag", elseCase),
        row("ShowMgrStorage ", elseCase),
        row("showSoundTest", elseCase),
        row("", elseCase),
    };
}

std::vector<ActionCase> ActionCases() {
    return {
        {"API", "unknown", {"9", "8"}, 1, ApiEvents("unknown", "9")},
        {"API", "unknown", {}, 1, ApiEvents("unknown", "")},
        {"VCONFSET_INT", "db/key", {"25", "26"}, 2, IntEvents("25", "25")},
        {"VCONFSET_INT", "db/key", {}, 2, IntEvents("", "0")},
        {"VCONFSET_BOOL",
         "db/key",
         {"1"},
         2,
         {"vconf_set_bool(db/key, 1)",
          "log 4 ProcessVconf_BOOL: SetVconf_INT : option_name_db/key , option_val_1, option_value_1"}},
        {"VCONFSET_STR",
         "db/key",
         {"text"},
         2,
         {"vconf_set_str(db/key, text)",
          "log 4 ProcessVconf_STR: SetVconf_INT : option_name_db/key , option_val_text"}},
        {"INFO", "anything", {"1"}, 5, {}},
        {"CMD",
         "reboot",
         {},
         3,
         {"log 6 ProcessCMD: ProcessCMD!!!!!!!!!!!!",
          "log 6 ProcessCMD: File creation failed (/tmp/vardo/runCmdNativeApps)"}},
        {"LAUNCH",
         "org.vesta.menu",
         {},
         4,
         Joined({{kWrapper + "launch the application org.vesta.menu",
                  "log 4 ProcessLaunchApp: ProcessLaunchApp"},
                 LaunchEvents("org.vesta.menu")})},
        {"SettingsAPI",
         "item",
         {"on"},
         0,
         {kWrapper + "SettingsAPI called",
          "log 4 ProcessSettingAPI: ProcessSettingAPI : key : item , val : on", "SetItemValue(item, on, 0)"}},
        {"TELEPATHY", "name", {"1"}, 0, {}},
        {"", "name", {"1"}, 0, {}},
        {"info", "name", {}, 0, {}},
        {"LAUNCH ", "org.vesta.menu", {}, 0, {}},
    };
}

/// The store as a request leaves it, without the request.
void Load(const std::string& content) {
    files::Install(content);
    ParseSolutionMap();
    Set().calls.clear();
    Set().log.clear();
    Set().events.clear();
}

std::vector<int> Fields(const WMSolutionParams& params) {
    return {params.issueCode, params.solutionCode, params.solutionType, params.started};
}

constexpr WMSolutionParams kUnset{-9, -9, -9, -9};

/// Applies a document of the one solution and expects everything that is said and called, in order.
void ExpectTheWholeRoad(const ActionCase& row) {
    files::Install(files::Solution("100", row.type, row.name, row.values));
    Set().events.clear();
    RequestApplySolution("100");
    const std::string record = "SetSolutionDB(100, 7, " + std::to_string(row.engineCode) + ", 1)";
    EXPECT_THAT(Road(), ElementsAreArray(Joined({LoadEvents("100", false, "1"),
                                                 row.events,
                                                 RemovalEvents("100"),
                                                 SaveEvents(record),
                                                 {row.ChoiceEvent()}})));
}

void ExpectTheWholeRoadInTheBackground(const ActionCase& row) {
    files::Install(files::Solution("100", row.type, row.name, row.values));
    Set().events.clear();
    WMSolutionParams params = kUnset;
    RequestApplySolution_BG("100", &params);
    EXPECT_THAT(Road(), ElementsAreArray(Joined({LoadEvents("100", true, "1"),
                                                 row.events,
                                                 RemovalEvents("100"),
                                                 {row.ChoiceEvent()},
                                                 FillEvents()})));
    EXPECT_THAT(Fields(params), ElementsAre(100, 7, row.engineCode, 1));
    EXPECT_THAT(Set().recordedSolutions, IsEmpty());
}

void ThrowAt(const std::string& call, std::function<void()> thrower) {
    Set().onCall = [call, thrower = std::move(thrower)](const std::string& text) {
        if (text.rfind(call, 0) == 0) {
            thrower();
        }
    };
}

void ThrowSystemError() {
    throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again), "no lock");
}

}  // namespace

TEST(RequestApplySolution, RunsEachTypeInFixedOrder) {
    for (const ActionCase& row : ActionCases()) {
        SCOPED_TRACE(row.type + " " + row.name);
        ExpectTheWholeRoad(row);
    }
}

TEST(RequestApplySolution, OpensEachScreenInFixedOrder) {
    KURA::KURA_DiagManager::GetInstance();  // made by the signal page otherwise, and it says a lot
    for (const ActionCase& row : ScreenCases()) {
        SCOPED_TRACE(row.name);
        ExpectTheWholeRoad(row);
    }
}

TEST(RequestApplySolutionBG, RunsEachTypeWithoutTellingTheEngine) {
    for (const ActionCase& row : ActionCases()) {
        SCOPED_TRACE(row.type + " " + row.name);
        ExpectTheWholeRoadInTheBackground(row);
    }
}

TEST(RequestApplySolutionBG, OpensEachScreenWithoutTellingTheEngine) {
    KURA::KURA_DiagManager::GetInstance();
    for (const ActionCase& row : ScreenCases()) {
        SCOPED_TRACE(row.name);
        ExpectTheWholeRoadInTheBackground(row);
    }
}

TEST(RequestApplySolution, LaunchesThroughTheDeviceWhatAScreenNeeds) {
    const struct {
        const char* screen;
        const char* appId;  ///< empty for a screen of the host
        Extras extras;
    } rows[] = {
        {"ShowSignalInfo", "com.norvik.tv.broadcastingmenu", kSignalExtras},
        {"ShowMgrStorage", "", {}},
        {"ShowSoundTest", "org.vesta.sound-test", kSoundTestExtras},
        {"unknown", "", {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.screen);
        files::Install(files::Solution("100", "MSGPORT", row.screen));
        Set().launches.clear();
        RequestApplySolution("100");
        const bool launches = *row.appId != '\0';
        ASSERT_EQ(Set().launches.size(), launches ? 1U : 0U);
        if (launches) {
            EXPECT_EQ(Set().launches[0].appId, row.appId);
            EXPECT_EQ(Set().launches[0].operation, "default");
            EXPECT_EQ(Set().launches[0].extras, row.extras);
            EXPECT_FALSE(Set().launches[0].hadCallback);
        }
        EXPECT_EQ(Set().liveAppControls, 0);
    }
}

TEST(RequestApplySolution, LaunchesWithoutExtrasWhateverTheApplication) {
    files::Install(files::Solution("100", "LAUNCH", "com.norvik.tv.broadcastingmenu"));
    RequestApplySolution("100");
    ASSERT_EQ(Set().launches.size(), 1U);
    EXPECT_THAT(Set().launches[0].extras, IsEmpty());
    EXPECT_FALSE(Set().Called("CUtils::m_SetMultitaskingStatus(1)"));
}

TEST(RequestApplySolution, HandsACommandToTheAgent) {
    fs::create_directories("/tmp/vardo/req");
    files::Install(files::Solution("100", "CMD", "vconftool set a"));
    RequestApplySolution("100");
    EXPECT_EQ(files::Read("/tmp/vardo/runCmdNativeApps"), "vconftool set a\n");
    EXPECT_TRUE(fs::exists("/tmp/vardo/req/runCmdNativeApps"));
}

TEST(RequestApplySolution, ComparesCodesByteForByte) {
    files::Install(files::Solution("123", "VCONFSET_INT", "db/key", {"1"}));
    for (const char* value : {"0123", " 123", "123 ", "12", "1234", "+123", ""}) {
        SCOPED_TRACE(value);
        Set().events.clear();
        RequestApplySolution(value);
        EXPECT_THAT(Road(), ElementsAreArray(LoadEvents(value, false, "1")));
    }
    EXPECT_THAT(Set().calls, IsEmpty());
}

TEST(RequestApplySolution, AppliesAllSolutionsOfAnIssueInDocumentOrder) {
    files::Install(files::Solution("100", "VCONFSET_INT", "db/first", {"1"}, "11") +
                   files::Solution("200", "VCONFSET_INT", "db/other", {"2"}, "22") +
                   files::Solution("100", "LAUNCH", "org.second", {}, "33"));
    RequestApplySolution("100");
    // The engine hears of the last solution both times, the log of each.
    EXPECT_THAT(Set().calls, ElementsAre("vconf_set_int(db/first, 1)", "SetSolutionDB(100, 33, 4, 1)",
                                         "app_control_create()", "app_control_set_operation(default)",
                                         "app_control_set_app_id(org.second)",
                                         "app_control_send_launch_request(org.second)",
                                         "app_control_destroy()", "SetSolutionDB(100, 33, 4, 1)"));
    EXPECT_TRUE(Set().Logged(4,
                             "Choose_Solution issue_code : 100, sol_code : 11, sol_type : VCONFSET_INT, "
                             "sol_name : db/first, sol_val : 1"));
    EXPECT_TRUE(Set().Logged(4,
                             "Choose_Solution issue_code : 100, sol_code : 33, sol_type : LAUNCH, "
                             "sol_name : org.second, sol_val : "));
    EXPECT_TRUE(Set().Logged(6, "Value is 100 and size = 3"));
}

TEST(RequestApplySolution, WorksOnTheDocumentAsItStandsNow) {
    files::Install(files::Solution("100", "VCONFSET_INT", "db/old", {"1"}));
    RequestApplySolution("100");
    files::Install(files::Solution("100", "VCONFSET_INT", "db/new", {"2"}));
    RequestApplySolution("100");
    EXPECT_TRUE(Set().Called("vconf_set_int(db/old, 1)"));
    EXPECT_TRUE(Set().Called("vconf_set_int(db/new, 2)"));
    EXPECT_EQ(Set().CountCalls("vconf_set_int"), 2U);
}

TEST(RequestApplySolution, ReturnsWhenNothingIsStored) {
    RequestApplySolution("100");
    EXPECT_THAT(
        Road(),
        ElementsAre(kWrapper + "RequestApplySolutionWrapper called with value = 100 and isBGPatch = 0",
                    "log 6 ParseSolutionMap: ParseSolutionMap in so_interface",
                    "log 4 XMLParse: XMLParse FUNCTION --",
                    std::string("log 6 XMLParse: Unable to open XML file ") + files::kMapPath,
                    "log 6 ParseSolutionMap: Parse error!!!!",
                    "log 4 GetSolutionInformation: GetSolutionInformation IN",
                    "log 4 GetSolutionInformation: GetSolutionInformation Out",
                    "log 6 RequestApplySolutionWrapper: Value is 100 and size = 0"));
}

TEST(RequestApplySolution, AppliesWhatAMalformedDocumentHeldBeforeTheError) {
    files::Install(files::Solution("100", "VCONFSET_INT", "db/key", {"1"}) + "<oops></wrong>");
    RequestApplySolution("100");
    EXPECT_TRUE(Set().Logged(6, "Parse error!!!!"));
    EXPECT_TRUE(Set().Called("vconf_set_int(db/key, 1)"));
}

TEST(RequestApplySolution, RemovesAnInformationalIssueFromTheRemainingProblems) {
    files::Install(files::Solution("100", "INFO", ""));
    auto* database = TCDBManager::GetInstance();
    database->OpenDB(EDB_REMAINING);
    for (const char* code : {"100", "200"}) {
        ASSERT_TRUE(database->SetDB(
            "remainingTBL", {"1", code, "0", "t", "a", "b", "c", "d", "e", "f", "g", "h", "DTV", "USER"}));
    }
    database->CloseDB();
    RequestApplySolution("100");
    std::vector<std::string> codes;
    database->OpenDB(EDB_REMAINING);
    EXPECT_TRUE(database->GetDB(EDB_REMAINING, "issue_code", codes));
    database->CloseDB();
    EXPECT_THAT(codes, ElementsAre("200"));
}

TEST(RequestApplySolution, RemovesAndRecordsAlsoWhenTheActionFails) {
    files::Install(files::Solution("100", "VCONFSET_INT", "db/key", {"1"}) +
                   files::Solution("100", "LAUNCH", "org.app"));
    Set().refusedKeys.insert("db/key");
    Set().launchResult = -1;
    RequestApplySolution("100");
    EXPECT_TRUE(Set().Logged(6, "ret : 1"));
    EXPECT_TRUE(Set().Logged(6, "Error while executing Menu"));
    EXPECT_EQ(Set().CountCalls("SetSolutionDB"), 2U);
    EXPECT_EQ(Set().Messages("DeleteRemainingDBColumn").size(), 2U);
}

TEST(RequestApplySolution, ReadsANullValueAsAnEmptyCode) {
    files::Install(files::Solution("", "VCONFSET_INT", "db/key", {"1"}));
    RequestApplySolution(nullptr);
    EXPECT_TRUE(Set().Logged(4, "RequestApplySolutionWrapper called with value =  and isBGPatch = 0"));
    EXPECT_TRUE(Set().Called("vconf_set_int(db/key, 1)"));
    EXPECT_TRUE(Set().Called("SetSolutionDB(0, 7, 2, 1)"));
}

TEST(RequestApplySolution, EndsLoggedWhenTheReloadThrows) {
    files::Install("<sol_val/>" + files::Solution("100", "VCONFSET_INT", "db/key", {"1"}));
    EXPECT_NO_THROW(RequestApplySolution("100"));
    EXPECT_THAT(
        Road(),
        ElementsAre(kWrapper + "RequestApplySolutionWrapper called with value = 100 and isBGPatch = 0",
                    "log 6 ParseSolutionMap: ParseSolutionMap in so_interface",
                    "log 4 XMLParse: XMLParse FUNCTION --",
                    "log 6 RequestApplySolutionWrapper: Got exception 2"));
}

TEST(RequestApplySolution, EndsAtTheActionThatThrowsASystemErrorAndSaysSoOnStandardOutput) {
    files::Install(files::Solution("100", "VCONFSET_INT", "db/key", {"1"}) +
                   files::Solution("100", "VCONFSET_INT", "db/next", {"1"}));
    ThrowAt("vconf_set_int", ThrowSystemError);
    testing::internal::CaptureStdout();
    EXPECT_NO_THROW(RequestApplySolution("100"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Caught system_error with code generic:11 meaning no lock: Resource temporarily unavailable\n");
    EXPECT_THAT(Road(), ElementsAreArray(Joined({LoadEvents("100", false, "2"),
                                                 {"log 6 ProcessVconf_INT: ProcessVconf_INT!!!!!!!!!!!!",
                                                  "vconf_set_int(db/key, 1)",
                                                  "log 6 RequestApplySolutionWrapper: Got exception 1"}})));
}

TEST(RequestApplySolution, EndsAtTheActionThatThrowsAnythingElse) {
    const std::vector<std::function<void()>> throwers = {[] { throw std::runtime_error("broken"); },
                                                         [] { throw 5; }, [] { throw std::bad_alloc(); }};
    for (const std::function<void()>& thrower : throwers) {
        files::Install(files::Solution("100", "LAUNCH", "org.app") + files::Solution("100", "INFO", ""));
        Set().events.clear();
        ThrowAt("app_control_send_launch_request", thrower);
        testing::internal::CaptureStdout();
        EXPECT_NO_THROW(RequestApplySolution("100"));
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
        ASSERT_FALSE(Road().empty());
        EXPECT_EQ(Road().back(), "log 6 RequestApplySolutionWrapper: Got exception 2");
        EXPECT_THAT(Road(), Not(Contains(RemovalEvents("100")[0])));
        EXPECT_EQ(Set().liveAppControls, 0);
    }
    EXPECT_THAT(Set().recordedSolutions, IsEmpty());
}

TEST(RequestApplySolution, EndsLoggedWhenTheEngineThrows) {
    files::Install(files::Solution("100", "INFO", "") + files::Solution("100", "INFO", ""));
    ThrowAt("SetSolutionDB", ThrowSystemError);
    testing::internal::CaptureStdout();
    EXPECT_NO_THROW(RequestApplySolution("100"));
    EXPECT_NE(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(Road().back(), "log 6 RequestApplySolutionWrapper: Got exception 1");
    EXPECT_EQ(Set().CountCalls("SetSolutionDB"), 1U);
    EXPECT_EQ(Set().Messages("DeleteRemainingDBColumn").size(), 1U);
}

TEST(RequestApplySolution, WorksAgainAfterAnException) {
    files::Install(files::Solution("100", "VCONFSET_INT", "db/key", {"1"}));
    ThrowAt("vconf_set_int", [] { throw std::runtime_error("broken"); });
    RequestApplySolution("100");
    Set().onCall = nullptr;
    RequestApplySolution("100");
    EXPECT_EQ(Set().recordedSolutions.size(), 1U);
}

TEST(RequestApplySolutionBG, FillsTheRecordFromTheStoreAfterAnException) {
    Load(files::Solution("100", "CMD", "old", {}, "44"));
    files::Install("<sol_val/>");
    WMSolutionParams params = kUnset;
    EXPECT_NO_THROW(RequestApplySolution_BG("100", &params));
    EXPECT_TRUE(Set().Logged(6, "Got exception 2"));
    EXPECT_THAT(Fields(params), ElementsAre(100, 44, 3, 1));
}

TEST(RequestApplySolutionBG, FillsNothingWithoutARecord) {
    files::Install(files::Solution("100", "VCONFSET_INT", "db/key", {"1"}));
    RequestApplySolution_BG("100", nullptr);
    EXPECT_TRUE(Set().Called("vconf_set_int(db/key, 1)"));
    EXPECT_EQ(Set().CountCalls("SetSolutionDB"), 0U);
}

TEST(RequestApplySolutionBG, ReadsANullValueAsAnEmptyCode) {
    WMSolutionParams params = kUnset;
    RequestApplySolution_BG(nullptr, &params);
    EXPECT_THAT(Fields(params), ElementsAre(0, 0, 0, 1));
}

TEST(FillSolutionParams, FillsTheRecordByTable) {
    struct Row {
        const char* issueCode;
        const char* state;
        std::vector<int> record;
    };
    Load(files::Solution("1", "API", "", {}, "10") + files::Solution("2", "VCONFSET_BOOL", "", {}, "20") +
         files::Solution("3", "VCONFSET_INT", "", {}, "30") +
         files::Solution("4", "VCONFSET_STR", "", {}, "40") + files::Solution("5", "CMD", "", {}, "50") +
         files::Solution("6", "LAUNCH", "", {}, "60") + files::Solution("7", "INFO", "", {}, "70") +
         files::Solution("8", "MSGPORT", "", {}, "80") + files::Solution("9", "SettingsAPI", "", {}, "90") +
         files::Solution("10", "api", "", {}, "100") + files::Solution("11", "", "", {}, "abc") +
         files::Solution("12", "CMD", "", {}, "9999999999") +
         files::Solution("13", "CMD", "", {}, "-9999999999") + files::Solution("14", "CMD", "", {}, "1") +
         files::Solution("14", "LAUNCH", "", {}, "2") + files::Solution("15", "LAUNCH", "", {}, "2") +
         files::Solution("15", "unknown", "", {}, "") + files::Solution("9999999999", "CMD", "", {}, " 12x") +
         files::Solution("-9999999999", "CMD", "", {}, "3") + files::Solution("x", "CMD", "", {}, "4"));
    const std::vector<Row> rows = {
        {"1", "start", {1, 10, 1, 1}},
        {"2", "start", {2, 20, 2, 1}},
        {"3", "start", {3, 30, 2, 1}},
        {"4", "start", {4, 40, 2, 1}},
        {"5", "start", {5, 50, 3, 1}},
        {"6", "start", {6, 60, 4, 1}},
        {"7", "start", {7, 70, 5, 1}},
        {"8", "start", {8, 80, 0, 1}},
        {"9", "start", {9, 90, 0, 1}},
        {"10", "start", {10, 100, 0, 1}},
        {"11", "start", {11, 0, 0, 1}},
        {"5", "cancel", {5, 50, 3, 0}},
        {"5", "Start", {5, 50, 3, 0}},
        {"5", "", {5, 50, 3, 0}},
        {"12", "start", {12, 2147483647, 3, 1}},
        {"13", "start", {13, -2147483647 - 1, 3, 1}},
        {"14", "start", {14, 2, 4, 1}},
        {"15", "start", {15, 0, 0, 1}},
        {"9999999999", "start", {2147483647, 12, 3, 1}},
        {"-9999999999", "start", {-2147483647 - 1, 3, 3, 1}},
        {"x", "start", {0, 4, 3, 1}},
        {"05", "start", {5, 0, 0, 1}},
        {"404", "start", {404, 0, 0, 1}},
        {"404", "cancel", {404, 0, 0, 0}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.issueCode) + " " + row.state);
        Set().events.clear();
        WMSolutionParams params = kUnset;
        FillSolutionParams(row.issueCode, row.state, &params);
        EXPECT_THAT(Fields(params), ElementsAreArray(row.record));
        EXPECT_THAT(Set().events, ElementsAreArray(FillEvents()));
    }
}

TEST(FillSolutionParams, KnowsOnlyTheIssueWhileNothingIsStored) {
    WMSolutionParams params = kUnset;
    FillSolutionParams("5", "start", &params);
    EXPECT_THAT(Fields(params), ElementsAre(5, 0, 0, 1));
    FillSolutionParams("5", "cancel", &params);
    EXPECT_THAT(Fields(params), ElementsAre(5, 0, 0, 0));
    FillSolutionParams("5", "other", &params);
    EXPECT_THAT(Fields(params), ElementsAre(5, 0, 0, 0));
}

TEST(FillSolutionParams, FillsNothingWithoutARecord) {
    Load(files::Solution("5", "CMD", ""));
    EXPECT_NO_THROW(FillSolutionParams("5", "start", nullptr));
    EXPECT_THAT(Set().events, IsEmpty());
}
