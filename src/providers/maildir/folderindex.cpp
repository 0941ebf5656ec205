#include "providers/maildir/folderindex.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <sys/stat.h>

#include "log/log.h"
#include "providers/maildir/fileops.h"
#include "providers/maildir/folderfiles.h"
#include "providers/maildir/maildirname.h"

namespace {

// A reservation whose file sat in tmp/ this long is a leftover of a crash (the Maildir rule for tmp/).
constexpr time_t kStaleTmpSeconds = 36 * 3600;

struct DeliveryKey {
    int64_t nSeconds;
    int64_t nNanos;
};

DeliveryKey DeliveryOf(const std::string &strPath) {
    struct stat st;
    if (stat(strPath.c_str(), &st) != 0) return {INT64_MAX, 0};
    return {st.st_mtim.tv_sec, st.st_mtim.tv_nsec};
}

} // namespace

HRESULT CFolderIndex::Pass(const std::string &strText, CUidList &list, bool &bChanged, bool &bDamaged) {
    bDamaged = !list.Parse(strText);
    bChanged = bDamaged;
    HRESULT hr = ListMessageFiles(m_strDir, m_files);
    if (FAILED(hr)) return hr;

    time_t tNow = time(nullptr);
    auto fnInTmp = [&](const std::string &strUnique) {
        struct stat st;
        return stat((m_strDir + "/tmp/" + strUnique).c_str(), &st) == 0 && tNow - st.st_mtime < kStaleTmpSeconds;
    };
    std::vector<size_t> newFiles = list.Match(m_files, fnInTmp, m_index, bChanged);
    if (!newFiles.empty()) {
        // Delivery order: modification time, then name (which begins with the delivery time).
        std::vector<std::pair<DeliveryKey, size_t>> keyed;
        keyed.reserve(newFiles.size());
        for (size_t i : newFiles) keyed.push_back({DeliveryOf(MessagePath(m_strDir, m_files[i].strName, m_files[i].bNew)), i});
        std::sort(keyed.begin(), keyed.end(), [&](const auto &a, const auto &b) {
            if (a.first.nSeconds != b.first.nSeconds) return a.first.nSeconds < b.first.nSeconds;
            if (a.first.nNanos != b.first.nNanos) return a.first.nNanos < b.first.nNanos;
            return m_files[a.second].strName < m_files[b.second].strName;
        });
        for (size_t k = 0; k < keyed.size(); ++k) newFiles[k] = keyed[k].second;
        list.Assign(newFiles, m_files, m_index);
        bChanged = true;
    }
    return S_OK;
}

void CFolderIndex::BuildView(CUidList &list) {
    const std::vector<UidEntry> &entries = list.Entries();
    auto view = std::make_shared<MessageList>();
    size_t nKept = 0, cbNames = 0;
    for (size_t i = 0; i < m_files.size(); ++i) {
        if (m_index[i] == SIZE_MAX) continue; // a second file under a unique name in use
        ++nKept;
        cbNames += view->names.EncodedSize(m_files[i].strName);
    }
    view->messages.reserve(nKept);
    view->names.Reserve(cbNames);
    for (size_t i = 0; i < m_files.size(); ++i) {
        if (m_index[i] == SIZE_MAX) continue;
        const UidEntry &e = entries[m_index[i]];
        const std::string &strName = m_files[i].strName;
        DWORD dwState = (StateFromFlags(SplitMaildirName(strName).svFlags) & kNameStateBits) |
                        (e.dwExtra & ~kNameStateBits);
        view->messages.push_back(IndexedMessage{view->names.Add(strName), e.id, dwState, m_files[i].bNew});
    }
    std::sort(view->messages.begin(), view->messages.end(),
              [](const IndexedMessage &a, const IndexedMessage &b) { return a.id < b.id; });
    m_view = std::move(view);
    // The file list only served this reading; the view holds the names now. Kept, it would be a second copy of
    // every name for as long as the folder is open.
    std::vector<MessageFile>().swap(m_files);
    std::vector<size_t>().swap(m_index);
}

std::string CFolderIndex::PathOf(const MessageList &list, const IndexedMessage &msg) const {
    std::string strPath = m_strDir + (msg.bNew ? "/new/" : "/cur/");
    list.names.AppendName(strPath, msg.nName);
    return strPath;
}

CFolderIndex::FolderSig CFolderIndex::TakeSig() const {
    FolderSig sig;
    const std::string rgPaths[3] = {UidListPath(), m_strDir + "/cur", m_strDir + "/new"};
    for (size_t i = 0; i < sig.size(); ++i) {
        struct stat st;
        if (stat(rgPaths[i].c_str(), &st) != 0) continue;
        sig[i] = FileSig{static_cast<uint64_t>(st.st_dev), static_cast<uint64_t>(st.st_ino),
                         static_cast<uint64_t>(st.st_size),
                         static_cast<int64_t>(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec};
    }
    return sig;
}

bool CFolderIndex::Settled(const FolderSig &sig) {
    // A change within the same clock tick as the reading would leave the time as it was: only times older than
    // a second say for sure that nothing changed since.
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    int64_t nLimit = (static_cast<int64_t>(now.tv_sec) - 1) * 1000000000 + now.tv_nsec;
    for (const FileSig &f : sig)
        if (f.nMtime > nLimit) return false;
    return true;
}

HRESULT CFolderIndex::Refresh() {
    FolderSig sig = TakeSig(); // before the reading: a change during it shows next time
    if (m_bSigValid && sig == m_sig) return S_OK;
    std::string strText;
    HRESULT hr = ReadWholeFile(UidListPath(), strText);
    if (FAILED(hr) && hr != STG_E_FILENOTFOUND) strText.clear(); // unreadable: rebuilt like a damaged one
    CUidList list;
    bool bChanged = false, bDamaged = false;
    hr = Pass(strText, list, bChanged, bDamaged);
    if (FAILED(hr)) return hr;
    if (bChanged) {
        hr = Update([](CUidList &) { return S_OK; });
        if (hr == STG_E_PATHNOTFOUND) return hr;
        if (SUCCEEDED(hr)) return S_OK; // the list is new: the next reading can't be skipped
        g_Log.Warning("CFolderIndex::Refresh", hr, "Cant write the uid list of %s; ids hold for this run only",
                      m_strDir.c_str());
        hr = Pass(strText, list, bChanged, bDamaged); // the failed update left its own reading behind
        if (FAILED(hr)) return hr;
    }
    BuildView(list);
    m_sig = sig;
    m_bSigValid = !bChanged && Settled(sig);
    return S_OK;
}

HRESULT CFolderIndex::Update(const std::function<HRESULT(CUidList &)> &fnChange) {
    m_bSigValid = false;
    CFileLock lock;
    HRESULT hr = lock.Lock(UidListPath());
    if (FAILED(hr)) return IsMaildirFolder(m_strDir) ? hr : STG_E_PATHNOTFOUND;
    std::string strText;
    hr = lock.Read(strText);
    if (FAILED(hr)) strText.clear();
    CUidList list;
    bool bChanged = false, bDamaged = false;
    hr = Pass(strText, list, bChanged, bDamaged);
    if (FAILED(hr)) return hr;
    if (bDamaged)
        g_Log.Warning("CFolderIndex::Update", STG_E_READFAULT, "The uid list of %s was damaged; rebuilt from the folder",
                      m_strDir.c_str());
    hr = fnChange(list);
    if (FAILED(hr)) return hr;
    hr = ReplaceFileAtomically(UidListPath(), list.Serialize());
    if (FAILED(hr)) return hr;
    BuildView(list);
    return S_OK;
}

const IndexedMessage *CFolderIndex::Find(MESSAGEID id) const {
    // Ids are given out ascending and seldom skipped, so a message mostly stands as far from the start as its id
    // from the first id: one look instead of a search that strays over the whole view.
    const std::vector<IndexedMessage> &messages = m_view->messages;
    if (!messages.empty() && id >= messages.front().id) {
        size_t nGuess = id - messages.front().id;
        if (nGuess < messages.size() && messages[nGuess].id == id) return &messages[nGuess];
    }
    auto it = std::lower_bound(messages.begin(), messages.end(), id,
                               [](const IndexedMessage &m, MESSAGEID idWanted) { return m.id < idWanted; });
    return it != messages.end() && it->id == id ? &*it : nullptr;
}
