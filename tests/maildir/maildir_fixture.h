// Builds Maildir stores in temporary directories and opens them through CoCreateInstance, as the store classes do.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "platform/mimeole.h"
#include "platform/msgstore.h"
#include "support/file_text.h"
#include "support/maildir_files.h"
#include "support/paths.h"

namespace maildirtest {

namespace fs = std::filesystem;

// A small message with the given subject, and a body that makes it unique.
std::string Message(const std::string &strSubject, const std::string &strBody = "body\n",
                    const std::string &strExtraHeaders = "");

// The message's subject in strOut, and the result of its GetProp.
HRESULT GetSubject(IMimeMessage *pMessage, std::string &strOut);
// The message's subject, or "<none>" when it has none.
std::string Subject(IMimeMessage *pMessage);

using testsupport::MakeMaildir;
using testsupport::MessageFiles;
using testsupport::ReadFileText;
using testsupport::WriteFileText;

struct Listed {
    MESSAGEID id;
    DWORD dwState;
    std::string strSubject;
};

class MaildirTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    const fs::path &Root() const { return m_temp.path(); }
    // Opens the namespace over Root() (dwReserved as for Initialize); fails the test on error.
    IStoreNamespace *Open(DWORD dwReserved = 1);
    IStoreFolder *OpenFolder(IStoreNamespace *pNs, STOREFOLDERID id);
    IStoreFolder *OpenSpecial(IStoreNamespace *pNs, SPECIALFOLDER sf);
    // Every top-level and nested folder: name -> id, from the namespace's enumeration.
    std::vector<FOLDERPROPS> Folders(IStoreNamespace *pNs, STOREFOLDERID idParent = FOLDERID_ROOT);
    STOREFOLDERID FolderId(IStoreNamespace *pNs, const std::string &strName);
    // The whole enumeration of a folder.
    std::vector<Listed> List(IStoreFolder *pFolder, DWORD dwFlags = 0);
    std::string Bytes(IStoreFolder *pFolder, MESSAGEID id);
    MESSAGEID Save(IStoreFolder *pFolder, const std::string &strText, DWORD dwFlags = 0);
    // What the log file got since SetUp.
    std::string LogText() const;

    testsupport::TempDir m_temp;
    testsupport::TempDir m_logDir;
};

} // namespace maildirtest
