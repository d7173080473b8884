// Ids of applications reach a shell, in the command that measures the web cache. Whatever an id is made of,
// the shell must see one argument with exactly its bytes, and run nothing but that command.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "Agent.h"
#include "CGetData.h"
#include "Fakes.h"
#include "Interposed.h"
#include "trust/Trust.h"

using fakes::Set;

namespace fs = std::filesystem;

namespace {

const std::string kWebCache = "/opt/usr/home/owner/.cache/Apps/WebAppsCache/";
constexpr std::size_t kBatch = 500;

const std::vector<std::string> kFragments = {
    "$(touch x)", "`touch x`", ";touch x;", "&&touch x",   "||touch x", "|touch x", "\ntouch x\n",
    ">x",         "'\\''",     "${IFS}",    "$HOME",       "\\",        "\"",       "'",
    "*",          "?",         "~",         "#",           "!",         "%s",       "-rf",
    "\xc3\xa4",   "\xff",      " ",         "\t",          "{a,b}",     "[a-z]",    "&",
    "<x",         "2>&1",      "=",         "plain.Id_1-2"};

std::string RandomId(std::mt19937& random) {
    std::string id;
    const std::size_t parts = 1 + random() % 6;
    for (std::size_t i = 0; i < parts; ++i) {
        if (random() % 3 == 0) {
            for (std::size_t k = random() % 12; k > 0; --k) {
                id += static_cast<char>(1 + random() % 255);
            }
        } else {
            id += kFragments[random() % kFragments.size()];
        }
    }
    return id;
}

/// What the library asks the shell to run for these ids, in order.
std::vector<std::string> CommandsFor(const std::deque<std::string>& ids) {
    interposed::Forget();
    Set().apps.clear();
    for (const std::string& id : ids) {
        Set().apps.push_back({"", "HelpBook", "/opt/icons/", id.c_str(), "package", 0, 0, 0, 0});
    }
    Set().appCount = static_cast<int>(ids.size());
    KURA::CGetData::GetInstance()->sendAppList();
    fs::remove_all(agent::kFolder);
    agent::MakeFolders();
    return interposed::Commands();
}

/// The arguments of each command, one after the other, and where they end; sorted, since the commands come
/// from several workers.
using Arguments = std::vector<std::string>;

/// What the arguments are to a shell whose du only tells them, and that finds no program.
Arguments ArgumentsSeen(const std::vector<std::string>& commands) {
    const std::string mode = "re ";
    std::string script = "PATH=/nowhere\ncd /tmp/empty\ndu() { printf '%s\\0' \"$#\" \"$@\"; }\n";
    for (const std::string& command : commands) {
        EXPECT_EQ(command.substr(0, mode.size()), mode);
        script += command.substr(mode.size()) + "\n";
    }
    agent::Write("/tmp/script", script);
    EXPECT_EQ(std::system("/bin/sh /tmp/script >/tmp/seen 2>/tmp/errors"), 0);
    EXPECT_EQ(agent::Read("/tmp/errors"), "");
    const std::string seen = agent::Read("/tmp/seen");
    const std::string start = std::string("2") + '\0' + "-bs" + '\0';  // no id has such a byte
    Arguments arguments;
    for (std::size_t at = 0; at < seen.size();) {
        const std::size_t next = std::min(seen.find(start, at + 1), seen.size());
        arguments.push_back(seen.substr(at, next - at));
        at = next;
    }
    std::sort(arguments.begin(), arguments.end());
    return arguments;
}

}  // namespace

TEST(ShellText, GivesTheShellOneArgumentOfTheSameBytes) {
    trust::Watch();
    agent::MakeFolders();
    fs::create_directories(kWebCache);
    fs::create_directories("/tmp/empty");
    Set().keepRecords = false;
    interposed::AnswerCommands("1\tx\n");
    std::mt19937 random(20260131);
    const std::size_t wanted = trust::Count(5000, 100000);
    for (std::size_t tried = 0; tried < wanted && !HasFailure(); tried += kBatch) {
        std::deque<std::string> ids;
        Arguments expected;
        for (std::size_t i = 0; i < kBatch; ++i) {
            ids.push_back(RandomId(random));
            expected.push_back(std::string("2") + '\0' + "-bs" + '\0' + kWebCache + ids.back() + '\0');
        }
        std::sort(expected.begin(), expected.end());
        const std::vector<std::string> commands = CommandsFor(ids);
        ASSERT_EQ(commands.size(), kBatch);
        EXPECT_TRUE(ArgumentsSeen(commands) == expected) << "in the batch from id " << tried;
        EXPECT_TRUE(fs::is_empty("/tmp/empty")) << "something was executed";
    }
    trust::Report("Shell text", "random ids through the web-cache measurement", wanted);
}
