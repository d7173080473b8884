#include "Pager.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "Look.h"
#include "Session.h"

namespace cli {

namespace {

std::string PagerCommand() {
    const char* pager = std::getenv("PAGER");
    return pager == nullptr ? "less" : pager;
}

/// How a shell tells that it could not start the command.
bool IsStarted(int status) {
    return !WIFEXITED(status) || (WEXITSTATUS(status) != 126 && WEXITSTATUS(status) != 127);
}

}  // namespace

bool PagerWanted() {
    const std::string command = PagerCommand();
    return TheLookOptions().pager && !IsInside() && isatty(STDOUT_FILENO) != 0 && !command.empty() &&
           command != "cat";
}

bool ShownInPager(const std::string& text) {
    const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    if (!PagerWanted() || TerminalHeight() == 0 || lines < TerminalHeight()) {
        return false;
    }
    // Less ends by itself at the end of a short text, lets colours through and leaves the text on the screen.
    setenv("LESS", "FRX", 0);
    // A reader that leaves early closes the pipe.
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    FILE* const pager = popen(PagerCommand().c_str(), "w");
    if (pager == nullptr) {
        std::signal(SIGPIPE, before);
        return false;
    }
    std::fwrite(text.data(), 1, text.size(), pager);
    const int status = pclose(pager);
    std::signal(SIGPIPE, before);
    return status < 0 || IsStarted(status);
}

}  // namespace cli
