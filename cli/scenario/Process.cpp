#include "Process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <thread>

#include "ScenarioError.h"
#include "support/Files.h"

namespace scenario {

namespace fs = std::filesystem;

namespace {

constexpr std::chrono::milliseconds kStep{3};
constexpr int kRemovals = 100;

std::atomic<bool> interrupted{false};

std::string TakeFile(const fs::path& path) {
    const std::string text = support::ReadFile(path).value_or("");
    std::error_code error;
    fs::remove(path, error);
    return text;
}

/// This process's environment with the additions in front, so that they win.
std::vector<std::string> EnvironmentWith(const std::vector<std::pair<std::string, std::string>>& additions) {
    std::vector<std::string> lines;
    for (const auto& [name, value] : additions) {
        lines.push_back(std::string(name).append("=").append(value));
    }
    for (char** line = environ; *line != nullptr; ++line) {
        const std::string text = *line;
        bool replaced = false;
        for (const auto& [name, unused] : additions) {
            replaced = replaced || text.rfind(name + "=", 0) == 0;
        }
        if (!replaced) {
            lines.push_back(text);
        }
    }
    return lines;
}

std::vector<char*> Pointers(const std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (const std::string& text : texts) {
        pointers.push_back(const_cast<char*>(text.c_str()));
    }
    pointers.push_back(nullptr);
    return pointers;
}

pid_t Start(const std::vector<std::string>& command, const std::vector<std::string>& environment,
            const fs::path& out, const fs::path& err) {
    constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, out.c_str(), kFlags, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, err.c_str(), kFlags, 0600);
    // The child has its own process group, so that Ctrl-C reaches only this process, which then ends the
    // child.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    pid_t process = 0;
    const int error = posix_spawn(&process, command.front().c_str(), &actions, &attributes,
                                  Pointers(command).data(), Pointers(environment).data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw ScenarioError("cannot start " + command.front() + ": " + std::strerror(error));
    }
    return process;
}

/// Waits for the process. False when the time was up or somebody interrupted; the process has then been
/// killed.
bool Await(pid_t process, std::chrono::seconds limit, int& status) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (waitpid(process, &status, WNOHANG) == 0) {
        if (interrupted || std::chrono::steady_clock::now() > end) {
            kill(-process, SIGKILL);
            waitpid(process, &status, 0);
            return false;
        }
        std::this_thread::sleep_for(kStep);
    }
    return true;
}

}  // namespace

ProcessResult RunProcess(const std::vector<std::string>& command, const fs::path& folder,
                         std::chrono::seconds limit,
                         const std::vector<std::pair<std::string, std::string>>& environment) {
    if (interrupted) {
        throw Interrupted();
    }
    const fs::path out = folder / "out";
    const fs::path err = folder / "err";
    int status = 0;
    ProcessResult result;
    result.timedOut = !Await(Start(command, EnvironmentWith(environment), out, err), limit, status);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.out = TakeFile(out);
    result.err = TakeFile(err);
    if (interrupted) {
        throw Interrupted();
    }
    return result;
}

void EndInGoodOrder() {
    struct sigaction action {};
    action.sa_handler = [](int) { interrupted = true; };
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        sigaction(signal, &action, nullptr);
    }
}

TemporaryFolder::TemporaryFolder() {
    std::error_code error;
    std::string name = (fs::temp_directory_path(error) / "kura-scenario-XXXXXX").string();
    if (error || mkdtemp(name.data()) == nullptr) {
        throw ScenarioError("cannot make a folder for the set: " +
                            (error ? error.message() : std::strerror(errno)));
    }
    m_path = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code error;
    // A process that was just killed may still write here.
    for (int attempt = 0; attempt < kRemovals && fs::exists(m_path, error); ++attempt) {
        fs::remove_all(m_path, error);
        if (error) {
            std::this_thread::sleep_for(kStep);
        }
    }
}

}  // namespace scenario
