// A child that crashes makes its test fail; these tests crash children and check that.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

void WaitForChild(int signal) {
    const pid_t child = fork();
    if (child == 0) {
        std::signal(signal, SIG_DFL);
        kill(getpid(), signal);
        _exit(0);
    }
    waitpid(child, nullptr, 0);
}

}  // namespace

TEST(Crashes, OfAChildFailTheTest) {
    EXPECT_NONFATAL_FAILURE(WaitForChild(SIGABRT), "signal 6");
    EXPECT_NONFATAL_FAILURE(WaitForChild(SIGSEGV), "signal 11");
    WaitForChild(SIGKILL);
}

TEST(Crashes, ThatAShellTellsOfFailTheTest) {
    EXPECT_NONFATAL_FAILURE(static_cast<void>(std::system("kill -SEGV $$")), "signal 11");
    EXPECT_NONFATAL_FAILURE(static_cast<void>(std::system("sh -c 'kill -ABRT $$'; exit $?")), "signal 6");
    EXPECT_NONFATAL_FAILURE(pclose(popen("kill -BUS $$", "re")), "signal 7");
    EXPECT_EQ(std::system("exit 0"), 0);
}

TEST(Crashes, InASandboxFailTheTest) {
    EXPECT_NONFATAL_FAILURE(
        static_cast<void>(std::system(KURA_SANDBOX " -- sh -c 'sh -c \"kill -SEGV \\$\\$\"; exit $?'")),
        "signal 11");
}
