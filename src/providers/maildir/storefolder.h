// IStoreFolder over one Maildir folder.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "platform/msgstore.h"
#include "providers/maildir/folderindex.h"
#include "providers/maildir/foldertree.h"
#include "providers/maildir/headreadahead.h"

class CStoreFolder final : public CRefCounted<IStoreFolder> {
public:
    // Opens the folder and brings its uid list in line with its files.
    static HRESULT Open(const std::shared_ptr<CFolderTree> &pTree, STOREFOLDERID idFolder, IStoreFolder **ppFolder);

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

    // Moves the listed messages into pDest (renames; new ids there). Used by the namespace and by deletes.
    HRESULT MoveMessagesTo(CStoreFolder &dest, const MESSAGEIDLIST &list);
    // Copies the listed messages into pDest as new messages with the same state.
    HRESULT CopyMessagesTo(CStoreFolder &dest, const MESSAGEIDLIST &list);
    bool SameFolder(const CStoreFolder &other) const { return m_strDir == other.m_strDir; }

private:
    CStoreFolder(std::shared_ptr<CFolderTree> pTree, STOREFOLDERID idFolder, std::string strDir)
        : m_pTree(std::move(pTree)), m_idFolder(idFolder), m_strDir(std::move(strDir)),
          m_pIndex(m_pTree->IndexFor(m_strDir)), m_index(*m_pIndex) {}

    // Opens the folder at strDir and reads its index; STG_E_PATHNOTFOUND when it is no folder there.
    static HRESULT OpenAt(const std::shared_ptr<CFolderTree> &pTree, STOREFOLDERID idFolder, std::string strDir,
                          IStoreFolder **ppFolder);
    // Runs fnUse on the message's file; if the file went (renamed by a flag change, say) it looks again once.
    // Without bFile fnUse reads only the index: it gets no path, and only a message missing from the index is
    // looked for again. fnUse(const IndexedMessage &, const std::string &strPath) gives an HRESULT.
    template <class FnUse> HRESULT WithMessage(MESSAGEID id, const FnUse &fnUse, bool bFile = true);
    // The reads of a message object opened for an id: they hold the folder, and go through the index then.
    class CMessageReader;
    HRESULT FillProps(const IndexedMessage &msg, DWORD dwFlags, MESSAGEPROPS *pProps);
    // The header block of msg (at strPath) for a message object, as MimeReadFileHead reads it, or all of the file
    // (*pbWhole) when that was read ahead. Once the reads walk the folder in id order, the next messages' files are
    // read ahead on a worker thread.
    HRESULT ReadHead(const IndexedMessage &msg, const std::string &strPath, std::string &strOut, bool *pbWhole);
    // All of msg's file for a message object, as MimeReadFile reads it; read ahead as ReadHead's.
    HRESULT ReadWhole(const IndexedMessage &msg, const std::string &strPath, std::string &strOut);
    // The walk's part of ReadHead and ReadWhole (bWholeRead): notes the read, asks for the files ahead, and gives
    // the bytes read ahead for strPath if there are any.
    bool TakeAhead(const IndexedMessage &msg, const std::string &strPath, bool bWholeRead, std::string &strOut,
                   bool *pbWhole);
    // Asks for the files of the listing from nPos on, up to a window ahead, that were not asked for yet.
    void ReadAheadOf(const MessageView &view, size_t nPos, size_t *pnAhead);
    // Gives the files now in this folder under the unique names of extras their extra state bits.
    HRESULT SetExtraStates(const std::map<std::string, DWORD> &extras);

    std::shared_ptr<CFolderTree> m_pTree;
    STOREFOLDERID m_idFolder;
    std::string m_strDir;
    std::shared_ptr<CFolderIndex> m_pIndex;
    CFolderIndex &m_index; // *m_pIndex
    std::map<MESSAGEID, std::string> m_reserved; // CreateStream's ids and their files' unique names
    // The read-ahead holds bytes of one view's files: any change to the folder (through the library or seen by a
    // refresh) makes a new view, and then it starts again.
    std::weak_ptr<const MessageList> m_headView;
    size_t m_nHeadWalk = SIZE_MAX;  // the furthest position in it whose file was read
    size_t m_nHeadAsked = 0;        // the files before this position were asked for
    bool m_bWalkWhole = false;      // the read that moved the walk on last read the whole file: so do those ahead
    CHeadReadAhead m_headAhead;     // last: its worker ends before the rest goes
};
