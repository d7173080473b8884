// Starts a program beside this one, waits for its end and tells how it ended.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace support {

/// How a process ended: by itself with a status, or by a signal.
struct ChildEnd {
    int status = -1;  ///< -1 after a signal, or when the system does not tell
    int signal = 0;   ///< 0 when none ended it

    /// Returns both as one number, as a shell does: 128 + n after signal n.
    int ShellStatus() const { return signal == 0 ? status : 128 + signal; }
};

struct ChildStart {
    static constexpr int kSame = -1;     ///< the stream that this process has
    static constexpr int kNowhere = -2;  ///< /dev/null

    std::vector<std::string> command = {};  ///< the program first, looked for in PATH if it has no slash
    int input = kSame;                      ///< kSame, kNowhere or a descriptor, as for the next two
    int output = kSame;
    int errors = kSame;
    std::vector<int> kept = {};  ///< further descriptors that it gets, under their numbers
    /// Added to this process's environment, in place of variables of the same name.
    std::vector<std::pair<std::string, std::string>> environment = {};
    /// Starts it in a process group of its own, so that Ctrl-C does not reach it and a signal reaches all
    /// that it starts; with default signals, none blocked, and no descriptor but its streams.
    bool isApart = false;
};

/// Owns a child process: kills it if it still runs when the object goes. Movable, not copyable. Not
/// thread-safe.
class ChildProcess {
public:
    ChildProcess() = default;
    /// Starts a program. Throws std::system_error "cannot start PROGRAM: REASON".
    explicit ChildProcess(const ChildStart& start);
    /// Takes over a process that was forked elsewhere.
    explicit ChildProcess(pid_t number) : m_number(number) {}
    ChildProcess(ChildProcess&& other) noexcept { *this = std::move(other); }
    ChildProcess& operator=(ChildProcess&& other) noexcept;
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess();

    /// 0 when there is no process, as after its end. The functions below need one.
    pid_t Number() const { return m_number; }

    /// Waits for its end.
    ChildEnd Wait();
    /// The same until the deadline or until isStopped, asked every few milliseconds, returns true; then
    /// returns none, and the process still runs.
    std::optional<ChildEnd> WaitUntil(std::chrono::steady_clock::time_point deadline,
                                      const std::function<bool()>& isStopped = {});
    /// Sends a signal, to the whole group of a process that is apart.
    void Send(int signal) const;
    /// Sends SIGKILL and waits.
    ChildEnd Kill();

private:
    std::optional<ChildEnd> Look(int options);

    pid_t m_number = 0;
    bool m_isApart = false;
};

}  // namespace support
