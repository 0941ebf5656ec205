// The address book's allocator with the MAPI rule: AllocateMore hangs a block on a buffer from AllocateBuffer,
// and one FreeBuffer of that buffer frees it with everything hung on it. One process-wide heap, so that a buffer
// from any of the provider's objects may go back through any IWABObject.
#pragma once

#include <string>
#include <string_view>

#include "platform/wab.h"

namespace vcard {

HRESULT MapiAllocateBuffer(ULONG cb, void **pp);
HRESULT MapiAllocateMore(ULONG cb, void *pParent, void **pp);
HRESULT MapiFreeBuffer(void *p);

// Copies hung on pParent: bytes, a NUL-terminated 8-bit text, a NUL-terminated UTF-16 text. Null when out of memory.
void *MapiCopyBytes(void *pParent, const void *pData, size_t cb);
char *MapiCopyString(void *pParent, std::string_view s);
char16_t *MapiCopyWString(void *pParent, std::u16string_view s);

} // namespace vcard
