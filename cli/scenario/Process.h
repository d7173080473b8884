// Runs child processes with a time limit: the verbs of a scenario.
#pragma once

#include <chrono>
#include <exception>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "ScenarioError.h"

namespace scenario {

struct ProcessResult {
    int status = -1;  ///< exit status, 128 + n after signal n
    bool timedOut = false;
    std::string out;
    std::string err;
};

/// Runs a command line with an empty standard input and waits for it. A run that takes longer than the limit
/// is killed. Throws std::runtime_error when it cannot be started, and Interrupted.
ProcessResult RunProcess(const std::vector<std::string>& command, std::chrono::seconds limit,
                         const std::vector<std::pair<std::string, std::string>>& environment = {});

/// Thrown when a signal asked this process to end. Running commands are killed, and their folders are
/// removed.
class Interrupted {};

/// From now on SIGINT, SIGTERM and SIGHUP make RunProcess throw Interrupted.
void EndInGoodOrder();

/// A folder for one run; it is removed with the object. It lies in TMPDIR; where that is not set in /dev/shm
/// if it has 1 GiB of room, else in /tmp.
class TemporaryFolder {
public:
    /// Throws ScenarioError.
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    const std::filesystem::path& Path() const { return m_path; }

    /// Throws ScenarioError when there is hardly room for what a run on a set in here writes.
    void DemandRoom() const;

    /// Runs work. What it throws while there is hardly room becomes a ScenarioError that tells that, too.
    template <typename Work>
    auto WithRoom(const Work& work) const -> decltype(work()) {
        try {
            return work();
        } catch (const std::exception& error) {
            const std::string shortage = Shortage();
            if (shortage.empty()) {
                throw;
            }
            throw ScenarioError(error.what() + shortage);
        }
    }

private:
    /// " (FOLDER has less than 1 MiB left; TMPDIR names another folder)"; empty when it has more.
    std::string Shortage() const;

    std::filesystem::path m_path;
};

}  // namespace scenario
