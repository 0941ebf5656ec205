// Plain text tables for a terminal: columns as wide as their widest cell (counted in characters, not bytes), long
// cells cut with "...", control characters shown as spaces.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

class CTable {
public:
    explicit CTable(std::vector<std::string> header, size_t nMaxWidth = 40);
    void AddRow(std::vector<std::string> cells);
    // A line of its own between rows, not cut to the columns.
    void AddNote(std::string strNote);
    void Print(std::FILE *pOut) const;

private:
    struct Row {
        std::vector<std::string> cells;
        std::string strNote;
    };
    std::vector<std::string> m_Header;
    std::vector<Row> m_Rows;
    size_t m_nMaxWidth;
};

// Number of characters of a UTF-8 text.
size_t DisplayWidth(const std::string &str);
// The text on one line, cut to nWidth characters with "..." at the end if it was longer.
std::string Fit(const std::string &str, size_t nWidth);
// "1234" -> "1.2 KB"; negative -> "".
std::string HumanSize(int64_t nBytes);
