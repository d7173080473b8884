// Sends signals that interrupt system calls. Their handler only counts.
#pragma once

#include <pthread.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <thread>

namespace signals {

inline std::atomic<std::size_t> g_taken{0};

inline void Count(int signal) {
    struct sigaction action {};
    action.sa_handler = [](int) { ++g_taken; };
    sigaction(signal, &action, nullptr);
}

/// To the process, at so many microseconds' distance.
class Timer {
public:
    explicit Timer(suseconds_t distance) {
        Count(SIGALRM);
        const itimerval timer{{0, distance}, {0, distance}};
        setitimer(ITIMER_REAL, &timer, nullptr);
    }
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;
    ~Timer() {
        const itimerval none{};
        setitimer(ITIMER_REAL, &none, nullptr);
    }
};

/// To every other thread of the process in turn, without a pause.
class Storm {
public:
    Storm() {
        Count(SIGUSR1);
        m_thread = std::thread([this] { Send(); });
    }
    Storm(const Storm&) = delete;
    Storm& operator=(const Storm&) = delete;
    ~Storm() {
        m_ending = true;
        m_thread.join();
    }

private:
    void Send() {
        const pid_t own = static_cast<pid_t>(syscall(SYS_gettid));
        while (!m_ending) {
            for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
                const int thread = std::atoi(entry.path().filename().c_str());
                if (thread != own) {
                    syscall(SYS_tgkill, getpid(), thread, SIGUSR1);
                }
            }
            std::this_thread::yield();
        }
    }

    std::atomic<bool> m_ending{false};
    std::thread m_thread;
};

}  // namespace signals
