#include "set/SetUse.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

#include "TemporarySet.h"

namespace {

using kuraset::SetError;
using kuraset::SetUse;
using simulator::TemporaryFolder;
using simulator::TemporarySet;

constexpr std::chrono::milliseconds kAtOnce{0};

std::string Refusal(const std::filesystem::path& set) {
    try {
        const SetUse use(set, kAtOnce);
    } catch (const SetError& error) {
        EXPECT_EQ(error.kind(), SetError::Kind::Io);
        return error.what();
    }
    return "";
}

TEST(SetUse, NamesTheProcessThatHasTheSet) {
    TemporarySet set;
    std::optional<SetUse> first;
    first.emplace(set->Path());
    const std::string inUse = set->Path().string() + ": the set is in use by ";
    // Not every system tells who has a lock.
    EXPECT_THAT(Refusal(set->Path()),
                testing::AnyOf(testing::StartsWith(inUse + "process " + std::to_string(getpid()) + " ("),
                               inUse + "another process"));
    first.reset();
    EXPECT_EQ(Refusal(set->Path()), "");
}

TEST(SetUse, IsPerSet) {
    TemporarySet one;
    TemporarySet other;
    const SetUse use(one->Path());
    EXPECT_EQ(Refusal(other->Path()), "");
}

TEST(SetUse, OfAFolderThatIsGoneSaysSo) {
    const TemporaryFolder folder;
    EXPECT_EQ(Refusal(folder.Path() / "none"),
              (folder.Path() / "none").string() + ": cannot open: No such file or directory");
}

}  // namespace
