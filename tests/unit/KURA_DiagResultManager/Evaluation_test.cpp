#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <limits>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "Fakes.h"
#include "KURA_DiagResultManager.h"
#include "Problems.h"

using fakes::Set;
using problems::Appeared;
using problems::Applied;
using problems::Disappeared;
using problems::kEarlier;
using problems::kLater;
using problems::kTime;
using problems::Lines;
using problems::Manager;
using problems::Solution;
using problems::Store;
using problems::Table;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::Not;

namespace {

constexpr int kAppeared = WM_TRANSITION_TYPE_TRUE;
constexpr int kDisappeared = WM_TRANSITION_TYPE_FALSE;

const std::string kFirst = "4 GetInferenceResult: First Inf Result : 5 1 70 registered 2026-03-04T05:06:07";
const std::string kNoSolution = "4 GetInferenceResult: Sol Result : 0 0 5 0 ";
const std::string kFind = "4 FindErrorCodeInDB: FindErrorCodeInDB";
const std::string kFound = "4 FindErrorCodeInDB: find!!!";
const std::string kCompare = "4 CompareTime: CompareTime";
const std::string kEnd = "4 FindErrorCodeInDB: End";
const std::string kDone = "4 GetInferenceResult: GetInferenceResult done : 1";
const std::string kRule = "4 FindErrorCodeInDB: " + std::string(83, '@');

/// One way through the evaluation of issue code 5, which appeared at kTime.
struct Branch {
    const char* name;
    std::function<void()> engine;
    std::vector<std::string> lines;  ///< after "SelectIssueCode"
    int rows;
};

void PrintTo(const Branch& branch, std::ostream* out) {
    *out << branch.name;
}

std::vector<std::string> Reported(std::vector<std::string> before, const std::string& solution,
                                  const std::vector<std::string>& decision = {kFound}) {
    before.insert(before.end(), {kFirst, solution, kFind});
    before.insert(before.end(), decision.begin(), decision.end());
    before.insert(before.end(), {kEnd, kDone});
    return before;
}

std::vector<std::string> Rejected(const std::string& solutionTime) {
    return {"4 GetInferenceResult: No Matching WM_TRANSITION_TYPE_FALSE InferenceDB : 5",
            kFirst,
            "4 GetInferenceResult: Sol Result : 5 72 1 1 " + solutionTime,
            kFind,
            kCompare,
            kRule,
            "4 FindErrorCodeInDB: FindErrorCodeInDB Error! sol.issue_code : [5], inf_data.at(0).issue_code : "
            "[5], "
            "sol_data.issue_code : [5] \n/// inf_data.lastUpdateTime : [2026-03-04T05:06:07] << "
            "sol_data.registerTime [" +
                solutionTime + "]",
            kRule,
            kEnd,
            "4 GetInferenceResult: No matching with Inference Result"};
}

const std::string kNeverGone = "4 GetInferenceResult: No Matching WM_TRANSITION_TYPE_FALSE InferenceDB : 5";
const std::string kNeverSolved = "4 GetInferenceResult: No Matching SolutionDB : 5";

const Branch kBranches[] = {
    {"NeverAppeared",
     [] { Set().inferences.clear(); },
     {"4 GetInferenceResult: No Matching WM_TRANSITION_TYPE_TRUE InferenceDB : 5"},
     0},
    {"ErrorOfTheAppearance",
     [] {
         Set().inferenceResults[{5, kAppeared}] = -7;
     },
     {"6 GetInferenceResult: GetInferenceDB API Error : -7"},
     0},
    {"NoRecordOfTheAppearance",
     [] {
         Set().inferences[{5, kAppeared}].clear();
     },
     {"4 GetInferenceResult: TR true Result is empty! : 5"},
     0},
    {"GoneOneSecondLater",
     [] { Disappeared(5, kLater); },
     {"4 GetInferenceResult: Skip because of time. TR_0 Time: [2026-03-04T05:06:08] >>> TR_1 Time : "
      "[2026-03-04T05:06:07]"},
     0},
    {"GoneAtALongerText",
     [] { Disappeared(5, std::string(kTime) + "0"); },
     {"4 GetInferenceResult: Skip because of time. TR_0 Time: [2026-03-04T05:06:070] >>> TR_1 Time : "
      "[2026-03-04T05:06:07]"},
     0},
    {"GoneAtTheSameTime", [] { Disappeared(5, kTime); }, Reported({}, kNoSolution, {kFound}), 1},
    {"GoneEarlier", [] { Disappeared(5, kEarlier); }, Reported({}, kNoSolution), 1},
    {"GoneAtAShorterText", [] { Disappeared(5, "2026-03-04"); }, Reported({}, kNoSolution), 1},
    {"OnlyTheFirstDisappearanceCounts",
     [] {
         Disappeared(5, kEarlier);
         Set().inferences[{5, kDisappeared}].push_back({5, 0, 0, "", kLater});
     },
     Reported({}, kNoSolution), 1},
    {"NoRecordOfTheDisappearance",
     [] {
         Set().inferences[{5, kDisappeared}].clear();
     },
     Reported({"4 GetInferenceResult: TR False result is empty! : 5"}, kNoSolution), 1},
    {"NeverGone", [] {}, Reported({kNeverGone}, kNoSolution), 1},
    {"ErrorOfTheDisappearance",
     [] {
         Disappeared(5, kLater);
         Set().inferenceResults[{5, kDisappeared}] = 1;
     },
     Reported({"6 GetInferenceResult: GetInferenceDB API Error : 1"}, kNoSolution), 1},
    {"ErrorOfTheSolution", [] { Set().solutionResults[5] = 9; },
     Reported({kNeverGone, "6 GetInferenceResult: GetInferenceDB API Error : 9"}, kNoSolution), 1},
    {"RecordDespiteAnErrorOfTheSolution",
     [] {
         Applied(5, 1, kLater);
         Set().solutionResults[5] = 9;
     },
     [] {
         std::vector<std::string> lines = Rejected(kLater);
         lines.insert(lines.begin() + 1, "6 GetInferenceResult: GetInferenceDB API Error : 9");
         return lines;
     }(),
     0},
    {"BackAfterItWasSolved", [] { Applied(5, 1, kEarlier); },
     Reported(
         {kNeverGone}, "4 GetInferenceResult: Sol Result : 5 72 1 1 2026-03-04T05:06:06",
         {kCompare,
          "4 FindErrorCodeInDB: sol.issue_code[5], inf_data.at(0).issue_code [5], inf_data.at(0).tr_type [1]",
          kFound}),
     1},
    {"SolutionNeverApplied", [] { Applied(5, 0, kLater); },
     Reported({kNeverGone}, "4 GetInferenceResult: Sol Result : 5 72 1 0 2026-03-04T05:06:08",
              {kCompare,
               "4 FindErrorCodeInDB: sol.issue_code[5], inf_data.at(0).issue_code [5], sol_data.isApply [0]",
               kFound}),
     1},
    {"SolvedAtTheSameTime", [] { Applied(5, 1, kTime); }, Rejected(kTime), 0},
    {"SolvedLater", [] { Applied(5, 1, kLater); }, Rejected(kLater), 0},
    {"SolutionOfAnotherIssue",
     [] {
         Set().solutions[5] = {6, 1, 2, 1, kLater};
     },
     Reported({kNeverGone}, "4 GetInferenceResult: Sol Result : 6 1 2 1 2026-03-04T05:06:08"), 1},
};

class EvaluationBranch : public testing::TestWithParam<Branch> {};

/// Fills in what Reported() leaves out: where no record of a solution is answered, that is a line of its own.
std::vector<std::string> Expected(const Branch& branch) {
    std::vector<std::string> lines = {"4 GetInferenceResult: GetInferenceResult",
                                      "4 GetInferenceResult: Solution Map  : 1",
                                      "4 GetInferenceResult: SelectIssueCode : 5"};
    lines.insert(lines.end(), branch.lines.begin(), branch.lines.end());
    const auto first = std::find(lines.begin(), lines.end(), kFirst);
    if (first != lines.end() && Set().solutions.count(5) == 0 && Set().solutionResults.count(5) == 0) {
        lines.insert(first, kNeverSolved);
    }
    return lines;
}

std::vector<std::string> QueriesOf(int code) {
    const std::string number = std::to_string(code);
    return {"GetInferenceDB(" + number + ", 1)", "GetInferenceDB(" + number + ", 0)",
            "GetSolutionDB(" + number + ")"};
}

}  // namespace

TEST_P(EvaluationBranch, LogsItsStepsAndDecides) {
    Store({Solution("5")});
    Appeared(5);
    GetParam().engine();
    EXPECT_EQ(Manager().GetInferenceResult(), GetParam().rows);
    EXPECT_THAT(Lines({"GetInferenceResult", "FindErrorCodeInDB", "CompareTime"}),
                ElementsAreArray(Expected(GetParam())));
    EXPECT_EQ(Table().size(), static_cast<std::size_t>(GetParam().rows));
}

INSTANTIATE_TEST_SUITE_P(Evaluation, EvaluationBranch, testing::ValuesIn(kBranches),
                         [](const auto& branch) { return std::string(branch.param.name); });

TEST(Evaluation, LeavesTheTableAloneForAnEmptyMap) {
    problems::Present({Solution("1")});
    ASSERT_EQ(Manager().GetInferenceResult(), 1);
    problems::ForgetRecords();
    Store({});
    EXPECT_EQ(Manager().GetInferenceResult(), 0);
    EXPECT_THAT(Lines({"GetInferenceResult"}), ElementsAre("4 GetInferenceResult: GetInferenceResult",
                                                           "4 GetInferenceResult: Solution Map  : 0"));
    EXPECT_TRUE(Set().calls.empty());
    EXPECT_EQ(Table().size(), 1U);
}

TEST(Evaluation, ReadsTheStoreOnce) {
    problems::Present({Solution("1"), Solution("2")});
    Manager().GetInferenceResult();
    EXPECT_THAT(Lines({"GetSolutionInformation"}),
                ElementsAre("4 GetSolutionInformation: GetSolutionInformation IN",
                            "4 GetSolutionInformation: GetSolutionInformation Out"));
    ASSERT_FALSE(Set().log.empty());
    EXPECT_EQ(Set().log.front().message, "GetInferenceResult");
}

TEST(Evaluation, AddsToTheTableThatItFinds) {
    problems::Present({Solution("1")});
    EXPECT_EQ(Manager().GetInferenceResult(), 1);
    EXPECT_EQ(Manager().GetInferenceResult(), 1);
    EXPECT_THAT(problems::CodesOf(Table()), ElementsAre("1", "1"));
}

TEST(Evaluation, CarriesTheMapsTextsIntoTheRow) {
    KURA::KURA_Solution solution("0042", "sol code", "type", "name", "issue sid", "sol sid", "button 1",
                                 "button 2", "reboot", "fg", "do it", "toast 1", "toast 2", "Component",
                                 "ENGINEER");
    solution.sol_val.push_back({"value", "type"});
    Store({solution});
    Appeared(42);
    ASSERT_EQ(Manager().GetInferenceResult(), 1);
    const std::vector<KURA::MapToDBTable> rows = Table();
    ASSERT_EQ(rows.size(), 1U);
    const KURA::MapToDBTable& row = rows.front();
    EXPECT_EQ(row.index, 1);
    EXPECT_EQ(row.issue_code, "0042");
    EXPECT_EQ(row.is_fix, 0);
    EXPECT_EQ(row.last_time, kTime);
    EXPECT_EQ(row.sol_type, "type");
    EXPECT_EQ(row.sol_name, "name");
    EXPECT_EQ(row.sid_issue, "issue sid");
    EXPECT_EQ(row.sid_sol, "sol sid");
    EXPECT_EQ(row.sid_button1, "button 1");
    EXPECT_EQ(row.sid_button2, "button 2");
    EXPECT_EQ(row.action, "do it");
    EXPECT_EQ(row.toast1, "toast 1");
    EXPECT_EQ(row.toast2, "toast 2");
    EXPECT_EQ(row.source, "Component");
    EXPECT_EQ(row.view_authority, "ENGINEER");
}

TEST(Evaluation, GivesEveryRowIndexOneAndCountsThem) {
    problems::Present({Solution("3"), Solution("1"), Solution("2")});
    EXPECT_EQ(Manager().GetInferenceResult(), 3);
    for (const KURA::MapToDBTable& row : Table()) {
        EXPECT_EQ(row.index, 1);
    }
    EXPECT_THAT(problems::CodesOf(Table()), ElementsAre("3", "1", "2"));
    for (const char* line :
         {"GetInferenceResult done : 1", "GetInferenceResult done : 2", "GetInferenceResult done : 3"}) {
        EXPECT_TRUE(Set().Logged(4, line)) << line;
    }
}

TEST(Evaluation, ReportsBothEntriesOfOneIssue) {
    problems::Present({Solution("8"), Solution("8")});
    EXPECT_EQ(Manager().GetInferenceResult(), 2);
}

TEST(Evaluation, AsksForAppearanceDisappearanceAndSolutionInThisOrder) {
    problems::Present({Solution("8")});
    Manager().GetInferenceResult();
    EXPECT_EQ(Set().calls, QueriesOf(8));
}

TEST(Evaluation, SkipsOnlyWhatIsExactlyInTheBackground) {
    const std::vector<std::string> kinds = {"bg", "BG", "Bg", "bg ", "", "fg", "b"};
    std::vector<KURA::KURA_Solution> solutions;
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        solutions.push_back(Solution(std::to_string(i + 1)));
        solutions.back().is_fg_bg = kinds[i];
    }
    problems::Present(solutions);
    EXPECT_EQ(Manager().GetInferenceResult(), 6);
    EXPECT_THAT(problems::CodesOf(Table()), ElementsAre("2", "3", "4", "5", "6", "7"));
    const std::vector<std::string> lines = Lines({"GetInferenceResult"});
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "4 GetInferenceResult: Skip bg issue"), 1);
    EXPECT_THAT(lines, Not(Contains("4 GetInferenceResult: SelectIssueCode : 1")));
    EXPECT_FALSE(Set().Called("GetInferenceDB(1, 1)"));
}

TEST(Evaluation, ConvertsCodesAsTheSetDoes) {
    struct {
        const char* text;
        int code;
        const char* shown;  ///< as an unsigned number
    } cases[] = {
        {"junk", 0, "0"},
        {"", 0, "0"},
        {"12x", 12, "12"},
        {" 7", 7, "7"},
        {"-5", -5, "4294967291"},
        {"2147483648", std::numeric_limits<int>::max(), "2147483647"},
        {"99999999999999999999", std::numeric_limits<int>::max(), "2147483647"},
        {"-2147483649", std::numeric_limits<int>::min(), "2147483648"},
    };
    for (const auto& row : cases) {
        problems::ForgetRecords();
        Store({Solution(row.text)});
        EXPECT_EQ(Manager().GetInferenceResult(), 0);
        EXPECT_TRUE(Set().Called("GetInferenceDB(" + std::to_string(row.code) + ", 1)")) << row.text;
        EXPECT_TRUE(Set().Logged(4, "SelectIssueCode : " + std::to_string(row.code))) << row.text;
        EXPECT_TRUE(
            Set().Logged(4, std::string("No Matching WM_TRANSITION_TYPE_TRUE InferenceDB : ") + row.shown))
            << row.text;
    }
}

TEST(Evaluation, ShowsCodesBeyondTheSignInEveryLine) {
    constexpr int kCode = -5;
    Store({Solution("-5")});
    Set().inferences[{kCode, kAppeared}] = {};
    Manager().GetInferenceResult();
    EXPECT_TRUE(Set().Logged(4, "TR true Result is empty! : 4294967291"));
    Appeared(kCode);
    Manager().GetInferenceResult();
    EXPECT_TRUE(Set().Logged(4, "No Matching WM_TRANSITION_TYPE_FALSE InferenceDB : 4294967291"));
    EXPECT_TRUE(Set().Logged(4, "No Matching SolutionDB : 4294967291"));
    Set().inferences[{kCode, kDisappeared}] = {};
    Manager().GetInferenceResult();
    EXPECT_TRUE(Set().Logged(4, "TR False result is empty! : 4294967291"));
}

TEST(Evaluation, StopsAtADeclaredCountBelowTheList) {
    problems::Present({Solution("1"), Solution("2"), Solution("3")});
    Store({Solution("1"), Solution("2"), Solution("3")}, 2);
    EXPECT_EQ(Manager().GetInferenceResult(), 2);
    EXPECT_TRUE(Set().Logged(4, "Solution Map  : 3"));
    EXPECT_THAT(problems::CodesOf(Table()), ElementsAre("1", "2"));
    EXPECT_FALSE(Set().Called("GetInferenceDB(3, 1)"));
}

TEST(Evaluation, EvaluatesNothingForADeclaredCountOfZero) {
    Appeared(1);
    Store({Solution("1")}, 0);
    EXPECT_EQ(Manager().GetInferenceResult(), 0);
    EXPECT_TRUE(Set().Logged(4, "Solution Map  : 1"));
    EXPECT_TRUE(Set().calls.empty());
}

TEST(Evaluation, ThrowsWhenTheDeclaredCountPassesTheList) {
    problems::Present({Solution("1")});
    Store({Solution("1")}, 2);
    std::string standard;
    try {
        static_cast<void>(std::vector<int>(1).at(1));
    } catch (const std::out_of_range& error) {
        standard = error.what();
    }
    try {
        Manager().GetInferenceResult();
        FAIL() << "the missing entry went unnoticed";
    } catch (const std::out_of_range& error) {
        EXPECT_EQ(error.what(), standard);
    }
    EXPECT_THAT(problems::CodesOf(Table()), ElementsAre("1"));
}

TEST(Evaluation, ForgetsTheRecordsOfAFailedQuery) {
    Store({Solution("1"), Solution("2")});
    Appeared(1);
    Set().inferenceResults[{1, kAppeared}] = 9;
    Set().inferences[{2, kAppeared}] = {};
    EXPECT_EQ(Manager().GetInferenceResult(), 0);
    EXPECT_TRUE(Set().Logged(4, "TR true Result is empty! : 2"));
}

TEST(Evaluation, ForgetsTheRecordsOfAnIssueThatIsSkipped) {
    Store({Solution("1"), Solution("2")});
    Appeared(1);
    Disappeared(1, kLater);
    Appeared(2);
    Set().inferences[{2, kDisappeared}] = {};
    EXPECT_EQ(Manager().GetInferenceResult(), 1);
    EXPECT_TRUE(Set().Logged(4, "TR False result is empty! : 2"));
    EXPECT_THAT(problems::CodesOf(Table()), ElementsAre("2"));
}

TEST(Evaluation, ForgetsTheRecordsOfAnIssueThatIsReported) {
    Store({Solution("1"), Solution("2")});
    Appeared(1);
    Set().inferences[{1, kDisappeared}] = {{1, 0, 0, "", kLater}};
    Set().inferenceResults[{1, kDisappeared}] = 9;
    Appeared(2, kEarlier);
    Set().inferences[{2, kDisappeared}] = {};
    EXPECT_EQ(Manager().GetInferenceResult(), 2);
    EXPECT_TRUE(Set().Logged(4, "TR False result is empty! : 2"));
    EXPECT_TRUE(Set().Logged(4, "First Inf Result : 2 1 70 registered 2026-03-04T05:06:06"));
}

TEST(Evaluation, ForgetsTheSolutionOfTheIssueBefore) {
    problems::Present({Solution("1"), Solution("2")});
    Applied(1, 1, kLater);
    EXPECT_EQ(Manager().GetInferenceResult(), 1);
    EXPECT_TRUE(Set().Logged(4, "Sol Result : 1 72 1 1 2026-03-04T05:06:08"));
    EXPECT_TRUE(Set().Logged(4, "Sol Result : 0 0 5 0 "));
}

TEST(Evaluation, PassesOverFailuresToTheNextIssue) {
    Store({Solution("1"), Solution("2"), Solution("3"), Solution("4")});
    Set().inferenceResults[{1, kAppeared}] = -1;
    Appeared(2);
    Set().inferenceResults[{2, kDisappeared}] = -2;
    Appeared(3);
    Set().solutionResults[3] = -3;
    Appeared(4);
    EXPECT_EQ(Manager().GetInferenceResult(), 3);
    EXPECT_THAT(problems::CodesOf(Table()), ElementsAre("2", "3", "4"));
}

TEST(Evaluation, UsesTheFirstAppearanceOnly) {
    Store({Solution("5")});
    Set().inferences[{5, kAppeared}] = {{5, 1, 70, "first", kTime}, {5, 1, 80, "second", kLater}};
    Disappeared(5, kLater);
    EXPECT_EQ(Manager().GetInferenceResult(), 0);
}

TEST(FindErrorCodeInDB, AddsNothingWithoutRecords) {
    KURA::KURA_Solution solution = Solution("5");
    std::vector<_WMInfDBRecord> none;
    _WMSolDBRecord applied{5, 1, 1, 1, kTime};
    EXPECT_EQ(Manager().FindErrorCodeInDB(solution, none, applied), 0);
    EXPECT_THAT(Lines({"FindErrorCodeInDB"}),
                ElementsAre(kFind, "6 FindErrorCodeInDB: No Infdata !!!!", kEnd));
    EXPECT_TRUE(Table().empty());
}

TEST(FindErrorCodeInDB, LeavesItsArgumentsAsTheyAre) {
    KURA::KURA_Solution solution = Solution("5");
    std::vector<_WMInfDBRecord> records = {{5, 1, 70, "registered", kTime}};
    _WMSolDBRecord applied{5, 1, 1, 1, kEarlier};
    EXPECT_EQ(Manager().FindErrorCodeInDB(solution, records, applied), 1);
    EXPECT_EQ(solution.issue_code, "5");
    EXPECT_EQ(solution.sol_name, "sol_name 5");
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records.front().lastUpdateTime, kTime);
    EXPECT_EQ(applied.registerTime, kEarlier);
}

TEST(FindErrorCodeInDB, ComparesTheEnginesNumbersNotTheMapsText) {
    KURA::KURA_Solution solution = Solution("another");
    std::vector<_WMInfDBRecord> records = {{5, 1, 70, "registered", kTime}};
    _WMSolDBRecord applied{5, 1, 1, 1, kTime};
    EXPECT_EQ(Manager().FindErrorCodeInDB(solution, records, applied), 0);
    applied.issue_code = 4;
    EXPECT_EQ(Manager().FindErrorCodeInDB(solution, records, applied), 1);
    EXPECT_THAT(problems::CodesOf(Table()), ElementsAre("another"));
}
