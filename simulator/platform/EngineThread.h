// The engine's own thread. It delivers armed completions one after the other, each after its delay.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

#include "watchman.h"

namespace kuraset {

class EngineThread {
public:
    /// Never destroyed, because callbacks may run while the process exits.
    static EngineThread& Get();

    /// Starts the thread at the first call.
    void Arm(int period, WMInferenceCallback callback, std::chrono::milliseconds delay);

    bool WaitUntilDelivered(std::chrono::milliseconds timeout, std::string& failure);

private:
    using Clock = std::chrono::steady_clock;

    struct Subscription {
        int period;
        WMInferenceCallback callback;
        Clock::time_point due;
    };

    void Start();
    void Run();
    void Deliver(const Subscription& subscription);
    void Stop();

    std::mutex m_mutex;  // guards everything below
    std::condition_variable m_changed;
    std::deque<Subscription> m_armed;
    std::thread m_thread;
    bool m_delivering = false;
    bool m_stopping = false;
    bool m_finished = false;
    std::string m_failure;
};

}  // namespace kuraset
