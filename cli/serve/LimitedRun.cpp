#include "LimitedRun.h"

#include <poll.h>
#include <signal.h>
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

/// Watches the program while it runs: collects its output and ends it when the deadline has passed.
class Watch {
public:
    Watch(const support::ChildStart& start, Pipe& out, Pipe& err, Clock::time_point deadline, int stop,
          int leave)
        : m_process(start), m_out(out), m_err(err), m_deadline(deadline), m_stop(stop), m_leave(leave) {}

    RunEnd ToTheEnd() {
        m_out.writeEnd.Reset();
        m_err.writeEnd.Reset();
        while (m_out.readEnd || m_err.readEnd) {
            Collect();
            KeepDeadline();
        }
        auto end = m_process.WaitUntil(m_deadline);
        for (; !end; end = m_process.WaitUntil(m_deadline)) {
            KeepDeadline();
        }
        m_end.child = *end;
        return std::move(m_end);
    }

private:
    void Collect() {
        std::array<pollfd, 4> files = {{{m_out.readEnd.Number(), POLLIN, 0},
                                        {m_err.readEnd.Number(), POLLIN, 0},
                                        {m_stop, POLLIN, 0},
                                        {m_leave, POLLIN, 0}}};
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
            End(RunEnd::How::kTooMuch);
        }
        if (files[3].revents != 0) {
            m_leave = -1;
            End(RunEnd::How::kLeft);
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
            End(m_stopping ? RunEnd::How::kStopped : RunEnd::How::kTooLate);
        }
    }

    /// Sends the group SIGTERM the first time and SIGKILL the second.
    void End(RunEnd::How how) {
        m_process.Send(m_asked ? SIGKILL : SIGTERM);
        if (!m_asked) {
            m_end.how = how;
        }
        m_asked = true;
        m_deadline = Clock::now() + kGrace;
    }

    support::ChildProcess m_process;
    Pipe& m_out;
    Pipe& m_err;
    Clock::time_point m_deadline;
    int m_stop;
    int m_leave;
    bool m_stopping = false;
    bool m_asked = false;
    RunEnd m_end;
};

}  // namespace

RunEnd RunLimited(const std::vector<std::string>& command, std::chrono::seconds limit, int stop, int leave) {
    Pipe out;
    Pipe err;
    if (!out.readEnd || !err.readEnd) {
        throw std::system_error(errno, std::generic_category(), "cannot make a pipe");
    }
    support::ChildStart start;
    start.command = command;
    start.input = support::ChildStart::kNowhere;
    start.output = out.writeEnd.Number();
    start.errors = err.writeEnd.Number();
    start.isApart = true;
    return Watch(start, out, err, Clock::now() + limit, stop, leave).ToTheEnd();
}

}  // namespace cli::serve
