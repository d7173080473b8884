#include "TableVerbs.h"

#include <algorithm>
#include <map>
#include <memory>
#include <sstream>

#include "support/Joined.h"
#include "support/NearestName.h"

namespace cli {

namespace {

std::map<const CLI::App*, std::vector<std::string>>& Tables() {
    static std::map<const CLI::App*, std::vector<std::string>> tables;
    return tables;
}

std::vector<std::string> PartsOf(const std::string& list) {
    std::vector<std::string> parts;
    std::istringstream stream(list);
    for (std::string part; std::getline(stream, part, ',');) {
        parts.push_back(part);
    }
    return parts;
}

/// "kura settings get"
std::string PathOf(const CLI::App& verb) {
    const CLI::App* const above = verb.get_parent();
    return (above == nullptr ? "" : PathOf(*above) + " ") + verb.get_name();
}

/// Throws VerbError when written is none of the known columns.
void Demand(const std::string& written, const std::vector<std::string>& known) {
    const auto fits = [&written](const std::string& name) { return NamesColumn(written, name); };
    if (std::any_of(known.begin(), known.end(), fits)) {
        return;
    }
    throw VerbError(ExitCode::kUsage, "no such column: " + written + support::Suggestion(written, known) +
                                          " (the columns: " + support::Joined(known, ", ") + ")");
}

}  // namespace

void PrintsTable(const CLI::App* verb, const Table::Columns& columns) {
    std::vector<std::string>& names = Tables()[verb];
    for (const Table::Column& column : columns) {
        if (std::find(names.begin(), names.end(), column.name) == names.end()) {
            names.push_back(column.name);
        }
    }
}

std::vector<std::string> ColumnsOf(const CLI::App& verb) {
    const auto found = Tables().find(&verb);
    return found == Tables().end() ? std::vector<std::string>() : found->second;
}

void AddTableOptions(CLI::App& app) {
    app.add_option_function<std::string>(
           "--columns", [](const std::string& list) { TheTableOptions().columns = PartsOf(list); },
           "Only these columns of a table, in this order, separated by commas")
        ->type_name("LIST");
    app.add_option("--sort", TheTableOptions().sort,
                   "Sort a table by this column; --sort=-COLUMN from the last to the first")
        ->type_name("COLUMN");
    app.add_flag_callback(
        "--no-headings", [] { TheTableOptions().headings = false; }, "Tables without their headings");
}

void CheckTableOptions(const CLI::App& verb) {
    const TableOptions& options = TheTableOptions();
    if (options.columns.empty() && options.sort.empty() && options.headings) {
        return;
    }
    const std::vector<std::string> known = ColumnsOf(verb);
    if (known.empty()) {
        throw VerbError(ExitCode::kUsage, PathOf(verb) + " prints no table");
    }
    for (const std::string& name : options.columns) {
        Demand(name, known);
    }
    if (!options.sort.empty()) {
        Demand(options.sort.substr(options.sort.front() == '-' ? 1 : 0), known);
    }
}

}  // namespace cli
