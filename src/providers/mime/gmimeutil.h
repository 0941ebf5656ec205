// GMime plumbing shared by the MIME objects: one-time initialisation, the parser and format options we use, owned
// GObject pointers and the copies of text that the objects hand out.
#pragma once

#include <gmime/gmime.h>

#include <memory>
#include <string>
#include <string_view>

#include "platform/com.h"

// g_mime_init, once per process. GMime is never shut down: other objects may still be alive at exit.
void MimeEnsureInit();

// Lenient parsing: 8-bit header text that isn't UTF-8 is read as windows-1252.
GMimeParserOptions *MimeParserOptions();
// Output with LF or, for a message that came with them, CRLF line ends.
GMimeFormatOptions *MimeFormatOptions(bool bCrLf);

struct GObjectUnref {
    void operator()(gpointer p) const {
        if (p) g_object_unref(p);
    }
};
// An owned GObject reference.
template <class T>
using GPtr = std::unique_ptr<T, GObjectUnref>;

struct GFreeDeleter {
    void operator()(gpointer p) const { g_free(p); }
};
// A string from GLib (g_free'd).
using GCharPtr = std::unique_ptr<char, GFreeDeleter>;

// A malloc'd, zero-terminated copy: how texts leave the MIME objects (freed by IMimeAllocator::Free).
char *MimeDupText(std::string_view sv);

// Every byte of a stream from its current position on.
HRESULT MimeReadStream(IStream *pStream, std::string &strOut);

// Every byte of a GMime stream from its start.
std::string MimeReadGStream(GMimeStream *pStream);

// What g_utf8_validate says of these bytes (a NUL byte fails), with runs of ASCII checked a word at a time.
bool MimeIsUtf8(std::string_view sv);

// Case-insensitive ASCII comparison of header names and MIME types.
bool MimeEqualNoCase(std::string_view a, std::string_view b);
