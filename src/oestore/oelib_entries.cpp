// COELib: folder and item entry texts. The bytes behind a text are the ids in memory order, low byte first,
// whatever the machine's own order.
#include <cstdlib>
#include <cstring>

#include "log/log.h"
#include "oestore/hex.h"
#include "oestore/oelib.h"

namespace {

void PutLE(BYTE *p, DWORD dw) {
    for (int i = 0; i < 4; ++i) p[i] = static_cast<BYTE>(dw >> (8 * i));
}

DWORD GetLE(const BYTE *p) {
    DWORD dw = 0;
    for (int i = 3; i >= 0; --i) dw = (dw << 8) | p[i];
    return dw;
}

} // namespace

char *COELib::Folder2Str(STOREFOLDERID dwFolderId) {
    BYTE rgb[4];
    PutLE(rgb, dwFolderId);
    return Bin2Hex(rgb, sizeof(rgb));
}

char *COELib::ItemEntry2Str(STOREFOLDERID dwFolderId, MESSAGEID dwMessageId) {
    BYTE rgb[8];
    PutLE(rgb, dwFolderId);
    PutLE(rgb + 4, dwMessageId);
    return Bin2Hex(rgb, sizeof(rgb));
}

bool COELib::Str2Folder(const char *szEntry, STOREFOLDERID *pdwFolderId) {
    ULONG cb = 0;
    BYTE *pb = Hex2Bin(szEntry, &cb);
    bool bOk = pb && cb == 4;
    if (bOk) *pdwFolderId = GetLE(pb);
    std::free(pb);
    return bOk;
}

bool COELib::Str2ItemEntry(const char *szEntry, STOREFOLDERID *pdwFolderId, MESSAGEID *pdwMessageId) {
    // Read as Hex2Bin reads it, into a buffer of our own: a search opens an item by its entry for every comparison.
    const size_t cb = szEntry ? std::strlen(szEntry) / 2 : 0;
    if (cb != 8) {
        g_Log.Error("COELib::Str2ItemEntry", static_cast<int32_t>(cb), "item entry not 8 bytes long");
        return false;
    }
    BYTE rgb[8];
    for (size_t i = 0; i < cb; ++i) rgb[i] = static_cast<BYTE>(Hex2Dec(szEntry + 2 * i, 2) & 0xFF);
    *pdwFolderId = GetLE(rgb);
    *pdwMessageId = GetLE(rgb + 4);
    return true;
}
