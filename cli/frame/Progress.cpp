#include "Progress.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <utility>

namespace cli {

namespace {

constexpr std::chrono::milliseconds kShowEvery{200};
constexpr const char* kClearRowAbove = "\033[A\r\033[K";

}  // namespace

Progress::Progress(std::function<std::string()> text) : m_text(std::move(text)) {
    if (isatty(STDERR_FILENO) != 0) {
        m_thread = std::thread([this] { Run(); });
    }
}

Progress::~Progress() {
    if (!m_thread.joinable()) {
        return;
    }
    {
        const std::lock_guard lock(m_mutex);
        m_done = true;
    }
    m_changed.notify_all();
    m_thread.join();
    Clear();
}

void Progress::Around(const std::function<void()>& print) {
    const std::lock_guard lock(m_mutex);
    Clear();
    print();
}

void Progress::Clear() {
    for (; m_rows > 0; --m_rows) {
        std::cerr << kClearRowAbove;
    }
    std::cerr << std::flush;
}

void Progress::Run() {
    std::unique_lock lock(m_mutex);
    while (!m_changed.wait_for(lock, kShowEvery, [this] { return m_done; })) {
        const std::string text = m_text();
        Clear();
        std::cerr << text << '\n' << std::flush;
        m_rows = 1 + static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    }
}

PoolCount& ThePoolCount() {
    static PoolCount count;
    return count;
}

}  // namespace cli
