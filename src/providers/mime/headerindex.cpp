#include "providers/mime/headerindex.h"

#include <glib.h>

namespace {

bool IsNameChar(unsigned char ch) { return ch > ' ' && ch < 127 && ch != ':'; }

} // namespace

bool CMimeHeaderIndex::Build(const std::string &strSource, size_t nEnd) {
    Clear();
    if (nEnd > strSource.size()) return false;
    const char *p = strSource.data();
    for (size_t i = 0; i < nEnd; ++i) {
        unsigned char ch = static_cast<unsigned char>(p[i]);
        // 8-bit text goes through GMime's charset fallbacks; a bare CR or a NUL through its own line rules.
        if (ch >= 0x80 || ch == 0 || (ch == '\r' && (i + 1 >= nEnd || p[i + 1] != '\n'))) return false;
    }
    size_t nPos = 0;
    while (nPos < nEnd) {
        if (p[nPos] == '\n' || (p[nPos] == '\r' && nPos + 1 < nEnd && p[nPos + 1] == '\n')) break; // the blank line
        size_t nName = nPos;
        while (nPos < nEnd && IsNameChar(static_cast<unsigned char>(p[nPos]))) ++nPos;
        // A line that is no "Name:" (a continuation without a field, an mbox "From " line, "Name :") is left to
        // GMime.
        if (nPos == nName || nPos >= nEnd || p[nPos] != ':') {
            Clear();
            return false;
        }
        size_t nValue = nPos + 1;
        // The field runs on over the lines that begin with a blank.
        size_t nLineEnd = nPos;
        for (;;) {
            size_t nl = strSource.find('\n', nLineEnd);
            nLineEnd = nl == std::string::npos || nl >= nEnd ? nEnd : nl + 1;
            if (nLineEnd >= nEnd || (p[nLineEnd] != ' ' && p[nLineEnd] != '\t')) break;
        }
        m_rgFields.push_back(Field{std::string_view(p + nName, nValue - 1 - nName),
                                   std::string_view(p + nValue, nLineEnd - nValue)});
        nPos = nLineEnd;
    }
    m_bValid = true;
    return true;
}

const CMimeHeaderIndex::Field *CMimeHeaderIndex::Find(std::string_view svName) const {
    for (const Field &field : m_rgFields)
        if (field.svName.size() == svName.size() &&
            g_ascii_strncasecmp(field.svName.data(), svName.data(), svName.size()) == 0)
            return &field;
    return nullptr;
}
