// A real Maildir store in a temporary directory, opened through COELib, for the tests of the write side: folders
// "Inbox" (the root) and "Archive", messages planted as files, and the store looked at again from the disk.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "oestore/oelib.h"
#include "oestore/oetags.h"
#include "support/file_text.h"
#include "support/log_capture.h"
#include "support/maildir_files.h"
#include "support/paths.h"

namespace oewritetest {

namespace fs = std::filesystem;

// A small message; an empty strMessageId leaves the header out.
std::string Message(const std::string &strSubject, const std::string &strMessageId, const std::string &strBody = "body\n");

using testsupport::MakeMaildir;
using testsupport::MessageFiles;
using testsupport::ReadFileText;
using testsupport::WriteFileText;
// The value of the first "Message-ID:" header of a message text, or "" without one.
std::string MessageIdOf(const std::string &strText);

// What a folder holds, as COELib enumerates it: ids ascending.
struct StoredMessage {
    MESSAGEID id;
    DWORD dwState;
    std::string strBytes;
};

// The same looks at a store through any connection.
STOREFOLDERID FolderIdIn(COELib &lib, const std::string &strName);
std::string FolderEntryIn(COELib &lib, const std::string &strName);
std::vector<StoredMessage> ListIn(COELib &lib, const std::string &strName);
std::string ItemEntryIn(COELib &lib, const std::string &strFolder, MESSAGEID id);

class OEWriteTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    const fs::path &Root() const { return m_store.path(); }
    fs::path FolderDir(const std::string &strName) const;
    // Writes a message file into a folder's cur/ (flags after ":2,"), as another mail program would.
    void Plant(const std::string &strFolder, const std::string &strText, const std::string &strFlags = "S");
    // Connects m_lib to the store (again); fails the test if it can't.
    void Connect();

    STOREFOLDERID FolderId(const std::string &strName) { return FolderIdIn(m_lib, strName); }
    std::string FolderEntry(const std::string &strName) { return FolderEntryIn(m_lib, strName); }
    std::vector<StoredMessage> List(const std::string &strName) { return ListIn(m_lib, strName); }
    std::string ItemEntry(const std::string &strFolder, MESSAGEID id) { return ItemEntryIn(m_lib, strFolder, id); }
    // The entry of the only (or the last) message in a folder.
    std::string LastEntry(const std::string &strFolder);
    // Message-ID -> number of files holding it, over every folder of the store.
    std::map<std::string, int> CountByMessageId() const;
    // The warning and error lines since the last Clear, without their time stamps.
    std::vector<std::string> LogLines() const;
    bool Logged(const std::string &strLine) const;

    testsupport::TempDir m_store;
    testsupport::CLogCapture m_log{3};
    COELib m_lib;
};

} // namespace oewritetest
