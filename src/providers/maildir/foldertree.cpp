#include "providers/maildir/foldertree.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <dirent.h>
#include <set>
#include <strings.h>

#include "log/log.h"
#include "providers/maildir/fileops.h"
#include "providers/maildir/folderfiles.h"

namespace {

constexpr std::string_view kMagic = "tessel-folders 1 ";
constexpr int kMaxDepth = 16;

// Names by which a top-level folder is special, in order of preference; the Inbox is the root.
struct SpecialNames {
    SPECIALFOLDER sfType;
    std::vector<const char *> names;
};
const SpecialNames g_rgSpecial[] = {
    {FOLDER_OUTBOX, {"Outbox"}},
    {FOLDER_SENT, {"Sent", "Sent Items", "Sent Messages"}},
    {FOLDER_DELETED, {"Trash", "Deleted Items", "Deleted Messages"}},
    {FOLDER_DRAFT, {"Drafts"}},
};

std::vector<std::string> SubDirectories(const std::string &strDir) {
    std::vector<std::string> names;
    DIR *pDir = opendir(strDir.c_str());
    if (!pDir) return names;
    while (dirent *pEntry = readdir(pDir)) {
        std::string strName = pEntry->d_name;
        if (strName == "." || strName == ".." || strName.find('\n') != std::string::npos) continue;
        if (pEntry->d_type == DT_DIR || ((pEntry->d_type == DT_UNKNOWN || pEntry->d_type == DT_LNK) &&
                                         IsDirectory(strDir + "/" + strName)))
            names.push_back(strName);
    }
    closedir(pDir);
    return names;
}

void WalkNested(const std::string &strRoot, const std::string &strRel, int nDepth, std::vector<std::string> &rels) {
    if (nDepth > kMaxDepth) return;
    for (const std::string &strName : SubDirectories(strRel.empty() ? strRoot : strRoot + "/" + strRel)) {
        if (strName[0] == '.' || strName == "cur" || strName == "new" || strName == "tmp") continue;
        std::string strChild = strRel.empty() ? strName : strRel + "/" + strName;
        if (IsMaildirFolder(strRoot + "/" + strChild)) rels.push_back(strChild);
        WalkNested(strRoot, strChild, nDepth + 1, rels);
    }
}

bool NameLess(const std::string &a, const std::string &b) {
    int n = strcasecmp(a.c_str(), b.c_str());
    return n != 0 ? n < 0 : a < b;
}

// Parses tessel-folders leniently: what can be read is kept.
bool ParseFolderIds(std::string_view svText, std::map<std::string, STOREFOLDERID> &ids, STOREFOLDERID &idNext) {
    idNext = 1;
    if (svText.empty()) return true;
    size_t nEnd = svText.find('\n');
    if (svText.substr(0, kMagic.size()) != kMagic || nEnd == std::string_view::npos) return false;
    std::string_view svNext = svText.substr(kMagic.size(), nEnd - kMagic.size());
    bool bGood = std::from_chars(svNext.data(), svNext.data() + svNext.size(), idNext).ec == std::errc();
    while (nEnd + 1 < svText.size()) {
        size_t nStart = nEnd + 1;
        nEnd = svText.find('\n', nStart);
        if (nEnd == std::string_view::npos) return false;
        std::string_view svLine = svText.substr(nStart, nEnd - nStart);
        STOREFOLDERID id = 0;
        auto [p, ec] = std::from_chars(svLine.data(), svLine.data() + svLine.size(), id);
        const char *pEnd = svLine.data() + svLine.size();
        if (ec != std::errc() || id == 0 || p == pEnd || *p != ' ' || p + 1 == pEnd) {
            bGood = false;
            continue;
        }
        ids.emplace(std::string(p + 1, pEnd), id);
        if (id >= idNext) {
            bGood = false;
            idNext = id + 1;
        }
    }
    return bGood;
}

std::string SerializeFolderIds(const std::map<std::string, STOREFOLDERID> &ids, STOREFOLDERID idNext) {
    std::string str = std::string(kMagic) + std::to_string(idNext) + "\n";
    for (const auto &[strRel, id] : ids) str += std::to_string(id) + " " + strRel + "\n";
    return str;
}

} // namespace

const char *SpecialFolderNewName(SPECIALFOLDER sfType) {
    for (const SpecialNames &s : g_rgSpecial)
        if (s.sfType == sfType) return s.names.front();
    return nullptr;
}

HRESULT CFolderTree::AssignIds(const std::vector<std::string> &rels, std::map<std::string, STOREFOLDERID> &ids) {
    std::string strPath = m_strRoot + "/tessel-folders";
    CFileLock lock;
    std::string strText;
    HRESULT hrLock = lock.Lock(strPath);
    HRESULT hr = SUCCEEDED(hrLock) ? lock.Read(strText) : ReadWholeFile(strPath, strText);
    if (FAILED(hr)) strText.clear();

    std::map<std::string, STOREFOLDERID> stored;
    STOREFOLDERID idNext = 1;
    if (!ParseFolderIds(strText, stored, idNext))
        g_Log.Warning("CFolderTree::Scan", STG_E_READFAULT, "The folder list %s was damaged; rebuilt from the store",
                      strPath.c_str());
    bool bChanged = stored.size() != rels.size();
    ids.clear();
    for (const std::string &strRel : rels) {
        auto it = stored.find(strRel);
        if (it != stored.end()) {
            ids.emplace(strRel, it->second);
        } else {
            ids.emplace(strRel, idNext++);
            bChanged = true;
        }
    }
    if (!bChanged) return S_OK;
    hr = SUCCEEDED(hrLock) ? ReplaceFileAtomically(strPath, SerializeFolderIds(ids, idNext)) : hrLock;
    if (FAILED(hr))
        g_Log.Warning("CFolderTree::Scan", hr, "Cant write the folder list %s; folder ids hold for this run only",
                      strPath.c_str());
    return S_OK;
}

HRESULT CFolderTree::Scan() {
    m_folders.clear();
    m_top.clear();
    if (!IsDirectory(m_strRoot)) return STG_E_PATHNOTFOUND;

    // The root first, then Maildir++ folders, then nested ones, each by name.
    std::vector<std::string> rels;
    if (IsMaildirFolder(m_strRoot)) rels.push_back(".");
    std::vector<std::string> dotted;
    for (const std::string &strName : SubDirectories(m_strRoot))
        if (strName.size() > 1 && strName[0] == '.' && strName != ".." && IsMaildirFolder(m_strRoot + "/" + strName))
            dotted.push_back(strName);
    std::sort(dotted.begin(), dotted.end(), NameLess);
    std::vector<std::string> nested;
    WalkNested(m_strRoot, "", 0, nested);
    std::sort(nested.begin(), nested.end(), NameLess);
    rels.insert(rels.end(), dotted.begin(), dotted.end());
    rels.insert(rels.end(), nested.begin(), nested.end());

    std::map<std::string, STOREFOLDERID> ids;
    HRESULT hr = AssignIds(rels, ids);
    if (FAILED(hr)) return hr;

    for (const std::string &strRel : rels) {
        FolderEntry folder;
        folder.id = ids[strRel];
        folder.strRel = strRel;
        if (strRel == ".") {
            folder.strName = "Inbox";
            folder.sfType = FOLDER_INBOX;
        } else {
            // The parent is the nearest existing ancestor; the name is what remains of the path below it.
            bool bDotted = strRel[0] == '.';
            char chSep = bDotted ? '.' : '/';
            size_t nNameStart = bDotted ? 1 : 0;
            for (size_t n = strRel.rfind(chSep); n != std::string::npos && n > 0; n = strRel.rfind(chSep, n - 1)) {
                auto it = ids.find(strRel.substr(0, n));
                if (it != ids.end() && it->first != ".") {
                    folder.idParent = it->second;
                    nNameStart = n + 1;
                    break;
                }
            }
            folder.strName = strRel.substr(nNameStart);
        }
        m_folders.emplace(folder.id, std::move(folder));
    }

    // Children lists and special folders.
    for (auto &[id, folder] : m_folders) {
        if (folder.idParent == FOLDERID_ROOT) m_top.push_back(id);
        else m_folders[folder.idParent].children.push_back(id);
    }
    auto fnOrder = [this](STOREFOLDERID a, STOREFOLDERID b) {
        const FolderEntry &fa = m_folders[a], &fb = m_folders[b];
        if ((fa.sfType == FOLDER_INBOX) != (fb.sfType == FOLDER_INBOX)) return fa.sfType == FOLDER_INBOX;
        return NameLess(fa.strName, fb.strName);
    };
    if (!FindSpecial(FOLDER_INBOX)) {
        for (STOREFOLDERID id : m_top)
            if (strcasecmp(m_folders[id].strName.c_str(), "Inbox") == 0) {
                m_folders[id].sfType = FOLDER_INBOX;
                break;
            }
    }
    std::sort(m_top.begin(), m_top.end(), fnOrder);
    for (auto &[id, folder] : m_folders) std::sort(folder.children.begin(), folder.children.end(), fnOrder);
    for (const SpecialNames &special : g_rgSpecial) {
        for (const char *pszName : special.names) {
            auto it = std::find_if(m_top.begin(), m_top.end(), [&](STOREFOLDERID id) {
                const FolderEntry &f = m_folders[id];
                return f.sfType == FOLDER_OTHER && strcasecmp(f.strName.c_str(), pszName) == 0;
            });
            if (it == m_top.end()) continue;
            m_folders[*it].sfType = special.sfType;
            break;
        }
    }
    return S_OK;
}

const FolderEntry *CFolderTree::Find(STOREFOLDERID id) const {
    auto it = m_folders.find(id);
    return it == m_folders.end() ? nullptr : &it->second;
}

const FolderEntry *CFolderTree::FindSpecial(SPECIALFOLDER sfType) const {
    for (const auto &[id, folder] : m_folders)
        if (folder.sfType == sfType) return &folder;
    return nullptr;
}

const std::vector<STOREFOLDERID> *CFolderTree::Children(STOREFOLDERID idParent) const {
    if (idParent == FOLDERID_ROOT) return &m_top;
    const FolderEntry *pFolder = Find(idParent);
    return pFolder ? &pFolder->children : nullptr;
}

std::string CFolderTree::DirOf(const FolderEntry &folder) const {
    return folder.strRel == "." ? m_strRoot : m_strRoot + "/" + folder.strRel;
}

bool CFolderTree::NewFoldersNested() const {
    bool bDotted = false, bNested = false;
    for (const auto &[id, folder] : m_folders) {
        if (folder.strRel == ".") continue;
        (folder.strRel[0] == '.' ? bDotted : bNested) = true;
    }
    if (bDotted || bNested) return !bDotted;
    return !IsMaildirFolder(m_strRoot);
}

HRESULT CFolderTree::Create(STOREFOLDERID idParent, const std::string &strName, STOREFOLDERID *pidFolder) {
    const FolderEntry *pParent = idParent == FOLDERID_ROOT ? nullptr : Find(idParent);
    if (idParent != FOLDERID_ROOT && !pParent) return STG_E_PATHNOTFOUND;
    bool bTop = !pParent || pParent->strRel == ".";
    bool bNested = bTop ? NewFoldersNested() : pParent->strRel[0] != '.';
    if (strName.empty() || strName[0] == '.' || strName.find('/') != std::string::npos ||
        std::any_of(strName.begin(), strName.end(), [](char ch) { return static_cast<unsigned char>(ch) < 0x20; }) ||
        (!bNested && strName.find('.') != std::string::npos))
        return E_INVALIDARG;
    std::string strRel = bNested ? (bTop ? strName : pParent->strRel + "/" + strName)
                                 : (bTop ? "." + strName : pParent->strRel + "." + strName);
    std::string strDir = m_strRoot + "/" + strRel;
    if (IsMaildirFolder(strDir)) return STG_E_FILEALREADYEXISTS;
    HRESULT hr = MakeDirectory(strDir);
    for (const char *pszSub : {"/tmp", "/new", "/cur"})
        if (SUCCEEDED(hr)) hr = MakeDirectory(strDir + pszSub);
    if (SUCCEEDED(hr) && !bNested) hr = ReplaceFileAtomically(strDir + "/maildirfolder", "");
    if (SUCCEEDED(hr)) hr = SyncDirectory(m_strRoot);
    if (FAILED(hr)) return hr;
    hr = Scan();
    if (FAILED(hr)) return hr;
    for (const auto &[id, folder] : m_folders) {
        if (folder.strRel != strRel) continue;
        if (pidFolder) *pidFolder = id;
        return S_OK;
    }
    return E_FAIL;
}

HRESULT CFolderTree::OpenSpecial(SPECIALFOLDER sfType, STOREFOLDERID *pidFolder) {
    HRESULT hr = Scan();
    if (FAILED(hr)) return hr;
    if (const FolderEntry *pFolder = FindSpecial(sfType)) {
        *pidFolder = pFolder->id;
        return S_OK;
    }
    const char *pszName = SpecialFolderNewName(sfType);
    if (!pszName) return STG_E_PATHNOTFOUND; // an Inbox is never made up
    return Create(FOLDERID_ROOT, pszName, pidFolder);
}

HRESULT CFolderTree::GetProps(STOREFOLDERID id, FOLDERPROPS *pProps) {
    if (!pProps) return E_POINTER;
    const FolderEntry *pFolder = Find(id);
    if (!pFolder || !IsMaildirFolder(DirOf(*pFolder))) {
        HRESULT hr = Scan(); // renamed or made by another program since the last look
        if (FAILED(hr)) return hr;
        pFolder = Find(id);
        if (!pFolder) return STG_E_PATHNOTFOUND;
    }
    FOLDERPROPS props{};
    props.cbSize = sizeof(FOLDERPROPS);
    props.dwFolderId = id;
    props.cSubFolders = static_cast<int32_t>(pFolder->children.size());
    props.sfType = pFolder->sfType;
    HRESULT hr = CountMessages(DirOf(*pFolder), props.cMessage, props.cUnread);
    if (FAILED(hr)) return hr;
    // Cut at a character boundary so that the name stays valid UTF-8.
    size_t n = std::min(pFolder->strName.size(), sizeof(props.szName) - 1);
    while (n > 0 && n < pFolder->strName.size() && (static_cast<unsigned char>(pFolder->strName[n]) & 0xC0) == 0x80) --n;
    memcpy(props.szName, pFolder->strName.data(), n);
    *pProps = props;
    return S_OK;
}

std::shared_ptr<CFolderIndex> CFolderTree::IndexFor(const std::string &strDir) {
    std::shared_ptr<CFolderIndex> &pIndex = m_indexes[strDir];
    if (!pIndex) pIndex = std::make_shared<CFolderIndex>(strDir);
    return pIndex;
}
