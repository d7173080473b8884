// Tables for people: columns as wide as they need, headings bold and colour only on a terminal.
#pragma once

#include <string>
#include <vector>

struct libscols_table;

namespace cli {

/// Whether text for people may carry colour: a terminal, and NO_COLOR unset or empty.
bool ColourWanted();

class Table {
public:
    enum class Align { kLeft, kRight };
    struct Column {
        std::string name;
        Align align = Align::kLeft;
    };

    explicit Table(const std::vector<Column>& columns);
    Table(const Table&) = delete;
    Table& operator=(const Table&) = delete;
    ~Table();

    void AddRow(const std::vector<std::string>& cells);
    void Print() const;

private:
    libscols_table* m_table;
};

}  // namespace cli
