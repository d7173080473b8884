#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "Fakes.h"
#include "KURA_DiagManager.h"
#include "SetUp.h"

using fakes::Set;
using KURA::KURA_DiagManager;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace fs = std::filesystem;

namespace {

GMainLoop* const kHostsLoop = reinterpret_cast<GMainLoop*>(&Set());

std::string Named(const char* call, const GMainLoop* which) {
    return std::string(call) + (which == kHostsLoop ? "(the host's)" : "(another)");
}

void Create() {
    setup::Install();
    KURA_DiagManager::GetInstance();
    setup::ForgetRecords();
}

/// Runs the completion as the engine does.
void Complete(WMInferenceCallback callback) {
    callback(17, WMSignalData{{1, 2, 3, 4}});
}

/// Calls, and the log lines of the callbacks.
std::vector<std::string> Events() {
    std::vector<std::string> chosen;
    for (const std::string& event : Set().events) {
        const std::size_t function = std::string("log 4 ").size();
        const std::size_t end = event.find(':', function);
        const bool isLog = event.rfind("log ", 0) == 0;
        const std::string name = isLog ? event.substr(function, end - function) : "";
        if (!isLog || name == "CreateTutorErrList" || name == "CompareRemaining" ||
            name == "CreateErrorList" ||
            (name.size() > 12 && name.substr(name.size() - 12) == "CallbackFunc")) {
            chosen.push_back(event);
        }
    }
    return chosen;
}

// The marks of how far a diagnosis came have no getters; naming a member in an explicit instantiation is how
// a test may reach it.
struct Finished {};
struct Started {};
bool IsMarked(Finished, const KURA_DiagManager& manager);
bool IsMarked(Started, const KURA_DiagManager& manager);

template <typename Mark, std::atomic<bool> KURA_DiagManager::*kMember>
struct MarkAccess {
    friend bool IsMarked(Mark, const KURA_DiagManager& manager) { return manager.*kMember; }
};

template struct MarkAccess<Finished, &KURA_DiagManager::isCallBackFinish>;
template struct MarkAccess<Started, &KURA_DiagManager::m_isDiagnosisStarted>;

bool IsFinished() {
    return IsMarked(Finished(), *KURA_DiagManager::GetInstance());
}

bool IsStarted() {
    return IsMarked(Started(), *KURA_DiagManager::GetInstance());
}

std::string GuideFile() {
    std::ifstream file(setup::kGuideFile, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

// The host's loop is a mark in these tests: the library's calls on it come here.
extern "C" void g_main_loop_unref(GMainLoop* which) {
    Set().Record(Named("g_main_loop_unref", which));
}
extern "C" void g_main_loop_quit(GMainLoop* which) {
    Set().Record(Named("g_main_loop_quit", which));
}

TEST(Marks, AreNotSetOnAFreshManager) {
    Create();
    EXPECT_FALSE(IsStarted());
    EXPECT_FALSE(IsFinished());
}

TEST(Marks, TellThatTheAutomaticDiagnosisStarted) {
    Create();
    KURA_DiagManager::GetInstance()->StartAutoDiagnosis();
    EXPECT_TRUE(IsStarted());
    EXPECT_FALSE(IsFinished());
}

TEST(Marks, TellThatTheRemainingProblemsStarted) {
    Create();
    KURA_DiagManager::GetInstance()->RemainingProblem();
    EXPECT_TRUE(IsStarted());
    EXPECT_FALSE(IsFinished());
}

TEST(Marks, DoNotTellThatTheGuidedDiagnosisStarted) {
    Create();
    KURA_DiagManager::GetInstance()->StartTutorDiagnosis();
    EXPECT_FALSE(IsStarted());
    EXPECT_FALSE(IsFinished());
}

TEST(Marks, StayOnceSet) {
    Create();
    KURA_DiagManager::GetInstance()->StartAutoDiagnosis();
    Complete(KURA_DiagManager::SolutionCallbackFunc);
    Complete(KURA_DiagManager::RemainingCallbackFunc);
    EXPECT_TRUE(IsStarted());
    EXPECT_FALSE(IsFinished());
    Complete(KURA_DiagManager::TutorCallbackFunc);
    KURA_DiagManager::GetInstance()->StartTutorDiagnosis();
    KURA_DiagManager::GetInstance()->RemainingProblem();
    EXPECT_TRUE(IsStarted());
    EXPECT_TRUE(IsFinished());
}

TEST(TutorCallback, WritesTheGuidesFileWithoutALoop) {
    Create();
    ASSERT_EQ(loop, nullptr);
    ASSERT_FALSE(IsFinished());
    Complete(KURA_DiagManager::TutorCallbackFunc);
    EXPECT_TRUE(IsFinished());
    EXPECT_EQ(GuideFile(), "5\n10000001\n");
    EXPECT_EQ(Events().front(), "log 4 TutorCallbackFunc: TutorCallbackFunc");
    EXPECT_EQ(Set().CountCalls("g_main_loop"), 0U);
    EXPECT_EQ(Set().CountCalls("vconf_set_str"), 0U);
    EXPECT_THAT(Set().startScreenLists, IsEmpty());
    EXPECT_THAT(Set().homeScreenLists, IsEmpty());
}

TEST(TutorCallback, ReleasesTheHostsLoopBeforeItEndsIt) {
    Create();
    loop = kHostsLoop;
    std::string fileAtTheEnd;
    Set().onCall = [&](const std::string& call) {
        if (call.rfind("g_main_loop_unref", 0) == 0) {
            fileAtTheEnd = GuideFile();
        }
    };
    Complete(KURA_DiagManager::TutorCallbackFunc);
    std::vector<std::string> calls = Set().calls;
    ASSERT_GE(calls.size(), 2U);
    EXPECT_THAT(std::vector<std::string>(calls.end() - 2, calls.end()),
                ElementsAre("g_main_loop_unref(the host's)", "g_main_loop_quit(the host's)"));
    EXPECT_EQ(Set().CountCalls("g_main_loop"), 2U);
    EXPECT_EQ(fileAtTheEnd, "5\n10000001\n");
    EXPECT_EQ(loop, kHostsLoop);
    loop = nullptr;
}

TEST(TutorCallback, EndsTheLoopAlsoWhenTheFileIsRefused) {
    Create();
    fs::create_symlink("/tmp/elsewhere", setup::kGuideFile);
    loop = kHostsLoop;
    Complete(KURA_DiagManager::TutorCallbackFunc);
    EXPECT_EQ(Set().CountCalls("g_main_loop"), 2U);
    EXPECT_FALSE(fs::exists("/tmp/elsewhere"));
    loop = nullptr;
}

TEST(TutorCallback, CreatesTheManagerWhenTheHostHasNone) {
    setup::Install();
    Complete(KURA_DiagManager::TutorCallbackFunc);
    EXPECT_EQ(Set().log.front().message, "TutorCallbackFunc");
    EXPECT_TRUE(Set().Logged(4, "Start DiagnosisManager"));
    EXPECT_EQ(GuideFile(), "5\n10000001\n");
}

TEST(SolutionCallback, MarksItsProgressAndPublishesToTheStartScreen) {
    Create();
    Complete(KURA_DiagManager::SolutionCallbackFunc);
    const std::vector<std::string> events = Events();
    ASSERT_GE(events.size(), 6U);
    EXPECT_THAT(std::vector<std::string>(events.begin(), events.begin() + 5),
                ElementsAre("log 4 SolutionCallbackFunc: SolutionCallbackFunc",
                            "vconf_set_str(system/watchman/STOperation, {\"id\" : \"SolutionCallback\"})",
                            "log 4 SolutionCallbackFunc: CreateErrorList start..",
                            "log 4 CreateErrorList: CreateErrorList",
                            "vconf_set_str(system/watchman/STOperation, {\"id\" : \"CreateErrorList\"})"));
    EXPECT_EQ(events[events.size() - 2], "CStartKH::m_DiagResCallback(2)");
    EXPECT_EQ(events.back(), "log 4 SolutionCallbackFunc: CreateErrorList end..");
    EXPECT_THAT(Set().startScreenLists, ElementsAre(SizeIs(2)));
    EXPECT_THAT(Set().homeScreenLists, IsEmpty());
}

TEST(RemainingCallback, MarksItsProgressAndPublishesToTheHomeScreen) {
    Create();
    Complete(KURA_DiagManager::SolutionCallbackFunc);
    setup::ForgetRecords();
    Complete(KURA_DiagManager::RemainingCallbackFunc);
    const std::vector<std::string> events = Events();
    ASSERT_GE(events.size(), 5U);
    EXPECT_THAT(std::vector<std::string>(events.begin(), events.begin() + 4),
                ElementsAre("log 4 RemainingCallbackFunc: RemainingCallbackFunc",
                            "vconf_set_str(system/watchman/STOperation, {\"id\" : \"RemainingCallback\"})",
                            "log 4 CompareRemaining: CompareRemaining",
                            "vconf_set_str(system/watchman/STOperation, {\"id\" : \"CompareRemaining\"})"));
    EXPECT_EQ(events.back(), "CHomeScreen::m_DiagResCallback(2)");
    EXPECT_THAT(Set().homeScreenLists, ElementsAre(SizeIs(2)));
    EXPECT_THAT(Set().startScreenLists, SizeIs(1));
}

TEST(Callbacks, MayCallTheLibraryFromTheScreen) {
    Create();
    Set().onCall = [](const std::string& call) {
        if (call.rfind("CStartKH", 0) == 0) {
            KURA_DiagManager::GetInstance()->RemainingProblem();
        }
    };
    Complete(KURA_DiagManager::SolutionCallbackFunc);
    EXPECT_THAT(Set().subscriptions, ElementsAre(&KURA_DiagManager::RemainingCallbackFunc));
}

TEST(Callbacks, ReleaseTheirLockWhenTheDocumentIsBroken) {
    setup::Install();
    setup::WriteMap("<root><sm cnt=\"3\"/>" + setup::Issue("5") + "</root>");
    KURA_DiagManager* manager = KURA_DiagManager::GetInstance();
    for (const WMInferenceCallback callback :
         {&KURA_DiagManager::SolutionCallbackFunc, &KURA_DiagManager::TutorCallbackFunc}) {
        EXPECT_THROW(Complete(callback), std::out_of_range);
        EXPECT_EQ(std::async(std::launch::async, KURA_DiagManager::GetInstance).get(), manager);
    }
    EXPECT_THAT(Set().Messages("SolutionCallbackFunc"), Not(Contains("CreateErrorList end..")));
    EXPECT_THAT(Set().startScreenLists, IsEmpty());
}
