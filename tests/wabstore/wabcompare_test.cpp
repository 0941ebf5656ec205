// CWABCompare over fakes: contacts open and groups don't, the item size, and the operations the book lacks.
#include "wab_fixture.h"
#include "wabstore/wabcompare.h"

using testsupport::FakeContainer;
using testsupport::FakeMailUser;
using testsupport::FakeProp;

namespace {

class WabCompareTest : public WabFixture {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_wab.m_Lib.Init(nullptr, false, false));
        m_pUser = AddEntry({0xE1}, MAPI_MAILUSER);
        m_pUser->props = {FakeProp::String(PR_DISPLAY_NAME, "Bob"), FakeProp::String(PR_EMAIL_ADDRESS, "b@x.org"),
                          FakeProp::Long(PR_OBJECT_TYPE, MAPI_MAILUSER)};
        m_pGroup = AddEntry({0xD1}, MAPI_DISTLIST);
        FakeContainer *pContainer = new FakeContainer(m_pWab);
        m_pBook->AddEntry({0xC1}, pContainer, MAPI_ABCONT);
        pContainer->Release();
        m_log.Clear();
    }
    void TearDown() override {
        m_wab.m_Lib.Done();
        WabFixture::TearDown();
    }
    FakeMailUser *AddEntry(const std::vector<BYTE> &id, ULONG ulType) {
        FakeMailUser *pUser = new FakeMailUser(m_pWab);
        m_pBook->AddEntry(id, pUser, ulType);
        pUser->Release();
        return pUser;
    }

    CWABCompare m_wab;
    FakeMailUser *m_pUser = nullptr;
    FakeMailUser *m_pGroup = nullptr;
};

} // namespace

TEST_F(WabCompareTest, FoldersAreAlwaysNull) {
    HFOLDER hFolder = reinterpret_cast<HFOLDER>(0x1);
    EXPECT_EQ(m_wab.OpenFolder("anything at all", &hFolder), S_OK);
    EXPECT_EQ(hFolder, nullptr);
    hFolder = reinterpret_cast<HFOLDER>(0x1);
    m_wab.CloseFolder(&hFolder);
    EXPECT_EQ(hFolder, nullptr);

    HITEM hItem = nullptr;
    ASSERT_EQ(m_wab.OpenFolderItem(nullptr, "E1", &hItem, false), S_OK);
    EXPECT_NE(hItem, nullptr);
    m_wab.CloseItem(&hItem);
    EXPECT_EQ(hItem, nullptr);
    m_wab.CloseItem(&hItem); // a null item is left alone
    EXPECT_EQ(Logged(), "");
}

TEST_F(WabCompareTest, OnlyContactsOpen) {
    HITEM hItem = nullptr;
    ULONG nRefs = testsupport::RefCount(m_pGroup);
    EXPECT_EQ(m_wab.OpenItem("D1", &hItem, false), -1);
    EXPECT_EQ(hItem, nullptr);
    EXPECT_EQ(testsupport::RefCount(m_pGroup), nRefs); // opened and released again
    EXPECT_EQ(Logged(), "Err[0x8] in CWABCompare::OpenItem: objType != IMailUser\n");

    m_log.Clear();
    EXPECT_EQ(m_wab.OpenItem("C1", &hItem, false), -1);
    EXPECT_EQ(hItem, nullptr);
    EXPECT_EQ(Logged(), "Err[0x4] in CWABLib::OpenItem: This function opens only MailUser or DistList objects\n");

    m_log.Clear();
    EXPECT_EQ(m_wab.OpenItem("E9", &hItem, true), MAPI_E_UNKNOWN_ENTRYID);
    EXPECT_EQ(hItem, nullptr);
    EXPECT_EQ(Logged(), "");
}

TEST_F(WabCompareTest, PropertiesGoThroughTheLibrary) {
    HITEM hItem = nullptr;
    ASSERT_EQ(m_wab.OpenItem("E1", &hItem, false), S_OK);
    SPropValue *pProp = nullptr;
    ASSERT_EQ(m_wab.GetItemProp(hItem, PR_EMAIL_ADDRESS, &pProp, false), S_OK);
    EXPECT_STREQ(pProp->Value.lpszA, "b@x.org");
    m_wab.FreeItemProps(pProp);
    ULONG ulTag = 0;
    EXPECT_EQ(m_wab.GetIDFromName(hItem, &ulTag, "{00062004-0000-0000-C000-000000000046}", 0x8083, nullptr, false),
              S_OK);
    EXPECT_EQ(ulTag, m_pUser->ulNamedTag);
    m_wab.CloseItem(&hItem);

    void *p = nullptr;
    ASSERT_EQ(m_wab.AllocateBuffer(8, &p), S_OK);
    m_pWab->hrFree = MAPI_E_CALL_FAILED;
    m_wab.FreeItemProps(static_cast<SPropValue *>(p));
    EXPECT_EQ(Logged(), "Err[0x80004005] in CWABCompare::FreeItemProps: WABLib::FreeBuffer\n");
    m_pWab->hrFree = S_OK;
}

TEST_F(WabCompareTest, ItemSizeIsTheSumOfThePropertySizes) {
    HITEM hItem = nullptr;
    ASSERT_EQ(m_wab.OpenItem("E1", &hItem, false), S_OK);
    ULONG nSize = 99;
    EXPECT_EQ(m_wab.GetItemSize(hItem, &nSize, false), S_OK);
    EXPECT_EQ(nSize, 3u); // "Bob", and no comment
    EXPECT_EQ(m_wab.GetItemSize(hItem, &nSize, true), S_OK);
    EXPECT_EQ(nSize, 3u + 7u + 4u); // every property: the name, the address, the type

    m_pUser->hrGetProps = MAPI_E_CALL_FAILED;
    nSize = 99;
    m_log.Clear();
    EXPECT_EQ(m_wab.GetItemSize(hItem, &nSize, false), MAPI_E_CALL_FAILED);
    EXPECT_EQ(nSize, 99u);
    EXPECT_EQ(Logged(), "Err[0x80004005] in ICompare::CountProps: lpItem->GetProps\n"
                        "Err[0x80004005] in CWABCompare::GetItemSize: CountProps\n");
    m_wab.CloseItem(&hItem);
}

TEST_F(WabCompareTest, TheBookHasNoAttachmentsNorStreams) {
    ULONG *pIDs = nullptr;
    ULONG cIDs = 7;
    EXPECT_EQ(m_wab.GetAttachments(nullptr, &pIDs, &cIDs), S_OK);
    EXPECT_EQ(cIDs, 0u);
    EXPECT_EQ(pIDs, nullptr);
    EXPECT_EQ(Logged(), "");

    ULONG cValues = 0;
    SPropValue *pProps = nullptr;
    LONG nResult = 0;
    EXPECT_EQ(m_wab.GetAttachProps(nullptr, 0, nullptr, &cValues, &pProps, 0), -1);
    EXPECT_EQ(m_wab.GetAttachDisplayNameTag(0), static_cast<ULONG>(-1));
    EXPECT_FALSE(m_wab.ValidAttachCmpProps(nullptr, 0));
    EXPECT_EQ(m_wab.CmpAttachProps(nullptr, 0, nullptr, 0, &nResult), -1);
    m_wab.FreeAttachProps(nullptr);
    EXPECT_EQ(m_wab.CmpAttachData(nullptr, 0, nullptr, 0, &nResult), -1);
    IStream *pStream = nullptr;
    EXPECT_EQ(m_wab.OpenStreamProp(nullptr, PR_COMMENT, &pStream, 0), -1);
    EXPECT_EQ(pStream, nullptr);
    EXPECT_EQ(Logged(), "Err in CWABCompare::GetAttachProps: Attachments not supported in WAB\n"
                        "Err in CWABCompare::GetAttachDisplayNameTag: Attachments not supported in WAB\n"
                        "Err in CWABCompare::ValidAttachCmpProps: Attachments not supported in WAB\n"
                        "Err in CWABCompare::CmpAttachProps: Attachments not supported in WAB\n"
                        "Err in CWABCompare::FreeAttachProps: Attachments not supported in WAB\n"
                        "Err in CWABCompare::CmpAttachData: Attachments not supported in WAB\n"
                        "Err in CWABCompare::OpenStreamProp: no stream props in WAB\n");
}
