#include "KURA_DiagManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "Fakes.h"
#include "SetUp.h"

using fakes::Set;
using KURA::KURA_DiagManager;
using setup::Lines;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace fs = std::filesystem;

namespace {

/// The manager, with the records of its creation forgotten.
KURA_DiagManager& Manager() {
    setup::Install();
    KURA_DiagManager* manager = KURA_DiagManager::GetInstance();
    setup::ForgetRecords();
    return *manager;
}

std::string StartSelfDiagnosis(KURA_DiagManager& manager, std::string target) {
    return manager.StartSelfDiagnosis(target.data());
}

/// Lets the current folder of the agent refuse the deep clean's file: nothing is waited for.
void PrepareForOptimizing(bool boostPossible) {
    fs::create_directories("/tmp/vardo/req");
    fs::create_directories("/tmp/vardo/req/CleanAll.txt");
    if (!boostPossible) {
        fs::create_directories("/tmp/vardo/req/memBoost");
    }
}

constexpr const char* kExitMark = "/tmp/exit-handler-ran";

}  // namespace

TEST(KURA_DiagManager, NamesThePageOfTheCurrentSource) {
    struct {
        int source;
        bool hdmi;
    } cases[] = {
        {13, true},  {14, true},  {15, true},  {16, true},  {38, true},  {39, true},  {46, true}, {47, true},
        {12, false}, {17, false}, {37, false}, {40, false}, {45, false}, {48, false}, {0, false}, {-1, false},
    };
    KURA_DiagManager& manager = Manager();
    for (const auto& row : cases) {
        setup::ForgetRecords();
        Set().currentSource = row.source;
        EXPECT_EQ(StartSelfDiagnosis(manager, "SignalInfo"),
                  row.hdmi ? "hdmi-information" : "signal-information")
            << row.source;
        EXPECT_THAT(Lines({"StartSelfDiagnosis", "GetCurrentSourceInfo"}),
                    ElementsAre("4 StartSelfDiagnosis: StartSelfDiagnosis!!!!!!!!!!!!!",
                                "4 StartSelfDiagnosis: launch Signal Info from KURA Native side",
                                "4 GetCurrentSourceInfo: GetCurrentSourceInfo success",
                                "4 GetCurrentSourceInfo: Current source : " + std::to_string(row.source),
                                row.hdmi ? "4 StartSelfDiagnosis: HDMI MODE"
                                         : "4 StartSelfDiagnosis: NOT HDMI MODE"));
    }
    EXPECT_THAT(Set().launches, IsEmpty());
}

TEST(KURA_DiagManager, TakesASourceThatIsNotNamedForNoHdmi) {
    Set().getCurrentSourceResult = 0;
    Set().currentSource = 13;
    EXPECT_EQ(StartSelfDiagnosis(Manager(), "SignalInfo"), "signal-information");
}

TEST(KURA_DiagManager, LaunchesTheNetworkSettings) {
    EXPECT_EQ(StartSelfDiagnosis(Manager(), "NetworkSetting"), "");
    ASSERT_THAT(Set().launches, SizeIs(1));
    EXPECT_EQ(Set().launches[0].appId, "org.vesta.NetworkSetting-Vesta");
    EXPECT_THAT(Set().launches[0].extras, IsEmpty());
    EXPECT_THAT(Lines({"StartSelfDiagnosis"}),
                ElementsAre("4 StartSelfDiagnosis: StartSelfDiagnosis!!!!!!!!!!!!!",
                            "4 StartSelfDiagnosis: launch Network Setting"));
    EXPECT_EQ(Set().liveAppControls, 0);
}

TEST(KURA_DiagManager, AnswersAnyOtherTargetWithNothing) {
    KURA_DiagManager& manager = Manager();
    for (const char* target :
         {"NetworkSettings", "NetworkSetting ", "SignalInfo2", "signalinfo", "Network", "", "%s"}) {
        setup::ForgetRecords();
        EXPECT_EQ(StartSelfDiagnosis(manager, target), "");
        EXPECT_THAT(Lines({"StartSelfDiagnosis"}),
                    ElementsAre("4 StartSelfDiagnosis: StartSelfDiagnosis!!!!!!!!!!!!!",
                                std::string("6 StartSelfDiagnosis: Unknown Value : ") + target));
        EXPECT_THAT(Set().calls, IsEmpty());
    }
}

TEST(KURA_DiagManager, ReadsNoTargetAsAnEmptyOne) {
    EXPECT_EQ(Manager().StartSelfDiagnosis(nullptr), "");
    EXPECT_TRUE(Set().Logged(6, "Unknown Value : "));
}

TEST(GetCurrentSourceInfo, AsksTheMainView) {
    Set().currentSource = 38;
    EXPECT_EQ(KURA::GetCurrentSourceInfo(), 38);
    EXPECT_THAT(Set().events, ElementsAre("CreateSourceControl(1, 0)", "GetCurrentSource()",
                                          "log 4 GetCurrentSourceInfo: GetCurrentSourceInfo success",
                                          "log 4 GetCurrentSourceInfo: Current source : 38"));
    EXPECT_EQ(Set().liveTvControls, 0);
}

TEST(GetCurrentSourceInfo, AnswersMinusOneWhenTheQueryFails) {
    Set().currentSource = 38;
    for (const int result : {0, -1}) {
        setup::ForgetRecords();
        Set().getCurrentSourceResult = result;
        EXPECT_EQ(KURA::GetCurrentSourceInfo(), -1);
        EXPECT_THAT(Lines({"GetCurrentSourceInfo"}),
                    ElementsAre("4 GetCurrentSourceInfo: Current source : -1"));
        EXPECT_EQ(Set().liveTvControls, 0);
    }
}

TEST(GetCurrentSourceInfo, AnswersMinusOneWithoutAControl) {
    Set().createTvControlResult = -1;
    EXPECT_EQ(KURA::GetCurrentSourceInfo(), -1);
    EXPECT_THAT(Set().events,
                ElementsAre("CreateSourceControl(1, 0)", "log 4 GetCurrentSourceInfo: Current source : -1"));
}

TEST(GetCurrentSourceInfo, ReleasesTheControlWhenTheQueryThrows) {
    Set().onCall = [](const std::string& call) {
        if (call == "GetCurrentSource()") {
            throw std::runtime_error("service");
        }
    };
    EXPECT_THROW(KURA::GetCurrentSourceInfo(), std::runtime_error);
    EXPECT_EQ(Set().liveTvControls, 0);
}

TEST(KURA_DiagManager, SubscribesTheGuidedDiagnosis) {
    KURA_DiagManager& manager = Manager();
    manager.StartTutorDiagnosis();
    EXPECT_THAT(Set().events, ElementsAre("log 6 StartTutorDiagnosis: StarTutor Diagnosis",
                                          "InferenceSubscribeOnce(10000000)",
                                          "log 4 StartTutorDiagnosis: End Tutor Diagnosis"));
    EXPECT_THAT(Set().subscriptions, ElementsAre(&KURA_DiagManager::TutorCallbackFunc));
    EXPECT_TRUE(Set().stringKeys.empty());
}

TEST(KURA_DiagManager, SubscribesTheAutomaticDiagnosis) {
    KURA_DiagManager& manager = Manager();
    manager.StartAutoDiagnosis();
    EXPECT_THAT(Set().events, ElementsAre("log 4 StartAutoDiagnosis: StartAutoDiagnosis",
                                          "InferenceSubscribeOnce(10000000)",
                                          "log 4 StartAutoDiagnosis: EndAutoDiagnosis"));
    EXPECT_THAT(Set().subscriptions, ElementsAre(&KURA_DiagManager::SolutionCallbackFunc));
    EXPECT_TRUE(Set().stringKeys.empty());
}

TEST(KURA_DiagManager, MarksAndSubscribesTheRemainingProblems) {
    KURA_DiagManager& manager = Manager();
    manager.RemainingProblem();
    EXPECT_THAT(Set().events,
                ElementsAre("log 4 RemainingProblem: RemainingProblem",
                            "vconf_set_str(system/watchman/STOperation, {\"id\" : \"InferenceRemaining\"})",
                            "InferenceSubscribeOnce(10000000)"));
    EXPECT_THAT(Set().subscriptions, ElementsAre(&KURA_DiagManager::RemainingCallbackFunc));
    EXPECT_EQ(Set().stringKeys["system/watchman/STOperation"], "{\"id\" : \"InferenceRemaining\"}");
}

TEST(KURA_DiagManager, ArmsOneCompletionForEveryStart) {
    KURA_DiagManager& manager = Manager();
    manager.StartAutoDiagnosis();
    manager.StartAutoDiagnosis();
    manager.RemainingProblem();
    EXPECT_THAT(Set().subscriptions, SizeIs(3));
}

TEST(KURA_DiagManager, IgnoresARefusedSubscription) {
    KURA_DiagManager& manager = Manager();
    Set().subscribeResult = -1;
    manager.StartTutorDiagnosis();
    manager.StartAutoDiagnosis();
    manager.RemainingProblem();
    EXPECT_TRUE(Set().Logged(4, "End Tutor Diagnosis"));
    EXPECT_TRUE(Set().Logged(4, "EndAutoDiagnosis"));
}

TEST(KURA_DiagManager, OnlyLogsTheEntryOfTheRemainingProblems) {
    KURA_DiagManager& manager = Manager();
    manager.EnterRemaining();
    EXPECT_THAT(Set().events, ElementsAre("log 4 EnterRemaining: EnterRemaining"));
}

TEST(KURA_DiagManager, CleansBeforeItBoosts) {
    KURA_DiagManager& manager = Manager();
    PrepareForOptimizing(true);
    EXPECT_EQ(manager.OptimizeDevice(), 0);
    ASSERT_FALSE(Set().log.empty());
    EXPECT_EQ(Set().events.front(), "log 4 OptimizeDevice: OptimizeDevice");
    EXPECT_THAT(Set().Messages("performDeepClean"),
                ElementsAre("File creation failed (/tmp/vardo/req/CleanAll.txt)"));
    EXPECT_TRUE(fs::is_regular_file("/tmp/vardo/req/memBoost"));
}

TEST(KURA_DiagManager, ReturnsTheResultOfTheBoost) {
    KURA_DiagManager& manager = Manager();
    PrepareForOptimizing(false);
    EXPECT_EQ(manager.OptimizeDevice(), -1);
    std::vector<std::string> order;
    for (const fakes::LogLine& line : Set().log) {
        if (line.function != "CGetData") {  // its own creation
            order.push_back(line.function);
        }
    }
    EXPECT_THAT(order, ElementsAre("OptimizeDevice", "performDeepClean", "performMemBoost"));
}

TEST(KURA_DiagManager, HasNoExitFlagSet) {
    KURA_DiagManager& manager = Manager();
    EXPECT_EQ(manager.GetExitFlag(), 0);
    manager.SetIsCallBackFinish(true);
    EXPECT_EQ(manager.GetExitFlag(), 0);
    EXPECT_THAT(Set().events, IsEmpty());
}

TEST(KURA_DiagManager, EndsTheProcessAtOnceWithTheStatusGiven) {
    KURA_DiagManager& manager = Manager();
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        std::atexit([] { std::ofstream(std::string(kExitMark)) << "ran"; });
        manager.SetExitFlag(3);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 3);
    EXPECT_FALSE(fs::exists(kExitMark));
}
