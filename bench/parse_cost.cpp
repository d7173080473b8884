// parse_cost SUBJECT SOLUTIONS [mixed]: one parse of one document, for counting what it costs; "mixed" writes
// the document's names in mixed letter case. "parse_cost list" prints the subjects.
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "Cost.h"
#include "Documents.h"
#include "KURA_SolutionMap.h"
#include "Subjects.h"

namespace {

int PrintSubjects() {
    for (const bench::Subject& subject : bench::Subjects()) {
        std::printf("%s\n", subject.name.c_str());
    }
    return 0;
}

int Measure(const bench::Subject& subject, const std::string& text, std::size_t solutions) {
    // Also resolves the functions that the loader binds on first use: those are no cost of parsing.
    if (!bench::AgreesWithLibrary(subject, bench::AwkwardSolutionMapText()) ||
        !bench::AgreesWithLibrary(subject, text)) {
        return 1;
    }
    KURA::KURA_SolutionMap map;
    bool parsed = false;
    bench::Measure(subject.name, [&] { parsed = subject.parse(text, map); });
    if (!parsed || map.solutions.size() != (subject.fillsRecords ? solutions : 0)) {
        std::fputs("the document was not read\n", stderr);
        return 1;
    }
    std::printf("bytes-per-solution %zu\n", text.size() / solutions);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string what = argc > 1 ? argv[1] : "";
    if (argc == 2 && what == "list") {
        return PrintSubjects();
    }
    const bool mixed = argc == 4 && std::string(argv[3]) == "mixed";
    const bench::Subject* subject = bench::FindSubject(what);
    const std::size_t solutions = argc == 3 || mixed ? std::strtoul(argv[2], nullptr, 10) : 0;
    if (subject == nullptr || solutions == 0) {
        std::fputs("usage: parse_cost SUBJECT SOLUTIONS [mixed]\n       parse_cost list\n", stderr);
        return 64;
    }
    return Measure(*subject,
                   mixed ? bench::MixedCaseSolutionMapText(solutions) : bench::SolutionMapText(solutions),
                   solutions);
}
