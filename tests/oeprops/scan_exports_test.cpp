// A duplicate scan and a comparison matrix over a real Maildir, through the exports alone: list, add every item,
// build, read the groups; then one group side by side with its attachments.
#include <algorithm>
#include <map>
#include <set>
#include <string>

#include "oelib_fixture.h"
#include "oestore/oetags.h"
#include "store_fixture.h"
#include "support/log_capture.h"

using namespace oetest;

namespace {

std::string Mail(const std::string &strId, const std::string &strSubject, const std::string &strFrom,
                 const std::string &strBody) {
    return "From: " + strFrom + "\nTo: list@example.org\nSubject: " + strSubject +
           "\nDate: Wed, 04 Mar 2020 08:00:00 +0000\nMessage-ID: <" + strId + ">\nMIME-Version: 1.0\n"
           "Content-Type: text/plain; charset=utf-8\n\n" + strBody;
}

std::string MailWithAttachment(const std::string &strId, const std::string &strAttachName,
                               const std::string &strAttachData) {
    return "From: Ann <ann@example.org>\nTo: list@example.org\nSubject: minutes\n"
           "Date: Wed, 04 Mar 2020 09:00:00 +0000\nMessage-ID: <" + strId + ">\nMIME-Version: 1.0\n"
           "Content-Type: multipart/mixed; boundary=\"M\"\n\n--M\nContent-Type: text/plain\n\nThe minutes.\n"
           "--M\nContent-Type: text/plain; name=\"" + strAttachName + "\"\n"
           "Content-Disposition: attachment; filename=\"" + strAttachName + "\"\n\n" + strAttachData + "\n--M--\n";
}

PropDesc Desc(const char16_t *pszKey, ULONG ulTag, uint32_t nInterface) {
    PropDesc desc{};
    desc.Key = pszKey;
    desc.Name = pszKey;
    desc.Tag = ulTag;
    desc.nInterface = nInterface;
    desc.bCompare = 1;
    return desc;
}

std::string Original(CDuplicateSearch *pSearch, int nGroup) {
    char szID[64] = "", szFolder[64] = "";
    uint32_t cID = sizeof szID, cFolder = sizeof szFolder;
    Search_GetOriginal(pSearch, nGroup, szID, &cID, szFolder, &cFolder);
    return szID;
}

std::string Duplicate(CDuplicateSearch *pSearch, int nGroup, int nDuplicate) {
    char szID[64] = "", szFolder[64] = "";
    uint32_t cID = sizeof szID, cFolder = sizeof szFolder;
    Search_GetDuplicate(pSearch, nGroup, nDuplicate, szID, &cID, szFolder, &cFolder);
    return szID;
}

class ScanExportsTest : public StoreTest {
protected:
    // Delivers the planted store and names each message's entry by its label.
    void Plant() {
        const std::string strMinutes = MailWithAttachment("min@example.org", "minutes.txt", "point one\npoint two");
        const std::string strHello = Mail("hello@example.org", "Hello", "Bob <bob@example.org>", "Hi all.\n");
        m_labels = {"minutes1", "hello1", "other", "minutes2", "near", "html1", "hello2", "minutes3", "html2"};
        const std::string strHtml = "From: Cy <cy@example.org>\nSubject: rich\nMIME-Version: 1.0\n"
                                    "Content-Type: text/html\n\n<p>only html</p>\n";
        Deliver(strMinutes);
        Deliver(strHello);
        Deliver(Mail("other@example.org", "Other", "Dee <dee@example.org>", "Something else.\n"));
        Deliver(strMinutes, "FS");
        // Same subject and sender as Hello, another body.
        Deliver(Mail("near@example.org", "Hello", "Bob <bob@example.org>", "Hi all!\n"));
        Deliver(strHtml);
        Deliver(strHello, "");
        Deliver(strMinutes);
        Deliver(strHtml);
        Connect();
        std::vector<ListedItem> items = ListAll();
        ASSERT_EQ(items.size(), m_labels.size());
        for (size_t i = 0; i < items.size(); ++i) {
            m_entries[m_labels[i]] = items[i].strEntry;
            m_folder = items[i].strFolder;
        }
        m_items = items;
    }

    std::string Label(const std::string &strEntry) const {
        for (const auto &[strLabel, strE] : m_entries)
            if (strE == strEntry) return strLabel;
        return "?" + strEntry;
    }

    std::vector<std::string> m_labels;
    std::map<std::string, std::string> m_entries;
    std::string m_folder;
    std::vector<ListedItem> m_items;
};

TEST_F(ScanExportsTest, FindsThePlantedGroupsBySubjectSenderAndBody) {
    ASSERT_NO_FATAL_FAILURE(Plant());
    PropDesc props[] = {Desc(u"subject", PR_OE_SUBJECT, TS_INTERFACE_VALUE),
                        Desc(u"from", PR_OE_SENDER_EMAIL, TS_INTERFACE_VALUE),
                        Desc(u"body", PR_OE_BODY, TS_INTERFACE_STREAM)};
    PropList list{3, props};
    OriginalDefinition od{};
    od.nDefinition = OD_FIRST_ADDED;
    CDuplicateSearch *pSearch = Search_Create(m_pLib, API_OE, &list, &od);
    ASSERT_NE(pSearch, nullptr);
    std::set<std::string> withDuplicates;
    for (const ListedItem &listed : m_items) {
        int32_t bHasDuplicates = 0;
        EXPECT_EQ(Search_Add(pSearch, listed.strEntry.c_str(), listed.strFolder.c_str(), &bHasDuplicates, 0), 1)
            << Label(listed.strEntry);
        if (bHasDuplicates) withDuplicates.insert(Label(listed.strEntry));
    }
    EXPECT_EQ(withDuplicates, (std::set<std::string>{"minutes2", "hello2", "minutes3", "html2"}));
    Search_Build(pSearch);

    std::map<std::string, std::vector<std::string>> groups;
    for (int g = 0; g < Search_GetOriginalCount(pSearch); ++g) {
        std::vector<std::string> &dups = groups[Label(Original(pSearch, g))];
        for (int d = 0; d < Search_GetDuplicateCount(pSearch, g); ++d) dups.push_back(Label(Duplicate(pSearch, g, d)));
        std::sort(dups.begin(), dups.end());
    }
    // The HTML-only pair has no plain body to offer as a stream: both are empty there, which counts as equal.
    EXPECT_EQ(groups, (std::map<std::string, std::vector<std::string>>{
                          {"minutes1", {"minutes2", "minutes3"}}, {"hello1", {"hello2"}}, {"html1", {"html2"}}}));
    Search_Delete(pSearch);
}

TEST_F(ScanExportsTest, WithoutTheBodyTheNearCopyJoinsItsGroup) {
    ASSERT_NO_FATAL_FAILURE(Plant());
    PropDesc props[] = {Desc(u"subject", PR_OE_SUBJECT, TS_INTERFACE_VALUE),
                        Desc(u"sent", PR_OE_SENT, TS_INTERFACE_VALUE)};
    PropList list{2, props};
    OriginalDefinition od{};
    od.nDefinition = OD_MOST_FILLED;
    CDuplicateSearch *pSearch = Search_Create(m_pLib, API_OE, &list, &od);
    ASSERT_NE(pSearch, nullptr);
    for (const ListedItem &listed : m_items)
        EXPECT_EQ(Search_Add(pSearch, listed.strEntry.c_str(), listed.strFolder.c_str(), nullptr, 0), 1);
    Search_Build(pSearch);
    std::set<std::set<std::string>> groups;
    for (int g = 0; g < Search_GetOriginalCount(pSearch); ++g) {
        std::set<std::string> group{Label(Original(pSearch, g))};
        for (int d = 0; d < Search_GetDuplicateCount(pSearch, g); ++d) group.insert(Label(Duplicate(pSearch, g, d)));
        groups.insert(group);
    }
    // Without the body the near copy joins the Hello group; the HTML pair agrees in its subject and in having no
    // date.
    EXPECT_EQ(groups, (std::set<std::set<std::string>>{
                          {"minutes1", "minutes2", "minutes3"}, {"hello1", "hello2", "near"}, {"html1", "html2"}}));
    Search_Delete(pSearch);
}

TEST_F(ScanExportsTest, MatrixOverOneGroupWithAttachments) {
    ASSERT_NO_FATAL_FAILURE(Plant());
    PropDesc props[] = {Desc(u"subject", PR_OE_SUBJECT, TS_INTERFACE_VALUE),
                        Desc(u"flagged", PR_OE_FLAGGED, TS_INTERFACE_VALUE),
                        Desc(u"body", PR_OE_BODY, TS_INTERFACE_STREAM)};
    PropList list{3, props};
    CCmpMatrix *pMatrix = CmpMatrix_Create(m_pLib, API_OE, &list);
    ASSERT_NE(pMatrix, nullptr);
    for (const char *szLabel : {"minutes1", "minutes2", "hello1"})
        EXPECT_EQ(CmpMatrix_Add(pMatrix, m_entries[szLabel].c_str(), m_folder.c_str()), 1) << szLabel;
    int32_t nRows = 0, nCols = 0;
    CmpMatrix_Size(pMatrix, &nRows, &nCols);
    EXPECT_EQ(nRows, 3);
    EXPECT_EQ(nCols, 3);
    // Subject: rows 0 and 1 agree, row 2 is its own.
    EXPECT_EQ(CmpMatrix_Value(pMatrix, 0, 0), 1);
    EXPECT_EQ(CmpMatrix_Value(pMatrix, 1, 0), 1);
    EXPECT_EQ(CmpMatrix_Value(pMatrix, 2, 0), 3);
    // Flagged: only the second copy carries the flag.
    EXPECT_EQ(CmpMatrix_Value(pMatrix, 0, 1), 1);
    EXPECT_EQ(CmpMatrix_Value(pMatrix, 1, 1), 2);
    EXPECT_EQ(CmpMatrix_Value(pMatrix, 2, 1), 1);
    // Body as a stream.
    EXPECT_EQ(CmpMatrix_Value(pMatrix, 1, 2), 1);
    EXPECT_EQ(CmpMatrix_Value(pMatrix, 2, 2), 3);

    CmpMatrix_BuildAttachMatrix(pMatrix);
    ASSERT_EQ(CmpMatrix_AttachCount(pMatrix), 1);
    AttachInfo info{};
    ASSERT_EQ(CmpMatrix_AttachInfo(pMatrix, 0, &info), 1);
    EXPECT_STREQ(info.szDisplayName, "minutes.txt");
    EXPECT_EQ(std::string(info.szItemID), m_entries["minutes1"]);
    EXPECT_EQ(CmpMatrix_AttachValue(pMatrix, 0, 0), 1u);
    EXPECT_EQ(CmpMatrix_AttachValue(pMatrix, 1, 0), 1u);
    EXPECT_EQ(CmpMatrix_AttachValue(pMatrix, 2, 0), 0u);
    CmpMatrix_Delete(pMatrix);
}

} // namespace
