// Internet dates as FILETIME (UTC).
#pragma once

#include <string>

#include "platform/mimeole.h"

// RFC 5322 dates and the variants real mail carries (two-digit years, zone names, asctime, ISO 8601).
// MIME_E_INVALID_INET_DATE when the text is no date or lies before 1601.
HRESULT MimeParseInetDate(const char *pszDate, FILETIME *pft);

// A FILETIME as an RFC 5322 date in UTC ("Tue, 01 Jul 2003 08:52:37 +0000"); empty if out of range.
std::string MimeFormatInetDate(const FILETIME &ft);
