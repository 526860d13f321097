// SPDX-License-Identifier: MIT
#ifndef ORSEL_CLI_TABLE_H
#define ORSEL_CLI_TABLE_H

#include <string>
#include <utility>
#include <vector>

namespace orselcli {

class Console;

/// Rows of text in columns that fit the terminal: where they do not, the widest columns give way.
class Table {
public:
    explicit Table(std::vector<std::string> headings);

    /// As many cells as there are headings.
    void Add(std::vector<std::string> cells);
    void PrintTo(Console& console) const;

    /// The lines, the headings first; a width of 0 is no limit.
    std::vector<std::string> Lines(size_t width) const;

private:
    std::vector<size_t> ColumnWidths(size_t width) const;

    std::vector<std::vector<std::string>> m_Rows;
};

/// Names and values below each other, the values lined up. A value that does not fit the width goes on below
/// itself, broken at blanks; a width of 0 is no limit.
std::string Fields(const std::vector<std::pair<std::string, std::string>>& fields, size_t width = 0);

} // namespace orselcli

#endif
