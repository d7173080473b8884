// With one random fault and one random repair, the exit code and the words of "kura fix" tell what happened.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "command/Kura.h"

namespace {

using command::Kura;
using nlohmann::json;
using testing::HasSubstr;

const std::vector<std::string> kIssues = {"1001", "1002", "1003", "1006", "1009", "2004",
                                          "3001", "4001", "5003", "8001", "9001", "16000001"};

const std::vector<json> kFaults = {
    json::object(),
    {{"settings", {{"refuse_writes", {"*"}}}}},
    {{"settings", {{"refuse_writes", {"db/menu/picture/mode"}}}}},
    {{"launch", {"*"}}},
    {{"picture", -4}},
    {{"power", -4}},
    {{"video", {{"create", -4}}}},
    {{"video", {{"reset", -5}}}},
    {{"settings_service", -4}},
    {{"engine", {{"record", 5}}}},
    {{"agent", "absent"}},
    {{"opt", "read-only"}},
    {{"opt", "full"}},
};

std::vector<json> Journal(const Kura& kura) {
    std::istringstream lines(command::ReadFile(kura.Set() / "journal.jsonl"));
    std::vector<json> entries;
    for (std::string line; std::getline(lines, line);) {
        entries.push_back(json::parse(line));
    }
    return entries;
}

/// What the set was asked to do, not only to tell.
bool IsDone(const json& entry) {
    const std::string kind = entry.at("kind");
    const std::string op = entry.value("op", "");
    return (kind == "setting" && op.rfind("get_", 0) != 0) || kind == "launch" || kind == "picture" ||
           kind == "power" || kind == "video" || (kind == "engine" && op == "record");
}

/// A word of the request that a message about it has to hold.
std::string WordOf(const json& entry) {
    for (const char* member : {"key", "app", "issue"}) {
        if (entry.contains(member)) {
            return entry.at(member).is_string() ? entry.at(member).get<std::string>()
                                                : entry.at(member).dump();
        }
    }
    return entry.at("op");
}

struct Happened {
    std::vector<std::string> refused;  ///< a word of each request that the set refused
    bool isAgentSilent = false;
    json settings;  ///< as they must be now
};

Happened Follow(const std::vector<json>& journal, std::size_t before, json settings) {
    Happened happened;
    bool isAsked = false;
    bool isAnswered = false;
    for (std::size_t i = before; i < journal.size(); ++i) {
        const json& entry = journal[i];
        isAsked = isAsked || entry.value("function", "") == "ProcessCMD";
        isAnswered = isAnswered || entry.at("kind") == "agent";
        if (!IsDone(entry)) {
            continue;
        }
        if (entry.at("result") != 0) {
            happened.refused.push_back(WordOf(entry));
        } else if (entry.value("op", "").rfind("set_", 0) == 0) {
            settings[entry.at("key").get<std::string>()] = entry.at("value");
        }
    }
    happened.isAgentSilent = isAsked && !isAnswered;
    happened.settings = settings;
    return happened;
}

json Settings(const Kura& kura) {
    return json::parse(command::ReadFile(kura.Set() / "settings.json"));
}

/// Whether the set, once it is well, still holds the issue as unfixed.
bool IsKept(const Kura& kura, const json& well, const std::string& issue) {
    kura.Describe(well);
    const json verdict = kura.Json({"why", issue, "--list", "home"}).at("issues").at(0);
    return verdict.at("tests").at(0).at("passed");
}

void Check(const Kura& kura, const json& faults, const std::string& issue) {
    SCOPED_TRACE(faults.dump() + ", issue " + issue);
    json description = kura.Description();
    description.erase("faults");
    kura.Describe(description);
    kura.Json({"diagnose"});
    json faulty = description;
    faulty["faults"] = faults;
    kura.Describe(faulty);
    const json settings = Settings(kura);
    const std::size_t before = Journal(kura).size();
    const command::Answer answer = kura.Run({"fix", issue, "--json"});
    const Happened happened = Follow(Journal(kura), before, settings);
    EXPECT_EQ(Settings(kura), happened.settings);
    const json document = answer.Document();
    const bool isStoreStuck = IsKept(kura, description, issue);
    const bool hasFailed = !happened.refused.empty() || happened.isAgentSilent || isStoreStuck;
    EXPECT_EQ(answer.status != 0, hasFailed) << answer.out;
    EXPECT_EQ(document.contains("error"), hasFailed);
    EXPECT_EQ(document.at("issue_code"), issue);
    for (const std::string& word : happened.refused) {
        EXPECT_THAT(answer.err, HasSubstr(word));
    }
    if (happened.isAgentSilent && happened.refused.empty()) {
        EXPECT_EQ(answer.status, 4);
    }
    kura.Describe(faulty);
    const command::Answer text = kura.Run({"fix", issue});
    EXPECT_EQ(text.out.find("Failed ") != std::string::npos, text.status != 0) << text.out;
}

TEST(Fix, ExitCodeAndWordsAreThoseOfWhatHappened) {
    const Kura kura;
    const char* wanted = std::getenv("KURA_EXPLAIN_FIXES");
    const int count = wanted == nullptr ? 8 : std::atoi(wanted);
    std::mt19937 dice(2025);
    for (int i = 0; i < count; ++i) {
        const json& faults = kFaults[dice() % kFaults.size()];
        const std::string& issue = kIssues[dice() % kIssues.size()];
        Check(kura, faults, issue);
    }
}

}  // namespace
