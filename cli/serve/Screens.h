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
#include "set/KuraSet.h"

namespace cli::serve {

/// Which screens show an older set after a call: the one that the call has filled, the others.
struct Stale {
    bool own = false;
    bool others = false;
};

/// Thread-safe.
class Screens {
public:
    /// language: of the texts.
    Screens(const kuraset::SetDirectory& set, const std::string& language);

    /// Begins a call and returns its number; 0 while another call runs.
    unsigned long Begin(const Call& call, const std::string& argument);
    /// Ends the call. answer: the verb's document, or the document of its failure.
    void End(const Call& call, const std::string& argument, const Json& answer, const Stale& stale);

    /// Tells that somebody else has changed the set: screens that have been filled show an older one, and so
    /// does the start screen when another process has diagnosed.
    void SetChanged(const kuraset::SetDirectory& set, bool hasDiagnosed);

    /// {"version", "set", "language", "running": null or {...}, "last": null or {...},
    /// "freed": null or {...}, "screens": {NAME: {...}}}
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
    /// Keeps the storage before and after a call that makes room.
    void Compare(const Call& call, const std::string& argument, const Json& answer);
    void MarkStale(bool evenUnasked, const std::string& screen);

    mutable std::mutex m_mutex;  // guards all members below
    mutable std::condition_variable m_changed;
    Json m_about;
    std::map<std::string, Json> m_screens;
    Running m_running;
    Json m_last;
    Json m_freed;  ///< null, or the last comparison; its "after" is null until the storage is measured again
    unsigned long m_version = 1;
    unsigned long m_calls = 0;
    bool m_closed = false;
};

}  // namespace cli::serve
