#include "EventStream.h"

#include <chrono>
#include <system_error>
#include <utility>

namespace cli::serve {

namespace {

constexpr std::chrono::milliseconds kMoment{200};
/// After this many moments without an event a comment is sent. Writing it fails when the browser has gone.
constexpr int kQuietMoments = 50;

void Add(std::string& events, const char* name, const Json& data) {
    events += std::string("event: ") + name +
              "\ndata: " + data.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n\n";
}

}  // namespace

EventStream::EventStream(const Screens& screens, std::filesystem::path set)
    : m_screens(screens), m_set(std::move(set)), m_journal(m_set / "journal.jsonl") {}

std::string EventStream::Next() {
    const bool changed =
        m_screens.Await(m_version, m_started ? kMoment : std::chrono::milliseconds(0)) != m_version;
    std::string events = m_started ? "" : "retry: 1000\n\n";
    TellSet(events);
    if (changed) {
        TellState(events);
    }
    TellJournal(events);
    m_started = true;
    m_quiet = events.empty() ? m_quiet + 1 : 0;
    if (m_quiet >= kQuietMoments) {
        m_quiet = 0;
        events = ": still here\n\n";
    }
    return events;
}

void EventStream::TellSet(std::string& events) {
    std::error_code error;
    const bool present = std::filesystem::is_regular_file(m_set / "set.json", error);
    if (!m_started || present != m_present) {
        m_present = present;
        Add(events, "set", {{"present", present}});
    }
}

void EventStream::TellState(std::string& events) {
    const Json state = m_screens.State();
    m_version = state.at("version").get<unsigned long>();
    Add(events, "state", state);
}

void EventStream::TellJournal(std::string& events) {
    JournalTail::News news = m_journal.Next();
    if (!news.Empty()) {
        Add(events, "journal", {{"fresh", news.fresh}, {"entries", std::move(news.entries)}});
    }
}

}  // namespace cli::serve
