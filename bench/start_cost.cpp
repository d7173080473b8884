// start_cost WHAT LIBRARY: from the start of a process to a stored solution map. The library is not linked
// but loaded, as the host does it.
//   load     loads the library, for counting
//   map      loads the installed map, for counting
//   time     starts processes that do both and prints the median wall time of "start us", until the map
//   stands,
//            and of "process us", for a process that does nothing
// bench/run gives the process a private /opt that holds the document.
#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "BenchSet.h"
#include "Cost.h"

namespace {

constexpr const char* kDocument = "/opt/usr/share/TVKuraHelp/SolutionMap.xml";
constexpr int kRuns = 21;

using ParseSolutionMapFunction = void (*)();
using SaveResultFunction = void (*)(const std::string&, const std::string&);

/// The library stays loaded: its singletons live as long as the process.
void* Load(const std::string& library) {
    void* handle = dlopen(library.c_str(), RTLD_NOW);
    if (handle == nullptr) {
        std::fprintf(stderr, "start_cost: %s\n", dlerror());
    }
    return handle;
}

std::string LastIssueCode() {
    std::ifstream file(kDocument);
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    const std::string name = "issue_code=\"";
    const std::size_t found = text.rfind(name);
    if (found == std::string::npos) {
        return "";
    }
    const std::size_t start = found + name.size();
    return text.substr(start, text.find('"', start) - start);
}

/// Whether the last issue of the document is in the store: the record for the engine is made from there.
bool IsMapStored(void* library) {
    const auto save = reinterpret_cast<SaveResultFunction>(dlsym(library, "SaveResultToSolutionDB"));
    const std::string code = LastIssueCode();
    save(code, "start");
    const WMSolutionParams& recorded = bench::TheSet().recorded;
    return !code.empty() && std::to_string(recorded.issueCode) == code && recorded.solutionCode != 0;
}

bool MeasureMap(void* library) {
    const auto parse = reinterpret_cast<ParseSolutionMapFunction>(dlsym(library, "ParseSolutionMap"));
    bench::Measure("map", parse);
    return IsMapStored(library);
}

/// Loads library and map, then says so with one byte; with no library it says so at once.
int ReportWhenStored(const std::string& library) {
    void* loaded = nullptr;
    if (!library.empty()) {
        loaded = Load(library);
        if (loaded == nullptr) {
            return 1;
        }
        reinterpret_cast<ParseSolutionMapFunction>(dlsym(loaded, "ParseSolutionMap"))();
    }
    const bool told = write(STDOUT_FILENO, "s", 1) == 1;
    return told && (loaded == nullptr || IsMapStored(loaded)) ? 0 : 1;
}

/// Microseconds from the start of a process to its byte; negative when it failed.
double TimeOneStart(const char* program, const std::string& library) {
    int ends[2];
    if (pipe(ends) != 0) {
        return -1;
    }
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
        close(ends[1]);
        execl(program, program, "report", library.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    close(ends[1]);
    char byte = 0;
    const bool told = read(ends[0], &byte, 1) == 1;
    const std::chrono::duration<double, std::micro> taken = std::chrono::steady_clock::now() - start;
    close(ends[0]);
    int status = -1;
    waitpid(child, &status, 0);
    return told && status == 0 ? taken.count() : -1;
}

bool PrintMedianStart(const char* name, const char* program, const std::string& library) {
    std::vector<double> times;
    for (int run = 0; run < kRuns; ++run) {
        times.push_back(TimeOneStart(program, library));
    }
    std::sort(times.begin(), times.end());
    std::printf("%s us %.0f\n", name, times[times.size() / 2]);
    return times.front() >= 0;
}

bool Run(const char* program, const std::string& what, const std::string& library) {
    if (what == "time") {
        return PrintMedianStart("process", program, "") && PrintMedianStart("start", program, library);
    }
    if (what == "load") {
        void* loaded = nullptr;
        bench::Measure("load", [&] { loaded = Load(library); });
        return loaded != nullptr;
    }
    void* loaded = Load(library);
    return loaded != nullptr && MeasureMap(loaded);
}

}  // namespace

int main(int argc, char** argv) {
    const std::string what = argc == 3 ? argv[1] : "";
    if (what == "report") {
        return ReportWhenStored(argv[2]);
    }
    if (what != "load" && what != "map" && what != "time") {
        std::fputs("usage: start_cost load|map|time LIBRARY\n", stderr);
        return 64;
    }
    if (!Run("/proc/self/exe", what, argv[2])) {
        std::fputs("start_cost: the map is not stored; is the document installed?\n", stderr);
        return 1;
    }
    return 0;
}
