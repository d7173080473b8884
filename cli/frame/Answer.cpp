#include "Answer.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <iostream>
#include <sstream>

namespace cli {

namespace {

int g_answer = STDOUT_FILENO;

/// A reader that has gone is an error to report, not a signal to die of; only while the answer is written,
/// since programs started by this one would inherit it.
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

/// What goes to std::cout while the object lives.
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

void OpenMissingStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0 && errno == EBADF) {
            // The lowest free number is the stream's; reading only, so that an answer is not lost unsaid.
            static_cast<void>(open("/dev/null", stream == STDERR_FILENO ? O_WRONLY : O_RDONLY));
        }
    }
}

void ReserveStandardOutput() {
    const int kept = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (kept < 0 || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
        throw AnswerLost(std::strerror(errno));
    }
    g_answer = kept;
}

int AnswerDescriptor() {
    return g_answer;
}

void Deliver(const std::string& text) {
    const NoPipeSignal quiet;
    // What a verb printed while it worked comes first.
    std::cout.flush();
    if (g_answer == STDOUT_FILENO && !std::cout) {
        throw AnswerLost(std::strerror(errno));
    }
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = write(g_answer, text.data() + done, text.size() - done);
        if (count >= 0) {
            done += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            throw AnswerLost(std::strerror(errno));
        }
    }
}

void DeliverText(const std::function<void()>& print) {
    std::string text;
    {
        const Captured captured;
        print();
        text = captured.Text();
    }
    Deliver(text);
}

}  // namespace cli
