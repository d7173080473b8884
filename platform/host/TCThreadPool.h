#pragma once

#include <functional>

namespace KURA {

/// The host's pool of worker threads.
class TCThreadPool {
public:
    /// Starts so many threads.
    explicit TCThreadPool(unsigned int threads);

    /// Waits until every posted task has run.
    ~TCThreadPool();

    /// Runs the task on one of the threads; its result is not used.
    void Post(std::function<int()> task);

private:
    struct Impl* m_pImpl;
};

}  // namespace KURA
