#include "propset.h"

namespace {

std::u16string Widen(const std::string &str) {
    // Property names are ASCII words.
    return std::u16string(str.begin(), str.end());
}

std::string Trim(const std::string &str) {
    const size_t nFirst = str.find_first_not_of(" \t");
    if (nFirst == std::string::npos) return std::string();
    const size_t nLast = str.find_last_not_of(" \t");
    return str.substr(nFirst, nLast - nFirst + 1);
}

} // namespace

std::vector<std::string> SplitWords(const std::string &strList) {
    std::vector<std::string> words;
    size_t nStart = 0;
    while (nStart <= strList.size()) {
        size_t nComma = strList.find(',', nStart);
        if (nComma == std::string::npos) nComma = strList.size();
        std::string strWord = Trim(strList.substr(nStart, nComma - nStart));
        if (!strWord.empty()) words.push_back(strWord);
        nStart = nComma + 1;
    }
    return words;
}

bool CPropertySet::AddWords(const StoreKind &kind, const std::string &strWords, std::string &strError) {
    const std::vector<std::string> words = SplitWords(strWords);
    if (words.empty()) {
        strError = "no property to compare by; known words for " + std::string(kind.pszName) + ": " +
                   PropertyWordList(kind);
        return false;
    }
    for (const std::string &strWord : words) {
        const PropertyWord *pWord = FindPropertyWord(kind, strWord);
        if (!pWord) {
            strError = "unknown property word '" + strWord + "' for " + kind.pszName + "; known words: " +
                       PropertyWordList(kind);
            return false;
        }
        for (const PropertyTag &tag : pWord->tags) Add(tag, true);
    }
    return true;
}

int CPropertySet::Add(const PropertyTag &tag, bool bCompare) {
    const int nFound = Find(tag.nTag);
    if (nFound >= 0) {
        if (bCompare) m_Descs[nFound].bCompare = 1;
        return nFound;
    }
    m_Wide.push_back(Widen(tag.pszName));
    PropDesc desc{};
    desc.Key = m_Wide.back().c_str();
    desc.Name = m_Wide.back().c_str();
    desc.Tag = tag.nTag;
    desc.nType = tag.nTag & 0xFFFF;
    desc.nInterface = tag.nInterface;
    desc.bCompare = bCompare ? 1 : 0;
    m_Descs.push_back(desc);
    m_Names.push_back(tag.pszName);
    return static_cast<int>(m_Descs.size() - 1);
}

int CPropertySet::Find(uint32_t nTag) const {
    for (size_t i = 0; i < m_Descs.size(); ++i)
        if (m_Descs[i].Tag == nTag) return static_cast<int>(i);
    return -1;
}

PropList CPropertySet::List() {
    return PropList{static_cast<uint32_t>(m_Descs.size()), m_Descs.empty() ? nullptr : m_Descs.data()};
}

std::vector<std::string> CPropertySet::ComparedNames() const {
    std::vector<std::string> names;
    for (size_t i = 0; i < m_Descs.size(); ++i)
        if (m_Descs[i].bCompare) names.push_back(m_Names[i]);
    return names;
}
