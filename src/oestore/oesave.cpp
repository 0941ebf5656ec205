// Saving an edited item, which the store can only do as a new message, and creating a new message from a source
// text.
#include <cstdlib>
#include <cstring>

#include "log/log.h"
#include "oestore/oelib.h"
#include "oestore/oetags.h"

namespace {

constexpr DWORD kStateUnknown = 0xFFFFFFFF; // _OpenItem reads the state from the store

} // namespace

HRESULT COELib::SaveItem(HITEM hItem, bool bDeleteOld, bool bPermanently) {
    g_Log.Assert(hItem != nullptr, "COELib::SaveItem", __LINE__);
    if (!hItem) return -1;
    auto *pItem = static_cast<OEOpenItem *>(hItem);
    IStoreFolder *pFolder = nullptr;
    HRESULT hr = m_pNamespace->OpenFolder(pItem->dwFolderId, 0, &pFolder);
    if (hr != S_OK) {
        g_Log.Error("COELib::SaveItem", hr, "OpenFolder");
        return hr;
    }
    // The stored state may have changed since the item was opened (another program, a MarkItem): keep that.
    MESSAGEPROPS props{};
    props.cbSize = sizeof(props);
    hr = pFolder->GetMessageProps(pItem->dwMessageId, MSGPROPS_FAST, &props);
    if (hr == S_OK) {
        pItem->dwState = props.dwState;
        pFolder->FreeMessageProps(&props);
    } else {
        g_Log.Warning("COELib::SaveItem", hr, "GetMessageProps");
    }
    DWORD dwFlags = (pItem->dwState | pItem->dwSetMask) & ~pItem->dwClearMask;
    pItem->pMessage->Commit(0);

    MESSAGEID dwNewId = MESSAGEID_INVALID;
    hr = pFolder->SaveMessage(IID_IMimeMessage, pItem->pMessage, dwFlags, &dwNewId);
    if (hr != S_OK) {
        g_Log.Error("COELib::SaveItem", hr, "Folder->SaveMessage");
        pFolder->Release();
        return hr;
    }
    DWORD dwNewState = dwFlags;
    props = MESSAGEPROPS{};
    props.cbSize = sizeof(props);
    HRESULT hrProps = pFolder->GetMessageProps(dwNewId, MSGPROPS_FAST, &props);
    if (hrProps == S_OK) {
        dwNewState = props.dwState;
        pFolder->FreeMessageProps(&props);
    } else {
        g_Log.Warning("COELib::SaveItem", hrProps, "GetMessageProps(2)");
    }
    IMimeMessage *pNewMessage = nullptr;
    hr = pFolder->OpenMessage(dwNewId, IID_IMimeMessage, reinterpret_cast<void **>(&pNewMessage));
    if (hr != S_OK) {
        g_Log.Error("COELib::SaveItem", hr, "Open saved copy of message");
        pFolder->Release();
        return hr;
    }

    char *pszOldEntry = ItemEntry2Str(pItem->dwFolderId, pItem->dwMessageId);
    pItem->pMessage->Release();
    pItem->pMessage = pNewMessage;
    pItem->dwMessageId = dwNewId;
    pItem->dwState = dwNewState;
    pItem->dwSetMask = pItem->dwClearMask = 0;
    if (bDeleteOld && pszOldEntry) {
        HRESULT hrDelete = DeleteItem(pszOldEntry, nullptr, bPermanently);
        if (hrDelete != S_OK) g_Log.Warning("COELib::SaveItem", hrDelete, "Cant delete old item");
    }
    FreeBuffer(pszOldEntry);
    pFolder->Release();
    return S_OK;
}

HRESULT COELib::CreateItem(HITEM *phItem, const char *szFolderEntry, const char *szSource, DWORD dwMsgFlags) {
    g_Log.Assert(phItem != nullptr, "COELib::CreateItem", __LINE__);
    if (!phItem) return -1;
    *phItem = nullptr;
    STOREFOLDERID dwFolderId = 0;
    IStoreFolder *pFolder = nullptr;
    HRESULT hr;
    if (szFolderEntry) {
        if (!Str2Folder(szFolderEntry, &dwFolderId)) {
            g_Log.Error("COELib::CreateItem", 0, "bad entry");
            return -1;
        }
        hr = _OpenFolder(dwFolderId, &pFolder);
    } else {
        hr = _OpenSpecialFolder(FOLDER_DRAFT, &pFolder, &dwFolderId);
    }
    if (FAILED(hr)) return hr;

    IStream *pStream = nullptr;
    MESSAGEID dwMessageId = MESSAGEID_INVALID;
    hr = pFolder->CreateStream(nullptr, 0, &pStream, &dwMessageId);
    if (FAILED(hr)) g_Log.Error("COELib::CreateItem", hr, "CreateStream");
    if (SUCCEEDED(hr) && szSource && *szSource) {
        hr = pStream->Write(szSource, static_cast<ULONG>(std::strlen(szSource)), nullptr);
        if (FAILED(hr)) g_Log.Error("COELib::CreateItem", hr, "Stream->Write");
    }
    if (SUCCEEDED(hr)) {
        hr = pFolder->CommitStream(nullptr, 0, dwMsgFlags, pStream, dwMessageId, nullptr);
        if (FAILED(hr)) g_Log.Error("COELib::CreateItem", hr, "Folder->CommitStream");
    }
    SafeRelease(pStream); // an uncommitted stream takes its half-written file with it
    if (SUCCEEDED(hr)) hr = _OpenItem(dwFolderId, dwMessageId, phItem, pFolder, kStateUnknown);
    pFolder->Release();
    return hr;
}
