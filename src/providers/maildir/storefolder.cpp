#include "providers/maildir/storefolder.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <set>
#include <sys/resource.h>
#include <unistd.h>

#include "log/log.h"
#include "platform/filestream.h"
#include "platform/mimeole.h"
#include "providers/maildir/fileops.h"
#include "providers/maildir/headerprops.h"
#include "providers/maildir/maildirname.h"
#include "providers/mime/fileio.h"
#include "providers/mime/messagelater.h"

namespace {

struct MessageEnum {
    MessageView view;
    size_t nPos;
    DWORD dwMsgFlags;
    bool bCold = false;     // header reads came from the disk: the files ahead are asked for in advance
    size_t nAhead = 0;      // the files before this position were asked for
    long nInBlocks = -1;    // this thread's reads from the disk so far, as last looked at
};

// How often a listing looks whether its header reads come from the disk rather than from the page cache.
constexpr size_t kColdCheck = 16;
// How many files ahead of the listing the disk is kept busy with, once it had to be read.
constexpr size_t kReadAhead = 64;
// How many files ahead of a walk through the messages are read on the worker; more are asked for once it has less
// than half of these left.
constexpr size_t kHeadsAhead = 64;

// True once this thread has read from the disk since the last call; the first call only takes the count.
bool ReadFromDisk(long *pnInBlocks) {
    struct rusage usage {};
    if (getrusage(RUSAGE_THREAD, &usage) != 0) return false;
    bool bRead = *pnInBlocks >= 0 && usage.ru_inblock > *pnInBlocks;
    *pnInBlocks = usage.ru_inblock;
    return bRead;
}

HRESULT CopyStream(IStream *pFrom, IStream *pTo) {
    LARGE_INTEGER zero{0};
    HRESULT hr = pFrom->Seek(zero, STREAM_SEEK_SET, nullptr);
    static thread_local char s_buf[65536];
    while (SUCCEEDED(hr)) {
        ULONG cbRead = 0;
        hr = pFrom->Read(s_buf, sizeof(s_buf), &cbRead);
        if (FAILED(hr) || cbRead == 0) break;
        hr = pTo->Write(s_buf, cbRead, nullptr);
    }
    return FAILED(hr) ? hr : S_OK;
}

std::string UniqueOf(std::string_view svName) { return std::string(SplitMaildirName(svName).svUnique); }

} // namespace

HRESULT CStoreFolder::Open(const std::shared_ptr<CFolderTree> &pTree, STOREFOLDERID idFolder, IStoreFolder **ppFolder) {
    if (!ppFolder) return E_POINTER;
    *ppFolder = nullptr;
    // The reading of the index finds a folder that is gone or moved (its cur/ or new/ missing): only then are the
    // store's directories walked again. An open of a folder that is there costs the index's look at its files.
    const FolderEntry *pEntry = pTree->Find(idFolder);
    HRESULT hr = pEntry ? OpenAt(pTree, idFolder, pTree->DirOf(*pEntry), ppFolder) : STG_E_PATHNOTFOUND;
    if (hr != STG_E_PATHNOTFOUND) return hr;
    hr = pTree->Scan();
    if (FAILED(hr)) return hr;
    pEntry = pTree->Find(idFolder);
    if (!pEntry) return STG_E_PATHNOTFOUND;
    return OpenAt(pTree, idFolder, pTree->DirOf(*pEntry), ppFolder);
}

HRESULT CStoreFolder::OpenAt(const std::shared_ptr<CFolderTree> &pTree, STOREFOLDERID idFolder, std::string strDir,
                             IStoreFolder **ppFolder) {
    CStoreFolder *pFolder = new CStoreFolder(pTree, idFolder, std::move(strDir));
    HRESULT hr = pFolder->m_index.Refresh();
    if (FAILED(hr)) {
        pFolder->Release();
        return hr;
    }
    *ppFolder = pFolder;
    return S_OK;
}

HRESULT CStoreFolder::QueryInterface(REFIID riid, void **ppv) {
    if (!ppv) return E_POINTER;
    if (riid == IID_IUnknown || riid == IID_IStoreFolder) {
        *ppv = static_cast<IStoreFolder *>(this);
        AddRef();
        return S_OK;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
}

HRESULT CStoreFolder::GetFolderProps(DWORD, FOLDERPROPS *pProps) { return m_pTree->GetProps(m_idFolder, pProps); }

template <class FnUse> HRESULT CStoreFolder::WithMessage(MESSAGEID id, const FnUse &fnUse, bool bFile) {
    MessageView view = m_index.View(); // keeps the message alive while fnUse runs
    if (const IndexedMessage *pMsg = m_index.Find(id)) {
        if (!bFile) return fnUse(*pMsg, std::string());
        std::string strPath = m_index.PathOf(*pMsg);
        HRESULT hr = fnUse(*pMsg, strPath);
        if (SUCCEEDED(hr) || access(strPath.c_str(), F_OK) == 0) return hr;
    }
    HRESULT hr = m_index.Refresh(); // another program may have renamed or removed the file
    if (FAILED(hr)) return hr;
    view = m_index.View();
    const IndexedMessage *pMsg = m_index.Find(id);
    if (!pMsg) return STG_E_FILENOTFOUND;
    return fnUse(*pMsg, bFile ? m_index.PathOf(*pMsg) : std::string());
}

HRESULT CStoreFolder::FillProps(const IndexedMessage &msg, DWORD dwFlags, MESSAGEPROPS *pProps) {
    MESSAGEPROPS props{};
    props.cbSize = sizeof(MESSAGEPROPS);
    props.dwMessageId = msg.id;
    props.dwState = msg.dwState;
    props.priority = IMSG_PRI_NORMAL;
    if (!(dwFlags & MSGPROPS_FAST)) {
        HRESULT hr = ReadHeaderProps(m_index.PathOf(msg), &props);
        if (FAILED(hr)) {
            FreeHeaderTexts(&props);
            return hr;
        }
    }
    *pProps = props;
    return S_OK;
}

HRESULT CStoreFolder::GetFirstMessage(DWORD dwFlags, DWORD dwMsgFlags, MESSAGEID dwMsgIdFirst, MESSAGEPROPS *pProps,
                                      HENUMSTORE *phEnum) {
    if (!pProps || !phEnum) return E_POINTER;
    *phEnum = nullptr;
    HRESULT hr = m_index.Refresh();
    if (FAILED(hr)) return hr;
    MessageView view = m_index.View();
    size_t nPos = 0;
    if (dwMsgIdFirst != MESSAGEID_FIRST)
        nPos = static_cast<size_t>(std::lower_bound(view->messages.begin(), view->messages.end(), dwMsgIdFirst,
                                                    [](const IndexedMessage &m, MESSAGEID id) { return m.id < id; }) -
                                   view->messages.begin());
    MessageEnum *pEnum = new MessageEnum{std::move(view), nPos, dwMsgFlags};
    HENUMSTORE hEnum = reinterpret_cast<HENUMSTORE>(pEnum);
    hr = GetNextMessage(hEnum, dwFlags, pProps);
    if (hr != S_OK) {
        delete pEnum;
        return hr;
    }
    *phEnum = hEnum;
    return S_OK;
}

HRESULT CStoreFolder::GetNextMessage(HENUMSTORE hEnum, DWORD dwFlags, MESSAGEPROPS *pProps) {
    if (!hEnum || !pProps) return E_POINTER;
    MessageEnum *pEnum = reinterpret_cast<MessageEnum *>(hEnum);
    bool bFile = !(dwFlags & MSGPROPS_FAST);
    while (pEnum->nPos < pEnum->view->messages.size()) {
        if (bFile && !pEnum->bCold && pEnum->nPos % kColdCheck == 0) pEnum->bCold = ReadFromDisk(&pEnum->nInBlocks);
        if (bFile && pEnum->bCold) ReadAheadOf(pEnum->view, pEnum->nPos, &pEnum->nAhead);
        const IndexedMessage &listed = pEnum->view->messages[pEnum->nPos++];
        HRESULT hr = WithMessage(
            listed.id,
            [&](const IndexedMessage &msg, const std::string &) {
                if (pEnum->dwMsgFlags && (msg.dwState & pEnum->dwMsgFlags) != pEnum->dwMsgFlags) return S_FALSE;
                return FillProps(msg, dwFlags, pProps);
            },
            bFile);
        if (hr == S_OK) return S_OK;
        if (hr == S_FALSE || hr == STG_E_FILENOTFOUND) continue; // filtered out, or gone since the listing
        return hr;
    }
    return S_FALSE;
}

void CStoreFolder::ReadAheadOf(const MessageView &view, size_t nPos, size_t *pnAhead) {
    size_t nEnd = std::min(view->messages.size(), nPos + kReadAhead);
    for (size_t i = std::max(*pnAhead, nPos); i < nEnd; i++) ReadAhead(m_index.PathOf(*view, view->messages[i]));
    *pnAhead = std::max(*pnAhead, nEnd);
}

HRESULT CStoreFolder::GetMessageClose(HENUMSTORE hEnum) {
    delete reinterpret_cast<MessageEnum *>(hEnum);
    return S_OK;
}

HRESULT CStoreFolder::GetMessageProps(MESSAGEID dwMessageId, DWORD dwFlags, MESSAGEPROPS *pProps) {
    if (!pProps) return E_POINTER;
    return WithMessage(
        dwMessageId, [&](const IndexedMessage &msg, const std::string &) { return FillProps(msg, dwFlags, pProps); },
        !(dwFlags & MSGPROPS_FAST));
}

HRESULT CStoreFolder::FreeMessageProps(MESSAGEPROPS *pProps) {
    if (!pProps) return E_POINTER;
    FreeHeaderTexts(pProps);
    return S_OK;
}

class CStoreFolder::CMessageReader final : public IMimeLaterReader {
public:
    CMessageReader(CStoreFolder *pFolder, MESSAGEID id) : m_pFolder(pFolder), m_id(id) { m_pFolder->AddRef(); }
    ~CMessageReader() override { m_pFolder->Release(); }
    CMessageReader(const CMessageReader &) = delete;
    CMessageReader &operator=(const CMessageReader &) = delete;

    HRESULT Read(std::string &strOut) override {
        return m_pFolder->WithMessage(m_id, [&](const IndexedMessage &msg, const std::string &strPath) {
            return m_pFolder->ReadWhole(msg, strPath, strOut);
        });
    }
    HRESULT ReadHead(std::string &strOut, bool *pbWhole) override {
        return m_pFolder->WithMessage(m_id, [&](const IndexedMessage &msg, const std::string &strPath) {
            return m_pFolder->ReadHead(msg, strPath, strOut, pbWhole);
        });
    }

private:
    CStoreFolder *m_pFolder; // one reference
    MESSAGEID m_id;
};

HRESULT CStoreFolder::OpenMessage(MESSAGEID dwMessageId, REFIID riid, void **ppvObject) {
    if (!ppvObject) return E_POINTER;
    *ppvObject = nullptr;
    if (riid != IID_IStream && riid != IID_IMimeMessage) return E_NOINTERFACE;
    if (riid == IID_IMimeMessage) {
        // Known to the index now, read when first used: a scan opens an earlier message for every comparison of
        // a body and mostly needs nothing of it, and reads of the top headers read the header block alone. A
        // rename meanwhile (another program's flag change) is followed through the index; a file gone meanwhile
        // fails the first use.
        HRESULT hr = WithMessage(
            dwMessageId, [](const IndexedMessage &, const std::string &) { return S_OK; }, false);
        if (FAILED(hr)) return hr;
        auto pReader = std::unique_ptr<IMimeLaterReader>(new (std::nothrow) CMessageReader(this, dwMessageId));
        if (!pReader) return E_OUTOFMEMORY;
        return MimeOpenMessageLater(std::move(pReader), reinterpret_cast<IMimeMessage **>(ppvObject));
    }
    IStream *pStream = nullptr;
    HRESULT hr = WithMessage(dwMessageId, [&](const IndexedMessage &, const std::string &strPath) {
        return CreateFileStreamForRead(strPath.c_str(), &pStream);
    });
    if (FAILED(hr)) return hr;
    *ppvObject = pStream;
    return S_OK;
}

HRESULT CStoreFolder::ReadHead(const IndexedMessage &msg, const std::string &strPath, std::string &strOut,
                               bool *pbWhole) {
    if (TakeAhead(msg, strPath, false, strOut, pbWhole)) return S_OK; // a whole file is a header block too
    return MimeReadFileHead(strPath.c_str(), strOut, pbWhole);
}

HRESULT CStoreFolder::ReadWhole(const IndexedMessage &msg, const std::string &strPath, std::string &strOut) {
    bool bWhole = false;
    if (TakeAhead(msg, strPath, true, strOut, &bWhole) && bWhole) return S_OK;
    return MimeReadFile(strPath.c_str(), strOut); // the walk read header blocks when this one was read ahead
}

bool CStoreFolder::TakeAhead(const IndexedMessage &msg, const std::string &strPath, bool bWholeRead,
                             std::string &strOut, bool *pbWhole) {
    const MessageView &view = m_index.View(); // msg is one of its messages
    if (m_headView.lock() != view) {
        m_headAhead.Clear();
        m_headView = view;
        m_nHeadWalk = SIZE_MAX;
        m_nHeadAsked = 0;
    }
    const size_t nPos = static_cast<size_t>(&msg - view->messages.data());
    // A walk is a read of the message after the furthest one read so far; reads of earlier messages between
    // (a search comparing with an earlier one) don't break it.
    const bool bWalk = m_nHeadWalk != SIZE_MAX && nPos == m_nHeadWalk + 1;
    if (m_nHeadWalk == SIZE_MAX || nPos > m_nHeadWalk) {
        m_nHeadWalk = nPos;
        // The files ahead are read as this one is: a scan comparing bodies reads each new message whole.
        if (bWholeRead != m_bWalkWhole) m_headAhead.ReadWhole(bWholeRead);
        m_bWalkWhole = bWholeRead;
    }
    if (bWalk && m_nHeadAsked < nPos + kHeadsAhead / 2) {
        size_t nFrom = std::max(m_nHeadAsked, nPos + 1), nEnd = std::min(view->messages.size(), nPos + 1 + kHeadsAhead);
        std::vector<std::string> paths;
        for (size_t i = nFrom; i < nEnd; i++) paths.push_back(m_index.PathOf(view->messages[i]));
        m_headAhead.Ask(std::move(paths));
        m_nHeadAsked = std::max(m_nHeadAsked, nEnd);
    }
    return m_headAhead.Take(strPath, strOut, pbWhole);
}

HRESULT CStoreFolder::CreateStream(HBATCHLOCK, DWORD, IStream **ppStream, MESSAGEID *pdwMessageId) {
    if (!ppStream || !pdwMessageId) return E_POINTER;
    *ppStream = nullptr;
    std::string strUnique = NewUniqueName();
    std::string strTmp = m_strDir + "/tmp";
    // The file first, then the reservation: a reservation is kept only while its file is in tmp/.
    HRESULT hr = CreateFileStreamForWrite((strTmp + "/" + strUnique).c_str(), ppStream);
    if (FAILED(hr) && !IsDirectory(strTmp) && SUCCEEDED(MakeDirectory(strTmp)))
        hr = CreateFileStreamForWrite((strTmp + "/" + strUnique).c_str(), ppStream);
    if (FAILED(hr)) {
        g_Log.Error("CStoreFolder::CreateStream", hr, "Cant create a message file in %s", strTmp.c_str());
        return hr;
    }
    MESSAGEID id = MESSAGEID_INVALID;
    hr = m_index.Update([&](CUidList &list) {
        id = list.Reserve(strUnique);
        return S_OK;
    });
    if (FAILED(hr)) {
        g_Log.Error("CStoreFolder::CreateStream", hr, "Cant reserve a message id in %s", m_strDir.c_str());
        SafeRelease(*ppStream);
        return hr;
    }
    m_reserved[id] = strUnique;
    *pdwMessageId = id;
    return S_OK;
}

HRESULT CStoreFolder::CommitStream(HBATCHLOCK, DWORD, DWORD dwMsgFlags, IStream *pStream, MESSAGEID dwMessageId,
                                   IMimeMessage *) {
    auto it = m_reserved.find(dwMessageId);
    if (!pStream || it == m_reserved.end()) return E_INVALIDARG;
    std::string strUnique = it->second;
    std::string strTmpPath = m_strDir + "/tmp/" + strUnique;
    IFileStream *pFile = nullptr;
    if (FAILED(pStream->QueryInterface(IID_IFileStream, reinterpret_cast<void **>(&pFile)))) return E_INVALIDARG;
    if (strTmpPath != pFile->GetPath()) {
        pFile->Release();
        return E_INVALIDARG;
    }
    std::string strName = strUnique + ":2," + FlagsFromState("", dwMsgFlags);
    HRESULT hr = pFile->Sync();
    if (SUCCEEDED(hr)) hr = RenameNoReplace(strTmpPath, m_strDir + "/cur/" + strName);
    if (SUCCEEDED(hr)) {
        pFile->Keep();
        m_reserved.erase(it);
        hr = SyncDirectory(m_strDir + "/cur");
    }
    pFile->Release();
    if (FAILED(hr)) {
        g_Log.Error("CStoreFolder::CommitStream", hr, "Cant put the new message %s into %s", strUnique.c_str(),
                    m_strDir.c_str());
        return hr;
    }
    hr = m_index.Update([&](CUidList &list) {
        UidEntry *pEntry = list.Find(dwMessageId);
        if (!pEntry || pEntry->strUnique != strUnique) return E_FAIL;
        list.SetExtras({{strUnique, dwMsgFlags}});
        return S_OK;
    });
    if (FAILED(hr))
        g_Log.Error("CStoreFolder::CommitStream", hr, "The new message %s in %s did not keep its id %u",
                    strUnique.c_str(), m_strDir.c_str(), dwMessageId);
    return hr;
}

HRESULT CStoreFolder::SaveMessage(REFIID riid, void *pvObject, DWORD dwMsgFlags, MESSAGEID *pdwMessageId) {
    if (!pvObject) return E_INVALIDARG;
    if (riid != IID_IMimeMessage && riid != IID_IStream) return E_NOINTERFACE;
    IStream *pStream = nullptr;
    MESSAGEID id = MESSAGEID_INVALID;
    HRESULT hr = CreateStream(nullptr, 0, &pStream, &id);
    if (FAILED(hr)) return hr;
    if (riid == IID_IMimeMessage) hr = static_cast<IMimeMessage *>(pvObject)->Save(pStream, 0);
    else hr = CopyStream(static_cast<IStream *>(pvObject), pStream);
    if (SUCCEEDED(hr)) hr = CommitStream(nullptr, 0, dwMsgFlags, pStream, id, nullptr);
    else m_reserved.erase(id);
    pStream->Release(); // an uncommitted file goes with the stream
    if (FAILED(hr)) return hr;
    if (pdwMessageId) *pdwMessageId = id;
    return S_OK;
}

HRESULT CStoreFolder::SetExtraStates(const std::map<std::string, DWORD> &extras) {
    return m_index.Update([&](CUidList &list) {
        list.SetExtras(extras);
        return S_OK;
    });
}

HRESULT CStoreFolder::SetFlags(MESSAGEIDLIST *pMsgIdList, DWORD dwState, DWORD dwStatemask, DWORD *prgdwNewFlags) {
    if (!pMsgIdList || (pMsgIdList->cMsgs && !pMsgIdList->prgdwMsgId)) return E_POINTER;
    dwStatemask &= MSG_ALLSTATES;
    std::map<std::string, DWORD> extras;
    HRESULT hrResult = S_OK;
    for (DWORD i = 0; i < pMsgIdList->cMsgs; ++i) {
        DWORD dwNew = 0;
        HRESULT hr = WithMessage(pMsgIdList->prgdwMsgId[i], [&](const IndexedMessage &msg, const std::string &strPath) {
            dwNew = (msg.dwState & ~dwStatemask) | (dwState & dwStatemask);
            if ((dwNew ^ msg.dwState) & ~kNameStateBits) extras[UniqueOf(m_index.NameOf(msg))] = dwNew;
            if (!((dwNew ^ msg.dwState) & kNameStateBits)) return S_OK;
            std::string strName = m_index.NameOf(msg);
            MaildirName name = SplitMaildirName(strName);
            std::string strTarget = m_strDir + "/cur/" + std::string(name.svUnique) + ":2," +
                                    FlagsFromState(name.svFlags, dwNew);
            return RenameNoReplace(strPath, strTarget);
        });
        if (prgdwNewFlags) prgdwNewFlags[i] = SUCCEEDED(hr) ? dwNew : 0;
        if (FAILED(hr) && SUCCEEDED(hrResult)) hrResult = hr;
    }
    HRESULT hr = extras.empty() ? m_index.Refresh() : SetExtraStates(extras);
    return FAILED(hrResult) ? hrResult : hr;
}

HRESULT CStoreFolder::MoveMessagesTo(CStoreFolder &dest, const MESSAGEIDLIST &list) {
    if (list.cMsgs && !list.prgdwMsgId) return E_POINTER;
    if (SameFolder(dest)) return S_OK;
    std::map<std::string, DWORD> extras;
    std::set<std::string> taken; // unique names in use in dest
    std::vector<MessageFile> destFiles;
    HRESULT hrResult = ListMessageFiles(dest.m_strDir, destFiles);
    if (FAILED(hrResult)) return hrResult;
    for (const MessageFile &f : destFiles) taken.emplace(f.Unique());
    for (DWORD i = 0; i < list.cMsgs; ++i) {
        HRESULT hr = WithMessage(list.prgdwMsgId[i], [&](const IndexedMessage &msg, const std::string &strPath) {
            std::string strSub = msg.bNew ? "/new/" : "/cur/";
            std::string strName = m_index.NameOf(msg);
            HRESULT hrMove = STG_E_FILEALREADYEXISTS;
            if (!taken.count(UniqueOf(strName))) hrMove = RenameNoReplace(strPath, dest.m_strDir + strSub + strName);
            if (hrMove == STG_E_FILEALREADYEXISTS) { // the name is taken there: the message gets a new one
                std::string_view svFlags = SplitMaildirName(strName).svFlags;
                strName = NewUniqueName() + (msg.bNew ? std::string() : ":2," + std::string(svFlags));
                hrMove = RenameNoReplace(strPath, dest.m_strDir + strSub + strName);
            }
            if (SUCCEEDED(hrMove)) taken.insert(UniqueOf(strName));
            if (SUCCEEDED(hrMove)) extras[UniqueOf(strName)] = msg.dwState;
            return hrMove;
        });
        if (FAILED(hr)) {
            g_Log.Error("CStoreFolder::MoveMessagesTo", hr, "Cant move message %u from %s to %s", list.prgdwMsgId[i],
                        m_strDir.c_str(), dest.m_strDir.c_str());
            if (SUCCEEDED(hrResult)) hrResult = hr;
        }
    }
    SyncDirectory(dest.m_strDir + "/cur");
    SyncDirectory(dest.m_strDir + "/new");
    HRESULT hr = dest.SetExtraStates(extras); // gives the arrivals their ids
    HRESULT hrSource = m_index.Refresh();
    if (FAILED(hrResult)) return hrResult;
    return FAILED(hr) ? hr : hrSource;
}

HRESULT CStoreFolder::CopyMessagesTo(CStoreFolder &dest, const MESSAGEIDLIST &list) {
    if (list.cMsgs && !list.prgdwMsgId) return E_POINTER;
    HRESULT hrResult = S_OK;
    for (DWORD i = 0; i < list.cMsgs; ++i) {
        IStream *pStream = nullptr;
        DWORD dwState = 0;
        HRESULT hr = WithMessage(list.prgdwMsgId[i], [&](const IndexedMessage &msg, const std::string &strPath) {
            dwState = msg.dwState;
            return CreateFileStreamForRead(strPath.c_str(), &pStream);
        });
        if (SUCCEEDED(hr)) hr = dest.SaveMessage(IID_IStream, pStream, dwState, nullptr);
        SafeRelease(pStream);
        if (FAILED(hr) && SUCCEEDED(hrResult)) hrResult = hr;
    }
    return hrResult;
}

HRESULT CStoreFolder::DeleteMessages(MESSAGEIDLIST *pMsgIdList, DWORD, IProgressNotify *) {
    if (!pMsgIdList) return E_POINTER;
    const FolderEntry *pEntry = m_pTree->Find(m_idFolder);
    if (pEntry && pEntry->sfType == FOLDER_DELETED) {
        if (pMsgIdList->cMsgs && !pMsgIdList->prgdwMsgId) return E_POINTER;
        HRESULT hrResult = S_OK;
        for (DWORD i = 0; i < pMsgIdList->cMsgs; ++i) {
            HRESULT hr = WithMessage(pMsgIdList->prgdwMsgId[i], [](const IndexedMessage &, const std::string &strPath) {
                return unlink(strPath.c_str()) == 0 ? S_OK : HResultFromErrno(errno);
            });
            if (FAILED(hr) && SUCCEEDED(hrResult)) hrResult = hr;
        }
        SyncDirectory(m_strDir + "/cur");
        HRESULT hr = m_index.Refresh();
        return FAILED(hrResult) ? hrResult : hr;
    }
    STOREFOLDERID idTrash = FOLDERID_INVALID;
    HRESULT hr = m_pTree->OpenSpecial(FOLDER_DELETED, &idTrash);
    IStoreFolder *pTrash = nullptr;
    if (SUCCEEDED(hr)) hr = CStoreFolder::Open(m_pTree, idTrash, &pTrash);
    if (FAILED(hr)) {
        g_Log.Error("CStoreFolder::DeleteMessages", hr, "Cant open or create the Deleted Items folder of %s",
                    m_pTree->Root().c_str());
        return hr;
    }
    hr = MoveMessagesTo(*static_cast<CStoreFolder *>(pTrash), *pMsgIdList);
    pTrash->Release();
    return hr;
}
