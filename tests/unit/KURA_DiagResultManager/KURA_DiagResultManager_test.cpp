#include "KURA_DiagResultManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <array>
#include <cstddef>
#include <ctime>
#include <string>
#include <vector>

#include "Fakes.h"
#include "Problems.h"

using fakes::Set;
using problems::Lines;
using problems::Manager;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Texts = std::vector<std::string>;

struct SourceCase {
    const char* source;
    int channelType;
    int currentSource;
    bool shown;
};

const SourceCase kSourceCases[] = {
    {"DTV", 2, 0, true},       {"DTV", 4, 0, true},        {"DTV", 7, 0, true},    {"DTV", 1, 0, false},
    {"DTV", 3, 0, false},      {"DTV", 0, 0, false},       {"DTV", 5, 0, false},   {"DTV", 6, 0, false},
    {"DTV", 8, 0, false},      {"DTV", -1, 0, false},      {"DTV", 2, 1, false},   {"DTV", 4, 13, false},
    {"DTV", 7, -1, false},     {"HDMI", 2, 13, true},      {"HDMI", 0, 14, true},  {"HDMI", 0, 15, true},
    {"HDMI", 0, 16, true},     {"HDMI", 0, 38, true},      {"HDMI", 0, 39, true},  {"HDMI", 0, 46, false},
    {"HDMI", 0, 47, false},    {"HDMI", 0, 12, false},     {"HDMI", 0, 17, false}, {"HDMI", 0, 37, false},
    {"HDMI", 0, 40, false},    {"HDMI", 2, 0, false},      {"HDMI", 2, -1, false}, {"", 0, 99, true},
    {"dtv", 0, 99, true},      {"hdmi", 0, 99, true},      {"DTV ", 0, 99, true},  {"HDMI1", 0, 99, true},
    {"DTV,HDMI", 0, 99, true}, {"Component", 0, 99, true}, {nullptr, 0, 99, true},
};

}  // namespace

TEST(KURA_DiagResultManager, IsOneForTheProcess) {
    EXPECT_EQ(KURA::KURA_DiagResultManager::GetInstance(), KURA::KURA_DiagResultManager::GetInstance());
    EXPECT_TRUE(Set().events.empty());
}

TEST(KURA_DiagResultManager, StartsWithAnEmptyTable) {
    std::vector<KURA::MapToDBTable> rows;
    EXPECT_FALSE(Manager().GetRemainingTable(rows));
    EXPECT_TRUE(rows.empty());
}

TEST(KURA_DiagResultManager, ShowsARowOnItsOwnSourceOnly) {
    for (const SourceCase& row : kSourceCases) {
        Set().channelType = row.channelType;
        Set().hostSource = row.currentSource;
        EXPECT_EQ(Manager().CheckSourceType(row.source), row.shown)
            << (row.source == nullptr ? "null" : row.source) << ", channel type " << row.channelType
            << ", source " << row.currentSource;
    }
}

TEST(KURA_DiagResultManager, AsksForChannelAndSourceWhateverTheText) {
    for (const char* source : {"DTV", "HDMI", "", "other"}) {
        problems::ForgetRecords();
        Manager().CheckSourceType(source);
        EXPECT_THAT(Set().events, ElementsAre("CUtils::GetChannelType()", "CUtils::GetCurrentSourceInfo()"))
            << source;
    }
}

TEST(KURA_DiagResultManager, ShowsToTheUserOnlyWhatIsExactlyForTheUser) {
    EXPECT_TRUE(Manager().CheckViewType("USER"));
    for (const char* viewer :
         {"", "user", "User", "USER ", " USER", "USERS", "USE", "ENGINEER", "USER,ENGINEER"}) {
        EXPECT_FALSE(Manager().CheckViewType(viewer)) << "'" << viewer << "'";
    }
    EXPECT_FALSE(Manager().CheckViewType(nullptr));
    EXPECT_TRUE(Set().events.empty());
}

TEST(KURA_DiagResultManager, ComparesTimesAsBytes) {
    struct {
        std::string a;
        std::string b;
        int later;
    } cases[] = {
        {"2026-01-02T00:00:00", "2026-01-01T23:59:59", 1},
        {"2026-01-01T23:59:59", "2026-01-02T00:00:00", 0},
        {"2026-01-01T23:59:59", "2026-01-01T23:59:59", 0},
        {"2026-01-01T23:59:59.", "2026-01-01T23:59:59", 1},
        {"2026-01-01T23:59:59", "2026-01-01T23:59:59.", 0},
        {"", "", 0},
        {"a", "", 1},
        {"", "a", 0},
        {"b", "aa", 1},
        {"\xc3\xa4", "z", 1},  // bytes count without a sign
    };
    for (auto& row : cases) {
        EXPECT_EQ(Manager().CompareTime(row.a, row.b), row.later) << row.a << " against " << row.b;
    }
}

TEST(KURA_DiagResultManager, LogsAComparisonOfTimes) {
    std::string time = "a";
    Manager().CompareTime(time, "b");
    EXPECT_THAT(Lines({"CompareTime"}), ElementsAre("4 CompareTime: CompareTime"));
}

TEST(KURA_DiagResultManager, TellsTheLocalTime) {
    ASSERT_EQ(setenv("TZ", "FAR-05:30", 1), 0);
    tzset();
    const auto shown = [](std::time_t time) {
        const std::time_t there = time + 5 * 3600 + 30 * 60;
        std::tm parts{};
        gmtime_r(&there, &parts);
        std::array<char, 20> text{};
        EXPECT_EQ(std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts), 19U);
        return std::string(text.data());
    };
    const std::string before = shown(std::time(nullptr));
    const std::string now = Manager().GetCurrentTime();
    const std::string after = shown(std::time(nullptr));
    EXPECT_LE(before, now);
    EXPECT_LE(now, after);
    EXPECT_EQ(now.size(), 19U);
    EXPECT_THAT(Lines({"GetCurrentTime"}), ElementsAre("4 GetCurrentTime: GetCurrentTime()"));
}

TEST(KURA_DiagResultManager, SplitsALineAtItsCommas) {
    struct {
        std::string line;
        std::vector<Texts> columns;
    } cases[] = {
        {"a,b,c,d,e", {{"a"}, {"b"}, {"c"}, {"d"}, {"e"}}},
        {"a,b,c,d,e,f,g", {{"a"}, {"b"}, {"c"}, {"d"}, {"e"}}},
        {"a,b", {{"a"}, {"b"}, {}, {}, {}}},
        {"a,b,", {{"a"}, {"b"}, {}, {}, {}}},
        {"a,,c", {{"a"}, {""}, {"c"}, {}, {}}},
        {",", {{""}, {}, {}, {}, {}}},
        {"", {{}, {}, {}, {}, {}}},
        {" a , \"b,c\" ", {{" a "}, {" \"b"}, {"c\" "}, {}, {}}},
        {"a\nb,c", {{"a\nb"}, {"c"}, {}, {}, {}}},
    };
    for (auto& row : cases) {
        KURA::KURA_SolutionDB solution;
        Manager().TokenString(row.line, solution);
        EXPECT_EQ((std::vector<Texts>{solution.registerTime, solution.issueCode, solution.solutionCode,
                                      solution.type, solution.isApply}),
                  row.columns)
            << row.line;
        KURA::KURA_InferenceDB inference;
        Manager().TokenString(row.line, inference);
        EXPECT_EQ((std::vector<Texts>{inference.registerTime, inference.lastUpdatedTime, inference.issueCode,
                                      inference.TR, inference.solutionCode}),
                  row.columns)
            << row.line;
    }
}

TEST(KURA_DiagResultManager, AppendsTheTokensOfEveryLine) {
    KURA::KURA_SolutionDB columns;
    std::string first = "a,b,c,d,e";
    std::string second = "f,g";
    Manager().TokenString(first, columns);
    Manager().TokenString(second, columns);
    EXPECT_THAT(columns.registerTime, ElementsAre("a", "f"));
    EXPECT_THAT(columns.issueCode, ElementsAre("b", "g"));
    EXPECT_THAT(columns.solutionCode, ElementsAre("c"));
    EXPECT_EQ(first, "a,b,c,d,e");
}

TEST(KURA_DiagResultManager, CleansAnEmptyTableWithoutASecondLine) {
    Manager().CleanDiagResult();
    EXPECT_THAT(Lines({"CleanDiagResult"}), ElementsAre("4 CleanDiagResult: CleanDiagResult"));
}

TEST(KURA_DiagResultManager, CleansAFilledTable) {
    problems::Present({problems::Solution("1")});
    ASSERT_EQ(Manager().GetInferenceResult(), 1);
    Manager().CleanDiagResult();
    EXPECT_THAT(Lines({"CleanDiagResult"}),
                ElementsAre("4 CleanDiagResult: CleanDiagResult", "4 CleanDiagResult: m_table Clear"));
    EXPECT_THAT(problems::Table(), IsEmpty());
}
