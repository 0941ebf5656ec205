#include "wab_fixture.h"

#include <cctype>
#include <sstream>

namespace {

// The length of "dd/mm/yyyy hh:mm:ss " if the line starts with it, else 0.
size_t StampLength(const std::string &strLine) {
    const std::string strShape = "##/##/#### ##:##:## ";
    if (strLine.size() < strShape.size()) return 0;
    for (size_t i = 0; i < strShape.size(); ++i) {
        bool bDigit = std::isdigit(static_cast<unsigned char>(strLine[i])) != 0;
        if (strShape[i] == '#' ? !bDigit : strLine[i] != strShape[i]) return 0;
    }
    return strShape.size();
}

} // namespace

std::string LoggedText(const testsupport::CLogCapture &log) {
    std::istringstream in(log.Text());
    std::string strText, strLine;
    while (std::getline(in, strLine))
        strText += strLine.substr(StampLength(strLine)) + "\n";
    return strText;
}
