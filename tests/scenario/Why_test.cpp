// "kura why" against the library's own result: in every example scenario, after each diagnosis, the issues
// that it calls listed are those that the screen received.
#include <algorithm>
#include <atomic>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Runner.h"
#include "Scenario.h"

namespace {

namespace fs = std::filesystem;
using scenario::Json;
using scenario::Moment;
using scenario::Scenario;

constexpr std::size_t kSideBySide = 8;

/// The list that a verb fills; none for other verbs.
std::optional<std::string> ListOf(const std::vector<std::string>& run) {
    if (run.empty() || (run.front() != "diagnose" && run.front() != "problems")) {
        return std::nullopt;
    }
    return run.front() == "diagnose" ? "start" : "home";
}

/// The scenario with the question "why" after each diagnosis.
Scenario WithQuestions(const Scenario& plain) {
    Scenario asked = plain;
    asked.steps.clear();
    for (const scenario::Step& step : plain.steps) {
        asked.steps.push_back(step);
        if (const auto list = ListOf(step.run)) {
            scenario::Step question;
            question.name = "why";
            question.run = {"why", "--list", *list};
            asked.steps.push_back(question);
        }
    }
    return asked;
}

std::vector<std::string> Sorted(std::vector<std::string> codes) {
    std::sort(codes.begin(), codes.end());
    return codes;
}

std::vector<std::string> ShownCodes(const Moment& diagnosis) {
    std::vector<std::string> codes;
    for (const Json& row : diagnosis.answer.at("problems")) {
        codes.push_back(row.at("issue_code").get<std::string>());
    }
    return Sorted(codes);
}

std::vector<std::string> ListedCodes(const Moment& question) {
    std::vector<std::string> codes;
    for (const Json& issue : question.answer.at("issues")) {
        if (issue.at("listed").get<bool>()) {
            codes.push_back(issue.at("issue_code").get<std::string>());
        }
    }
    return Sorted(codes);
}

struct Asked {
    fs::path file;
    Scenario scenario;
    scenario::Observation observation;
    std::string failure;
};

void Ask(Asked& asked) {
    try {
        asked.scenario = WithQuestions(scenario::ReadScenario(asked.file));
        asked.observation = scenario::Run(asked.scenario, {KURA_COMMAND, {}});
    } catch (const std::exception& error) {
        asked.failure = error.what();
    }
}

std::vector<Asked> AskAll() {
    std::vector<Asked> all;
    for (const auto& entry : fs::directory_iterator(fs::path(KURA_EXAMPLES) / "scenarios")) {
        // Where the agent is late nothing is diagnosed, only waited for.
        if (entry.path().extension() == ".json" &&
            entry.path().stem().string().rfind("fault-agent", 0) != 0) {
            all.push_back({entry.path(), {}, {}, {}});
        }
    }
    std::atomic<std::size_t> next{0};
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kSideBySide; ++i) {
        threads.emplace_back([&] {
            for (std::size_t k = next++; k < all.size(); k = next++) {
                Ask(all[k]);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return all;
}

TEST(Why, AgreesWithTheScreensInEveryScenario) {
    std::size_t compared = 0;
    std::size_t brokenOff = 0;
    for (const Asked& asked : AskAll()) {
        ASSERT_EQ(asked.failure, "") << asked.file;
        for (std::size_t i = 0; i + 1 < asked.scenario.steps.size(); ++i) {
            if (!ListOf(asked.scenario.steps[i].run)) {
                continue;
            }
            const Moment& diagnosis = asked.observation.steps[i];
            const Moment& question = asked.observation.steps[i + 1];
            const std::string place = asked.file.filename().string() + ", " + asked.scenario.steps[i].name;
            if (diagnosis.exit == 0 || diagnosis.exit == 2) {
                ASSERT_EQ(question.exit, 0) << place << question.errors;
                EXPECT_EQ(ListedCodes(question), ShownCodes(diagnosis)) << place;
                ++compared;
            } else if (diagnosis.errors.find("the diagnosis broke off") != std::string::npos) {
                EXPECT_TRUE(ListedCodes(question).empty()) << place;
                ++brokenOff;
            }
        }
    }
    EXPECT_GT(compared, 30u);
    EXPECT_GT(brokenOff, 0u);
}

}  // namespace
