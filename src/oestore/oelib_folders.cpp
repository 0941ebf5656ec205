// COELib: the folder tree, opening folders by entry, id or special type, and the store's directory.
#include <cstdlib>
#include <cstring>

#include "log/log.h"
#include "oestore/heapcopy.h"
#include "oestore/oeconnected.h"
#include "oestore/oelib.h"

namespace {

// Records are added 16 at a time.
constexpr ULONG kFolderGrowth = 16;

struct FolderWalk {
    IStoreNamespace *pNamespace;
    OEFolders *pList;
    ULONG cCapacity;
};

FOLDERPROPS NewFolderProps() {
    FOLDERPROPS props{};
    props.cbSize = sizeof(FOLDERPROPS);
    return props;
}

bool AppendFolder(FolderWalk &walk, STOREFOLDERID dwParent, const FOLDERPROPS &props) {
    OEFolders *pList = walk.pList;
    if (pList->cFolders == walk.cCapacity) {
        ULONG cNew = walk.cCapacity + kFolderGrowth;
        auto *pNew = static_cast<OEFolder *>(std::malloc(sizeof(OEFolder) * cNew));
        if (!pNew) return false;
        if (pList->pFolders) std::memcpy(pNew, pList->pFolders, sizeof(OEFolder) * pList->cFolders);
        std::free(pList->pFolders);
        pList->pFolders = pNew;
        walk.cCapacity = cNew;
    }
    OEFolder &folder = pList->pFolders[pList->cFolders];
    folder.cbSize = sizeof(OEFolder);
    folder.szEntry = COELib::Folder2Str(props.dwFolderId);
    folder.szParentEntry = dwParent == FOLDERID_ROOT ? nullptr : COELib::Folder2Str(dwParent);
    folder.szName = HeapCopy(props.szName);
    folder.sfType = props.sfType;
    folder.cUnread = props.cUnread;
    folder.cMessage = props.cMessage;
    folder.cSubFolders = props.cSubFolders;
    pList->cFolders++;
    return true;
}

// One parent's children, each followed by its own subtree. The parent's enumeration stays open meanwhile.
void WalkFolders(FolderWalk &walk, STOREFOLDERID dwParent) {
    FOLDERPROPS props = NewFolderProps();
    HENUMSTORE hEnum = nullptr;
    HRESULT hr = walk.pNamespace->GetFirstSubFolder(dwParent, &props, &hEnum);
    while (SUCCEEDED(hr) && hr != S_FALSE && hEnum) {
        if (!AppendFolder(walk, dwParent, props)) break;
        WalkFolders(walk, props.dwFolderId);
        props = NewFolderProps();
        hr = walk.pNamespace->GetNextSubFolder(hEnum, &props);
    }
    if (hEnum) walk.pNamespace->GetSubFolderClose(hEnum);
}

} // namespace

void COELib::GetFolders(OEFolders **ppFolders) {
    g_Log.Assert(ppFolders != nullptr, "COELib::GetFolders", 1);
    if (!ppFolders) return;
    auto *pList = static_cast<OEFolders *>(std::calloc(1, sizeof(OEFolders)));
    *ppFolders = pList;
    if (!pList || !m_pNamespace) return;
    FolderWalk walk{m_pNamespace, pList, 0};
    WalkFolders(walk, FOLDERID_ROOT);
}

void OEFreeFolders(OEFolders *pFolders) {
    if (!pFolders) return;
    for (ULONG i = 0; i < pFolders->cFolders; ++i) {
        OEFolder &folder = pFolders->pFolders[i];
        std::free(folder.szEntry);
        std::free(folder.szParentEntry);
        std::free(folder.szName);
    }
    std::free(pFolders->pFolders);
    std::free(pFolders);
}

HRESULT COELib::OpenFolder(const char *szFolderEntry, IStoreFolder **ppFolder) {
    static const char kLabel[] = "COELib::OpenFolder";
    g_Log.Assert(szFolderEntry != nullptr && std::strlen(szFolderEntry) == 8, kLabel, 1);
    STOREFOLDERID dwFolderId = 0;
    if (!szFolderEntry || !Str2Folder(szFolderEntry, &dwFolderId)) {
        g_Log.Error(kLabel, 0, "Invalid entry - %s", szFolderEntry ? szFolderEntry : "(null)");
        return -1;
    }
    if (!OEConnected(m_pNamespace, kLabel)) return -1;
    HRESULT hr = m_pNamespace->OpenFolder(dwFolderId, 0, ppFolder);
    if (hr != S_OK) g_Log.Error(kLabel, hr, "OpenFolder");
    return hr;
}

HRESULT COELib::_OpenFolder(STOREFOLDERID dwFolderId, IStoreFolder **ppFolder) {
    if (!OEConnected(m_pNamespace, "COELib::_OpenFolder")) return -1;
    HRESULT hr = m_pNamespace->OpenFolder(dwFolderId, 0, ppFolder);
    if (hr != S_OK) g_Log.Error("COELib::_OpenFolder", hr, "OpenFolder");
    return hr;
}

namespace {

// A special folder and its properties; on failure the error goes under pszLabel and no folder is handed out.
HRESULT OpenSpecial(IStoreNamespace *pNamespace, SPECIALFOLDER sfType, const char *pszLabel, IStoreFolder **ppFolder,
                    FOLDERPROPS *pProps) {
    *ppFolder = nullptr;
    if (!OEConnected(pNamespace, pszLabel)) return -1;
    IStoreFolder *pFolder = nullptr;
    HRESULT hr = pNamespace->OpenSpecialFolder(sfType, 0, &pFolder);
    if (FAILED(hr)) {
        g_Log.Error(pszLabel, hr, "OpenSpecialFolder");
        if (pFolder) pFolder->Release();
        return hr;
    }
    *pProps = NewFolderProps();
    hr = pFolder->GetFolderProps(0, pProps);
    if (FAILED(hr)) {
        g_Log.Error(pszLabel, hr, "GetFolderProps");
        pFolder->Release();
        return hr;
    }
    *ppFolder = pFolder;
    return hr;
}

} // namespace

HRESULT COELib::_OpenSpecialFolder(SPECIALFOLDER sfType, IStoreFolder **ppFolder, STOREFOLDERID *pdwFolderId) {
    FOLDERPROPS props;
    HRESULT hr = OpenSpecial(m_pNamespace, sfType, "COELib::_OpenSpecialFolder", ppFolder, &props);
    if (SUCCEEDED(hr) && pdwFolderId) *pdwFolderId = props.dwFolderId;
    return hr;
}

HRESULT COELib::GetSpecialFolderEntry(SPECIALFOLDER sfType, char **ppszEntry) {
    IStoreFolder *pFolder = nullptr;
    FOLDERPROPS props;
    HRESULT hr = OpenSpecial(m_pNamespace, sfType, "COELib::GetSpecialFolderEntry", &pFolder, &props);
    if (FAILED(hr)) return hr;
    *ppszEntry = Folder2Str(props.dwFolderId);
    pFolder->Release();
    return hr;
}

HRESULT COELib::GetStoreDirectory(char **ppszDir) {
    static const char kLabel[] = "COELib::GetStoreDirectory";
    constexpr ULONG kcbPath = 260;
    char szPath[kcbPath] = {};
    if (!OEConnected(m_pNamespace, kLabel)) return -1;
    HRESULT hr = m_pNamespace->GetDirectory(szPath, kcbPath);
    if (FAILED(hr)) {
        g_Log.Error(kLabel, hr, "GetDirectory");
        return hr;
    }
    void *pv = nullptr;
    hr = AllocateBuffer(kcbPath, &pv);
    if (FAILED(hr) || !pv) {
        g_Log.Error(kLabel, hr, "AllocateBuffer");
        return FAILED(hr) ? hr : E_OUTOFMEMORY;
    }
    std::memcpy(pv, szPath, kcbPath);
    static_cast<char *>(pv)[kcbPath - 1] = 0;
    *ppszDir = static_cast<char *>(pv);
    return hr;
}
