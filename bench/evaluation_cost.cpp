// evaluation_cost WHAT SOLUTIONS: what evaluating a stored map against the engine costs, with an engine that
// answers at once.
//   present  the evaluation, with a record for every second issue
//   absent   the same with no record at all
//   read     one read of the store, which every evaluation begins with
//   floor    what no evaluation can do without, with the records of "present": that read, the engine's
//   answers
//            for each entry, and a row for each that is present
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "BenchSet.h"
#include "Cost.h"
#include "Documents.h"
#include "IdealParser.h"
#include "KURA_DiagResultManager.h"
#include "KURA_MapToDBTable.h"
#include "KURA_SolutionMap.h"
#include "KURA_Storage.h"
#include "watchman.h"

namespace {

/// Runs what is measured and returns how many entries it yielded.
using Work = std::function<std::size_t()>;

std::size_t EvaluateByHand() {
    unsigned int count = 0;
    std::vector<KURA::KURA_Solution> solutions;
    KURA::TCInformationStorage::Instance()->GetSolutionInformation(count, solutions);
    std::vector<KURA::MapToDBTable> rows;
    for (const KURA::KURA_Solution& solution : solutions) {
        const int code = std::atoi(solution.issue_code.c_str());
        std::vector<_WMInfDBRecord> appeared;
        if (GetInferenceDB(code, WM_TRANSITION_TYPE_TRUE, appeared) != 0) {
            continue;
        }
        std::vector<_WMInfDBRecord> disappeared;
        GetInferenceDB(code, WM_TRANSITION_TYPE_FALSE, disappeared);
        _WMSolDBRecord applied{};
        GetSolutionDB(code, applied);
        KURA::MapToDBTable& row = rows.emplace_back();
        row.index = 1;
        row.issue_code = solution.issue_code;
        row.last_time = appeared.front().lastUpdateTime;
        row.sol_type = solution.sol_type;
        row.sol_name = solution.sol_name;
        row.sid_issue = solution.sid_issue;
        row.sid_sol = solution.sid_sol;
        row.sid_button1 = solution.sid_button1;
        row.sid_button2 = solution.sid_button2;
        row.action = solution.action;
        row.toast1 = solution.toast1;
        row.toast2 = solution.toast2;
        row.source = solution.source;
        row.view_authority = solution.view_authority;
    }
    return rows.size();
}

Work Choose(const std::string& what) {
    if (what == "read") {
        return [] {
            unsigned int count = 0;
            std::vector<KURA::KURA_Solution> solutions;
            KURA::TCInformationStorage::Instance()->GetSolutionInformation(count, solutions);
            return solutions.size();
        };
    }
    if (what != "present" && what != "absent" && what != "floor") {
        return {};
    }
    bench::TheSet().engine =
        what == "absent" ? bench::Engine::kNoRecord : bench::Engine::kEvenCodesArePresent;
    if (what == "floor") {
        return EvaluateByHand;
    }
    return [manager = KURA::KURA_DiagResultManager::GetInstance()] {
        return static_cast<std::size_t>(manager->GetInferenceResult());
    };
}

std::size_t Expected(const std::string& what, std::size_t solutions) {
    if (what == "read") {
        return solutions;
    }
    return what == "absent" ? 0 : (solutions + 1) / 2;
}

void Store(std::size_t solutions) {
    KURA::KURA_SolutionMap map;
    bench::ParseIdeally(bench::SolutionMapText(solutions), map);
    auto* store = KURA::TCInformationStorage::Instance();
    store->Initialize();
    store->SetSolutionInformation(map.count, std::move(map.solutions));
}

}  // namespace

int main(int argc, char** argv) {
    const std::string what = argc == 3 ? argv[1] : "";
    const Work work = Choose(what);
    if (!work) {
        std::fputs("usage: evaluation_cost present|absent|read|floor SOLUTIONS\n", stderr);
        return 64;
    }
    const std::size_t solutions = std::strtoul(argv[2], nullptr, 10);
    // A first evaluation, of one entry, creates what lives as long as the process.
    Store(1);
    work();
    KURA::KURA_DiagResultManager::GetInstance()->CleanDiagResult();

    Store(solutions);
    std::size_t yielded = 0;
    bench::Measure(what, [&] { yielded = work(); });
    if (yielded != Expected(what, solutions)) {
        std::fprintf(stderr, "evaluation_cost: %zu entries instead of %zu\n", yielded,
                     Expected(what, solutions));
        return 1;
    }
    return 0;
}
