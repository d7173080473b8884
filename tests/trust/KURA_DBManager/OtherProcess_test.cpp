// Another process uses the store without a pause while this one saves. Beside one that reads, nearly every
// save succeeds at once; beside one that writes, each is there as a whole or not at all.
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstddef>
#include <functional>
#include <map>
#include <new>
#include <stdexcept>
#include <string>

#include "Database.h"
#include "Fakes.h"
#include "RemainingList.h"
#include "trust/Trust.h"

using remaining::Codes;

namespace {

constexpr std::size_t kRows = 40;

/// A process that repeats work until this goes. It counts, so that a test can tell that it worked at all.
class Process {
public:
    explicit Process(const std::function<void()>& work) {
        void* page = mmap(nullptr, sizeof(Count), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        m_count = new (page) Count(0);
        m_process = fork();
        while (m_process == 0) {
            work();
            ++*m_count;
        }
        // It has begun.
        WaitFor(1);
    }
    ~Process() {
        EXPECT_EQ(kill(m_process, SIGKILL), 0);
        int status = 0;
        EXPECT_EQ(waitpid(m_process, &status, 0), m_process);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL)
            << "it ended by itself, status " << status;
        munmap(m_count, sizeof(Count));
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    std::size_t Done() const { return *m_count; }
    void WaitFor(std::size_t done) const {
        while (*m_count < done) {
            usleep(100);
        }
    }

private:
    using Count = std::atomic<std::size_t>;
    Count* m_count;
    pid_t m_process;
};

Codes ListOf(std::size_t save) {
    Codes codes;
    for (std::size_t i = 0; i < kRows; ++i) {
        codes.push_back("S" + std::to_string(save) + "N" + std::to_string(i));
    }
    return codes;
}

void LoadAll() {
    try {
        remaining::Load();
    } catch (const std::out_of_range&) {
        // A column that was locked out is shorter than the first.
    }
}

/// Reads with patience for the other process.
Codes Stored() {
    database::Connection connection(database::kRemaining);
    connection.Query("PRAGMA busy_timeout=60000");
    Codes codes;
    for (const database::Row& row : connection.Query("SELECT issue_code FROM remainingTBL")) {
        codes.push_back(row.front());
    }
    return codes;
}

void Begin() {
    trust::Watch();
    fakes::Set().keepRecords = false;
    database::MakeFolders();
    remaining::Save(ListOf(0));
}

}  // namespace

TEST(OtherProcess, ReadsWhileNearlyAllSavesSucceed) {
    Begin();
    const std::size_t saves = 200;
    std::size_t whole = 0;
    {
        const Process reader(LoadAll);
        for (std::size_t save = 1; save <= saves; ++save) {
            const std::size_t reads = reader.Done();
            remaining::Save(ListOf(save));
            const Codes stored = Stored();
            whole += stored == ListOf(save) ? 1 : 0;
            EXPECT_TRUE(stored.empty() || stored == ListOf(save) || stored == ListOf(save - 1))
                << stored.size() << " rows";
            reader.WaitFor(reads + 1);
        }
    }
    EXPECT_GE(whole, saves - saves / 100);
    trust::Report("Another process at the store",
                  "saves beside one that loads, " + std::to_string(whole) + " of them whole", saves);
}

TEST(OtherProcess, WritesAndFindsEachSaveWholeOrNotAtAll) {
    Begin();
    const std::size_t saves = trust::Count(200, 2000);
    std::size_t whole = 0;
    {
        const Process writer([] {
            sqlite3* handle = nullptr;
            sqlite3_open(database::kRemaining, &handle);
            sqlite3_exec(handle,
                         "BEGIN IMMEDIATE; INSERT INTO remainingTBL(issue_code) VALUES('other'); "
                         "DELETE FROM remainingTBL WHERE issue_code='other'; COMMIT",
                         nullptr, nullptr, nullptr);
            sqlite3_close(handle);
        });
        for (std::size_t save = 1; save <= saves && !HasFailure(); ++save) {
            remaining::Save(ListOf(save));
            std::map<std::string, std::size_t> rows;
            for (const std::string& code : Stored()) {
                ++rows[code.substr(0, code.find('N'))];
            }
            for (const auto& [of, count] : rows) {
                EXPECT_EQ(count, kRows) << of << " after save " << save;
            }
            EXPECT_LE(rows.size(), 1U) << "two lists";
            whole += rows.count("S" + std::to_string(save));
        }
    }
    EXPECT_GT(whole, 0U);
    trust::Report(
        "Another process at the store",
        "saves beside one that writes, " + std::to_string(whole) + " of them whole, the others not at all",
        saves);
}
