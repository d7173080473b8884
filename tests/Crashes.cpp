// A child that crashes fails the test that waits for it, whatever the test makes of its end. This file stands
// in front of the functions that wait; it is linked into every test executable.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

namespace {

/// Nobody sends these; SIGKILL and SIGTERM are what tests end their children with.
bool IsCrash(int signal) {
    for (const int crash : {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS, SIGTRAP, SIGXCPU}) {
        if (signal == crash) {
            return true;
        }
    }
    return false;
}

/// A shell, the sandbox and bubblewrap tell of a signal by an exit status of 128 and the signal.
void Look(int status) {
    const int signal = WIFSIGNALED(status) ? WTERMSIG(status)
                       : WIFEXITED(status) ? WEXITSTATUS(status) - 128
                                           : 0;
    if (IsCrash(signal)) {
        ADD_FAILURE() << "a child ended by signal " << signal << ", which nobody sent";
    }
}

template <typename Function>
Function* Next(const char* name, Function*) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

pid_t waitpid(pid_t process, int* status, int options) {
    int ended = 0;
    const auto child = static_cast<pid_t>(syscall(SYS_wait4, process, &ended, options, nullptr));
    if (child > 0) {
        Look(ended);
    }
    if (child > 0 && status != nullptr) {
        *status = ended;
    }
    return child;
}

int pclose(std::FILE* stream) {
    static auto* const next = Next("pclose", &::pclose);
    const int status = next(stream);
    if (status != -1) {
        Look(status);
    }
    return status;
}

int system(const char* command) {
    static auto* const next = Next("system", &::system);
    const int status = next(command);
    if (command != nullptr && status != -1) {
        Look(status);
    }
    return status;
}

}  // extern "C"
