// SPDX-License-Identifier: MIT
#include "cli/Table.h"

#include <algorithm>
#include <numeric>

#include "cli/Console.h"
#include "cli/Words.h"

namespace orselcli {

namespace {

constexpr size_t GAP = 2;
constexpr size_t NARROWEST = 4;

std::string Padded(const std::string& text, size_t columns) {
    const size_t taken = ColumnsOf(text);
    return taken < columns ? text + std::string(columns - taken, ' ') : text;
}

/// The text with a line's end and so many blanks in place of the blanks where a line would get too long.
std::string Broken(const std::string& text, size_t columns, size_t indent) {
    std::string result;
    size_t taken = 0;
    for (size_t begin = 0; begin < text.size();) {
        const size_t blank = std::min(text.find(' ', begin), text.size());
        const std::string word = text.substr(begin, blank - begin);
        const size_t wordColumns = ColumnsOf(word);
        if (taken != 0 && taken + 1 + wordColumns > columns) {
            result += "\n" + std::string(indent, ' ');
            taken = 0;
        } else if (begin != 0) {
            result += ' ';
            ++taken;
        }
        result += word;
        taken += wordColumns;
        begin = blank + 1;
    }
    return result;
}

} // namespace

Table::Table(std::vector<std::string> headings) {
    m_Rows.push_back(std::move(headings));
}

void Table::Add(std::vector<std::string> cells) {
    m_Rows.push_back(std::move(cells));
}

std::vector<size_t> Table::ColumnWidths(size_t width) const {
    std::vector<size_t> widths(m_Rows[0].size(), 0);
    for (const auto& row : m_Rows) {
        for (size_t i = 0; i < widths.size(); ++i) {
            widths[i] = std::max(widths[i], ColumnsOf(row[i]));
        }
    }
    size_t total = std::accumulate(widths.begin(), widths.end(), GAP * (widths.size() - 1));
    while (width != 0 && total > width) {
        const auto widest = std::max_element(widths.begin(), widths.end());
        if (*widest <= NARROWEST) {
            break;
        }
        --*widest;
        --total;
    }
    return widths;
}

std::vector<std::string> Table::Lines(size_t width) const {
    const std::vector<size_t> widths = ColumnWidths(width);
    std::vector<std::string> lines;
    for (const auto& row : m_Rows) {
        std::string line;
        for (size_t i = 0; i < widths.size(); ++i) {
            const std::string cell = CutTo(row[i], widths[i]);
            line += i + 1 < widths.size() ? Padded(cell, widths[i] + GAP) : cell;
        }
        lines.push_back(line.erase(line.find_last_not_of(' ') + 1));
    }
    return lines;
}

void Table::PrintTo(Console& console) const {
    const std::vector<std::string> lines = Lines(console.Width());
    for (size_t i = 0; i < lines.size(); ++i) {
        console.Print((i == 0 ? console.Strong(lines[i]) : lines[i]) + "\n");
    }
}

std::string Fields(const std::vector<std::pair<std::string, std::string>>& fields, size_t width) {
    size_t widest = 0;
    for (const auto& [name, value] : fields) {
        widest = std::max(widest, ColumnsOf(name));
    }
    const size_t indent = widest + 1 + GAP;
    std::string text;
    for (const auto& [name, value] : fields) {
        const bool hasRoom = width == 0 || width < indent + NARROWEST; // too narrow for anything better
        const std::string lines = hasRoom ? value : Broken(value, width - indent, indent);
        text += Padded(name + ":", indent);
        text += lines;
        text += '\n';
    }
    return text;
}

} // namespace orselcli
