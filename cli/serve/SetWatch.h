// Notices when the set's files change other than by the page's own calls, and marks the screens that show an
// older set: a command in another process, an edited map or text, a restored snapshot.
#pragma once

#include <cstdint>
#include <mutex>
#include <set>
#include <string>

#include "JournalTail.h"
#include "Screens.h"
#include "set/KuraSet.h"

namespace cli::serve {

/// Thread-safe.
class SetWatch {
public:
    /// screens outlives the watch.
    SetWatch(kuraset::SetDirectory set, Screens& screens);

    /// Looks at the files a few times a second until stop becomes readable.
    void Watch(int stop);

    /// Call it before each of the page's own calls, so that the files that it writes are not taken for a
    /// change by somebody else.
    void CallBegins();
    /// Call it after each own call. Tells which screens show an older set now.
    Stale CallEnds(const Call& call);

private:
    /// What was seen of the files: the settings, and sums of the others.
    struct Look {
        std::string settings;
        std::uint64_t inputs = 0;  ///< files that a call which fills a screen only reads
        std::uint64_t traces = 0;  ///< files that such a call writes as well: the journal, the kept problems
        bool operator==(const Look& other) const {
            return settings == other.settings && inputs == other.inputs && traces == other.traces;
        }
    };

    Look LookAtFiles() const;
    /// One look; tells the screens once the files are changed and quiet.
    void LookAgain();
    /// What the journal tells of since the last time.
    struct Told {
        bool diagnosed = false;         ///< the start screen of a process received a list
        std::set<std::string> written;  ///< the settings that the library has written
    };
    Told ReadJournal();

    const kuraset::SetDirectory m_set;
    Screens& m_screens;
    std::mutex m_mutex;  // guards the members below
    Look m_known;        ///< what the screens have been told of
    Look m_last;
    JournalTail m_journal;
    bool m_inCall = false;
    bool m_isRepeat = false;  ///< the call asks again for what changed during the one before
};

}  // namespace cli::serve
