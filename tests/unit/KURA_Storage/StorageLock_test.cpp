// Operations whose lock fails. These tests replace the store's mutex by one that refuses a second lock of the
// same thread instead of waiting for ever.
#include <gtest/gtest.h>
#include <pthread.h>

#include <boost/thread/exceptions.hpp>
#include <cerrno>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "Fakes.h"
#include "KURA_SolutionMap.h"
#include "KURA_Storage.h"

using KURA::KURA_Solution;
using KURA::TCInformationStorage;
using KURA::TSCurrentKURAMap;

namespace {

using Solutions = std::vector<KURA_Solution>;

Solutions One(const char* code) {
    return {KURA_Solution(code, "", "", "", "", "", "", "", "", "", "", "", "", "", "")};
}

void MakeTheMutexRefuseItsOwner() {
    pthread_mutexattr_t kind;
    ASSERT_EQ(pthread_mutexattr_init(&kind), 0);
    ASSERT_EQ(pthread_mutexattr_settype(&kind, PTHREAD_MUTEX_ERRORCHECK), 0);
    ASSERT_EQ(pthread_mutex_destroy(KURA::m_KURAmutex.native_handle()), 0);
    ASSERT_EQ(pthread_mutex_init(KURA::m_KURAmutex.native_handle(), &kind), 0);
    pthread_mutexattr_destroy(&kind);
}

}  // namespace

TEST(StorageLock, FailsWithTheLockErrorAndChangesNothing) {
    auto* store = TCInformationStorage::Instance();
    store->SetSMVersion(4);
    store->SetSolutionInformation(3, One("stored"));
    unsigned int number = 77;
    Solutions out = One("held");
    TSCurrentKURAMap summary;
    summary.version = 1;
    summary.count = 2;
    summary.solutions = One("held");
    const std::vector<std::function<void()>> operations = {
        [] { TCInformationStorage::Instance(); },
        [&] { store->Initialize(); },
        [&] { store->ResetInformationStorage(); },
        [&] { store->SetSMVersion(9); },
        [&] { store->GetSMVersion(number); },
        [&] { store->SetSMCount(9); },
        [&] { store->GetSMCount(number); },
        [&] { store->SetSolutionMap({}); },
        [&] { store->SetSolutionInformation(9, One("more")); },
        [&] { store->GetSolutionInformation(number, out); },
        [&] { store->GetSolutionsOfIssue("stored", out); },
        [&] { store->GetKURAMapInformation(summary); },
    };
    MakeTheMutexRefuseItsOwner();
    KURA::m_KURAmutex.lock();
    for (std::size_t i = 0; i < operations.size(); ++i) {
        try {
            operations[i]();
            ADD_FAILURE() << "operation " << i << " went through";
        } catch (const boost::lock_error& error) {
            EXPECT_EQ(error.native_error(), EDEADLK) << "operation " << i;
        }
    }
    KURA::m_KURAmutex.unlock();

    EXPECT_EQ(number, 77U);
    ASSERT_EQ(out.size(), 1U);
    EXPECT_EQ(summary.version, 1U);
    EXPECT_EQ(summary.count, 2U);
    EXPECT_EQ(summary.solutions.size(), 1U);
    store->GetKURAMapInformation(summary);
    EXPECT_EQ(summary.version, 4U);
    EXPECT_EQ(summary.count, 3U);
    ASSERT_EQ(summary.solutions.size(), 1U);
    EXPECT_EQ(summary.solutions[0].issue_code, "stored");
}

TEST(StorageLock, LogsNoEndOfAReadThatFailed) {
    auto* store = TCInformationStorage::Instance();
    MakeTheMutexRefuseItsOwner();
    KURA::m_KURAmutex.lock();
    unsigned int count = 0;
    Solutions out;
    EXPECT_THROW(store->GetSolutionInformation(count, out), boost::lock_error);
    KURA::m_KURAmutex.unlock();
    EXPECT_EQ(fakes::Set().Messages(), std::vector<std::string>{"GetSolutionInformation IN"});
}
