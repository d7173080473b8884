// Somebody swaps a path between a plain file and a trap as fast as he can while the library writes to it.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstddef>
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

/// Runs the request against a path that is what it should be one moment and a trap the next; the victim must
/// never be touched.
void Race(const char* what, const std::string& path, const std::string& trap, const std::string& victim,
          const std::function<void()>& request) {
    trust::Watch();
    Set().keepRecords = false;
    const trust::Swapper swapper(path, trap);
    int touched = 0;
    const std::size_t tries = trust::TryOften(swapper, trust::Count(5000, 250000), [&] {
        request();
        if (Read(victim) != "kept") {
            ++touched;
            agent::Write(victim, "kept");
        }
    });
    EXPECT_EQ(touched, 0);
    trust::Report("Swap race", what, tries);
}

}  // namespace

TEST(SwapRace, NeverTruncatesAFileBehindALink) {
    agent::MakeFolders();
    agent::Write(kVictim, "kept");
    agent::Write(kRequests + "/memBoost", "");
    fs::create_symlink(kVictim, "/tmp/trap");
    Race("trigger against a link", kRequests + "/memBoost", "/tmp/trap", kVictim,
         [] { CGetData::GetInstance()->performMemBoost(); });
}

TEST(SwapRace, NeverWritesToAFileBehindALink) {
    agent::MakeFolders();
    agent::Write(kVictim, "kept");
    agent::Write(kFolder + "/killApp", "");
    fs::create_symlink(kVictim, "/tmp/trap");
    Race("data file against a link", kFolder + "/killApp", "/tmp/trap", kVictim,
         [] { CGetData::GetInstance()->killApp(Text("package")); });
}

TEST(SwapRace, NeverWritesToAFileWithASecondName) {
    agent::MakeFolders();
    agent::Write("/tmp/victim", "kept");
    agent::Write(kFolder + "/killApp", "");
    fs::create_hard_link("/tmp/victim", "/tmp/trap");
    Race("data file against a second name", kFolder + "/killApp", "/tmp/trap", "/tmp/victim",
         [] { CGetData::GetInstance()->killApp(Text("package")); });
}

TEST(SwapRace, NeverWritesBelowALinkedFolder) {
    agent::MakeFolders();
    fs::create_directory("/home/req");
    agent::Write("/home/req/memBoost", "kept");
    fs::create_directory_symlink("/home/req", "/tmp/trap");
    agent::Write(kRequests + "/memBoost", "");
    Race("trigger against a linked folder", kRequests, "/tmp/trap", "/home/req/memBoost",
         [] { CGetData::GetInstance()->performMemBoost(); });
}

TEST(SwapRace, NeverBlocksOnAFifo) {
    agent::MakeFolders();
    agent::Write(kVictim, "kept");
    agent::Write(kRequests + "/memBoost", "");
    ASSERT_EQ(mkfifo("/tmp/trap", 0666), 0);
    Race("trigger against a FIFO", kRequests + "/memBoost", "/tmp/trap", kVictim,
         [] { CGetData::GetInstance()->performMemBoost(); });
}
