// Deleting a message, and finding it again in Deleted Items afterwards: by its Message-ID, or without one by the
// SHA-1 hash of its source.
#include <cstdlib>
#include <cstring>
#include <functional>

#include "log/log.h"
#include "oestore/heapcopy.h"
#include "oestore/oelib.h"
#include "oestore/oetags.h"
#include "oestore/sha1.h"
#include "platform/text.h"

namespace {

constexpr size_t kHashBuffer = 256;
constexpr DWORD kStateUnknown = 0xFFFFFFFF; // _OpenItem reads the state from the store
constexpr ULONG kHashBlock = 16384;

// A one-message id list for the store's calls.
struct OneMessage {
    explicit OneMessage(MESSAGEID id) : dwId(id), list{sizeof(MESSAGEIDLIST), 1, &dwId} {}
    MESSAGEID dwId;
    MESSAGEIDLIST list;
};

} // namespace

HRESULT COELib::_GetHashSHA1(IStream *pStream, char *pszHash, ULONG cbHash) {
    g_Log.Assert(pStream && pszHash, "COELib::_GetHashSHA1", __LINE__);
    if (!pStream || !pszHash || cbHash < CSha1::kHexSize) return -1;
    STATSTG stat{};
    HRESULT hr = pStream->Stat(&stat, STATFLAG_NONAME);
    if (hr != S_OK) {
        g_Log.Error("COELib::_GetHashSHA1", hr, "Stream->Stat");
        return hr;
    }
    ULONG cbRemaining = static_cast<ULONG>(stat.cbSize.QuadPart);
    CSha1 sha;
    static thread_local unsigned char s_block[kHashBlock];
    while (cbRemaining > 0) {
        ULONG cbRead = 0;
        hr = pStream->Read(s_block, cbRemaining < kHashBlock ? cbRemaining : kHashBlock, &cbRead);
        if (hr != S_OK) {
            g_Log.Error("COELib::_GetHashSHA1", hr, "Stream->Read");
            return hr;
        }
        if (cbRead == 0) {
            g_Log.Error("COELib::_GetHashSHA1", 0, "cbReaded = %d", 0);
            break;
        }
        sha.Feed(s_block, cbRead);
        cbRemaining -= cbRead < cbRemaining ? cbRead : cbRemaining;
    }
    uint8_t digest[CSha1::kDigestSize];
    sha.Finish(digest);
    char szHex[CSha1::kHexSize];
    CSha1::DigestToHex(digest, szHex);
    std::memcpy(pszHash, szHex, sizeof(szHex));
    return S_OK;
}

MESSAGEID COELib::_GetLastItemID(IStoreFolder *pFolder) {
    g_Log.Assert(pFolder != nullptr, "COELib::_GetLastItemID", __LINE__);
    MESSAGEID dwLast = MESSAGEID_INVALID;
    if (!pFolder) return dwLast;
    MESSAGEPROPS props{};
    props.cbSize = sizeof(props);
    HENUMSTORE hEnum = nullptr;
    // Only the ids are wanted: the fast form reads no message.
    for (HRESULT hr = pFolder->GetFirstMessage(MSGPROPS_FAST, 0, MESSAGEID_FIRST, &props, &hEnum); hr == S_OK;
         hr = pFolder->GetNextMessage(hEnum, MSGPROPS_FAST, &props)) {
        dwLast = props.dwMessageId;
        pFolder->FreeMessageProps(&props);
    }
    if (hEnum) pFolder->GetMessageClose(hEnum);
    return dwLast;
}

namespace {

// The frame shared by both searches of Deleted Items: the messages above dwAfter, in ascending order, until
// fnMatch accepts one. pszLabel names the search in the log.
MESSAGEID FindAfter(IStoreFolder *pFolder, MESSAGEID dwAfter, const char *pszLabel,
                    const std::function<bool(MESSAGEID, DWORD, STOREFOLDERID)> &fnMatch) {
    FOLDERPROPS folderProps{};
    folderProps.cbSize = sizeof(folderProps);
    HRESULT hr = pFolder->GetFolderProps(0, &folderProps);
    if (hr != S_OK) {
        g_Log.Error(pszLabel, hr, "GetFolderProps");
        return MESSAGEID_INVALID;
    }
    MESSAGEID dwFound = MESSAGEID_INVALID;
    MESSAGEPROPS props{};
    props.cbSize = sizeof(props);
    HENUMSTORE hEnum = nullptr;
    for (hr = pFolder->GetFirstMessage(MSGPROPS_FAST, 0, dwAfter, &props, &hEnum); hr == S_OK;
         hr = pFolder->GetNextMessage(hEnum, MSGPROPS_FAST, &props)) {
        MESSAGEID id = props.dwMessageId;
        DWORD dwState = props.dwState;
        pFolder->FreeMessageProps(&props);
        if (dwAfter != MESSAGEID_INVALID && id <= dwAfter) continue;
        if (fnMatch(id, dwState, folderProps.dwFolderId)) {
            dwFound = id;
            break;
        }
    }
    if (hEnum) pFolder->GetMessageClose(hEnum);
    return dwFound;
}

} // namespace

MESSAGEID COELib::_FindItem(IStoreFolder *pFolder, ULONG ulPropTag, const char *szValue, bool bIgnoreCase,
                            MESSAGEID dwAfter) {
    g_Log.Assert(pFolder && szValue, "COELib::_FindItem", __LINE__);
    if (!pFolder || !szValue) return MESSAGEID_INVALID;
    return FindAfter(pFolder, dwAfter, "COELib::_FindItem", [&](MESSAGEID id, DWORD dwState, STOREFOLDERID idFolder) {
        HITEM hItem = nullptr;
        if (FAILED(_OpenItem(idFolder, id, &hItem, pFolder, dwState))) return false;
        SPropValue *pProp = nullptr;
        bool bEqual = false;
        if (GetItemProp(hItem, ulPropTag, &pProp, false) == S_OK && pProp && pProp->Value.lpszA) {
            const char *psz = pProp->Value.lpszA;
            bEqual = bIgnoreCase ? lstrcmpiA(psz, szValue) == 0 : std::strcmp(psz, szValue) == 0;
        }
        FreeItemProps(pProp);
        CloseItem(&hItem);
        return bEqual;
    });
}

MESSAGEID COELib::_FindItemByHash(IStoreFolder *pFolder, const char *szHash, MESSAGEID dwAfter) {
    g_Log.Assert(pFolder && szHash, "COELib::_FindItemByHash", __LINE__);
    if (!pFolder || !szHash) return MESSAGEID_INVALID;
    return FindAfter(pFolder, dwAfter, "COELib::_FindItemByHash", [&](MESSAGEID id, DWORD, STOREFOLDERID) {
        IStream *pStream = nullptr;
        HRESULT hr = pFolder->OpenMessage(id, IID_IStream, reinterpret_cast<void **>(&pStream));
        if (hr != S_OK) {
            g_Log.Error("COELib::_FindItemByHash", hr, "OpenMessage");
            return false;
        }
        char szCandidate[kHashBuffer] = "";
        bool bEqual = _GetHashSHA1(pStream, szCandidate, sizeof(szCandidate)) == S_OK &&
                      std::strcmp(szCandidate, szHash) == 0;
        pStream->Release();
        return bEqual;
    });
}

namespace {

// The working values of one relocation.
struct Fingerprint {
    char *pszMessageId = nullptr;   // heap copy of a non-empty Message-ID
    char szHash[kHashBuffer] = "";  // else the hash of the source; empty: no hash
    IStoreFolder *pDeleted = nullptr;
    STOREFOLDERID dwDeletedId = 0;
    MESSAGEID dwLast = MESSAGEID_INVALID; // the last id in Deleted Items before the delete
    ~Fingerprint() {
        std::free(pszMessageId);
        SafeRelease(pDeleted);
    }
};

// What a relocation needs, taken before the delete: the Message-ID (or else the hash of the source), the
// Deleted Items folder and the last id in it. False when the relocation can't be made; a message in Deleted
// Items itself has nothing to relocate.
bool TakeFingerprint(COELib &lib, IStoreFolder *pFolder, STOREFOLDERID dwFolderId, MESSAGEID dwMessageId,
                     Fingerprint &fp) {
    FOLDERPROPS folderProps{};
    folderProps.cbSize = sizeof(folderProps);
    HRESULT hr = pFolder->GetFolderProps(0, &folderProps);
    if (hr != S_OK) {
        g_Log.Error("COELib::DeleteItem", hr, "DeletePermanently/GetNewItemID failed on GetFolderProps");
        return false;
    }
    if (folderProps.sfType == FOLDER_DELETED) return false; // a delete there is final: nothing to find again

    HITEM hItem = nullptr;
    hr = lib._OpenItem(dwFolderId, dwMessageId, &hItem, pFolder, kStateUnknown);
    if (FAILED(hr)) {
        g_Log.Error("COELib::DeleteItem", hr, "DeletePermanently/GetNewItemID failed on OpenItem");
        return false;
    }
    bool bFingerprint = true;
    SPropValue *pProp = nullptr;
    IStream *pStream = nullptr;
    if (lib.GetItemProp(hItem, PR_OE_MESSAGE_ID, &pProp, false) == S_OK && pProp && pProp->Value.lpszA &&
        *pProp->Value.lpszA) {
        fp.pszMessageId = HeapCopy(pProp->Value.lpszA);
        bFingerprint = fp.pszMessageId != nullptr;
    } else {
        lib.CloseItem(&hItem);
        hr = pFolder->OpenMessage(dwMessageId, IID_IStream, reinterpret_cast<void **>(&pStream));
        if (hr != S_OK) {
            g_Log.Warning("COELib::DeleteItem", hr, "OpenMessage as IStream");
            bFingerprint = false;
        } else if ((hr = lib._GetHashSHA1(pStream, fp.szHash, sizeof(fp.szHash))) != S_OK) {
            g_Log.Warning("COELib::DeleteItem", hr, "_GetHashCode");
            fp.szHash[0] = '\0';
            bFingerprint = false;
        }
    }
    if (bFingerprint) {
        hr = lib._OpenSpecialFolder(FOLDER_DELETED, &fp.pDeleted, &fp.dwDeletedId);
        if (FAILED(hr)) {
            g_Log.Error("COELib::DeleteItem", hr, "DeletePermanently failed on OpenSpecialFolder");
            bFingerprint = false;
        } else {
            fp.dwLast = lib._GetLastItemID(fp.pDeleted);
        }
    }
    lib.FreeItemProps(pProp);
    lib.CloseItem(&hItem);
    SafeRelease(pStream);
    return bFingerprint;
}

} // namespace

HRESULT COELib::DeleteItem(const char *szItemEntry, char **ppszNewEntry, bool bPermanently) {
    g_Log.Assert(szItemEntry && *szItemEntry, "COELib::DeleteItem", __LINE__);
    STOREFOLDERID dwFolderId = 0;
    MESSAGEID dwMessageId = 0;
    if (!szItemEntry || !Str2ItemEntry(szItemEntry, &dwFolderId, &dwMessageId)) {
        g_Log.Error("COELib::DeleteItem", 0, "Invalid EntryID=%s", szItemEntry ? szItemEntry : "");
        return -1;
    }
    IStoreFolder *pFolder = nullptr;
    HRESULT hr = m_pNamespace->OpenFolder(dwFolderId, 0, &pFolder);
    if (hr != S_OK) {
        g_Log.Error("COELib::DeleteItem", hr, "OpenFolder");
        return hr;
    }
    // The fingerprint is taken before the delete: afterwards the message is out of reach under its id. A failure
    // there costs the relocation, never the delete.
    Fingerprint fp;
    bool bRelocate = (bPermanently || ppszNewEntry) && TakeFingerprint(*this, pFolder, dwFolderId, dwMessageId, fp);

    OneMessage one(dwMessageId);
    hr = pFolder->DeleteMessages(&one.list, 0, nullptr);
    if (hr != S_OK) {
        g_Log.Error("COELib::DeleteItem", hr, "DeleteMessages");
    } else if (bRelocate) {
        MESSAGEID dwFound = fp.szHash[0] ? _FindItemByHash(fp.pDeleted, fp.szHash, fp.dwLast)
                                         : _FindItem(fp.pDeleted, PR_OE_MESSAGE_ID, fp.pszMessageId, false, fp.dwLast);
        if (dwFound == MESSAGEID_INVALID) {
            g_Log.Warning("COELib::DeleteItem", 0, "Cant find deleted item");
        } else if (bPermanently) {
            OneMessage found(dwFound);
            HRESULT hrPermanent = fp.pDeleted->DeleteMessages(&found.list, 0, nullptr);
            if (FAILED(hrPermanent)) g_Log.Error("COELib::DeleteItem", hrPermanent, "DeleteMessagePermanently");
        } else {
            *ppszNewEntry = ItemEntry2Str(fp.dwDeletedId, dwFound);
        }
    }
    pFolder->Release();
    return hr;
}
