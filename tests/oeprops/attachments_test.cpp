// COELib's attachments: the list, the three properties, finding by name and size, comparing by content.
#include <string>

#include "oelib_fixture.h"
#include "oestore/oetags.h"
#include "support/log_capture.h"

using namespace oetest;
using testsupport::CLogCapture;

namespace {

class AttachmentsTest : public OELibTest {};

TEST_F(AttachmentsTest, AMessageWithoutAttachmentsHasAnEmptyList) {
    TestItem item(TextMessage("Subject: x\n", "body\n"));
    OEAttachments *pList = nullptr;
    ASSERT_EQ(m_lib.GetAttachments(item.Handle(), &pList), S_OK);
    ASSERT_NE(pList, nullptr);
    EXPECT_EQ(pList->cAttachments, 0u);
    EXPECT_EQ(pList->pAttachments, nullptr);
    m_lib.FreeAttachments(&pList);
    EXPECT_EQ(pList, nullptr);
}

TEST_F(AttachmentsTest, ListsTheAttachmentsInTreeOrderWithTheirNames) {
    TestItem item(MessageWithAttachments({{"first.txt", "one"}, {"second.bin", "two"}, {"first.txt", "three!"}}));
    OEAttachments *pList = nullptr;
    ASSERT_EQ(m_lib.GetAttachments(item.Handle(), &pList), S_OK);
    ASSERT_EQ(pList->cAttachments, 3u);
    EXPECT_STREQ(pList->pAttachments[0].szName, "first.txt");
    EXPECT_STREQ(pList->pAttachments[1].szName, "second.bin");
    EXPECT_STREQ(pList->pAttachments[2].szName, "first.txt");
    EXPECT_NE(pList->pAttachments[0].hBody, pList->pAttachments[2].hBody);
    m_lib.FreeAttachments(&pList);
}

TEST_F(AttachmentsTest, ListingFailures) {
    CLogCapture log;
    TestItem item(MessageWithAttachments({{"a.txt", "one"}}));
    item.Faults().hrBindBody = E_NOINTERFACE;
    OEAttachments *pList = nullptr;
    ASSERT_EQ(m_lib.GetAttachments(item.Handle(), &pList), S_OK);
    EXPECT_EQ(pList->cAttachments, 0u) << "an attachment that can't be bound is left out";
    EXPECT_EQ(pList->pAttachments, nullptr);
    m_lib.FreeAttachments(&pList);
    EXPECT_EQ(log.Lines(), std::vector<std::string>{"Err[0x80004002] in COELib::GetAttachments: BindToObject"});

    log.Clear();
    item.Faults().hrGetAttachments = E_OUTOFMEMORY;
    EXPECT_EQ(m_lib.GetAttachments(item.Handle(), &pList), E_OUTOFMEMORY);
    EXPECT_EQ(pList, nullptr);
    HBODY hBody = 5;
    EXPECT_EQ(m_lib.FindAttachment(item.Handle(), &hBody, "a.txt", 0, 0), E_OUTOFMEMORY);
    EXPECT_EQ(log.Lines(), (std::vector<std::string>{"Err[0x8007000e] in COELib::GetAttachments: GetAttachments",
                                                      "Err[0x8007000e] in COELib::GetAttachments: GetAttachments",
                                                      "Err[0x8007000e] in COELib::FindAttachment: GetAttachments"}));
}

TEST_F(AttachmentsTest, PropertiesOfOneAttachment) {
    TestItem item(MessageWithAttachments({{"report.doc (12 KB)", std::string(1500, 'r')}}));
    std::vector<HBODY> bodies = Attachments(item);
    ASSERT_EQ(bodies.size(), 1u);
    auto values = ReadAttach(item, bodies[0], {PR_OE_ATTACH_DISPLAY_NAME, PR_OE_ATTACH_NAME, PR_OE_ATTACH_SIZE});
    EXPECT_EQ(values->m_hr, S_OK);
    ASSERT_EQ(values->m_cValues, 3u);
    EXPECT_EQ(Text((*values)[0]), "report.doc (12 KB)");
    EXPECT_EQ(Text((*values)[1]), "report.doc");
    EXPECT_EQ((*values)[2].ulPropTag, PR_OE_ATTACH_SIZE);
    EXPECT_EQ((*values)[2].Value.ul, 1500u);
}

TEST_F(AttachmentsTest, NameIsCutAtTheLastParenthesis) {
    struct Case {
        const char *szDisplay;
        const char *szName;
    } cases[] = {
        {"a (1) (2)", "a (1)"}, {"(12 KB)", ""}, {"plain.txt", "plain.txt"}, {"x  (y)", "x"}, {"tail (", "tail"},
    };
    for (const Case &c : cases) {
        TestItem item(MessageWithAttachments({{c.szDisplay, "data"}}));
        std::vector<HBODY> bodies = Attachments(item);
        ASSERT_EQ(bodies.size(), 1u) << c.szDisplay;
        auto values = ReadAttach(item, bodies[0], {PR_OE_ATTACH_NAME, PR_OE_ATTACH_DISPLAY_NAME});
        EXPECT_EQ(Text((*values)[1]), c.szDisplay);
        EXPECT_EQ(Text((*values)[0]), c.szName) << c.szDisplay;
    }
}

TEST_F(AttachmentsTest, SizeThatCantBeReadAndUnknownTags) {
    CLogCapture log;
    TestItem item(MessageWithAttachments({{"a.txt", "data"}}));
    std::vector<HBODY> bodies = Attachments(item);
    ASSERT_EQ(bodies.size(), 1u);
    item.Faults().hrBindStream = MIME_E_NOT_FOUND;
    auto values = ReadAttach(item, bodies[0], {PR_OE_ATTACH_SIZE, PR_OE_ATTACH_DISPLAY_NAME, PR_OE_SUBJECT});
    EXPECT_EQ(values->m_hr, MAPI_W_ERRORS_RETURNED);
    EXPECT_EQ((*values)[0].ulPropTag, CHANGE_PROP_TYPE(PR_OE_ATTACH_SIZE, PT_ERROR));
    EXPECT_EQ((*values)[0].Value.err, MIME_E_NOT_FOUND) << "the size's code is passed on untranslated";
    EXPECT_EQ(Text((*values)[1]), "a.txt");
    EXPECT_EQ((*values)[2].ulPropTag, CHANGE_PROP_TYPE(PR_OE_SUBJECT, PT_ERROR));
    EXPECT_EQ((*values)[2].Value.err, -1);
    EXPECT_EQ(log.Lines(), std::vector<std::string>{"Err[0x8010001e] in COELib::GetAttachmentProps: Unknown tag"});

    SPropValue *pProp = nullptr;
    EXPECT_EQ(m_lib.GetAttachmentProp(item.Handle(), bodies[0], PR_OE_ATTACH_SIZE, &pProp, 0),
              MAPI_W_ERRORS_RETURNED)
        << "one attachment value comes back with the call's result unchanged";
    m_lib.FreeAttachProps(pProp);
}

TEST_F(AttachmentsTest, PropertiesOfABodyThatCantBeBoundOrNamed) {
    CLogCapture log;
    TestItem item(MessageWithAttachments({{"a.txt", "data"}}));
    auto values = ReadAttach(item, 9999, {PR_OE_ATTACH_NAME});
    EXPECT_EQ(values->m_hr, MIME_E_INVALID_HANDLE);
    EXPECT_EQ(values->m_pProps, nullptr);
    EXPECT_EQ(log.Lines(), std::vector<std::string>{"Err[0x800cce09] in COELib::GetAttachmentProps: BindToObject"});
}

TEST_F(AttachmentsTest, FindByNameAndSize) {
    TestItem item(MessageWithAttachments({{"same.txt", "short"}, {"other.txt", "x"}, {"same.txt", "much longer"}}));
    std::vector<HBODY> bodies = Attachments(item);
    ASSERT_EQ(bodies.size(), 3u);
    HBODY hBody = 0;
    EXPECT_EQ(m_lib.FindAttachment(item.Handle(), &hBody, "same.txt", 0, 0), S_OK);
    EXPECT_EQ(hBody, bodies[0]);
    EXPECT_EQ(m_lib.FindAttachment(item.Handle(), &hBody, "same.txt", 11, 0), S_OK);
    EXPECT_EQ(hBody, bodies[2]);
    EXPECT_EQ(m_lib.FindAttachment(item.Handle(), &hBody, "same.txt", 0, 1), S_OK);
    EXPECT_EQ(hBody, bodies[2]) << "the search goes on from nFirst";
    EXPECT_EQ(m_lib.FindAttachment(item.Handle(), &hBody, "same.txt", 7, 0), 1);
    EXPECT_EQ(hBody, 0u);
    EXPECT_EQ(m_lib.FindAttachment(item.Handle(), &hBody, "SAME.TXT", 0, 0), 1) << "names compare with case";
    hBody = 5;
    EXPECT_EQ(m_lib.FindAttachment(item.Handle(), &hBody, "same.txt", 0, 3), 1);
    EXPECT_EQ(hBody, 0u);
    EXPECT_EQ(m_lib.FindAttachment(item.Handle(), &hBody, "same.txt", 0, 10), 1);
}

TEST_F(AttachmentsTest, FindWithASizeThatCantBeReadMatchesNothing) {
    CLogCapture log;
    TestItem item(MessageWithAttachments({{"a.txt", "data"}}));
    item.Faults().hrBindStream = E_FAIL;
    HBODY hBody = 0;
    EXPECT_EQ(m_lib.FindAttachment(item.Handle(), &hBody, "a.txt", 4, 0), 1);
    EXPECT_TRUE(log.Lines().empty());
    EXPECT_EQ(m_lib.FindAttachment(item.Handle(), &hBody, "a.txt", 0, 0), S_OK) << "size 0 reads no size";
}

TEST_F(AttachmentsTest, CompareByContent) {
    std::string strBase(1500, 'q');
    std::string strLater = strBase;
    strLater[1024] = 'r';
    TestItem item1(MessageWithAttachments({{"a", strBase}, {"e", ""}, {"s", std::string(1024, 'z')}}));
    TestItem item2(MessageWithAttachments({{"b", strLater}, {"f", ""}, {"t", std::string(1025, 'a')}, {"c", strBase}}));
    std::vector<HBODY> a1 = Attachments(item1), a2 = Attachments(item2);
    ASSERT_EQ(a1.size(), 3u);
    ASSERT_EQ(a2.size(), 4u);
    LONG nResult = 99;
    EXPECT_EQ(m_lib.CmpAttachment(item1.Handle(), a1[0], item2.Handle(), a2[0], &nResult), S_OK);
    EXPECT_EQ(nResult, -1) << "differs in the second block";
    EXPECT_EQ(m_lib.CmpAttachment(item2.Handle(), a2[0], item1.Handle(), a1[0], &nResult), S_OK);
    EXPECT_EQ(nResult, 1);
    EXPECT_EQ(m_lib.CmpAttachment(item1.Handle(), a1[0], item2.Handle(), a2[3], &nResult), S_OK);
    EXPECT_EQ(nResult, 0);
    nResult = 99;
    EXPECT_EQ(m_lib.CmpAttachment(item1.Handle(), a1[1], item2.Handle(), a2[1], &nResult), S_OK);
    EXPECT_EQ(nResult, 0) << "two empty attachments";

    // Sizes decide before a byte is read: reads would fail here.
    item1.Faults().hrStreamRead = E_FAIL;
    item2.Faults().hrStreamRead = E_FAIL;
    EXPECT_EQ(m_lib.CmpAttachment(item1.Handle(), a1[2], item2.Handle(), a2[2], &nResult), S_OK);
    EXPECT_EQ(nResult, -1);
    EXPECT_EQ(m_lib.CmpAttachment(item2.Handle(), a2[2], item1.Handle(), a1[2], &nResult), S_OK);
    EXPECT_EQ(nResult, 1);
}

TEST_F(AttachmentsTest, CompareFailures) {
    CLogCapture log;
    TestItem item1(MessageWithAttachments({{"a", "same"}}));
    TestItem item2(MessageWithAttachments({{"b", "same"}}));
    std::vector<HBODY> a1 = Attachments(item1), a2 = Attachments(item2);
    LONG nResult = 0;
    EXPECT_EQ(m_lib.CmpAttachment(item1.Handle(), 999, item2.Handle(), a2[0], &nResult), MIME_E_INVALID_HANDLE);
    EXPECT_EQ(m_lib.CmpAttachment(item1.Handle(), a1[0], item2.Handle(), 999, &nResult), MIME_E_INVALID_HANDLE);
    item2.Faults().hrStreamStat = E_FAIL;
    EXPECT_EQ(m_lib.CmpAttachment(item1.Handle(), a1[0], item2.Handle(), a2[0], &nResult), E_FAIL);
    item2.Faults().hrStreamStat = S_OK;
    item2.Faults().hrStreamRead = STG_E_READFAULT;
    EXPECT_EQ(m_lib.CmpAttachment(item1.Handle(), a1[0], item2.Handle(), a2[0], &nResult), STG_E_READFAULT);
    EXPECT_EQ(log.Lines(), (std::vector<std::string>{"Err[0x800cce09] in COELib::CmpAttachment: BindToObject1",
                                                      "Err[0x800cce09] in COELib::CmpAttachment: BindToObject2",
                                                      "Err[0x80004005] in COELib::CmpAttachment: Stat2",
                                                      "Err[0x8003001e] in COELib::CmpAttachment: Stream->Read"}));
}

} // namespace
