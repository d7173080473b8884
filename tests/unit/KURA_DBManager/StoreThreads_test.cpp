// Two users of the one connection at the same time, and threads that are cancelled inside an operation: what
// they see of each other is theirs to order, but nothing crashes, hangs or stays locked.
#include <gtest/gtest.h>
#include <pthread.h>
#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif
#include <semaphore.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "Database.h"
#include "Fakes.h"
#include "FaultyDisk.h"
#include "KURA_DBManager.h"
#include "KURA_DiagResultManager.h"
#include "Operations.h"
#include "RemainingList.h"

using KURA::KURA_DiagResultManager;

static_assert(!std::is_copy_constructible_v<TCDBManager> && !std::is_copy_assignable_v<TCDBManager>);

namespace {

/// Two users who open at the same time lose one of the two connections: an open does not close the one
/// before.
struct LostConnections {
#ifdef __SANITIZE_ADDRESS__
    __lsan::ScopedDisabler allowed;
#endif
};

void UseAsAHost() {
    [[maybe_unused]] const LostConnections lost;
    TCDBManager& manager = *TCDBManager::GetInstance();
    std::vector<std::string> values;
    manager.OpenDB(EDB_REMAINING);
    manager.GetDB(EDB_REMAINING, "issue_code", values);
    operations::Insert("host");
    manager.DeleteDB("host");
    manager.CloseDB();
}

void UseAsACompletion() {
    [[maybe_unused]] const LostConnections lost;
    KURA_DiagResultManager& manager = *KURA_DiagResultManager::GetInstance();
    try {
        manager.LoadRemainingProblems();
    } catch (const std::out_of_range&) {
        // The host's close came between two columns.
    }
    remaining::Save(remaining::Many(3));
    manager.DeleteRemainingDBColumn("N1");
}

void* Delete(void*) {
    KURA_DiagResultManager::GetInstance()->DeleteRemainingDBColumn("N1");
    for (;;) {
        pthread_testcancel();
        usleep(1000);
    }
}

}  // namespace

TEST(StoreThreads, UseTheConnectionTogether) {
    alarm(100);
    fakes::Set().keepRecords = false;
    database::MakeFolders();
    std::atomic<bool> ended{false};
    std::thread host([&] {
        while (!ended) {
            UseAsAHost();
        }
    });
    std::thread secondHost([&] {
        while (!ended) {
            UseAsAHost();
        }
    });
    for (int i = 0; i < 300; ++i) {
        UseAsACompletion();
    }
    ended = true;
    host.join();
    secondHost.join();
    EXPECT_EQ(database::Value(database::kRemaining, "PRAGMA integrity_check"), "ok");
    // Whoever comes alone finds everything as ever.
    remaining::Save({"N1", "N2"});
    EXPECT_EQ(remaining::Load(), (remaining::Codes{"N1", "N2"}));
}

TEST(StoreThreads, AreCancelledOnceTheOperationIsOver) {
    alarm(100);
    database::MakeFolders();
    remaining::Save({"N1", "N2"});
    static sem_t inside;
    static sem_t cancelled;
    sem_init(&inside, 0, 0);
    sem_init(&cancelled, 0, 0);
    disk::OnSync([] {
        disk::OnSync(nullptr);
        sem_post(&inside);
        while (sem_wait(&cancelled) != 0) {
        }
    });
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, nullptr, Delete, nullptr), 0);
    while (sem_wait(&inside) != 0) {
    }
    EXPECT_EQ(pthread_cancel(thread), 0);
    sem_post(&cancelled);
    void* result = nullptr;
    EXPECT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_EQ(remaining::Stored(), remaining::Codes{"N2"}) << "the deletion was finished";
    remaining::Save({"N3"});
    EXPECT_EQ(remaining::Load(), remaining::Codes{"N3"});
}
