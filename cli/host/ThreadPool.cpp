// The host's worker threads. They take tasks from a queue, and the destructor waits for the last task.
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "frame/Progress.h"
#include "host/TCThreadPool.h"

namespace KURA {

struct Impl {
    std::mutex mutex;  // guards the two members below
    std::deque<std::function<int()>> tasks;
    bool closing = false;
    std::condition_variable changed;
    std::vector<std::thread> workers;

    void Work() {
        std::unique_lock lock(mutex);
        while (true) {
            changed.wait(lock, [this] { return closing || !tasks.empty(); });
            if (tasks.empty()) {
                return;
            }
            const std::function<int()> task = std::move(tasks.front());
            tasks.pop_front();
            lock.unlock();
            task();
            ++cli::ThePoolCount().finished;
            lock.lock();
        }
    }
};

TCThreadPool::TCThreadPool(unsigned int threads) : m_pImpl(new Impl) {
    for (unsigned int i = 0; i < threads; ++i) {
        m_pImpl->workers.emplace_back([impl = m_pImpl] { impl->Work(); });
    }
}

TCThreadPool::~TCThreadPool() {
    {
        const std::lock_guard lock(m_pImpl->mutex);
        m_pImpl->closing = true;
    }
    m_pImpl->changed.notify_all();
    for (std::thread& worker : m_pImpl->workers) {
        worker.join();
    }
    delete m_pImpl;
}

void TCThreadPool::Post(std::function<int()> task) {
    ++cli::ThePoolCount().posted;
    {
        const std::lock_guard lock(m_pImpl->mutex);
        m_pImpl->tasks.push_back(std::move(task));
    }
    m_pImpl->changed.notify_one();
}

}  // namespace KURA
