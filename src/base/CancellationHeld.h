#pragma once

#include <cxxabi.h>
#include <pthread.h>

#include <memory>

namespace KURA::base {

/// What unwinds a cancelled thread, for handlers that let it pass.
#if defined(__GLIBCXX__)
using CancelledUnwinding = abi::__forced_unwind;
#else
// Elsewhere it is no exception, and no handler sees it.
struct CancelledUnwinding {};
#endif

/// Keeps pthread_cancel on this thread pending while the object lives. It surrounds code that a cancelled
/// thread must not unwind: destructors, and C libraries, which would keep their locks and memory.
class CancellationHeld {
public:
    CancellationHeld() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_before); }
    ~CancellationHeld() { pthread_setcancelstate(m_before, nullptr); }
    CancellationHeld(const CancellationHeld&) = delete;
    CancellationHeld& operator=(const CancellationHeld&) = delete;

private:
    int m_before = PTHREAD_CANCEL_ENABLE;
};

/// A deleter for a release function that may wait. It holds cancellation back, because it runs in a
/// destructor.
template <auto release>
struct Release {
    template <typename Handle>
    void operator()(Handle handle) const {
        const CancellationHeld held;
        release(handle);
    }
};

template <typename Object>
void Delete(Object* object) {
    delete object;
}

/// Owns an object whose destructor may wait.
template <typename Object>
using Owned = std::unique_ptr<Object, Release<Delete<Object>>>;

}  // namespace KURA::base
