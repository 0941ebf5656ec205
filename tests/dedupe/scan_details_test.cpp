// The details a scan shows of its groups' members: read one by one once the groups are known, so a message that
// goes away in between keeps only its entry and folder, and the others show what the store holds.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <set>

#include "scan.h"
#include "support/maildir_files.h"
#include "support/paths.h"

namespace fs = std::filesystem;

namespace {

// A message with the four compared headers of every copy, and a body of nBody bytes; its file size.
int64_t WriteCopy(const fs::path &file, size_t nBody) {
    const std::string strText = "Message-ID: <same@example.org>\nSubject: Minutes\nFrom: Ann <ann@example.org>\n"
                                "Date: Tue, 3 Oct 2023 10:00:00 +0000\n\n" +
                                std::string(nBody, 'x') + "\n";
    std::ofstream(file, std::ios::binary) << strText;
    return static_cast<int64_t>(strText.size());
}

class ScanDetails : public ::testing::Test {
protected:
    void SetUp() override {
        m_store = m_tmp.path() / "mail";
        testsupport::MakeMaildir(m_store);
        setenv("TESSEL_MAILDIR", m_store.c_str(), 1);
        m_options.strStore = m_store.string();
        for (size_t i = 0; i < 3; ++i)
            m_sizes.push_back(WriteCopy(m_store / "cur" / ("100" + std::to_string(i) + ".M1P1.host:2,S"), 10 + 10 * i));
        ASSERT_TRUE(m_session.Open(MailStore(), m_strError)) << m_strError;
        ASSERT_TRUE(m_props.AddWords(MailStore(), "message-id,subject,from,date", m_strError)) << m_strError;
        ASSERT_TRUE(m_keep.Parse(MailStore(), "most-filled", m_props, m_strError)) << m_strError;
        m_request.pProps = &m_props;
        m_request.pKeep = &m_keep;
        m_request.bProgress = false;
    }

    std::vector<ItemInfo> Members() const {
        std::vector<ItemInfo> members{m_result.groups.at(0).original};
        for (const ItemInfo &item : m_result.groups.at(0).duplicates) members.push_back(item);
        return members;
    }

    testsupport::TempDir m_tmp;
    fs::path m_store;
    GlobalOptions m_options;
    CSession m_session{m_options};
    CPropertySet m_props;
    CKeepRule m_keep;
    ScanRequest m_request;
    ScanResult m_result;
    std::vector<int64_t> m_sizes;
    std::string m_strError;
    bool m_bUsage = false;
};

TEST_F(ScanDetails, MembersShowWhatTheStoreHolds) {
    ASSERT_TRUE(RunScan(m_session, m_request, m_result, m_strError, m_bUsage)) << m_strError;
    ASSERT_EQ(m_result.groups.size(), 1u);
    std::multiset<int64_t> sizes;
    for (const ItemInfo &item : Members()) {
        sizes.insert(item.nSize);
        EXPECT_EQ(item.strTitle, "Minutes");
        EXPECT_EQ(item.strWho, "Ann");
        EXPECT_NE(item.ftDate.dwHighDateTime, 0u);
        EXPECT_EQ(item.nState & TS_MSG_UNREAD, 0u); // the files are seen (S)
        EXPECT_EQ(item.strFolderEntry, m_result.folders.at(0).strEntry);
        EXPECT_EQ(item.strFolder, m_result.folders.at(0).strPath);
    }
    EXPECT_EQ(sizes, std::multiset<int64_t>(m_sizes.begin(), m_sizes.end()));
}

TEST_F(ScanDetails, AMessageGoneBeforeItsDetailsKeepsItsEntryAndFolder) {
    ASSERT_TRUE(FindGroups(m_session, m_request, m_result, m_strError, m_bUsage)) << m_strError;
    ASSERT_EQ(m_result.groups.size(), 1u);
    const std::vector<ItemInfo> found = Members();
    ASSERT_EQ(found.size(), 3u);
    // The largest copy goes away after the search read it.
    fs::remove(m_store / "cur" / "1002.M1P1.host:2,S");
    ReadGroupDetails(m_session, m_result);

    const std::vector<ItemInfo> members = Members();
    ASSERT_EQ(members.size(), 3u);
    size_t nGone = 0;
    for (size_t i = 0; i < members.size(); ++i) {
        const ItemInfo &item = members[i];
        EXPECT_EQ(item.strEntry, found[i].strEntry);
        EXPECT_EQ(item.strFolderEntry, m_result.folders.at(0).strEntry);
        EXPECT_EQ(item.strFolder, m_result.folders.at(0).strPath);
        if (item.nSize < 0) {
            ++nGone;
            EXPECT_EQ(item.strTitle, "");
            EXPECT_EQ(item.nState, 0u);
        } else {
            EXPECT_NE(item.nSize, m_sizes[2]);
            EXPECT_EQ(item.strTitle, "Minutes");
        }
    }
    EXPECT_EQ(nGone, 1u);
}

} // namespace
