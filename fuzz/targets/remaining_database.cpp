// The remaining problems from a database file of any bytes. Behind the mark an input goes on with the journal
// that a cut of power may have left beside the file.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "Fuzzing.h"
#include "KURA_DBManager.h"
#include "KURA_DiagResultManager.h"
#include "KURA_MapToDBTable.h"

namespace {

constexpr const char* kDatabase = "/opt/usr/home/owner/share/remaining.db";
constexpr const char* kJournal = "/opt/usr/home/owner/share/remaining.db-journal";
constexpr std::string_view kJournalMark = "=journal=";

void Install(const std::string& text) {
    for (const char* file : {"-journal", "-wal", "-shm"}) {
        unlink((std::string(kDatabase) + file).c_str());
    }
    const std::size_t mark = text.find(kJournalMark);
    fuzz::WriteFile(kDatabase, text.substr(0, mark));
    if (mark != std::string::npos) {
        fuzz::WriteFile(kJournal, text.substr(mark + kJournalMark.size()));
    }
}

void Load(KURA::KURA_DiagResultManager& manager) {
    std::vector<KURA::MapToDBTable> rows;
    try {
        const bool isLoaded = manager.LoadRemainingProblems();
        const bool hasRows = manager.GetRemainingTable(rows);
        fuzz::Expect(hasRows == !rows.empty(), "there are rows where the table says so");
        fuzz::Expect(!isLoaded || hasRows, "what is loaded has rows");
    } catch (const std::out_of_range&) {
        // Damage within a column: documented.
    }
}

void Write(KURA::KURA_DiagResultManager& manager) {
    TCDBManager& database = *TCDBManager::GetInstance();
    database.OpenDB(EDB_REMAINING);
    std::vector<std::string> codes;
    database.GetDB(EDB_REMAINING, "issue_code", codes);
    database.DeleteDB(codes.empty() ? "1" : codes.front().substr(0, codes.front().find('\'')));
    database.CloseDB();
    manager.ClearRemainingProblems();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = fuzz::Begin(data, size);
    Install(text);
    KURA::KURA_DiagResultManager& manager = *KURA::KURA_DiagResultManager::GetInstance();
    Load(manager);
    // Writing takes far longer than reading: for one input in 64.
    if (fuzz::IsOneOf(64, text)) {
        Write(manager);
    }
    manager.CleanDiagResult();
    return 0;
}
