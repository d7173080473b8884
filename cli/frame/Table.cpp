#include "Table.h"

#include <libsmartcols/libsmartcols.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <new>

namespace cli {

bool ColourWanted() {
    const char* noColour = std::getenv("NO_COLOR");
    return isatty(STDOUT_FILENO) != 0 && (noColour == nullptr || *noColour == '\0');
}

Table::Table(const std::vector<Column>& columns) : m_table(scols_new_table()) {
    if (m_table == nullptr) {
        throw std::bad_alloc();
    }
    scols_table_enable_colors(m_table, ColourWanted() ? 1 : 0);
    for (const Column& column : columns) {
        const int flags = column.align == Align::kRight ? SCOLS_FL_RIGHT : 0;
        libscols_column* made = scols_table_new_column(m_table, column.name.c_str(), 0, flags);
        if (made != nullptr && ColourWanted()) {
            scols_cell_set_color(scols_column_get_header(made), "bold");
        }
    }
}

Table::~Table() {
    scols_unref_table(m_table);
}

void Table::AddRow(const std::vector<std::string>& cells) {
    libscols_line* line = scols_table_new_line(m_table, nullptr);
    if (line == nullptr) {
        throw std::bad_alloc();
    }
    for (std::size_t i = 0; i < cells.size(); ++i) {
        scols_line_set_data(line, i, cells[i].c_str());
    }
}

void Table::Print() const {
    char* text = nullptr;
    if (scols_print_table_to_string(m_table, &text) == 0 && text != nullptr) {
        std::cout << text;
        if (*text != '\0' && text[std::char_traits<char>::length(text) - 1] != '\n') {
            std::cout << '\n';
        }
    }
    std::free(text);
}

}  // namespace cli
