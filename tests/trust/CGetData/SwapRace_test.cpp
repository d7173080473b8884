// Somebody swaps a path between a plain file and a trap as fast as he can while the library writes to it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>

#include "Agent.h"
#include "CGetData.h"
#include "Fakes.h"
#include "Shapes.h"
#include "trust/Swapper.h"
#include "trust/Trust.h"

using agent::kFolder;
using agent::kRequests;
using agent::Read;
using agent::Text;
using fakes::Set;
using KURA::CGetData;
using shapes::kVictim;

namespace fs = std::filesystem;

namespace {

/// The plain file, wherever its name has been swapped to.
class Target {
public:
    explicit Target(const std::string& path) : m_file(open(path.c_str(), O_RDWR | O_CLOEXEC)) { Mark(); }
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;
    ~Target() { close(m_file); }

    /// Whether a request came through since the last time.
    bool IsReached() {
        char text[sizeof(kMark)] = {};
        const ssize_t size = pread(m_file, text, sizeof(text), 0);
        if (size == kMarkSize && std::memcmp(text, kMark, sizeof(kMark) - 1) == 0) {
            return false;
        }
        Mark();
        return true;
    }

private:
    static constexpr char kMark[] = "not reached";
    static constexpr ssize_t kMarkSize = sizeof(kMark) - 1;

    void Mark() {
        EXPECT_EQ(ftruncate(m_file, 0), 0);
        EXPECT_EQ(pwrite(m_file, kMark, kMarkSize, 0), kMarkSize);
    }

    int m_file;
};

/// Runs the request against a path that is what it should be one moment and a trap the next: sometimes the
/// file is reached, but the victim must never be touched.
void Race(const char* what, const std::string& path, const std::string& trap, const std::string& file,
          const std::string& victim, const std::function<void()>& request) {
    trust::Watch();
    Set().keepRecords = false;
    Target target(file);
    const trust::Swapper swapper(path, trap);
    int touched = 0;
    int reached = 0;
    const std::size_t tries = trust::TryOften(swapper, trust::Count(5000, 250000), [&] {
        request();
        reached += target.IsReached() ? 1 : 0;
        if (Read(victim) != "kept") {
            ++touched;
            agent::Write(victim, "kept");
        }
    });
    EXPECT_EQ(touched, 0);
    EXPECT_GT(reached, 0);
    trust::Report("Swap race", what, tries);
}

}  // namespace

TEST(SwapRace, NeverTruncatesAFileBehindALink) {
    agent::MakeFolders();
    agent::Write(kVictim, "kept");
    agent::Write(kRequests + "/memBoost", "");
    fs::create_symlink(kVictim, "/tmp/trap");
    Race("trigger against a link", kRequests + "/memBoost", "/tmp/trap", kRequests + "/memBoost", kVictim,
         [] { CGetData::GetInstance()->performMemBoost(); });
}

TEST(SwapRace, NeverWritesToAFileBehindALink) {
    agent::MakeFolders();
    agent::Write(kVictim, "kept");
    agent::Write(kFolder + "/killApp", "");
    fs::create_symlink(kVictim, "/tmp/trap");
    Race("data file against a link", kFolder + "/killApp", "/tmp/trap", kFolder + "/killApp", kVictim,
         [] { CGetData::GetInstance()->killApp(Text("package")); });
}

TEST(SwapRace, NeverWritesToAFileWithASecondName) {
    agent::MakeFolders();
    agent::Write("/tmp/victim", "kept");
    agent::Write(kFolder + "/killApp", "");
    fs::create_hard_link("/tmp/victim", "/tmp/trap");
    Race("data file against a second name", kFolder + "/killApp", "/tmp/trap", kFolder + "/killApp",
         "/tmp/victim", [] { CGetData::GetInstance()->killApp(Text("package")); });
}

TEST(SwapRace, NeverWritesBelowALinkedFolder) {
    agent::MakeFolders();
    fs::create_directory("/home/req");
    agent::Write("/home/req/memBoost", "kept");
    fs::create_directory_symlink("/home/req", "/tmp/trap");
    agent::Write(kRequests + "/memBoost", "");
    Race("trigger against a linked folder", kRequests, "/tmp/trap", kRequests + "/memBoost",
         "/home/req/memBoost", [] { CGetData::GetInstance()->performMemBoost(); });
}

TEST(SwapRace, NeverBlocksOnAFifo) {
    agent::MakeFolders();
    agent::Write(kVictim, "kept");
    agent::Write(kRequests + "/memBoost", "");
    ASSERT_EQ(mkfifo("/tmp/trap", 0666), 0);
    Race("trigger against a FIFO", kRequests + "/memBoost", "/tmp/trap", kRequests + "/memBoost", kVictim,
         [] { CGetData::GetInstance()->performMemBoost(); });
}
