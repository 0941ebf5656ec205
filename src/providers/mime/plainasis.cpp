#include "providers/mime/plainasis.h"

#include <cstring>
#include <string>

#include "providers/mime/gmimeutil.h"
#include "providers/mime/plaintype.h"

namespace {

std::string_view Trimmed(std::string_view sv) {
    while (!sv.empty() && g_ascii_isspace(sv.front())) sv.remove_prefix(1);
    while (!sv.empty() && g_ascii_isspace(sv.back())) sv.remove_suffix(1);
    return sv;
}

bool IsOneOf(std::string_view sv, std::initializer_list<const char *> rgNames) {
    for (const char *pszName : rgNames)
        if (MimeEqualNoCase(sv, pszName)) return true;
    return false;
}

size_t CountFields(const CMimeHeaderIndex &index, std::string_view svName) {
    size_t n = 0;
    for (const CMimeHeaderIndex::Field &field : index.Fields())
        if (MimeEqualNoCase(field.svName, svName)) ++n;
    return n;
}

// Whether a part's fields leave its content as it is stored: one type at most, no transfer encoding but an
// identity one, no disposition.
bool ContentAsStored(const CMimeHeaderIndex &index) {
    if (CountFields(index, "Content-Type") > 1 || CountFields(index, "Content-Transfer-Encoding") > 1 ||
        index.Find("Content-Disposition"))
        return false;
    const CMimeHeaderIndex::Field *pEncoding = index.Find("Content-Transfer-Encoding");
    return !pEncoding || IsOneOf(Trimmed(pEncoding->svValue), {"7bit", "8bit", "binary"});
}

// Content that GMime hands out as text unchanged: UTF-8 without NUL. Empty content is left to GMime.
bool IsTextAsIs(std::string_view sv) { return !sv.empty() && MimeIsUtf8(sv); }

// Whether GMime's delimiter lines of this boundary are found by plain byte comparison: not for an empty one, nor
// for one with blanks, controls or 8-bit bytes, nor for one longer than any sender may make it.
bool IsPlainBoundary(std::string_view svBoundary) {
    if (svBoundary.empty() || svBoundary.size() > 70) return false;
    for (char ch : svBoundary)
        if (ch <= ' ' || ch >= 127) return false;
    return true;
}

// What a line is to a multipart: "--boundary", or "--boundary--" for the last, each followed by blanks at most.
enum class Delimiter { None, Next, Last, Unsure };

Delimiter DelimiterOf(std::string_view svLine, std::string_view svBoundary) {
    if (!svLine.starts_with("--") || svLine.substr(2, svBoundary.size()) != svBoundary) return Delimiter::None;
    std::string_view svRest = svLine.substr(2 + svBoundary.size());
    if (svRest.ends_with('\r')) svRest.remove_suffix(1);
    bool bLast = svRest.starts_with("--");
    if (bLast) svRest.remove_prefix(2);
    if (svRest.find_first_not_of(" \t") == std::string_view::npos) return bLast ? Delimiter::Last : Delimiter::Next;
    // A longer boundary that begins with this one; but control bytes after it may count as blanks.
    for (char ch : svRest)
        if (static_cast<unsigned char>(ch) < ' ' || ch == 127) return Delimiter::Unsure;
    return Delimiter::None;
}

// The lines of a body, one after the other: each without its LF, the last one maybe without one.
class CLines {
public:
    explicit CLines(std::string_view sv, size_t nFrom) : m_sv(sv), m_nNext(nFrom) {}
    // False at the end of the bytes.
    bool Next() {
        if (m_nNext >= m_sv.size()) return false;
        m_nStart = m_nNext;
        const void *pLf = std::memchr(m_sv.data() + m_nStart, '\n', m_sv.size() - m_nStart);
        m_bEnded = pLf != nullptr;
        size_t nEnd = m_bEnded ? static_cast<const char *>(pLf) - m_sv.data() : m_sv.size();
        m_svLine = m_sv.substr(m_nStart, nEnd - m_nStart);
        m_nNext = m_bEnded ? nEnd + 1 : nEnd;
        return true;
    }
    std::string_view Line() const { return m_svLine; }
    size_t Start() const { return m_nStart; }
    size_t After() const { return m_nNext; } // where the next line begins
    bool Ended() const { return m_bEnded; }  // the line has its LF

private:
    std::string_view m_sv;
    std::string_view m_svLine;
    size_t m_nStart = 0;
    size_t m_nNext;
    bool m_bEnded = false;
};

// Moves to the next delimiter line; false at the end of the bytes or on a line that might be one.
bool FindDelimiter(CLines &lines, std::string_view svBoundary, Delimiter *pFound) {
    while (lines.Next()) {
        *pFound = DelimiterOf(lines.Line(), svBoundary);
        if (*pFound == Delimiter::Unsure) return false;
        if (*pFound != Delimiter::None) return true;
    }
    return false;
}

} // namespace

std::string_view MimeFindPlainBodyAsIs(const CMimeHeaderIndex &index, std::string_view svBody) {
    if (!ContentAsStored(index)) return {};
    // Without a Content-Type the body is GMime's default, text/plain without a charset.
    const CMimeHeaderIndex::Field *pType = index.Find("Content-Type");
    std::string strBoundary;
    if (!pType || MimeReadTopType(pType->svValue, &strBoundary))
        return IsTextAsIs(svBody) ? svBody : std::string_view();
    return IsPlainBoundary(strBoundary) ? MimeFindMixedPlainBody(svBody, strBoundary) : std::string_view();
}

std::string_view MimeFindMixedPlainBody(std::string_view svBody, std::string_view svBoundary) {
    // The preamble runs up to the first delimiter line; the first part begins after it.
    CLines lines(svBody, 0);
    Delimiter found = Delimiter::None;
    if (!FindDelimiter(lines, svBoundary, &found) || found != Delimiter::Next || !lines.Ended()) return {};
    size_t nPart = lines.After();
    // Its header block: field lines up to an empty line, no delimiter among them.
    for (;;) {
        if (!lines.Next() || !lines.Ended()) return {};
        if (lines.Line().empty() || lines.Line() == "\r") break;
        if (DelimiterOf(lines.Line(), svBoundary) != Delimiter::None) return {};
    }
    size_t nContent = lines.After();
    std::string strHead(svBody.substr(nPart, nContent - nPart)); // the index points into it
    CMimeHeaderIndex index;
    if (!index.Build(strHead, strHead.size())) return {};
    // A text part with a name is a file; without a type in a multipart/mixed it is text/plain.
    const CMimeHeaderIndex::Field *pType = index.Find("Content-Type");
    if (!ContentAsStored(index) || (pType && !MimeIsPlainUtf8Type(pType->svValue, true))) return {};
    // The content ends at the next delimiter line, less the line end before it, which belongs to the delimiter.
    // GMime counts that line end as long as the delimiter line's own: CRLF if that ends in CR, else LF. Where the
    // bytes before it are not such a line end, what GMime cuts off is left to it.
    if (!FindDelimiter(lines, svBoundary, &found)) return {};
    std::string_view svLineEnd = lines.Line().ends_with('\r') ? "\r\n" : "\n";
    std::string_view svText = svBody.substr(nContent, lines.Start() - nContent);
    if (!svText.ends_with(svLineEnd)) return {};
    svText.remove_suffix(svLineEnd.size());
    return IsTextAsIs(svText) ? svText : std::string_view();
}
