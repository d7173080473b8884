// store_cost WHAT SOLUTIONS: one operation on a filled information storage, for counting what it costs.
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Cost.h"
#include "Documents.h"
#include "IdealParser.h"
#include "KURA_SolutionMap.h"
#include "KURA_Storage.h"

namespace {

using Solutions = std::vector<KURA::KURA_Solution>;
using Work = std::function<void()>;

Solutions Parsed(std::size_t solutions) {
    KURA::KURA_SolutionMap map;
    bench::ParseIdeally(bench::SolutionMapText(solutions), map);
    return std::move(map.solutions);
}

/// What is measured and how many solutions it must yield.
struct Operation {
    Work work;
    std::size_t expected;
};

Operation Choose(const std::string& what, const Solutions& source, Solutions& out) {
    auto* store = KURA::TCInformationStorage::Instance();
    store->Initialize();
    if (what == "copy") {
        return {[&] { out = Solutions(source); }, source.size()};
    }
    if (what == "hand-in") {
        auto given = std::make_shared<Solutions>(source);
        return {[store, given] { store->SetSolutionInformation(1, std::move(*given)); }, 0};
    }
    store->SetSolutionInformation(1, source);
    if (what == "read") {
        return {[store, &out] {
                    unsigned int count = 0;
                    store->GetSolutionInformation(count, out);
                },
                source.size()};
    }
    if (what == "summary") {
        return {[store, &out] {
                    KURA::TSCurrentKURAMap summary;
                    store->GetKURAMapInformation(summary);
                    out.swap(summary.solutions);
                },
                source.size()};
    }
    if (what == "issue") {
        return {[store, &out] { store->GetSolutionsOfIssue("100000", out); }, 1};
    }
    return {};
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: store_cost copy|read|summary|issue|hand-in SOLUTIONS\n", stderr);
        return 64;
    }
    const Solutions source = Parsed(std::strtoul(argv[2], nullptr, 10));
    Solutions out;
    const Operation operation = Choose(argv[1], source, out);
    if (!operation.work) {
        std::fputs("store_cost: unknown operation\n", stderr);
        return 64;
    }
    bench::Measure(argv[1], operation.work);
    if (out.size() != operation.expected) {
        std::fputs("the operation yielded something else\n", stderr);
        return 1;
    }
    return 0;
}
