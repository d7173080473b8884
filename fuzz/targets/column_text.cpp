// What stands in the columns of the remaining problems: cells of any type and any bytes in a sound database,
// as a damaged page or a foreign hand may leave them. Cells are separated by the byte 0x1F; the first letter
// of one says what it is: i a number, r a real one, b a blob, n nothing, anything else a text.
#include <sqlite3.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "Fuzzing.h"
#include "KURA_DiagResultManager.h"
#include "KURA_MapToDBTable.h"
#include "StoredColumns.h"

namespace {

constexpr const char* kDatabase = "/opt/usr/home/owner/share/remaining.db";
constexpr std::size_t kColumns = fakes::kStoredColumns;
constexpr std::size_t kMostRows = 4;
constexpr char kSeparator = '\x1f';

/// A last row that is not whole ends with nothing.
const std::string& Cell(const std::vector<std::string>& cells, std::size_t number) {
    static const std::string nothing = "n";
    return number < cells.size() ? cells[number] : nothing;
}

/// Every database is in memory from now on, so that no time goes into files.
void KeepDatabasesInMemory() {
    const bool isReady =
        sqlite3_initialize() == SQLITE_OK && sqlite3_vfs_register(sqlite3_vfs_find("memdb"), 1) == SQLITE_OK;
    fuzz::Expect(isReady, "SQLite keeps databases in memory");
}

/// A connection beside the library's. The table has no types, so that a cell stays what it is.
class Table {
public:
    Table() {
        KeepDatabasesInMemory();
        sqlite3_open(kDatabase, &m_handle);
        Run("CREATE TABLE remainingTBL(idx, issue_code, is_fix, last_time, sol_type, sid_issue, sid_sol, "
            "sid_button1, sid_button2, action, toast1, toast2, source, view_authority);");
        const int result =
            sqlite3_prepare_v2(m_handle, "INSERT INTO remainingTBL VALUES(?,?,?,?,?,?,?,?,?,?,?,?,?,?);", -1,
                               &m_insertion, nullptr);
        fuzz::Expect(result == SQLITE_OK, "the target can write its table");
    }

    /// With all cells, row by row.
    void Fill(const std::vector<std::string>& cells) {
        Run("BEGIN; DELETE FROM remainingTBL;");
        for (std::size_t first = 0; first < cells.size(); first += kColumns) {
            for (std::size_t column = 0; column < kColumns; ++column) {
                Bind(static_cast<int>(column) + 1, Cell(cells, first + column));
            }
            fuzz::Expect(sqlite3_step(m_insertion) == SQLITE_DONE, "the target can write its rows");
            sqlite3_reset(m_insertion);
        }
        Run("COMMIT;");
    }

private:
    void Run(const char* statements) {
        fuzz::Expect(sqlite3_exec(m_handle, statements, nullptr, nullptr, nullptr) == SQLITE_OK,
                     "the target can write its database");
    }

    void Bind(int parameter, const std::string& cell) {
        const char* rest = cell.c_str() + (cell.empty() ? 0 : 1);
        const char kind = cell.empty() ? 't' : cell.front();
        if (kind == 'i') {
            sqlite3_bind_int64(m_insertion, parameter, std::strtoll(rest, nullptr, 10));
        } else if (kind == 'r') {
            sqlite3_bind_double(m_insertion, parameter, std::strtod(rest, nullptr));
        } else if (kind == 'b') {
            sqlite3_bind_blob(m_insertion, parameter, rest, static_cast<int>(cell.size()) - 1, SQLITE_STATIC);
        } else if (kind == 'n') {
            sqlite3_bind_null(m_insertion, parameter);
        } else {
            sqlite3_bind_text(m_insertion, parameter, cell.data(), static_cast<int>(cell.size()),
                              SQLITE_STATIC);
        }
    }

    sqlite3* m_handle = nullptr;
    sqlite3_stmt* m_insertion = nullptr;
};

/// A text up to its first zero byte, a number's lowest 32 bits, and nothing for anything else.
std::string ExpectedText(const std::string& cell) {
    const char kind = cell.empty() ? 't' : cell.front();
    if (kind == 'i') {
        const auto bits = static_cast<std::uint64_t>(std::strtoll(cell.c_str() + 1, nullptr, 10));
        return std::to_string(static_cast<std::int32_t>(static_cast<std::uint32_t>(bits)));
    }
    return kind == 'r' || kind == 'b' || kind == 'n' ? "" : cell.c_str();
}

std::size_t RowsOf(const std::vector<std::string>& cells) {
    return (cells.size() + kColumns - 1) / kColumns;
}

std::string CellText(const std::vector<std::string>& cells, std::size_t row, std::size_t column) {
    return ExpectedText(Cell(cells, row * kColumns + column));
}

/// The first row whose index is out of range ends the load.
std::size_t ExpectedRows(const std::vector<std::string>& cells) {
    const std::size_t rows = RowsOf(cells);
    for (std::size_t row = 0; row < rows; ++row) {
        const std::int32_t index = fuzz::Signed32(CellText(cells, row, 0).c_str());
        if (index < 0 || static_cast<std::size_t>(index) > rows) {
            return row;
        }
    }
    return rows;
}

void CheckRow(const std::vector<std::string>& cells, std::size_t row, const KURA::MapToDBTable& loaded) {
    const std::array<std::string, kColumns> texts = fakes::StoredColumns(loaded);
    for (std::size_t column = 0; column < kColumns; ++column) {
        std::string expected = CellText(cells, row, column);
        if (column == 0 || column == 2) {
            expected = std::to_string(fuzz::Signed32(expected.c_str()));
        }
        fuzz::Expect(texts[column] == expected, "a column holds what its cell says");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Table table;
    const std::string text = fuzz::Begin(data, size);
    const std::vector<std::string> cells = fuzz::Split(text, kSeparator, kMostRows * kColumns);
    table.Fill(cells);

    KURA::KURA_DiagResultManager& manager = *KURA::KURA_DiagResultManager::GetInstance();
    const bool isLoaded = manager.LoadRemainingProblems();
    std::vector<KURA::MapToDBTable> rows;
    manager.GetRemainingTable(rows);
    manager.CleanDiagResult();
    fuzz::Expect(rows.size() == ExpectedRows(cells), "rows are loaded up to the first bad index");
    fuzz::Expect(isLoaded == (rows.size() == RowsOf(cells)), "a load without a bad index succeeds");
    for (std::size_t row = 0; row < rows.size(); ++row) {
        CheckRow(cells, row, rows[row]);
    }
    return 0;
}
