// The set's clock. "clock" in set.json stops it at that local time, so that the same run writes the same
// times. time() below replaces the C library's function in the whole process. The journal keeps the machine's
// time, which puts its entries in order.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

#include "CurrentSet.h"

namespace kuraset {

bool IsEngineTime(const std::string& text) {
    constexpr const char* kShape = "dddd-dd-ddTdd:dd:dd";
    bool fits = text.size() == 19;
    for (std::size_t i = 0; fits && i < text.size(); ++i) {
        fits = kShape[i] == 'd' ? (text[i] >= '0' && text[i] <= '9') : text[i] == kShape[i];
    }
    return fits;
}

namespace {

/// True while the set is read: reading may ask for the time itself.
thread_local bool reading = false;

/// The clock in set.json, when this process runs on a set.
std::string ClockOfSet() {
    const char* set = std::getenv(kSetDirectoryVariable);
    if (set == nullptr || *set == '\0' || reading) {
        return {};
    }
    reading = true;
    auto text = CurrentSet::Get().Read<std::string>("/clock", {});
    reading = false;
    return text;
}

/// The time at which the clock stands, or -1 when it follows the machine's.
std::time_t StandingClock() {
    std::string text = ClockOfSet();
    if (text.empty()) {
        const char* given = std::getenv(kClockVariable);
        text = given == nullptr ? "" : given;
    }
    std::tm local{};
    if (std::sscanf(text.c_str(), "%d-%d-%dT%d:%d:%d", &local.tm_year, &local.tm_mon, &local.tm_mday,
                    &local.tm_hour, &local.tm_min, &local.tm_sec) != 6) {
        return -1;
    }
    local.tm_year -= 1900;
    local.tm_mon -= 1;
    local.tm_isdst = -1;
    return std::mktime(&local);
}

}  // namespace

}  // namespace kuraset

extern "C" __attribute__((visibility("default"))) time_t time(time_t* seconds) noexcept {
    std::time_t now = kuraset::StandingClock();
    if (now == -1) {
        using Function = time_t (*)(time_t*);
        const auto original =
            reinterpret_cast<Function>(dlsym(RTLD_NEXT, sizeof(time_t) > sizeof(long) ? "__time64" : "time"));
        return original(seconds);
    }
    if (seconds != nullptr) {
        *seconds = now;
    }
    return now;
}
