// The creation of the manager, which looks up the library's entry points by name. The tests interpose the
// dynamic loader: for an entry point that a test calls missing, the loader is asked for a name that does not
// exist, so that the error is the loader's own.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Fakes.h"
#include "KURA_DiagManager.h"
#include "KURA_Storage.h"
#include "SetUp.h"

using fakes::Set;
using KURA::KURA_DiagManager;
using setup::Lines;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

namespace {

constexpr const char* kLibrary = "/usr/lib/libkura_parser.so";

/// What dlopen opens in the library's place; null = the library.
const char* g_stand_in = nullptr;
std::vector<std::string>* g_opened = nullptr;

KURA::TSCurrentKURAMap Stored() {
    KURA::TSCurrentKURAMap map;
    KURA::TCInformationStorage::Instance()->GetKURAMapInformation(map);
    return map;
}

std::vector<std::string> CreationLines() {
    return Lines({"KURA_DiagManager", "createLibHandler"});
}

}  // namespace

extern "C" void* dlopen(const char* path, int mode) noexcept {
    using Function = void* (*)(const char*, int);
    static const auto next = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "dlopen"));
    if (path == nullptr || std::strcmp(path, kLibrary) != 0) {
        return next(path, mode);
    }
    if (g_opened != nullptr) {
        g_opened->push_back(std::string(path) + (mode == RTLD_LAZY ? " lazily" : " otherwise"));
    }
    return next(g_stand_in == nullptr ? path : g_stand_in, mode);
}

TEST(KURA_DiagManager, LoadsTheMapThroughTheLibraryItself) {
    setup::Install();
    std::vector<std::string> opened;
    g_opened = &opened;
    KURA_DiagManager* manager = KURA_DiagManager::GetInstance();
    g_opened = nullptr;
    ASSERT_NE(manager, nullptr);
    EXPECT_THAT(opened, ElementsAre("/usr/lib/libkura_parser.so lazily"));
    EXPECT_THAT(
        CreationLines(),
        ElementsAre("4 KURA_DiagManager: Start DiagnosisManager", "4 createLibHandler: create Lib Handler",
                    MatchesRegex("4 createLibHandler: dlopen success: handle 0x[0-9a-f]+"),
                    "4 createLibHandler: dlysm before call",
                    "4 KURA_DiagManager: calling thro dlysm parse solution"));
    const KURA::TSCurrentKURAMap map = Stored();
    EXPECT_EQ(map.version, 7U);
    EXPECT_EQ(map.count, 2U);
    EXPECT_THAT(map.solutions, SizeIs(2));
    EXPECT_EQ(Set().Messages("ParseSolutionMap").front(), "ParseSolutionMap in so_interface");
    EXPECT_THAT(Set().calls, IsEmpty());
}

TEST(KURA_DiagManager, IsCreatedOnce) {
    setup::Install();
    KURA_DiagManager* manager = KURA_DiagManager::GetInstance();
    setup::ForgetRecords();
    EXPECT_EQ(KURA_DiagManager::GetInstance(), manager);
    EXPECT_THAT(Set().events, IsEmpty());
}

TEST(KURA_DiagManager, IsCreatedWithoutADocument) {
    EXPECT_NE(KURA_DiagManager::GetInstance(), nullptr);
    EXPECT_TRUE(Set().Logged(6, "Parse error!!!!"));
    EXPECT_THAT(Stored().solutions, IsEmpty());
}

TEST(KURA_DiagManager, IsNotKeptWhenTheDocumentIsMisplaced) {
    setup::WriteMap("<root><sol_val param_value=\"1\"/></root>");
    EXPECT_THROW(KURA_DiagManager::GetInstance(), std::out_of_range);
    // Another thread gets the lock, and what failed is tried again.
    const auto create = [] { return std::async(std::launch::async, KURA_DiagManager::GetInstance).get(); };
    EXPECT_THROW(create(), std::out_of_range);
    setup::Install();
    KURA_DiagManager* manager = create();
    EXPECT_NE(manager, nullptr);
    EXPECT_EQ(KURA_DiagManager::GetInstance(), manager);
    EXPECT_THAT(Stored().solutions, SizeIs(2));
    std::vector<std::string> starts = Lines({"KURA_DiagManager"});
    EXPECT_EQ(std::count(starts.begin(), starts.end(), "4 KURA_DiagManager: Start DiagnosisManager"), 3);
}

TEST(KURA_DiagManager, IsCreatedWithoutTheLibraryFile) {
    setup::Install();
    g_stand_in = "/tmp/missing.so";
    KURA_DiagManager* manager = KURA_DiagManager::GetInstance();
    ASSERT_NE(manager, nullptr);
    EXPECT_THAT(
        CreationLines(),
        ElementsAre("4 KURA_DiagManager: Start DiagnosisManager", "4 createLibHandler: create Lib Handler",
                    MatchesRegex("6 createLibHandler: dlopen error: /tmp/missing.so: .+")));
    EXPECT_THAT(Stored().solutions, IsEmpty());
    EXPECT_THAT(Set().Messages("ParseSolutionMap"), IsEmpty());

    std::string target = "NetworkSetting";
    EXPECT_EQ(manager->StartSelfDiagnosis(target.data()), "");
    EXPECT_TRUE(Set().Logged(4, "launch Network Setting"));
    EXPECT_THAT(Set().launches, IsEmpty());
    EXPECT_THAT(Set().calls, IsEmpty());
}

TEST(KURA_DiagManager, StopsLookingAfterAMissingParser) {
    setup::Install();
    g_stand_in = "libm.so.6";
    KURA_DiagManager* manager = KURA_DiagManager::GetInstance();
    ASSERT_NE(manager, nullptr);
    EXPECT_THAT(
        CreationLines(),
        ElementsAre("4 KURA_DiagManager: Start DiagnosisManager", "4 createLibHandler: create Lib Handler",
                    MatchesRegex("4 createLibHandler: dlopen success: handle 0x[0-9a-f]+"),
                    "4 createLibHandler: dlysm before call",
                    MatchesRegex("6 createLibHandler: dlsym failed for parse Solution Map: "
                                 ".*undefined symbol: ParseSolutionMap")));
    EXPECT_THAT(Stored().solutions, IsEmpty());
    std::string target = "NetworkSetting";
    EXPECT_EQ(manager->StartSelfDiagnosis(target.data()), "");
    EXPECT_THAT(Set().launches, IsEmpty());
}

TEST(KURA_DiagManager, LooksItsEntryPointsUpAgainOnRequest) {
    setup::Install();
    g_stand_in = "/tmp/missing.so";
    KURA_DiagManager manager;
    g_stand_in = nullptr;
    setup::ForgetRecords();
    manager.createLibHandler();
    std::string target = "NetworkSetting";
    manager.StartSelfDiagnosis(target.data());
    EXPECT_THAT(Set().launches, SizeIs(1));
    EXPECT_THAT(Set().Messages("ParseSolutionMap"), IsEmpty());
}

TEST(KURA_DiagManager, LeavesTheLibraryOpenWhenItGoes) {
    setup::Install();
    { const KURA_DiagManager manager; }
    setup::ForgetRecords();
    { const auto manager = std::make_unique<KURA_DiagManager>(); }
    EXPECT_EQ(Lines({"~KURA_DiagManager"}), std::vector<std::string>());
    EXPECT_NE(dlopen(kLibrary, RTLD_LAZY | RTLD_NOLOAD), nullptr);
}
