#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "Database.h"
#include "Fakes.h"
#include "KURA_DiagResultManager.h"
#include "Problems.h"

using fakes::Set;
using problems::Appeared;
using problems::CodesOf;
using problems::Events;
using problems::IsUnlocked;
using problems::kTime;
using problems::Lines;
using problems::Manager;
using problems::Present;
using problems::Solution;
using problems::Store;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

namespace fs = std::filesystem;

namespace {

constexpr const char* kGuideFolder = "/tmp/tutorlink";
constexpr const char* kGuideFile = "/tmp/tutorlink/inference_result";
constexpr const char* kBackgroundFile = "/opt/usr/home/owner/content/Documents/inference_result";

void MakeGuideFolders() {
    fs::create_directories(fs::path(kGuideFile).parent_path());
    fs::create_directories(fs::path(kBackgroundFile).parent_path());
}

std::string Read(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

void Write(const fs::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

std::ptrdiff_t OpenFiles() {
    const fs::directory_iterator files("/proc/self/fd");
    return std::distance(begin(files), end(files));
}

/// openTutorForWrite with a text of the test's own; returns what it wrote to the standard error stream.
std::string OpenTutor(std::string path) {
    testing::internal::CaptureStderr();
    Manager().openTutorForWrite(path.data());
    return testing::internal::GetCapturedStderr();
}

}  // namespace

// --- The error list ---

TEST(CreateErrorList, EvaluatesSavesReportsAndShowsInThisOrder) {
    database::MakeFolder();
    Present({Solution("1")});
    Manager().CreateErrorList();
    std::vector<std::string> events =
        Events({"CreateErrorList", "CleanDiagResult", "SaveRemainingProblems", "ClearRemainingProblems"});
    const auto isOther = [](const std::string& event) {
        return event.rfind("CUtils::", 0) == 0 || event.rfind("system_info", 0) == 0 ||
               event.rfind("vconf_get", 0) == 0;
    };
    events.erase(std::remove_if(events.begin(), events.end(), isOther), events.end());
    constexpr std::size_t kReport = 11;
    ASSERT_THAT(events, SizeIs(15));
    EXPECT_THAT(events[kReport], StartsWith("AddEventLogSync(23_kurahelp, KURAHELP, EV003, {"));
    events[kReport] = "report";
    EXPECT_THAT(
        events,
        ElementsAre("log 4 CreateErrorList: CreateErrorList", "log 4 CleanDiagResult: CleanDiagResult",
                    "vconf_set_str(system/watchman/STOperation, {\"id\" : \"CreateErrorList\"})",
                    "GetInferenceDB(1, 1)", "GetInferenceDB(1, 0)", "GetSolutionDB(1)",
                    "log 4 CreateErrorList: GetInferenceResult Success",
                    "log 4 SaveRemainingProblems: SaveRemainingProblems",
                    "log 4 ClearRemainingProblems: ClearRemainingProblems",
                    "log 4 SaveRemainingProblems: Remaining DB is saved",
                    "vconf_set_bool(db/kurahelp/db_reset, 0)", "report",
                    "log 4 CreateErrorList: CREATE_ERROR_LIST_BUNDLE_SEND",
                    "log 4 CreateErrorList: SendDataToRemotePort Key : Result, value : {1, "
                    "2026-03-04T05:06:07, sid_issue, sid_sol,  , sid_button1, sid_button2, action, toast1, "
                    "toast2, sol_type}",
                    "CStartKH::m_DiagResCallback(1)"));
}

TEST(CreateErrorList, HandsTheStartScreenWholeRows) {
    database::MakeFolder();
    Present({Solution("1"), Solution("2")});
    Manager().CreateErrorList();
    ASSERT_THAT(Set().startScreenLists, SizeIs(1));
    const std::vector<KURA::MapToDBTable>& rows = Set().startScreenLists[0];
    EXPECT_THAT(CodesOf(rows), ElementsAre("1", "2"));
    EXPECT_EQ(rows[1].sol_name, "sol_name 2");
    EXPECT_EQ(rows[1].last_time, kTime);
    EXPECT_EQ(rows[1].view_authority, "USER");
    EXPECT_THAT(Set().homeScreenLists, IsEmpty());
}

TEST(CreateErrorList, ClearsTheResetMark) {
    database::MakeFolder();
    Set().intKeys["db/kurahelp/db_reset"] = 1;
    Present({Solution("1")});
    Manager().CreateErrorList();
    EXPECT_EQ(Set().intKeys["db/kurahelp/db_reset"], 0);
    EXPECT_EQ(Set().stringKeys["system/watchman/STOperation"], "{\"id\" : \"CreateErrorList\"}");
}

TEST(CreateErrorList, ReportsTheNumberOfRowsNotOfThoseShown) {
    database::MakeFolder();
    Present({Solution("1"), Solution("2", "", "ENGINEER"), Solution("3")});
    Manager().CreateErrorList();
    ASSERT_THAT(Set().usageEvents, SizeIs(1));
    EXPECT_THAT(Set().usageEvents[0][3], HasSubstr(";select_item=CreateErrorList;"));
    EXPECT_THAT(Set().usageEvents[0][3], HasSubstr(";issue_count=3;"));
    EXPECT_THAT(CodesOf(Set().startScreenLists.at(0)), ElementsAre("1", "3"));
}

TEST(CreateErrorList, ShowsAndStoresNothingOfAnotherSource) {
    database::MakeFolder();
    Set().channelType = 2;
    Set().hostSource = 0;
    Present({Solution("1", "HDMI")});
    Manager().CreateErrorList();
    EXPECT_THAT(database::Rows(), IsEmpty());
    ASSERT_THAT(Set().usageEvents, SizeIs(1));
    EXPECT_THAT(Set().usageEvents[0][3], HasSubstr(";issue_count=1;"));
    EXPECT_THAT(Set().startScreenLists, ElementsAre(IsEmpty()));
    EXPECT_THAT(Set().Messages("CreateErrorList"),
                ElementsAre("CreateErrorList", "GetInferenceResult Success"));
}

TEST(CreateErrorList, DoesNotShowARowForTheUserAndABlank) {
    database::MakeFolder();
    Present({Solution("1", "", "USER "), Solution("2")});
    Manager().CreateErrorList();
    ASSERT_THAT(Set().startScreenLists, SizeIs(1));
    EXPECT_THAT(CodesOf(Set().startScreenLists[0]), ElementsAre("2"));
}

TEST(CreateErrorList, ShowsAnEmptyListAndSavesNothingWhenNothingIsFound) {
    database::Make();
    database::Add("1", "99");
    Set().intKeys["db/kurahelp/db_reset"] = 1;
    Store({Solution("1")});
    Manager().CreateErrorList();
    EXPECT_THAT(Events({"CreateErrorList"}),
                ElementsAre("log 4 CreateErrorList: CreateErrorList",
                            "vconf_set_str(system/watchman/STOperation, {\"id\" : \"CreateErrorList\"})",
                            "GetInferenceDB(1, 1)", "log 6 CreateErrorList: GetInferenceResult Failed",
                            "CStartKH::m_DiagResCallback(0)"));
    EXPECT_THAT(Set().startScreenLists, ElementsAre(IsEmpty()));
    EXPECT_EQ(Set().intKeys["db/kurahelp/db_reset"], 1);
    EXPECT_THAT(database::Codes(), ElementsAre("99"));
}

TEST(CreateErrorList, StartsFromACleanTable) {
    database::MakeFolder();
    Present({Solution("1")});
    Manager().CreateErrorList();
    Manager().CreateErrorList();
    ASSERT_THAT(Set().startScreenLists, SizeIs(2));
    EXPECT_THAT(CodesOf(Set().startScreenLists[1]), ElementsAre("1"));
    EXPECT_THAT(database::Codes(), ElementsAre("1"));
}

TEST(CreateErrorList, KeepsTheStoreAndTheHostOutOfABrokenDocument) {
    database::Make();
    database::Add("1", "99");
    Appeared(1);
    Store({Solution("1")}, 2);
    EXPECT_THROW(Manager().CreateErrorList(), std::out_of_range);
    EXPECT_THAT(Set().startScreenLists, IsEmpty());
    EXPECT_THAT(Set().usageEvents, IsEmpty());
    EXPECT_THAT(database::Codes(), ElementsAre("99"));
    EXPECT_FALSE(Set().Called("vconf_set_bool(db/kurahelp/db_reset, 0)"));
    EXPECT_TRUE(IsUnlocked());
}

TEST(CreateErrorList, ReleasesItsLockWhenTheStartScreenThrows) {
    Set().onCall = [](const std::string& call) {
        if (call.rfind("CStartKH", 0) == 0) {
            throw std::runtime_error("screen");
        }
    };
    EXPECT_THROW(Manager().CreateErrorList(), std::runtime_error);
    Set().onCall = nullptr;
    EXPECT_TRUE(IsUnlocked());
}

TEST(CreateErrorList, StillShowsTheListWithoutAStore) {
    Present({Solution("1")});
    Manager().CreateErrorList();
    ASSERT_THAT(Set().startScreenLists, SizeIs(1));
    EXPECT_THAT(CodesOf(Set().startScreenLists[0]), ElementsAre("1"));
    EXPECT_TRUE(Set().Called("vconf_set_bool(db/kurahelp/db_reset, 0)"));
}

// --- The guide's file ---

TEST(CreateTutorErrList, ChoosesTheFileByTheLaunchOrigin) {
    struct {
        const char* origin;
        const char* logged;
        bool background;
    } cases[] = {
        {"bg_inference", "bg_inference", true},
        {"bg_inference2", "bg_inference2", false},
        {"bg_inferenc", "bg_inferenc", false},
        {"BG_INFERENCE", "BG_INFERENCE", false},
        {"", "", false},
        {"smarthub", "smarthub", false},
        {nullptr, "(null)", false},
    };
    for (const auto& row : cases) {
        MakeGuideFolders();
        Present({Solution("5")});
        Manager().CleanDiagResult();
        problems::ForgetRecords();
        Set().launchFrom = row.origin;
        Manager().CreateTutorErrList();
        EXPECT_EQ(fs::exists(kBackgroundFile), row.background) << row.logged;
        EXPECT_EQ(fs::exists(kGuideFile), !row.background) << row.logged;
        EXPECT_EQ(Read(row.background ? kBackgroundFile : kGuideFile), "5\n") << row.logged;
        EXPECT_THAT(Lines({"CreateTutorErrList"}),
                    ElementsAre("4 CreateTutorErrList: CreateTutorErrorList",
                                std::string("4 CreateTutorErrList: tutor Launched from ") + row.logged));
        fs::remove(kBackgroundFile);
        fs::remove(kGuideFile);
    }
}

TEST(CreateTutorErrList, WritesOneLineForEachIssueWithoutAnyFilter) {
    MakeGuideFolders();
    Set().hostSource = 0;
    Present({Solution("3"), Solution("1", "HDMI"), Solution("2", "", "ENGINEER")});
    Manager().CreateTutorErrList();
    EXPECT_EQ(Read(kGuideFile), "3\n1\n2\n");
    EXPECT_THAT(Events({"CreateTutorErrList", "openTutorForWrite"}),
                ElementsAre("log 4 CreateTutorErrList: CreateTutorErrorList", "CUtils::m_pGetLaunchFrom()",
                            "log 4 CreateTutorErrList: tutor Launched from (null)",
                            "log 4 openTutorForWrite: open Tutorfor write", "GetInferenceDB(3, 1)",
                            "GetInferenceDB(3, 0)", "GetSolutionDB(3)", "GetInferenceDB(1, 1)",
                            "GetInferenceDB(1, 0)", "GetSolutionDB(1)", "GetInferenceDB(2, 1)",
                            "GetInferenceDB(2, 0)", "GetSolutionDB(2)",
                            "log 4 openTutorForWrite: GetInferenceResult Success",
                            "log 4 openTutorForWrite: m_table Size is 3"));
    EXPECT_FALSE(fs::exists(database::kFolder));
}

TEST(CreateTutorErrList, RepeatsTheFirstRunsIssuesInASecondRun) {
    MakeGuideFolders();
    Present({Solution("1"), Solution("2")});
    Manager().CreateTutorErrList();
    Present({Solution("7")});
    Manager().CreateTutorErrList();
    EXPECT_EQ(Read(kGuideFile), "1\n2\n7\n");
    EXPECT_TRUE(Set().Logged(4, "m_table Size is 3"));
    EXPECT_THAT(Set().Messages("CleanDiagResult"), IsEmpty());
}

TEST(CreateTutorErrList, StartsAnewAfterAnAutomaticRun) {
    MakeGuideFolders();
    database::MakeFolder();
    Present({Solution("1")});
    Manager().CreateTutorErrList();
    Present({Solution("7")});
    Manager().CreateErrorList();
    Manager().CreateTutorErrList();
    EXPECT_EQ(Read(kGuideFile), "7\n7\n");
}

TEST(CreateTutorErrList, LeavesAnEmptyFileWhenNothingIsFound) {
    MakeGuideFolders();
    Write(kGuideFile, "old content\n");
    Store({Solution("1")});
    Manager().CreateTutorErrList();
    EXPECT_EQ(Read(kGuideFile), "");
    EXPECT_THAT(Lines({"openTutorForWrite"}), ElementsAre("4 openTutorForWrite: open Tutorfor write",
                                                          "6 openTutorForWrite: GetInferenceResult Failed"));
}

TEST(CreateTutorErrList, WritesNothingOfAnEarlierRunWhenNothingIsFoundNow) {
    MakeGuideFolders();
    Present({Solution("1")});
    Manager().CreateTutorErrList();
    Store({});
    Manager().CreateTutorErrList();
    EXPECT_EQ(Read(kGuideFile), "");
}

TEST(CreateTutorErrList, RefusesALink) {
    MakeGuideFolders();
    Write("/tmp/target", "content");
    fs::create_symlink("/tmp/target", kGuideFile);
    Present({Solution("1")});
    Manager().CreateTutorErrList();
    EXPECT_THAT(Lines({"CreateTutorErrList", "openTutorForWrite"}),
                ElementsAre("4 CreateTutorErrList: CreateTutorErrorList",
                            "4 CreateTutorErrList: tutor Launched from (null)",
                            "6 CreateTutorErrList: symbolic link is detected\n"));
    EXPECT_EQ(Read("/tmp/target"), "content");
    EXPECT_EQ(Set().CountCalls("GetInferenceDB"), 0U);
}

TEST(CreateTutorErrList, RefusesALinkThatLeadsNowhere) {
    MakeGuideFolders();
    fs::create_symlink("/tmp/target", kGuideFile);
    Manager().CreateTutorErrList();
    EXPECT_TRUE(Set().Logged(6, "symbolic link is detected\n"));
    EXPECT_FALSE(fs::exists("/tmp/target"));
}

TEST(CreateTutorErrList, TellsWhyThePathCannotBeLookedAt) {
    Write(kGuideFolder, "a file where the folder should be");
    Manager().CreateTutorErrList();
    EXPECT_THAT(
        Lines({"CreateTutorErrList", "openTutorForWrite"}),
        ElementsAre(
            "4 CreateTutorErrList: CreateTutorErrorList", "4 CreateTutorErrList: tutor Launched from (null)",
            "6 CreateTutorErrList: lstat error /tmp/tutorlink/inference_result " + std::to_string(ENOTDIR)));
}

TEST(CreateTutorErrList, DoesNotMakeTheFolder) {
    Present({Solution("1")});
    Manager().CreateTutorErrList();
    EXPECT_FALSE(fs::exists(kGuideFolder));
    EXPECT_THAT(Lines({"openTutorForWrite"}),
                ElementsAre("4 openTutorForWrite: open Tutorfor write",
                            "6 openTutorForWrite: Unable to open file /tmp/tutorlink/inference_result " +
                                std::to_string(ENOENT)));
    EXPECT_EQ(Set().CountCalls("GetInferenceDB"), 0U);
}

TEST(OpenTutorForWrite, TellsOfALinkOnTheErrorStreamOnly) {
    MakeGuideFolders();
    Write("/tmp/target", "content");
    fs::create_symlink("/tmp/target", kGuideFile);
    EXPECT_EQ(OpenTutor(kGuideFile), "symbolic link is detected\n");
    EXPECT_THAT(Lines({"openTutorForWrite"}), ElementsAre("4 openTutorForWrite: open Tutorfor write"));
    EXPECT_EQ(Read("/tmp/target"), "content");
    EXPECT_TRUE(IsUnlocked());
}

TEST(OpenTutorForWrite, TellsThatThePathCannotBeLookedAt) {
    Write(kGuideFolder, "a file where the folder should be");
    EXPECT_EQ(OpenTutor(kGuideFile), "");
    EXPECT_THAT(Lines({"openTutorForWrite"}),
                ElementsAre("4 openTutorForWrite: open Tutorfor write", "6 openTutorForWrite: lstat error"));
    EXPECT_TRUE(IsUnlocked());
}

TEST(OpenTutorForWrite, WritesAnyPathThatItIsGiven) {
    Present({Solution("1")});
    EXPECT_EQ(OpenTutor("/tmp/elsewhere"), "");
    EXPECT_EQ(Read("/tmp/elsewhere"), "1\n");
}

TEST(OpenTutorForWrite, ReadsNoPathAsAnEmptyOne) {
    for (const bool isNull : {true, false}) {
        problems::ForgetRecords();
        std::string empty;
        Manager().openTutorForWrite(isNull ? nullptr : empty.data());
        EXPECT_TRUE(Set().Logged(6, "Unable to open file  " + std::to_string(ENOENT)));
    }
}

TEST(OpenTutorForWrite, RefusesWhatIsNotAPlainFile) {
    const std::string unable = "6 openTutorForWrite: Unable to open file /tmp/tutorlink/inference_result ";
    struct {
        const char* kind;
        int error;
    } cases[] = {{"folder", EISDIR}, {"fifo", EINVAL}, {"second name", EMLINK}, {"linked folder", ELOOP}};
    for (const auto& row : cases) {
        fs::remove_all(kGuideFolder);
        fs::remove_all("/tmp/other");
        fs::create_directories("/tmp/other");
        const std::string kind = row.kind;
        if (kind == "linked folder") {
            fs::create_symlink("/tmp/other", kGuideFolder);
        } else {
            fs::create_directories(kGuideFolder);
        }
        if (kind == "folder") {
            fs::create_directories(kGuideFile);
        } else if (kind == "fifo") {
            ASSERT_EQ(mkfifo(kGuideFile, 0666), 0);
        } else if (kind == "second name") {
            Write("/tmp/other/name", "content");
            fs::create_hard_link("/tmp/other/name", kGuideFile);
        }
        problems::ForgetRecords();
        Present({Solution("1")});
        EXPECT_EQ(OpenTutor(kGuideFile), "") << kind;
        const std::vector<std::string> lines = Lines({"openTutorForWrite"});
        EXPECT_THAT(lines, ElementsAre("4 openTutorForWrite: open Tutorfor write",
                                       unable + std::to_string(row.error)))
            << kind;
        EXPECT_EQ(Set().CountCalls("GetInferenceDB"), 0U) << kind;
        if (kind == "second name") {
            EXPECT_EQ(Read("/tmp/other/name"), "content");
        } else if (kind == "linked folder") {
            EXPECT_TRUE(fs::is_empty("/tmp/other"));
        }
    }
    EXPECT_TRUE(IsUnlocked());
}

TEST(OpenTutorForWrite, ReleasesFileAndLockWhenTheDocumentIsBroken) {
    MakeGuideFolders();
    Appeared(1);
    Store({Solution("1")}, 2);
    const std::ptrdiff_t before = OpenFiles();
    std::string path = kGuideFile;
    EXPECT_THROW(Manager().openTutorForWrite(path.data()), std::out_of_range);
    EXPECT_EQ(OpenFiles(), before);
    EXPECT_EQ(Read(kGuideFile), "");
    EXPECT_TRUE(IsUnlocked());
}

TEST(OpenTutorForWrite, LeavesNoPartOfAListThatTheDiskHasNoRoomFor) {
    MakeGuideFolders();
    Present({Solution("12345"), Solution("67890")});
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{8, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &small);
    Manager().CreateTutorErrList();
    EXPECT_EQ(Read(kGuideFile), "");
    const rlimit enough{12, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &enough);
    Manager().CleanDiagResult();
    Manager().CreateTutorErrList();
    EXPECT_EQ(Read(kGuideFile), "12345\n67890\n");
    const rlimit all{RLIM_INFINITY, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &all);
}

TEST(OpenTutorForWrite, TellsThatTheProcessMayOpenNothingMore) {
    MakeGuideFolders();
    Write(kGuideFile, "old content\n");
    const int next = dup(STDIN_FILENO);
    close(next);
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none{static_cast<rlim_t>(next), before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    Manager().CreateTutorErrList();
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_TRUE(
        Set().Logged(6, std::string("Unable to open file ") + kGuideFile + " " + std::to_string(EMFILE)));
    EXPECT_EQ(Read(kGuideFile), "old content\n");
}

TEST(OpenTutorForWrite, ClosesItsFile) {
    MakeGuideFolders();
    Present({Solution("1")});
    const std::ptrdiff_t before = OpenFiles();
    OpenTutor(kGuideFile);
    EXPECT_EQ(OpenFiles(), before);
}
