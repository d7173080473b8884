// Child processes: the verbs of a scenario, each with a limit of time.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace scenario {

struct ProcessResult {
    int status = -1;  ///< exit status, 128 + n after signal n
    bool timedOut = false;
    std::string out;
    std::string err;
};

/// Runs a command line with nothing on standard input and waits. Its output goes through files in the folder,
/// which are gone afterwards. A run that takes longer than the limit is killed. Throws ScenarioError when it
/// cannot be started, and Interrupted.
ProcessResult RunProcess(const std::vector<std::string>& command, const std::filesystem::path& folder,
                         std::chrono::seconds limit,
                         const std::vector<std::pair<std::string, std::string>>& environment = {});

/// Somebody asked this process to end; what was started is killed and cleared away on the way out.
class Interrupted {};

/// From now on SIGINT, SIGTERM and SIGHUP end running scenarios in good order.
void EndInGoodOrder();

/// A folder of its own for one run, removed with the object.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    const std::filesystem::path& Path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

}  // namespace scenario
