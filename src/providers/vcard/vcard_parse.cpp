// Parsing of vCard files: physical lines, card boundaries, unfolding (and 2.1 quoted-printable soft breaks), and
// content lines with groups and parameters.
#include <cctype>

#include "providers/vcard/vcard_card.h"
#include "providers/vcard/vcard_value.h"

namespace vcard {

namespace {

struct Line {
    std::string_view sText; // without line end
    std::string_view sFull; // with line end
};

std::vector<Line> SplitLines(std::string_view s) {
    std::vector<Line> lines;
    size_t n = 0;
    while (n < s.size()) {
        size_t e = s.find('\n', n);
        size_t next = e == std::string_view::npos ? s.size() : e + 1;
        size_t textEnd = e == std::string_view::npos ? s.size() : e;
        if (textEnd > n && s[textEnd - 1] == '\r') --textEnd;
        lines.push_back({s.substr(n, textEnd - n), s.substr(n, next - n)});
        n = next;
    }
    return lines;
}

std::string TrimRight(std::string_view s) {
    size_t e = s.size();
    while (e > 0 && (s[e - 1] == ' ' || s[e - 1] == '\t')) --e;
    return std::string(s.substr(0, e));
}

bool IsMarker(std::string_view sText, std::string_view sMarker) { return EqualNoCase(TrimRight(sText), sMarker); }

bool IsNameChar(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_'; }

// Splits "a;b=\"x;y\";c" at the separators that are outside double quotes.
std::vector<std::string_view> SplitOutsideQuotes(std::string_view s, char cSep) {
    std::vector<std::string_view> parts;
    bool bQuoted = false;
    size_t nStart = 0;
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '"') bQuoted = !bQuoted;
        else if (s[i] == cSep && !bQuoted) {
            parts.push_back(s.substr(nStart, i - nStart));
            nStart = i + 1;
        }
    }
    parts.push_back(s.substr(nStart));
    return parts;
}

std::string Unquote(std::string_view s) {
    if (s.size() >= 2 && s.front() == '"' && s.back() == '"') return std::string(s.substr(1, s.size() - 2));
    return std::string(s);
}

// The head of a content line (everything before the value) into group, name and parameters.
bool ParseHead(std::string_view sHead, VProperty *pProp) {
    std::vector<std::string_view> parts = SplitOutsideQuotes(sHead, ';');
    std::string_view sName = parts[0];
    size_t nDot = sName.find('.');
    if (nDot != std::string_view::npos) {
        pProp->sGroup = std::string(sName.substr(0, nDot));
        sName = sName.substr(nDot + 1);
    }
    while (!sName.empty() && (sName.back() == ' ' || sName.back() == '\t')) sName.remove_suffix(1);
    if (sName.empty()) return false;
    for (char c : sName)
        if (!IsNameChar(c)) return false;
    pProp->sName = UpperAscii(sName);
    for (size_t i = 1; i < parts.size(); ++i) {
        std::string_view sParam = parts[i];
        if (sParam.empty()) continue;
        VParam param;
        size_t nEq = sParam.find('=');
        if (nEq == std::string_view::npos) {
            param.values.push_back(TrimRight(sParam));
        } else {
            param.sName = UpperAscii(TrimRight(sParam.substr(0, nEq)));
            for (std::string_view v : SplitOutsideQuotes(sParam.substr(nEq + 1), ','))
                param.values.push_back(Unquote(v));
        }
        pProp->params.push_back(std::move(param));
    }
    return true;
}

// One logical line into a property; false if it is no content line.
bool ParseLogical(std::string_view sLine, VProperty *pProp) {
    bool bQuoted = false;
    for (size_t i = 0; i < sLine.size(); ++i) {
        if (sLine[i] == '"') bQuoted = !bQuoted;
        else if (sLine[i] == ':' && !bQuoted) {
            if (!ParseHead(sLine.substr(0, i), pProp)) return false;
            pProp->sValue = std::string(sLine.substr(i + 1));
            return true;
        }
    }
    // A value with an unbalanced quote in a parameter: take the first colon after all.
    size_t nColon = sLine.find(':');
    if (nColon == std::string_view::npos) return false;
    pProp->params.clear();
    if (!ParseHead(sLine.substr(0, nColon), pProp)) return false;
    pProp->sValue = std::string(sLine.substr(nColon + 1));
    return true;
}

bool IsFoldContinuation(std::string_view sText) { return !sText.empty() && (sText[0] == ' ' || sText[0] == '\t'); }

// Turns the physical lines of one card's body into properties; false at the first line that is no content line.
// *pnBad gets the index of that line.
bool ParseBody(const std::vector<Line> &lines, size_t nFirst, size_t nEnd, VCard *pCard, size_t *pnBad) {
    size_t i = nFirst;
    while (i < nEnd) {
        if (TrimRight(lines[i].sText).empty()) {
            // A blank line stays where it was, as part of what precedes it.
            std::string &sPrev = pCard->props.empty() ? pCard->sBeginRaw : pCard->props.back().sRaw;
            sPrev += lines[i].sFull;
            ++i;
            continue;
        }
        VProperty prop;
        std::string sLogical(lines[i].sText);
        std::string sRaw(lines[i].sFull);
        size_t j = i + 1;
        while (j < nEnd && IsFoldContinuation(lines[j].sText)) {
            sLogical += lines[j].sText.substr(1);
            sRaw += lines[j].sFull;
            ++j;
        }
        if (!ParseLogical(sLogical, &prop)) {
            *pnBad = i;
            return false;
        }
        // 2.1 quoted-printable: a value ending in "=" goes on in the next line, which is not indented.
        if (prop.IsQuotedPrintable()) {
            while (!prop.sValue.empty() && prop.sValue.back() == '=' && j < nEnd) {
                prop.sValue.pop_back();
                std::string_view sNext = lines[j].sText;
                prop.sValue += sNext;
                sRaw += lines[j].sFull;
                ++j;
            }
        }
        prop.sRaw = std::move(sRaw);
        if (prop.sName == "VERSION") pCard->sVersion = TrimRight(prop.sValue);
        pCard->props.push_back(std::move(prop));
        i = j;
    }
    return true;
}

bool IsAgentStart(const std::vector<Line> &lines, size_t nBegin, size_t nLine) {
    // An embedded 2.1 card follows an AGENT line directly.
    if (nLine == nBegin + 1) return false;
    std::string_view sPrev = lines[nLine - 1].sText;
    std::string sUpper = UpperAscii(sPrev.substr(0, std::min<size_t>(sPrev.size(), 64)));
    size_t nDot = sUpper.find('.');
    size_t nAgent = sUpper.find("AGENT");
    return nAgent == 0 || (nDot != std::string::npos && nAgent == nDot + 1);
}

std::string Join(const std::vector<Line> &lines, size_t nFrom, size_t nTo) {
    std::string s;
    for (size_t i = nFrom; i < nTo; ++i) s += lines[i].sFull;
    return s;
}

} // namespace

VFile ParseFile(std::string_view sText, std::vector<VProblem> *pProblems) {
    VFile file;
    std::string sVerbatim;
    // A byte order mark stays in front of everything, as it was.
    constexpr std::string_view kBom = "\xEF\xBB\xBF";
    if (sText.substr(0, kBom.size()) == kBom) {
        sVerbatim = std::string(kBom);
        sText.remove_prefix(kBom.size());
    }
    std::vector<Line> lines = SplitLines(sText);
    auto flushVerbatim = [&]() {
        if (sVerbatim.empty()) return;
        VChunk chunk;
        chunk.sText = std::move(sVerbatim);
        file.chunks.push_back(std::move(chunk));
        sVerbatim.clear();
    };
    auto problem = [&](size_t nLine, const char *pszWhat) {
        if (pProblems) pProblems->push_back({static_cast<int>(nLine + 1), pszWhat});
    };
    size_t i = 0;
    while (i < lines.size()) {
        if (!IsMarker(lines[i].sText, "BEGIN:VCARD")) {
            if (!TrimRight(lines[i].sText).empty()) {
                // Text outside any card: kept, and reported once per run of such lines.
                if (i == 0 || sVerbatim.empty() || TrimRight(lines[i - 1].sText).empty())
                    problem(i, "text outside a card");
            }
            sVerbatim += lines[i].sFull;
            ++i;
            continue;
        }
        // Find the matching END:VCARD; an embedded agent card nests.
        size_t nBegin = i;
        size_t nEnd = std::string_view::npos;
        int nDepth = 0;
        size_t nRestart = std::string_view::npos;
        for (size_t j = i + 1; j < lines.size(); ++j) {
            if (IsMarker(lines[j].sText, "BEGIN:VCARD")) {
                if (IsAgentStart(lines, nBegin, j)) {
                    ++nDepth;
                } else {
                    nRestart = j; // the card never ended; another one starts here
                    break;
                }
            } else if (IsMarker(lines[j].sText, "END:VCARD")) {
                if (nDepth == 0) {
                    nEnd = j;
                    break;
                }
                --nDepth;
            }
        }
        if (nEnd == std::string_view::npos) {
            size_t nStop = nRestart == std::string_view::npos ? lines.size() : nRestart;
            problem(nBegin, "card without END:VCARD");
            sVerbatim += Join(lines, nBegin, nStop);
            i = nStop;
            continue;
        }
        VChunk chunk;
        chunk.bCard = true;
        VCard &card = chunk.card;
        card.nLine = static_cast<int>(nBegin + 1);
        std::string_view sBeginFull = lines[nBegin].sFull;
        card.sEol = sBeginFull.size() >= 2 && sBeginFull.substr(sBeginFull.size() - 2) == "\r\n" ? "\r\n" : "\n";
        card.sBeginRaw = std::string(sBeginFull);
        card.sEndRaw = std::string(lines[nEnd].sFull);
        // The lines of an embedded card belong to the AGENT property before them: fold them into its raw text by
        // parsing only the outer lines.
        std::vector<Line> body;
        int nInner = 0;
        for (size_t j = nBegin + 1; j < nEnd; ++j) {
            bool bStart = IsMarker(lines[j].sText, "BEGIN:VCARD");
            if (nInner > 0 || bStart) {
                if (bStart) ++nInner;
                if (IsMarker(lines[j].sText, "END:VCARD")) --nInner;
                if (!body.empty()) {
                    // Keep the bytes with the line before; the value itself is not interpreted.
                    Line &prev = body.back();
                    prev.sFull = std::string_view(prev.sFull.data(), prev.sFull.size() + lines[j].sFull.size());
                }
                continue;
            }
            body.push_back(lines[j]);
        }
        size_t nBad = 0;
        if (!ParseBody(body, 0, body.size(), &card, &nBad)) {
            // The line number in the file, not in the body without embedded cards.
            size_t nLineNo = nBegin;
            for (size_t k = nBegin; k <= nEnd; ++k)
                if (lines[k].sText.data() == body[nBad].sText.data()) nLineNo = k;
            problem(nLineNo, "line is no content line");
            sVerbatim += Join(lines, nBegin, nEnd + 1);
            i = nEnd + 1;
            continue;
        }
        card.sRaw = Join(lines, nBegin, nEnd + 1);
        flushVerbatim();
        file.chunks.push_back(std::move(chunk));
        i = nEnd + 1;
    }
    flushVerbatim();
    return file;
}

bool ParseContentLines(std::string_view sText, std::vector<VProperty> *pProps) {
    std::vector<Line> lines = SplitLines(sText);
    VCard card;
    size_t nBad = 0;
    if (!ParseBody(lines, 0, lines.size(), &card, &nBad)) return false;
    for (VProperty &prop : card.props) {
        prop.sRaw.clear(); // written anew in the card that takes them
        pProps->push_back(std::move(prop));
    }
    return true;
}

} // namespace vcard
