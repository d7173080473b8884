#include "Interposed.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

namespace model {

Interposed& System() {
    static auto* const interposed = new Interposed;
    return *interposed;
}

namespace {

int Wait() {
    Interposed& system = System();
    ++system.waits;
    if (system.onWait) {
        system.onWait(system.waits);
    }
    return 0;
}

}  // namespace

}  // namespace model

extern "C" {

int clock_gettime(clockid_t clock, std::timespec* time) noexcept {
    using Function = int(clockid_t, std::timespec*);
    static auto* const next = reinterpret_cast<Function*>(
        dlsym(RTLD_NEXT, sizeof(std::time_t) > sizeof(long) ? "__clock_gettime64" : "clock_gettime"));
    const model::Interposed& system = model::System();
    if (clock != CLOCK_MONOTONIC || !system.isClockSet) {
        return next(clock, time);
    }
    if (system.clockFails) {
        errno = EINVAL;
        return -1;
    }
    time->tv_sec = static_cast<std::time_t>(system.seconds);
    time->tv_nsec = 999999999;
    return 0;
}

int nanosleep(const struct timespec*, struct timespec*) {
    return model::Wait();
}

int clock_nanosleep(clockid_t, int, const struct timespec*, struct timespec*) {
    return model::Wait();
}

unsigned int sleep(unsigned int) {
    return static_cast<unsigned int>(model::Wait());
}

int usleep(useconds_t) {
    return model::Wait();
}
}
