// What the host's screens hold, for every browser that looks: one set, so one state. A browser that opens
// later, or looks on while another one presses the buttons, shows the same.
#pragma once

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>

#include "Calls.h"
#include "frame/Outcome.h"

namespace cli::serve {

/// Every function from any thread.
class Screens {
public:
    /// about: what the state tells of the set itself.
    explicit Screens(Json about);

    /// Takes the one place for a call; false when another call has it.
    bool Begin(const Call& call, const std::string& argument);
    /// Gives the place back. answer: the verb's document, or the document of its failure.
    void End(const Call& call, const std::string& argument, const Json& answer);

    /// {"version", about..., "running": null or {...}, "last": null or {...}, "screens": {NAME: {...}}}
    Json State() const;

    /// Waits until the state is not that of version, until Close, or until the time is up; the version then.
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

    mutable std::mutex m_mutex;  // guards all below
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
