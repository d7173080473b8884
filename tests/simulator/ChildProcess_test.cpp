#include "support/ChildProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <optional>
#include <string>
#include <system_error>

#include "support/Descriptor.h"

namespace {

using std::chrono::steady_clock;
using support::ChildProcess;
using support::ChildStart;

ChildStart Shell(const std::string& script) {
    ChildStart start;
    start.command = {"sh", "-c", script};
    return start;
}

/// What a program writes to the pipe that it has for standard output.
std::string OutputOf(ChildStart start) {
    support::Pipe pipe;
    start.output = pipe.writeEnd.Number();
    ChildProcess child(start);
    pipe.writeEnd.Reset();
    const std::string text = support::ReadAll(pipe.readEnd.Number()).value_or("unread");
    EXPECT_EQ(child.Wait().ShellStatus(), 0);
    EXPECT_EQ(child.Number(), 0);
    return text;
}

TEST(ChildProcess, TellsAStatusFromASignal) {
    const auto exited = ChildProcess(Shell("exit 138")).Wait();
    EXPECT_EQ(exited.status, 138);
    EXPECT_EQ(exited.signal, 0);
    const auto signalled = ChildProcess(Shell("kill -USR1 $$")).Wait();
    EXPECT_EQ(signalled.status, -1);
    EXPECT_EQ(signalled.signal, SIGUSR1);
    EXPECT_EQ(signalled.ShellStatus(), 138);
}

TEST(ChildProcess, SaysWhatDoesNotStart) {
    try {
        const ChildProcess child(ChildStart{{"/no/such"}});
        ADD_FAILURE() << "it started";
    } catch (const std::system_error& error) {
        EXPECT_STREQ(error.what(), "cannot start /no/such: No such file or directory");
    }
}

TEST(ChildProcess, ReplacesAVariable) {
    setenv("KURA_ONE", "mine", 1);
    ChildStart start = Shell("env | sort | grep ^KURA_ONE; cat");
    start.environment = {{"KURA_ONE", "its"}, {"KURA_ONE_MORE", ""}};
    start.input = ChildStart::kNowhere;
    EXPECT_EQ(OutputOf(start), "KURA_ONE=its\nKURA_ONE_MORE=\n");
}

TEST(ChildProcess, HasTheDescriptorsThatAreNamed) {
    const support::Pipe pipe;
    ChildStart start =
        Shell("test -e /proc/self/fd/" + std::to_string(pipe.readEnd.Number()) + " && echo kept");
    start.kept = {pipe.readEnd.Number()};
    EXPECT_EQ(OutputOf(start), "kept\n");
    const support::Descriptor inherited(dup(pipe.readEnd.Number()));
    start = Shell("ls /proc/self/fd | wc -l");
    start.isApart = true;
    EXPECT_EQ(OutputOf(start), "4\n") << "three streams, and that of the listing";
}

TEST(ChildProcess, OneThatIsApartIsEndedWithAllThatItStarted) {
    support::Pipe pipe;
    ChildStart start = Shell("sleep 1000 & echo; wait");
    start.output = pipe.writeEnd.Number();
    start.isApart = true;
    {
        ChildProcess child(start);
        pipe.writeEnd.Reset();
        char line = 0;
        EXPECT_EQ(read(pipe.readEnd.Number(), &line, 1), 1);
        EXPECT_FALSE(child.WaitUntil(steady_clock::now()));
        EXPECT_FALSE(child.WaitUntil(steady_clock::time_point::max(), [] { return true; }));
    }
    // The pipe ends when its last writer has gone.
    EXPECT_EQ(support::ReadAll(pipe.readEnd.Number()), "");
}

}  // namespace
