// Memory that runs out at the n-th piece, of C++ or of SQLite, in an evaluation and in the operations on the
// remaining problems. An exception comes out only where C++ had no memory; nothing is lost, the locks are
// free, and what is stored is a list that was asked for.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "Database.h"
#include "Fakes.h"
#include "Problems.h"
#include "RefusedMemory.h"
#include "trust/Trust.h"

using Codes = std::vector<std::string>;

namespace {

long g_sqlitePieces = 0;
sqlite3_mem_methods g_sqliteMemory;

void* SqliteMalloc(int size) {
    void* piece = fakes::refusal.Strikes() ? nullptr : g_sqliteMemory.xMalloc(size);
    g_sqlitePieces += piece != nullptr ? 1 : 0;
    return piece;
}

void SqliteFree(void* piece) {
    g_sqlitePieces -= piece != nullptr ? 1 : 0;
    g_sqliteMemory.xFree(piece);
}

void* SqliteRealloc(void* piece, int size) {
    return fakes::refusal.Strikes() ? nullptr : g_sqliteMemory.xRealloc(piece, size);
}

/// Before the first use of SQLite in this process.
bool TakeOverSqlitesMemory() {
    if (sqlite3_config(SQLITE_CONFIG_GETMALLOC, &g_sqliteMemory) != SQLITE_OK) {
        return false;
    }
    static sqlite3_mem_methods own = g_sqliteMemory;
    own.xMalloc = SqliteMalloc;
    own.xFree = SqliteFree;
    own.xRealloc = SqliteRealloc;
    return sqlite3_config(SQLITE_CONFIG_MALLOC, &own) == SQLITE_OK;
}

/// Refuses each piece that work asks for in turn, once; check sees what is stored and whether it threw.
std::size_t RefuseEachPiece(const std::function<void()>& prepare, const std::function<void()>& work,
                            const std::function<void(const Codes& stored, bool threw)>& check) {
    std::size_t refused = 0;
    bool struck = true;
    for (std::size_t n = 0; struck; ++n) {
        SCOPED_TRACE("piece " + std::to_string(n));
        prepare();
        const long before = g_sqlitePieces;
        bool threw = false;
        fakes::refusal.Begin(n);
        try {
            work();
        } catch (const std::bad_alloc&) {
            threw = true;
        } catch (const std::out_of_range&) {
            threw = true;  // of a load whose columns could not all be read
        }
        struck = fakes::refusal.End();
        refused += struck ? 1 : 0;
        EXPECT_EQ(g_sqlitePieces, before);
        EXPECT_TRUE(struck || !threw);
        EXPECT_EQ(database::Run("PRAGMA integrity_check").at(0).at(0), "ok");
        check(database::Codes(), threw);
        if (testing::Test::HasFailure()) {
            break;
        }
    }
    EXPECT_TRUE(problems::IsUnlocked());
    return refused;
}

const Codes kOld = {"11", "12"};
const Codes kNew = {"21", "22", "23"};

void StoreOld() {
    database::Run("DELETE FROM remainingTBL");
    for (const std::string& code : kOld) {
        database::Add("1", code);
    }
}

void PresentNew() {
    std::vector<KURA::KURA_Solution> solutions;
    for (const std::string& code : kNew) {
        solutions.push_back(problems::Solution(code));
    }
    problems::Present(solutions);
}

class Memory : public testing::Test {
protected:
    void SetUp() override {
        trust::Watch();
        ASSERT_TRUE(TakeOverSqlitesMemory());
        fakes::Set().keepRecords = false;
        database::Make();
        problems::Manager();
        PresentNew();
    }
};

}  // namespace

TEST_F(Memory, MayRunOutInAnEvaluationAndItsSave) {
    bool atLastWhole = false;
    const std::size_t refused = RefuseEachPiece(
        StoreOld, [] { problems::Manager().CreateErrorList(); },
        [&](const Codes& stored, bool) {
            // An evaluation that ends early saves nothing, or has cleared the list before.
            EXPECT_TRUE(stored == kOld || stored.empty() || stored == kNew) << stored.size() << " rows";
            atLastWhole = stored == kNew;
        });
    EXPECT_TRUE(atLastWhole);
    EXPECT_GT(refused, 200U);
    trust::Report("Allocation failure at the n-th call", "evaluate and save: operator new and SQLite",
                  refused);
}

TEST_F(Memory, MayRunOutInALoad) {
    const std::size_t refused = RefuseEachPiece(
        StoreOld, [] { problems::Manager().LoadRemainingProblems(); },
        [](const Codes& stored, bool) { EXPECT_EQ(stored, kOld); });
    EXPECT_GT(refused, 50U);
    trust::Report("Allocation failure at the n-th call", "load", refused);
}

// Of a text in another encoding SQLite makes a copy, and may have no memory for it.
TEST_F(Memory, MayRunOutInALoadFromAnotherEncoding) {
    std::filesystem::remove(database::kPath);
    database::Run("PRAGMA encoding='UTF-16'; " + std::string(database::kSchema));
    const std::size_t refused = RefuseEachPiece(
        StoreOld, [] { problems::Manager().LoadRemainingProblems(); },
        [](const Codes& stored, bool) { EXPECT_EQ(stored, kOld); });
    EXPECT_GT(refused, 50U);
    trust::Report("Allocation failure at the n-th call", "load", refused);
}

TEST_F(Memory, MayRunOutInADeletion) {
    const std::size_t refused = RefuseEachPiece(
        StoreOld, [] { problems::Manager().DeleteRemainingDBColumn("11"); },
        [](const Codes& stored, bool) {
            EXPECT_TRUE(stored == kOld || stored == Codes{"12"}) << stored.size() << " rows";
        });
    EXPECT_GT(refused, 20U);
    trust::Report("Allocation failure at the n-th call", "deletion", refused);
}

TEST_F(Memory, MayRunOutInAnEvaluationForTheGuide) {
    std::filesystem::create_directories("/tmp/tutorlink");
    const std::size_t refused = RefuseEachPiece(
        StoreOld, [] { problems::Manager().CreateTutorErrList(); },
        [](const Codes& stored, bool) { EXPECT_EQ(stored, kOld); });
    EXPECT_GT(refused, 10U);
    trust::Report("Allocation failure at the n-th call", "evaluate for the guide", refused);
}
