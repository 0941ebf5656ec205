#include "frame/item_handle.h"

#include <new>

#include "log/log.h"

namespace {

// "TsIt": the first word of a live handle. A closed handle has it cleared, which catches most uses after
// TS_CloseItem (not all: the memory may be reused).
constexpr uint32_t kLiveItem = 0x74497354;

struct TSItem {
    uint32_t nMagic;
    int32_t nAPI;
    const CTessel *pLib;
    HITEM hItem;
};

} // namespace

TS_HITEM TS_WrapItem(const CTessel *pLib, int32_t nAPI, HITEM hItem) {
    return new (std::nothrow) TSItem{kLiveItem, nAPI, pLib, hItem};
}

HITEM TS_UnwrapItem(TS_HITEM h, const CTessel *pLib, int32_t nAPI, const char *pszLabel, int32_t nPlace) {
    if (!h) {
        g_Log.Assert(false, "hItem != NULL", nPlace);
        return nullptr;
    }
    const auto *pItem = static_cast<const TSItem *>(h);
    if (pItem->nMagic != kLiveItem) {
        g_Log.Error(pszLabel, 0, "hItem is not an open item");
        return nullptr;
    }
    if (pItem->pLib != pLib || pItem->nAPI != nAPI) {
        g_Log.Error(pszLabel, pItem->nAPI, "hItem was opened for another API or library handle");
        return nullptr;
    }
    return pItem->hItem;
}

void TS_FreeItemWrapper(TS_HITEM h) {
    auto *pItem = static_cast<TSItem *>(h);
    pItem->nMagic = 0;
    delete pItem;
}
