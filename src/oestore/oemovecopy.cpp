// Copying a message into a folder, and moving it as a copy followed by the destruction of the source.
#include "log/log.h"
#include "oestore/oelib.h"
#include "oestore/oetags.h"

HRESULT COELib::CopyItem(const char *szItemId, const char *szFolderId, char **ppszNewEntry) {
    g_Log.Assert(szItemId && szFolderId && ppszNewEntry, "COELib::CopyItem", __LINE__);
    if (!ppszNewEntry) return -1;
    *ppszNewEntry = nullptr;
    STOREFOLDERID dwSourceId = 0, dwTargetId = 0;
    MESSAGEID dwMessageId = 0;
    if (!szItemId || !Str2ItemEntry(szItemId, &dwSourceId, &dwMessageId)) {
        g_Log.Error("COELib::CopyItem", 0, "Invalid szItemId(%s)", szItemId ? szItemId : "");
        return -1;
    }
    if (!szFolderId || !Str2Folder(szFolderId, &dwTargetId)) {
        g_Log.Error("COELib::CopyItem", 0, "Invalid szFolderId(%s)", szFolderId ? szFolderId : "");
        return -1;
    }
    IStoreFolder *pSource = nullptr, *pTarget = nullptr;
    IMimeMessage *pMessage = nullptr;
    HRESULT hr = m_pNamespace->OpenFolder(dwSourceId, 0, &pSource);
    if (hr == S_OK) hr = m_pNamespace->OpenFolder(dwTargetId, 0, &pTarget);
    if (hr != S_OK) g_Log.Error("COELib::CopyItem", hr, "OpenFolder");

    DWORD dwState = 0;
    if (hr == S_OK) {
        MESSAGEPROPS props{};
        props.cbSize = sizeof(props);
        hr = pSource->GetMessageProps(dwMessageId, MSGPROPS_FAST, &props);
        if (hr == S_OK) {
            dwState = props.dwState;
            pSource->FreeMessageProps(&props);
        } else {
            g_Log.Error("COELib::CopyItem", hr, "GetMessageProps");
        }
    }
    if (hr == S_OK) {
        hr = pSource->OpenMessage(dwMessageId, IID_IMimeMessage, reinterpret_cast<void **>(&pMessage));
        if (hr != S_OK) g_Log.Error("COELib::CopyItem", hr, "OpenMessage");
    }
    MESSAGEID dwNewId = MESSAGEID_INVALID;
    if (hr == S_OK) {
        hr = pTarget->SaveMessage(IID_IMimeMessage, pMessage, dwState, &dwNewId);
        if (hr != S_OK) g_Log.Error("COELib::CopyItem", hr, "SaveMessage");
    }
    if (hr == S_OK) *ppszNewEntry = ItemEntry2Str(dwTargetId, dwNewId);
    SafeRelease(pMessage);
    SafeRelease(pTarget);
    SafeRelease(pSource);
    return hr;
}

HRESULT COELib::MoveItem(const char *szItemId, const char *szFolderId, char **ppszNewEntry) {
    HRESULT hr = CopyItem(szItemId, szFolderId, ppszNewEntry);
    if (hr != S_OK) return hr;
    // The copy stands; the source goes for good, not into Deleted Items. If it can't, both remain.
    hr = DeleteItem(szItemId, nullptr, true);
    if (hr != S_OK) g_Log.Error("COELib::MoveItem", hr, "DeleteItem");
    return S_OK;
}
