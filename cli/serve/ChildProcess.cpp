#include "ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

#include "support/Descriptor.h"

namespace cli::serve {

namespace {

using support::Pipe;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kOutputLimit = 16 * 1024 * 1024;
constexpr std::size_t kErrorsKept = 64 * 1024;
/// How long a call may go on after the server was asked to end, and a program after it was asked to end.
constexpr std::chrono::seconds kGrace{3};
constexpr std::chrono::milliseconds kReapStep{10};

[[noreturn]] void Throw(int error, const std::string& what) {
    throw std::system_error(error, std::generic_category(), what);
}

/// Gives the child an empty input, the two pipes as output, no other open file and no blocked signal.
class SpawnSettings {
public:
    SpawnSettings(const Pipe& out, const Pipe& err) {
        posix_spawn_file_actions_init(&m_actions);
        posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&m_actions, out.writeEnd.Number(), STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&m_actions, err.writeEnd.Number(), STDERR_FILENO);
        posix_spawn_file_actions_addclosefrom_np(&m_actions, STDERR_FILENO + 1);
        posix_spawnattr_init(&m_attributes);
        sigset_t none;
        sigemptyset(&none);
        posix_spawnattr_setsigmask(&m_attributes, &none);
        sigset_t plain;
        sigemptyset(&plain);
        for (const int signal : {SIGPIPE, SIGINT, SIGTERM, SIGHUP}) {
            sigaddset(&plain, signal);
        }
        posix_spawnattr_setsigdefault(&m_attributes, &plain);
        posix_spawnattr_setpgroup(&m_attributes, 0);
        posix_spawnattr_setflags(&m_attributes,
                                 POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;
    ~SpawnSettings() {
        posix_spawn_file_actions_destroy(&m_actions);
        posix_spawnattr_destroy(&m_attributes);
    }
    pid_t Spawn(const std::vector<std::string>& command) const {
        std::vector<char*> arguments;
        for (const std::string& argument : command) {
            arguments.push_back(const_cast<char*>(argument.c_str()));
        }
        arguments.push_back(nullptr);
        pid_t process = 0;
        const int error =
            posix_spawn(&process, arguments[0], &m_actions, &m_attributes, arguments.data(), environ);
        if (error != 0) {
            Throw(error, "cannot start " + command.front());
        }
        return process;
    }

private:
    posix_spawn_file_actions_t m_actions{};
    posix_spawnattr_t m_attributes{};
};

/// Watches the program while it runs: collects its output and ends it when the deadline has passed.
class Watch {
public:
    Watch(pid_t process, Pipe& out, Pipe& err, Clock::time_point deadline, int stop)
        : m_process(process), m_out(out), m_err(err), m_deadline(deadline), m_stop(stop) {}

    ChildEnd ToTheEnd() {
        while (m_out.readEnd || m_err.readEnd) {
            Collect();
            KeepDeadline();
        }
        int status = 0;
        while (waitpid(m_process, &status, WNOHANG) == 0) {
            poll(nullptr, 0, static_cast<int>(kReapStep.count()));
            KeepDeadline();
        }
        if (m_end.how == ChildEnd::How::kExited && WIFSIGNALED(status)) {
            m_end.how = ChildEnd::How::kSignalled;
        }
        m_end.status = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
        return std::move(m_end);
    }

private:
    void Collect() {
        std::array<pollfd, 3> files = {
            {{m_out.readEnd.Number(), POLLIN, 0}, {m_err.readEnd.Number(), POLLIN, 0}, {m_stop, POLLIN, 0}}};
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(m_deadline - Clock::now());
        poll(files.data(), files.size(), static_cast<int>(std::max<long long>(left.count() + 1, 0)));
        if (files[0].revents != 0 && !ReadSome(m_out, m_end.out)) {
            m_out.readEnd.Reset();
        }
        if (files[1].revents != 0 && !ReadSome(m_err, m_end.err)) {
            m_err.readEnd.Reset();
        }
        if (m_end.err.size() > kErrorsKept) {
            m_end.err.erase(0, m_end.err.size() - kErrorsKept);
        }
        if (m_end.out.size() > kOutputLimit) {
            m_end.out.clear();
            End(ChildEnd::How::kTooMuch);
        }
        if (files[2].revents != 0) {
            m_stop = -1;
            m_stopping = true;
            m_deadline = std::min(m_deadline, Clock::now() + kGrace);
        }
    }

    static bool ReadSome(const Pipe& pipe, std::string& text) {
        std::array<char, 65536> bytes{};
        const ssize_t count = read(pipe.readEnd.Number(), bytes.data(), bytes.size());
        if (count > 0) {
            text.append(bytes.data(), static_cast<std::size_t>(count));
        }
        return count > 0 || (count < 0 && errno == EINTR);
    }

    void KeepDeadline() {
        if (Clock::now() >= m_deadline) {
            End(m_stopping ? ChildEnd::How::kStopped : ChildEnd::How::kTooLate);
        }
    }

    /// Sends the group SIGTERM the first time and SIGKILL the second.
    void End(ChildEnd::How how) {
        kill(-m_process, m_asked ? SIGKILL : SIGTERM);
        if (!m_asked) {
            m_end.how = how;
        }
        m_asked = true;
        m_deadline = Clock::now() + kGrace;
    }

    const pid_t m_process;
    Pipe& m_out;
    Pipe& m_err;
    Clock::time_point m_deadline;
    int m_stop;
    bool m_stopping = false;
    bool m_asked = false;
    ChildEnd m_end;
};

}  // namespace

ChildEnd RunChild(const std::vector<std::string>& command, std::chrono::seconds limit, int stop) {
    Pipe out;
    Pipe err;
    if (!out.readEnd || !err.readEnd) {
        Throw(errno, "cannot make a pipe");
    }
    const pid_t process = SpawnSettings(out, err).Spawn(command);
    out.writeEnd.Reset();
    err.writeEnd.Reset();
    return Watch(process, out, err, Clock::now() + limit, stop).ToTheEnd();
}

}  // namespace cli::serve
