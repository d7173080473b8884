// Completions that arrive while the process ends.
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <string>
#include <vector>

#include "trust/Trust.h"

namespace {

/// Runs the program so often, two at a time, and counts the runs that did not end with 0.
std::size_t CountFailures(std::string program, std::size_t runs) {
    std::size_t failures = 0;
    std::size_t started = 0;
    for (std::size_t ended = 0; ended < runs;) {
        if (started < runs && started - ended < 2) {
            char* arguments[] = {program.data(), nullptr};
            pid_t child = 0;
            EXPECT_EQ(posix_spawn(&child, program.c_str(), nullptr, nullptr, arguments, environ), 0);
            ++started;
            continue;
        }
        int status = 0;
        EXPECT_GT(wait(&status), 0);
        failures += WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 0 : 1;
        ++ended;
    }
    return failures;
}

void ExpectCleanExits(const std::string& how) {
    trust::Watch();
    const std::size_t runs = trust::Count(10, 500);
    EXPECT_EQ(CountFailures(EXITING_HOSTS + how, runs), 0U);
    trust::Report("Completions while the process ends", "library " + how, runs);
}

}  // namespace

TEST(Exit, LeavesCompletionsRunningWhereTheLibraryIsLinked) {
    ExpectCleanExits("linked");
}

TEST(Exit, LeavesCompletionsRunningWhereTheLibraryIsOpenedAtRunTime) {
    ExpectCleanExits("opened");
}
