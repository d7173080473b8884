#include "watchman.h"

#include <sqlite3.h>

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include "TemporarySet.h"
#include "set/KuraSet.h"

namespace {

using kuraset::json;
using simulator::TemporarySet;

using namespace std::chrono_literals;

std::mutex g_mutex;
std::vector<std::thread::id> g_threads;  // guarded by g_mutex

void Remember(unsigned int, WMSignalData) {
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_threads.push_back(std::this_thread::get_id());
}

void Throw(unsigned int, WMSignalData) {
    throw std::out_of_range("beyond the list");
}

void ThrowNumber(unsigned int, WMSignalData) {
    throw 5;
}

void ArmAgain(unsigned int, WMSignalData) {
    InferenceSubscribeOnce(1, Remember);
}

std::string Schema(const std::filesystem::path& path) {
    sqlite3* database = nullptr;
    EXPECT_EQ(sqlite3_open_v2(path.c_str(), &database, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(database, "SELECT sql FROM sqlite_master", -1, &statement, nullptr),
              SQLITE_OK);
    EXPECT_EQ(sqlite3_step(statement), SQLITE_ROW);
    const std::string text = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
    sqlite3_finalize(statement);
    sqlite3_close(database);
    return text;
}

TEST(EngineStore, HasTheTablesThatTheSetsToolsKnow) {
    TemporarySet set;
    const auto folder = set->FilesHome() / "owner/share/Watchman/DB";
    EXPECT_EQ(
        Schema(folder / "inference.db"),
        "CREATE TABLE inferenceTBL(registerTime TEXT, lastUpdatedTime TEXT, issueCode TEXT, TR INTEGER, "
        "solutionCode INTEGER)");
    EXPECT_EQ(Schema(folder / "solution.db"),
              "CREATE TABLE solutionTBL(registerTime TEXT, issueCode TEXT, solutionCode TEXT, type TEXT, "
              "isApply INTEFER)");
}

TEST(Engine, HandsOutTheNewestRecordFirst) {
    TemporarySet set;
    set->ReportInference(1001, true, 5, "2025-01-01T00:00:00", "2025-01-02T00:00:00");
    set->ReportInference(1001, true, 6, "2025-01-01T00:00:00", "2025-01-03T00:00:00");
    set->ReportInference(1001, true, 7, "2025-01-01T00:00:00", "2025-01-03T00:00:00");
    set->ReportInference(1001, false, 8, "2025-01-09T00:00:00");
    set->ReportInference(1002, true, 9, "2025-01-08T00:00:00");

    std::vector<_WMInfDBRecord> records(1);
    ASSERT_EQ(GetInferenceDB(1001, WM_TRANSITION_TYPE_TRUE, records), 0);
    ASSERT_EQ(records.size(), 4u) << "records are appended";
    EXPECT_EQ(records[1].solutionCode, 7);
    EXPECT_EQ(records[2].solutionCode, 6);
    EXPECT_EQ(records[3].solutionCode, 5);
    EXPECT_EQ(records[1].issue_code, 1001);
    EXPECT_EQ(records[1].tr_type, WM_TRANSITION_TYPE_TRUE);
    EXPECT_EQ(records[1].registerTime, "2025-01-01T00:00:00");
    EXPECT_EQ(records[1].lastUpdateTime, "2025-01-03T00:00:00");
    records.clear();
    ASSERT_EQ(GetInferenceDB(1001, WM_TRANSITION_TYPE_FALSE, records), 0);
    EXPECT_EQ(records.at(0).lastUpdateTime, "2025-01-09T00:00:00");
    EXPECT_EQ(GetInferenceDB(1002, WM_TRANSITION_TYPE_FALSE, records), 4);
    EXPECT_EQ(set->ListInferences().at(0).solutionCode, 8);
}

TEST(Engine, KeepsTheSolutionThatWasApplied) {
    TemporarySet set;
    _WMSolDBRecord record{0, 0, 5, 0, ""};
    EXPECT_EQ(GetSolutionDB(1001, record), 4);
    EXPECT_EQ(record.type, 5);
    EXPECT_EQ(SetSolutionDB({1001, 77, 3, 1}), 0);
    ASSERT_EQ(GetSolutionDB(1001, record), 0);
    EXPECT_EQ(record.issue_code, 1001);
    EXPECT_EQ(record.solutionCode, 77);
    EXPECT_EQ(record.type, 3);
    EXPECT_EQ(record.isApply, 1);
    EXPECT_EQ(record.registerTime.size(), 19u);
    EXPECT_EQ(SetSolutionDB({1001, 78, 3, 0}), 0);
    ASSERT_EQ(GetSolutionDB(1001, record), 0);
    EXPECT_EQ(record.solutionCode, 78);
    EXPECT_EQ(record.isApply, 0);
}

TEST(Engine, AnswersWithTheFaultOfTheQuery) {
    TemporarySet set(json::parse(R"({"faults": {"engine": {
        "inference": {"1001": {"true": 7, "false": 0}}, "solution": {"1001": 5}, "subscribe": 6, "record": 9}}})"));
    set->ReportInference(1001, true);
    set->ReportInference(1001, false);
    set->ReportSolution(1001, 1, 1, true);
    std::vector<_WMInfDBRecord> records;
    _WMSolDBRecord record{0, 0, 5, 0, ""};
    EXPECT_EQ(GetInferenceDB(1001, WM_TRANSITION_TYPE_TRUE, records), 7);
    EXPECT_EQ(GetInferenceDB(1001, WM_TRANSITION_TYPE_FALSE, records), 0) << "success without a record";
    EXPECT_TRUE(records.empty());
    EXPECT_EQ(GetSolutionDB(1001, record), 5);
    EXPECT_EQ(record.issue_code, 0);
    EXPECT_EQ(InferenceSubscribeOnce(1, Remember), 6);
    EXPECT_EQ(SetSolutionDB({1001, 2, 2, 1}), 9);
    EXPECT_EQ(set->ListSolutions().size(), 1u);
}

TEST(Engine, OfADamagedDatabaseReportsAnError) {
    TemporarySet set;
    simulator::WriteText(set->FilesHome() / "owner/share/Watchman/DB/inference.db", std::string(8192, 'x'));
    std::vector<_WMInfDBRecord> records;
    EXPECT_EQ(GetInferenceDB(1, WM_TRANSITION_TYPE_TRUE, records), 1);
    EXPECT_FALSE(set->ReadJournal("engine").at(0).at("failure").get<std::string>().empty());
    EXPECT_THROW(set->ListInferences(), kuraset::SetError);
}

TEST(EngineThread, DeliversEverySubscriptionOnceOnItsOwnThread) {
    TemporarySet set(json({{"engine", {{"delay_ms", 0}}}}));
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(InferenceSubscribeOnce(10000000, Remember), 0);
    }
    std::string failure = "old";
    ASSERT_TRUE(kuraset::WaitForEngine(10s, failure));
    EXPECT_EQ(failure, "");
    ASSERT_EQ(g_threads.size(), 3u);
    EXPECT_NE(g_threads[0], std::this_thread::get_id());
    EXPECT_EQ(g_threads[0], g_threads[1]);
    EXPECT_EQ(g_threads[0], g_threads[2]);
    ASSERT_TRUE(kuraset::WaitForEngine(0ms, failure)) << "nothing is armed any more";
}

TEST(EngineThread, IsAlsoWaitedForWhenACallbackArmsAgain) {
    TemporarySet set(json({{"engine", {{"delay_ms", 1}}}}));
    InferenceSubscribeOnce(1, ArmAgain);
    std::string failure;
    ASSERT_TRUE(kuraset::WaitForEngine(10s, failure));
    EXPECT_EQ(g_threads.size(), 1u);
}

TEST(EngineThread, SurvivesAnExceptionAndReportsIt) {
    TemporarySet set;
    InferenceSubscribeOnce(1, Throw);
    std::string failure;
    ASSERT_TRUE(kuraset::WaitForEngine(10s, failure));
    EXPECT_EQ(failure, "beyond the list");
    InferenceSubscribeOnce(1, ThrowNumber);
    ASSERT_TRUE(kuraset::WaitForEngine(10s, failure));
    EXPECT_EQ(failure, "an exception of unknown type");
    InferenceSubscribeOnce(1, Remember);
    ASSERT_TRUE(kuraset::WaitForEngine(10s, failure));
    EXPECT_EQ(failure, "");
    EXPECT_EQ(g_threads.size(), 1u);
    std::size_t exceptions = 0;
    for (const json& entry : set->ReadJournal("engine")) {
        exceptions += entry.at("op") == "exception" ? 1 : 0;
    }
    EXPECT_EQ(exceptions, 2u);
}

TEST(EngineThread, LeavesAnUndeliveredSubscriptionBehindAtExit) {
    EXPECT_EXIT(
        {
            TemporarySet set(json({{"engine", {{"delay_ms", 600000}}}}));
            InferenceSubscribeOnce(1, Remember);
            std::exit(3);
        },
        testing::ExitedWithCode(3), "");
}

TEST(EngineThread, MayEndTheProcessItself) {
    EXPECT_EXIT(
        {
            TemporarySet set;
            InferenceSubscribeOnce(1, [](unsigned int, WMSignalData) { std::exit(4); });
            std::string failure;
            kuraset::WaitForEngine(10s, failure);
        },
        testing::ExitedWithCode(4), "");
}

TEST(EngineThread, StaysSilentWhenTheFaultsSaySo) {
    TemporarySet set(json({{"faults", {{"engine", {{"silent", true}}}}}}));
    EXPECT_EQ(InferenceSubscribeOnce(1, Remember), 0);
    std::string failure;
    EXPECT_FALSE(kuraset::WaitForEngine(20ms, failure));
    EXPECT_TRUE(g_threads.empty());
}

}  // namespace
