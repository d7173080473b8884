// The host's pool: as many threads as asked for, which take the tasks in the order of posting.
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "host/TCThreadPool.h"

namespace KURA {

struct Impl {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::function<int()>> tasks;
    bool closing = false;
    std::vector<std::thread> threads;

    void Work() {
        std::unique_lock<std::mutex> lock(mutex);
        while (true) {
            changed.wait(lock, [this] { return closing || !tasks.empty(); });
            if (tasks.empty()) {
                return;
            }
            const std::function<int()> task = std::move(tasks.front());
            tasks.pop_front();
            lock.unlock();
            task();
            lock.lock();
        }
    }
};

TCThreadPool::TCThreadPool(unsigned int threads) : m_pImpl(new Impl) {
    for (unsigned int i = 0; i < threads; ++i) {
        m_pImpl->threads.emplace_back([this] { m_pImpl->Work(); });
    }
}

TCThreadPool::~TCThreadPool() {
    {
        const std::lock_guard<std::mutex> lock(m_pImpl->mutex);
        m_pImpl->closing = true;
    }
    m_pImpl->changed.notify_all();
    for (std::thread& thread : m_pImpl->threads) {
        thread.join();
    }
    delete m_pImpl;
}

void TCThreadPool::Post(std::function<int()> task) {
    {
        const std::lock_guard<std::mutex> lock(m_pImpl->mutex);
        m_pImpl->tasks.push_back(std::move(task));
    }
    m_pImpl->changed.notify_one();
}

}  // namespace KURA
