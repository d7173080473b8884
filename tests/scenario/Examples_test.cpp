// The example scenarios are green, and none of their expectations is idle: each one, altered, turns its
// scenario red. A scenario runs once; what happened is then compared again and again, which takes no set.
#include <algorithm>
#include <atomic>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Adopt.h"
#include "Compare.h"
#include "Runner.h"
#include "Scenario.h"

namespace {

namespace fs = std::filesystem;
using scenario::Differences;
using scenario::Json;
using scenario::Moment;
using scenario::Observation;
using scenario::Scenario;

/// Most of a scenario's time is waiting for an agent that is late.
constexpr std::size_t kSideBySide = 8;

struct Replayed {
    fs::path file;
    Scenario scenario;
    Observation observation;
    std::string failure;
};

std::vector<Replayed> ReplayExamples() {
    std::vector<Replayed> all;
    for (const auto& entry : fs::directory_iterator(fs::path(KURA_EXAMPLES) / "scenarios")) {
        if (entry.path().extension() == ".json") {
            all.push_back({entry.path(), {}, {}, {}});
        }
    }
    std::atomic<std::size_t> next{0};
    const auto work = [&] {
        for (std::size_t i = next++; i < all.size(); i = next++) {
            try {
                all[i].scenario = scenario::ReadScenario(all[i].file);
                all[i].observation = scenario::Run(all[i].scenario, {KURA_COMMAND, {}});
            } catch (const std::exception& error) {
                all[i].failure = error.what();
            }
        }
    };
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kSideBySide; ++i) {
        threads.emplace_back(work);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return all;
}

/// An expectation with one thing about it changed.
struct Altered {
    std::string what;
    Json expect;
};

const Json kImpossible = {{"no such member", "no such value"}};

Json Different(const Json& leaf) {
    if (leaf.is_string()) {
        return leaf.get<std::string>() + "~altered";
    }
    if (leaf.is_boolean()) {
        return !leaf.get<bool>();
    }
    return leaf.is_number() ? Json(leaf.get<double>() + 1) : Json("something");
}

/// Every pointer to a text, number, bool or null, and to a list.
void Collect(const Json& value, const Json::json_pointer& at, std::vector<Json::json_pointer>& leaves,
             std::vector<Json::json_pointer>& lists) {
    if (value.is_array()) {
        lists.push_back(at);
        for (std::size_t i = 0; i < value.size(); ++i) {
            Collect(value[i], at / i, leaves, lists);
        }
    } else if (value.is_object()) {
        EXPECT_FALSE(value.empty()) << at << " expects nothing";
        for (const auto& [key, member] : value.items()) {
            Collect(member, at / key, leaves, lists);
        }
    } else {
        leaves.push_back(at);
    }
}

std::vector<Altered> AlterationsOf(const Json& expect) {
    std::vector<Json::json_pointer> leaves;
    std::vector<Json::json_pointer> lists;
    for (const auto& [name, pattern] : expect.items()) {
        if (name != "no_log") {
            Collect(pattern, Json::json_pointer() / name, leaves, lists);
        }
    }
    std::vector<Altered> altered;
    for (const auto& leaf : leaves) {
        Altered one{leaf.to_string(), expect};
        one.expect[leaf] = Different(expect[leaf]);
        altered.push_back(one);
    }
    for (const auto& list : lists) {
        Altered longer{list.to_string() + " with one more", expect};
        longer.expect[list].push_back(kImpossible);
        altered.push_back(longer);
        const bool exact = list.back() != "$contains" && list.to_string() != "/log";
        if (exact && !expect[list].empty()) {
            Altered shorter{list.to_string() + " with one less", expect};
            shorter.expect[list].erase(expect[list].size() - 1);
            altered.push_back(shorter);
        }
    }
    return altered;
}

/// A line that was logged, expected not to be.
std::vector<Altered> ForbidALine(const Json& expect, const Moment& moment) {
    const Json lines = scenario::Happened(moment, "log");
    EXPECT_FALSE(lines.empty()) << "no_log of a step without a line";
    Altered altered{"no_log", expect};
    altered.expect["no_log"].push_back(lines.at(0).at("message"));
    return {altered};
}

/// What an update makes of the expectation. Patterns and lines of the log stay red: they are their author's.
Json Updated(const Json& expect, const Moment& moment) {
    Observation observation;
    observation.steps = {moment};
    const Json step = {{"expect", expect}};
    const Json document = scenario::Adopted({{"steps", Json::array({step})}}, observation);
    return document.at("steps").at(0).value("expect", Json::object());
}

void ExpectGreenOnceUpdated(const Altered& altered, const Moment& moment) {
    const bool isForItsAuthor = altered.what.find('$') != std::string::npos ||
                                altered.what.rfind("/log", 0) == 0 || altered.what == "no_log";
    const std::string name = altered.what.substr(1, altered.what.find_first_of("/ ", 1) - 1);
    if (isForItsAuthor || name == "exit" || altered.what == "exit") {
        return;
    }
    const Json updated = Updated({{name, altered.expect.at(name)}}, moment);
    EXPECT_FALSE(scenario::Compare(name, updated.at(name), moment)) << altered.what << " is updated";
}

std::size_t ExpectRed(const Replayed& one, const Json& expect, const Moment& moment,
                      const std::function<Json&(Scenario&)>& place) {
    std::vector<Altered> alterations = AlterationsOf(expect);
    if (expect.contains("no_log")) {
        const auto more = ForbidALine(expect, moment);
        alterations.insert(alterations.end(), more.begin(), more.end());
    }
    if (moment.exit && !expect.contains("exit")) {
        alterations.push_back({"exit", expect});
        alterations.back().expect["exit"] = *moment.exit + 1;
    }
    for (const Altered& altered : alterations) {
        Scenario changed = one.scenario;
        place(changed) = altered.expect;
        EXPECT_FALSE(Differences(changed, one.observation).empty()) << altered.what;
        ExpectGreenOnceUpdated(altered, moment);
    }
    return alterations.size();
}

TEST(Examples, EveryOneIsGreenAndEveryAlteredExpectationTurnsItRed) {
    const auto all = ReplayExamples();
    ASSERT_GE(all.size(), 25U);
    std::size_t altered = 0;
    for (const Replayed& one : all) {
        SCOPED_TRACE(one.file.filename().string());
        ASSERT_EQ(one.failure, "");
        for (const auto& difference : Differences(one.scenario, one.observation)) {
            ADD_FAILURE() << difference.step << ": " << difference.place << "\n- " << difference.expected
                          << "\n+ " << difference.happened;
        }
        std::size_t own = 0;
        for (std::size_t i = 0; i < one.scenario.steps.size(); ++i) {
            SCOPED_TRACE(one.scenario.steps[i].name);
            own += ExpectRed(one, one.scenario.steps[i].expect, one.observation.steps.at(i),
                             [i](Scenario& changed) -> Json& { return changed.steps[i].expect; });
        }
        own += ExpectRed(one, one.scenario.expect, one.observation.end,
                         [](Scenario& changed) -> Json& { return changed.expect; });
        EXPECT_GT(own, 0U);
        altered += own;
    }
    RecordProperty("alterations", std::to_string(altered));
    EXPECT_GT(altered, 500U);
}

}  // namespace
