#include "oewrite/oewrite_fixture.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "oestore/hex.h"

namespace oewritetest {

std::string Message(const std::string &strSubject, const std::string &strMessageId, const std::string &strBody) {
    std::string str = "From: Alice Example <alice@example.org>\n"
                      "To: Bob <bob@example.org>\n"
                      "Subject: " + strSubject + "\n"
                      "Date: Tue, 03 Mar 2020 10:20:30 +0000\n";
    if (!strMessageId.empty()) str += "Message-ID: " + strMessageId + "\n";
    return str + "\n" + strBody;
}

std::string MessageIdOf(const std::string &strText) {
    std::istringstream in(strText);
    std::string line;
    while (std::getline(in, line) && !line.empty()) {
        if (line.rfind("Message-ID:", 0) == 0 || line.rfind("Message-Id:", 0) == 0) {
            std::string str = line.substr(11);
            size_t nStart = str.find_first_not_of(' ');
            return nStart == std::string::npos ? "" : str.substr(nStart);
        }
    }
    return "";
}

void OEWriteTest::SetUp() {
    MakeMaildir(Root());
    MakeMaildir(Root() / ".Archive");
    WriteFileText(Root() / ".Archive" / "maildirfolder", "");
    setenv("TESSEL_MAILDIR", Root().c_str(), 1);
    Connect();
}

void OEWriteTest::TearDown() {
    m_lib.Done();
    unsetenv("TESSEL_MAILDIR");
}

fs::path OEWriteTest::FolderDir(const std::string &strName) const {
    return strName == "Inbox" ? Root() : Root() / ("." + strName);
}

void OEWriteTest::Plant(const std::string &strFolder, const std::string &strText, const std::string &strFlags) {
    static int s_nPlanted = 0;
    std::string strName = std::to_string(1000 + s_nPlanted++) + ".M1P1.planted:2," + strFlags;
    WriteFileText(FolderDir(strFolder) / "cur" / strName, strText);
}

void OEWriteTest::Connect() { ASSERT_TRUE(m_lib.Init(nullptr, false)) << m_log.Text(); }

STOREFOLDERID FolderIdIn(COELib &lib, const std::string &strName) {
    OEFolders *pFolders = nullptr;
    lib.GetFolders(&pFolders);
    STOREFOLDERID id = FOLDERID_INVALID;
    for (uint32_t i = 0; pFolders && i < pFolders->cFolders; ++i)
        if (strName == pFolders->pFolders[i].szName) COELib::Str2Folder(pFolders->pFolders[i].szEntry, &id);
    OEFreeFolders(pFolders);
    EXPECT_NE(id, FOLDERID_INVALID) << "no folder " << strName;
    return id;
}

std::string FolderEntryIn(COELib &lib, const std::string &strName) {
    STOREFOLDERID id = FolderIdIn(lib, strName);
    char *psz = COELib::Folder2Str(id);
    std::string str = psz ? psz : "";
    std::free(psz);
    return str;
}

std::vector<StoredMessage> ListIn(COELib &lib, const std::string &strName) {
    std::vector<StoredMessage> messages;
    IStoreFolder *pFolder = nullptr;
    if (lib._OpenFolder(FolderIdIn(lib, strName), &pFolder) != S_OK) return messages;
    MESSAGEPROPS props{};
    props.cbSize = sizeof(props);
    HENUMSTORE hEnum = nullptr;
    for (HRESULT hr = pFolder->GetFirstMessage(MSGPROPS_FAST, 0, MESSAGEID_FIRST, &props, &hEnum); hr == S_OK;
         hr = pFolder->GetNextMessage(hEnum, MSGPROPS_FAST, &props)) {
        StoredMessage msg{props.dwMessageId, props.dwState, {}};
        pFolder->FreeMessageProps(&props);
        IStream *pStream = nullptr;
        if (pFolder->OpenMessage(msg.id, IID_IStream, reinterpret_cast<void **>(&pStream)) == S_OK) {
            char buf[4096];
            ULONG cb = 0;
            while (pStream->Read(buf, sizeof(buf), &cb) == S_OK && cb > 0) msg.strBytes.append(buf, cb);
            pStream->Release();
        }
        messages.push_back(std::move(msg));
    }
    if (hEnum) pFolder->GetMessageClose(hEnum);
    pFolder->Release();
    return messages;
}

std::string ItemEntryIn(COELib &lib, const std::string &strFolder, MESSAGEID id) {
    char *psz = COELib::ItemEntry2Str(FolderIdIn(lib, strFolder), id);
    std::string str = psz ? psz : "";
    std::free(psz);
    return str;
}

std::string OEWriteTest::LastEntry(const std::string &strFolder) {
    std::vector<StoredMessage> messages = List(strFolder);
    EXPECT_FALSE(messages.empty()) << strFolder << " is empty";
    return messages.empty() ? std::string() : ItemEntry(strFolder, messages.back().id);
}

std::map<std::string, int> OEWriteTest::CountByMessageId() const {
    std::map<std::string, int> counts;
    std::vector<fs::path> dirs{Root()};
    for (const auto &entry : fs::directory_iterator(Root()))
        if (entry.is_directory() && entry.path().filename().string()[0] == '.') dirs.push_back(entry.path());
    for (const fs::path &dir : dirs)
        for (const fs::path &file : MessageFiles(dir)) ++counts[MessageIdOf(ReadFileText(file))];
    return counts;
}

std::vector<std::string> OEWriteTest::LogLines() const {
    std::vector<std::string> lines;
    for (const std::string &line : m_log.Lines())
        if (line.rfind("Err", 0) == 0 || line.rfind("War", 0) == 0) lines.push_back(line);
    return lines;
}

bool OEWriteTest::Logged(const std::string &strLine) const {
    for (const std::string &line : m_log.Lines())
        if (line == strLine) return true;
    return false;
}

} // namespace oewritetest
