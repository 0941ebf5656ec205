// Text services of the platform, for UTF-8 (our 8-bit code page) and UTF-16 (wide text): comparison without
// regard to case, lower-casing, the list separator and conversions between the two encodings.
//
// "Without regard to case" means: both texts are compared code point by code point after simple case folding,
// which covers ASCII, Latin-1, Latin Extended-A, Latin Extended Additional, Greek and Cyrillic. Bytes that are no
// valid UTF-8 (and lone surrogates in UTF-16) compare as themselves, after every valid character, so that broken
// text still sorts consistently. No function reads past a text's terminator.
#pragma once

#include <string>
#include <string_view>

// Three-way comparison without regard to case: -1, 0 or 1. A null text sorts before every other text.
int lstrcmpiA(const char *psz1, const char *psz2);
int lstrcmpiW(const char16_t *psz1, const char16_t *psz2);

// Lower-cases a UTF-8 text in place and returns it. The text never grows; a character whose lower case would need
// more bytes is left alone. Invalid bytes are kept as they are.
char *CharLowerA(char *psz);
// The same for UTF-16; a null text is returned as it is.
char16_t *CharLowerW(char16_t *psz);

// The separator between the values of a multi-valued text. Linux has no locale value for it: ";".
std::string GetListSeparator();

// Conversions. Invalid input (bytes that are no UTF-8, lone surrogates) becomes U+FFFD.
std::u16string Utf8ToUtf16(std::string_view sz);
std::string Utf16ToUtf8(std::u16string_view sz);
