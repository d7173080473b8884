// Every request to the agent against an agent that is dead, late, answers in part or floods its folders: the
// request ends after the documented waits, and its outputs are the documented ones.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "Agent.h"
#include "CGetData.h"
#include "Fakes.h"
#include "Interposed.h"
#include "KURA_SO_Interface.h"
#include "trust/Trust.h"

using agent::kAcks;
using agent::kFolder;
using agent::kRequests;
using agent::Text;
using fakes::Set;
using KURA::CGetData;

namespace fs = std::filesystem;

namespace {

const std::string kDeepClean = kRequests + "/CleanAll.txt";
const std::string kAck = kAcks + "/appDataCacheSize_app";
const std::string kResult = kFolder + "/appDataCacheSize_app";
constexpr std::size_t kFlood = std::size_t{1} << 24;

/// Runs a request; the text tells all of its outputs.
using Request = std::string (*)();

std::string DeepClean() {
    return std::to_string(CGetData::GetInstance()->performDeepClean());
}

std::string MemoryBoost() {
    return std::to_string(CGetData::GetInstance()->performMemBoost());
}

std::string Kill() {
    CGetData::GetInstance()->killApp(Text("package"));
    return agent::Read(kFolder + "/killApp");
}

std::string ClearCache() {
    const int result = CGetData::GetInstance()->clearAppCache(Text("package"), Text("app"));
    return std::to_string(result) + " " + agent::Read(kFolder + "/clearAppCache");
}

std::string RunCommand() {
    ProcessCMD("command");
    return agent::Read(kFolder + "/runCmdNativeApps").substr(0, 7);
}

std::string Sizes() {
    long data = -1;
    long cache = -2;
    CGetData::GetInstance()->findDataCacheSize(Text("package"), Text("app"), &data, &cache);
    return std::to_string(data) + " " + std::to_string(cache);
}

std::string YouTubeSize() {
    return std::to_string(KURA::getAppSizeForYoutube());
}

/// What an agent has done before the request, and does in each of its waits.
struct Agent {
    std::function<void()> before = [] {};
    std::function<void(int wait)> atWait = [](int) {};
};

Agent Dead() {
    return {};
}

/// Cleans, and answers the size request, in this wait.
Agent LateBy(int waits) {
    return {[] {},
            [waits](int wait) {
                if (wait == waits) {
                    fs::remove(kDeepClean);
                    agent::Answer("app", "11|22");
                }
            }};
}

/// The answers stand at once, and this is all of them.
Agent Answering(const std::string& answer) {
    return {[answer] {
        agent::Answer("app", answer);
        agent::Write(kFolder + "/cobalt_size", answer);
    }};
}

Agent AcknowledgingOnly() {
    return {[] { agent::Write(kAck, ""); }};
}

/// Folders full of files, data files of megabytes where the library writes its own, answers without an end.
Agent Flooding(const std::string& answer) {
    return {[answer] {
        for (int i = 0; i < 500; ++i) {
            agent::Write(kRequests + "/foreign" + std::to_string(i), "x");
            agent::Write(kAcks + "/foreign" + std::to_string(i), "x");
        }
        for (const char* name : {"/killApp", "/clearAppCache", "/runCmdNativeApps"}) {
            agent::Write(kFolder + name, std::string(kFlood / 16, 'x'));
        }
        agent::Answer("app", answer);
        agent::Write(kFolder + "/cobalt_size", answer);
    }};
}

struct Case {
    const char* name;
    Request request;
    Agent agent;
    std::string outcome;
    std::size_t waits;
};

std::vector<Case> Cases() {
    const std::string many = std::string(kFlood, '1');
    std::vector<Case> cases = {
        {"DeepCleanDead", DeepClean, Dead(), "-1", 10},
        {"DeepCleanLate1", DeepClean, LateBy(1), "0", 1},
        {"DeepCleanLate9", DeepClean, LateBy(9), "0", 9},
        {"DeepCleanTooLate", DeepClean, LateBy(11), "-1", 10},
        {"DeepCleanPartial", DeepClean, AcknowledgingOnly(), "-1", 10},
        {"DeepCleanFlooding", DeepClean, Flooding(many), "-1", 10},
        {"SizesDead", Sizes, Dead(), "-1 -2", 5},
        {"SizesLate1", Sizes, LateBy(1), "11 22", 1},
        {"SizesLate4", Sizes, LateBy(4), "11 22", 4},
        {"SizesTooLate", Sizes, LateBy(5), "-1 -2", 5},
        {"SizesNoResult", Sizes, AcknowledgingOnly(), "-1 -2", 0},
        {"SizesEmptyResult", Sizes, Answering(""), "-1 -2", 0},
        {"SizesHalfResult", Sizes, Answering("12"), "12 -2", 0},
        {"SizesHalfResultCut", Sizes, Answering("12|"), "12 -2", 0},
        {"SizesSecondHalf", Sizes, Answering("|34"), "-1 -2", 0},
        {"SizesJunk", Sizes, Answering("junk|34"), "-1 -2", 0},
        {"SizesFloodOfDigits", Sizes, Flooding(many), "2147483647 -2", 0},
        {"SizesFloodBehindTheAnswer", Sizes, Flooding("12|34\n" + many), "12 34", 0},
        {"SizesFloodOfBars", Sizes, Flooding(std::string(kFlood, '|')), "-1 -2", 0},
        {"YouTubeDead", YouTubeSize, Dead(), "0", 0},
        {"YouTubePartial", YouTubeSize, Answering("12"), "12", 0},
        {"YouTubeFlood", YouTubeSize, Flooding("12 " + many), "12", 0},
        {"YouTubeFloodOfDigits", YouTubeSize, Flooding(many), "9223372036854775807", 0},
    };
    // Nobody waits for the agent in these: they are done when the trigger stands.
    const struct {
        const char* name;
        Request request;
        const char* outcome;
    } notAwaited[] = {{"MemoryBoost", MemoryBoost, "0"},
                      {"Kill", Kill, "package\n"},
                      {"ClearCache", ClearCache, "0 package|app\n"},
                      {"RunCommand", RunCommand, "command"}};
    for (const auto& each : notAwaited) {
        for (const Agent& agent : {Dead(), LateBy(1), AcknowledgingOnly(), Flooding(many)}) {
            cases.push_back({each.name, each.request, agent, each.outcome, 0});
        }
    }
    return cases;
}

}  // namespace

TEST(Agent, CannotHoldARequestUpNorChangeWhatItDidNotAnswer) {
    trust::Watch();
    Set().keepRecords = false;
    const std::size_t rounds = trust::Count(1, 20);
    std::size_t done = 0;
    for (std::size_t round = 0; round < rounds; ++round) {
        for (const Case& each : Cases()) {
            SCOPED_TRACE(each.name);
            fs::remove_all(kFolder);
            agent::MakeFolders();
            each.agent.before();
            const std::size_t before = interposed::Waits().size();
            interposed::OnWait([&](int number) { each.agent.atWait(number - static_cast<int>(before)); });
            EXPECT_EQ(each.request(), each.outcome);
            interposed::OnWait(nullptr);
            EXPECT_EQ(interposed::Waits().size() - before, each.waits);
            ++done;
        }
    }
    trust::Report("Agent dead, late, partial, flooding", "each request against each agent", done);
}
