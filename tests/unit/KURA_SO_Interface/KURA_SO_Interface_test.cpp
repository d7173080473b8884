#include "KURA_SO_Interface.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "AddressSpace.h"
#include "Fakes.h"
#include "Files.h"
#include "KURA_DBManager.h"
#include "KURA_KPISender.h"
#include "KURA_SolutionMap.h"
#include "KURA_Storage.h"

using fakes::Set;
using testing::ElementsAre;

namespace fs = std::filesystem;

namespace {

/// Bytes that the next reads hand out at most; the library's reads come through the function below.
std::size_t g_readLimit = static_cast<std::size_t>(-1);

KURA::TSCurrentKURAMap Stored() {
    KURA::TSCurrentKURAMap map;
    KURA::TCInformationStorage::Instance()->GetKURAMapInformation(map);
    return map;
}

/// Fills the store with one solution, so that a test sees whether it was replaced.
void FillStore() {
    auto* storage = KURA::TCInformationStorage::Instance();
    storage->SetSMVersion(3);
    storage->SetSolutionInformation(
        1, {KURA::KURA_Solution("1", "", "", "", "", "", "", "", "", "", "", "", "", "", "")});
}

KURA::KURA_SolutionMap UntouchedMap() {
    KURA::KURA_SolutionMap map;
    map.version = 42;
    map.count = 9;
    map.solutions.emplace_back("keep", "", "", "", "", "", "", "", "", "", "", "", "", "", "");
    return map;
}

void ExpectUntouched(const KURA::KURA_SolutionMap& map) {
    EXPECT_EQ(map.version, 42);
    EXPECT_EQ(map.count, 9U);
    ASSERT_EQ(map.solutions.size(), 1U);
    EXPECT_EQ(map.solutions[0].issue_code, "keep");
}

/// Permissions hold for the superuser too from here on.
void GiveUpPrivileges() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    const __user_cap_data_struct none[2] = {};
    ASSERT_EQ(syscall(SYS_capset, &header, none), 0);
}

constexpr unsigned int kNoVersion = 4294967295U;

}  // namespace

extern "C" std::size_t fread(void* data, std::size_t size, std::size_t count, std::FILE* file) {
    using Function = std::size_t (*)(void*, std::size_t, std::size_t, std::FILE*);
    static const auto next = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "fread"));
    return next(data, size, count < g_readLimit ? count : g_readLimit, file);
}

TEST(ParseSolutionMap, PublishesTheInstalledDocument) {
    files::Install("<sminfo version=\"12\"/><sm cnt=\"2\"/>" +
                   files::Solution("100", "VCONFSET_INT", "db/key", {"1", "2"}) +
                   files::Solution("200", "INFO", ""));
    ParseSolutionMap();

    const KURA::TSCurrentKURAMap map = Stored();
    EXPECT_EQ(map.version, 12U);
    EXPECT_EQ(map.count, 2U);
    ASSERT_EQ(map.solutions.size(), 2U);
    EXPECT_EQ(map.solutions[0].issue_code, "100");
    ASSERT_EQ(map.solutions[0].sol_val.size(), 2U);
    EXPECT_EQ(map.solutions[0].sol_val[1].param_value, "2");
    EXPECT_EQ(map.solutions[1].issue_code, "200");
    EXPECT_THAT(files::Events({"ParseSolutionMap", "XMLParse"}),
                ElementsAre("log 6 ParseSolutionMap: ParseSolutionMap in so_interface",
                            "log 4 XMLParse: XMLParse FUNCTION --"));
}

TEST(ParseSolutionMap, LogsUnderTheTagWithBothLineNumbersAlike) {
    ParseSolutionMap();
    ASSERT_FALSE(Set().log.empty());
    EXPECT_EQ(Set().log[0].tag, "TVKuraHelp");
    EXPECT_EQ(Set().log[0].file, "KURA_SO_Interface.cpp");
    EXPECT_NE(Set().log[0].line, 0);
}

TEST(ParseSolutionMap, KeepsTheDeclaredCountBesideTheRealList) {
    files::Install("<sm cnt=\"5\"/>" + files::Solution("1", "INFO", "") + files::Solution("2", "INFO", "") +
                   files::Solution("3", "INFO", ""));
    ParseSolutionMap();
    EXPECT_EQ(Stored().count, 5U);
    EXPECT_EQ(Stored().solutions.size(), 3U);
}

TEST(ParseSolutionMap, ReplacesTheStoreOnEveryLoad) {
    FillStore();
    files::Install("<sm cnt=\"1\"/>" + files::Solution("2", "INFO", ""));
    ParseSolutionMap();
    ParseSolutionMap();
    ASSERT_EQ(Stored().solutions.size(), 1U);
    EXPECT_EQ(Stored().solutions[0].issue_code, "2");
    EXPECT_EQ(Stored().version, kNoVersion);
}

TEST(ParseSolutionMap, EmptiesTheStoreWhenTheDocumentIsMissing) {
    FillStore();
    ParseSolutionMap();
    EXPECT_EQ(Stored().version, kNoVersion);
    EXPECT_EQ(Stored().count, 0U);
    EXPECT_TRUE(Stored().solutions.empty());
    EXPECT_THAT(files::Events({"ParseSolutionMap", "XMLParse"}),
                ElementsAre("log 6 ParseSolutionMap: ParseSolutionMap in so_interface",
                            "log 4 XMLParse: XMLParse FUNCTION --",
                            std::string("log 6 XMLParse: Unable to open XML file ") + files::kMapPath,
                            "log 6 ParseSolutionMap: Parse error!!!!"));
}

TEST(ParseSolutionMap, TakesAnEmptyDocumentAsAnEmptyMap) {
    FillStore();
    files::Write(files::kMapPath, "");
    ParseSolutionMap();
    EXPECT_EQ(Stored().version, kNoVersion);
    EXPECT_EQ(Stored().count, 0U);
    EXPECT_TRUE(Stored().solutions.empty());
    EXPECT_FALSE(Set().Logged(6, "Parse error!!!!"));
}

TEST(ParseSolutionMap, EmptiesTheStoreWhenTheDocumentCannotBeReadWhole) {
    FillStore();
    const std::string text = files::Map("<sminfo version=\"8\"/><sm cnt=\"4\"/>");
    files::Write(files::kMapPath, text);
    g_readLimit = 5;
    ParseSolutionMap();
    g_readLimit = static_cast<std::size_t>(-1);
    EXPECT_EQ(Stored().version, kNoVersion);
    EXPECT_EQ(Stored().count, 0U);
    EXPECT_TRUE(Stored().solutions.empty());
    EXPECT_THAT(Set().events,
                ElementsAre("log 6 ParseSolutionMap: ParseSolutionMap in so_interface",
                            "log 4 XMLParse: XMLParse FUNCTION --",
                            "log 6 XMLParse: Read size 5 expected size " + std::to_string(text.size()),
                            "log 6 ParseSolutionMap: Parse error!!!!"));
}

TEST(ParseSolutionMap, PublishesWhatAMalformedDocumentHeldBeforeTheError) {
    FillStore();
    files::Write(files::kMapPath, "<root><sminfo version=\"8\"/><sm cnt=\"4\"/>" +
                                      files::Solution("5", "INFO", "") + "<oops></root>" +
                                      files::Solution("6", "INFO", ""));
    ParseSolutionMap();
    EXPECT_EQ(Stored().version, 8U);
    EXPECT_EQ(Stored().count, 4U);
    ASSERT_EQ(Stored().solutions.size(), 1U);
    EXPECT_EQ(Stored().solutions[0].issue_code, "5");
    EXPECT_TRUE(Set().Logged(6, "Parsing failed."));
    EXPECT_TRUE(Set().Logged(6, "Parse error!!!!"));
}

TEST(ParseSolutionMap, LeavesTheStoreAloneWhenAValuePrecedesEverySolution) {
    FillStore();
    files::Install("<sminfo version=\"8\"/><sol_val param_value=\"1\"/>");
    EXPECT_THROW(ParseSolutionMap(), std::out_of_range);
    EXPECT_EQ(Stored().version, 3U);
    ASSERT_EQ(Stored().solutions.size(), 1U);
    EXPECT_EQ(Stored().solutions[0].issue_code, "1");
    EXPECT_FALSE(Set().Logged(6, "Parse error!!!!"));
}

TEST(ParseSolutionMap, FollowsALinkToTheDocument) {
    files::Write("/home/elsewhere.xml", files::Map("<sm cnt=\"1\"/>" + files::Solution("5", "INFO", "")));
    fs::create_directories(fs::path(files::kMapPath).parent_path());
    fs::create_symlink("/home/elsewhere.xml", files::kMapPath);
    ParseSolutionMap();
    EXPECT_EQ(Stored().solutions.size(), 1U);
}

TEST(ParseSolutionMap, TakesADocumentThatLacksItsEnd) {
    for (const char* end : {"", "<", "<solution issue_code=\"7"}) {
        files::Write(files::kMapPath, "<root>" + files::Solution("5", "INFO", "") + end);
        ParseSolutionMap();
        EXPECT_EQ(Stored().solutions.size(), 1U) << end;
    }
    EXPECT_FALSE(Set().Logged(6, "Parse error!!!!"));
}

TEST(ParseSolutionMap, ReadsTagsNestedAMillionDeep) {
    constexpr int kDepth = 1000000;
    std::string text = "<r><sm cnt=\"1\"/>";
    for (int i = 0; i < kDepth; ++i) {
        text += "<a>";
    }
    text += files::Solution("5", "INFO", "");
    for (int i = 0; i < kDepth; ++i) {
        text += "</a>";
    }
    files::Write(files::kMapPath, text + "</r>");
    Set().keepRecords = false;
    ParseSolutionMap();
    EXPECT_EQ(Stored().count, 1U);
    EXPECT_EQ(Stored().solutions.size(), 1U);
}

TEST(XMLParse, RefusesWhatCannotBeOpenedAndLeavesTheMapAlone) {
    fs::create_directories("/home/folder");
    fs::create_directory_symlink("/home/folder", "/home/folderlink");
    fs::create_symlink("/home/absent", "/home/dangling");
    fs::create_symlink("/home/self", "/home/self");
    files::Write("/home/file", "<root/>");
    ASSERT_EQ(mkfifo("/home/fifo", 0666), 0);
    const std::string longName = "/home/" + std::string(300, 'x');
    for (const std::string path : {"/home/folder", "/home/folderlink", "/home/dangling", "/home/self",
                                   "/home/fifo", "/home/missing", "/home/file/below", "", longName.c_str()}) {
        SCOPED_TRACE(path);
        Set().events.clear();
        KURA::KURA_SolutionMap map = UntouchedMap();
        EXPECT_FALSE(XMLParse(path.c_str(), map));
        ExpectUntouched(map);
        EXPECT_THAT(Set().events, ElementsAre("log 4 XMLParse: XMLParse FUNCTION --",
                                              "log 6 XMLParse: Unable to open XML file " + path));
    }
}

TEST(XMLParse, RefusesAFileThatItMayNotRead) {
    files::Write("/home/file", "<root/>");
    ASSERT_EQ(chmod("/home/file", 0), 0);
    GiveUpPrivileges();
    KURA::KURA_SolutionMap map = UntouchedMap();
    EXPECT_FALSE(XMLParse("/home/file", map));
    ExpectUntouched(map);
    EXPECT_TRUE(Set().Logged(6, "Unable to open XML file /home/file"));
}

TEST(XMLParse, ReadsANullPathAsAnEmptyOne) {
    KURA::KURA_SolutionMap map = UntouchedMap();
    EXPECT_FALSE(XMLParse(nullptr, map));
    ExpectUntouched(map);
    EXPECT_TRUE(Set().Logged(6, "Unable to open XML file "));
}

TEST(XMLParse, RefusesAFileOfTwoGibibytesOrMore) {
    for (const std::uintmax_t size : {2147483648ULL, 4294967297ULL}) {
        files::Write("/home/huge", "<root/>");
        fs::resize_file("/home/huge", size);
        KURA::KURA_SolutionMap map = UntouchedMap();
        EXPECT_FALSE(XMLParse("/home/huge", map)) << size;
        ExpectUntouched(map);
    }
    EXPECT_THAT(files::Events({"XMLParse"}),
                ElementsAre("log 4 XMLParse: XMLParse FUNCTION --",
                            "log 6 XMLParse: Unable to open XML file /home/huge",
                            "log 4 XMLParse: XMLParse FUNCTION --",
                            "log 6 XMLParse: Unable to open XML file /home/huge"));
}

TEST(XMLParse, RefusesADocumentThatTheMemoryCannotHold) {
    files::Write("/home/large", "<root/>");
    fs::resize_file("/home/large", 2147483647);
    const fakes::AddressSpaceLimit limit(std::size_t{1} << 30);
    if (!limit.Holds()) {
        GTEST_SKIP() << "the address space has no limit here";
    }
    KURA::KURA_SolutionMap map = UntouchedMap();
    EXPECT_FALSE(XMLParse("/home/large", map));
    ExpectUntouched(map);
    EXPECT_TRUE(Set().Logged(6, "Unable to open XML file /home/large"));
}

TEST(XMLParse, RefusesADocumentThatCannotBeReadWhole) {
    files::Write("/home/file", "<root></root>");
    KURA::KURA_SolutionMap map = UntouchedMap();
    g_readLimit = 5;
    EXPECT_FALSE(XMLParse("/home/file", map));
    g_readLimit = static_cast<std::size_t>(-1);
    ExpectUntouched(map);
    EXPECT_THAT(Set().events, ElementsAre("log 4 XMLParse: XMLParse FUNCTION --",
                                          "log 6 XMLParse: Read size 5 expected size 13"));
}

TEST(XMLParse, EmptiesTheListAndKeepsVersionAndCountThatTheDocumentDoesNotName) {
    files::Write("/home/file", "<root></root>");
    KURA::KURA_SolutionMap map = UntouchedMap();
    EXPECT_TRUE(XMLParse("/home/file", map));
    EXPECT_EQ(map.version, 42);
    EXPECT_EQ(map.count, 9U);
    EXPECT_TRUE(map.solutions.empty());
}

TEST(XMLParse, FailsForAZeroByteInTheText) {
    files::Write("/home/file", files::Map(files::Solution("5", "INFO", "")) + std::string(1, '\0'));
    KURA::KURA_SolutionMap map;
    EXPECT_FALSE(XMLParse("/home/file", map));
    EXPECT_EQ(map.solutions.size(), 1U);
}

TEST(XMLParse, LeavesNoFileOpen) {
    files::Write("/home/file", "<root/>");
    fs::create_directories("/home/folder");
    ASSERT_EQ(mkfifo("/home/fifo", 0666), 0);
    const auto countOpen = [] {
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    };
    const auto before = countOpen();
    KURA::KURA_SolutionMap map;
    for (const char* path : {"/home/file", "/home/folder", "/home/fifo", "/home/missing"}) {
        XMLParse(path, map);
    }
    EXPECT_EQ(countOpen(), before);
}

TEST(XMLParse, ReadsADocumentThatGetsDescriptorZero) {
    files::Write("/home/file", "<root/>");
    const int input = dup(STDIN_FILENO);
    close(STDIN_FILENO);
    KURA::KURA_SolutionMap map;
    EXPECT_TRUE(XMLParse("/home/file", map));
    EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1) << "it is closed";
    dup2(input, STDIN_FILENO);
}

TEST(ParseInterface, BuildsANewParserForEveryDocument) {
    KURA::KURA_SolutionMap map;
    EXPECT_FALSE(parseInterface("<root><a></b>", map));
    EXPECT_TRUE(parseInterface(files::Map(files::Solution("5", "INFO", "")), map));
    EXPECT_EQ(map.solutions.size(), 1U);
    EXPECT_TRUE(parseInterface("", map));
    EXPECT_TRUE(map.solutions.empty());
}

TEST(ParseInterface, LetsTheErrorOfAMisplacedValuePass) {
    KURA::KURA_SolutionMap map;
    EXPECT_THROW(parseInterface("<root><sol_val/></root>", map), std::out_of_range);
}

TEST(SaveResultToSolutionDB, RecordsTheStoredSolutionWithTheEngine) {
    files::Install(files::Solution("100", "CMD", "reboot", {}, "31"));
    ParseSolutionMap();
    Set().events.clear();
    SaveResultToSolutionDB("100", "start");
    SaveResultToSolutionDB("100", "cancel");
    EXPECT_THAT(files::Events({"SaveResultToSolutionDB"}),
                ElementsAre("log 4 SaveResultToSolutionDB: save result to sol DB called",
                            "SetSolutionDB(100, 31, 3, 1)",
                            "log 4 SaveResultToSolutionDB: save result to sol DB called",
                            "SetSolutionDB(100, 31, 3, 0)"));
}

TEST(SaveResultToSolutionDB, RecordsAnUnknownIssueWithZeroes) {
    files::Install(files::Solution("100", "CMD", "reboot", {}, "31"));
    ParseSolutionMap();
    SaveResultToSolutionDB("101", "start");
    EXPECT_THAT(Set().calls, ElementsAre("SetSolutionDB(101, 0, 0, 1)"));
}

TEST(RemoveSolvedProblem, DeletesTheRowsOfTheIssueOnly) {
    fs::create_directories(files::kDatabaseFolder);
    auto* database = TCDBManager::GetInstance();
    database->OpenDB(EDB_REMAINING);
    for (const char* code : {"100", "200", "100"}) {
        ASSERT_TRUE(database->SetDB(
            "remainingTBL", {"1", code, "0", "t", "a", "b", "c", "d", "e", "f", "g", "h", "DTV", "USER"}));
    }
    database->CloseDB();
    Set().events.clear();

    RemoveSolvedProblemFromRemainingDB("100");
    EXPECT_THAT(
        files::Events({"RemoveSolvedProblemFromRemainingDB", "DeleteRemainingDBColumn"}),
        ElementsAre("log 4 RemoveSolvedProblemFromRemainingDB: RemoveSolvedProblemFromRemainingDB called",
                    "log 4 DeleteRemainingDBColumn: DeleteRemainingDBColumn",
                    "log 3 RemoveSolvedProblemFromRemainingDB: iss_code(100) is removed from RemainingDB"));
    std::vector<std::string> codes;
    database->OpenDB(EDB_REMAINING);
    EXPECT_TRUE(database->GetDB(EDB_REMAINING, "issue_code", codes));
    database->CloseDB();
    EXPECT_THAT(codes, ElementsAre("200"));
}

TEST(SendSelfDiagnosisResult, ForwardsBothTextsToTheUsageReport) {
    KURA::KURA_KPISender::GetInstance();
    Set().events.clear();
    SendSelfDiagnosisResult("PictureTest", "Good");
    EXPECT_THAT(
        files::Events({"SendSelfDiagnosisResult", "SendKurahelpKPI"}),
        ElementsAre("log 4 SendSelfDiagnosisResult: SendSelfDiagnosisResult",
                    "log 4 SendKurahelpKPI: SendKurahelp KPI", testing::StartsWith("AddEventLogSync(")));
    ASSERT_EQ(Set().usageEvents.size(), 1U);
    EXPECT_THAT(Set().usageEvents[0][3], testing::HasSubstr("select_item=PictureTest;status=Good;"));
}

TEST(SendSelfDiagnosisResult, SaysSoBeforeTheSenderIsMade) {
    SendSelfDiagnosisResult("PictureTest", "Good");
    ASSERT_FALSE(Set().events.empty());
    EXPECT_EQ(Set().events.front(), "log 4 SendSelfDiagnosisResult: SendSelfDiagnosisResult");
    EXPECT_THAT(Set().Messages("KURA_KPISender"), ElementsAre("KURA_KPISender"));
}

TEST(SendSelfDiagnosisResult, SurvivesNullTexts) {
    SendSelfDiagnosisResult(nullptr, nullptr);
    EXPECT_EQ(Set().usageEvents.size(), 1U);
}
