// Showing a message's source through the configured viewer, and attachments copied between open messages.
#include "oewrite/oewrite_fixture.h"

#include <cstdlib>

namespace oewritetest {
namespace {

class ViewSourceTest : public OEWriteTest {
protected:
    void TearDown() override {
        unsetenv("TESSEL_VIEWER");
        OEWriteTest::TearDown();
    }
    testsupport::TempDir m_out;
};

TEST_F(ViewSourceTest, TheViewerGetsAFileWithTheSource) {
    std::string strText = Message("shown", "<shown@example.org>", "The body to show.\n");
    Plant("Inbox", strText);
    fs::path copy = m_out.path() / "seen.eml";
    setenv("TESSEL_VIEWER", ("cp -- \"$1\" '" + copy.string() + "'; :").c_str(), 1);
    EXPECT_EQ(m_lib.DisplayItemSource(LastEntry("Inbox").c_str(), nullptr), S_OK) << m_log.Text();
    EXPECT_EQ(ReadFileText(copy), strText);
}

TEST_F(ViewSourceTest, WithoutAViewerTheEntryPointIsMissing) {
    Plant("Inbox", Message("not shown", "<hidden@example.org>"));
    unsetenv("TESSEL_VIEWER");
    EXPECT_EQ(m_lib.DisplayItemSource(LastEntry("Inbox").c_str(), nullptr), -2);
    EXPECT_EQ(LogLines(), std::vector<std::string>{"Err in COELib::DisplayItemSource: GetProcAddress failed"});
}

TEST_F(ViewSourceTest, AnEntryThatNamesNothingIsTheOpenFailure) {
    EXPECT_EQ(m_lib.DisplayItemSource("0011", nullptr), -1);
}

class CopyAttachmentTest : public OEWriteTest {
protected:
    HITEM Open(const std::string &strEntry) {
        HITEM hItem = nullptr;
        EXPECT_EQ(m_lib.OpenItem(strEntry.c_str(), &hItem), S_OK);
        return hItem;
    }
};

TEST_F(CopyAttachmentTest, TheBytesAndTheDescribingHeadersTravelAndTheSaveKeepsThem) {
    Plant("Inbox", "From: a@example.org\nSubject: with attachment\nMessage-ID: <att@example.org>\n"
                   "MIME-Version: 1.0\nContent-Type: multipart/mixed; boundary=\"XX\"\n\n"
                   "--XX\nContent-Type: text/plain\n\nText.\n"
                   "--XX\nContent-Type: application/octet-stream; name=\"data.bin\"\n"
                   "Content-Disposition: attachment; filename=\"data.bin\"\n"
                   "Content-Description: some data\nContent-Transfer-Encoding: base64\n\nAAECAwQFBgc=\n--XX--\n");
    Plant("Archive", Message("target", "<target@example.org>"));
    HITEM hFrom = Open(LastEntry("Inbox"));
    HITEM hTo = Open(LastEntry("Archive"));
    OEAttachments *pList = nullptr;
    ASSERT_EQ(m_lib.GetAttachments(hFrom, &pList), S_OK);
    ASSERT_EQ(pList->cAttachments, 1u);
    HBODY hBody = pList->pAttachments[0].hBody;
    m_lib.FreeAttachments(&pList);

    HBODY hNew = 0;
    EXPECT_EQ(m_lib.CopyAttachment(hTo, hFrom, hBody, &hNew), S_OK) << m_log.Text();
    EXPECT_TRUE(LogLines().empty()) << m_log.Text();
    LONG nResult = 99;
    EXPECT_EQ(m_lib.CmpAttachment(hFrom, hBody, hTo, hNew, &nResult), S_OK);
    EXPECT_EQ(nResult, 0);
    ASSERT_EQ(m_lib.SaveItem(hTo, true, true), S_OK);
    m_lib.CloseItem(&hTo);
    m_lib.CloseItem(&hFrom);
    std::string strSaved = List("Archive")[0].strBytes;
    EXPECT_NE(strSaved.find("Content-Description: some data"), std::string::npos) << strSaved;
    EXPECT_NE(strSaved.find("data.bin"), std::string::npos) << strSaved;
    EXPECT_NE(strSaved.find("<target@example.org>"), std::string::npos) << strSaved;
}

TEST_F(CopyAttachmentTest, ABadSourceHandleChangesNothing) {
    Plant("Inbox", Message("source", "<source@example.org>"));
    Plant("Archive", Message("target", "<target@example.org>"));
    HITEM hFrom = Open(LastEntry("Inbox"));
    HITEM hTo = Open(LastEntry("Archive"));
    HBODY hNew = 77;
    EXPECT_EQ(m_lib.CopyAttachment(hTo, hFrom, 4242, &hNew), MIME_E_INVALID_HANDLE);
    EXPECT_EQ(hNew, 77u);
    EXPECT_EQ(LogLines().back(), "Err[0x800cce09] in COELib::CopyAttachment: Cant open src attach: bad handle");
    OEAttachments *pList = nullptr;
    ASSERT_EQ(m_lib.GetAttachments(hTo, &pList), S_OK);
    EXPECT_EQ(pList->cAttachments, 0u);
    m_lib.FreeAttachments(&pList);
    m_lib.CloseItem(&hTo);
    m_lib.CloseItem(&hFrom);
}

} // namespace
} // namespace oewritetest
