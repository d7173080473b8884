#include "ChildProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <string_view>
#include <system_error>
#include <thread>

namespace support {

namespace {

constexpr std::chrono::milliseconds kLookStep{3};

std::vector<std::string> EnvironmentOf(const ChildStart& start) {
    std::vector<std::string> lines;
    for (const auto& [name, value] : start.environment) {
        lines.push_back(std::string(name).append("=").append(value));
    }
    for (char** line = environ; *line != nullptr; ++line) {
        const std::string_view text = *line;
        const auto isIts = [&text](const auto& added) {
            return added.first == text.substr(0, text.find('='));
        };
        if (std::none_of(start.environment.begin(), start.environment.end(), isIts)) {
            lines.emplace_back(text);
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

/// What changes between this process and the child.
class SpawnSettings {
public:
    explicit SpawnSettings(const ChildStart& start) {
        posix_spawn_file_actions_init(&m_actions);
        posix_spawnattr_init(&m_attributes);
        Give(start.input, STDIN_FILENO);
        Give(start.output, STDOUT_FILENO);
        Give(start.errors, STDERR_FILENO);
        for (const int descriptor : start.kept) {
            // A descriptor duplicated onto itself loses its close-on-exec mark.
            Give(descriptor, descriptor);
        }
        if (start.isApart) {
            SetApart();
        }
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;
    ~SpawnSettings() {
        posix_spawn_file_actions_destroy(&m_actions);
        posix_spawnattr_destroy(&m_attributes);
    }

    const posix_spawn_file_actions_t* Actions() const { return &m_actions; }
    const posix_spawnattr_t* Attributes() const { return &m_attributes; }

private:
    void Give(int source, int target) {
        if (source == ChildStart::kNowhere) {
            posix_spawn_file_actions_addopen(&m_actions, target, "/dev/null", O_RDWR, 0);
        } else if (source != ChildStart::kSame) {
            posix_spawn_file_actions_adddup2(&m_actions, source, target);
        }
    }

    void SetApart() {
        posix_spawn_file_actions_addclosefrom_np(&m_actions, STDERR_FILENO + 1);
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&m_attributes, &signals);
        for (const int signal : {SIGPIPE, SIGINT, SIGTERM, SIGHUP}) {
            sigaddset(&signals, signal);
        }
        posix_spawnattr_setsigdefault(&m_attributes, &signals);
        posix_spawnattr_setpgroup(&m_attributes, 0);
        posix_spawnattr_setflags(&m_attributes,
                                 POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
    }

    posix_spawn_file_actions_t m_actions{};
    posix_spawnattr_t m_attributes{};
};

}  // namespace

ChildProcess::ChildProcess(const ChildStart& start) : m_isApart(start.isApart) {
    const SpawnSettings settings(start);
    const std::vector<std::string> environment = EnvironmentOf(start);
    const int error =
        posix_spawnp(&m_number, start.command.front().c_str(), settings.Actions(), settings.Attributes(),
                     Pointers(start.command).data(), Pointers(environment).data());
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), "cannot start " + start.command.front());
    }
}

ChildProcess& ChildProcess::operator=(ChildProcess&& other) noexcept {
    std::swap(m_number, other.m_number);
    std::swap(m_isApart, other.m_isApart);
    return *this;
}

ChildProcess::~ChildProcess() {
    if (m_number > 0) {
        Kill();
    }
}

ChildEnd ChildProcess::Wait() {
    return *Look(0);
}

std::optional<ChildEnd> ChildProcess::WaitUntil(std::chrono::steady_clock::time_point deadline,
                                                const std::function<bool()>& isStopped) {
    while (true) {
        if (const auto end = Look(WNOHANG)) {
            return end;
        }
        if (std::chrono::steady_clock::now() >= deadline || (isStopped && isStopped())) {
            return std::nullopt;
        }
        std::this_thread::sleep_for(kLookStep);
    }
}

void ChildProcess::Send(int signal) const {
    kill(m_isApart ? -m_number : m_number, signal);
}

ChildEnd ChildProcess::Kill() {
    Send(SIGKILL);
    return Wait();
}

std::optional<ChildEnd> ChildProcess::Look(int options) {
    int status = 0;
    pid_t found = 0;
    while ((found = waitpid(m_number, &status, options)) < 0 && errno == EINTR) {
    }
    if (found == 0) {
        return std::nullopt;
    }
    m_number = 0;
    if (found < 0) {
        return ChildEnd();
    }
    return WIFSIGNALED(status) ? ChildEnd{-1, WTERMSIG(status)} : ChildEnd{WEXITSTATUS(status), 0};
}

}  // namespace support
