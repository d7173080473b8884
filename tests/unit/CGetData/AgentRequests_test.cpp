// Every file that the library opens in the agent's folders against every shape that somebody else may have
// given it: nothing is written through it, nothing blocks, and the failure is the documented one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <ostream>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "Agent.h"
#include "CGetData.h"
#include "Fakes.h"
#include "Interposed.h"
#include "Shapes.h"

using agent::kAcks;
using agent::kFolder;
using agent::kRequests;
using agent::Read;
using agent::Stands;
using agent::Text;
using fakes::Set;
using KURA::CGetData;
using shapes::FileShapes;
using shapes::kVictim;
using shapes::ReplaceByLink;
using shapes::SecondName;
using shapes::Shape;
using shapes::Shapes;
using ::testing::Contains;
using ::testing::SizeIs;

namespace fs = std::filesystem;

namespace {

/// A request, the file of it that is attacked, and how it fails.
struct Attack {
    const char* name;
    std::string path;
    std::function<bool()> succeeds;
    std::string failure;
    std::set<std::string> neverCreated;
};

void PrintTo(const Attack& attack, std::ostream* stream) {
    *stream << attack.name;
}

const std::string kSizeData = kFolder + "/calcAppDataCacheSize_app";
const std::string kSizeTrigger = kRequests + "/calcAppDataCacheSize_app";

bool FindSizes(std::string appId = "app") {
    long data = -1;
    long cache = -2;
    CGetData::GetInstance()->findDataCacheSize(Text("package"), appId.data(), &data, &cache);
    return data != -1 || cache != -2;
}

bool Kill() {
    CGetData::GetInstance()->killApp(Text("package"));
    return Set().Logged(4, "[KELMGR-NATIVE] file created successfully (/tmp/vardo/req/killApp)");
}

bool ClearCache() {
    return CGetData::GetInstance()->clearAppCache(Text("package"), Text("app")) == 0;
}

const std::vector<Attack>& Attacks() {
    static const std::vector<Attack> attacks = {
        {"DeepClean",
         kRequests + "/CleanAll.txt",
         [] { return CGetData::GetInstance()->performDeepClean() == 0; },
         "4 performDeepClean: File creation failed (/tmp/vardo/req/CleanAll.txt)",
         {}},
        {"MemoryBoost",
         kRequests + "/memBoost",
         [] { return CGetData::GetInstance()->performMemBoost() == 0; },
         "4 performMemBoost: File creation failed (/tmp/vardo/req/memBoost) with error number : ",
         {}},
        {"KillData",
         kFolder + "/killApp",
         Kill,
         "4 killApp: [KELMGR-NATIVE] file creation failed (/tmp/vardo/killApp)",
         {kRequests + "/killApp"}},
        {"KillTrigger",
         kRequests + "/killApp",
         Kill,
         "4 killApp: [KELMGR-NATIVE] file creation failed (/tmp/vardo/req/killApp)",
         {}},
        {"CacheData",
         kFolder + "/clearAppCache",
         ClearCache,
         "4 clearAppCache: [KELMGR-NATIVE] file creation failed (/tmp/vardo/clearAppCache)",
         {kRequests + "/clearAppCache"}},
        {"CacheTrigger",
         kRequests + "/clearAppCache",
         ClearCache,
         "4 clearAppCache: [KELMGR-NATIVE] file creation failed (/tmp/vardo/req/clearAppCache)",
         {}},
        {"SizeData",
         kSizeData,
         [] { return FindSizes(); },
         "6 findDataCacheSize: [KELMGR-NATIVE] File creation failed of " + kSizeData,
         {kSizeTrigger}},
        {"SizeTrigger",
         kSizeTrigger,
         [] { return FindSizes(); },
         "6 findDataCacheSize: [KELMGR-NATIVE] file creation failed for " + kSizeTrigger,
         {}},
    };
    return attacks;
}

class AgentRequests : public ::testing::TestWithParam<std::tuple<Attack, Shape>> {
protected:
    void SetUp() override {
        agent::MakeFolders();
        agent::Write(kVictim, "kept");
        CGetData::GetInstance();
        Set().log.clear();
    }

    /// The request fails as documented, at once, and nothing outside the agent's folders is changed.
    static void ExpectRefusal() {
        const Attack& attack = std::get<0>(GetParam());
        const std::set<std::string> homeBefore = agent::FilesBelow("/home");
        EXPECT_FALSE(attack.succeeds());
        EXPECT_THAT(agent::Log(), Contains(::testing::StartsWith(attack.failure)));
        EXPECT_EQ(Read(kVictim), "kept");
        EXPECT_EQ(agent::FilesBelow("/home"), homeBefore);
        if (fs::exists(SecondName(attack.path))) {
            EXPECT_EQ(Read(SecondName(attack.path)), "kept");
        }
        for (const std::string& path : attack.neverCreated) {
            EXPECT_FALSE(Stands(path)) << path;
        }
        EXPECT_THAT(interposed::Waits(), ::testing::IsEmpty());
    }
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(All, AgentRequests,
                         ::testing::Combine(::testing::ValuesIn(Attacks()), ::testing::ValuesIn(Shapes())),
                         [](const auto& test) {
                             return std::string(std::get<0>(test.param).name) + std::get<1>(test.param).name;
                         });

TEST_P(AgentRequests, WriteThroughNothing) {
    const auto& [attack, shape] = GetParam();
    shape.make(attack.path);
    ExpectRefusal();
}

TEST_P(AgentRequests, WriteThroughNothingSwappedInAfterTheCheck) {
    const auto& [attack, shape] = GetParam();
    agent::Write(attack.path, "");
    bool swapped = false;
    interposed::AfterRealpath(attack.path, [&swapped, path = attack.path, make = shape.make] {
        fs::remove(path);
        make(path);
        swapped = true;
    });
    ExpectRefusal();
    EXPECT_TRUE(swapped);
}

namespace {

class AgentAnswers : public ::testing::TestWithParam<Shape> {
protected:
    void SetUp() override {
        agent::MakeFolders();
        agent::Write(kVictim, "11|22");
        CGetData::GetInstance();
        Set().log.clear();
    }
};

bool IsHardLink() {
    return std::string(AgentAnswers::GetParam().name) == "HardLink";
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(All, AgentAnswers, ::testing::ValuesIn(FileShapes()),
                         [](const auto& test) { return test.param.name; });

// A second name does no harm to a file that is only read; all else is no answer.
TEST_P(AgentAnswers, AreReadFromPlainFilesOnly) {
    const std::string ack = kAcks + "/appDataCacheSize_app";
    const std::string result = kFolder + "/appDataCacheSize_app";
    agent::Write(ack, "");
    GetParam().make(result);
    EXPECT_FALSE(FindSizes());
    EXPECT_THAT(interposed::Waits(), SizeIs(0));
    EXPECT_EQ(Set().Logged(6, "[VARDO-NATIVE] Unable to open file " + result), !IsHardLink());
    EXPECT_EQ(Stands(ack), !IsHardLink());
    EXPECT_EQ(Stands(result), !IsHardLink());
    EXPECT_EQ(Read(kVictim), "11|22");
}

TEST_P(AgentAnswers, AreAcknowledgedByPlainFilesOnly) {
    const std::string ack = kAcks + "/appDataCacheSize_app";
    const std::string result = kFolder + "/appDataCacheSize_app";
    agent::Write(result, "33|44");
    GetParam().make(ack);
    EXPECT_EQ(FindSizes(), IsHardLink());
    EXPECT_THAT(interposed::Waits(), SizeIs(IsHardLink() ? 0 : 5));
    EXPECT_EQ(Stands(ack), !IsHardLink());
    EXPECT_EQ(Stands(result), !IsHardLink());
    EXPECT_EQ(Read(kVictim), "11|22");
}

TEST_P(AgentAnswers, OfYouTubeAreReadFromPlainFilesOnly) {
    const std::string path = kFolder + "/cobalt_size";
    agent::Write(kVictim, "77");
    GetParam().make(path);
    if (IsHardLink()) {
        agent::Write(SecondName(path), "77");
    }
    EXPECT_EQ(KURA::getAppSizeForYoutube(), IsHardLink() ? 77 : 0);
    EXPECT_EQ(Set().Logged(6, "[VARDO-NATIVE] Unable to open file /tmp/vardo/cobalt_size"), !IsHardLink());
}

TEST(AgentAnswersBelowALink, AreNotReadForYouTube) {
    agent::MakeFolders();
    agent::Write(kFolder + "/cobalt_size", "77");
    EXPECT_EQ(KURA::getAppSizeForYoutube(), 77);
    ReplaceByLink(kFolder);
    EXPECT_EQ(KURA::getAppSizeForYoutube(), 0);
    EXPECT_TRUE(Set().Logged(6, "[VARDO-NATIVE] Unable to open file /tmp/vardo/cobalt_size"));
}
