#include "Table.h"

#include <libsmartcols/libsmartcols.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <new>
#include <numeric>
#include <utility>

#include "Utf8Locale.h"

namespace cli {

namespace {

/// Fewer columns than these of a sentence say too little.
constexpr std::size_t kLeastOfSentence = 14;

// Around a right-to-left name: a terminal that orders such text then does so within the cell.
constexpr const char* kIsolate = "\xe2\x81\xa8";
constexpr const char* kIsolateEnd = "\xe2\x81\xa9";

char Folded(char c) {
    if (c == '-' || c == '_') {
        return ' ';
    }
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

/// Which column has that name; columns.size() when none has.
std::size_t IndexOf(const Table::Columns& columns, const std::string& written) {
    const auto found = std::find_if(columns.begin(), columns.end(), [&written](const Table::Column& column) {
        return NamesColumn(written, column.name);
    });
    return static_cast<std::size_t>(found - columns.begin());
}

std::optional<double> NumberOf(const Table::Cell& cell, Table::Align align) {
    if (cell.number || align != Table::Align::kRight) {
        return cell.number;
    }
    long long number = 0;
    const char* const end = cell.text.data() + cell.text.size();
    const auto [read, error] = std::from_chars(cell.text.data(), end, number);
    return error == std::errc() && read == end ? std::optional(static_cast<double>(number)) : std::nullopt;
}

/// Numbers by value and before what is none, the rest by its bytes.
bool IsBefore(const Table::Cell& a, const Table::Cell& b, Table::Align align) {
    const auto left = NumberOf(a, align);
    const auto right = NumberOf(b, align);
    if (left && right) {
        return *left < *right;
    }
    return left || right ? left.has_value() : a.text < b.text;
}

/// The columns that are shown, of all rows.
struct Chosen {
    Table::Columns columns;
    std::vector<Table::Row> rows;
};

Chosen Choose(const Table::Columns& columns, const std::vector<Table::Row>& rows) {
    const std::vector<std::string>& wanted = TheTableOptions().columns;
    if (wanted.empty()) {
        return {columns, rows};
    }
    Chosen shown;
    shown.rows.resize(rows.size());
    for (const std::string& name : wanted) {
        const std::size_t at = IndexOf(columns, name);
        if (at == columns.size()) {
            continue;  // of another table of the verb
        }
        shown.columns.push_back(columns[at]);
        for (std::size_t i = 0; i < rows.size(); ++i) {
            shown.rows[i].push_back(rows[i][at]);
        }
    }
    return shown;
}

/// Columns of the terminal that each column of a table takes, and needs at least.
struct Widths {
    std::vector<std::size_t> now;
    std::vector<std::size_t> least;

    /// With a blank between two columns.
    std::size_t Total() const { return std::accumulate(now.begin(), now.end(), now.size() - 1); }
};

bool MayBeCut(const std::string& text) {
    return text.find(' ') != std::string::npos && !IsRightToLeft(text);
}

Widths WidthsOf(const Chosen& shown) {
    Widths widths;
    for (std::size_t i = 0; i < shown.columns.size(); ++i) {
        const std::size_t heading = TheTableOptions().headings ? WidthOf(shown.columns[i].name) : 0;
        std::size_t now = heading;
        std::size_t least = heading;
        for (const Table::Row& row : shown.rows) {
            const std::size_t width = WidthOf(row[i].text);
            const bool isCut = shown.columns[i].align == Table::Align::kLeft && MayBeCut(row[i].text);
            now = std::max(now, width);
            least = std::max(least, isCut ? std::min(width, kLeastOfSentence) : width);
        }
        widths.now.push_back(now);
        widths.least.push_back(least);
    }
    return widths;
}

/// Takes from the widest column that has something to give, until the table fits. False when it cannot.
bool Fit(Widths& widths, std::size_t limit) {
    for (std::size_t total = widths.Total(); total > limit; --total) {
        std::size_t widest = widths.now.size();
        for (std::size_t i = 0; i < widths.now.size(); ++i) {
            const bool gives = widths.now[i] > widths.least[i];
            if (gives && (widest == widths.now.size() || widths.now[i] > widths.now[widest])) {
                widest = i;
            }
        }
        if (widest == widths.now.size()) {
            return false;
        }
        --widths.now[widest];
    }
    return true;
}

std::string Isolated(const std::string& text) {
    return IsForTerminal() && IsRightToLeft(text) ? kIsolate + text + kIsolateEnd : text;
}

void Complain(int result) {
    if (result != 0) {
        throw std::bad_alloc();
    }
}

using Columned = std::unique_ptr<libscols_table, decltype(&scols_unref_table)>;

Columned MakeTable() {
    Columned table(scols_new_table(), &scols_unref_table);
    Complain(table == nullptr ? 1 : 0);
    Complain(scols_table_set_termforce(table.get(), SCOLS_TERMFORCE_NEVER));  // it fits already
    Complain(scols_table_enable_colors(table.get(), ColourWanted() ? 1 : 0));
    Complain(scols_table_enable_noheadings(table.get(), TheTableOptions().headings ? 0 : 1));
    return table;
}

void AddColumn(libscols_table* table, const Table::Column& column) {
    const int flags = column.align == Table::Align::kRight ? SCOLS_FL_RIGHT : 0;
    libscols_column* const made = scols_table_new_column(table, column.name.c_str(), 0, flags);
    Complain(made == nullptr ? 1 : 0);
    Complain(scols_cell_set_color(scols_column_get_header(made), SequenceOf(Tone::kHeading)));
}

void AddLine(libscols_table* table, const Table::Row& row, const std::vector<std::size_t>& widths) {
    libscols_line* const line = scols_table_new_line(table, nullptr);
    Complain(line == nullptr ? 1 : 0);
    for (std::size_t i = 0; i < row.size(); ++i) {
        Complain(scols_line_set_data(line, i, Isolated(CutTo(row[i].text, widths[i])).c_str()));
        if (row[i].tone != Tone::kPlain) {
            Complain(scols_cell_set_color(scols_line_get_cell(line, i), SequenceOf(row[i].tone)));
        }
    }
}

void PrintTable(libscols_table* table) {
    char* written = nullptr;
    Complain(scols_print_table_to_string(table, &written));
    const std::unique_ptr<char, decltype(&std::free)> text(written, &std::free);
    if (text != nullptr && *text != '\0') {
        std::cout << text.get();
        if (text.get()[std::char_traits<char>::length(text.get()) - 1] != '\n') {
            std::cout << '\n';
        }
    }
}

void PrintColumns(const Chosen& shown, const Widths& widths) {
    const Columned table = MakeTable();
    for (const Table::Column& column : shown.columns) {
        AddColumn(table.get(), column);
    }
    for (const Table::Row& row : shown.rows) {
        AddLine(table.get(), row, widths.now);
    }
    PrintTable(table.get());
}

/// Each row as lines of its own, heading and cell.
void PrintBlocks(const Chosen& shown) {
    std::size_t width = 0;
    for (const Table::Column& column : shown.columns) {
        width = std::max(width, WidthOf(column.name));
    }
    for (std::size_t row = 0; row < shown.rows.size(); ++row) {
        std::cout << (row > 0 ? "\n" : "");
        for (std::size_t i = 0; i < shown.columns.size(); ++i) {
            const std::string& name = shown.columns[i].name;
            if (TheTableOptions().headings) {
                std::cout << Painted(name, Tone::kHeading) << std::string(width - WidthOf(name) + 2, ' ');
            }
            std::cout << Painted(Isolated(shown.rows[row][i].text), shown.rows[row][i].tone) << '\n';
        }
    }
}

}  // namespace

TableOptions& TheTableOptions() {
    static TableOptions options;
    return options;
}

bool NamesColumn(const std::string& written, const std::string& column) {
    return std::equal(written.begin(), written.end(), column.begin(), column.end(),
                      [](char a, char b) { return Folded(a) == Folded(b); });
}

Table::Table(Columns columns) : m_columns(std::move(columns)) {}

void Table::AddRow(Row cells) {
    m_rows.push_back(std::move(cells));
}

std::vector<Table::Row> Table::SortedRows() const {
    std::vector<Row> rows = m_rows;
    std::string name = TheTableOptions().sort;
    const bool isBackwards = !name.empty() && name.front() == '-';
    name.erase(0, isBackwards ? 1 : 0);
    const std::size_t at = IndexOf(m_columns, name);
    if (!name.empty() && at < m_columns.size()) {
        std::stable_sort(rows.begin(), rows.end(), [&](const Row& a, const Row& b) {
            return isBackwards ? IsBefore(b[at], a[at], m_columns[at].align)
                               : IsBefore(a[at], b[at], m_columns[at].align);
        });
    }
    return rows;
}

bool Table::Print(const std::string& caption) const {
    const Utf8Locale utf8;
    const Chosen shown = Choose(m_columns, SortedRows());
    if (shown.columns.empty()) {
        return false;
    }
    std::cout << caption;
    Widths widths = WidthsOf(shown);
    const std::size_t limit = TerminalWidth();
    if (limit == 0 || Fit(widths, limit)) {
        PrintColumns(shown, widths);
    } else {
        PrintBlocks(shown);
    }
    return true;
}

}  // namespace cli
