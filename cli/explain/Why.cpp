#include "Why.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>

#include "KURA_DiagResultManager.h"
#include "KURA_MapToDBTable.h"
#include "KURA_SO_Interface.h"
#include "KURA_Storage.h"
#include "host/Host.h"
#include "map/Number32.h"

namespace cli {

namespace {

using KURA::KURA_Solution;
using KURA::MapToDBTable;

constexpr int kNoRecord = 4;

std::int32_t EngineCode(const std::string& code) {
    return kuramap::Number32::Read(code).Signed();
}

std::string Quoted(const std::string& text) {
    return "\"" + text + "\"";
}

KURA::KURA_DiagResultManager& Manager() {
    return *KURA::KURA_DiagResultManager::GetInstance();
}

/// What the engine answered, in words.
std::string ResultText(int result, const std::string& none) {
    return result == kNoRecord ? none : "the engine failed with " + std::to_string(result);
}

/// The tests of one candidate, until one fails.
class Tests {
public:
    explicit Tests(std::string issue) { m_verdict.issue = std::move(issue); }

    bool Add(const std::string& name, bool passed, const std::string& saw) {
        m_verdict.tests.push_back({name, saw, passed});
        return passed;
    }

    Verdict Take(bool isListed) {
        m_verdict.isListed = isListed;
        return std::move(m_verdict);
    }

private:
    Verdict m_verdict;
};

/// What the library holds after it has read the document.
struct LoadedMap {
    unsigned int count = 0;
    std::vector<KURA_Solution> solutions;
    std::string failure;        ///< why it holds nothing new
    std::string engineFailure;  ///< why no diagnosis comes to its end
};

LoadedMap Load() {
    LoadedMap map;
    try {
        ParseSolutionMap();
    } catch (const std::out_of_range& error) {
        map.failure = "the map cannot be loaded: a value stands before its first solution";
        return map;
    }
    KURA::TCInformationStorage::Instance()->GetSolutionInformation(map.count, map.solutions);
    return map;
}

bool TestSource(Tests& tests, const std::string& source) {
    const HostFacts& facts = TheHost().Facts();
    return tests.Add("source", Manager().CheckSourceType(source.c_str()),
                     "source " + Quoted(source) + "; the input is " + std::to_string(facts.currentSource) +
                         ", the channel type " + std::to_string(facts.channelType));
}

/// The engine saw the issue appear; time becomes when.
bool TestAppeared(Tests& tests, std::int32_t code, _WMInfDBRecord& first) {
    std::vector<_WMInfDBRecord> records;
    const int result = GetInferenceDB(code, WM_TRANSITION_TYPE_TRUE, records);
    if (result != 0) {
        return tests.Add("appeared", false, ResultText(result, "the engine has not seen it appear"));
    }
    if (records.empty()) {
        return tests.Add("appeared", false, "the engine answered without a record");
    }
    first = records.front();
    return tests.Add("appeared", true, "the engine saw it appear at " + first.lastUpdateTime);
}

/// The engine has not seen the issue go after seenAt. In doubt it is still there.
bool TestStillThere(Tests& tests, std::int32_t code, const std::string& seenAt) {
    std::vector<_WMInfDBRecord> records;
    const int result = GetInferenceDB(code, WM_TRANSITION_TYPE_FALSE, records);
    if (result != 0) {
        return tests.Add("still there", true, ResultText(result, "the engine has not seen it go"));
    }
    if (records.empty()) {
        return tests.Add("still there", true, "the engine answered without a record");
    }
    const std::string& goneAt = records.front().lastUpdateTime;
    const bool isGone = goneAt > seenAt;
    return tests.Add("still there", !isGone,
                     "seen to go at " + goneAt + (isGone ? ", after " : ", not after ") + seenAt);
}

/// No solution was applied since the issue appeared.
bool TestUnsolved(Tests& tests, std::int32_t code, const _WMInfDBRecord& first) {
    _WMSolDBRecord record{0, 0, 0, 0, ""};
    const int result = GetSolutionDB(code, record);
    if (record.issue_code != first.issue_code) {
        return tests.Add("unsolved", true,
                         result == 0 ? "the engine's solution is for another issue"
                                     : ResultText(result, "no solution is on record"));
    }
    const std::string times =
        "solution recorded at " + record.registerTime + ", appeared at " + first.lastUpdateTime;
    if (first.lastUpdateTime > record.registerTime) {
        return tests.Add("unsolved", true, times + ": it came back");
    }
    if (record.isApply == 0) {
        return tests.Add("unsolved", true, times + ", but never applied");
    }
    return tests.Add("unsolved", false, times + ", and applied");
}

/// A diagnosis comes to its end.
bool TestRun(Tests& tests, const LoadedMap& map, const std::string& count, const std::string& size) {
    if (!map.engineFailure.empty()) {
        return tests.Add("run", false, map.engineFailure);
    }
    const std::string numbers = "the map declares " + count + " and holds " + size;
    const bool isWhole = map.count <= map.solutions.size();
    return tests.Add("run", isWhole, isWhole ? numbers : numbers + ": every diagnosis breaks off");
}

/// Entry number `number` of the map, from 1.
Verdict ExplainEntry(const LoadedMap& map, std::size_t number) {
    const KURA_Solution& solution = map.solutions[number - 1];
    Tests tests(solution.issue_code);
    const std::string size = std::to_string(map.solutions.size());
    const std::string count = std::to_string(map.count);
    tests.Add("in the map", true, "solution " + std::to_string(number) + " of " + size);
    if (!TestRun(tests, map, count, size) ||
        !tests.Add("declared count", number <= map.count, "the first " + count + " are evaluated") ||
        !tests.Add("foreground", solution.is_fg_bg != "bg", "is_fg_bg " + Quoted(solution.is_fg_bg))) {
        return tests.Take(false);
    }
    const std::int32_t code = EngineCode(solution.issue_code);
    _WMInfDBRecord first{};
    const bool isListed = TestAppeared(tests, code, first) &&
                          TestStillThere(tests, code, first.lastUpdateTime) &&
                          TestUnsolved(tests, code, first) && TestSource(tests, solution.source) &&
                          tests.Add("viewer", Manager().CheckViewType(solution.view_authority.c_str()),
                                    "view_authority " + Quoted(solution.view_authority));
    return tests.Take(isListed);
}

Verdict NotFound(const std::string& code, const std::string& test, const std::string& saw) {
    Tests tests(code);
    tests.Add(test, false, saw);
    return tests.Take(false);
}

std::vector<Verdict> ExplainStart(const LoadedMap& map, const std::string& code) {
    std::vector<Verdict> verdicts;
    for (std::size_t i = 0; i < map.solutions.size(); ++i) {
        if (code.empty() || map.solutions[i].issue_code == code) {
            verdicts.push_back(ExplainEntry(map, i + 1));
        }
    }
    if (verdicts.empty() && !code.empty()) {
        verdicts.push_back(
            NotFound(code, "in the map", map.failure.empty() ? "the map has no such issue" : map.failure));
    }
    return verdicts;
}

/// The engine is asked again only about these.
bool IsOnDemand(std::int32_t code) {
    return code >= 10000000 && code < 20000000;
}

Verdict ExplainRow(const LoadedMap& map, const MapToDBTable& row, bool isWhole) {
    Tests tests(row.issue_code);
    tests.Add("kept", true, "kept as unfixed, seen at " + row.last_time);
    const std::string stop = map.failure.empty() ? map.engineFailure : map.failure;
    if (!tests.Add("run", stop.empty(), stop.empty() ? "the engine delivers" : stop)) {
        return tests.Take(false);
    }
    if (!tests.Add("store", isWhole,
                   isWhole ? "the store reads well" : "the store holds a damaged row: nothing is shown")) {
        return tests.Take(false);
    }
    const std::int32_t code = EngineCode(row.issue_code);
    const bool isThere = IsOnDemand(code) ? TestStillThere(tests, code, row.last_time)
                                          : tests.Add("still there", true,
                                                      "no on-demand code, so the engine is not asked again");
    return tests.Take(isThere && TestSource(tests, row.source));
}

std::vector<Verdict> ExplainHome(const LoadedMap& map, const std::string& code) {
    const bool isWhole = Manager().LoadRemainingProblems();
    std::vector<MapToDBTable> rows;
    Manager().GetRemainingTable(rows);
    std::vector<Verdict> verdicts;
    const auto isKnown = [&verdicts](const std::string& issue) {
        return std::any_of(verdicts.begin(), verdicts.end(),
                           [&issue](const Verdict& verdict) { return verdict.issue == issue; });
    };
    for (const MapToDBTable& row : rows) {
        if (code.empty() || row.issue_code == code) {
            verdicts.push_back(ExplainRow(map, row, isWhole));
        }
    }
    const std::string saw = "not among the unfixed problems that the last diagnosis left";
    for (const KURA_Solution& solution : map.solutions) {
        if (code.empty() && !isKnown(solution.issue_code)) {
            verdicts.push_back(NotFound(solution.issue_code, "kept", saw));
        }
    }
    if (verdicts.empty() && !code.empty()) {
        verdicts.push_back(NotFound(code, "kept", saw));
    }
    return verdicts;
}

}  // namespace

std::vector<Verdict> Explain(ProblemList list, const std::string& code, const std::string& engineFailure) {
    LoadedMap map = Load();
    map.engineFailure = engineFailure;
    return list == ProblemList::kStart ? ExplainStart(map, code) : ExplainHome(map, code);
}

Json ToJson(const std::vector<Verdict>& verdicts) {
    Json documents = Json::array();
    for (const Verdict& verdict : verdicts) {
        Json tests = Json::array();
        for (const Test& test : verdict.tests) {
            tests.push_back({{"test", test.name}, {"passed", test.passed}, {"saw", test.saw}});
        }
        documents.push_back({{"issue_code", verdict.issue},
                             {"listed", verdict.isListed},
                             {"decided_by", verdict.tests.back().name},
                             {"tests", std::move(tests)}});
    }
    return documents;
}

}  // namespace cli
