// A thread that is cancelled inside the library, at each of its log lines and calls of the set in turn:
// there, or at the first place behind it where the C library waits. The process lives on and every lock is
// free.
#include <gtest/gtest.h>
#include <pthread.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "Host.h"
#include "trust/Trust.h"

using fakes::Set;

namespace {

enum class Where { kHere, kAtTheNextWait };

/// The calls and log lines of this thread that are left before it is cancelled.
thread_local std::size_t t_left = 0;
thread_local bool t_armed = false;
Where g_where = Where::kHere;
bool g_struck = false;

void CancelAtTheLast() {
    if (!t_armed || t_left-- != 0) {
        return;
    }
    t_armed = false;
    g_struck = true;
    pthread_cancel(pthread_self());
    if (g_where == Where::kHere) {
        pthread_testcancel();
    }
}

struct Run {
    const std::function<void()>* call;
    std::size_t place;
};

void* RunArmed(void* given) {
    const Run& run = *static_cast<Run*>(given);
    t_left = run.place;
    t_armed = true;
    (*run.call)();
    t_armed = false;
    return nullptr;
}

/// Every lock of the library is taken and given back; hangs where one is held.
void TakeEveryLock() {
    KURA::KURA_DiagManager::GetInstance();
    KURA::KURA_DiagResultManager::GetInstance()->LoadRemainingProblems();
    KURA::TCInformationStorage::Instance();
    KURA::CGetData::GetInstance();
    KURA::KURA_KPISender::GetInstance()->SendKurahelpKPI(std::string("item").data());
}

/// How many places the call has, each tried.
std::size_t CancelAtEachPlace(const host::Entry& entry) {
    std::size_t cancelled = 0;
    g_struck = true;
    for (std::size_t place = 0; g_struck && place < entry.places; ++place) {
        SCOPED_TRACE(std::string(entry.name) + ", place " + std::to_string(place));
        g_struck = false;
        Run run{&entry.call, place};
        pthread_t thread{};
        void* result = nullptr;
        EXPECT_EQ(pthread_create(&thread, nullptr, RunArmed, &run), 0);
        EXPECT_EQ(pthread_join(thread, &result), 0);
        cancelled += result == PTHREAD_CANCELED ? 1 : 0;
        TakeEveryLock();
    }
    return cancelled;
}

std::size_t CancelEach(const std::vector<host::Entry>& entries, const char* what) {
    trust::Watch();
    Set().keepRecords = false;
    Set().onLog = CancelAtTheLast;
    Set().onCall = [](const std::string&) { CancelAtTheLast(); };
    std::size_t cancelled = 0;
    for (const Where where : {Where::kHere, Where::kAtTheNextWait}) {
        g_where = where;
        for (const host::Entry& entry : entries) {
            cancelled += CancelAtEachPlace(entry);
        }
    }
    trust::Report("A thread cancelled", what, cancelled);
    return cancelled;
}

}  // namespace

TEST(Cancel, EndsADiagnosisAndLeavesTheLocksFree) {
    if (trust::kIsSanitized) {
        GTEST_SKIP() << "the sanitizer takes the handler of an unwinding thread for a null reference";
    }
    host::Install();
    EXPECT_GT(CancelEach(host::Diagnoses(), "in a diagnosis, at each log line and call of the set"), 0U);
}

TEST(Cancel, EndsARepairAndLeavesTheLocksFree) {
    if (trust::kIsSanitized) {
        GTEST_SKIP() << "the sanitizer takes the handler of an unwinding thread for a null reference";
    }
    host::Install();
    EXPECT_GT(CancelEach(host::Repairs(), "in a repair, the same"), 0U);
}

TEST(Cancel, EndsADeviceCallAndLeavesTheLocksFree) {
    if (trust::kIsSanitized) {
        GTEST_SKIP() << "the sanitizer takes the handler of an unwinding thread for a null reference";
    }
    host::Install();
    Set().pkgmgrClientAvailable = false;
    Set().appCount = 1;
    Set().apps.push_back({"entry", "title", "/opt/icons/", "app", "package", 0, 0, 0, 0});
    EXPECT_GT(CancelEach(host::DeviceCalls(), "in a device call, the same"), 0U);
}

TEST(Cancel, EndsTheHostsUseOfTheStoreAndLeavesTheLocksFree) {
    if (trust::kIsSanitized) {
        GTEST_SKIP() << "the sanitizer takes the handler of an unwinding thread for a null reference";
    }
    host::Install();
    TCDBManager::GetInstance()->OpenDB(EDB_TEST);
    CancelEach(host::StoreCalls(), "in a use of the store, the same");
}

TEST(Cancel, LeavesTheManagerToBeCreated) {
    if (trust::kIsSanitized) {
        GTEST_SKIP() << "the sanitizer takes the handler of an unwinding thread for a null reference";
    }
    host::Install();
    CancelEach({{"GetInstance", [] { KURA::KURA_DiagManager::GetInstance(); }, 3}},
               "in the manager's creation");
    EXPECT_NE(KURA::KURA_DiagManager::GetInstance(), nullptr);
}

TEST(Cancel, EndsAWorkerOfTheHostsPool) {
    if (trust::kIsSanitized) {
        GTEST_SKIP() << "the sanitizer takes the handler of an unwinding thread for a null reference";
    }
    trust::Watch();
    host::Install();
    Set().appCount = 1;
    Set().apps.push_back({"entry", "title", "/opt/icons/", "app", "package", 0, 0, 0, 0});
    KURA::CGetData* device = KURA::CGetData::GetInstance();
    const pthread_t caller = pthread_self();
    bool cancelled = false;
    Set().onCall = [&](const std::string& call) {
        if (call.rfind("pkgmgr_client_new", 0) == 0 && pthread_equal(caller, pthread_self()) == 0) {
            cancelled = true;
            pthread_cancel(pthread_self());
            pthread_testcancel();
        }
    };
    device->sendAppList();
    EXPECT_TRUE(cancelled);
    TakeEveryLock();
}
