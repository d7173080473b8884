// parse_cost WHAT SOLUTIONS: one parse of one document, for counting what it costs.
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>

#include "Cost.h"
#include "Documents.h"
#include "IdealParser.h"
#include "KURA_SolutionMap.h"
#include "KURA_XMLParser.h"

namespace {

struct Subject {
    std::function<bool(const std::string&, KURA::KURA_SolutionMap&)> parse;
    bool fillsRecords;
};

/// The parser stands ready before the count begins, for it serves the document and is no part of the parse.
const std::map<std::string, Subject>& Subjects() {
    static const KURA::TCXMLParser parser;
    static const std::map<std::string, Subject> subjects = {
        {"library", {[](const auto& text, auto& map) { return parser.Parse(text, map); }, true}},
        {"ideal", {[](const auto& text, auto& map) { return bench::ParseIdeally(text, map); }, true}},
        {"expat", {[](const auto& text, auto&) { return bench::ParseWithoutHandler(text); }, false}},
    };
    return subjects;
}

}  // namespace

int main(int argc, char** argv) {
    const auto subject = Subjects().find(argc == 3 ? argv[1] : "");
    if (subject == Subjects().end()) {
        std::fputs("usage: parse_cost library|ideal|expat SOLUTIONS\n", stderr);
        return 64;
    }
    // A first parse resolves the functions that the loader binds on first use: those are no cost of parsing.
    KURA::KURA_SolutionMap first;
    subject->second.parse(bench::SolutionMapText(1), first);

    const std::size_t solutions = std::strtoul(argv[2], nullptr, 10);
    const std::string text = bench::SolutionMapText(solutions);
    KURA::KURA_SolutionMap map;
    bool parsed = false;
    bench::Measure(subject->first, [&] { parsed = subject->second.parse(text, map); });
    const std::size_t expected = subject->second.fillsRecords ? solutions : 0;
    if (!parsed || map.solutions.size() != expected) {
        std::fputs("the document was not read\n", stderr);
        return 1;
    }
    std::printf("bytes-per-solution %zu\n", text.size() / solutions);
    return 0;
}
