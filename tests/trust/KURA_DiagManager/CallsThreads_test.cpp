// Completions on several threads of the engine, a map that is loaded again and again, and a host that reads,
// saves and asks, all at the same time and very often. ThreadSanitizer says whether anything raced; what is
// said here is that no list was ever torn and that locks nest in one order only.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "CGetData.h"
#include "Fakes.h"
#include "KURA_DBManager.h"
#include "KURA_DiagManager.h"
#include "KURA_DiagResultManager.h"
#include "KURA_KPISender.h"
#include "KURA_MapToDBTable.h"
#include "KURA_SO_Interface.h"
#include "KURA_Storage.h"
#include "LockGraph.h"
#include "SetUp.h"
#include "trust/Trust.h"

using fakes::Set;
using KURA::KURA_DiagManager;
using KURA::KURA_DiagResultManager;
using KURA::TCInformationStorage;

namespace {

const WMSignalData kSignal{};

/// Two documents, told apart by their issue codes; which one is stored changes all the time.
constexpr std::size_t kFirstSize = 2;
constexpr std::size_t kSecondSize = 7;

std::string Document(std::size_t size) {
    std::string text =
        "<root><sminfo version=\"" + std::to_string(size) + "\"/><sm cnt=\"" + std::to_string(size) + "\"/>";
    for (std::size_t i = 0; i < size; ++i) {
        text += setup::Issue(i == 0 ? "5" : "1000000" + std::to_string(i));
    }
    return text + "</root>";
}

std::atomic<int> g_torn{0};
std::atomic<int> g_readFirst{0};
std::atomic<int> g_readSecond{0};

/// A load replaces everything in one step.
void ExpectWhole(unsigned int count, std::size_t read) {
    g_readFirst += read == kFirstSize ? 1 : 0;
    g_readSecond += read == kSecondSize ? 1 : 0;
    if (count != read || (read != 0 && read != kFirstSize && read != kSecondSize)) {
        ++g_torn;
    }
}

bool AreBothRead() {
    return g_readFirst > 0 && g_readSecond > 0;
}

void ReadList() {
    unsigned int count = 0;
    std::vector<KURA::KURA_Solution> read;
    TCInformationStorage::Instance()->GetSolutionInformation(count, read);
    ExpectWhole(count, read.size());
}

void ReadSummary() {
    KURA::TSCurrentKURAMap map;
    TCInformationStorage::Instance()->GetKURAMapInformation(map);
    ExpectWhole(map.count, map.solutions.size());
}

void ReadOneIssue() {
    std::vector<KURA::KURA_Solution> read;
    TCInformationStorage::Instance()->GetSolutionsOfIssue("5", read);
    g_torn += read.size() > 1 ? 1 : 0;
}

const std::size_t kLeastRounds = trust::Count(40, 5000);

/// What one thread does, one call after the other.
using Calls = std::vector<std::function<void()>>;

std::vector<Calls> AllThreads() {
    KURA_DiagManager* manager = KURA_DiagManager::GetInstance();
    KURA_DiagResultManager* results = KURA_DiagResultManager::GetInstance();
    const Calls reads = {ReadList, ReadSummary, ReadOneIssue};
    return {
        {[] { KURA_DiagManager::SolutionCallbackFunc(0, kSignal); }},
        {[] { KURA_DiagManager::RemainingCallbackFunc(0, kSignal); }},
        {[] { KURA_DiagManager::TutorCallbackFunc(0, kSignal); },
         [] { KURA_DiagManager::SolutionCallbackFunc(0, kSignal); }},
        {[] { setup::WriteMap(Document(kSecondSize)), ParseSolutionMap(); },
         [] { setup::WriteMap(Document(kFirstSize)), ParseSolutionMap(); }},
        {[results] { results->DeleteRemainingDBColumn("5"); },
         [results] { results->LoadRemainingProblems(); }, [results] { results->ClearRemainingProblems(); }},
        {[manager] { manager->StartAutoDiagnosis(); }, [manager] { manager->RemainingProblem(); },
         [manager] { manager->StartTutorDiagnosis(); }, [manager] { manager->SetIsCallBackFinish(false); },
         [manager] { manager->GetExitFlag(); }, [] { KURA_DiagManager::GetInstance(); },
         [] { KURA_DiagResultManager::GetInstance(); }},
        reads,
        reads,
    };
}

/// The other singletons, each used by a thread of its own. The store's connection is that of the completions:
/// a host that opened it, too, would have them work on its own.
std::vector<Calls> OtherSingletons() {
    TCDBManager* store = TCDBManager::GetInstance();
    KURA::KURA_KPISender* sender = KURA::KURA_KPISender::GetInstance();
    KURA::CGetData* device = KURA::CGetData::GetInstance();
    return {
        {[store] { store->DeleteDB("77"); },
         [store] {
             store->SetDB("testTBL", {"1", "2", "3", "4", "5"});
         },
         [store] {
             std::vector<std::string> out;
             store->GetDB(EDB_REMAINING, "issue_code", out);
         },
         [store] { store->FlushDB(EDB_TEST); }},
        {[sender] { sender->SendKurahelpKPI(std::string("item").data()); },
         [sender] { sender->SendKurahelpKPI(std::string("another item").data(), 3); },
         [] { SendSelfDiagnosisResult("item", "a status of more than fifteen letters"); }},
        {[device] { device->sendFlashSize(); }, [device] { device->CheckDeviceState(); },
         [device] { device->m_CheckNetwork(); }, [] { KURA::GetCurrentSourceInfo(); }},
    };
}

/// Runs all of them until so many calls were made; every thread makes its share of the slow ones too. Returns
/// how many each made.
std::vector<std::size_t> RunTogether(const std::vector<Calls>& threads, std::size_t calls) {
    std::atomic<std::size_t> made{0};
    std::vector<std::size_t> each(threads.size());
    std::vector<std::thread> running;
    for (std::size_t i = 0; i < threads.size(); ++i) {
        running.emplace_back([&, i] {
            // Each comes to its turn, also beside those that are much faster, and both lists are read.
            for (std::size_t round = 0;
                 round < kLeastRounds || made < calls || (!AreBothRead() && made < 100 * calls); ++round) {
                for (const std::function<void()>& call : threads[i]) {
                    call();
                }
                made += threads[i].size();
                each[i] += threads[i].size();
            }
        });
    }
    for (std::thread& thread : running) {
        thread.join();
    }
    return each;
}

void Prepare() {
    trust::Watch();
    setup::Install();
    Set().keepRecords = false;
    KURA_DiagManager::GetInstance();
}

/// The locks in the order in which they nest; those of a creation nest in none.
const char* const kOrder[] = {"the diagnosis manager's", "the result manager's", "the storage's"};
constexpr int kInNone = 9;

int PlaceOf(const std::string& lock) {
    const auto* const found = std::find(std::begin(kOrder), std::end(kOrder), lock);
    return found == std::end(kOrder) ? kInNone : static_cast<int>(found - std::begin(kOrder)) + 1;
}

void NameLocks() {
    EXPECT_TRUE(lockgraph::Name(kOrder[0], [] { KURA_DiagManager::GetInstance(); }));
    EXPECT_TRUE(
        lockgraph::Name(kOrder[1], [] { KURA_DiagResultManager::GetInstance()->ClearRemainingProblems(); }));
    EXPECT_TRUE(lockgraph::Name(kOrder[2], [] { TCInformationStorage::Instance(); }));
    EXPECT_TRUE(lockgraph::Name("the device's", [] { KURA::CGetData::GetInstance(); }));
    EXPECT_TRUE(lockgraph::Name("the sender's", [] { KURA::KURA_KPISender::GetInstance(); }));
    EXPECT_TRUE(lockgraph::Name("the store's", [] { TCDBManager::GetInstance(); }));
    KURA::KURA_KPISender* const sender = KURA::KURA_KPISender::GetInstance();
    std::string item = "item";
    EXPECT_TRUE(lockgraph::Name("the report's", [&] { sender->SendKurahelpKPI(item.data()); }));
}

}  // namespace

TEST(CallsThreads, NeitherRaceNorTearAList) {
    Prepare();
    const std::size_t calls = trust::Count(5000, 1000000);
    std::vector<Calls> threads = AllThreads();
    const std::vector<Calls> others = OtherSingletons();
    threads.insert(threads.end(), others.begin(), others.end());
    const std::vector<std::size_t> each = RunTogether(threads, calls);
    EXPECT_EQ(g_torn, 0);
    EXPECT_TRUE(AreBothRead());
    std::size_t all = 0;
    for (const std::size_t made : each) {
        all += made;
    }
    const std::size_t completions = each[0] + each[1] + each[2];
    trust::Report("Callbacks while the host calls",
                  "11 threads on every singleton, of the calls " + std::to_string(completions) +
                      " completions and " + std::to_string(each[3]) + " reloads",
                  all);

    // The last word is a whole list: one more run leaves exactly what it found.
    setup::Install();
    ParseSolutionMap();
    Set().keepRecords = true;
    KURA_DiagManager::SolutionCallbackFunc(0, kSignal);
    ASSERT_EQ(Set().startScreenLists.size(), 1U);
    EXPECT_EQ(Set().startScreenLists[0].size(), 2U);
    EXPECT_TRUE(KURA_DiagResultManager::GetInstance()->LoadRemainingProblems());
}

TEST(LocksThreads, NestInOneOrder) {
    lockgraph::Start();
    Prepare();
    NameLocks();
    std::vector<Calls> threads = AllThreads();
    threads[5].emplace_back([] { KURA::CGetData::GetInstance(); });
    threads[5].emplace_back([] { KURA::KURA_KPISender::GetInstance(); });
    threads[3].emplace_back([] { RequestApplySolution("5"); });
    const std::size_t calls = trust::Count(2000, 20000);
    RunTogether(threads, calls);
    EXPECT_FALSE(lockgraph::HasCycle());
    std::vector<std::pair<int, int>> seen;
    for (const auto& [held, taken] : lockgraph::Nestings()) {
        EXPECT_LT(PlaceOf(held), PlaceOf(taken)) << held << ", then " << taken;
        seen.emplace_back(PlaceOf(held), PlaceOf(taken));
    }
    EXPECT_THAT(seen, testing::IsSupersetOf({std::pair(1, 2), std::pair(1, 3), std::pair(2, 3)}))
        << "the nestings that there must be were looked at";
    EXPECT_THAT(lockgraph::Taken(), testing::SizeIs(7))
        << "two creations, a report, the store, and the three";
    trust::Report("Lock order",
                  "the library's " + std::to_string(lockgraph::Taken().size()) + " locks, " +
                      std::to_string(seen.size()) + " nestings seen",
                  calls);
}
