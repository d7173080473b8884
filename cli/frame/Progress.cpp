#include "Progress.h"

#include <unistd.h>

#include <chrono>
#include <iostream>
#include <utility>

namespace cli {

namespace {

constexpr std::chrono::milliseconds kShowEvery{200};
constexpr const char* kClearLine = "\r\033[K";

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
    std::cerr << kClearLine << std::flush;
}

void Progress::Run() {
    std::unique_lock lock(m_mutex);
    while (!m_changed.wait_for(lock, kShowEvery, [this] { return m_done; })) {
        std::cerr << kClearLine << m_text() << std::flush;
    }
}

PoolCount& ThePoolCount() {
    static PoolCount count;
    return count;
}

}  // namespace cli
