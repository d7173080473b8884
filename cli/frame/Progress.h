// Shows the progress of long work on standard error, only on a terminal: lines that are rewritten, and
// cleared at the end.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace cli {

/// Rewrites the lines several times a second with the result of text, until the object is destroyed. The
/// thread that rewrites them calls text.
class Progress {
public:
    explicit Progress(std::function<std::string()> text);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    /// Clears the lines and calls print, which may then write on the terminal. The lines come again by
    /// themselves.
    void Around(const std::function<void()>& print);

private:
    void Run();
    void Clear();

    std::function<std::string()> m_text;
    std::mutex m_mutex;  // guards m_done, m_rows and the terminal
    bool m_done = false;
    std::size_t m_rows = 0;  // lines that stand there, each with its end
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
