// map_cost check|peak SOLUTIONS: one check of one solution map by the knowledge-base tool.
//   check  for counting what it costs
//   peak   prints "peak-bytes-per-solution", by the memory that the process held at most
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "Cost.h"
#include "Documents.h"
#include "map/Check.h"
#include "map/XmlDocument.h"

namespace {

/// In bytes; of this program alone, while getrusage also tells of the one that started it.
long MostHeld() {
    std::ifstream file("/proc/self/status");
    std::string name;
    while (file >> name && name != "VmHWM:") {
    }
    long kibibytes = 0;
    file >> kibibytes;
    return kibibytes * 1024;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string what = argc == 3 ? argv[1] : "";
    if (what != "check" && what != "peak") {
        std::fputs("usage: map_cost check|peak SOLUTIONS\n", stderr);
        return 64;
    }
    const std::size_t solutions = std::strtoul(argv[2], nullptr, 10);
    kuramap::CheckMap(kuramap::XmlDocument::Parse(bench::SolutionMapText(1), "first"), {});

    const std::string text = bench::SolutionMapText(solutions);
    const long before = MostHeld();
    std::size_t errors = 0;
    std::size_t elements = 0;
    bench::Measure(what, [&] {
        const kuramap::XmlDocument document = kuramap::XmlDocument::Parse(text, "map");
        elements = document.Elements().size();
        for (const kuramap::Finding& finding : kuramap::CheckMap(document, {})) {
            errors += finding.severity == kuramap::Severity::kError ? 1 : 0;
        }
    });
    if (errors != 0 || elements < solutions) {
        std::fputs("the document was not read, or not found in order\n", stderr);
        return 1;
    }
    if (what == "peak") {
        std::printf("peak-bytes-per-solution %ld\n", (MostHeld() - before) / static_cast<long>(solutions));
    }
    return 0;
}
