// Every file that the library opens in the agent's folders against every shape that somebody else may have
// given it: nothing is written through it, nothing blocks, and the failure is the documented one.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <ostream>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "Agent.h"
#include "CGetData.h"
#include "Fakes.h"
#include "Interposed.h"

using agent::kAcks;
using agent::kFolder;
using agent::kRequests;
using agent::Read;
using agent::Stands;
using agent::Text;
using fakes::Set;
using KURA::CGetData;
using ::testing::Contains;
using ::testing::SizeIs;

namespace fs = std::filesystem;

namespace {

const std::string kVictim = "/home/victim";

/// One way to put something other than a plain file at a path. The victim stays as it is.
struct Shape {
    const char* name;
    std::function<void(const std::string& path)> make;
};

void PrintTo(const Shape& shape, std::ostream* stream) {
    *stream << shape.name;
}

/// Moves what is at path away and leaves a link to it.
void ReplaceByLink(const std::string& path) {
    fs::rename(path, path + ".moved");
    fs::create_symlink(path + ".moved", path);
}

/// What can be put in the place of a file.
const std::vector<Shape>& FileShapes() {
    static const std::vector<Shape> shapes = {
        {"FileLink", [](const std::string& path) { fs::create_symlink(kVictim, path); }},
        {"FolderLink", [](const std::string& path) { fs::create_directory_symlink("/home", path); }},
        {"DanglingLink", [](const std::string& path) { fs::create_symlink("/home/nothing", path); }},
        {"LinkToItself", [](const std::string& path) { fs::create_symlink(path, path); }},
        {"LinkToADevice", [](const std::string& path) { fs::create_symlink("/dev/zero", path); }},
        {"Fifo", [](const std::string& path) { ASSERT_EQ(mkfifo(path.c_str(), 0666), 0); }},
        {"HardLink",
         [](const std::string& path) {
             agent::Write("/tmp/other-name", "kept");
             fs::create_hard_link("/tmp/other-name", path);
         }},
        {"Folder", [](const std::string& path) { fs::create_directory(path); }},
    };
    return shapes;
}

/// The same, and a link in the place of the folder.
std::vector<Shape> Shapes() {
    std::vector<Shape> shapes = FileShapes();
    shapes.push_back(
        {"LinkedParent", [](const std::string& path) { ReplaceByLink(fs::path(path).parent_path()); }});
    return shapes;
}

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
        if (fs::exists("/tmp/other-name")) {
            EXPECT_EQ(Read("/tmp/other-name"), "kept");
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
        agent::Write("/tmp/other-name", "77");
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

namespace {

/// Swaps two names as fast as it can until it goes out of scope.
class Swapper {
public:
    Swapper(std::string one, std::string other)
        : m_one(std::move(one)), m_other(std::move(other)), m_thread([this] { Swap(); }) {}
    Swapper(const Swapper&) = delete;
    Swapper& operator=(const Swapper&) = delete;
    ~Swapper() {
        m_ending = true;
        m_thread.join();
    }
    long Swaps() const { return m_swaps; }

private:
    void Swap() {
        while (!m_ending) {
            if (renameat2(AT_FDCWD, m_one.c_str(), AT_FDCWD, m_other.c_str(), RENAME_EXCHANGE) == 0) {
                ++m_swaps;
            }
        }
    }

    std::string m_one;
    std::string m_other;
    std::atomic<bool> m_ending{false};
    std::atomic<long> m_swaps{0};
    std::thread m_thread;
};

constexpr int kTries = 20000;
constexpr int kMostTries = 400000;
constexpr long kLeastSwaps = 5000;

/// Runs the request against a path that is a plain file one moment and something else the next. Returns how
/// often the victim was touched.
int Race(const std::string& path, const std::string& trap, const std::function<void()>& request) {
    Set().keepRecords = false;
    agent::Write(path, "");
    const Swapper swapper(path, trap);
    int touched = 0;
    for (int i = 0; i < kTries || (swapper.Swaps() < kLeastSwaps && i < kMostTries); ++i) {
        request();
        if (Read(kVictim) != "kept") {
            ++touched;
            agent::Write(kVictim, "kept");
        }
    }
    EXPECT_GE(swapper.Swaps(), kLeastSwaps);
    return touched;
}

}  // namespace

TEST(AgentRequestRace, NeverTruncatesAFileBehindALink) {
    agent::MakeFolders();
    agent::Write(kVictim, "kept");
    fs::create_symlink(kVictim, "/tmp/trap");
    const auto boost = [] { CGetData::GetInstance()->performMemBoost(); };
    EXPECT_EQ(Race(kRequests + "/memBoost", "/tmp/trap", boost), 0);
}

TEST(AgentRequestRace, NeverWritesToAFileBehindALink) {
    agent::MakeFolders();
    agent::Write(kVictim, "kept");
    fs::create_symlink(kVictim, "/tmp/trap");
    const auto kill = [] { CGetData::GetInstance()->killApp(Text("package")); };
    EXPECT_EQ(Race(kFolder + "/killApp", "/tmp/trap", kill), 0);
}

TEST(AgentRequestRace, NeverWritesBelowALinkedFolder) {
    agent::MakeFolders();
    const std::string victim = "/home/req/memBoost";
    fs::create_directory("/home/req");
    agent::Write(victim, "kept");
    fs::create_directory_symlink("/home/req", "/tmp/trap");
    agent::Write(kRequests + "/memBoost", "");
    Set().keepRecords = false;
    const Swapper swapper(kRequests, "/tmp/trap");
    int touched = 0;
    for (int i = 0; i < kTries || (swapper.Swaps() < kLeastSwaps && i < kMostTries); ++i) {
        CGetData::GetInstance()->performMemBoost();
        if (Read(victim) != "kept") {
            ++touched;
            agent::Write(victim, "kept");
        }
    }
    EXPECT_GE(swapper.Swaps(), kLeastSwaps);
    EXPECT_EQ(touched, 0);
}

TEST(AgentRequestRace, NeverBlocksOnAFifo) {
    agent::MakeFolders();
    agent::Write(kVictim, "kept");
    ASSERT_EQ(mkfifo("/tmp/trap", 0666), 0);
    const auto boost = [] { CGetData::GetInstance()->performMemBoost(); };
    EXPECT_EQ(Race(kRequests + "/memBoost", "/tmp/trap", boost), 0);
}
