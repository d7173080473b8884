// Progress of long work, on standard error and only on a terminal: one line that is rewritten and, at the
// end, cleared.
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace cli {

/// Rewrites the line several times a second with what text says, until destroyed.
class Progress {
public:
    explicit Progress(std::function<std::string()> text);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

private:
    void Run();

    std::function<std::string()> m_text;
    std::mutex m_mutex;  // guards m_done
    bool m_done = false;
    std::condition_variable m_changed;
    std::thread m_thread;
};

/// Tasks of the host's thread pool in this process: posted, and finished.
struct PoolCount {
    std::atomic<int> posted{0};
    std::atomic<int> finished{0};
};
PoolCount& ThePoolCount();

}  // namespace cli
