// COECompare: what the adaptor adds to COELib (the attachment order, the size rule, the refusal of names) and
// that its operations reach COELib.
#include <cstdlib>
#include <string>

#include "oelib_fixture.h"
#include "oestore/oecompare.h"
#include "oestore/oetags.h"
#include "support/log_capture.h"

using namespace oetest;
using testsupport::CLogCapture;

namespace {

class COECompareTest : public ::testing::Test {
protected:
    COECompareTest() { MimeOleCreateAllocator(&m_oe.m_Lib.m_pAllocator); }

    COECompare m_oe;
};

SPropValue Str(ULONG ulTag, const char *psz) {
    SPropValue value{};
    value.ulPropTag = ulTag;
    value.Value.lpszA = const_cast<char *>(psz);
    return value;
}

SPropValue Size(ULONG cb) {
    SPropValue value{};
    value.ulPropTag = PR_OE_ATTACH_SIZE;
    value.Value.ul = cb;
    return value;
}

TEST_F(COECompareTest, ItemSizeIsTheWholeMessageInBothModes) {
    std::string strSource = TextMessage("Subject: s\n", "some body\n");
    TestItem item(strSource);
    ULONG nWhole = 0, nMain = 0;
    EXPECT_EQ(m_oe.GetItemSize(item.Handle(), &nWhole, true), S_OK);
    EXPECT_EQ(m_oe.GetItemSize(item.Handle(), &nMain, false), S_OK);
    EXPECT_EQ(nWhole, strSource.size());
    EXPECT_EQ(nMain, nWhole);

    item.Faults().hrGetSizeMax = STG_E_READFAULT;
    ULONG nUntouched = 42;
    EXPECT_EQ(m_oe.GetItemSize(item.Handle(), &nUntouched, true), STG_E_READFAULT);
    EXPECT_EQ(nUntouched, 42u);
}

// The warning is the process's, so it is counted in a fresh process of its own.
TEST_F(COECompareTest, ItemSizeWarningComesOncePerProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            CLogCapture log;
            TestItem item(TextMessage("Subject: s\n", "x\n"));
            ULONG nSize = 0;
            COECompare other;
            MimeOleCreateAllocator(&other.m_Lib.m_pAllocator);
            m_oe.GetItemSize(item.Handle(), &nSize, true);
            bool bQuietWhole = log.Lines().empty();
            for (int i = 0; i < 3; ++i) {
                m_oe.GetItemSize(item.Handle(), &nSize, false);
                other.GetItemSize(item.Handle(), &nSize, false);
            }
            std::vector<std::string> lines = log.Lines();
            bool bOnce = lines.size() == 1 &&
                         lines[0] == "War in COECompare::GetItemSize: GetSize as Size(Attachments) + Size(Body) + "
                                     "Size(Subject) not implemeted";
            std::_Exit(bQuietWhole && bOnce ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST_F(COECompareTest, AttachmentIdentifiersAreTheBodyHandlesInOrder) {
    TestItem item(MessageWithAttachments({{"a", "1"}, {"b", "22"}}));
    ULONG *pIDs = nullptr;
    ULONG cIDs = 0;
    ASSERT_EQ(m_oe.GetAttachments(item.Handle(), &pIDs, &cIDs), S_OK);
    ASSERT_EQ(cIDs, 2u);
    OEAttachments *pList = nullptr;
    ASSERT_EQ(m_oe.m_Lib.GetAttachments(item.Handle(), &pList), S_OK);
    EXPECT_EQ(pIDs[0], pList->pAttachments[0].hBody);
    EXPECT_EQ(pIDs[1], pList->pAttachments[1].hBody);
    m_oe.m_Lib.FreeAttachments(&pList);
    m_oe.FreeBuffer(pIDs);

    TestItem none(TextMessage("Subject: s\n", "x\n"));
    pIDs = reinterpret_cast<ULONG *>(1);
    cIDs = 7;
    EXPECT_EQ(m_oe.GetAttachments(none.Handle(), &pIDs, &cIDs), S_OK);
    EXPECT_EQ(pIDs, nullptr);
    EXPECT_EQ(cIDs, 0u);

    item.Faults().hrGetAttachments = E_FAIL;
    pIDs = reinterpret_cast<ULONG *>(1);
    cIDs = 7;
    EXPECT_EQ(m_oe.GetAttachments(item.Handle(), &pIDs, &cIDs), E_FAIL);
    EXPECT_EQ(pIDs, reinterpret_cast<ULONG *>(1)) << "outputs untouched on failure";
    EXPECT_EQ(cIDs, 7u);
}

TEST_F(COECompareTest, AttachmentsOrderByNameWithoutCaseThenBySize) {
    SPropValue a[] = {Str(PR_OE_ATTACH_DISPLAY_NAME, "A.TXT (1 KB)"), Str(PR_OE_ATTACH_NAME, "A.TXT"), Size(100)};
    SPropValue b[] = {Str(PR_OE_ATTACH_DISPLAY_NAME, "a.txt (2 KB)"), Str(PR_OE_ATTACH_NAME, "a.txt"), Size(100)};
    LONG nResult = 5;
    EXPECT_EQ(m_oe.CmpAttachProps(a, 3, b, 3, &nResult), S_OK);
    EXPECT_EQ(nResult, 0);

    // Without the cut name the remarks make them differ.
    EXPECT_EQ(m_oe.CmpAttachProps(a, 1, b, 1, &nResult), S_OK);
    EXPECT_LT(nResult, 0);
    SPropValue aNoName[] = {a[0], a[2]}, bNoName[] = {b[0], b[2]};
    EXPECT_EQ(m_oe.CmpAttachProps(aNoName, 2, bNoName, 2, &nResult), S_OK);
    EXPECT_LT(nResult, 0);

    // Equal names: the size decides, as a 32-bit difference.
    SPropValue c[] = {Str(PR_OE_ATTACH_NAME, "a.txt"), Size(130)};
    EXPECT_EQ(m_oe.CmpAttachProps(a + 1, 2, c, 2, &nResult), S_OK);
    EXPECT_EQ(nResult, -30);
    EXPECT_EQ(m_oe.CmpAttachProps(c, 2, a + 1, 2, &nResult), S_OK);
    EXPECT_EQ(nResult, 30);
}

TEST_F(COECompareTest, AttachmentOrderWithoutACommonName) {
    SPropValue a[] = {Str(PR_OE_ATTACH_NAME, "a"), Size(1)};
    SPropValue b[] = {Str(PR_OE_ATTACH_DISPLAY_NAME, "a"), Size(2)};
    LONG nResult = 7;
    EXPECT_EQ(m_oe.CmpAttachProps(a, 2, b, 2, &nResult), -1);
    EXPECT_EQ(nResult, 7) << "a preset result stands";
    nResult = 0;
    EXPECT_EQ(m_oe.CmpAttachProps(a, 2, b, 2, &nResult), S_OK) << "a preset 0 lets the sizes decide";
    EXPECT_EQ(nResult, -1);
    nResult = 0;
    EXPECT_EQ(m_oe.CmpAttachProps(a, 1, b, 1, &nResult), -1);
    EXPECT_EQ(nResult, 0);
}

TEST_F(COECompareTest, ValidAttachCmpPropsNeedsANameAndASize) {
    SPropValue full[] = {Str(PR_OE_ATTACH_DISPLAY_NAME, "x"), Size(3)};
    SPropValue named[] = {Str(PR_OE_ATTACH_NAME, "x"), Size(3)};
    SPropValue badSize[] = {Str(PR_OE_ATTACH_NAME, "x"), Size(3)};
    badSize[1].ulPropTag = CHANGE_PROP_TYPE(PR_OE_ATTACH_SIZE, PT_ERROR);
    EXPECT_TRUE(m_oe.ValidAttachCmpProps(full, 2));
    EXPECT_TRUE(m_oe.ValidAttachCmpProps(named, 2));
    EXPECT_FALSE(m_oe.ValidAttachCmpProps(badSize, 2));
    EXPECT_FALSE(m_oe.ValidAttachCmpProps(full, 1));
    EXPECT_FALSE(m_oe.ValidAttachCmpProps(full + 1, 1));
    EXPECT_FALSE(m_oe.ValidAttachCmpProps(full, 0));
}

TEST_F(COECompareTest, FixedAnswers) {
    CLogCapture log;
    ULONG ulTag = 0;
    EXPECT_EQ(m_oe.GetIDFromName(nullptr, &ulTag, "{00000000-0000-0000-0000-000000000000}", 1, nullptr, false), -1);
    EXPECT_EQ(ulTag, 0u);
    EXPECT_EQ(m_oe.GetAttachDisplayNameTag(0), 0x8100001Eu);
    EXPECT_EQ(m_oe.GetAttachDisplayNameTag(12), 0x8100001Eu);
    HFOLDER hFolder = nullptr;
    m_oe.CloseFolder(&hFolder);
    m_oe.CloseFolder(nullptr);
    void *pBuffer = nullptr;
    EXPECT_EQ(m_oe.AllocateBuffer(16, &pBuffer), S_OK);
    EXPECT_NE(pBuffer, nullptr);
    m_oe.FreeBuffer(pBuffer);
    m_oe.FreeBuffer(nullptr);
    EXPECT_EQ(log.Lines(), std::vector<std::string>{"Err in COECompare::GetIDFromName: Not implemented!"});
}

TEST_F(COECompareTest, ValuesStreamsAndAttachmentsGoThroughTheLibrary) {
    TestItem item1(MessageWithAttachments({{"same.txt (1 KB)", "abc"}}));
    TestItem item2(MessageWithAttachments({{"same.txt (2 KB)", "abd"}}));

    // The shared stream comparison over this store's bodies.
    LONG nResult = 9;
    uint8_t bWritten = 0;
    EXPECT_EQ(m_oe.CompareStreamProp(item1.Handle(), item2.Handle(), PR_OE_BODY, &nResult, &bWritten), S_OK);
    EXPECT_TRUE(bWritten);
    EXPECT_EQ(nResult, 0);

    ULONG *pIDs1 = nullptr, *pIDs2 = nullptr;
    ULONG c1 = 0, c2 = 0;
    ASSERT_EQ(m_oe.GetAttachments(item1.Handle(), &pIDs1, &c1), S_OK);
    ASSERT_EQ(m_oe.GetAttachments(item2.Handle(), &pIDs2, &c2), S_OK);
    ASSERT_EQ(c1, 1u);
    ASSERT_EQ(c2, 1u);
    EXPECT_EQ(m_oe.CmpAttachData(item1.Handle(), pIDs1[0], item2.Handle(), pIDs2[0], &nResult), S_OK);
    EXPECT_EQ(nResult, -1);

    ULONG aTags[] = {2, PR_OE_ATTACH_NAME, PR_OE_ATTACH_SIZE};
    auto *pTags = reinterpret_cast<SPropTagArray *>(aTags);
    SPropValue *pProps1 = nullptr, *pProps2 = nullptr;
    ULONG cValues1 = 0, cValues2 = 0;
    ASSERT_EQ(m_oe.GetAttachProps(item1.Handle(), pIDs1[0], pTags, &cValues1, &pProps1, 0), S_OK);
    ASSERT_EQ(m_oe.GetAttachProps(item2.Handle(), pIDs2[0], pTags, &cValues2, &pProps2, 0), S_OK);
    EXPECT_TRUE(m_oe.ValidAttachCmpProps(pProps1, cValues1));
    nResult = 9;
    EXPECT_EQ(m_oe.CmpAttachProps(pProps1, cValues1, pProps2, cValues2, &nResult), S_OK);
    EXPECT_EQ(nResult, 0) << "same cut name, same size: the content is not looked at";
    m_oe.FreeAttachProps(pProps1);
    m_oe.FreeAttachProps(pProps2);
    m_oe.FreeBuffer(pIDs1);
    m_oe.FreeBuffer(pIDs2);

    SPropValue *pProp = nullptr;
    EXPECT_EQ(m_oe.GetItemProp(item1.Handle(), PR_OE_SUBJECT, &pProp, false), S_OK);
    EXPECT_STREQ(pProp->Value.lpszA, "parts");
    m_oe.FreeItemProps(pProp);
}

} // namespace
