#include "providers/maildir/storenamespace.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <pwd.h>
#include <unistd.h>

#include "log/log.h"
#include "providers/maildir/fileops.h"
#include "providers/maildir/folderfiles.h"
#include "providers/maildir/storefactory.h"
#include "providers/maildir/storefolder.h"

namespace {

constexpr HRESULT E_UNEXPECTED = static_cast<HRESULT>(0x8000FFFF);
constexpr HRESULT E_INSUFFICIENT_BUFFER = static_cast<HRESULT>(0x8007007A);

struct FolderEnum {
    std::vector<STOREFOLDERID> ids;
    size_t nPos;
};

bool IsEmptyDirectory(const std::string &strDir) {
    DIR *pDir = opendir(strDir.c_str());
    if (!pDir) return false;
    bool bEmpty = true;
    while (dirent *pEntry = readdir(pDir))
        if (strcmp(pEntry->d_name, ".") != 0 && strcmp(pEntry->d_name, "..") != 0) bEmpty = false;
    closedir(pDir);
    return bEmpty;
}

// mkdir -p for the root, then its cur/, new/ and tmp/.
HRESULT CreateStore(const std::string &strRoot) {
    HRESULT hr = S_OK;
    for (size_t n = strRoot.find('/', 1); SUCCEEDED(hr) && n != std::string::npos; n = strRoot.find('/', n + 1))
        hr = MakeDirectory(strRoot.substr(0, n));
    if (SUCCEEDED(hr)) hr = MakeDirectory(strRoot);
    for (const char *pszSub : {"/tmp", "/new", "/cur"})
        if (SUCCEEDED(hr)) hr = MakeDirectory(strRoot + pszSub);
    return hr;
}

} // namespace

std::string MaildirStoreRoot() {
    for (const char *pszVar : {"TESSEL_MAILDIR", "MAILDIR"})
        if (const char *psz = getenv(pszVar); psz && *psz) return psz;
    const char *pszHome = getenv("HOME");
    if (!pszHome || !*pszHome) {
        const passwd *pw = getpwuid(getuid());
        pszHome = pw ? pw->pw_dir : "";
    }
    return std::string(pszHome) + "/Maildir";
}

HRESULT MaildirCreateStoreNamespace(REFIID riid, void **ppv) {
    CStoreNamespace *pNamespace = new CStoreNamespace();
    HRESULT hr = pNamespace->QueryInterface(riid, ppv);
    pNamespace->Release();
    return hr;
}

HRESULT CStoreNamespace::QueryInterface(REFIID riid, void **ppv) {
    if (!ppv) return E_POINTER;
    if (riid == IID_IUnknown || riid == IID_IStoreNamespace) {
        *ppv = static_cast<IStoreNamespace *>(this);
        AddRef();
        return S_OK;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
}

HRESULT CStoreNamespace::Initialize(HWND, DWORD dwReserved) {
    m_pTree.reset();
    std::string strRoot = MaildirStoreRoot();
    while (strRoot.size() > 1 && strRoot.back() == '/') strRoot.pop_back();
    bool bCreate = dwReserved == 0;
    auto pTree = std::make_shared<CFolderTree>(strRoot);
    HRESULT hr = pTree->Scan();
    if (SUCCEEDED(hr) && pTree->Empty() && bCreate && IsEmptyDirectory(strRoot)) hr = STG_E_PATHNOTFOUND;
    if (hr == STG_E_PATHNOTFOUND && bCreate) {
        hr = CreateStore(strRoot);
        if (FAILED(hr)) {
            g_Log.Error("CStoreNamespace::Initialize", hr, "Cant create the Maildir %s", strRoot.c_str());
            return hr;
        }
        hr = pTree->Scan();
    }
    if (SUCCEEDED(hr) && pTree->Empty()) hr = STG_E_PATHNOTFOUND;
    if (FAILED(hr)) {
        g_Log.Error("CStoreNamespace::Initialize", hr, "%s is not a Maildir", strRoot.c_str());
        return hr;
    }
    m_pTree = std::move(pTree);
    return S_OK;
}

HRESULT CStoreNamespace::GetDirectory(LPSTR pszPath, DWORD cchMaxPath) {
    if (!m_pTree) return E_UNEXPECTED;
    if (!pszPath) return E_POINTER;
    const std::string &strRoot = m_pTree->Root();
    if (strRoot.size() >= cchMaxPath) return E_INSUFFICIENT_BUFFER;
    memcpy(pszPath, strRoot.c_str(), strRoot.size() + 1);
    return S_OK;
}

HRESULT CStoreNamespace::OpenSpecialFolder(LONG sfType, DWORD, IStoreFolder **ppFolder) {
    if (!ppFolder) return E_POINTER;
    *ppFolder = nullptr;
    if (!m_pTree) return E_UNEXPECTED;
    if (sfType < FOLDER_INBOX || sfType > FOLDER_DRAFT) return E_INVALIDARG;
    STOREFOLDERID id = FOLDERID_INVALID;
    HRESULT hr = m_pTree->OpenSpecial(static_cast<SPECIALFOLDER>(sfType), &id);
    if (FAILED(hr)) return hr;
    return CStoreFolder::Open(m_pTree, id, ppFolder);
}

HRESULT CStoreNamespace::OpenFolder(STOREFOLDERID dwFolderId, DWORD, IStoreFolder **ppFolder) {
    if (!ppFolder) return E_POINTER;
    *ppFolder = nullptr;
    if (!m_pTree) return E_UNEXPECTED;
    return CStoreFolder::Open(m_pTree, dwFolderId, ppFolder);
}

HRESULT CStoreNamespace::CreateFolder(STOREFOLDERID dwParentId, LPCSTR pszName, DWORD, STOREFOLDERID *pdwFolderId) {
    if (!m_pTree) return E_UNEXPECTED;
    if (!pszName) return E_POINTER;
    HRESULT hr = m_pTree->Scan();
    if (SUCCEEDED(hr)) hr = m_pTree->Create(dwParentId, pszName, pdwFolderId);
    return hr;
}

HRESULT CStoreNamespace::GetFolderProps(STOREFOLDERID dwFolderId, DWORD, FOLDERPROPS *pProps) {
    if (!m_pTree) return E_UNEXPECTED;
    return m_pTree->GetProps(dwFolderId, pProps);
}

HRESULT CStoreNamespace::CopyMoveMessages(IStoreFolder *pSource, IStoreFolder *pDest, MESSAGEIDLIST *pMsgIdList,
                                          DWORD dwFlags, DWORD, IProgressNotify *) {
    if (!m_pTree) return E_UNEXPECTED;
    if (!pSource || !pDest || !pMsgIdList) return E_POINTER;
    // Both folders are ours: this namespace hands out no other kind.
    CStoreFolder *pFrom = static_cast<CStoreFolder *>(pSource);
    CStoreFolder *pTo = static_cast<CStoreFolder *>(pDest);
    return (dwFlags & CMF_MOVE) ? pFrom->MoveMessagesTo(*pTo, *pMsgIdList) : pFrom->CopyMessagesTo(*pTo, *pMsgIdList);
}

HRESULT CStoreNamespace::GetFirstSubFolder(STOREFOLDERID dwFolderId, FOLDERPROPS *pProps, HENUMSTORE *phEnum) {
    if (!pProps || !phEnum) return E_POINTER;
    *phEnum = nullptr;
    if (!m_pTree) return E_UNEXPECTED;
    if (dwFolderId == FOLDERID_ROOT) {
        HRESULT hr = m_pTree->Scan(); // a listing of the whole tree sees folders made or removed meanwhile
        if (FAILED(hr)) return hr;
    }
    const std::vector<STOREFOLDERID> *pChildren = m_pTree->Children(dwFolderId);
    if (!pChildren) return STG_E_PATHNOTFOUND;
    FolderEnum *pEnum = new FolderEnum{*pChildren, 0};
    HENUMSTORE hEnum = reinterpret_cast<HENUMSTORE>(pEnum);
    HRESULT hr = GetNextSubFolder(hEnum, pProps);
    if (hr != S_OK) {
        delete pEnum;
        return hr;
    }
    *phEnum = hEnum;
    return S_OK;
}

HRESULT CStoreNamespace::GetNextSubFolder(HENUMSTORE hEnum, FOLDERPROPS *pProps) {
    if (!hEnum || !pProps) return E_POINTER;
    FolderEnum *pEnum = reinterpret_cast<FolderEnum *>(hEnum);
    while (pEnum->nPos < pEnum->ids.size()) {
        HRESULT hr = m_pTree->GetProps(pEnum->ids[pEnum->nPos++], pProps);
        if (SUCCEEDED(hr)) return S_OK; // a folder that went meanwhile is left out
    }
    return S_FALSE;
}

HRESULT CStoreNamespace::GetSubFolderClose(HENUMSTORE hEnum) {
    delete reinterpret_cast<FolderEnum *>(hEnum);
    return S_OK;
}
