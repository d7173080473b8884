// Problem lists: all fields of a row as JSON, and for people the texts that the screens would show.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "KURA_MapToDBTable.h"
#include "frame/Outcome.h"

namespace cli {

/// The host's string table: string id to text.
class Texts {
public:
    /// Reads <folder>/<language>.json. A missing file gives an empty table: ids then stand for themselves.
    static Texts Load(const std::filesystem::path& folder, const std::string& language);

    /// The text of id, or id itself when the table has none.
    std::string Resolve(const std::string& id) const;

private:
    std::map<std::string, std::string> m_texts;
};

/// The fifteen fields, and under "texts" what they read as.
Json RowToJson(const KURA::MapToDBTable& row, const Texts& texts);
Json RowsToJson(const std::vector<KURA::MapToDBTable>& rows, const Texts& texts);

/// A table of rows as RowsToJson made them, or none when there are no rows.
void PrintRows(const Json& rows, const std::string& none);

}  // namespace cli
