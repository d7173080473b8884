// Wall time of a parse by every subject, in documents of several sizes. bench/run lets the subjects take
// turns and compares each with the library.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "Documents.h"
#include "KURA_SolutionMap.h"
#include "Subjects.h"

namespace {

void Parse(benchmark::State& state, const bench::Subject& subject) {
    const std::string text = bench::SolutionMapText(static_cast<std::size_t>(state.range(0)));
    if (!bench::AgreesWithLibrary(subject, text)) {
        state.SkipWithError("makes other records");
        return;
    }
    for (auto _ : state) {
        KURA::KURA_SolutionMap map;
        benchmark::DoNotOptimize(subject.parse(text, map));
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}

const bool g_registered = [] {
    for (const bench::Subject& subject : bench::Subjects()) {
        benchmark::RegisterBenchmark(subject.name.c_str(),
                                     [&subject](benchmark::State& state) { Parse(state, subject); })
            ->Arg(500)
            ->Arg(5000)
            ->Arg(50000)
            ->Unit(benchmark::kMicrosecond);
    }
    return true;
}();

}  // namespace
