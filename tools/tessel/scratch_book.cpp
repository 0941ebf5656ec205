#include "scratch_book.h"

#include <stdlib.h>
#include <strings.h>

#include <algorithm>
#include <fstream>
#include <system_error>

#include "itemstate.h"
#include "listing.h"
#include "matrixview.h"

namespace fs = std::filesystem;

namespace {

std::string ContainerName(size_t nGroup) { return "g" + std::to_string(nGroup); }
std::string CardUid(size_t nGroup, size_t nCard) { return ContainerName(nGroup) + "-" + std::to_string(nCard); }

// The card with its UID lines replaced by one of ours: copies of one contact often share their UID.
std::string WithUid(const std::string &strCard, const std::string &strUid) {
    std::string out;
    size_t nPos = 0;
    bool bBegun = false;
    while (nPos < strCard.size()) {
        size_t nEnd = strCard.find('\n', nPos);
        nEnd = nEnd == std::string::npos ? strCard.size() : nEnd + 1;
        const std::string line = strCard.substr(nPos, nEnd - nPos);
        nPos = nEnd;
        if (line.size() > 4 && strncasecmp(line.c_str(), "UID", 3) == 0 && (line[3] == ':' || line[3] == ';')) continue;
        out += line;
        if (!bBegun && strncasecmp(line.c_str(), "BEGIN:VCARD", 11) == 0) {
            if (out.back() != '\n') out += "\r\n";
            out += "UID:" + strUid + "\r\n";
            bBegun = true;
        }
    }
    return out;
}

} // namespace

CScratchBook::~CScratchBook() {
    m_pSession.reset();
    std::error_code ec;
    if (!m_dir.empty()) fs::remove_all(m_dir, ec);
}

bool CScratchBook::AddGroup(size_t nGroup, const std::vector<std::string> &cards, std::string &strError) {
    if (m_dir.empty()) {
        // mkdtemp makes it private to the user: the cards are someone's contacts.
        std::string strPattern = (fs::temp_directory_path() / "tessel-report-XXXXXX").string();
        if (!mkdtemp(strPattern.data())) {
            strError = "cannot make a temporary directory for the removed cards";
            return false;
        }
        m_dir = strPattern;
    }
    const fs::path dir = m_dir / ContainerName(nGroup);
    std::error_code ec;
    fs::create_directory(dir, ec);
    for (size_t i = 0; i < cards.size(); ++i) {
        std::ofstream out(dir / (std::to_string(i) + ".vcf"), std::ios::binary);
        out << WithUid(cards[i], CardUid(nGroup, i));
        if (!out) {
            strError = "cannot write the removed cards to " + dir.string();
            return false;
        }
    }
    return true;
}

bool CScratchBook::Open(const GlobalOptions &options, std::string &strError) {
    m_options = options;
    m_options.strBook = m_dir.string();
    m_pSession = std::make_unique<CSession>(m_options);
    return m_pSession->Open(ContactStore(), strError) && ListFolders(*m_pSession, m_folders, strError);
}

bool CScratchBook::Compare(size_t nGroup, CPropertySet &props, MatrixView &view, std::string &strError) {
    const auto folder = std::find_if(m_folders.begin(), m_folders.end(), [&](const FolderInfo &f) {
        return fs::path(f.strPath).filename() == ContainerName(nGroup) || f.strName == ContainerName(nGroup);
    });
    std::vector<ItemInfo> items;
    if (!m_pSession || folder == m_folders.end() || !ListItems(*m_pSession, *folder, ListFilter{}, items, strError))
        return false;
    // In the order the cards were added.
    std::vector<std::pair<size_t, ItemInfo>> ordered;
    for (const ItemInfo &item : items) {
        std::string strContainer, strUid;
        if (!DecodeCardEntry(item.strEntry, strContainer, strUid)) continue;
        const std::string strPrefix = ContainerName(nGroup) + "-";
        if (strUid.rfind(strPrefix, 0) != 0) continue;
        ordered.emplace_back(std::stoul(strUid.substr(strPrefix.size())), item);
    }
    std::sort(ordered.begin(), ordered.end(), [](const auto &a, const auto &b) { return a.first < b.first; });
    items.clear();
    for (auto &entry : ordered) items.push_back(std::move(entry.second));
    return BuildMatrixView(*m_pSession, props, items, view, strError);
}
