// Tables for people. On a terminal a table fits its width: sentences are cut, single words and right-to-left
// names are not, and where even that is too wide each row becomes a block of lines. In a file or a pipe
// everything is whole.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "Look.h"
#include "Outcome.h"

namespace cli {

/// The command line's wishes; names of columns in any case.
struct TableOptions {
    std::vector<std::string> columns;  ///< in this order; empty: all
    std::string sort;                  ///< empty: as the verb has them
    bool headings = true;
};
TableOptions& TheTableOptions();

class Table {
public:
    enum class Align { kLeft, kRight };
    struct Column {
        std::string name;
        Align align = Align::kLeft;
    };
    using Columns = std::vector<Column>;

    struct Cell {
        Cell(std::string words, Tone itsTone = Tone::kPlain) : text(std::move(words)), tone(itsTone) {}
        Cell(const char* words) : text(words) {}
        Cell(const Json& words) : text(words.get<std::string>()) {}
        Cell(std::string words, std::optional<double> sortedBy) : text(std::move(words)), number(sortedBy) {}

        std::string text;
        Tone tone = Tone::kPlain;
        std::optional<double> number;  ///< what a size or another written-out number is sorted by
    };
    using Row = std::vector<Cell>;

    explicit Table(Columns columns);

    void AddRow(Row cells);

    /// Prints the chosen columns, below the caption if there is one. False, with nothing printed, when the
    /// table has none of them.
    bool Print(const std::string& caption = "") const;

private:
    std::vector<Row> SortedRows() const;

    Columns m_columns;
    std::vector<Row> m_rows;
};

/// Whether written names the column: "app id", "APP-ID" and "App_Id" do for "APP ID".
bool NamesColumn(const std::string& written, const std::string& column);

}  // namespace cli
