// Tables for people.

#include "tool/table.h"

#include "check/output.h"

#include <algorithm>
#include <fmt/format.h>

namespace tool
{

// The columns that a text takes up on a terminal, as the library counts them when it pads a text.
static size_t shownWidth(const std::string &text)
{
    const size_t more = 2 * text.size();
    return more - (fmt::format("{:{}}", text, more).size() - text.size());
}

Table::Table(std::vector<Column> columns) : columns_(std::move(columns))
{
    std::vector<std::string> headings;
    for (const Column &column : columns_) {
        headings.emplace_back(column.heading);
    }
    rows_.push_back(headings);
}

void Table::add(const std::vector<std::string> &cells)
{
    rows_.push_back(cells);
    for (std::string &cell : rows_.back()) {
        cell = check::printable(cell);
    }
}

std::string Table::text() const
{
    std::vector<size_t> widths(columns_.size());
    for (const auto &row : rows_) {
        for (size_t i = 0; i < widths.size(); i++) {
            widths[i] = std::max(widths[i], shownWidth(row[i]));
        }
    }
    std::string text;
    for (const auto &row : rows_) {
        std::string line;
        for (size_t i = 0; i < widths.size(); i++) {
            line += columns_[i].align == Align::Right ? fmt::format("{:>{}}  ", row[i], widths[i])
                                                      : fmt::format("{:<{}}  ", row[i], widths[i]);
        }
        text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    }
    return rows_.size() > 1 ? text : "";
}

std::string listText(const std::vector<uint32_t> &numbers)
{
    return fmt::format("{}", fmt::join(numbers, " "));
}

} // namespace tool
