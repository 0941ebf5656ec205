// Header properties of one body. The root body's headers live in two GMime lists (the message's own, and the
// Content-* headers of its top part); a scope names both so that callers see the one block they came from.
#pragma once

#include <string>
#include <vector>

#include "platform/mimeole.h"
#include "providers/mime/gmimeutil.h"
#include "providers/mime/headerindex.h"

struct MimeHeaderScope {
    GMimeObject *pMessage; // the message, for the root body; else null
    GMimeObject *pPart;    // the body's own part; may be null for a message without one
};

struct MimeHeaderRow {
    std::string strName;
    std::string strRow;   // "Name: value" as it stands, folded, with its line end
    std::string strValue; // unfolded and decoded to UTF-8
};

// The rows in the order they stood in the source; headers added since follow.
std::vector<MimeHeaderRow> MimeCollectHeaderRows(const MimeHeaderScope &scope);

// The first header of that name (case-insensitive), or null.
GMimeHeader *MimeFindHeader(const MimeHeaderScope &scope, const char *pszName);

HRESULT MimeGetHeaderProp(const MimeHeaderScope &scope, LPCSTR pszName, DWORD dwFlags, LPPROPVARIANT pValue);
// The same read from an indexed header block of the root body, with the values GMime would give.
HRESULT MimeGetIndexedHeaderProp(const CMimeHeaderIndex &index, LPCSTR pszName, DWORD dwFlags,
                                 LPPROPVARIANT pValue);
HRESULT MimeSetHeaderProp(const MimeHeaderScope &scope, LPCSTR pszName, DWORD dwFlags, LPCPROPVARIANT pValue);
HRESULT MimeDeleteHeaderProp(const MimeHeaderScope &scope, LPCSTR pszName);
