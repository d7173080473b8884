#include "KURA_Storage.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "Fakes.h"
#include "KURA_SolutionMap.h"
#include "dlog.h"

using KURA::KURA_Solution;
using KURA::TCInformationStorage;
using KURA::TSCurrentKURAMap;

namespace {

using Solutions = std::vector<KURA_Solution>;
using Texts = std::vector<std::string>;

const Texts kReadLog = {"GetSolutionInformation IN", "GetSolutionInformation Out"};

TCInformationStorage& Store() {
    return *TCInformationStorage::Instance();
}

/// Fifteen different texts, so that no field can stand for another.
KURA_Solution Make(const std::string& code) {
    return KURA_Solution(code, code + "b", code + "c", code + "d", code + "e", code + "f", code + "g",
                         code + "h", code + "i", code + "j", code + "k", code + "l", code + "m", code + "n",
                         code + "o");
}

Texts AllTexts(const KURA_Solution& s) {
    Texts texts = {s.issue_code, s.sol_code,    s.sol_type,    s.sol_name, s.sid_issue,
                   s.sid_sol,    s.sid_button1, s.sid_button2, s.reboot,   s.is_fg_bg,
                   s.action,     s.toast1,      s.toast2,      s.source,   s.view_authority};
    for (const KURA::KURA_SolutionValue& value : s.sol_val) {
        texts.push_back(value.param_value);
        texts.push_back(value.param_type);
    }
    return texts;
}

Texts Codes(const Solutions& solutions) {
    Texts codes;
    for (const KURA_Solution& solution : solutions) {
        codes.push_back(solution.issue_code);
    }
    return codes;
}

struct Read {
    unsigned int count = 77;
    Solutions solutions;
};

Read ReadAll() {
    Read read;
    Store().GetSolutionInformation(read.count, read.solutions);
    return read;
}

}  // namespace

TEST(Storage, IsCreatedOnce) {
    EXPECT_EQ(TCInformationStorage::Instance(), TCInformationStorage::Instance());
    EXPECT_TRUE(fakes::Set().log.empty());
}

TEST(Storage, IsEmptyAtFirst) {
    const Read read = ReadAll();
    EXPECT_EQ(read.count, 0U);
    EXPECT_TRUE(read.solutions.empty());

    TSCurrentKURAMap summary;
    summary.version = 5;
    summary.count = 6;
    summary.solutions = {Make("old")};
    Store().GetKURAMapInformation(summary);
    EXPECT_EQ(summary.version, 0U);
    EXPECT_EQ(summary.count, 0U);
    EXPECT_TRUE(summary.solutions.empty());

    unsigned int version = 9;
    unsigned int count = 9;
    Store().GetSMVersion(version);
    Store().GetSMCount(count);
    EXPECT_EQ(version, 0U);
    EXPECT_EQ(count, 0U);
}

TEST(Storage, KeepsVersionAndCountApart) {
    Store().SetSMVersion(4294967295U);
    Store().SetSMCount(7);
    unsigned int version = 0;
    unsigned int count = 0;
    Store().GetSMVersion(version);
    Store().GetSMCount(count);
    EXPECT_EQ(version, 4294967295U);
    EXPECT_EQ(count, 7U);
    EXPECT_EQ(ReadAll().count, 7U);
}

TEST(Storage, AppendsWithoutClearing) {
    const Solutions two = {Make("1"), Make("2")};
    Store().SetSolutionInformation(3, two);
    Store().SetSolutionInformation(3, two);
    const Read read = ReadAll();
    EXPECT_EQ(read.count, 3U);
    EXPECT_EQ(Codes(read.solutions), (Texts{"1", "2", "1", "2"}));
    EXPECT_EQ(Codes(two), (Texts{"1", "2"})) << "the caller's vector stays its own";
}

TEST(Storage, TakesAMapInPlaceOfWhatWasStored) {
    Store().SetSMVersion(4);
    Store().SetSolutionInformation(3, {Make("1"), Make("2")});
    KURA::KURA_SolutionMap map;
    map.count = 5;
    map.solutions = {Make("7")};
    Store().SetSolutionMap(map);
    EXPECT_EQ(Codes(map.solutions), Texts{"7"}) << "the caller's map stays its own";
    KURA::TSCurrentKURAMap summary;
    Store().GetKURAMapInformation(summary);
    EXPECT_EQ(summary.version, 4294967295U) << "a map without a version";
    EXPECT_EQ(summary.count, 5U);
    EXPECT_EQ(Codes(summary.solutions), Texts{"7"});

    Store().SetSolutionMap({});
    EXPECT_EQ(ReadAll().count, 0U);
    EXPECT_TRUE(ReadAll().solutions.empty());
}

TEST(Storage, TakesTheCountEvenWithoutSolutions) {
    Store().SetSolutionInformation(3, {Make("1")});
    Store().SetSolutionInformation(9, {});
    const Read read = ReadAll();
    EXPECT_EQ(read.count, 9U);
    EXPECT_EQ(Codes(read.solutions), Texts{"1"});
}

TEST(Storage, LeavesTheVersionAloneWhenSolutionsAreSet) {
    Store().SetSMVersion(4);
    Store().SetSolutionInformation(3, {Make("1")});
    unsigned int version = 0;
    Store().GetSMVersion(version);
    EXPECT_EQ(version, 4U);
}

TEST(Storage, TakesAMovedVectorOver) {
    Solutions given = {Make("1"), Make("2")};
    Store().SetSolutionInformation(2, std::move(given));
    Solutions more = {Make("3")};
    Store().SetSolutionInformation(3, std::move(more));
    const Read read = ReadAll();
    EXPECT_EQ(Codes(read.solutions), (Texts{"1", "2", "3"}));
    EXPECT_EQ(AllTexts(read.solutions[2]), AllTexts(Make("3")));
}

TEST(Storage, AppendsToWhatTheReaderHolds) {
    Store().SetSolutionInformation(1, {Make("stored")});
    Read read;
    read.solutions.push_back(Make("held"));
    Store().GetSolutionInformation(read.count, read.solutions);
    EXPECT_EQ(read.count, 1U);
    EXPECT_EQ(Codes(read.solutions), (Texts{"held", "stored"}));
}

TEST(Storage, HandsBackEveryTextAndEveryValueInOrder) {
    KURA_Solution solution = Make("1");
    solution.sol_val = {{"a", "x"}, {"b", "y"}, {"c", "z"}};
    Store().SetSolutionInformation(1, {solution, Make("2")});
    const Read read = ReadAll();
    ASSERT_EQ(read.solutions.size(), 2U);
    EXPECT_EQ(AllTexts(read.solutions[0]), AllTexts(solution));
    EXPECT_EQ(AllTexts(read.solutions[1]), AllTexts(Make("2")));
}

TEST(Storage, HandsOutCopiesOnly) {
    Store().SetSolutionInformation(1, {Make("1")});
    Read read = ReadAll();
    read.solutions[0].issue_code = "changed";
    read.solutions[0].sol_val.push_back({"a", "b"});
    const Read again = ReadAll();
    EXPECT_EQ(Codes(again.solutions), Texts{"1"});
    EXPECT_TRUE(again.solutions[0].sol_val.empty());
}

TEST(Storage, HandsBackTheDeclaredCountNotTheNumberOfSolutions) {
    Store().SetSolutionInformation(5, {Make("1")});
    EXPECT_EQ(ReadAll().count, 5U);
    Store().SetSMCount(2);
    EXPECT_EQ(ReadAll().count, 2U);
}

TEST(Storage, LogsEveryReadBeforeAndAfter) {
    Store().SetSMVersion(1);
    Store().SetSMCount(1);
    Store().SetSolutionInformation(1, {Make("1")});
    unsigned int number = 0;
    TSCurrentKURAMap summary;
    Store().GetSMVersion(number);
    Store().GetSMCount(number);
    Store().GetKURAMapInformation(summary);
    EXPECT_TRUE(fakes::Set().log.empty()) << "only the read of the solutions says something";
    ReadAll();
    EXPECT_EQ(fakes::Set().Messages(), kReadLog);
    for (const fakes::LogLine& line : fakes::Set().log) {
        EXPECT_EQ(line.priority, DLOG_INFO);
        EXPECT_EQ(line.function, "GetSolutionInformation");
        EXPECT_EQ(line.file, "KURA_Storage.cpp");
        EXPECT_EQ(line.tag, "TVKuraHelp");
    }
    Store().Initialize();
    Store().ResetInformationStorage();
    EXPECT_EQ(fakes::Set().log.size(), 2U);
}

TEST(Storage, IsEmptiedByInitializeAndByReset) {
    for (const auto empty :
         {&TCInformationStorage::Initialize, &TCInformationStorage::ResetInformationStorage}) {
        Store().SetSMVersion(4);
        Store().SetSolutionInformation(3, {Make("1"), Make("2")});
        (Store().*empty)();
        TSCurrentKURAMap summary;
        summary.version = 9;
        Store().GetKURAMapInformation(summary);
        EXPECT_EQ(summary.version, 0U);
        EXPECT_EQ(summary.count, 0U);
        EXPECT_TRUE(summary.solutions.empty());
        Store().SetSolutionInformation(1, {Make("3")});
        EXPECT_EQ(Codes(ReadAll().solutions), Texts{"3"});
        Store().Initialize();
    }
}

TEST(Storage, OverwritesTheWholeSummary) {
    Store().SetSMVersion(4);
    KURA_Solution valued = Make("1");
    valued.sol_val = {{"a", "b"}};
    Store().SetSolutionInformation(3, {valued, Make("2")});
    for (const std::size_t held : {0U, 1U, 2U, 5U}) {
        TSCurrentKURAMap summary;
        summary.solutions.assign(held, Make("old"));
        Store().GetKURAMapInformation(summary);
        EXPECT_EQ(summary.version, 4U);
        EXPECT_EQ(summary.count, 3U);
        ASSERT_EQ(summary.solutions.size(), 2U) << held;
        EXPECT_EQ(AllTexts(summary.solutions[0]), AllTexts(valued));
        EXPECT_EQ(AllTexts(summary.solutions[1]), AllTexts(Make("2")));
    }
}

TEST(Storage, FindsTheSolutionsOfOneIssueInDocumentOrder) {
    KURA_Solution second = Make("7");
    second.sol_name = "second";
    second.sol_val = {{"a", "b"}};
    Store().SetSolutionInformation(9, {Make("7"), Make("8"), second, Make("07"), Make("7 ")});
    Solutions out = {Make("held")};
    Store().GetSolutionsOfIssue("7", out);
    ASSERT_EQ(Codes(out), (Texts{"held", "7", "7"}));
    EXPECT_EQ(AllTexts(out[1]), AllTexts(Make("7")));
    EXPECT_EQ(AllTexts(out[2]), AllTexts(second));
    EXPECT_EQ(fakes::Set().Messages("GetSolutionInformation"), kReadLog);
    EXPECT_EQ(fakes::Set().log.size(), 2U);
    EXPECT_EQ(fakes::Set().log.at(0).priority, DLOG_INFO);
}

TEST(Storage, FindsNothingForAnUnknownIssue) {
    Solutions out;
    Store().GetSolutionsOfIssue("7", out);
    Store().SetSolutionInformation(1, {Make("7"), Make("")});
    Store().GetSolutionsOfIssue("70", out);
    EXPECT_TRUE(out.empty());
    Store().GetSolutionsOfIssue("", out);
    EXPECT_EQ(Codes(out), Texts{""});
}
