#pragma once

#include <functional>

namespace KURA {

/// The host's pool of worker threads.
class TCThreadPool {
public:
    explicit TCThreadPool(unsigned int threads);

    /// Waits until every posted task has run.
    ~TCThreadPool();

    void Post(std::function<int()> task);

private:
    struct Impl* m_pImpl;
};

}  // namespace KURA
