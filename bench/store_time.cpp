// Wall time of the information storage's reads, alone and with readers beside each other.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "Documents.h"
#include "IdealParser.h"
#include "KURA_SolutionMap.h"
#include "KURA_Storage.h"

namespace {

constexpr std::size_t kSolutions = 500;

void FillStore(const benchmark::State&) {
    KURA::KURA_SolutionMap map;
    bench::ParseIdeally(bench::SolutionMapText(kSolutions), map);
    auto* store = KURA::TCInformationStorage::Instance();
    store->Initialize();
    store->SetSolutionInformation(map.count, std::move(map.solutions));
}

void ReadAll(benchmark::State& state) {
    for (auto _ : state) {
        unsigned int count = 0;
        std::vector<KURA::KURA_Solution> solutions;
        KURA::TCInformationStorage::Instance()->GetSolutionInformation(count, solutions);
        benchmark::DoNotOptimize(solutions.data());
    }
}
BENCHMARK(ReadAll)->Setup(FillStore)->Unit(benchmark::kMicrosecond)->ThreadRange(1, 4)->UseRealTime();

void ReadOneIssue(benchmark::State& state) {
    const std::string code = std::to_string(100000 + kSolutions / 2);
    for (auto _ : state) {
        std::vector<KURA::KURA_Solution> solutions;
        KURA::TCInformationStorage::Instance()->GetSolutionsOfIssue(code, solutions);
        benchmark::DoNotOptimize(solutions);
    }
}
BENCHMARK(ReadOneIssue)->Setup(FillStore)->Unit(benchmark::kMicrosecond)->ThreadRange(1, 4)->UseRealTime();

}  // namespace
