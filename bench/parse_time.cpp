// Wall time of a parse beside its two yardsticks.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "Documents.h"
#include "IdealParser.h"
#include "KURA_SolutionMap.h"
#include "KURA_XMLParser.h"

namespace {

void Report(benchmark::State& state, const std::string& text) {
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}

void Library(benchmark::State& state) {
    const std::string text = bench::SolutionMapText(static_cast<std::size_t>(state.range(0)));
    const KURA::TCXMLParser parser;
    for (auto _ : state) {
        KURA::KURA_SolutionMap map;
        benchmark::DoNotOptimize(parser.Parse(text, map));
    }
    Report(state, text);
}
BENCHMARK(Library)->Arg(500)->Arg(50000)->Unit(benchmark::kMicrosecond);

void Ideal(benchmark::State& state) {
    const std::string text = bench::SolutionMapText(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        KURA::KURA_SolutionMap map;
        benchmark::DoNotOptimize(bench::ParseIdeally(text, map));
    }
    Report(state, text);
}
BENCHMARK(Ideal)->Arg(500)->Arg(50000)->Unit(benchmark::kMicrosecond);

void ExpatAlone(benchmark::State& state) {
    const std::string text = bench::SolutionMapText(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(bench::ParseWithoutHandler(text));
    }
    Report(state, text);
}
BENCHMARK(ExpatAlone)->Arg(500)->Arg(50000)->Unit(benchmark::kMicrosecond);

}  // namespace
