// Which verbs print tables, and with which columns: a wish for another column is refused before anything is
// done.
#pragma once

#include <CLI/CLI.hpp>

#include "Table.h"

namespace cli {

/// The verb prints a table of these columns; once for each of its tables.
void PrintsTable(const CLI::App* verb, const Table::Columns& columns);

/// The names of the columns of the verb's tables, each once; empty for a verb without one.
std::vector<std::string> ColumnsOf(const CLI::App& verb);

/// Adds --columns, --sort and --no-headings.
void AddTableOptions(CLI::App& app);

/// Throws VerbError when the command line asks for a table of a verb that prints none, or for a column that
/// it does not have.
void CheckTableOptions(const CLI::App& verb);

}  // namespace cli
