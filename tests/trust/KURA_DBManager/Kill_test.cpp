// Processes that save and delete without a pause, killed at random moments. What a killed process had
// finished is there for the next one, and what it was doing has been done, has not begun, or is a list
// cleared for the new one.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <new>
#include <random>
#include <string>

#include "Database.h"
#include "Fakes.h"
#include "KURA_DiagResultManager.h"
#include "RemainingList.h"
#include "trust/Trust.h"

using remaining::Codes;

namespace {

constexpr std::size_t kMostRows = 60;

/// The work is a sequence of steps that both processes can compute: saves of lists of changing length, each
/// followed by one deletion from it.
Codes ListOf(std::uint64_t save) {
    Codes codes;
    const auto rows = static_cast<std::size_t>(1 + (save * 2654435761U) % kMostRows);
    for (std::size_t i = 0; i < rows; ++i) {
        codes.push_back("S" + std::to_string(save) + "N" + std::to_string(i));
    }
    return codes;
}

bool IsSave(std::uint64_t step) {
    return step % 2 == 0;
}

/// What is stored when so many steps are done.
Codes After(std::uint64_t steps) {
    if (steps == 0) {
        return {};
    }
    const std::uint64_t last = steps - 1;
    Codes codes = ListOf(last / 2);
    if (!IsSave(last)) {
        codes.erase(codes.begin() + static_cast<std::ptrdiff_t>(codes.size() / 2));
    }
    return codes;
}

/// Shared by both processes.
struct Progress {
    volatile std::uint64_t begun = 0;
    volatile std::uint64_t done = 0;
};

Progress* Share() {
    void* page = mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return page == MAP_FAILED ? nullptr : new (page) Progress;
}

[[noreturn]] void Work(Progress& progress) {
    fakes::Set().keepRecords = false;
    for (std::uint64_t step = progress.done;; ++step) {
        progress.begun = step + 1;
        const Codes codes = ListOf(step / 2);
        if (IsSave(step)) {
            remaining::Save(codes);
        } else {
            KURA::KURA_DiagResultManager::GetInstance()->DeleteRemainingDBColumn(codes[codes.size() / 2]);
        }
        progress.done = step + 1;
    }
}

void KillAfter(pid_t process, std::chrono::nanoseconds time) {
    const timespec pause{0, static_cast<long>(time.count())};
    nanosleep(&pause, nullptr);
    ASSERT_EQ(kill(process, SIGKILL), 0);
    int status = 0;
    ASSERT_EQ(waitpid(process, &status, 0), process);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL)
        << "it ended by itself, status " << status;
}

}  // namespace

TEST(Kill, LosesNothingThatWasFinishedAndLeavesNoHalfList) {
    trust::Watch();
    database::MakeFolders();
    database::Query(
        database::kRemaining,
        "CREATE TABLE remainingTBL(idx TEXT, issue_code TEXT, is_fix TEXT, last_time TEXT, sol_type "
        "TEXT, sid_issue TEXT, sid_sol TEXT, sid_button1 TEXT, sid_button2 TEXT, action TEXT, "
        "toast1 TEXT, toast2 TEXT, source TEXT, view_authority TEXT)");
    Progress* progress = Share();
    ASSERT_NE(progress, nullptr);
    std::mt19937 random(20260131);
    const std::size_t kills = trust::Count(100, 2000);
    std::size_t inTheMiddle = 0;
    for (std::size_t round = 0; round < kills && !HasFailure(); ++round) {
        SCOPED_TRACE("kill " + std::to_string(round));
        const std::uint64_t before = progress->done;
        const pid_t worker = fork();
        ASSERT_GE(worker, 0);
        if (worker == 0) {
            Work(*progress);
        }
        // A process that got nothing done was killed too early to tell anything.
        while (progress->done == before) {
            usleep(100);
        }
        KillAfter(worker, std::chrono::microseconds(random() % 8000));
        EXPECT_EQ(database::Value(database::kRemaining, "PRAGMA integrity_check"), "ok");
        const Codes stored = remaining::Stored();
        const std::uint64_t done = progress->done;
        if (progress->begun == done) {
            EXPECT_EQ(stored, After(done));
            continue;
        }
        ++inTheMiddle;
        const bool whole = stored == After(done) || stored == After(done + 1);
        EXPECT_TRUE(whole || (IsSave(done) && stored.empty())) << stored.size() << " rows in step " << done;
        // The next process goes on from what it finds.
        progress->done = stored == After(done + 1) ? done + 1 : (done / 2) * 2;
    }
    EXPECT_GT(inTheMiddle, kills / 4);
    trust::Report("Kill in the middle", "SIGKILL at random moments of save and delete loops", kills);
}
