#include "book_fixture.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include "platform/loader.h"
#include "support/fake_wab.h"

namespace fs = std::filesystem;

namespace wablist {

std::string Card(const std::string &strLines) { return "BEGIN:VCARD\r\n" + strLines + "END:VCARD\r\n"; }

void WriteText(const fs::path &path, const std::string &strText) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary | std::ios::trunc) << strText;
}

std::string ReadText(const fs::path &path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

std::vector<std::string> FieldLines(const std::string &strText, const std::vector<std::string> &skip) {
    std::string strUnfolded;
    for (size_t i = 0; i < strText.size(); ++i) {
        if (strText[i] == '\r') continue;
        if (strText[i] == '\n' && i + 1 < strText.size() && (strText[i + 1] == ' ' || strText[i + 1] == '\t')) {
            ++i; // a folded line goes on after its first blank
            continue;
        }
        strUnfolded += strText[i];
    }
    std::vector<std::string> lines;
    std::istringstream in(strUnfolded);
    std::string strLine;
    while (std::getline(in, strLine)) {
        if (strLine.empty() || strLine == "BEGIN:VCARD" || strLine == "END:VCARD") continue;
        std::string strName = strLine.substr(0, strLine.find_first_of(";:"));
        if (std::find(skip.begin(), skip.end(), strName) != skip.end()) continue;
        lines.push_back(strLine);
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

BookFixture::BookFixture() {
    testsupport::SetWabDllPath(kszVCardModuleName);
    CreateTessel(&m_pLib);
}

BookFixture::~BookFixture() {
    WABFreeItems(m_pLib, m_pItems);
    WABDone(m_pLib);
    DeleteTessel(m_pLib);
}

void BookFixture::Open(const fs::path &path) {
    WABDone(m_pLib);
    ASSERT_TRUE(WABInit(m_pLib, path.c_str(), 0, 0));
    ASSERT_TRUE(WABInitialized(m_pLib));
}

std::vector<std::pair<std::string, std::string>> BookFixture::Folders() {
    std::vector<std::pair<std::string, std::string>> folders;
    WABFolders *pFolders = nullptr;
    EXPECT_EQ(WABGetFolders(m_pLib, &pFolders, 0), 0);
    for (uint32_t i = 0; pFolders && i < pFolders->cFolders; ++i)
        folders.emplace_back(pFolders->pFolders[i].szEntry,
                             pFolders->pFolders[i].szName ? pFolders->pFolders[i].szName : "");
    WABFreeFolders(m_pLib, pFolders);
    return folders;
}

int32_t BookFixture::List(const char *pszFolder, uint32_t nType, const SYSTEMTIME *pSince, bool bSort,
                          bool bDescending) {
    WABFreeItems(m_pLib, m_pItems);
    m_pItems = nullptr;
    return WABGetItems(m_pLib, &m_pItems, pszFolder, nType, 0, 0, pSince, bSort, bDescending);
}

std::vector<std::string> BookFixture::Names() const {
    std::vector<std::string> names;
    for (uint32_t i = 0; m_pItems && i < m_pItems->cItems; ++i)
        names.push_back(m_pItems->pItems[i].szDisplayName ? m_pItems->pItems[i].szDisplayName : "(null)");
    return names;
}

std::string BookFixture::EntryOf(const std::string &strName) const {
    for (uint32_t i = 0; m_pItems && i < m_pItems->cItems; ++i)
        if (m_pItems->pItems[i].szDisplayName && strName == m_pItems->pItems[i].szDisplayName)
            return m_pItems->pItems[i].szEntry;
    return "";
}

} // namespace wablist
