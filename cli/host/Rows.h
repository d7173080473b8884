// Writes problem lists: as JSON with all fields of a row, and for people with the texts of the screens.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "KURA_MapToDBTable.h"
#include "frame/Outcome.h"
#include "frame/Table.h"

namespace cli {

/// The host's string table: string id to text.
class Texts {
public:
    /// Reads <folder>/<language>.json. A missing file gives an empty table, which shows the ids themselves,
    /// and a note on standard error.
    static Texts Load(const std::filesystem::path& folder, const std::string& language);

    /// The text of id, or id itself when the table has none.
    std::string Resolve(const std::string& id) const;

private:
    std::map<std::string, std::string> m_texts;
};

/// The fifteen fields, and under "texts" their texts from the table.
Json RowToJson(const KURA::MapToDBTable& row, const Texts& texts);
Json RowsToJson(const std::vector<KURA::MapToDBTable>& rows, const Texts& texts);

/// The columns that PrintRows prints.
const Table::Columns& RowColumns();

/// Prints a table of rows from RowsToJson, or the text `none` when there are no rows.
void PrintRows(const Json& rows, const std::string& none);

}  // namespace cli
