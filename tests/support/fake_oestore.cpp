#include "support/fake_oestore.h"

#include <cstdlib>
#include <cstring>

#include "support/fake_mime.h"

namespace testsupport {

namespace {

char *CopyOrNull(const std::string &text) {
    if (text.empty()) return nullptr;
    char *psz = static_cast<char *>(std::malloc(text.size() + 1));
    std::memcpy(psz, text.c_str(), text.size() + 1);
    return psz;
}

HENUMSTORE EnumHandle(uintptr_t n) { return reinterpret_cast<HENUMSTORE>(n); }

} // namespace

// ---- FakeStoreFolder ----

HRESULT FakeStoreFolder::QueryInterface(REFIID riid, void **ppv) {
    if (riid == IID_IUnknown || riid == IID_IStoreFolder) {
        AddRef();
        *ppv = this;
        return S_OK;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
}

HRESULT FakeStoreFolder::GetFolderProps(DWORD, FOLDERPROPS *pProps) {
    if (hrGetFolderProps != S_OK) return hrGetFolderProps;
    pProps->dwFolderId = m_dwFolderId;
    pProps->sfType = m_sfType;
    pProps->cMessage = static_cast<DWORD>(m_messages.size());
    std::strncpy(pProps->szName, m_name.c_str(), sizeof(pProps->szName) - 1);
    return S_OK;
}

HRESULT FakeStoreFolder::DeleteMessages(MESSAGEIDLIST *, DWORD, IProgressNotify *) { return E_NOTIMPL; }

HRESULT FakeStoreFolder::SetFlags(MESSAGEIDLIST *pMsgIdList, DWORD dwState, DWORD dwStatemask, DWORD *prgdwNewFlags) {
    if (hrSetFlags != S_OK) return hrSetFlags;
    for (DWORD i = 0; i < pMsgIdList->cMsgs; ++i) {
        FakeMessage *pMessage = Find(pMsgIdList->prgdwMsgId[i]);
        if (!pMessage) return E_INVALIDARG;
        pMessage->dwState = (pMessage->dwState & ~dwStatemask) | (dwState & dwStatemask);
        if (prgdwNewFlags) prgdwNewFlags[i] = pMessage->dwState;
    }
    return S_OK;
}

HRESULT FakeStoreFolder::OpenMessage(MESSAGEID dwMessageId, REFIID riid, void **ppvObject) {
    *ppvObject = nullptr;
    if (hrOpenMessage != S_OK) return hrOpenMessage;
    FakeMessage *pMessage = Find(dwMessageId);
    if (!pMessage) return E_INVALIDARG;
    if (riid == IID_IStream)
        return CreateStreamOnBytes(pMessage->source.data(), pMessage->source.size(),
                                   reinterpret_cast<IStream **>(ppvObject));
    if (riid != IID_IMimeMessage) return E_NOINTERFACE;
    IMimeMessage *pMime = ParseMessage(pMessage->source);
    if (!pMime) return E_FAIL;
    *ppvObject = pMime;
    return S_OK;
}

HRESULT FakeStoreFolder::SaveMessage(REFIID, void *, DWORD, MESSAGEID *) { return E_NOTIMPL; }
HRESULT FakeStoreFolder::CreateStream(HBATCHLOCK, DWORD, IStream **, MESSAGEID *) { return E_NOTIMPL; }
HRESULT FakeStoreFolder::CommitStream(HBATCHLOCK, DWORD, DWORD, IStream *, MESSAGEID, IMimeMessage *) {
    return E_NOTIMPL;
}

HRESULT FakeStoreFolder::FillProps(const FakeMessage &message, DWORD dwFlags, MESSAGEPROPS *pProps) {
    pProps->dwMessageId = message.dwMessageId;
    pProps->dwState = message.dwState;
    if (dwFlags & MSGPROPS_FAST) {
        cFastReads++;
    } else {
        cFullReads++;
        pProps->ftSent = message.ftSent;
        pProps->ftReceived = message.ftReceived;
        pProps->cbMessage = message.cbMessage;
        pProps->priority = IMSG_PRI_NORMAL;
        pProps->pszSubject = CopyOrNull(message.subject);
        pProps->pszNormalSubject = CopyOrNull(message.subject);
        pProps->pszDisplayTo = CopyOrNull(message.displayTo);
        pProps->pszDisplayFrom = CopyOrNull(message.displayFrom);
    }
    cLiveProps++;
    return S_OK;
}

HRESULT FakeStoreFolder::GetFirstMessage(DWORD dwFlags, DWORD, MESSAGEID dwMsgIdFirst, MESSAGEPROPS *pProps,
                                         HENUMSTORE *phEnum) {
    *phEnum = nullptr;
    size_t i = 0;
    if (dwMsgIdFirst != MESSAGEID_FIRST)
        while (i < m_messages.size() && m_messages[i].dwMessageId < dwMsgIdFirst) ++i;
    if (nFailEnumAfter == 0) return E_FAIL;
    if (i >= m_messages.size()) return S_FALSE;
    *phEnum = EnumHandle(m_nNextEnum++);
    m_enums[*phEnum] = i + 1;
    cOpenEnums++;
    return FillProps(m_messages[i], dwFlags, pProps);
}

HRESULT FakeStoreFolder::GetNextMessage(HENUMSTORE hEnum, DWORD dwFlags, MESSAGEPROPS *pProps) {
    auto it = m_enums.find(hEnum);
    if (it == m_enums.end()) return E_INVALIDARG;
    size_t i = it->second;
    if (nFailEnumAfter >= 0 && i >= static_cast<size_t>(nFailEnumAfter)) return E_FAIL;
    if (i >= m_messages.size()) return S_FALSE;
    it->second = i + 1;
    return FillProps(m_messages[i], dwFlags, pProps);
}

HRESULT FakeStoreFolder::GetMessageClose(HENUMSTORE hEnum) {
    if (m_enums.erase(hEnum) == 0) return E_INVALIDARG;
    cOpenEnums--;
    return S_OK;
}

HRESULT FakeStoreFolder::GetMessageProps(MESSAGEID dwMessageId, DWORD dwFlags, MESSAGEPROPS *pProps) {
    if (hrGetMessageProps != S_OK) return hrGetMessageProps;
    FakeMessage *pMessage = Find(dwMessageId);
    if (!pMessage) return E_INVALIDARG;
    return FillProps(*pMessage, dwFlags, pProps);
}

HRESULT FakeStoreFolder::FreeMessageProps(MESSAGEPROPS *pProps) {
    std::free(pProps->pszSubject);
    std::free(pProps->pszNormalSubject);
    std::free(pProps->pszDisplayTo);
    std::free(pProps->pszDisplayFrom);
    pProps->pszSubject = pProps->pszNormalSubject = pProps->pszDisplayTo = pProps->pszDisplayFrom = nullptr;
    cLiveProps--;
    return S_OK;
}

MESSAGEID FakeStoreFolder::Add(FakeMessage message) {
    message.dwMessageId = m_messages.empty() ? 1 : m_messages.back().dwMessageId + 1;
    m_messages.push_back(std::move(message));
    return m_messages.back().dwMessageId;
}

FakeMessage *FakeStoreFolder::Find(MESSAGEID dwMessageId) {
    for (FakeMessage &message : m_messages)
        if (message.dwMessageId == dwMessageId) return &message;
    return nullptr;
}

// ---- FakeStoreNamespace ----

FakeStoreNamespace::~FakeStoreNamespace() {
    for (auto &entry : m_folders) entry.second.pFolder->Release();
}

HRESULT FakeStoreNamespace::QueryInterface(REFIID riid, void **ppv) {
    if (riid == IID_IUnknown || riid == IID_IStoreNamespace) {
        AddRef();
        *ppv = this;
        return S_OK;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
}

HRESULT FakeStoreNamespace::Initialize(HWND, DWORD dwReserved) {
    cInitialize++;
    dwInitializeFlag = dwReserved;
    return hrInitialize;
}

HRESULT FakeStoreNamespace::GetDirectory(LPSTR pszPath, DWORD cchMaxPath) {
    if (hrGetDirectory != S_OK) return hrGetDirectory;
    if (directory.size() + 1 > cchMaxPath) return E_INVALIDARG;
    std::memcpy(pszPath, directory.c_str(), directory.size() + 1);
    return S_OK;
}

HRESULT FakeStoreNamespace::OpenSpecialFolder(LONG sfType, DWORD, IStoreFolder **ppFolder) {
    *ppFolder = nullptr;
    if (hrOpenFolder != S_OK) return hrOpenFolder;
    for (auto &entry : m_folders)
        if (entry.second.pFolder->m_sfType == sfType) {
            entry.second.pFolder->AddRef();
            *ppFolder = entry.second.pFolder;
            return S_OK;
        }
    return E_INVALIDARG;
}

HRESULT FakeStoreNamespace::OpenFolder(STOREFOLDERID dwFolderId, DWORD, IStoreFolder **ppFolder) {
    *ppFolder = nullptr;
    if (hrOpenFolder != S_OK) return hrOpenFolder;
    FakeStoreFolder *pFolder = Folder(dwFolderId);
    if (!pFolder) return E_INVALIDARG;
    pFolder->AddRef();
    *ppFolder = pFolder;
    return S_OK;
}

HRESULT FakeStoreNamespace::CreateFolder(STOREFOLDERID dwParentId, LPCSTR pszName, DWORD, STOREFOLDERID *pdwFolderId) {
    *pdwFolderId = AddFolder(dwParentId, pszName)->m_dwFolderId;
    return S_OK;
}

void FakeStoreNamespace::FillFolderProps(STOREFOLDERID dwFolderId, FOLDERPROPS *pProps) {
    const FolderDef &def = m_folders.at(dwFolderId);
    pProps->dwFolderId = dwFolderId;
    pProps->sfType = def.pFolder->m_sfType;
    pProps->cMessage = static_cast<DWORD>(def.pFolder->m_messages.size());
    pProps->cUnread = 0;
    for (const FakeMessage &message : def.pFolder->m_messages)
        if (message.dwState & MSG_UNREAD) pProps->cUnread++;
    pProps->cSubFolders = 0;
    for (const auto &entry : m_folders)
        if (entry.second.dwParentId == dwFolderId) pProps->cSubFolders++;
    std::strncpy(pProps->szName, def.name.c_str(), sizeof(pProps->szName) - 1);
}

HRESULT FakeStoreNamespace::GetFolderProps(STOREFOLDERID dwFolderId, DWORD, FOLDERPROPS *pProps) {
    if (hrGetFolderProps != S_OK) return hrGetFolderProps;
    if (!m_folders.count(dwFolderId)) return E_INVALIDARG;
    FillFolderProps(dwFolderId, pProps);
    return S_OK;
}

HRESULT FakeStoreNamespace::CopyMoveMessages(IStoreFolder *, IStoreFolder *, MESSAGEIDLIST *, DWORD, DWORD,
                                             IProgressNotify *) {
    return E_NOTIMPL;
}

HRESULT FakeStoreNamespace::GetFirstSubFolder(STOREFOLDERID dwFolderId, FOLDERPROPS *pProps, HENUMSTORE *phEnum) {
    *phEnum = nullptr;
    std::vector<STOREFOLDERID> children;
    for (const auto &entry : m_folders)
        if (entry.second.dwParentId == dwFolderId) children.push_back(entry.first);
    if (children.empty()) return S_FALSE;
    *phEnum = EnumHandle(m_nNextEnum++);
    m_enums[*phEnum] = children;
    cOpenSubEnums++;
    if (cOpenSubEnums > nMaxSubEnums) nMaxSubEnums = cOpenSubEnums;
    return GetNextSubFolder(*phEnum, pProps);
}

HRESULT FakeStoreNamespace::GetNextSubFolder(HENUMSTORE hEnum, FOLDERPROPS *pProps) {
    auto it = m_enums.find(hEnum);
    if (it == m_enums.end()) return E_INVALIDARG;
    if (nFailSubFolderAfter >= 0 && cSubFoldersHanded >= nFailSubFolderAfter) return E_FAIL;
    if (it->second.empty()) return S_FALSE;
    STOREFOLDERID dwFolderId = it->second.front();
    it->second.erase(it->second.begin());
    FillFolderProps(dwFolderId, pProps);
    cSubFoldersHanded++;
    return S_OK;
}

HRESULT FakeStoreNamespace::GetSubFolderClose(HENUMSTORE hEnum) {
    if (m_enums.erase(hEnum) == 0) return E_INVALIDARG;
    cOpenSubEnums--;
    return S_OK;
}

FakeStoreFolder *FakeStoreNamespace::AddFolder(STOREFOLDERID dwParentId, const std::string &name,
                                               SPECIALFOLDER sfType) {
    STOREFOLDERID dwFolderId = m_dwNextId++;
    auto *pFolder = new FakeStoreFolder(dwFolderId, sfType);
    pFolder->m_name = name;
    m_folders[dwFolderId] = FolderDef{dwParentId, name, pFolder};
    return pFolder;
}

FakeStoreFolder *FakeStoreNamespace::Folder(STOREFOLDERID dwFolderId) {
    auto it = m_folders.find(dwFolderId);
    return it == m_folders.end() ? nullptr : it->second.pFolder;
}

} // namespace testsupport
