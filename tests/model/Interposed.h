// Replaces the clock and the waits of the C library in the test executable, so that a wait takes no time.
#pragma once

#include <functional>

namespace model {

/// What stands in front of clock_gettime and sleep.
struct Interposed {
    bool isClockSet = false;  ///< else the real monotonic clock answers
    bool clockFails = false;
    long long seconds = 0;
    int waits = 0;
    std::function<void(int number)> onWait;  ///< in place of each wait, with its number from 1
};

Interposed& System();

}  // namespace model
