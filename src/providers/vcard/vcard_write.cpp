// Writing vCard text: unchanged cards and lines as they were read, changed ones anew, folded at 75 octets.
#include "providers/vcard/vcard_card.h"

namespace vcard {

namespace {

constexpr size_t kFoldOctets = 75;

bool NeedsQuotes(const std::string &s) { return s.find_first_of(":;,") != std::string::npos; }

std::string Head(const VProperty &prop) {
    std::string s;
    if (!prop.sGroup.empty()) s += prop.sGroup + ".";
    s += prop.sName;
    for (const VParam &p : prop.params) {
        s += ';';
        if (!p.sName.empty()) s += p.sName + "=";
        for (size_t i = 0; i < p.values.size(); ++i) {
            if (i) s += ',';
            if (!p.sName.empty() && NeedsQuotes(p.values[i])) s += "\"" + p.values[i] + "\"";
            else s += p.values[i];
        }
    }
    return s;
}

// Length of the longest prefix of s[nFrom...] that fits in nRoom octets without splitting a UTF-8 sequence.
size_t FitUtf8(const std::string &s, size_t nFrom, size_t nRoom) {
    size_t n = std::min(nRoom, s.size() - nFrom);
    if (nFrom + n < s.size())
        while (n > 0 && (static_cast<unsigned char>(s[nFrom + n]) & 0xC0) == 0x80) --n;
    return n == 0 ? std::min<size_t>(1, s.size() - nFrom) : n;
}

std::string Fold(const std::string &sLine, const std::string &sEol) {
    std::string r;
    size_t n = 0;
    bool bFirst = true;
    while (n < sLine.size() || bFirst) {
        size_t nRoom = bFirst ? kFoldOctets : kFoldOctets - 1;
        size_t nTake = sLine.empty() ? 0 : FitUtf8(sLine, n, nRoom);
        if (!bFirst) r += ' ';
        r.append(sLine, n, nTake);
        r += sEol;
        n += nTake;
        bFirst = false;
    }
    return r;
}

// Quoted-printable lines break with a soft "=" and go on unindented; "=XX" is never split.
std::string FoldQuotedPrintable(const std::string &sHead, const std::string &sValue, const std::string &sEol) {
    std::string r = sHead + ":";
    size_t nCol = r.size();
    for (size_t i = 0; i < sValue.size();) {
        size_t nUnit = sValue[i] == '=' ? 3 : 1;
        if (nCol + nUnit > kFoldOctets - 1) {
            r += "=" + sEol;
            nCol = 0;
        }
        r.append(sValue, i, nUnit);
        nCol += nUnit;
        i += nUnit;
    }
    return r + sEol;
}

} // namespace

std::string LogicalLine(const VProperty &prop) { return Head(prop) + ":" + prop.sValue; }

std::string WriteProperty(const VProperty &prop, const std::string &sEol) {
    if (!prop.sRaw.empty()) return prop.sRaw;
    if (prop.IsQuotedPrintable()) return FoldQuotedPrintable(Head(prop), prop.sValue, sEol);
    return Fold(LogicalLine(prop), sEol);
}

std::string WriteCard(const VCard &card) {
    if (!card.sRaw.empty()) return card.sRaw;
    std::string s = card.sBeginRaw.empty() ? "BEGIN:VCARD" + card.sEol : card.sBeginRaw;
    for (const VProperty &p : card.props) s += WriteProperty(p, card.sEol);
    s += card.sEndRaw.empty() ? "END:VCARD" + card.sEol : card.sEndRaw;
    return s;
}

std::string WriteFile(const VFile &file) {
    std::string s;
    for (const VChunk &c : file.chunks) {
        if (c.bCard) {
            // A card after text that lacks a final line end must start on a line of its own (a byte order mark
            // is no such text).
            if (!s.empty() && s.back() != '\n' && s != "\xEF\xBB\xBF") s += c.card.sEol;
            s += WriteCard(c.card);
        } else {
            s += c.sText;
        }
    }
    return s;
}

} // namespace vcard
