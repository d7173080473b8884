#include "SetUse.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
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
        const SetUse use(set, "second", kAtOnce);
    } catch (const SetError& error) {
        EXPECT_EQ(error.kind(), SetError::Kind::Io);
        return error.what();
    }
    return "";
}

TEST(SetUse, NamesTheProcessThatHasTheSet) {
    TemporarySet set;
    std::optional<SetUse> first;
    first.emplace(set->Path(), "kura clean");
    EXPECT_EQ(Refusal(set->Path()), set->Path().string() + ": the set is in use by process " +
                                        std::to_string(getpid()) + " (kura clean)");
    first.reset();
    EXPECT_EQ(Refusal(set->Path()), "");
}

TEST(SetUse, IsPerSet) {
    TemporarySet one;
    TemporarySet other;
    const SetUse use(one->Path(), "first");
    EXPECT_EQ(Refusal(other->Path()), "");
}

TEST(SetUse, OfAFolderThatIsGoneSaysSo) {
    const TemporaryFolder folder;
    EXPECT_EQ(Refusal(folder.Path() / "none"),
              (folder.Path() / "none/use.lock").string() + ": cannot open: No such file or directory");
}

}  // namespace
