// IStoreNamespace over a Maildir store: the root from TESSEL_MAILDIR, else MAILDIR, else ~/Maildir.
#pragma once

#include <memory>
#include <string>

#include "platform/msgstore.h"
#include "providers/maildir/foldertree.h"

class CStoreNamespace final : public CRefCounted<IStoreNamespace> {
public:
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

private:
    std::shared_ptr<CFolderTree> m_pTree; // null until Initialize succeeds
};

// The store root the environment names: TESSEL_MAILDIR, else MAILDIR, else ~/Maildir.
std::string MaildirStoreRoot();
