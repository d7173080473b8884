#pragma once

#include <pthread.h>

namespace KURA::base {

/// While it lives, pthread_cancel on this thread stays pending. For code that the unwinding of a cancelled
/// thread must not pass: destructors, and libraries in C, which would keep their locks and memory.
class CancellationHeld {
public:
    CancellationHeld() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_before); }
    ~CancellationHeld() { pthread_setcancelstate(m_before, nullptr); }
    CancellationHeld(const CancellationHeld&) = delete;
    CancellationHeld& operator=(const CancellationHeld&) = delete;

private:
    int m_before = PTHREAD_CANCEL_ENABLE;
};

}  // namespace KURA::base
