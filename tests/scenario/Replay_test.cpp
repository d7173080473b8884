// Replays through a command that ends differently in one of its runs.
#include "Replay.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "Process.h"

namespace {

namespace fs = std::filesystem;
using scenario::Result;

/// A program that counts its calls and gives no document in one of them; in all others it is kura.
fs::path FailsInCall(int call, const fs::path& folder) {
    const fs::path program = folder / "sometimes";
    std::ofstream(program) << "#!/bin/sh\n"
                           << "echo >> '" << (folder / "calls").string() << "'\n"
                           << "[ $(wc -l < '" << (folder / "calls").string() << "') -ne " << call
                           << " ] || exit 9\nexec '" << KURA_COMMAND << "' \"$@\"\n";
    fs::permissions(program, fs::perms::owner_all);
    return program;
}

Result ReplayOften(unsigned times, int failingCall, bool update = false) {
    const scenario::TemporaryFolder folder;
    const fs::path file = folder.Path() / "page.json";
    const std::string text =
        R"({"steps": [{"run": ["page", "SignalInfo"], "expect": {"answer": {"page": "signal-information"}}}]})";
    std::ofstream(file) << text;
    scenario::ReplayOptions options;
    options.run.kura = FailsInCall(failingCall, folder.Path());
    options.repeat = times;
    options.update = update;
    const auto results = scenario::Replay(
        {file}, options, [](const fs::path&) {}, [](const Result&) {});
    std::ifstream now(file);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(now), {}), text);
    return results.at(0);
}

TEST(Replay, CallsAScenarioFlakyWhoseRunsEndDifferently) {
    // Each run asks twice: for the set and for the verb.
    const Result result = ReplayOften(3, 4);
    EXPECT_EQ(result.kind, Result::Kind::kFlaky);
    EXPECT_NE(result.message.find("page.json: 1 of 3 runs differ"), std::string::npos) << result.message;
    ASSERT_EQ(result.differences.size(), 2U);
    EXPECT_EQ(result.differences[0].place, "exit");
    EXPECT_EQ(result.differences[1].place, "answer");
}

TEST(Replay, UpdatesNoFlakyScenario) {
    EXPECT_EQ(ReplayOften(2, 2, true).kind, Result::Kind::kFlaky);
}

TEST(Replay, IsOkWhenEveryRunIs) {
    EXPECT_EQ(ReplayOften(2, 99).kind, Result::Kind::kOk);
}

TEST(Replay, FailsWhereASetCannotBeMadeInOneRun) {
    const Result result = ReplayOften(2, 3);
    EXPECT_EQ(result.kind, Result::Kind::kFailed);
}

}  // namespace
