// Value-level helpers of the vCard provider: case, escapes, quoted-printable, character sets, UTF-16, base64 and
// time stamps.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vcard {

std::string UpperAscii(std::string_view s);
bool EqualNoCase(std::string_view a, std::string_view b);

// Text values: "\n", "\,", "\;", "\\" and (from 2.1 writers) "\:" undone; written back with the escapes of the
// version (2.1 escapes only ";" in compound values and leaves the rest).
std::string UnescapeText(std::string_view s);
std::string EscapeText(std::string_view s, bool b21);
// A compound value (N, ADR, ORG) split at unescaped ";", each component unescaped.
std::vector<std::string> SplitCompound(std::string_view s);
std::string JoinCompound(const std::vector<std::string> &parts, bool b21);

std::string DecodeQuotedPrintable(std::string_view s);
std::string EncodeQuotedPrintable(std::string_view s);

// Bytes in a named character set to UTF-8; an unknown set or bad bytes fall back to UTF-8 if the bytes are valid
// UTF-8, else to Latin-1.
std::string ToUtf8(std::string_view s, std::string_view sCharset);
bool IsValidUtf8(std::string_view s);

std::u16string Utf8ToUtf16(std::string_view s);
std::string Utf16ToUtf8(std::u16string_view s);

std::string Base64Encode(std::string_view s);
bool Base64Decode(std::string_view s, std::string *pOut);

// ISO 8601 date or date-time, basic or extended ("19960415", "1996-04-15T12:00:00Z", "+02:00" offsets), to Unix
// seconds; false if it is not one.
bool ParseTimestamp(std::string_view s, int64_t *pnSeconds);
// "19960415T120000Z"; with bDateOnly "19960415" (or "1996-04-15" with bDashes).
std::string FormatTimestamp(int64_t nSeconds, bool bDateOnly, bool bDashes);

// A new random UUID, lower case.
std::string NewUuid();

} // namespace vcard
