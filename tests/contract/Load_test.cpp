// What happens when the library is loaded, which is nothing: the set's services and the host are not called,
// no file and no thread is there that was not there before.
#include <dlfcn.h>

#include <filesystem>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "Fakes.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kInstalled = "/usr/lib/libkura_parser.so";

std::set<std::string> NamesIn(const char* folder) {
    std::set<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        std::error_code gone;
        const fs::path target = fs::read_symlink(entry.path(), gone);
        names.insert(entry.path().filename().string() + " " + target.string());
    }
    return names;
}

class Load : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(dlopen(kInstalled, RTLD_NOW | RTLD_NOLOAD), nullptr) << "loaded before the test";
        m_library = dlopen(kInstalled, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(m_library, nullptr) << dlerror();
    }

    void* m_library = nullptr;
};

TEST_F(Load, CallsNoServiceAndLogsNothing) {
    EXPECT_EQ(fakes::Set().callCount, 0u);
    EXPECT_EQ(fakes::Set().logCount, 0u);
}

TEST_F(Load, CreatesNoFile) {
    for (const char* folder : {"/opt", "/home"}) {
        EXPECT_TRUE(fs::is_empty(folder)) << folder;
    }
}

TEST_F(Load, OffersItsEntryPoints) {
    for (const char* name :
         {"ParseSolutionMap", "RequestApplySolution", "SaveResultToSolutionDB", "ProcessLaunchApp"}) {
        EXPECT_NE(dlsym(m_library, name), nullptr) << name;
    }
}

TEST_F(Load, HasNoMainLoopUntilTheHostSetsOne) {
    void** loop = static_cast<void**>(dlsym(m_library, "loop"));
    ASSERT_NE(loop, nullptr);
    EXPECT_EQ(*loop, nullptr);
}

TEST(LoadAlone, LeavesDescriptorsAndThreadsAsTheyWere) {
    const std::set<std::string> descriptors = NamesIn("/proc/self/fd");
    const std::size_t threads = NamesIn("/proc/self/task").size();
    ASSERT_NE(dlopen(kInstalled, RTLD_NOW | RTLD_LOCAL), nullptr) << dlerror();
    EXPECT_EQ(NamesIn("/proc/self/fd"), descriptors);
    EXPECT_EQ(NamesIn("/proc/self/task").size(), threads);
}

}  // namespace
