// Shows the progress of long work on standard error, only on a terminal: one line that is rewritten, and
// cleared at the end.
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace cli {

/// Rewrites the line several times a second with the result of text, until the object is destroyed.
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

/// Counts the tasks of the host's thread pools in this process: posted, and finished.
struct PoolCount {
    std::atomic<int> posted{0};
    std::atomic<int> finished{0};
};
PoolCount& ThePoolCount();

}  // namespace cli
