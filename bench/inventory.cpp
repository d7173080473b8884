// inventory APPS: the wall time of an inventory of so many applications beside the ideal, in which the pool's
// workers measure them in rounds and each round takes as long as one application alone. One second of polling
// the agent passes in a tenth of it, so that a run takes seconds. Paths are compiled in: give the process a
// private /tmp and /opt, as bench/run does. Prints what it measured, one "NAME VALUE" a line.
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "BenchSet.h"
#include "CGetData.h"
#include "InventoryServices.h"

namespace {

constexpr std::size_t kWorkers = 20;
constexpr int kRunsAlone = 9;
constexpr int kRunsOfAll = 3;
constexpr int kFasterPolling = 10;
constexpr double kPollingStep = 1000.0 / kFasterPolling;
constexpr double kPause = 10;
constexpr long kWebCacheFile = 1000;
constexpr const char* kWebCaches = "/opt/usr/home/owner/.cache/Apps/WebAppsCache/";
constexpr const char* kIcons = "/opt/icons/";

std::atomic<int> g_pollingSteps{0};

int Sleep(clockid_t clock, int flags, const timespec* time, timespec* rest) {
    timespec faster = *time;
    if (flags == 0 && time->tv_sec >= 1) {
        ++g_pollingSteps;
        const long nanoseconds = (time->tv_sec % kFasterPolling) * 1000000000L + time->tv_nsec;
        faster = {time->tv_sec / kFasterPolling, nanoseconds / kFasterPolling};
    }
    return syscall(SYS_clock_nanosleep, clock, flags, &faster, rest) == 0 ? 0 : errno;
}

}  // namespace

// In whatever way the library waits, it comes here.
extern "C" {

int clock_nanosleep(clockid_t clock, int flags, const timespec* time, timespec* rest) {
    return Sleep(clock, flags, time, rest);
}

int nanosleep(const timespec* time, timespec* rest) {
    errno = Sleep(CLOCK_MONOTONIC, 0, time, rest);
    return errno == 0 ? 0 : -1;
}

unsigned int sleep(unsigned int seconds) {
    const timespec time = {static_cast<time_t>(seconds), 0};
    return Sleep(CLOCK_MONOTONIC, 0, &time, nullptr) == 0 ? 0 : seconds;
}

int usleep(useconds_t microseconds) {
    const timespec time = {static_cast<time_t>(microseconds / 1000000),
                           static_cast<long>(microseconds % 1000000) * 1000};
    return nanosleep(&time, nullptr);
}
}

namespace {

/// The texts that the set's list points to, and the size that each application must come out with.
struct App {
    std::string id;
    std::string title;
    std::string icons;
    long size;
};

App Install(std::size_t index) {
    App app;
    app.id = "org.example.app" + std::to_string(index);
    app.title = "App " + std::to_string(index);
    app.icons = kIcons + app.id + "/";
    const std::string cache = kWebCaches + app.id;
    std::filesystem::create_directories(app.icons);
    std::filesystem::create_directories(cache);
    std::ofstream(app.icons + "304x304.png") << "icon";
    std::ofstream(cache + "/data") << std::string(kWebCacheFile, 'x');
    struct stat folder {};
    stat(cache.c_str(), &folder);
    app.size = bench::kAgentData + bench::kAgentCache + bench::kPackageTotal - bench::kPackageData +
               kWebCacheFile + folder.st_size;
    return app;
}

struct Costs {
    double wall = 0;      ///< milliseconds, as all
    double ownCpu = 0;    ///< of this process: the library, its services and the bus's client side
    double shellCpu = 0;  ///< of the commands it ran
    int pollingSteps = 0;
    bool complete = false;
};

double CpuTime(int whose) {
    rusage usage{};
    getrusage(whose, &usage);
    const auto milliseconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
    };
    return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
}

/// Whether every application is there, in order, with the sum of its sizes.
bool IsComplete(const std::vector<App>& apps, std::size_t count) {
    const std::vector<KURA::AppStorageInfo> measured =
        KURA::CGetData::GetInstance()->m_GetAppsDataStructure();
    const auto matches = [](const KURA::AppStorageInfo& record, const App& app) {
        return record.appId == app.id && record.totalSize == app.size;
    };
    return measured.size() == count && std::equal(measured.begin(), measured.end(), apps.begin(), matches);
}

Costs MeasureInventory(const std::vector<App>& apps, std::size_t count) {
    std::vector<was_app_entry>& entries = bench::TheSet().apps;
    entries.clear();
    for (std::size_t i = 0; i < count; ++i) {
        const App& app = apps[i];
        entries.push_back({app.id.c_str(), app.title.c_str(), app.icons.c_str(), app.id.c_str(),
                           app.id.c_str(), 0, 0, 0, 0});
    }
    const double own = CpuTime(RUSAGE_SELF);
    const double shells = CpuTime(RUSAGE_CHILDREN);
    const int steps = g_pollingSteps;
    const auto start = std::chrono::steady_clock::now();
    KURA::CGetData::GetInstance()->sendAppList();
    const std::chrono::duration<double, std::milli> wall = std::chrono::steady_clock::now() - start;
    return {wall.count(), CpuTime(RUSAGE_SELF) - own, CpuTime(RUSAGE_CHILDREN) - shells,
            g_pollingSteps - steps, IsComplete(apps, count)};
}

/// The run with the median wall time, incomplete when any was.
Costs MedianInventory(const std::vector<App>& apps, std::size_t count, int runs) {
    std::vector<Costs> costs;
    for (int run = 0; run < runs; ++run) {
        costs.push_back(MeasureInventory(apps, count));
    }
    std::sort(costs.begin(), costs.end(), [](const Costs& a, const Costs& b) { return a.wall < b.wall; });
    Costs median = costs[costs.size() / 2];
    median.complete = std::all_of(costs.begin(), costs.end(), [](const Costs& one) { return one.complete; });
    return median;
}

bool MeasureAndPrint(std::size_t count) {
    std::vector<App> apps;
    for (std::size_t i = 0; i < count; ++i) {
        apps.push_back(Install(i));
    }
    const bench::InventoryServices services;
    bench::TheSet().packageManager = services.Connection();
    bench::TheSet().termsAccepted = true;
    MeasureInventory(apps, 1);  // once, for what is done only the first time
    const Costs alone = MedianInventory(apps, 1, kRunsAlone);
    const Costs all = MedianInventory(apps, count, kRunsOfAll);
    const std::size_t fullRounds = (count + kWorkers - 1) / kWorkers;
    const auto rounds = static_cast<double>(fullRounds);
    const double floor =
        kPollingStep + 2.0 * static_cast<double>(bench::kPackageManagerTime.count()) + kPause;
    const auto perApp = static_cast<double>(count);
    std::printf("floor-ms %.0f\nalone-ms %.1f\nall-ms %.0f\nratio %.3f\nratio-to-floor %.3f\n", floor,
                alone.wall, all.wall, all.wall / (rounds * alone.wall), all.wall / (rounds * floor));
    std::printf("own-cpu-ms-per-app %.2f\nshell-cpu-ms-per-app %.2f\npolling-steps-per-app %.2f\n",
                all.ownCpu / perApp, all.shellCpu / perApp, all.pollingSteps / perApp);
    return alone.complete && all.complete;
}

}  // namespace

int main(int argc, char** argv) {
    const std::size_t count = argc == 2 ? std::strtoul(argv[1], nullptr, 10) : 0;
    if (count == 0) {
        std::fputs("usage: inventory APPS\n", stderr);
        return 64;
    }
    try {
        if (MeasureAndPrint(count)) {
            return 0;
        }
        std::fputs("inventory: not every application was measured\n", stderr);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "inventory: %s\n", error.what());
    }
    return 1;
}
