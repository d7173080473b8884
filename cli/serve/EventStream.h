// Sends events to one browser (server-sent events): the state of the screens, the journal, and whether the
// set still exists.
#pragma once

#include <filesystem>
#include <string>

#include "JournalTail.h"
#include "Screens.h"

namespace cli::serve {

/// The caller serialises.
class EventStream {
public:
    /// set: the set's folder. screens outlives the stream.
    EventStream(const Screens& screens, std::filesystem::path set);

    /// Waits a moment for events and returns them as they go over the wire; empty when there are none.
    std::string Next();

    /// True once the server ends: nothing more will come.
    bool HasEnded() const { return m_screens.IsClosed(); }

private:
    void TellSet(std::string& events);
    void TellState(std::string& events);
    void TellJournal(std::string& events);

    const Screens& m_screens;
    const std::filesystem::path m_set;
    JournalTail m_journal;
    unsigned long m_version = 0;
    bool m_started = false;
    bool m_present = false;
    int m_quiet = 0;  ///< moments without an event
};

}  // namespace cli::serve
