#include "EngineThread.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include <pthread.h>

#include "CurrentSet.h"

namespace kuraset {

namespace {

/// How long an exit waits for a callback that is running.
constexpr std::chrono::seconds kExitPatience{2};

void NoteDelivery(const char* operation, const char* step, const std::string& text = {}) {
    Entry entry{{"kind", "engine"}, {"op", operation}};
    if (!text.empty()) {
        entry["text"] = Legible(text);
    }
    CurrentSet::Get().NoteAndMaybeDie(step, entry);
}

}  // namespace

EngineThread& EngineThread::Get() {
    static EngineThread* const engine = new EngineThread;
    return *engine;
}

void EngineThread::Arm(int period, WMInferenceCallback callback, std::chrono::milliseconds delay) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_thread.joinable() && !m_stopping) {
        Start();
    }
    m_armed.push_back({period, callback, Clock::now() + delay});
    m_changed.notify_all();
}

void EngineThread::Start() {
    m_thread = std::thread([this] { Run(); });
    pthread_setname_np(m_thread.native_handle(), "engine");
    std::atexit([] { Get().Stop(); });
}

void EngineThread::Run() {
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_stopping) {
        if (m_armed.empty()) {
            m_changed.wait(lock);
            continue;
        }
        const auto next = std::min_element(m_armed.begin(), m_armed.end(),
                                           [](const auto& a, const auto& b) { return a.due < b.due; });
        if (next->due > Clock::now()) {
            m_changed.wait_until(lock, Clock::time_point(next->due));
            continue;
        }
        const Subscription due = *next;
        m_armed.erase(next);
        m_delivering = true;
        lock.unlock();
        Deliver(due);
        lock.lock();
        m_delivering = false;
        m_changed.notify_all();
    }
    m_finished = true;
    m_changed.notify_all();
}

void EngineThread::Deliver(const Subscription& subscription) {
    std::string failure;
    NoteDelivery("callback", "callback");
    try {
        subscription.callback(static_cast<unsigned int>(subscription.period), WMSignalData{});
    } catch (const std::exception& error) {
        failure = error.what();
        failure = failure.empty() ? "an exception without text" : failure;
    } catch (...) {
        failure = "an exception of unknown type";
    }
    if (failure.empty()) {
        NoteDelivery("callback-done", "callback-done");
        return;
    }

    NoteDelivery("exception", "exception", failure);
    std::fprintf(stderr, "simulated engine: an exception reached the engine's thread: %s\n", failure.c_str());
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_failure.empty()) {
        m_failure = failure;
    }
}

bool EngineThread::WaitUntilDelivered(std::chrono::milliseconds timeout, std::string& failure) {
    std::unique_lock<std::mutex> lock(m_mutex);
    const bool delivered =
        m_changed.wait_for(lock, timeout, [this] { return m_armed.empty() && !m_delivering; });
    failure.clear();
    failure.swap(m_failure);
    return delivered;
}

void EngineThread::Stop() {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_stopping = true;
    m_armed.clear();
    m_changed.notify_all();
    if (m_thread.get_id() == std::this_thread::get_id()) {
        m_thread.detach();
        return;
    }
    if (m_changed.wait_for(lock, kExitPatience, [this] { return m_finished; })) {
        lock.unlock();
        m_thread.join();
    } else {
        m_thread.detach();
    }
}

bool WaitForEngine(std::chrono::milliseconds timeout, std::string& failure) {
    return EngineThread::Get().WaitUntilDelivered(timeout, failure);
}

}  // namespace kuraset
