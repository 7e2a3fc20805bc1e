/*
 * Tables for people: columns with headings, as wide as what is in them.
 */
#ifndef TOOL_TABLE_H
#define TOOL_TABLE_H

#include <string>
#include <vector>

namespace tool
{

enum class Align { Left, Right };

struct Column {
    const char *heading;
    Align align = Align::Left;
};

class Table
{
public:
    explicit Table(std::vector<Column> columns);

    /* One cell for each column. What could steer a terminal is escaped. */
    void add(const std::vector<std::string> &cells);

    /* The headings and the rows; an empty text if there is no row. */
    std::string text() const;

private:
    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_; /* the first are the headings */
};

/* Numbers in a cell, separated by blanks. */
std::string listText(const std::vector<uint32_t> &numbers);

} // namespace tool

#endif
