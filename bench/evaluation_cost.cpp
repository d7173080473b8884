// evaluation_cost WHAT SOLUTIONS: what evaluating a stored map against the engine costs, with an engine that
// answers at once: "present" with a record for every second issue, "absent" with none at all. "read" is one
// read of the store, which every evaluation begins with.
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
#include "KURA_SolutionMap.h"
#include "KURA_Storage.h"

namespace {

/// Runs what is measured and returns how many entries it yielded.
using Work = std::function<std::size_t()>;

Work Choose(const std::string& what) {
    if (what == "read") {
        return [] {
            unsigned int count = 0;
            std::vector<KURA::KURA_Solution> solutions;
            KURA::TCInformationStorage::Instance()->GetSolutionInformation(count, solutions);
            return solutions.size();
        };
    }
    if (what != "present" && what != "absent") {
        return {};
    }
    bench::TheSet().engine =
        what == "present" ? bench::Engine::kEvenCodesArePresent : bench::Engine::kNoRecord;
    return [manager = KURA::KURA_DiagResultManager::GetInstance()] {
        return static_cast<std::size_t>(manager->GetInferenceResult());
    };
}

std::size_t Expected(const std::string& what, std::size_t solutions) {
    if (what == "read") {
        return solutions;
    }
    return what == "present" ? (solutions + 1) / 2 : 0;
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
        std::fputs("usage: evaluation_cost present|absent|read SOLUTIONS\n", stderr);
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
