// A partition with room for so many pages and no more, of every size around what a save needs; one without an
// inode for the journal; and one that is mounted read-only. Each is a file system of its own, in a mount
// namespace of its own.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>

#include "Database.h"
#include "Fakes.h"
#include "KURA_DiagResultManager.h"
#include "Operations.h"
#include "RemainingList.h"
#include "trust/Namespace.h"
#include "trust/Trust.h"

using remaining::Codes;

namespace fs = std::filesystem;

namespace {

constexpr const char* kPartition = "/opt";
constexpr std::size_t kPage = 4096;
constexpr int kNoNamespace = 77;

const Codes kOld = {"O1", "O2", "O3"};

void Mount(unsigned long flags, const std::string& options) {
    ASSERT_EQ(mount("tmpfs", kPartition, "tmpfs", flags, options.c_str()), 0) << std::strerror(errno);
}

std::size_t UsedPages() {
    struct statvfs status {};
    EXPECT_EQ(statvfs(kPartition, &status), 0);
    return status.f_blocks - status.f_bfree;
}

std::size_t UsedInodes() {
    struct statvfs status {};
    EXPECT_EQ(statvfs(kPartition, &status), 0);
    return status.f_files - status.f_ffree;
}

/// Runs check in a process with a partition of its own that has the old list. False when this system lets
/// nobody mount.
bool OnAPartition(const std::function<void()>& check) {
    const pid_t process = fork();
    if (process == 0) {
        if (!trust::EnterMountNamespace()) {
            _exit(kNoNamespace);
        }
        Mount(0, "size=64m,nr_inodes=1000");
        database::MakeFolders();
        remaining::Save(kOld);
        fakes::Set().log.clear();
        check();
        std::fflush(stdout);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    EXPECT_EQ(waitpid(process, &status, 0), process);
    if (WIFEXITED(status) && WEXITSTATUS(status) == kNoNamespace) {
        return false;
    }
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
    return true;
}

/// What the save left on the limited partition, and that the next one succeeds once there is room. Whether
/// the new list is there.
bool ExpectWhole(const Codes& wanted) {
    const bool told = operations::HasToldSince(0);
    Mount(MS_REMOUNT, "size=64m,nr_inodes=1000");
    EXPECT_EQ(database::Value(database::kRemaining, "PRAGMA integrity_check"), "ok");
    const Codes stored = remaining::Stored();
    EXPECT_TRUE(stored == kOld || stored.empty() || stored == wanted) << stored.size() << " rows";
    EXPECT_TRUE(told || stored == wanted);
    EXPECT_EQ(remaining::Load(), stored);
    remaining::Save(wanted);
    EXPECT_EQ(remaining::Stored(), wanted);
    return stored == wanted;
}

}  // namespace

TEST(DiskFull, LeavesTheOldListOrNoneOrTheWholeNewOneAtEverySize) {
    trust::Watch();
    // The list takes about 160 pages.
    Codes codes = remaining::Many(75);
    for (std::string& code : codes) {
        code += std::string(6000, 'x');
    }
    const std::size_t sizes = trust::Count(40, 200);
    const std::size_t step = 200 / sizes;
    for (std::size_t i = 0; i < sizes && !HasFailure(); ++i) {
        SCOPED_TRACE(std::to_string(i * step) + " pages");
        const bool mounted = OnAPartition([&] {
            Mount(MS_REMOUNT, "size=" + std::to_string((UsedPages() + i * step) * kPage));
            remaining::Save(codes);
            const bool isSaved = ExpectWhole(codes);
            // There is no room at first, and enough in the end.
            EXPECT_TRUE(i != 0 || !isSaved);
            EXPECT_TRUE(i + 1 != sizes || isSaved);
        });
        if (!mounted) {
            GTEST_SKIP() << "this system lets nobody mount a file system of his own";
        }
    }
    trust::Report("Disk full", "save on a tmpfs, size by size", sizes);
}

TEST(DiskFull, KeepsTheListWhenThereIsNoInodeForTheJournal) {
    trust::Watch();
    const Codes codes = remaining::Many(10);
    for (std::size_t inodes = 0; inodes < 4; ++inodes) {
        SCOPED_TRACE(inodes);
        const bool mounted = OnAPartition([&] {
            Mount(MS_REMOUNT, "nr_inodes=" + std::to_string(UsedInodes() + inodes));
            remaining::Save(codes);
            EXPECT_EQ(remaining::Stored(), inodes == 0 ? kOld : codes);
            ExpectWhole(codes);
        });
        if (!mounted) {
            GTEST_SKIP() << "this system lets nobody mount a file system of his own";
        }
    }
    trust::Report("Disk full", "save with 0 to 3 inodes left", 4);
}

TEST(DiskFull, KeepsAndLoadsTheListOfAPartitionMountedReadOnly) {
    trust::Watch();
    const bool mounted = OnAPartition([] {
        Mount(MS_REMOUNT | MS_RDONLY, "");
        remaining::Save({"N1"});
        EXPECT_TRUE(operations::HasToldSince(0));
        KURA::KURA_DiagResultManager::GetInstance()->DeleteRemainingDBColumn("O1");
        EXPECT_EQ(remaining::Load(), kOld);
        Mount(MS_REMOUNT, "");
        EXPECT_EQ(remaining::Stored(), kOld);
    });
    if (!mounted) {
        GTEST_SKIP() << "this system lets nobody mount a file system of his own";
    }
    trust::Report("Disk full", "save, delete and load read-only", 3);
}
