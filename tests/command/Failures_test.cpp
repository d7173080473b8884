// Bad documents, a set that misbehaves, and bad command lines: a clear answer, the documented exit code,
// nothing lost.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "Kura.h"

namespace {

namespace fs = std::filesystem;
using command::Answer;
using command::Codes;
using command::Kura;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;

std::string ErrorOf(const Answer& answer) {
    const json document = answer.Document();
    return document.is_object() && document.contains("error") ? document["error"].value("message", "") : "";
}

std::string FailureOfDiagnosis(const Kura& kura) {
    const Answer answer = kura.Run({"diagnose", "--json"});
    EXPECT_EQ(answer.status, 1);
    return ErrorOf(answer);
}

bool Logged(const Kura& kura, const std::string& message) {
    const json document = kura.Json({"log"});
    for (const json& line : document.at("lines")) {
        if (line.at("message").get<std::string>().find(message) != std::string::npos) {
            return true;
        }
    }
    return false;
}

TEST(BadDocument, MissingGivesAnEmptyListAndSaysSo) {
    const Kura kura;
    fs::remove(kura.Map());
    const json document = kura.Json({"diagnose"});
    EXPECT_TRUE(document.at("problems").empty());
    EXPECT_EQ(document.at("map").at("version"), -1);
    EXPECT_TRUE(Logged(kura, "Unable to open XML file /opt/usr/share/TVKuraHelp/SolutionMap.xml"));
    EXPECT_TRUE(Logged(kura, "Parse error!!!!"));
}

TEST(BadDocument, EmptyGivesAnEmptyMap) {
    const Kura kura;
    kura.WriteMap("");
    EXPECT_TRUE(kura.Json({"diagnose"}).at("problems").empty());
    EXPECT_FALSE(Logged(kura, "Parse error!!!!"));
}

TEST(BadDocument, MalformedKeepsWhatWasReadBefore) {
    const Kura kura;
    kura.WriteMap("<map><sm cnt=\"1\"/><solution issue_code=\"1001\" view_authority=\"USER\"/>\n<broken <");
    EXPECT_EQ(Codes(kura.Json({"diagnose"}).at("problems")), std::vector<std::string>{"1001"});
    EXPECT_TRUE(Logged(kura, "Parsing failed."));
}

TEST(BadDocument, TruncatedStillDiagnoses) {
    const Kura kura;
    const std::string text = command::ReadFile(kura.Map());
    kura.WriteMap(text.substr(0, text.size() / 2));
    EXPECT_THAT(FailureOfDiagnosis(kura),
                AllOf(HasSubstr("the diagnosis broke off, because the solution map declares 63 "),
                      HasSubstr("\"kura map check\"")));
}

TEST(BadDocument, AValueBeforeEverySolutionIsReported) {
    const Kura kura;
    kura.WriteMap("<map><sol_val param_value=\"1\"/></map>");
    for (const auto& verb : std::vector<std::vector<std::string>>{
             {"diagnose"}, {"problems"}, {"guide"}, {"fix", "1001"}, {"fix", "1001", "--preview"}}) {
        std::vector<std::string> words = verb;
        words.emplace_back("--json");
        const Answer answer = kura.Run(words);
        EXPECT_EQ(answer.status, 1) << verb.front();
        EXPECT_EQ(
            ErrorOf(answer),
            "the solution map cannot be loaded: a value stands before its first solution; \"kura map check\" "
            "says where")
            << verb.front();
    }
}

TEST(BadDocument, ADeclaredCountTooLargeEndsTheRunOnTheEnginesThread) {
    const Kura kura;
    kura.Json({"diagnose"});
    kura.WriteMap("<map><sm cnt=\"3\"/><solution issue_code=\"1001\" view_authority=\"USER\"/></map>");
    EXPECT_EQ(
        FailureOfDiagnosis(kura),
        "the diagnosis broke off, because the solution map declares 3 solutions and holds 1; \"kura map "
        "check\" says what to mend");
    EXPECT_EQ(kura.Json({"problems"}).at("problems").size(), 11U);
}

TEST(BadDocument, DeepNestingIsRead) {
    const Kura kura;
    std::string text = "<map><sm cnt=\"1\"/>";
    for (int i = 0; i < 200000; ++i) {
        text += "<a>";
    }
    kura.WriteMap(text + "<solution issue_code=\"1001\" view_authority=\"USER\"/>");
    EXPECT_EQ(Codes(kura.Json({"diagnose"}).at("problems")), std::vector<std::string>{"1001"});
}

TEST(BadSet, ADamagedStoreIsAnEmptyListAndTheNextDiagnosisSaysWhy) {
    const Kura kura;
    command::WriteFile(kura.Opt("usr/home/owner/share/remaining.db"),
                       "this is not a database, but it is long enough");
    EXPECT_TRUE(kura.Json({"problems"}).at("problems").empty());
    EXPECT_TRUE(Logged(kura, "ERROR: "));
    const Answer answer = kura.Run({"diagnose", "--json"});
    EXPECT_EQ(answer.status, 1);
    EXPECT_THAT(ErrorOf(answer), HasSubstr("could not keep the problems"));
    EXPECT_EQ(answer.Document().at("problems").size(), 11U);
}

TEST(BadSet, AnOptThatTakesNothingShowsTheListAndNamesWhatIsNotKept) {
    for (const char* fault : {"read-only", "full"}) {
        const Kura kura;
        json description = kura.Description();
        description["faults"]["opt"] = fault;
        kura.Describe(description);
        const Answer answer = kura.Run({"diagnose", "--json"});
        EXPECT_EQ(answer.status, 1) << fault;
        EXPECT_EQ(
            ErrorOf(answer),
            "the set could not keep the problems as unfixed in /opt/usr/home/owner/share/remaining.db (see "
            "kura log): 1001, 1006, 2004, 3001, 4001, 14000001, 5003, 6001, 16000001, 8001");
        EXPECT_EQ(answer.Document().at("problems").size(), 11U);
        EXPECT_TRUE(Logged(kura, "ERROR: sql execute is fail!!"));
        EXPECT_TRUE(kura.Json({"problems"}).at("problems").empty());
    }
}

TEST(BadSet, AListThatWasKeptBeforeIsKept) {
    const Kura kura;
    kura.Json({"diagnose"});
    json description = kura.Description();
    description["faults"]["opt"] = "read-only";
    kura.Describe(description);
    EXPECT_EQ(kura.Json({"diagnose"}).at("problems").size(), 11U);
}

TEST(BadSet, EngineErrorsLeaveTheIssueOutAndGoOn) {
    const Kura kura;
    json description = kura.Description();
    description["faults"]["engine"]["inference"]["1001"]["true"] = 7;
    description["faults"]["engine"]["solution"]["2004"] = 9;
    kura.Describe(description);
    const auto codes = Codes(kura.Json({"diagnose"}).at("problems"));
    EXPECT_EQ(std::count(codes.begin(), codes.end(), "1001"), 0);
    EXPECT_EQ(std::count(codes.begin(), codes.end(), "2004"), 1);
    EXPECT_TRUE(Logged(kura, "GetInferenceDB API Error : 7"));
    EXPECT_TRUE(Logged(kura, "GetInferenceDB API Error : 9"));
}

TEST(BadSet, AnEngineThatNeverAnswersIsExitCodeFour) {
    const Kura kura;
    json description = kura.Description();
    description["faults"]["engine"]["silent"] = true;
    kura.Describe(description);
    const Answer answer = kura.Run({"diagnose", "--json", "--patience", "1"});
    EXPECT_EQ(answer.status, 4);
    EXPECT_THAT(ErrorOf(answer), HasSubstr("did not answer"));
}

TEST(BadSet, APowerCutKeepsWhatWasSaved) {
    const Kura kura;
    kura.Json({"diagnose"});
    json description = kura.Description();
    description["faults"]["kill_at"] = "vconf_set_str:system/watchman/STOperation";
    kura.Describe(description);
    EXPECT_THAT(FailureOfDiagnosis(kura), HasSubstr("signal 9"));
    description["faults"].erase("kill_at");
    kura.Describe(description);
    EXPECT_EQ(kura.Json({"problems"}).at("problems").size(), 11U);
}

TEST(CommandLine, ExitCodesAndErrorDocuments) {
    const Kura kura;
    struct Case {
        std::vector<std::string> arguments;
        int status;
    };
    const std::vector<Case> cases = {
        {{"--json"}, 64},
        {{"nonsense", "--json"}, 64},
        {{"engine", "report", "x", "--json"}, 64},
        {{"engine", "report", "1", "--time", "yesterday", "--json"}, 64},
        {{"settings", "get", "no/such/key", "--json"}, 3},
        {{"settings", "set", "n", "abc", "--type", "int", "--json"}, 64},
        {{"page", "Nowhere", "--json"}, 3},
        {{"set", "new", "--json"}, 1},
    };
    for (const Case& one : cases) {
        const Answer answer = kura.Run(one.arguments);
        EXPECT_EQ(answer.status, one.status) << answer.out;
        EXPECT_NE(ErrorOf(answer), "") << answer.out;
        EXPECT_NE(answer.err, "");
    }
}

TEST(CommandLine, AMissingOrDamagedSetIsNamed) {
    const Kura kura;
    command::WriteFile(kura.Set() / "set.json", "{\"modle\": 1}");
    const Answer damaged = kura.Run({"set", "show", "--json"});
    EXPECT_EQ(damaged.status, 1);
    EXPECT_THAT(ErrorOf(damaged), HasSubstr("modle"));
    fs::remove_all(kura.Set());
    const Answer missing = kura.Run({"diagnose", "--json"});
    EXPECT_EQ(missing.status, 3);
    EXPECT_NE(ErrorOf(missing), "");
}

TEST(CommandLine, SettingsKeepTheirTypes) {
    const Kura kura;
    EXPECT_EQ(kura.Json({"settings", "set", "a/number", "5"}).at("value"), 5);
    EXPECT_EQ(kura.Json({"settings", "set", "a/text", "five"}).at("value"), "five");
    EXPECT_EQ(kura.Json({"settings", "set", "a/text", "5"}).at("value"), "5");
    EXPECT_EQ(kura.Json({"settings", "set", "a/flag", "true"}).at("value"), true);
    EXPECT_EQ(kura.Json({"settings", "get", "a/text"}).at("value"), "5");
    const json all = kura.Json({"settings", "list"}).at("settings");
    EXPECT_EQ(all.at("a/number"), 5);
    EXPECT_EQ(all.at("a/flag"), true);
}

TEST(CommandLine, TheJournalCanBeCleared) {
    const Kura kura;
    kura.Json({"diagnose"});
    EXPECT_FALSE(kura.Json({"journal", "--clear"}).at("entries").empty());
    EXPECT_TRUE(kura.Json({"journal"}).at("entries").empty());
}

TEST(CommandLine, TextIsForPeople) {
    const Kura kura;
    const Answer answer = kura.Run({"diagnose"});
    EXPECT_EQ(answer.status, 0);
    EXPECT_THAT(answer.out, HasSubstr("1001"));
    EXPECT_THAT(answer.out, HasSubstr("PROBLEM"));
    EXPECT_EQ(answer.out.find('\033'), std::string::npos);
    EXPECT_EQ(answer.err, "");
}

}  // namespace
