// Loading, indexing and changing an address book of vCard files.
#include "providers/vcard/vcard_book.h"

#include <algorithm>
#include <cstdlib>
#include <system_error>

#include "log/log.h"
#include "providers/vcard/vcard_fileio.h"
#include "providers/vcard/vcard_value.h"

namespace vcard {

namespace fs = std::filesystem;

namespace {

constexpr char kKindRoot = 'R';
constexpr char kKindContainer = 'C';
constexpr char kKindCard = 'E';
constexpr char kKindTemplate = 'T';

std::string IdHead(char cKind) { return std::string(4, '\0') + cKind; }

bool IsVcfName(const fs::path &p) {
    std::string s = p.filename().string();
    return !s.empty() && s[0] != '.' && s.size() > 4 && EqualNoCase(s.substr(s.size() - 4), ".vcf");
}

uint64_t Fnv1a(std::string_view s) {
    uint64_t h = 1469598103934665603ull;
    for (char c : s) {
        h ^= static_cast<unsigned char>(c);
        h *= 1099511628211ull;
    }
    return h;
}

// A file name for a new card of a vdir, from its UID.
std::string FileNameForUid(const std::string &sUid) {
    std::string s;
    for (char c : sUid)
        s += std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_' || c == '@' ? c : '_';
    if (s.empty() || s[0] == '.') s = "card" + s;
    return s.substr(0, 120);
}

bool OnlyBlank(const VFile &file) {
    for (const VChunk &c : file.chunks) {
        if (c.bCard) return false;
        if (c.sText.find_first_not_of(" \t\r\n") != std::string::npos && c.sText != "\xEF\xBB\xBF") return false;
    }
    return true;
}

std::string DefaultPath() {
    if (const char *p = std::getenv("TESSEL_CONTACTS"); p && *p) return p;
    const char *pHome = std::getenv("HOME");
    return std::string(pHome ? pHome : ".") + "/.local/share/contacts";
}

std::string DisplayNameOf(const fs::path &dir, const std::string &sFallback) {
    // vdirsyncer keeps a collection's name in a "displayname" file.
    std::string sText;
    FileStamp stamp;
    if (ReadWholeFile(dir / "displayname", &sText, &stamp)) {
        while (!sText.empty() && (sText.back() == '\n' || sText.back() == '\r' || sText.back() == ' '))
            sText.pop_back();
        if (!sText.empty()) return sText;
    }
    return sFallback;
}

} // namespace

HRESULT CBook::Open(const std::string &sPathIn, std::shared_ptr<CBook> *ppBook) {
    std::string sPath = sPathIn.empty() ? DefaultPath() : sPathIn;
    std::shared_ptr<CBook> book(new CBook());
    book->m_root = fs::path(sPath);
    std::error_code ec;
    if (!fs::exists(book->m_root, ec)) {
        bool bFile = EqualNoCase(book->m_root.extension().string(), ".vcf");
        fs::path dir = bFile ? book->m_root.parent_path() : book->m_root;
        if (!dir.empty()) fs::create_directories(dir, ec);
        HRESULT hr = S_OK;
        if (!ec && bFile) hr = ReplaceFile(book->m_root, std::string());
        if (ec || FAILED(hr)) {
            hr = ec ? HResultFromErrno(ec.value()) : hr;
            g_Log.Error("CBook::Open", hr, "Cant create the address book %s", sPath.c_str());
            return hr;
        }
    }
    book->m_bDirectory = fs::is_directory(book->m_root, ec);
    fs::path names = book->m_bDirectory
                         ? book->m_root / ".tessel-names"
                         : book->m_root.parent_path() / ("." + book->m_root.filename().string() + ".tessel-names");
    book->m_pNames = std::make_unique<CNamedProps>(names);
    HRESULT hr = book->Load();
    if (FAILED(hr)) return hr;
    *ppBook = std::move(book);
    return S_OK;
}

bool CBook::ReadFile(CardFile *pFile) {
    std::string sText;
    FileStamp stamp;
    bool bOk = ReadWholeFile(pFile->path, &sText, &stamp);
    pFile->bExists = stamp.bExists;
    pFile->nSize = stamp.nSize;
    pFile->nMtime = stamp.nMtime;
    if (!bOk) {
        pFile->file = VFile();
        if (stamp.bExists) g_Log.Error("CBook::ReadFile", E_ACCESSDENIED, "Cant read %s", pFile->path.c_str());
        return false;
    }
    std::vector<VProblem> problems;
    pFile->file = ParseFile(sText, &problems);
    for (const VProblem &p : problems)
        g_Log.Warning("CBook::ReadFile", 0, "Skipping what cant be parsed in %s line %d: %s", pFile->path.c_str(),
                      p.nLine, p.sWhat.c_str());
    return true;
}

bool CBook::ChangedOnDisk(const CardFile &file) const {
    FileStamp now = StampOf(file.path);
    FileStamp then;
    then.bExists = file.bExists;
    then.nSize = file.nSize;
    then.nMtime = file.nMtime;
    return !(now == then);
}

HRESULT CBook::Load() {
    m_containers.clear();
    if (!m_bDirectory) {
        Container c;
        c.path = m_root;
        c.sName = m_root.stem().string();
        CardFile f;
        f.path = m_root;
        if (!ReadFile(&f) && !f.bExists) {
            g_Log.Error("CBook::Load", MAPI_E_NOT_FOUND, "Cant read the address book %s", m_root.c_str());
            return MAPI_E_NOT_FOUND;
        }
        c.files.push_back(std::move(f));
        m_containers.push_back(std::move(c));
    } else {
        LoadDirectory();
    }
    Reindex();
    return S_OK;
}

void CBook::LoadDirectory() {
    std::vector<fs::path> dirs{m_root};
    std::error_code ec;
    for (auto it = fs::recursive_directory_iterator(m_root, fs::directory_options::skip_permission_denied, ec);
         !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
        std::string sName = it->path().filename().string();
        if (!sName.empty() && sName[0] == '.') {
            if (it->is_directory(ec)) it.disable_recursion_pending();
            continue;
        }
        if (it->is_regular_file(ec) && IsVcfName(it->path()) && it->path().parent_path() != m_root &&
            std::find(dirs.begin(), dirs.end(), it->path().parent_path()) == dirs.end())
            dirs.push_back(it->path().parent_path());
    }
    std::sort(dirs.begin() + 1, dirs.end());
    for (const fs::path &dir : dirs) {
        Container c;
        c.path = dir;
        c.sKey = dir == m_root ? std::string() : fs::relative(dir, m_root).string();
        c.sName = DisplayNameOf(dir, dir == m_root ? m_root.filename().string() : c.sKey);
        m_containers.push_back(std::move(c));
        Refresh(m_containers.size() - 1);
    }
}

void CBook::Refresh(size_t nContainer) {
    Container &c = m_containers[nContainer];
    if (!m_bDirectory) {
        if (ChangedOnDisk(c.files[0])) {
            ReadFile(&c.files[0]);
            Reindex();
        }
        return;
    }
    std::vector<fs::path> paths;
    std::error_code ec;
    for (auto it = fs::directory_iterator(c.path, ec); !ec && it != fs::directory_iterator(); it.increment(ec))
        if (IsVcfName(it->path()) && it->is_regular_file(ec)) paths.push_back(it->path());
    std::sort(paths.begin(), paths.end());
    std::vector<CardFile> files;
    bool bChanged = paths.size() != c.files.size();
    for (const fs::path &p : paths) {
        auto old = std::find_if(c.files.begin(), c.files.end(), [&](const CardFile &f) { return f.path == p; });
        if (old != c.files.end() && !ChangedOnDisk(*old)) {
            files.push_back(std::move(*old));
            continue;
        }
        CardFile f;
        f.path = p;
        ReadFile(&f);
        files.push_back(std::move(f));
        bChanged = true;
    }
    c.files = std::move(files);
    if (bChanged) Reindex();
}

std::string CBook::RootEntryId() { return IdHead(kKindRoot); }

std::string CBook::ContainerEntryId(size_t n) const { return IdHead(kKindContainer) + m_containers[n].sKey; }

std::string CBook::TemplateEntryId(size_t n, ULONG ulObjType) const {
    return IdHead(kKindTemplate) + (ulObjType == MAPI_DISTLIST ? 'D' : 'U') + m_containers[n].sKey;
}

bool CBook::IsRootId(std::string_view sId) const { return sId == RootEntryId(); }

bool CBook::FindContainer(std::string_view sId, size_t *pn) const {
    std::string sHead = IdHead(kKindContainer);
    if (sId.substr(0, sHead.size()) != sHead) return false;
    std::string_view sKey = sId.substr(sHead.size());
    for (size_t i = 0; i < m_containers.size(); ++i)
        if (m_containers[i].sKey == sKey) {
            *pn = i;
            return true;
        }
    return false;
}

bool CBook::FindTemplate(std::string_view sId, size_t *pn, ULONG *pulObjType) const {
    std::string sHead = IdHead(kKindTemplate);
    if (sId.size() <= sHead.size() || sId.substr(0, sHead.size()) != sHead) return false;
    char cType = sId[sHead.size()];
    if (cType != 'D' && cType != 'U') return false;
    std::string_view sKey = sId.substr(sHead.size() + 1);
    for (size_t i = 0; i < m_containers.size(); ++i)
        if (m_containers[i].sKey == sKey) {
            *pn = i;
            *pulObjType = cType == 'D' ? MAPI_DISTLIST : MAPI_MAILUSER;
            return true;
        }
    return false;
}

std::string CBook::CardKey(size_t nContainer, const VCard &card, std::map<std::string, int> *pSeen) const {
    std::string sUid = card.Uid();
    std::string sKey;
    if (!sUid.empty()) {
        sKey = "U" + sUid;
    } else {
        char sz[24];
        std::snprintf(sz, sizeof sz, "H%016llx", static_cast<unsigned long long>(Fnv1a(WriteCard(card))));
        sKey = sz;
    }
    int n = ++(*pSeen)[sKey];
    if (n > 1) sKey += "\x01" + std::to_string(n);
    return IdHead(kKindCard) + m_containers[nContainer].sKey + std::string(1, '\0') + sKey;
}

void CBook::Reindex() {
    m_index.clear();
    for (size_t c = 0; c < m_containers.size(); ++c) {
        std::map<std::string, int> seen;
        const Container &cont = m_containers[c];
        for (size_t f = 0; f < cont.files.size(); ++f)
            for (size_t k = 0; k < cont.files[f].file.chunks.size(); ++k) {
                const VChunk &chunk = cont.files[f].file.chunks[k];
                if (chunk.bCard) m_index[CardKey(c, chunk.card, &seen)] = CardPos{c, f, k};
            }
    }
}

std::vector<std::string> CBook::CardIds(size_t nContainer) const {
    std::vector<std::pair<std::pair<size_t, size_t>, std::string>> ids;
    for (const auto &[sId, pos] : m_index)
        if (pos.nContainer == nContainer) ids.push_back({{pos.nFile, pos.nChunk}, sId});
    std::sort(ids.begin(), ids.end());
    std::vector<std::string> r;
    for (auto &e : ids) r.push_back(std::move(e.second));
    return r;
}

bool CBook::FindCard(std::string_view sEntryId, CardPos *pPos) const {
    auto it = m_index.find(std::string(sEntryId));
    if (it == m_index.end()) return false;
    *pPos = it->second;
    return true;
}

const VCard &CBook::CardAt(const CardPos &pos) const {
    return m_containers[pos.nContainer].files[pos.nFile].file.chunks[pos.nChunk].card;
}

const CardFile &CBook::FileAt(const CardPos &pos) const { return m_containers[pos.nContainer].files[pos.nFile]; }

HRESULT CBook::Commit(CardFile *pFile) {
    HRESULT hr = ReplaceFile(pFile->path, vcard::WriteFile(pFile->file));
    if (FAILED(hr)) return hr;
    // What we wrote is what the file now holds: changed cards take their new bytes as their original text.
    for (VChunk &chunk : pFile->file.chunks) {
        if (!chunk.bCard || !chunk.card.sRaw.empty()) continue;
        VFile one = ParseFile(WriteCard(chunk.card), nullptr);
        if (one.chunks.size() == 1 && one.chunks[0].bCard) {
            int nLine = chunk.card.nLine;
            chunk.card = std::move(one.chunks[0].card);
            chunk.card.nLine = nLine;
        }
    }
    FileStamp stamp = StampOf(pFile->path);
    pFile->bExists = stamp.bExists;
    pFile->nSize = stamp.nSize;
    pFile->nMtime = stamp.nMtime;
    return S_OK;
}

HRESULT CBook::SaveCard(std::string_view sEntryId, const VCard &original, const VCard &card, std::string *psNewId) {
    CardPos pos;
    if (!FindCard(sEntryId, &pos)) return MAPI_E_NOT_FOUND;
    std::string sOriginal = WriteCard(original);
    CardFile *pFile = &m_containers[pos.nContainer].files[pos.nFile];
    if (ChangedOnDisk(*pFile)) {
        g_Log.Info(1, "CBook::SaveCard", "%s changed on disk since it was read; reading it again",
                   pFile->path.c_str());
        ReadFile(pFile);
        Reindex();
        if (!FindCard(sEntryId, &pos)) {
            g_Log.Error("CBook::SaveCard", MAPI_E_OBJECT_DELETED,
                        "Card not saved: another program removed it from %s", pFile->path.c_str());
            return MAPI_E_OBJECT_DELETED;
        }
        pFile = &m_containers[pos.nContainer].files[pos.nFile];
    }
    if (WriteCard(CardAt(pos)) != sOriginal) {
        g_Log.Error("CBook::SaveCard", MAPI_E_OBJECT_CHANGED,
                    "Card not saved: it was changed by another program in %s line %d", pFile->path.c_str(),
                    CardAt(pos).nLine);
        return MAPI_E_OBJECT_CHANGED;
    }
    VCard &slot = pFile->file.chunks[pos.nChunk].card;
    VCard old = std::move(slot);
    slot = card;
    HRESULT hr = Commit(pFile);
    if (FAILED(hr)) {
        pFile->file.chunks[pos.nChunk].card = std::move(old);
        return hr;
    }
    Reindex();
    for (const auto &[sId, p] : m_index)
        if (p.nContainer == pos.nContainer && p.nFile == pos.nFile && p.nChunk == pos.nChunk) *psNewId = sId;
    return S_OK;
}

HRESULT CBook::AddCard(size_t nContainer, VCard card, std::string *psNewId) {
    Container &c = m_containers[nContainer];
    CardFile *pFile = nullptr;
    if (!m_bDirectory) {
        pFile = &c.files[0];
        if (ChangedOnDisk(*pFile)) ReadFile(pFile);
        for (const VChunk &chunk : pFile->file.chunks)
            if (chunk.bCard) {
                card.sEol = chunk.card.sEol; // new cards follow the file's line ending
                break;
            }
    } else {
        std::string sBase = FileNameForUid(card.Uid());
        fs::path path = c.path / (sBase + ".vcf");
        std::error_code ec;
        for (int n = 2; fs::exists(path, ec); ++n) path = c.path / (sBase + "-" + std::to_string(n) + ".vcf");
        CardFile f;
        f.path = path;
        c.files.push_back(std::move(f));
        pFile = &c.files.back();
    }
    VChunk chunk;
    chunk.bCard = true;
    chunk.card = std::move(card);
    pFile->file.chunks.push_back(std::move(chunk));
    size_t nChunk = pFile->file.chunks.size() - 1;
    fs::path path = pFile->path;
    HRESULT hr = Commit(pFile);
    if (FAILED(hr)) {
        if (m_bDirectory) c.files.pop_back();
        else pFile->file.chunks.pop_back();
        return hr;
    }
    if (m_bDirectory)
        std::sort(c.files.begin(), c.files.end(), [](const CardFile &a, const CardFile &b) { return a.path < b.path; });
    Reindex();
    for (const auto &[sId, p] : m_index)
        if (p.nContainer == nContainer && c.files[p.nFile].path == path && p.nChunk == nChunk) *psNewId = sId;
    return S_OK;
}

HRESULT CBook::DeleteCard(std::string_view sEntryId) {
    CardPos pos;
    if (!FindCard(sEntryId, &pos)) return MAPI_E_NOT_FOUND;
    CardFile *pFile = &m_containers[pos.nContainer].files[pos.nFile];
    if (ChangedOnDisk(*pFile)) {
        std::string sBefore = WriteCard(CardAt(pos));
        ReadFile(pFile);
        Reindex();
        if (!FindCard(sEntryId, &pos)) return S_OK; // gone already
        pFile = &m_containers[pos.nContainer].files[pos.nFile];
        if (WriteCard(CardAt(pos)) != sBefore) {
            g_Log.Error("CBook::DeleteCard", MAPI_E_OBJECT_CHANGED,
                        "Card not deleted: it was changed by another program in %s line %d", pFile->path.c_str(),
                        CardAt(pos).nLine);
            return MAPI_E_OBJECT_CHANGED;
        }
    }
    auto itChunk = pFile->file.chunks.begin() + static_cast<long>(pos.nChunk);
    VChunk removed = std::move(*itChunk);
    pFile->file.chunks.erase(itChunk);
    HRESULT hr;
    if (m_bDirectory && OnlyBlank(pFile->file)) {
        hr = RemoveFile(pFile->path);
        if (SUCCEEDED(hr)) {
            auto &files = m_containers[pos.nContainer].files;
            files.erase(files.begin() + static_cast<long>(pos.nFile));
        }
    } else {
        hr = Commit(pFile);
    }
    if (FAILED(hr))
        pFile->file.chunks.insert(pFile->file.chunks.begin() + static_cast<long>(pos.nChunk), std::move(removed));
    Reindex();
    return hr;
}

} // namespace vcard
