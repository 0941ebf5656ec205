#include "table.h"

#include <algorithm>

namespace {

bool IsContinuation(unsigned char ch) { return (ch & 0xC0) == 0x80; }

std::string OneLine(const std::string &str) {
    std::string strOut = str;
    for (char &ch : strOut)
        if (static_cast<unsigned char>(ch) < 0x20 || ch == 0x7F) ch = ' ';
    return strOut;
}

} // namespace

size_t DisplayWidth(const std::string &str) {
    size_t n = 0;
    for (unsigned char ch : str)
        if (!IsContinuation(ch)) ++n;
    return n;
}

std::string Fit(const std::string &str, size_t nWidth) {
    const std::string strLine = OneLine(str);
    if (DisplayWidth(strLine) <= nWidth) return strLine;
    const size_t nKeep = nWidth > 3 ? nWidth - 3 : 0;
    size_t nChars = 0, nBytes = 0;
    while (nBytes < strLine.size()) {
        if (!IsContinuation(static_cast<unsigned char>(strLine[nBytes]))) {
            if (nChars == nKeep) break;
            ++nChars;
        }
        ++nBytes;
    }
    return strLine.substr(0, nBytes) + "...";
}

std::string HumanSize(int64_t nBytes) {
    if (nBytes < 0) return std::string();
    if (nBytes < 1024) return std::to_string(nBytes) + " B";
    char sz[32];
    const double d = static_cast<double>(nBytes);
    if (nBytes < 1024 * 1024) std::snprintf(sz, sizeof sz, "%.1f KB", d / 1024);
    else std::snprintf(sz, sizeof sz, "%.1f MB", d / (1024 * 1024));
    return sz;
}

CTable::CTable(std::vector<std::string> header, size_t nMaxWidth)
    : m_Header(std::move(header)), m_nMaxWidth(nMaxWidth) {}

void CTable::AddRow(std::vector<std::string> cells) {
    cells.resize(m_Header.size());
    for (std::string &cell : cells) cell = Fit(cell, m_nMaxWidth);
    m_Rows.push_back(Row{std::move(cells), std::string()});
}

void CTable::AddNote(std::string strNote) { m_Rows.push_back(Row{{}, std::move(strNote)}); }

void CTable::Print(std::FILE *pOut) const {
    std::vector<size_t> widths(m_Header.size());
    for (size_t c = 0; c < m_Header.size(); ++c) widths[c] = DisplayWidth(m_Header[c]);
    for (const Row &row : m_Rows)
        for (size_t c = 0; c < row.cells.size(); ++c) widths[c] = std::max(widths[c], DisplayWidth(row.cells[c]));
    auto printCells = [&](const std::vector<std::string> &cells) {
        std::string strLine;
        for (size_t c = 0; c < cells.size(); ++c) {
            strLine += cells[c];
            if (c + 1 < cells.size()) strLine += std::string(widths[c] - DisplayWidth(cells[c]) + 2, ' ');
        }
        while (!strLine.empty() && strLine.back() == ' ') strLine.pop_back();
        std::fprintf(pOut, "%s\n", strLine.c_str());
    };
    printCells(m_Header);
    for (const Row &row : m_Rows) {
        if (row.cells.empty()) std::fprintf(pOut, "%s\n", row.strNote.c_str());
        else printCells(row.cells);
    }
}
