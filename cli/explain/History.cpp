#include "History.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "LibraryLog.h"
#include "RepairSteps.h"
#include "support/Joined.h"
#include "support/TextAt.h"

namespace cli {

namespace {

using nlohmann::json;

/// Reads the events of one run: each begins with its own line of the log.
class RunReader {
public:
    explicit RunReader(int run) : m_run(run) {}

    void Read(const json& entry) {
        if (Says(entry, Line::kDiagnosed)) {
            Begin(entry, "diagnosis");
        } else if (Says(entry, Line::kGuided)) {
            Begin(entry, "guide");
        } else if (Says(entry, Line::kHomeAsked)) {
            End();
        } else if (const auto repaired = ValuesOf(entry, Line::kRepairing)) {
            Begin(entry, "repair");
            m_event->issues.push_back(repaired->front());
        }
        if (m_event) {
            ReadEvent(entry);
        }
    }

    std::vector<HistoryEvent> Take() {
        End();
        return std::move(m_events);
    }

private:
    void Begin(const json& entry, const char* what) {
        End();
        m_event = HistoryEvent{m_run, support::TextAt(entry, "time"), what, {}, {}};
        m_entries.clear();
        m_isAtEnd = false;
    }

    void ReadEvent(const json& entry) {
        m_entries.push_back(entry);
        if (const auto selected = ValuesOf(entry, Line::kSelected)) {
            m_selected = selected->front();
        } else if (Says(entry, Line::kFound)) {
            std::vector<std::string>& issues = m_event->issues;
            if (std::find(issues.begin(), issues.end(), m_selected) == issues.end()) {
                issues.push_back(m_selected);
            }
        }
        const bool isDone = support::TextAt(entry, "op") == "callback-done";
        m_isAtEnd = m_isAtEnd || (m_event->what == "repair" ? Says(entry, Line::kApplied) : isDone);
        if (isDone && m_event->what != "repair") {
            End();
        }
    }

    void End() {
        if (!m_event) {
            return;
        }
        m_event->failure = m_event->what == "repair" ? RepairFailure() : m_isAtEnd ? "" : "it broke off";
        m_events.push_back(*std::exchange(m_event, std::nullopt));
    }

    /// What the set refused, or that no solution was applied to its end.
    std::string RepairFailure() const {
        std::vector<std::string> failures;
        for (RepairStep& step :
             StepsIn({m_event->issues.front(), Json::array(), Json::object(), m_entries})) {
            if (FailureOf(step.document)) {
                // The journal does not tell what a setting was before.
                step.document.erase("old");
                failures.push_back(StepText(step.document));
            }
        }
        return !failures.empty() ? support::Joined(failures, "; ") : m_isAtEnd ? "" : "it broke off";
    }

    const int m_run;
    std::vector<HistoryEvent> m_events;
    std::optional<HistoryEvent> m_event;  // that is being read
    std::string m_selected;               // the issue that is being evaluated
    std::vector<json> m_entries;          // of m_event
    bool m_isAtEnd = false;               // m_event has come to its end
};

}  // namespace

std::vector<HistoryEvent> HistoryOf(const std::vector<kuraset::JournalRun>& runs) {
    std::vector<HistoryEvent> events;
    for (const kuraset::JournalRun& run : runs) {
        RunReader reader(run.number);
        for (const json& entry : run.entries) {
            reader.Read(entry);
        }
        for (HistoryEvent& event : reader.Take()) {
            events.push_back(std::move(event));
        }
    }
    return events;
}

}  // namespace cli
