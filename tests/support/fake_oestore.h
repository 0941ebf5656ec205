// Fakes of the message store's interfaces (platform/msgstore.h) that hold their folders and messages in memory,
// fail on demand and count what is still open, so that a test can drive COELib into every failure path and check
// that it gave everything back. A message opened as IID_IMimeMessage is the real MIME object parsed from the
// fake message's source.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/mimeole.h"
#include "platform/msgstore.h"

namespace testsupport {

struct FakeMessage {
    MESSAGEID dwMessageId = 0;
    DWORD dwState = 0;
    FILETIME ftSent{};
    FILETIME ftReceived{};
    DWORD cbMessage = 0;
    std::string subject; // the listing texts; empty ones come out null
    std::string displayTo;
    std::string displayFrom;
    std::string source;  // the message file
};

class FakeStoreFolder : public CRefCounted<IStoreFolder> {
public:
    FakeStoreFolder(STOREFOLDERID dwFolderId, SPECIALFOLDER sfType) : m_dwFolderId(dwFolderId), m_sfType(sfType) {}

    HRESULT QueryInterface(REFIID riid, void **ppv) override;
    HRESULT GetFolderProps(DWORD dwReserved, FOLDERPROPS *pProps) override;
    HRESULT DeleteMessages(MESSAGEIDLIST *pMsgIdList, DWORD dwReserved, IProgressNotify *pProgress) override;
    HRESULT SetFlags(MESSAGEIDLIST *pMsgIdList, DWORD dwState, DWORD dwStatemask, DWORD *prgdwNewFlags) override;
    HRESULT OpenMessage(MESSAGEID dwMessageId, REFIID riid, void **ppvObject) override;
    HRESULT SaveMessage(REFIID riid, void *pvObject, DWORD dwMsgFlags, MESSAGEID *pdwMessageId) override;
    HRESULT CreateStream(HBATCHLOCK hBatchLock, DWORD dwReserved, IStream **ppStream, MESSAGEID *pdwMessageId) override;
    HRESULT CommitStream(HBATCHLOCK hBatchLock, DWORD dwFlags, DWORD dwMsgFlags, IStream *pStream,
                         MESSAGEID dwMessageId, IMimeMessage *pMessage) override;
    HRESULT GetFirstMessage(DWORD dwFlags, DWORD dwMsgFlags, MESSAGEID dwMsgIdFirst, MESSAGEPROPS *pProps,
                            HENUMSTORE *phEnum) override;
    HRESULT GetNextMessage(HENUMSTORE hEnum, DWORD dwFlags, MESSAGEPROPS *pProps) override;
    HRESULT GetMessageClose(HENUMSTORE hEnum) override;
    HRESULT GetMessageProps(MESSAGEID dwMessageId, DWORD dwFlags, MESSAGEPROPS *pProps) override;
    HRESULT FreeMessageProps(MESSAGEPROPS *pProps) override;

    // A message with the next id (ids ascend from 1) and the given fields; returns its id.
    MESSAGEID Add(FakeMessage message);
    FakeMessage *Find(MESSAGEID dwMessageId);

    STOREFOLDERID m_dwFolderId;
    SPECIALFOLDER m_sfType;
    std::string m_name;
    std::vector<FakeMessage> m_messages; // ascending ids

    HRESULT hrGetFolderProps = S_OK;
    HRESULT hrOpenMessage = S_OK;     // OpenMessage answers this (and no object) when set
    HRESULT hrGetMessageProps = S_OK; // GetMessageProps answers this when set
    HRESULT hrSetFlags = S_OK;
    int nFailEnumAfter = -1;          // with n >= 0 the enumeration fails with E_FAIL after n messages
    int cLiveProps = 0;               // props filled and not yet freed
    int cOpenEnums = 0;               // enumerations not yet closed
    int cFastReads = 0;               // reads with MSGPROPS_FAST
    int cFullReads = 0;               // reads without

private:
    HRESULT FillProps(const FakeMessage &message, DWORD dwFlags, MESSAGEPROPS *pProps);
    std::map<HENUMSTORE, size_t> m_enums; // enumeration -> index of the next message
    uintptr_t m_nNextEnum = 1;
};

class FakeStoreNamespace : public CRefCounted<IStoreNamespace> {
public:
    FakeStoreNamespace() = default;

    HRESULT QueryInterface(REFIID riid, void **ppv) override;
    HRESULT Initialize(HWND hwndOwner, DWORD dwReserved) override;
    HRESULT GetDirectory(LPSTR pszPath, DWORD cchMaxPath) override;
    HRESULT OpenSpecialFolder(LONG sfType, DWORD dwReserved, IStoreFolder **ppFolder) override;
    HRESULT OpenFolder(STOREFOLDERID dwFolderId, DWORD dwReserved, IStoreFolder **ppFolder) override;
    HRESULT CreateFolder(STOREFOLDERID dwParentId, LPCSTR pszName, DWORD dwReserved,
                         STOREFOLDERID *pdwFolderId) override;
    HRESULT GetFolderProps(STOREFOLDERID dwFolderId, DWORD dwReserved, FOLDERPROPS *pProps) override;
    HRESULT CopyMoveMessages(IStoreFolder *pSource, IStoreFolder *pDest, MESSAGEIDLIST *pMsgIdList, DWORD dwFlags,
                             DWORD dwFlagsRemove, IProgressNotify *pProgress) override;
    HRESULT GetFirstSubFolder(STOREFOLDERID dwFolderId, FOLDERPROPS *pProps, HENUMSTORE *phEnum) override;
    HRESULT GetNextSubFolder(HENUMSTORE hEnum, FOLDERPROPS *pProps) override;
    HRESULT GetSubFolderClose(HENUMSTORE hEnum) override;

    // A folder below dwParentId (FOLDERID_ROOT: top level), with the next id (ids ascend from 1). The namespace
    // keeps it; the pointer stays valid as long as the namespace lives.
    FakeStoreFolder *AddFolder(STOREFOLDERID dwParentId, const std::string &name,
                               SPECIALFOLDER sfType = FOLDER_OTHER);
    FakeStoreFolder *Folder(STOREFOLDERID dwFolderId);

    std::string directory = "/fake/store";
    HRESULT hrInitialize = S_OK;
    DWORD dwInitializeFlag = 0xFFFFFFFF; // what Initialize got last
    int cInitialize = 0;
    HRESULT hrOpenFolder = S_OK;    // OpenFolder and OpenSpecialFolder answer this (and no folder) when set
    HRESULT hrGetFolderProps = S_OK;
    HRESULT hrGetDirectory = S_OK;
    int nFailSubFolderAfter = -1;   // with n >= 0 the n+1-th folder of the walk fails with E_FAIL
    int cOpenSubEnums = 0;          // folder enumerations not yet closed
    int nMaxSubEnums = 0;           // most folder enumerations open at once

protected:
    ~FakeStoreNamespace() override;

private:
    struct FolderDef {
        STOREFOLDERID dwParentId;
        std::string name;
        FakeStoreFolder *pFolder; // one reference held here
    };
    void FillFolderProps(STOREFOLDERID dwFolderId, FOLDERPROPS *pProps);
    std::map<STOREFOLDERID, FolderDef> m_folders;
    STOREFOLDERID m_dwNextId = 1;
    std::map<HENUMSTORE, std::vector<STOREFOLDERID>> m_enums; // enumeration -> children still to come
    uintptr_t m_nNextEnum = 1;
    int cSubFoldersHanded = 0;
};

} // namespace testsupport
