// COELib: listing the messages of a folder, one message's record, and freeing both.
#include <cstdlib>
#include <cstring>
#include <vector>

#include "log/log.h"
#include "oestore/heapcopy.h"
#include "oestore/oeconnected.h"
#include "oestore/oelib.h"
#include "search/equalitytree.h"

namespace {

// Records are added 16 at a time.
constexpr ULONG kItemGrowth = 16;

MESSAGEPROPS NewMessageProps() {
    MESSAGEPROPS props{};
    props.cbSize = sizeof(MESSAGEPROPS);
    return props;
}

uint64_t FileTimeValue(const FILETIME &ft) {
    return (static_cast<uint64_t>(ft.dwHighDateTime) << 32) | ft.dwLowDateTime;
}

int32_t CompareSent(OEItem *pNew, OEItem *pNode, bool *, void *) {
    uint64_t n1 = FileTimeValue(pNew->ftSent), n2 = FileTimeValue(pNode->ftSent);
    return n1 > n2 ? 1 : n1 < n2 ? -1 : 0;
}

// Orders the records by ftSent; equal times share a tree node and so keep their enumeration order.
void SortBySent(OEItems *pList, bool bDescending) {
    CEqualityTree<OEItem *> tree;
    for (ULONG i = 0; i < pList->cItems; ++i) {
        bool bEqual = false;
        tree.Insert(CompareSent, &pList->pItems[i], &bEqual, nullptr);
    }
    std::vector<OEItem *> order;
    if (bDescending)
        tree.GetItemsReverse(order);
    else
        tree.GetItems(order);
    auto *pSorted = static_cast<OEItem *>(std::malloc(sizeof(OEItem) * pList->cItems));
    if (!pSorted) return;
    for (size_t i = 0; i < order.size(); ++i) pSorted[i] = *order[i];
    std::free(pList->pItems);
    pList->pItems = pSorted;
}

OEItem *AppendItem(OEItems *pList, ULONG &cCapacity) {
    if (pList->cItems == cCapacity) {
        // realloc, not a new block and a copy: a large block grows in place (or by remapping its pages), so a
        // folder of n messages costs O(n) rather than n * n / 16 bytes moved.
        ULONG cNew = cCapacity + kItemGrowth;
        auto *pNew = static_cast<OEItem *>(std::realloc(pList->pItems, sizeof(OEItem) * cNew));
        if (!pNew) return nullptr;
        pList->pItems = pNew;
        cCapacity = cNew;
    }
    return &pList->pItems[pList->cItems++];
}

void FreeItemTexts(OEItem &item) {
    std::free(item.szEntry);
    std::free(item.szSubject);
    std::free(item.szDisplayTo);
    std::free(item.szDisplayFrom);
    std::free(item.szNormalSubject);
}

} // namespace

HRESULT COELib::GetItems(OEItems **ppItems, const char *szFolderEntry, bool bFast, const FILETIME *pSince, bool bSort,
                         bool bDescending) {
    static const char kLabel[] = "COELib::GetItems";
    // A date filter or a sort needs ftSent, which the fast read leaves out.
    DWORD dwFlags = bFast && !pSince && !bSort ? MSGPROPS_FAST : 0;
    g_Log.Assert(ppItems != nullptr, kLabel, 1);
    g_Log.Assert(szFolderEntry != nullptr && std::strlen(szFolderEntry) == 8, kLabel, 2);
    STOREFOLDERID dwFolderId = 0;
    if (!szFolderEntry || !Str2Folder(szFolderEntry, &dwFolderId)) {
        g_Log.Error(kLabel, 0, "Invalid FolderEntry=%s", szFolderEntry ? szFolderEntry : "(null)");
        return -1;
    }
    if (!ppItems || !OEConnected(m_pNamespace, kLabel)) return -1;
    IStoreFolder *pFolder = nullptr;
    HRESULT hr = m_pNamespace->OpenFolder(dwFolderId, 0, &pFolder);
    if (hr != S_OK) {
        g_Log.Error(kLabel, hr, "OpenFolder");
        return hr;
    }
    FOLDERPROPS folderProps{};
    folderProps.cbSize = sizeof(FOLDERPROPS);
    hr = m_pNamespace->GetFolderProps(dwFolderId, 0, &folderProps);
    if (FAILED(hr)) {
        g_Log.Error(kLabel, hr, "GetFolderProps");
        pFolder->Release();
        return hr;
    }
    auto *pList = static_cast<OEItems *>(std::calloc(1, sizeof(OEItems)));
    if (!pList) {
        pFolder->Release();
        return E_OUTOFMEMORY;
    }
    *ppItems = pList;

    ULONG cCapacity = 0;
    uint64_t nSince = pSince ? FileTimeValue(*pSince) : 0;
    MESSAGEPROPS props = NewMessageProps();
    HENUMSTORE hEnum = nullptr;
    hr = pFolder->GetFirstMessage(dwFlags, 0, MESSAGEID_FIRST, &props, &hEnum);
    while (hr == S_OK) {
        if (!pSince || FileTimeValue(props.ftSent) >= nSince) {
            OEItem *pItem = AppendItem(pList, cCapacity);
            if (pItem) {
                _FillOEItem(pItem, dwFolderId, &props, bFast);
                if (bSort) pItem->ftSent = props.ftSent;
            }
        }
        pFolder->FreeMessageProps(&props);
        props = NewMessageProps();
        hr = pFolder->GetNextMessage(hEnum, dwFlags, &props);
    }
    if (bSort && pList->cItems >= 2) SortBySent(pList, bDescending);
    if (hEnum) pFolder->GetMessageClose(hEnum);
    pFolder->Release();
    return 0;
}

void COELib::_FillOEItem(OEItem *pItem, STOREFOLDERID dwFolderId, const MESSAGEPROPS *pProps, bool bFast) {
    std::memset(pItem, 0, sizeof(OEItem));
    pItem->cbSize = sizeof(OEItem);
    pItem->szEntry = ItemEntry2Str(dwFolderId, pProps->dwMessageId);
    pItem->dwLanguage = pProps->dwLanguage;
    pItem->dwState = pProps->dwState;
    if (bFast) return;
    pItem->cbMessage = pProps->cbMessage;
    pItem->priority = pProps->priority;
    pItem->ftReceived = pProps->ftReceived;
    pItem->ftSent = pProps->ftSent;
    g_Log.Assert(pProps->dwFlags == 0, "COELib::_FillOEItem", 1);
    pItem->szSubject = HeapCopy(pProps->pszSubject);
    pItem->szDisplayTo = HeapCopy(pProps->pszDisplayTo);
    pItem->szDisplayFrom = HeapCopy(pProps->pszDisplayFrom);
    pItem->szNormalSubject = HeapCopy(pProps->pszNormalSubject);
}

HRESULT COELib::GetItem(OEItem **ppItem, const char *szItemEntry, bool bFast) {
    static const char kLabel[] = "COELib::GetItem";
    g_Log.Assert(ppItem != nullptr && szItemEntry != nullptr, kLabel, 1);
    STOREFOLDERID dwFolderId = 0;
    MESSAGEID dwMessageId = 0;
    if (!ppItem || !szItemEntry || !Str2ItemEntry(szItemEntry, &dwFolderId, &dwMessageId)) {
        g_Log.Error(kLabel, -1, "Invalid ItemID(%s)", szItemEntry ? szItemEntry : "(null)");
        return -1;
    }
    IStoreFolder *pFolder = nullptr;
    HRESULT hr = _OpenFolder(dwFolderId, &pFolder);
    if (hr != S_OK) {
        g_Log.Error(kLabel, hr, "_OpenFolder");
        return hr;
    }
    MESSAGEPROPS props = NewMessageProps();
    hr = pFolder->GetMessageProps(dwMessageId, bFast ? MSGPROPS_FAST : 0, &props);
    if (FAILED(hr)) {
        g_Log.Error(kLabel, hr, "GetMessageProps");
        pFolder->Release();
        return hr;
    }
    auto *pItem = static_cast<OEItem *>(std::malloc(sizeof(OEItem)));
    if (pItem) _FillOEItem(pItem, dwFolderId, &props, bFast);
    pFolder->FreeMessageProps(&props);
    pFolder->Release();
    if (!pItem) return E_OUTOFMEMORY;
    *ppItem = pItem;
    return hr;
}

void OEFreeItems(OEItems *pItems) {
    if (!pItems) return;
    for (ULONG i = 0; i < pItems->cItems; ++i) FreeItemTexts(pItems->pItems[i]);
    std::free(pItems->pItems);
    std::free(pItems);
}

void OEFreeItem(OEItem *pItem) {
    if (!pItem) return;
    FreeItemTexts(*pItem);
    std::free(pItem);
}
