// Entry points that the library lacks. The tests interpose dlsym itself. The sanitizers cannot start with
// that, so the tests are skipped there.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "Fakes.h"
#include "KURA_DiagManager.h"
#include "KURA_Storage.h"
#include "SetUp.h"

using fakes::Set;
using KURA::KURA_DiagManager;
using setup::Lines;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::SizeIs;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KURA_CAN_REPLACE_DLSYM 0
#else
#define KURA_CAN_REPLACE_DLSYM 1
#endif

namespace {

/// Names that the library is taken to lack, and all that were asked for while a list is set.
std::vector<std::string>* g_missing = nullptr;
std::vector<std::string>* g_asked = nullptr;

struct MissingNames {
    explicit MissingNames(std::vector<std::string> list) : names(std::move(list)) {
        g_missing = &names;
        g_asked = &asked;
    }
    MissingNames(const MissingNames&) = delete;
    MissingNames& operator=(const MissingNames&) = delete;
    ~MissingNames() {
        g_missing = nullptr;
        g_asked = nullptr;
    }
    std::vector<std::string> names;
    std::vector<std::string> asked;
};

[[maybe_unused]] bool IsMissing(const void* library, const char* name) {
    if (g_missing == nullptr || library == RTLD_NEXT || library == RTLD_DEFAULT) {
        return false;
    }
    g_asked->push_back(name);
    for (const std::string& missing : *g_missing) {
        if (missing == name) {
            return true;
        }
    }
    return false;
}

std::string LaunchNetworkSettings(KURA_DiagManager& manager) {
    std::string target = "NetworkSetting";
    return manager.StartSelfDiagnosis(target.data());
}

}  // namespace

#if KURA_CAN_REPLACE_DLSYM
extern "C" void* dlsym(void* library, const char* name) noexcept {
    using Function = void* (*)(void*, const char*);
    static Function next = nullptr;
    for (const char* version : {"GLIBC_2.34", "GLIBC_2.17", "GLIBC_2.2.5", "GLIBC_2.0"}) {
        if (next == nullptr) {
            next = reinterpret_cast<Function>(dlvsym(RTLD_NEXT, "dlsym", version));
        }
    }
    return next(library, IsMissing(library, name) ? "NotThereAtAll" : name);
}
#define KURA_NEEDS_DLSYM() static_cast<void>(0)
#else
#define KURA_NEEDS_DLSYM() GTEST_SKIP() << "dlsym cannot be replaced under a sanitizer"
#endif

TEST(KURA_DiagManager, AsksForTheParserFirstAndThenForTheOtherThree) {
    KURA_NEEDS_DLSYM();
    setup::Install();
    const MissingNames names({});
    KURA_DiagManager::GetInstance();
    EXPECT_THAT(names.asked, ElementsAre("ParseSolutionMap", "RequestApplySolution", "SaveResultToSolutionDB",
                                         "ProcessLaunchApp"));
}

TEST(KURA_DiagManager, AsksForNothingElseWithoutTheParser) {
    KURA_NEEDS_DLSYM();
    setup::Install();
    const MissingNames names({"ParseSolutionMap"});
    KURA_DiagManager* manager = KURA_DiagManager::GetInstance();
    EXPECT_THAT(names.asked, ElementsAre("ParseSolutionMap"));
    EXPECT_THAT(Lines({"createLibHandler"}),
                Contains(MatchesRegex("6 createLibHandler: dlsym failed for parse Solution Map: "
                                      ".*libkura_parser.so: undefined symbol: NotThereAtAll")));
    EXPECT_THAT(Set().Messages("ParseSolutionMap"), IsEmpty());
    EXPECT_EQ(LaunchNetworkSettings(*manager), "");
    EXPECT_THAT(Set().launches, IsEmpty());
}

TEST(KURA_DiagManager, KeepsTheEntryPointsThatItFound) {
    KURA_NEEDS_DLSYM();
    setup::Install();
    const MissingNames names({"ProcessLaunchApp"});
    KURA_DiagManager* manager = KURA_DiagManager::GetInstance();
    EXPECT_THAT(Lines({"createLibHandler"}),
                Contains(MatchesRegex("6 createLibHandler: dlsym failed: "
                                      ".*libkura_parser.so: undefined symbol: NotThereAtAll")));
    EXPECT_TRUE(Set().Logged(4, "calling thro dlysm parse solution"));
    KURA::TSCurrentKURAMap map;
    KURA::TCInformationStorage::Instance()->GetKURAMapInformation(map);
    EXPECT_THAT(map.solutions, SizeIs(2));
    EXPECT_EQ(LaunchNetworkSettings(*manager), "");
    EXPECT_TRUE(Set().Logged(4, "launch Network Setting"));
    EXPECT_THAT(Set().launches, IsEmpty());
}

// The last look-up succeeds, and its error is the only one asked for.
TEST(KURA_DiagManager, LaunchesAlsoWhenAnotherEntryPointIsMissing) {
    KURA_NEEDS_DLSYM();
    setup::Install();
    const MissingNames names({"RequestApplySolution"});
    KURA_DiagManager* manager = KURA_DiagManager::GetInstance();
    LaunchNetworkSettings(*manager);
    EXPECT_THAT(Set().launches, SizeIs(1));
    EXPECT_THAT(names.asked, SizeIs(4));
    EXPECT_TRUE(Set().Logged(4, "dlysm before call"));
    EXPECT_THAT(Set().Messages(), Each(Not(HasSubstr("dlsym failed"))));
}
