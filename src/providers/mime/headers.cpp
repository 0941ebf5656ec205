#include "providers/mime/headers.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "providers/mime/inetdate.h"

namespace {

bool IsContentHeader(const char *pszName) { return g_ascii_strncasecmp(pszName, "Content-", 8) == 0; }

bool IsValidHeaderName(const char *pszName) {
    if (!pszName || !*pszName) return false;
    for (const unsigned char *p = reinterpret_cast<const unsigned char *>(pszName); *p; p++)
        if (*p <= ' ' || *p >= 127 || *p == ':') return false;
    return true;
}

// Where a header of that name is written: Content-* headers of the root body belong to its part.
GMimeObject *TargetOf(const MimeHeaderScope &scope, const char *pszName) {
    if (scope.pMessage && !(scope.pPart && IsContentHeader(pszName))) return scope.pMessage;
    return scope.pPart;
}

void AppendRows(GMimeObject *pObject, std::vector<std::pair<gint64, MimeHeaderRow>> &rgRows) {
    if (!pObject) return;
    GMimeHeaderList *pList = g_mime_object_get_header_list(pObject);
    int cHeaders = pList ? g_mime_header_list_get_count(pList) : 0;
    for (int i = 0; i < cHeaders; i++) {
        GMimeHeader *pHeader = g_mime_header_list_get_header_at(pList, i);
        if (!pHeader) continue;
        MimeHeaderRow row;
        const char *pszRawName = g_mime_header_get_raw_name(pHeader);
        const char *pszRaw = g_mime_header_get_raw_value(pHeader);
        const char *pszValue = g_mime_header_get_value(pHeader);
        row.strName = g_mime_header_get_name(pHeader) ? g_mime_header_get_name(pHeader) : "";
        row.strRow = (pszRawName ? pszRawName : row.strName) + ":";
        row.strRow += pszRaw ? pszRaw : "";
        if (row.strRow.empty() || row.strRow.back() != '\n') row.strRow += "\r\n";
        row.strValue = pszValue ? pszValue : "";
        gint64 nOffset = g_mime_header_get_offset(pHeader);
        rgRows.emplace_back(nOffset < 0 ? G_MAXINT64 : nOffset, std::move(row));
    }
}

// Unfolding leaves the blanks around a value.
std::string Trimmed(const std::string &str) {
    size_t nFirst = str.find_first_not_of(" \t\r\n");
    size_t nLast = str.find_last_not_of(" \t\r\n");
    return nFirst == std::string::npos ? std::string() : str.substr(nFirst, nLast - nFirst + 1);
}

std::string Unfolded(const char *pszRaw) {
    GCharPtr pUnfolded(g_mime_utils_header_unfold(pszRaw ? pszRaw : ""));
    return pUnfolded ? pUnfolded.get() : "";
}

std::string WithName(const std::string &strValue, std::string_view svName, DWORD dwFlags) {
    if (!(dwFlags & PDF_NAMEINDATA)) return strValue;
    return std::string(svName) + ": " + strValue;
}

// The value in the form the flags ask for.
std::string ValueText(GMimeHeader *pHeader, DWORD dwFlags) {
    std::string str;
    if (dwFlags & PDF_ENCODED) {
        str = Unfolded(g_mime_header_get_raw_value(pHeader));
    } else {
        const char *pszValue = g_mime_header_get_value(pHeader);
        str = pszValue ? pszValue : "";
    }
    return WithName(Trimmed(str), g_mime_header_get_name(pHeader), dwFlags);
}

// The same from a field of an indexed block: the decoded form is what GMime gives for the field.
std::string ValueText(const CMimeHeaderIndex::Field &field, DWORD dwFlags) {
    std::string strUnfolded = Unfolded(std::string(field.svValue).c_str());
    std::string str;
    if (dwFlags & PDF_ENCODED) {
        str = strUnfolded;
    } else {
        GCharPtr pDecoded(g_mime_utils_header_decode_text(MimeParserOptions(), strUnfolded.c_str()));
        str = pDecoded ? pDecoded.get() : "";
    }
    return WithName(Trimmed(str), field.svName, dwFlags);
}

HRESULT ParseLeadingNumber(const std::string &str, LONG *pn) {
    const char *p = str.c_str();
    while (*p == ' ' || *p == '\t') p++;
    char *pEnd = nullptr;
    errno = 0;
    long n = std::strtol(p, &pEnd, 10);
    if (pEnd == p || errno == ERANGE || n < INT32_MIN || n > INT32_MAX) return MIME_E_VARTYPE_NO_CONVERT;
    *pn = static_cast<LONG>(n);
    return S_OK;
}

} // namespace

std::vector<MimeHeaderRow> MimeCollectHeaderRows(const MimeHeaderScope &scope) {
    std::vector<std::pair<gint64, MimeHeaderRow>> rgRows;
    AppendRows(scope.pMessage, rgRows);
    AppendRows(scope.pPart, rgRows);
    std::stable_sort(rgRows.begin(), rgRows.end(),
                     [](const auto &a, const auto &b) { return a.first < b.first; });
    std::vector<MimeHeaderRow> rgResult;
    rgResult.reserve(rgRows.size());
    for (auto &entry : rgRows) rgResult.push_back(std::move(entry.second));
    return rgResult;
}

GMimeHeader *MimeFindHeader(const MimeHeaderScope &scope, const char *pszName) {
    if (!pszName) return nullptr;
    for (GMimeObject *pObject : {scope.pMessage, scope.pPart}) {
        if (!pObject) continue;
        GMimeHeaderList *pList = g_mime_object_get_header_list(pObject);
        if (GMimeHeader *pHeader = pList ? g_mime_header_list_get_header(pList, pszName) : nullptr) return pHeader;
    }
    return nullptr;
}

namespace {

bool IsReadableVarType(VARTYPE vt) { return vt == VT_LPSTR || vt == VT_I4 || vt == VT_UI4 || vt == VT_FILETIME; }

// The header's text value as the variant type of *pValue asks for it.
HRESULT ValueToProp(LPCSTR pszName, const std::string &strValue, LPPROPVARIANT pValue) {
    VARTYPE vt = pValue->vt;
    PROPVARIANT value{};
    value.vt = vt;
    if (vt == VT_LPSTR) {
        value.pszVal = MimeDupText(strValue);
        if (!value.pszVal) return E_OUTOFMEMORY;
    } else if (vt == VT_FILETIME) {
        // A trace header ends in its date, after the last ";".
        std::string strDate = strValue;
        if (MimeEqualNoCase(pszName, "Received")) {
            size_t nSemicolon = strValue.rfind(';');
            strDate = nSemicolon == std::string::npos ? std::string() : strValue.substr(nSemicolon + 1);
        }
        HRESULT hr = MimeParseInetDate(strDate.c_str(), &value.filetime);
        if (FAILED(hr)) return hr;
    } else {
        HRESULT hr = ParseLeadingNumber(strValue, &value.lVal);
        if (FAILED(hr)) return hr;
    }
    *pValue = value;
    return S_OK;
}

} // namespace

HRESULT MimeGetHeaderProp(const MimeHeaderScope &scope, LPCSTR pszName, DWORD dwFlags, LPPROPVARIANT pValue) {
    if (!pszName || !pValue) return E_INVALIDARG;
    if (!IsReadableVarType(pValue->vt)) return MIME_E_INVALID_VARTYPE;
    GMimeHeader *pHeader = MimeFindHeader(scope, pszName);
    if (!pHeader) return MIME_E_NOT_FOUND;
    return ValueToProp(pszName, ValueText(pHeader, dwFlags), pValue);
}

HRESULT MimeGetIndexedHeaderProp(const CMimeHeaderIndex &index, LPCSTR pszName, DWORD dwFlags,
                                 LPPROPVARIANT pValue) {
    if (!pszName || !pValue) return E_INVALIDARG;
    if (!IsReadableVarType(pValue->vt)) return MIME_E_INVALID_VARTYPE;
    const CMimeHeaderIndex::Field *pField = index.Find(pszName);
    if (!pField) return MIME_E_NOT_FOUND;
    return ValueToProp(pszName, ValueText(*pField, dwFlags), pValue);
}

HRESULT MimeSetHeaderProp(const MimeHeaderScope &scope, LPCSTR pszName, DWORD dwFlags, LPCPROPVARIANT pValue) {
    if (!pValue) return E_INVALIDARG;
    if (!IsValidHeaderName(pszName)) return MIME_E_INVALID_HEADER_NAME;
    GMimeObject *pTarget = TargetOf(scope, pszName);
    if (!pTarget) return MIME_E_NOT_FOUND;

    std::string strValue;
    switch (pValue->vt) {
    case VT_LPSTR: strValue = pValue->pszVal ? pValue->pszVal : ""; break;
    case VT_I4: strValue = std::to_string(pValue->lVal); break;
    case VT_UI4: strValue = std::to_string(pValue->ulVal); break;
    case VT_FILETIME:
        strValue = MimeFormatInetDate(pValue->filetime);
        if (strValue.empty()) return MIME_E_INVALID_INET_DATE;
        break;
    default: return MIME_E_INVALID_VARTYPE;
    }
    // Header values are one line; a caller's line breaks would end the header block early.
    std::replace_if(strValue.begin(), strValue.end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');

    // Content-Type and Content-Disposition are parsed by the part on the way in, encoded or not.
    if (MimeEqualNoCase(pszName, "Content-Type") || MimeEqualNoCase(pszName, "Content-Disposition") ||
        !(dwFlags & PDF_ENCODED)) {
        g_mime_object_set_header(pTarget, pszName, strValue.c_str(), "utf-8");
        return S_OK;
    }
    // An encoded value goes in as it stands.
    g_mime_object_set_header(pTarget, pszName, strValue.c_str(), nullptr);
    GMimeHeaderList *pList = g_mime_object_get_header_list(pTarget);
    if (GMimeHeader *pHeader = pList ? g_mime_header_list_get_header(pList, pszName) : nullptr)
        g_mime_header_set_raw_value(pHeader, (" " + strValue + "\n").c_str());
    return S_OK;
}

HRESULT MimeDeleteHeaderProp(const MimeHeaderScope &scope, LPCSTR pszName) {
    if (!pszName) return E_INVALIDARG;
    bool bFound = false;
    for (GMimeObject *pObject : {scope.pMessage, scope.pPart}) {
        if (!pObject) continue;
        while (g_mime_object_remove_header(pObject, pszName)) bFound = true;
    }
    return bFound ? S_OK : MIME_E_NOT_FOUND;
}
