// COELib: folder and item entry texts. The bytes behind a text are the ids in memory order, low byte first,
// whatever the machine's own order.
#include <cstdlib>

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
    ULONG cb = 0;
    BYTE *pb = Hex2Bin(szEntry, &cb);
    bool bOk = pb && cb == 8;
    if (bOk) {
        *pdwFolderId = GetLE(pb);
        *pdwMessageId = GetLE(pb + 4);
    } else {
        g_Log.Error("COELib::Str2ItemEntry", static_cast<int32_t>(cb), "item entry not 8 bytes long");
    }
    std::free(pb);
    return bOk;
}
