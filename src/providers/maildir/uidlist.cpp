#include "providers/maildir/uidlist.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <unordered_map>

#include "providers/maildir/maildirname.h"

namespace {

constexpr std::string_view kMagic = "tessel-uidlist 1 ";

bool ParseNumber(std::string_view &sv, uint32_t &n, int nBase) {
    auto [p, ec] = std::from_chars(sv.data(), sv.data() + sv.size(), n, nBase);
    if (ec != std::errc() || p == sv.data() || p == sv.data() + sv.size() || *p != ' ') return false;
    sv.remove_prefix(static_cast<size_t>(p - sv.data()) + 1);
    return true;
}

bool ParseEntry(std::string_view svLine, UidEntry &entry) {
    if (!ParseNumber(svLine, entry.id, 10) || !ParseNumber(svLine, entry.dwExtra, 16)) return false;
    if (svLine.size() < 3 || (svLine[0] != 'c' && svLine[0] != 't') || svLine[1] != ' ') return false;
    entry.bReserved = svLine[0] == 't';
    entry.strUnique = std::string(svLine.substr(2));
    return entry.id != 0 && entry.id != MESSAGEID_INVALID && (entry.dwExtra & ~MSG_ALLSTATES) == 0;
}

} // namespace

std::string_view MessageFile::Unique() const { return SplitMaildirName(strName).svUnique; }

bool CUidList::Parse(std::string_view svText) {
    m_entries.clear();
    m_idNext = 1;
    if (svText.empty()) return true;
    bool bGood = true;
    uint32_t idNextStored = 0;
    size_t nEnd = svText.find('\n');
    std::string_view svHead = svText.substr(0, nEnd);
    if (svHead.substr(0, kMagic.size()) == kMagic) {
        std::string_view svNext = svHead.substr(kMagic.size());
        auto [p, ec] = std::from_chars(svNext.data(), svNext.data() + svNext.size(), idNextStored);
        bGood = ec == std::errc() && p == svNext.data() + svNext.size() && nEnd != std::string_view::npos;
    } else {
        bGood = false;
        nEnd = std::string_view::npos; // nothing of an unknown file is trusted
    }
    std::unordered_map<std::string, size_t> byUnique;
    while (nEnd != std::string_view::npos && nEnd + 1 < svText.size()) {
        size_t nStart = nEnd + 1;
        nEnd = svText.find('\n', nStart);
        std::string_view svLine = svText.substr(nStart, nEnd == std::string_view::npos ? std::string_view::npos : nEnd - nStart);
        UidEntry entry;
        if (nEnd == std::string_view::npos || !ParseEntry(svLine, entry) ||
            (!m_entries.empty() && entry.id <= m_entries.back().id) || byUnique.count(entry.strUnique)) {
            bGood = false;
            continue;
        }
        byUnique.emplace(entry.strUnique, m_entries.size());
        m_entries.push_back(std::move(entry));
    }
    MESSAGEID idAbove = m_entries.empty() ? 1 : m_entries.back().id + 1;
    if (idNextStored < idAbove) bGood = false;
    m_idNext = std::max<MESSAGEID>(idNextStored, idAbove);
    return bGood;
}

std::string CUidList::Serialize() const {
    std::string str;
    str.reserve(32 + m_entries.size() * 64);
    str += kMagic;
    str += std::to_string(m_idNext);
    str += '\n';
    char szHead[40];
    for (const UidEntry &e : m_entries) {
        snprintf(szHead, sizeof(szHead), "%u %x %c ", e.id, e.dwExtra, e.bReserved ? 't' : 'c');
        str += szHead;
        str += e.strUnique;
        str += '\n';
    }
    return str;
}

std::vector<size_t> CUidList::Match(const std::vector<MessageFile> &files,
                                    const std::function<bool(const std::string &)> &fnInTmp,
                                    std::vector<size_t> &index, bool &bChanged) {
    std::unordered_map<std::string_view, size_t> byUnique;
    byUnique.reserve(files.size());
    std::vector<bool> shadowed(files.size());
    // A second file with the same unique name (cur/ and new/, or two flag sets) can't have an id of its own:
    // it is left alone, and out of the listing.
    for (size_t i = 0; i < files.size(); ++i) shadowed[i] = !byUnique.emplace(files[i].Unique(), i).second;

    index.assign(files.size(), SIZE_MAX);
    std::vector<UidEntry> kept;
    kept.reserve(m_entries.size());
    for (UidEntry &e : m_entries) {
        auto it = byUnique.find(e.strUnique);
        if (it != byUnique.end() && index[it->second] == SIZE_MAX) {
            if (e.bReserved) {
                e.bReserved = false; // committed since the list was written
                bChanged = true;
            }
            index[it->second] = kept.size();
            kept.push_back(std::move(e));
        } else if (e.bReserved && fnInTmp(e.strUnique)) {
            kept.push_back(std::move(e));
        } else {
            bChanged = true;
        }
    }
    m_entries = std::move(kept);

    std::vector<size_t> newFiles;
    for (size_t i = 0; i < files.size(); ++i)
        if (index[i] == SIZE_MAX && !shadowed[i]) newFiles.push_back(i);
    return newFiles;
}

void CUidList::Assign(const std::vector<size_t> &newFiles, const std::vector<MessageFile> &files,
                      std::vector<size_t> &index) {
    for (size_t i : newFiles) {
        index[i] = m_entries.size();
        UidEntry e;
        e.id = m_idNext++;
        e.strUnique = std::string(files[i].Unique());
        m_entries.push_back(std::move(e));
    }
}

MESSAGEID CUidList::Reserve(const std::string &strUnique) {
    UidEntry e;
    e.id = m_idNext++;
    e.bReserved = true;
    e.strUnique = strUnique;
    m_entries.push_back(e);
    return e.id;
}

UidEntry *CUidList::Find(MESSAGEID id) {
    auto it = std::lower_bound(m_entries.begin(), m_entries.end(), id,
                               [](const UidEntry &e, MESSAGEID idWanted) { return e.id < idWanted; });
    return it != m_entries.end() && it->id == id ? &*it : nullptr;
}

void CUidList::SetExtras(const std::map<std::string, DWORD> &extras) {
    for (UidEntry &e : m_entries) {
        auto it = extras.find(e.strUnique);
        if (it != extras.end()) e.dwExtra = it->second & MSG_ALLSTATES & ~kNameStateBits;
    }
}
