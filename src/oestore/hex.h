// Hexadecimal texts: the entry texts of folders and items of both stores, and GUIDs in their registry form.
// The blocks these routines hand out come from std::malloc; the caller releases them with std::free.
#pragma once

#include <cstdint>

#include "platform/com.h"

// The number written in nDigits characters at p, either case. Fewer than one digit gives 0. A character that
// is no hexadecimal digit makes the value -1 (with a note on the debug output), and the scan goes on from there;
// the text's terminator counts as such a character and ends the scan.
int32_t Hex2Dec(const char *p, int32_t nDigits);

// The bytes of a hexadecimal text, two digits each; a last odd digit is ignored. *pcb (if given) gets the byte
// count. Null if szHex is null or memory runs out.
BYTE *Hex2Bin(const char *szHex, ULONG *pcb);

// cb bytes as upper-case hexadecimal digits, high half first, zero-terminated. Null if memory runs out.
char *Bin2Hex(const void *p, ULONG cb);

// A GUID from 32 hexadecimal digits, either case; any other character is skipped, so "{...}" with hyphens reads
// as well as the bare digits. The text's byte order is the registry form. True after the 32nd digit, whatever
// follows; false (and *pGuid untouched) if the text ends before.
bool Str2Guid(const char *szGuid, GUID *pGuid);
