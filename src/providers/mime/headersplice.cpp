#include "providers/mime/headersplice.h"

#include "providers/mime/gmimeutil.h"

namespace {

struct Field {
    std::string strName; // empty for a line that is no header
    std::string strText; // the line and its continuation lines, with their line ends
};

bool IsBlankLine(const std::string &strLine) { return strLine == "\n" || strLine == "\r\n"; }

std::string FieldName(const std::string &strLine) {
    size_t nColon = strLine.find(':');
    if (nColon == std::string::npos) return std::string();
    std::string strName = strLine.substr(0, nColon);
    size_t nLast = strName.find_last_not_of(" \t");
    return nLast == std::string::npos ? std::string() : strName.substr(0, nLast + 1);
}

} // namespace

size_t MimeFindHeaderBlockEnd(std::string_view sv, size_t nFrom) {
    if (sv.starts_with('\n')) return 1;
    if (sv.starts_with("\r\n")) return 2;
    // A line end up to two bytes before nFrom may begin an empty line that the new bytes complete.
    for (size_t nPos = sv.find('\n', nFrom > 2 ? nFrom - 2 : 0); nPos != std::string_view::npos;
         nPos = sv.find('\n', nPos + 1)) {
        if (sv.substr(nPos + 1, 1) == "\n") return nPos + 2;
        if (sv.substr(nPos + 1, 2) == "\r\n") return nPos + 3;
    }
    return std::string_view::npos;
}

size_t MimeHeaderBlockEnd(const std::string &str) {
    size_t nEnd = MimeFindHeaderBlockEnd(str);
    return nEnd == std::string::npos ? str.size() : nEnd;
}

std::string MimeSpliceHeaders(const std::string &strSource, const std::vector<MimeHeaderEdit> &rgEdits,
                              bool bHeaderless) {
    size_t nEnd = bHeaderless ? 0 : MimeHeaderBlockEnd(strSource);
    std::vector<Field> rgFields;
    std::string strSeparator; // the empty line that ends the block, if there is one
    for (size_t nPos = 0; nPos < nEnd;) {
        size_t nEol = strSource.find('\n', nPos);
        size_t nNext = nEol == std::string::npos || nEol >= nEnd ? nEnd : nEol + 1;
        std::string strLine = strSource.substr(nPos, nNext - nPos);
        nPos = nNext;
        if (IsBlankLine(strLine) && nPos == nEnd) strSeparator = strLine;
        else if (!rgFields.empty() && (strLine[0] == ' ' || strLine[0] == '\t')) rgFields.back().strText += strLine;
        else rgFields.push_back(Field{FieldName(strLine), strLine});
    }
    if (!rgFields.empty() && rgFields.back().strText.back() != '\n')
        rgFields.back().strText += strSource.find("\r\n") != std::string::npos ? "\r\n" : "\n";

    for (const MimeHeaderEdit &edit : rgEdits) {
        size_t nInsert = rgFields.size();
        std::vector<Field> rgKept;
        for (Field &field : rgFields) {
            if (MimeEqualNoCase(field.strName, edit.strName)) {
                if (nInsert == rgFields.size()) nInsert = rgKept.size();
                continue;
            }
            rgKept.push_back(std::move(field));
        }
        if (nInsert > rgKept.size()) nInsert = rgKept.size();
        for (const std::string &strRow : edit.rgRows)
            rgKept.insert(rgKept.begin() + static_cast<std::ptrdiff_t>(nInsert++), Field{edit.strName, strRow});
        rgFields = std::move(rgKept);
    }

    std::string strOut;
    strOut.reserve(strSource.size() + 256);
    for (const Field &field : rgFields) strOut += field.strText;
    if (strSeparator.empty() && (bHeaderless || nEnd < strSource.size()))
        strSeparator = strSource.find("\r\n") != std::string::npos ? "\r\n" : "\n";
    strOut += strSeparator;
    strOut.append(strSource, nEnd, std::string::npos);
    return strOut;
}
