// CWABLib: copying an entry into a container property by property, and moving it (a copy, then a delete).
#include <cstdlib>

#include "log/log.h"
#include "oestore/hex.h"
#include "wabstore/wablib.h"

namespace {

// Properties that the address book sets on every entry of its own: the copy gets new ones.
bool IsOwnedByBook(ULONG ulTag) {
    return ulTag == PR_ENTRYID || ulTag == PR_OBJECT_TYPE || ulTag == PR_RECORD_KEY || ulTag == PR_CREATION_TIME ||
           ulTag == PR_LAST_MODIFICATION_TIME || ulTag == PR_SEARCH_KEY;
}

struct OneTag {
    ULONG cValues = 1;
    ULONG aulPropTag[1];
    explicit OneTag(ULONG ulTag) : aulPropTag{ulTag} {}
    SPropTagArray *Get() { return reinterpret_cast<SPropTagArray *>(this); }
};

} // namespace

HRESULT CWABLib::CopyItem(const char *szEntry, const char *szFolderEntry, char **ppszNewEntry) {
    const char *const kszLabel = "CWABLib::CopyItem";
    g_Log.Assert(szEntry != nullptr && *szEntry != '\0' && szFolderEntry != nullptr && *szFolderEntry != '\0' &&
                     ppszNewEntry != nullptr,
                 kszLabel, 0);
    if (ppszNewEntry) *ppszNewEntry = nullptr;
    // An empty text would name the root, which is no place to copy from or to.
    if (!szEntry || !*szEntry || !szFolderEntry || !*szFolderEntry || !ppszNewEntry) return -1;
    if (!_CheckConnected(kszLabel)) return -1;

    ULONG cbSource = 0, cbTarget = 0;
    BYTE *pbSource = Hex2Bin(szEntry, &cbSource);
    BYTE *pbTarget = Hex2Bin(szFolderEntry, &cbTarget);
    IUnknown *pTargetUnknown = nullptr, *pSourceUnknown = nullptr;
    IMAPIProp *pNew = nullptr;
    SPropValue *pTemplate = nullptr, *pValues = nullptr, *pNewId = nullptr;
    SPropTagArray *pTags = nullptr;
    SPropProblemArray *pProblems = nullptr;
    ULONG ulType = 0, cValues = 0;
    HRESULT hr = S_OK;

    // Each step runs only while everything before it went well; the clean-up at the end is common to all.
    do {
        if (!pbSource || !pbTarget) {
            hr = MAPI_E_NOT_ENOUGH_MEMORY;
            break;
        }
        hr = m_lpAddrBook->OpenEntry(cbTarget, reinterpret_cast<LPENTRYID>(pbTarget), nullptr, MAPI_BEST_ACCESS,
                                     &ulType, &pTargetUnknown);
        if (FAILED(hr) || !pTargetUnknown) {
            if (SUCCEEDED(hr)) hr = MAPI_E_CALL_FAILED;
            g_Log.Error(kszLabel, hr, "open container");
            break;
        }
        if (ulType != MAPI_ABCONT) {
            g_Log.Error(kszLabel, 0, "opened item is not container");
            hr = -1;
            break;
        }
        IABContainer *pTarget = static_cast<IABContainer *>(pTargetUnknown);

        hr = m_lpAddrBook->OpenEntry(cbSource, reinterpret_cast<LPENTRYID>(pbSource), nullptr, MAPI_BEST_ACCESS,
                                     &ulType, &pSourceUnknown);
        if (FAILED(hr) || !pSourceUnknown) {
            if (SUCCEEDED(hr)) hr = MAPI_E_CALL_FAILED;
            g_Log.Error(kszLabel, hr, "open item");
            break;
        }
        if (ulType != MAPI_MAILUSER && ulType != MAPI_DISTLIST) {
            g_Log.Error(kszLabel, static_cast<int32_t>(ulType), "open item is not MailUser or DistList");
            hr = -1;
            break;
        }
        IMAPIProp *pSource = static_cast<IMAPIProp *>(pSourceUnknown);

        OneTag templateTag(ulType == MAPI_DISTLIST ? PR_DEF_CREATE_DL : PR_DEF_CREATE_MAILUSER);
        ULONG cTemplate = 0;
        hr = pTarget->GetProps(templateTag.Get(), 0, &cTemplate, &pTemplate);
        if (hr != S_OK || !pTemplate || cTemplate < 1) {
            if (hr == S_OK) hr = MAPI_E_NOT_FOUND;
            g_Log.Error(kszLabel, hr, "get templateID");
            break;
        }
        hr = pTarget->CreateEntry(pTemplate->Value.bin.cb, reinterpret_cast<LPENTRYID>(pTemplate->Value.bin.lpb), 0,
                                  &pNew);
        if (FAILED(hr) || !pNew) {
            if (SUCCEEDED(hr)) hr = MAPI_E_CALL_FAILED;
            g_Log.Error(kszLabel, hr, "CreateEntry");
            break;
        }

        hr = pSource->GetPropList(0, &pTags);
        if (FAILED(hr) || !pTags) {
            if (SUCCEEDED(hr)) hr = MAPI_E_CALL_FAILED;
            g_Log.Error(kszLabel, hr, "GetPropList");
            break;
        }
        hr = pSource->GetProps(pTags, 0, &cValues, &pValues);
        if (hr != S_OK && hr != MAPI_W_ERRORS_RETURNED) {
            g_Log.Error(kszLabel, hr, "GetProps");
            break;
        }
        for (ULONG i = 0; pValues && i < cValues && i < pTags->cValues; ++i) {
            SPropValue &value = pValues[i];
            if (IsOwnedByBook(value.ulPropTag) || PROP_TYPE(value.ulPropTag) == PT_ERROR) continue;
            HRESULT hrSet = pNew->SetProps(1, &value, &pProblems);
            if (hrSet != S_OK) g_Log.Error(kszLabel, hrSet, "Cant copy [0x%x] prop", value.ulPropTag);
            if (pProblems) {
                m_lpWABObject->FreeBuffer(pProblems);
                pProblems = nullptr;
            }
        }

        // Keep the entry open after the save, so that the id it got can be read; a failed save shows there.
        pNew->SaveChanges(KEEP_OPEN_READONLY);
        OneTag idTag(PR_ENTRYID);
        ULONG cId = 0;
        hr = pNew->GetProps(idTag.Get(), 0, &cId, &pNewId);
        if (hr != S_OK || !pNewId || cId < 1) {
            if (hr == S_OK) hr = MAPI_E_NOT_FOUND;
            g_Log.Error(kszLabel, hr, "GetProps(EntryID)");
            break;
        }
        if (pNewId->Value.bin.cb == 0 || !pNewId->Value.bin.lpb) {
            g_Log.Error(kszLabel, 0, "GetProps(EntryID)");
            break;
        }
        char *pszNew = Bin2Hex(pNewId->Value.bin.lpb, pNewId->Value.bin.cb);
        hr = pszNew ? _HandOutText(pszNew, ppszNewEntry, kszLabel, "AllocateBuffer(EntryID)")
                    : MAPI_E_NOT_ENOUGH_MEMORY;
        std::free(pszNew);
    } while (false);

    if (pProblems) m_lpWABObject->FreeBuffer(pProblems);
    if (pNewId) m_lpWABObject->FreeBuffer(pNewId);
    if (pValues) m_lpWABObject->FreeBuffer(pValues);
    if (pTags) m_lpWABObject->FreeBuffer(pTags);
    if (pTemplate) m_lpWABObject->FreeBuffer(pTemplate);
    if (pSourceUnknown) pSourceUnknown->Release();
    if (pNew) pNew->Release();
    if (pTargetUnknown) pTargetUnknown->Release();
    std::free(pbSource);
    std::free(pbTarget);
    return hr;
}

HRESULT CWABLib::MoveItem(const char *szEntry, const char *szFolderEntry, char **ppszNewEntry) {
    HRESULT hr = CopyItem(szEntry, szFolderEntry, ppszNewEntry);
    if (FAILED(hr)) return hr;
    // A copy that names no new entry may never have been saved: the source is all there is.
    if (!ppszNewEntry || !*ppszNewEntry) return hr;
    HRESULT hrDelete = DeleteItem(szEntry);
    // The copy stands and its text is the caller's; the source stays beside it.
    if (FAILED(hrDelete)) g_Log.Warning("CWABLib::MoveItem", hrDelete, "DeleteItem");
    return S_OK;
}
