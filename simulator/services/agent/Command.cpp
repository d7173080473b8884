#include "Command.h"

#include <chrono>
#include <csignal>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kuraset {

namespace {

constexpr std::chrono::seconds kPatience{5};

pid_t Spawn(const std::string& command) {
    char shell[] = "sh";
    char option[] = "-c";
    std::string text = command;
    char* arguments[] = {shell, option, text.data(), nullptr};

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK);

    pid_t process = -1;
    if (posix_spawn(&process, "/bin/sh", &actions, &attributes, arguments, environ) != 0) {
        process = -1;
    }
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return process;
}

}  // namespace

int RunShell(const std::string& command) {
    const pid_t process = Spawn(command);
    if (process < 0) {
        return -1;
    }
    const auto limit = std::chrono::steady_clock::now() + kPatience;
    int status = 0;
    while (waitpid(process, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > limit) {
            kill(-process, SIGKILL);
            waitpid(process, &status, 0);
            return -1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace kuraset
