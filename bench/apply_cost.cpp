// apply_cost WHAT WHEN SOLUTIONS: one request to apply a solution, for counting what it costs beside what it
// would cost to parse ideally and copy the list for the store and for each of its two readers. WHEN is
// "first", or "next" for a request that replaces the lists of an earlier one. "apply_cost document SOLUTIONS"
// prints the solution map that must be installed; bench/run gives the process a private /opt that holds it.
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "Cost.h"
#include "Documents.h"
#include "IdealParser.h"
#include "KURA_SO_Interface.h"
#include "KURA_SolutionMap.h"
#include "KURA_Storage.h"

namespace {

using Solutions = std::vector<KURA::KURA_Solution>;

int PrintUsage() {
    std::fputs(
        "usage: apply_cost ideal|map|request first|next SOLUTIONS\n       apply_cost document SOLUTIONS\n",
        stderr);
    return 64;
}

std::size_t ToCount(const char* text) {
    return std::strtoul(text, nullptr, 10);
}

void MeasureWhen(const std::string& when, const std::string& name, const std::function<void()>& work) {
    if (when == "next") {
        work();
    }
    bench::Measure(name, work);
}

bool MeasureIdeal(const std::string& when, std::size_t solutions) {
    const std::string text = bench::SolutionMapText(solutions);
    KURA::KURA_SolutionMap map;
    Solutions stored;
    Solutions walked;
    Solutions recorded;
    MeasureWhen(when, "ideal", [&] {
        bench::ParseIdeally(text, map);
        stored = Solutions(map.solutions);
        walked = Solutions(stored);
        recorded = Solutions(stored);
    });
    return walked.size() == solutions && recorded.size() == solutions;
}

/// The request without its action and without the database: reload, look-up, and the engine's record.
bool MeasureMap(const std::string& when, std::size_t solutions) {
    const std::string code = std::to_string(100000 + solutions / 2);
    Solutions matches;
    WMSolutionParams params{};
    MeasureWhen(when, "map", [&] {
        matches.clear();
        ParseSolutionMap();
        KURA::TCInformationStorage::Instance()->GetSolutionsOfIssue(code, matches);
        FillSolutionParams(code, "start", &params);
    });
    return matches.size() == 1 && std::to_string(params.solutionCode) == code;
}

bool MeasureRequest(const std::string& when, std::size_t solutions) {
    const std::string code = std::to_string(100000 + solutions / 2);
    MeasureWhen(when, "request", [&] { RequestApplySolution(code.c_str()); });
    KURA::TSCurrentKURAMap stored;
    KURA::TCInformationStorage::Instance()->GetKURAMapInformation(stored);
    return stored.solutions.size() == solutions;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string what = argc > 1 ? argv[1] : "";
    if (argc == 3 && what == "document") {
        return std::fputs(bench::SolutionMapText(ToCount(argv[2])).c_str(), stdout) >= 0 ? 0 : 1;
    }
    const std::string when = argc == 4 ? argv[2] : "";
    if (when != "first" && when != "next") {
        return PrintUsage();
    }
    bool done = false;
    if (what == "ideal") {
        done = MeasureIdeal(when, ToCount(argv[3]));
    } else if (what == "map") {
        done = MeasureMap(when, ToCount(argv[3]));
    } else if (what == "request") {
        done = MeasureRequest(when, ToCount(argv[3]));
    } else {
        return PrintUsage();
    }
    if (!done) {
        std::fputs("apply_cost: the request did not do its work; is the document installed?\n", stderr);
    }
    return done ? 0 : 1;
}
