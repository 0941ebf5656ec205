// Writing vCard text: unchanged cards and lines as they were read, changed ones anew, folded at 75 octets.
#include "providers/vcard/vcard_card.h"

#include <cctype>

namespace vcard {

namespace {

constexpr size_t kFoldOctets = 75;

bool NeedsQuotes(const std::string &s) { return s.find_first_of(":;,") != std::string::npos; }

// A double quote can't stand inside a parameter value; a stray one would swallow the separators after it.
std::string ParamText(const std::string &s) {
    std::string r(s);
    for (char &c : r)
        if (c == '"') c = '\'';
    return r;
}

// A name as a parameter name may be spelled; a broken one read from a file (a stray quote took its separators)
// must not take the following parameters with it when written anew.
std::string ParamName(const std::string &s) {
    std::string r(s);
    for (char &c : r)
        if (!(std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_')) c = '-';
    return r;
}

std::string Head(const VProperty &prop) {
    std::string s;
    if (!prop.sGroup.empty()) s += prop.sGroup + ".";
    s += prop.sName;
    for (const VParam &p : prop.params) {
        s += ';';
        if (!p.sName.empty()) s += ParamName(p.sName) + "=";
        for (size_t i = 0; i < p.values.size(); ++i) {
            if (i) s += ',';
            std::string sValue = ParamText(p.values[i]);
            if (!p.sName.empty() && NeedsQuotes(sValue)) s += "\"" + sValue + "\"";
            else s += sValue;
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
        if (nCol == 0 && (sValue[i] == ' ' || sValue[i] == '\t')) {
            // A line that starts with white space would read as a folded one: encode it.
            r += sValue[i] == ' ' ? "=20" : "=09";
            nCol = 3;
            ++i;
            continue;
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

namespace {

// A quoted-printable value that ends in a soft line break with nothing after it (a broken card's last line)
// would take the next line in: such a property must stay last.
bool IsDangling(const VProperty &p) { return p.IsQuotedPrintable() && !p.sValue.empty() && p.sValue.back() == '='; }

} // namespace

std::string WriteCard(const VCard &card) {
    if (!card.sRaw.empty()) return card.sRaw;
    std::string s = card.sBeginRaw.empty() ? "BEGIN:VCARD" + card.sEol : card.sBeginRaw;
    std::vector<const VProperty *> dangling;
    for (const VProperty &p : card.props) {
        if (IsDangling(p)) dangling.push_back(&p);
        else s += WriteProperty(p, card.sEol);
    }
    for (size_t i = 0; i < dangling.size(); ++i) {
        if (i + 1 == dangling.size()) {
            s += WriteProperty(*dangling[i], card.sEol);
            break;
        }
        // Only one can stand last; the others spell their final "=" out, which decodes the same.
        VProperty p = *dangling[i];
        p.sRaw.clear();
        p.sValue += "3D";
        s += WriteProperty(p, card.sEol);
    }
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
