// The state of the host's screens. One set has one state, so all browsers show the same: one that opens
// later, or one beside another whose buttons are pressed.
#pragma once

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>

#include "Calls.h"
#include "frame/Outcome.h"

namespace cli::serve {

/// Thread-safe.
class Screens {
public:
    /// about: the members of the state that describe the set itself.
    explicit Screens(Json about);

    /// Begins a call; false while another call runs.
    bool Begin(const Call& call, const std::string& argument);
    /// Ends the call. answer: the verb's document, or the document of its failure.
    void End(const Call& call, const std::string& argument, const Json& answer);

    /// {"version", about..., "running": null or {...}, "last": null or {...}, "screens": {NAME: {...}}}
    Json State() const;

    /// Waits until the state is newer than version, until Close, or until the time is up. Returns the
    /// version.
    unsigned long Await(unsigned long version, std::chrono::milliseconds time) const;

    void Close();
    bool IsClosed() const;

private:
    struct Running {
        const Call* call = nullptr;
        std::string argument;
        unsigned long number = 0;
        std::chrono::steady_clock::time_point since;
    };

    void Changed();

    mutable std::mutex m_mutex;  // guards all members below
    mutable std::condition_variable m_changed;
    const Json m_about;
    std::map<std::string, Json> m_screens;
    Running m_running;
    Json m_last;
    unsigned long m_version = 1;
    unsigned long m_calls = 0;
    bool m_closed = false;
};

}  // namespace cli::serve
