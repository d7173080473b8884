#include "Answer.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <iostream>
#include <sstream>

#include "Pager.h"
#include "support/Descriptor.h"

namespace cli {

namespace {

int g_answer = STDOUT_FILENO;

/// Ignores SIGPIPE while the answer is written, so that write() reports a reader that has gone. Its
/// destructor restores the signal, because programs that this one starts would inherit the setting.
class NoPipeSignal {
public:
    NoPipeSignal() {
        struct sigaction ignore {};
        ignore.sa_handler = SIG_IGN;
        sigaction(SIGPIPE, &ignore, &m_before);
    }
    NoPipeSignal(const NoPipeSignal&) = delete;
    NoPipeSignal& operator=(const NoPipeSignal&) = delete;
    ~NoPipeSignal() { sigaction(SIGPIPE, &m_before, nullptr); }

private:
    struct sigaction m_before {};
};

/// Captures what is written to std::cout while the object lives.
class Captured {
public:
    Captured() : m_before(std::cout.rdbuf(m_text.rdbuf())) {}
    Captured(const Captured&) = delete;
    Captured& operator=(const Captured&) = delete;
    ~Captured() { std::cout.rdbuf(m_before); }

    std::string Text() const { return m_text.str(); }

private:
    std::ostringstream m_text;
    std::streambuf* m_before;
};

}  // namespace

AnswerLost::AnswerLost(int error)
    : VerbError(ExitCode::kFailed, std::string("standard output: ") + std::strerror(error)),
      m_readerLeft(error == EPIPE) {}

void OpenMissingStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0 && errno == EBADF) {
            // open() returns the lowest free number, which is this stream's. Standard output is opened for
            // reading, so that writing an answer fails instead of vanishing.
            static_cast<void>(open("/dev/null", stream == STDERR_FILENO ? O_WRONLY : O_RDONLY));
        }
    }
}

void ReserveStandardOutput() {
    const int kept = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (kept < 0 || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
        throw AnswerLost(errno);
    }
    g_answer = kept;
}

int AnswerDescriptor() {
    return g_answer;
}

void Deliver(const std::string& text) {
    const NoPipeSignal quiet;
    // Text that a verb printed while it worked comes before the answer.
    std::cout.flush();
    if (g_answer == STDOUT_FILENO && !std::cout) {
        throw AnswerLost(errno);
    }
    if (!support::WriteAll(g_answer, text)) {
        throw AnswerLost(errno);
    }
}

void WaitWhileRead(std::chrono::milliseconds time) {
    pollfd answer{g_answer, 0, 0};
    if (poll(&answer, 1, static_cast<int>(time.count())) > 0) {
        // The other end of a terminal hangs up, the one of a pipe is an error.
        throw AnswerLost((answer.revents & POLLHUP) != 0 ? EIO : EPIPE);
    }
}

void DeliverText(const std::function<void()>& print) {
    std::string text;
    {
        const Captured captured;
        print();
        text = captured.Text();
    }
    DeliverForPeople(text);
}

void DeliverForPeople(const std::string& text) {
    if (!ShownInPager(text)) {
        Deliver(text);
    }
}

}  // namespace cli
