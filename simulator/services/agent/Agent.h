// The privileged agent of the set. It carries out the library's request files on the set's own files.
#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <string>

#include "RequestFolders.h"
#include "set/AppFolders.h"
#include "set/Journal.h"
#include "set/KuraSet.h"

namespace kuraset {

class Agent {
public:
    using Clock = std::chrono::steady_clock;

    /// opt and tmp: the folders that serve as /opt and /tmp. Creates the request folders; throws SetError.
    Agent(const SetDirectory& set, const std::filesystem::path& opt, const std::filesystem::path& tmp);

    const std::filesystem::path& RequestPath() const {
        return m_requests.Path(RequestFolders::Place::Requests);
    }

    /// False when the request folders are gone; only a new agent can then go on.
    bool Intact() const { return m_requests.Intact(); }

    /// Accepts a request. The agent carries it out now, or later when the set's faults slow it down.
    void Accept(const std::string& trigger);
    /// Accepts every request in the request folder.
    void AcceptAll();
    /// Carries out the requests that are due; returns the milliseconds until the next call.
    int Work();

private:
    struct Fault {
        std::string mode;
        int seconds = 0;
    };

    void Refresh();
    Fault CurrentFault() const;
    std::chrono::seconds DelayOf(const std::string& trigger) const;
    void Do(const std::string& trigger);
    void KeepCobaltSize();

    void CleanAll(const std::string& trigger);
    void BoostMemory(const std::string& trigger);
    void KillApp(const std::string& trigger);
    void ClearAppCache(const std::string& trigger);
    void MeasureApp(const std::string& trigger);
    void RunCommand(const std::string& trigger);

    bool Answer(const std::string& appId, std::int64_t data, std::int64_t cache);
    std::string Distort(const std::string& text) const;
    void Note(const std::string& request, const std::string& outcome, const Entry& details = Entry::object());

    const SetDirectory m_set;
    const std::filesystem::path m_opt;
    const std::filesystem::path m_tmp;
    const AppFolders m_folders;
    const RequestFolders m_requests;
    JournalWriter m_journal;
    json m_description = json::object();
    std::string m_cobaltSize;
    std::map<std::string, Clock::time_point> m_waiting;  ///< trigger and when it is due
};

}  // namespace kuraset
