// COELib: open items (the OEOpenItem behind hItem), their state flags, and marking stored messages.
#include <cstdlib>
#include <cstring>

#include "log/log.h"
#include "oestore/oeconnected.h"
#include "oestore/oelib.h"

namespace {

MESSAGEPROPS NewMessageProps() {
    MESSAGEPROPS props{};
    props.cbSize = sizeof(MESSAGEPROPS);
    return props;
}

} // namespace

HRESULT COELib::_OpenItem(STOREFOLDERID dwFolderId, MESSAGEID dwMessageId, HITEM *phItem, IStoreFolder *pFolder,
                          DWORD dwState) {
    static const char kLabel[] = "COELib::_OpenItem";
    g_Log.Assert(phItem != nullptr, kLabel, 1);
    if (!phItem) return -1;
    *phItem = nullptr;
    if (!pFolder && !OEConnected(m_pNamespace, kLabel)) return -1;
    HRESULT hr = S_OK;
    if (pFolder) {
        pFolder->AddRef();
    } else {
        hr = m_pNamespace->OpenFolder(dwFolderId, 0, &pFolder);
        if (hr != S_OK) {
            g_Log.Error(kLabel, hr, "OpenFolder");
            return hr;
        }
    }
    MESSAGEPROPS props = NewMessageProps();
    bool bProps = false;
    if (dwState == 0xFFFFFFFF) {
        hr = pFolder->GetMessageProps(dwMessageId, MSGPROPS_FAST, &props);
        if (FAILED(hr)) {
            g_Log.Error(kLabel, hr, "GetMessageProps");
        } else {
            bProps = true;
            dwState = props.dwState;
        }
    }
    if (SUCCEEDED(hr)) {
        IMimeMessage *pMessage = nullptr;
        hr = pFolder->OpenMessage(dwMessageId, IID_IMimeMessage, reinterpret_cast<void **>(&pMessage));
        if (hr != S_OK) {
            g_Log.Error(kLabel, hr, "OpenMessage");
            if (pMessage) pMessage->Release();
        } else {
            auto *pItem = static_cast<OEOpenItem *>(std::calloc(1, sizeof(OEOpenItem)));
            if (pItem) {
                pItem->pMessage = pMessage;
                pItem->dwMessageId = dwMessageId;
                pItem->dwFolderId = dwFolderId;
                pItem->dwState = dwState;
                *phItem = pItem;
            } else {
                pMessage->Release();
                hr = E_OUTOFMEMORY;
            }
        }
    }
    if (bProps) pFolder->FreeMessageProps(&props);
    pFolder->Release();
    return hr;
}

namespace {

// The ids of an item entry for OpenItem and OpenFolderItem; an error line under pszLabel if it doesn't parse.
bool ParseItemEntry(const char *szItemEntry, HITEM *phItem, const char *pszLabel, STOREFOLDERID *pdwFolderId,
                    MESSAGEID *pdwMessageId) {
    g_Log.Assert(szItemEntry != nullptr && phItem != nullptr, pszLabel, 1);
    if (!phItem) return false;
    *phItem = nullptr;
    if (!szItemEntry || !COELib::Str2ItemEntry(szItemEntry, pdwFolderId, pdwMessageId)) {
        g_Log.Error(pszLabel, 0, "Invalid ItemEntry=%s", szItemEntry ? szItemEntry : "(null)");
        return false;
    }
    return true;
}

} // namespace

HRESULT COELib::OpenItem(const char *szItemEntry, HITEM *phItem) {
    STOREFOLDERID dwFolderId = 0;
    MESSAGEID dwMessageId = 0;
    if (!ParseItemEntry(szItemEntry, phItem, "COELib::OpenItem", &dwFolderId, &dwMessageId)) return -1;
    return _OpenItem(dwFolderId, dwMessageId, phItem, nullptr, 0xFFFFFFFF);
}

HRESULT COELib::OpenFolderItem(IStoreFolder *pFolder, const char *szItemEntry, HITEM *phItem) {
    static const char kLabel[] = "COELib::OpenFolderItem";
    g_Log.Assert(pFolder != nullptr, kLabel, 2);
    STOREFOLDERID dwFolderId = 0;
    MESSAGEID dwMessageId = 0;
    if (!ParseItemEntry(szItemEntry, phItem, kLabel, &dwFolderId, &dwMessageId)) return -1;
    // The folder id of the entry is taken at face value; it is not checked against pFolder.
    return _OpenItem(dwFolderId, dwMessageId, phItem, pFolder, 0xFFFFFFFF);
}

void COELib::CloseItem(HITEM *phItem) {
    if (!phItem || !*phItem) return;
    auto *pItem = static_cast<OEOpenItem *>(*phItem);
    if (pItem->pMessage) pItem->pMessage->Release();
    std::memset(pItem, 0, sizeof(OEOpenItem));
    std::free(pItem);
    *phItem = nullptr;
}

HRESULT COELib::MarkItem(const char *szItemEntry, DWORD dwFlags) {
    static const char kLabel[] = "COELib::MarkItem";
    g_Log.Assert(szItemEntry != nullptr && *szItemEntry != 0, kLabel, 1);
    STOREFOLDERID dwFolderId = 0;
    MESSAGEID dwMessageId = 0;
    if (!szItemEntry || !Str2ItemEntry(szItemEntry, &dwFolderId, &dwMessageId)) {
        g_Log.Error(kLabel, 0, "Invalid EntryID=%s", szItemEntry ? szItemEntry : "(null)");
        return -1;
    }
    if (!OEConnected(m_pNamespace, kLabel)) return -1;
    IStoreFolder *pFolder = nullptr;
    HRESULT hr = m_pNamespace->OpenFolder(dwFolderId, 0, &pFolder);
    if (hr != S_OK) {
        g_Log.Error(kLabel, hr, "OpenFolder");
        return hr;
    }
    // The flags are both state and mask, so bits can only be switched on here.
    MESSAGEIDLIST list{sizeof(MESSAGEIDLIST), 1, &dwMessageId};
    hr = pFolder->SetFlags(&list, dwFlags, dwFlags, nullptr);
    pFolder->Release();
    if (FAILED(hr)) {
        g_Log.Error(kLabel, hr, "SetFlags");
        return hr;
    }
    return 0;
}

DWORD COELib::_GetStateFlags(HITEM hItem, bool bCached, bool bRaw) {
    auto *pItem = static_cast<OEOpenItem *>(hItem);
    g_Log.Assert(pItem != nullptr, "COELib::_GetStateFlags", 1);
    if (!pItem) return 0;
    if (!bCached) {
        bool bRead = false;
        IStoreFolder *pFolder = nullptr;
        HRESULT hr = _OpenFolder(pItem->dwFolderId, &pFolder);
        if (hr == S_OK) {
            MESSAGEPROPS props = NewMessageProps();
            hr = pFolder->GetMessageProps(pItem->dwMessageId, MSGPROPS_FAST, &props);
            if (SUCCEEDED(hr)) {
                bRead = true;
                pItem->dwState = props.dwState;
                pFolder->FreeMessageProps(&props);
            }
            pFolder->Release();
        }
        if (!bRead) g_Log.Warning("COELib::_GetStateFlags", hr, "Cant read message state flags");
    }
    if (bRaw) return pItem->dwState;
    return (pItem->dwState | pItem->dwSetMask) & ~pItem->dwClearMask;
}

HRESULT COELib::_GetMessageProps(HITEM hItem, FILETIME *pftReceived, FILETIME *pftSent) {
    static const char kLabel[] = "COELib::_GetMessageProps";
    auto *pItem = static_cast<OEOpenItem *>(hItem);
    g_Log.Assert(pItem != nullptr, kLabel, 1);
    if (!pItem) return -1;
    IStoreFolder *pFolder = nullptr;
    HRESULT hr = _OpenFolder(pItem->dwFolderId, &pFolder);
    if (hr != S_OK) {
        g_Log.Warning(kLabel, hr, "Cant get message props");
        return hr;
    }
    MESSAGEPROPS props = NewMessageProps();
    hr = pFolder->GetMessageProps(pItem->dwMessageId, 0, &props);
    if (SUCCEEDED(hr)) {
        if (pftReceived) *pftReceived = props.ftReceived;
        if (pftSent) *pftSent = props.ftSent;
        pFolder->FreeMessageProps(&props);
    } else {
        g_Log.Warning(kLabel, hr, "Cant get message props");
    }
    pFolder->Release();
    return hr;
}
