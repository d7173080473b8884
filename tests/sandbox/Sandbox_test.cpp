// The sandbox from inside and from outside: what a command sees, what it may write, and that nothing stays.
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sandbox.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsSupersetOf;

constexpr int kNoSandbox = 125;

struct Outcome {
    int status = 0;
    std::string output;
};

Outcome Shell(const std::string& command) {
    std::FILE* pipe = popen((command + " 2>&1").c_str(), "re");
    if (pipe == nullptr) {
        throw std::runtime_error("cannot start: " + command);
    }
    Outcome outcome;
    std::array<char, 1024> part{};
    while (std::fgets(part.data(), part.size(), pipe) != nullptr) {
        outcome.output += part.data();
    }
    const int status = pclose(pipe);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

/// Runs a shell script inside.
Outcome Inside(const std::string& options, const std::string& script) {
    return Shell(KURA_SANDBOX " " + options + " -- sh -c '" + script + "'");
}

class Folder {
public:
    Folder() {
        std::string name = (fs::temp_directory_path() / "kura-sandbox-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no folder for the test");
        }
        m_path = name;
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() {
        std::error_code error;
        fs::remove_all(m_path, error);
    }

    std::string operator/(const std::string& name) const { return m_path / name; }
    std::string Path() const { return m_path; }

private:
    fs::path m_path;
};

void Write(const std::string& path, const std::string& text) {
    std::ofstream(path) << text;
}

std::string Read(const std::string& path) {
    std::ifstream stream(path);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

TEST(Sandbox, GivesEmptyWritablePrivateFolders) {
    const Outcome outcome = Inside(
        "", "ls -A /opt /home /tmp /run && touch /opt/kura-left /home/kura-left /tmp/kura-left && ls /opt");
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_EQ(outcome.output, "/home:\n\n/opt:\n\n/run:\n\n/tmp:\nkura-left\n");
    for (const char* path : {"/opt/kura-left", "/home/kura-left", "/tmp/kura-left"}) {
        EXPECT_FALSE(fs::exists(path)) << path;
    }
}

TEST(Sandbox, LeavesTheRestOfTheMachineReadOnly) {
    const Outcome outcome =
        Inside("--library /bin/true", "touch /usr/kura-left || touch /usr/share/kura-left || exit 7");
    EXPECT_EQ(outcome.status, 7);
    EXPECT_THAT(outcome.output, HasSubstr("Read-only"));
}

TEST(Sandbox, ShowsTheLibraryAtItsInstalledPath) {
    const Folder folder;
    Write(folder / "made.so", "a library");
    const Outcome outcome = Inside("--library " + folder / "made.so", "cat /usr/lib/libkura_parser.so");
    EXPECT_EQ(outcome.output, "a library");
    EXPECT_EQ(Inside("--library " + folder / "made.so", "ls /usr/lib | wc -l").output,
              Inside("", "ls /usr/lib | grep -v ^libkura_parser.so | wc -l | xargs expr 1 +").output);
}

TEST(Sandbox, WritesThroughToTheFoldersGiven) {
    const Folder folder;
    for (const char* name : {"opt", "home", "tmp"}) {
        fs::create_directory(folder / name);
    }
    const std::string options =
        "--opt " + folder / "opt" + " --home " + folder / "home" + " --tmp " + folder / "tmp";
    EXPECT_EQ(Inside(options, "echo 1 >/opt/a; echo 2 >/home/b; echo 3 >/tmp/c").status, 0);
    EXPECT_EQ(Read(folder / "opt/a"), "1\n");
    EXPECT_EQ(Read(folder / "home/b"), "2\n");
    EXPECT_EQ(Read(folder / "tmp/c"), "3\n");
    EXPECT_NE(Inside(options + " --opt-read-only", "echo 4 >/opt/a").status, 0);
    EXPECT_EQ(Read(folder / "opt/a"), "1\n");
}

TEST(Sandbox, ExposesFoldersBelowThePrivateOnes) {
    const Folder folder;
    Write(folder / "file", "seen\n");
    EXPECT_NE(Inside("", "cat " + folder / "file").status, 0);
    EXPECT_EQ(Inside("--expose " + folder.Path(), "cat " + folder / "file").output, "seen\n");
    EXPECT_NE(Inside("--expose " + folder.Path(), "echo x >" + folder / "file").status, 0);
    EXPECT_EQ(Inside("--expose-rw " + folder.Path(), "echo x >" + folder / "file").status, 0);
    EXPECT_EQ(Read(folder / "file"), "x\n");
}

TEST(Sandbox, BindsFoldersElsewhere) {
    const Folder folder;
    Write(folder / "file", "seen\n");
    EXPECT_EQ(Inside("--bind " + folder.Path() + "=/run/place", "cat /run/place/file").output, "seen\n");
    EXPECT_NE(Inside("--bind " + folder.Path() + "=/run/place", "echo x >/run/place/file").status, 0);
    EXPECT_EQ(Inside("--bind-rw " + folder.Path() + "=/run/place", "echo x >/run/place/file").status, 0);
}

TEST(Sandbox, ShowsTheChipIdAndKeepsProcInUse) {
    const Folder folder;
    Write(folder / "chip", "0xAB\n");
    const Outcome outcome = Inside("--chip-id " + folder / "chip",
                                   "cat /proc/vex_chipid_val; sed -n s/^Name:.//p /proc/self/status");
    EXPECT_EQ(outcome.output, "0xAB\nsed\n");
}

TEST(Sandbox, ShowsTheMarkOfTheImageType) {
    const std::string script = "ls /etc/release /etc/debug; test -s /etc/passwd";
    EXPECT_THAT(Inside("--image-type debug", script).output, HasSubstr("/etc/debug\n"));
    EXPECT_THAT(Inside("--image-type debug", script).output, HasSubstr("/etc/release'"));
    EXPECT_THAT(Inside("--image-type release", script).output, HasSubstr("/etc/release\n"));
    EXPECT_EQ(Inside("--image-type release", script).status, 0);
}

TEST(Sandbox, LetsACommandAddToProcAndEtc) {
    EXPECT_EQ(
        Inside("--writable-system", "echo 1 >/proc/vex_chipid_val && touch /etc/release /etc/debug").status,
        0);
    EXPECT_FALSE(fs::exists("/proc/vex_chipid_val"));
}

TEST(Sandbox, LimitsAFreshOpt) {
    EXPECT_NE(Inside("--opt-size 65536", "head -c 200000 /dev/zero >/opt/file").status, 0);
    EXPECT_EQ(Inside("--opt-size 65536", "head -c 20000 /dev/zero >/opt/file").status, 0);
}

TEST(Sandbox, SetsVariablesAndDropsTheFolderForTemporaryFiles) {
    setenv("TMPDIR", "/var/elsewhere", 1);
    EXPECT_EQ(Inside("--env A=b=c", "echo $A $TMPDIR").output, "b=c\n");
}

TEST(Sandbox, PassesTheExitStatusOn) {
    EXPECT_EQ(Inside("", "exit 0").status, 0);
    EXPECT_EQ(Inside("", "exit 1").status, 1);
    EXPECT_EQ(Inside("", "exit 77").status, 77);
    EXPECT_EQ(Inside("", "kill -KILL $$").status, 137);
}

TEST(Sandbox, EndsWhatTheCommandLeavesRunning) {
    const Folder folder;
    EXPECT_EQ(Inside("--expose-rw " + folder.Path(), "(sleep 0.3; touch " + folder / "late" + ") &").status,
              0);
    EXPECT_EQ(Inside("", "ls -d /proc/[0-9]* | wc -l | xargs test 6 -gt").status, 0);
    usleep(700000);
    EXPECT_FALSE(fs::exists(folder / "late"));
}

TEST(Sandbox, SaysWhyThereIsNone) {
    const Outcome missing = Shell("PATH=/nowhere " KURA_SANDBOX " -- true");
    EXPECT_EQ(missing.status, kNoSandbox);
    EXPECT_THAT(missing.output, HasSubstr("bubblewrap"));
    const Outcome refused = Inside("--opt /nowhere/at/all", "true");
    EXPECT_EQ(refused.status, kNoSandbox);
    EXPECT_THAT(refused.output, HasSubstr("no sandbox can be made here"));
    EXPECT_EQ(Shell(KURA_SANDBOX " -- /nowhere/command").status, kNoSandbox);
}

TEST(Sandbox, RefusesAWrongCommandLine) {
    for (const char* arguments : {"", "--nothing -- true", "--image-type other -- true", "--env =x -- true",
                                  "--opt-size many -- true", "--bind here -- true"}) {
        EXPECT_EQ(Shell(std::string(KURA_SANDBOX " ") + arguments).status, 64) << arguments;
    }
    EXPECT_EQ(Shell(KURA_SANDBOX " --help").status, 0);
}

TEST(Sandbox, IsOneCommandLineWithoutAShell) {
    kurasandbox::SandboxOptions options;
    options.command = {"echo", "a b", "$HOME"};
    const std::vector<std::string> command = kurasandbox::BuildBubblewrapCommand(options);
    EXPECT_EQ(command.front(), "bwrap");
    EXPECT_THAT(command, IsSupersetOf({"--unshare-all", "--die-with-parent"}));
    EXPECT_EQ(std::vector<std::string>(command.end() - 4, command.end()),
              (std::vector<std::string>{"--", "echo", "a b", "$HOME"}));
}

}  // namespace
