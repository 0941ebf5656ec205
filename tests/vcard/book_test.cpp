// The provider through its MAPI interfaces: containers of a file and of a vdir, entry ids, contacts and groups,
// mapped and named properties, text widths, saving, the allocator, the details viewer.
#include <gtest/gtest.h>

#include <cstdlib>

#include "providers/vcard/vcard_names.h"
#include "support/paths.h"
#include "vcard_test_util.h"

using vcardtest::Book;
using vcardtest::ReadText;
using vcardtest::WriteText;

namespace {

const char kTwoCards[] = "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:u-1\r\nFN:Jane Doe\r\nN:Doe;Jane;;;\r\n"
                         "EMAIL;TYPE=INTERNET:jane@example.org\r\nEMAIL:second@example.org\r\n"
                         "TEL;TYPE=WORK:+1 111\r\nTEL;TYPE=HOME:+1 222\r\nTEL;TYPE=CELL:+1 333\r\n"
                         "ORG:Acme;Sales\r\nTITLE:Boss\r\nNOTE:a note\r\nREV:20200102T030405Z\r\nBDAY:1980-05-06\r\n"
                         "ADR;TYPE=HOME:;;1 Main St;Springfield;IL;62701;USA\r\nURL:https://jane.example.org\r\n"
                         "CATEGORIES:friends,work\r\nitem1.X-ABLABEL:custom\r\nPHOTO;ENCODING=b;TYPE=JPEG:AAAA\r\n"
                         "END:VCARD\r\n"
                         "BEGIN:VCARD\r\nVERSION:4.0\r\nUID:u-2\r\nFN:Bob\r\nEND:VCARD\r\n";

struct TagOne {
    ULONG cValues;
    ULONG aulPropTag[1];
};

SPropTagArray *Tags(TagOne &t) { return reinterpret_cast<SPropTagArray *>(&t); }

} // namespace

class VCardBookTest : public ::testing::Test {
protected:
    testsupport::TempDir m_dir;
    std::filesystem::path Path(const char *psz) const { return m_dir.path() / psz; }
};

TEST_F(VCardBookTest, MissingFileBookIsCreatedEmptyWithOneContainer) {
    Book book(Path("new/contacts.vcf"));
    ASSERT_EQ(S_OK, book.hr);
    EXPECT_TRUE(std::filesystem::exists(Path("new/contacts.vcf")));
    std::vector<std::string> names;
    std::vector<std::string> ids = book.ContainerIds(&names);
    ASSERT_EQ(1u, ids.size());
    EXPECT_EQ("contacts", names[0]);
    EXPECT_TRUE(book.CardIds(ids[0]).empty());
    ULONG cb = 0;
    LPENTRYID pId = nullptr;
    ASSERT_EQ(S_OK, book.pAddrBook->GetPAB(&cb, &pId));
    EXPECT_EQ(ids[0], std::string(reinterpret_cast<char *>(pId), cb));
    book.pWab->FreeBuffer(pId);
}

TEST_F(VCardBookTest, MissingDirectoryBookIsCreatedEmpty) {
    Book book(Path("vdir"));
    ASSERT_EQ(S_OK, book.hr);
    EXPECT_TRUE(std::filesystem::is_directory(Path("vdir")));
    EXPECT_EQ(1u, book.ContainerIds().size());
}

TEST_F(VCardBookTest, DefaultBookComesFromTesselContacts) {
    setenv("TESSEL_CONTACTS", Path("fromenv").c_str(), 1);
    IAddrBook *pAB = nullptr;
    IWABObject *pWab = nullptr;
    WAB_PARAM wp{sizeof(WAB_PARAM), nullptr, nullptr, 0};
    EXPECT_EQ(S_OK, WABOpen(&pAB, &pWab, &wp, 0));
    unsetenv("TESSEL_CONTACTS");
    EXPECT_TRUE(std::filesystem::is_directory(Path("fromenv")));
    SafeRelease(pAB);
    SafeRelease(pWab);
}

TEST_F(VCardBookTest, VdirContainersAreTheDirectoriesWithCards) {
    WriteText(Path("book/work/a.vcf"), "BEGIN:VCARD\nVERSION:3.0\nUID:a\nFN:A\nEND:VCARD\n");
    WriteText(Path("book/work/b.vcf"), "BEGIN:VCARD\nVERSION:3.0\nUID:b\nFN:B\nEND:VCARD\n");
    WriteText(Path("book/home/c.vcf"), "BEGIN:VCARD\nVERSION:3.0\nUID:c\nFN:C\nEND:VCARD\n");
    WriteText(Path("book/home/displayname"), "Family\n");
    WriteText(Path("book/empty/readme.txt"), "no cards here\n");
    Book book(Path("book"));
    ASSERT_EQ(S_OK, book.hr);
    std::vector<std::string> names;
    std::vector<std::string> ids = book.ContainerIds(&names);
    ASSERT_EQ(3u, ids.size());
    EXPECT_EQ("book", names[0]);
    EXPECT_EQ("Family", names[1]);
    EXPECT_EQ("work", names[2]);
    EXPECT_TRUE(book.CardIds(ids[0]).empty());
    EXPECT_EQ(1u, book.CardIds(ids[1]).size());
    EXPECT_EQ(2u, book.CardIds(ids[2]).size());
}

TEST_F(VCardBookTest, EntryIdsAreStableAcrossOpensAndMatchTheOpenedEntry) {
    WriteText(Path("c.vcf"), kTwoCards + std::string("BEGIN:VCARD\r\nVERSION:3.0\r\nFN:No Uid\r\nEND:VCARD\r\n"));
    std::vector<std::string> first;
    {
        Book book(Path("c.vcf"));
        first = book.CardIds(book.ContainerIds()[0]);
    }
    Book book(Path("c.vcf"));
    std::vector<std::string> second = book.CardIds(book.ContainerIds()[0]);
    ASSERT_EQ(3u, first.size());
    EXPECT_EQ(first, second);
    for (const std::string &sId : second) {
        IMAPIProp *p = book.Open(sId);
        TagOne t{1, {PR_ENTRYID}};
        ULONG c = 0;
        SPropValue *pv = nullptr;
        ASSERT_EQ(S_OK, p->GetProps(Tags(t), 0, &c, &pv));
        EXPECT_EQ(sId, vcardtest::Bytes(pv[0].Value.bin));
        book.pWab->FreeBuffer(pv);
        p->Release();
    }
    // Reading never gives the card without UID one.
    EXPECT_EQ(std::string::npos, ReadText(Path("c.vcf")).find("FN:No Uid\r\nUID"));
}

TEST_F(VCardBookTest, MappedFieldsReadAsTheirMapiValues) {
    WriteText(Path("c.vcf"), kTwoCards);
    Book book(Path("c.vcf"));
    IMAPIProp *p = book.Open(book.CardIds(book.ContainerIds()[0])[0]);
    std::string s;
    struct {
        ULONG ulTag;
        const char *psz;
    } expected[] = {{PR_DISPLAY_NAME, "Jane Doe"},          {PR_EMAIL_ADDRESS, "jane@example.org"},
                    {PR_GIVEN_NAME, "Jane"},                {PR_SURNAME, "Doe"},
                    {PR_BUSINESS_TELEPHONE_NUMBER, "+1 111"}, {PR_HOME_TELEPHONE_NUMBER, "+1 222"},
                    {PR_MOBILE_TELEPHONE_NUMBER, "+1 333"},  {PR_COMPANY_NAME, "Acme"},
                    {PR_DEPARTMENT_NAME, "Sales"},          {PR_TITLE, "Boss"},
                    {PR_COMMENT, "a note"},                 {PR_HOME_ADDRESS_STREET, "1 Main St"},
                    {PR_HOME_ADDRESS_CITY, "Springfield"},  {PR_HOME_ADDRESS_POSTAL_CODE, "62701"},
                    {PR_HOME_ADDRESS_COUNTRY, "USA"},       {PR_PERSONAL_HOME_PAGE, "https://jane.example.org"}};
    for (const auto &e : expected) {
        EXPECT_TRUE(book.GetString(p, e.ulTag, &s)) << std::hex << e.ulTag;
        EXPECT_EQ(e.psz, s) << std::hex << e.ulTag;
    }
    EXPECT_FALSE(book.GetString(p, PR_BUSINESS_FAX_NUMBER, &s));
    TagOne t{1, {PR_LAST_MODIFICATION_TIME}};
    ULONG c = 0;
    SPropValue *pv = nullptr;
    ASSERT_EQ(S_OK, p->GetProps(Tags(t), 0, &c, &pv));
    uint64_t ticks = (static_cast<uint64_t>(pv[0].Value.ft.dwHighDateTime) << 32) | pv[0].Value.ft.dwLowDateTime;
    EXPECT_EQ((1577934245ull + 11644473600ull) * 10000000ull, ticks); // 2020-01-02T03:04:05Z
    book.pWab->FreeBuffer(pv);
    TagOne ot{1, {PR_OBJECT_TYPE}};
    ASSERT_EQ(S_OK, p->GetProps(Tags(ot), 0, &c, &pv));
    EXPECT_EQ(MAPI_MAILUSER, static_cast<ULONG>(pv[0].Value.l));
    book.pWab->FreeBuffer(pv);
    p->Release();
}

TEST_F(VCardBookTest, ExplicitString8StaysUtf8EvenWithUnicodeFlag) {
    WriteText(Path("c.vcf"), "BEGIN:VCARD\nVERSION:4.0\nUID:x\nFN:J\xC3\xBCrgen\nEND:VCARD\n");
    Book book(Path("c.vcf"));
    IMAPIProp *p = book.Open(book.CardIds(book.ContainerIds()[0])[0]);
    struct {
        ULONG cValues;
        ULONG aulPropTag[3];
    } tags{3, {PR_DISPLAY_NAME, CHANGE_PROP_TYPE(PR_DISPLAY_NAME, PT_UNICODE),
               CHANGE_PROP_TYPE(PR_DISPLAY_NAME, PT_UNSPECIFIED)}};
    ULONG c = 0;
    SPropValue *pv = nullptr;
    ASSERT_EQ(S_OK, p->GetProps(reinterpret_cast<SPropTagArray *>(&tags), MAPI_UNICODE, &c, &pv));
    ASSERT_EQ(3u, c);
    EXPECT_EQ(PR_DISPLAY_NAME, pv[0].ulPropTag);
    EXPECT_STREQ("J\xC3\xBCrgen", pv[0].Value.lpszA);
    EXPECT_EQ(CHANGE_PROP_TYPE(PR_DISPLAY_NAME, PT_UNICODE), pv[1].ulPropTag);
    EXPECT_EQ(std::u16string(u"J\u00FCrgen"), std::u16string(pv[1].Value.lpszW));
    EXPECT_EQ(CHANGE_PROP_TYPE(PR_DISPLAY_NAME, PT_UNICODE), pv[2].ulPropTag);
    book.pWab->FreeBuffer(pv);
    // Without the flag an unspecified type is 8-bit.
    TagOne t{1, {CHANGE_PROP_TYPE(PR_DISPLAY_NAME, PT_UNSPECIFIED)}};
    ASSERT_EQ(S_OK, p->GetProps(Tags(t), 0, &c, &pv));
    EXPECT_EQ(PR_DISPLAY_NAME, pv[0].ulPropTag);
    book.pWab->FreeBuffer(pv);
    p->Release();
}

TEST_F(VCardBookTest, MissingPropertiesComeBackAsErrors) {
    WriteText(Path("c.vcf"), "BEGIN:VCARD\nVERSION:4.0\nUID:x\nFN:Only\nEND:VCARD\n");
    Book book(Path("c.vcf"));
    IMAPIProp *p = book.Open(book.CardIds(book.ContainerIds()[0])[0]);
    struct {
        ULONG cValues;
        ULONG aulPropTag[2];
    } tags{2, {PR_DISPLAY_NAME, PR_HOME_TELEPHONE_NUMBER}};
    ULONG c = 0;
    SPropValue *pv = nullptr;
    EXPECT_EQ(MAPI_W_ERRORS_RETURNED, p->GetProps(reinterpret_cast<SPropTagArray *>(&tags), 0, &c, &pv));
    EXPECT_EQ(CHANGE_PROP_TYPE(PR_HOME_TELEPHONE_NUMBER, PT_ERROR), pv[1].ulPropTag);
    EXPECT_EQ(MAPI_E_NOT_FOUND, pv[1].Value.err);
    book.pWab->FreeBuffer(pv);
    p->Release();
}

TEST_F(VCardBookTest, GroupIsADistributionList) {
    WriteText(Path("g.vcf"), "BEGIN:VCARD\nVERSION:4.0\nUID:g1\nKIND:group\nFN:Team\nMEMBER:urn:uuid:a\nEND:VCARD\n"
                             "BEGIN:VCARD\nVERSION:3.0\nUID:g2\nX-ADDRESSBOOKSERVER-KIND:group\nFN:Apple group\n"
                             "X-ADDRESSBOOKSERVER-MEMBER:urn:uuid:b\nEND:VCARD\n"
                             "BEGIN:VCARD\nVERSION:4.0\nUID:p\nKIND:individual\nFN:Person\nEND:VCARD\n");
    Book book(Path("g.vcf"));
    std::vector<std::string> ids = book.CardIds(book.ContainerIds()[0]);
    ASSERT_EQ(3u, ids.size());
    ULONG types[3];
    for (int i = 0; i < 3; ++i) {
        IMAPIProp *p = book.Open(ids[static_cast<size_t>(i)], &types[i]);
        if (types[i] == MAPI_DISTLIST) {
            void *pv = nullptr;
            EXPECT_EQ(S_OK, p->QueryInterface(IID_IDistList, &pv));
            static_cast<IUnknown *>(pv)->Release();
        }
        p->Release();
    }
    EXPECT_EQ(MAPI_DISTLIST, types[0]);
    EXPECT_EQ(MAPI_DISTLIST, types[1]);
    EXPECT_EQ(MAPI_MAILUSER, types[2]);
}

TEST_F(VCardBookTest, UnknownFieldsAreNamedPropertiesOfTheProviderSet) {
    WriteText(Path("c.vcf"), kTwoCards);
    Book book(Path("c.vcf"));
    IMAPIProp *p = book.Open(book.CardIds(book.ContainerIds()[0])[0]);
    GUID guid = vcard::PS_TESSEL_VCARD;
    std::u16string sName = u"CATEGORIES";
    MAPINAMEID name{&guid, MNID_STRING, {}};
    name.Kind.lpwstrName = sName.data();
    MAPINAMEID *pName = &name;
    SPropTagArray *pTags = nullptr;
    ASSERT_EQ(S_OK, p->GetIDsFromNames(1, &pName, 0, &pTags));
    ULONG ulId = PROP_ID(pTags->aulPropTag[0]);
    book.pWab->FreeBuffer(pTags);
    EXPECT_GE(ulId, 0x8000u);
    std::string s;
    ASSERT_TRUE(book.GetString(p, PROP_TAG(PT_STRING8, ulId), &s));
    EXPECT_EQ("CATEGORIES:friends,work", s);
    // The property list names every field that the tags don't carry, the photo and the labelled field included.
    SPropTagArray *pList = nullptr;
    ASSERT_EQ(S_OK, p->GetPropList(0, &pList));
    std::vector<std::string> fields;
    for (ULONG i = 0; i < pList->cValues; ++i) {
        ULONG ulTag = pList->aulPropTag[i];
        if (PROP_ID(ulTag) < 0x8000) continue;
        TagOne t{1, {ulTag}};
        SPropTagArray *pIn = Tags(t);
        ULONG c = 0;
        MAPINAMEID **ppNames = nullptr;
        ASSERT_EQ(S_OK, p->GetNamesFromIDs(&pIn, nullptr, 0, &c, &ppNames));
        fields.push_back(std::string(ppNames[0]->Kind.lpwstrName, ppNames[0]->Kind.lpwstrName +
                                                                      std::char_traits<char16_t>::length(
                                                                          ppNames[0]->Kind.lpwstrName)));
        book.pWab->FreeBuffer(ppNames);
    }
    book.pWab->FreeBuffer(pList);
    std::sort(fields.begin(), fields.end());
    EXPECT_EQ((std::vector<std::string>{"CATEGORIES", "EMAIL", "PHOTO", "X-ABLABEL"}), fields);
    p->Release();
}

TEST_F(VCardBookTest, NamedPropertiesCreatedBySomeonePersistAcrossOpens) {
    WriteText(Path("c.vcf"), kTwoCards);
    GUID guid{0x00062004, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
    std::string sId;
    ULONG ulNum = 0, ulStr = 0;
    {
        Book book(Path("c.vcf"));
        sId = book.CardIds(book.ContainerIds()[0])[1];
        IMAPIProp *p = book.Open(sId);
        MAPINAMEID byNum{&guid, MNID_ID, {}};
        byNum.Kind.lID = 0x8083;
        std::u16string sName = u"Spouse; \"name\"";
        MAPINAMEID byStr{&guid, MNID_STRING, {}};
        byStr.Kind.lpwstrName = sName.data();
        MAPINAMEID *names[2] = {&byNum, &byStr};
        SPropTagArray *pTags = nullptr;
        EXPECT_EQ(MAPI_W_ERRORS_RETURNED, p->GetIDsFromNames(2, names, 0, &pTags)); // not there without MAPI_CREATE
        book.pWab->FreeBuffer(pTags);
        ASSERT_EQ(S_OK, p->GetIDsFromNames(2, names, MAPI_CREATE, &pTags));
        ulNum = PROP_ID(pTags->aulPropTag[0]);
        ulStr = PROP_ID(pTags->aulPropTag[1]);
        book.pWab->FreeBuffer(pTags);
        EXPECT_GE(ulNum, 0x8000u);
        EXPECT_NE(ulNum, ulStr);
        SPropValue v[2]{};
        v[0].ulPropTag = PROP_TAG(PT_LONG, ulNum);
        v[0].Value.l = 42;
        v[1].ulPropTag = PROP_TAG(PT_UNICODE, ulStr);
        std::u16string sValue = u"Ann, with; punctuation";
        v[1].Value.lpszW = sValue.data();
        SPropProblemArray *pProblems = nullptr;
        ASSERT_EQ(S_OK, p->SetProps(2, v, &pProblems));
        EXPECT_EQ(nullptr, pProblems);
        ASSERT_EQ(S_OK, p->SaveChanges(0));
        p->Release();
    }
    std::string sText = ReadText(Path("c.vcf"));
    EXPECT_NE(std::string::npos, sText.find("X-TESSEL-PROP;X-GUID={00062004-0000-0000-C000-000000000046};X-ID=32899;"));
    Book book(Path("c.vcf"));
    IMAPIProp *p = book.Open(sId);
    MAPINAMEID byNum{&guid, MNID_ID, {}};
    byNum.Kind.lID = 0x8083;
    MAPINAMEID *pName = &byNum;
    SPropTagArray *pTags = nullptr;
    ASSERT_EQ(S_OK, p->GetIDsFromNames(1, &pName, 0, &pTags));
    EXPECT_EQ(ulNum, PROP_ID(pTags->aulPropTag[0]));
    book.pWab->FreeBuffer(pTags);
    struct {
        ULONG cValues;
        ULONG aulPropTag[2];
    } tags{2, {PROP_TAG(PT_LONG, ulNum), PROP_TAG(PT_STRING8, ulStr)}};
    ULONG c = 0;
    SPropValue *pv = nullptr;
    ASSERT_EQ(S_OK, p->GetProps(reinterpret_cast<SPropTagArray *>(&tags), 0, &c, &pv));
    EXPECT_EQ(42, pv[0].Value.l);
    EXPECT_STREQ("Ann, with; punctuation", pv[1].Value.lpszA);
    book.pWab->FreeBuffer(pv);
    p->Release();
}

TEST_F(VCardBookTest, SavingAChangeKeepsEveryOtherLineAndGivesAUidOnce) {
    std::string sNoUid = "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Nobody\r\nX-CUSTOM;X-P=1:keep me\r\nEND:VCARD\r\n";
    WriteText(Path("c.vcf"), kTwoCards + sNoUid);
    Book book(Path("c.vcf"));
    std::vector<std::string> ids = book.CardIds(book.ContainerIds()[0]);
    ASSERT_EQ(3u, ids.size());
    IMAPIProp *p = book.Open(ids[2]);
    ASSERT_EQ(S_OK, book.SetString(p, PR_HOME_TELEPHONE_NUMBER, "+44 20 7946 0000"));
    ASSERT_EQ(S_OK, p->SaveChanges(KEEP_OPEN_READWRITE));
    TagOne t{1, {PR_ENTRYID}};
    ULONG c = 0;
    SPropValue *pv = nullptr;
    ASSERT_EQ(S_OK, p->GetProps(Tags(t), 0, &c, &pv));
    std::string sNewId = vcardtest::Bytes(pv[0].Value.bin);
    book.pWab->FreeBuffer(pv);
    p->Release();
    EXPECT_NE(ids[2], sNewId); // the card got a UID
    std::string sText = ReadText(Path("c.vcf"));
    EXPECT_EQ(0u, sText.find(kTwoCards));
    EXPECT_NE(std::string::npos, sText.find("X-CUSTOM;X-P=1:keep me\r\nTEL;TYPE=HOME:+44 20 7946 0000\r\nUID:"));
    EXPECT_NE(std::string::npos, sText.find("\r\nREV:"));
    // The new id is what the table lists now.
    EXPECT_EQ(sNewId, book.CardIds(book.ContainerIds()[0])[2]);
}

TEST_F(VCardBookTest, CopyPropertyByPropertyCarriesEverythingOver) {
    WriteText(Path("book/a/one.vcf"), kTwoCards);
    WriteText(Path("book/b/two.vcf"), "BEGIN:VCARD\nVERSION:4.0\nUID:z\nFN:Z\nEND:VCARD\n");
    Book book(Path("book"));
    std::vector<std::string> conts = book.ContainerIds();
    ASSERT_EQ(3u, conts.size());
    IMAPIProp *pSrc = book.Open(book.CardIds(conts[1])[0]);
    IABContainer *pTarget = book.OpenContainer(conts[2]);
    TagOne t{1, {PR_DEF_CREATE_MAILUSER}};
    ULONG c = 0;
    SPropValue *pTpl = nullptr;
    ASSERT_EQ(S_OK, pTarget->GetProps(Tags(t), 0, &c, &pTpl));
    IMAPIProp *pNew = nullptr;
    ASSERT_EQ(S_OK, pTarget->CreateEntry(pTpl[0].Value.bin.cb, reinterpret_cast<LPENTRYID>(pTpl[0].Value.bin.lpb), 0,
                                         &pNew));
    SPropTagArray *pList = nullptr;
    ASSERT_EQ(S_OK, pSrc->GetPropList(0, &pList));
    SPropValue *pValues = nullptr;
    ASSERT_EQ(S_OK, pSrc->GetProps(pList, 0, &c, &pValues));
    for (ULONG i = 0; i < c; ++i) {
        ULONG ulTag = pValues[i].ulPropTag;
        if (ulTag == PR_ENTRYID || ulTag == PR_OBJECT_TYPE || ulTag == PR_RECORD_KEY ||
            ulTag == PR_LAST_MODIFICATION_TIME)
            continue;
        SPropProblemArray *pProblems = nullptr;
        EXPECT_EQ(S_OK, pNew->SetProps(1, &pValues[i], &pProblems)) << std::hex << ulTag;
        EXPECT_EQ(nullptr, pProblems) << std::hex << ulTag;
    }
    ASSERT_EQ(S_OK, pNew->SaveChanges(KEEP_OPEN_READONLY));
    TagOne e{1, {PR_ENTRYID}};
    SPropValue *pId = nullptr;
    ASSERT_EQ(S_OK, pNew->GetProps(Tags(e), 0, &c, &pId));
    std::string sNewId = vcardtest::Bytes(pId[0].Value.bin);
    for (SPropValue *pBuf : {pTpl, pValues, pId}) book.pWab->FreeBuffer(pBuf);
    book.pWab->FreeBuffer(pList);
    pNew->Release();
    pTarget->Release();
    pSrc->Release();
    // The copy is a 4.0 card: the fields the tags carry read the same, the others are the source's lines.
    std::vector<std::string> ids = book.CardIds(conts[2]);
    ASSERT_EQ(2u, ids.size());
    EXPECT_NE(ids.end(), std::find(ids.begin(), ids.end(), sNewId));
    IMAPIProp *pCopy = book.Open(sNewId);
    pSrc = book.Open(book.CardIds(conts[1])[0]);
    for (ULONG ulTag : {PR_DISPLAY_NAME, PR_SURNAME, PR_GIVEN_NAME, PR_EMAIL_ADDRESS, PR_BUSINESS_TELEPHONE_NUMBER,
                        PR_HOME_TELEPHONE_NUMBER, PR_MOBILE_TELEPHONE_NUMBER, PR_COMPANY_NAME, PR_DEPARTMENT_NAME,
                        PR_TITLE, PR_COMMENT, PR_HOME_ADDRESS_STREET, PR_HOME_ADDRESS_CITY,
                        PR_HOME_ADDRESS_STATE_OR_PROVINCE, PR_HOME_ADDRESS_POSTAL_CODE, PR_HOME_ADDRESS_COUNTRY,
                        PR_PERSONAL_HOME_PAGE}) {
        std::string sFrom, sTo;
        EXPECT_TRUE(book.GetString(pSrc, ulTag, &sFrom)) << std::hex << ulTag;
        EXPECT_TRUE(book.GetString(pCopy, ulTag, &sTo)) << std::hex << ulTag;
        EXPECT_EQ(sFrom, sTo) << std::hex << ulTag;
    }
    TagOne bday{1, {PR_BIRTHDAY}};
    SPropValue *pFrom = nullptr, *pTo = nullptr;
    ASSERT_EQ(S_OK, pSrc->GetProps(Tags(bday), 0, &c, &pFrom));
    ASSERT_EQ(S_OK, pCopy->GetProps(Tags(bday), 0, &c, &pTo));
    EXPECT_EQ(pFrom[0].Value.ft.dwLowDateTime, pTo[0].Value.ft.dwLowDateTime);
    EXPECT_EQ(pFrom[0].Value.ft.dwHighDateTime, pTo[0].Value.ft.dwHighDateTime);
    book.pWab->FreeBuffer(pFrom);
    book.pWab->FreeBuffer(pTo);
    pCopy->Release();
    pSrc->Release();
    std::string sCopy;
    for (auto &entry : std::filesystem::directory_iterator(Path("book/b")))
        if (entry.path().filename() != "two.vcf") sCopy = ReadText(entry.path());
    for (const char *pszLine : {"EMAIL;TYPE=INTERNET:jane@example.org", "EMAIL:second@example.org",
                                "CATEGORIES:friends,work", "item1.X-ABLABEL:custom", "PHOTO;ENCODING=b;TYPE=JPEG:AAAA"})
        EXPECT_NE(std::string::npos, sCopy.find(std::string(pszLine) + "\r\n")) << pszLine << "\n" << sCopy;
    EXPECT_EQ(std::string::npos, sCopy.find("u-1"));
}

TEST_F(VCardBookTest, DeleteThroughThePersonalAddressBookReachesAnyContainer) {
    WriteText(Path("book/a/one.vcf"), "BEGIN:VCARD\nVERSION:4.0\nUID:one\nFN:One\nEND:VCARD\n");
    WriteText(Path("book/a/two.vcf"), "BEGIN:VCARD\nVERSION:4.0\nUID:two\nFN:Two\nEND:VCARD\n");
    Book book(Path("book"));
    std::vector<std::string> conts = book.ContainerIds();
    std::vector<std::string> ids = book.CardIds(conts[1]);
    ASSERT_EQ(2u, ids.size());
    IABContainer *pPab = book.OpenContainer(conts[0]);
    SBinary bin{static_cast<ULONG>(ids[0].size()), reinterpret_cast<BYTE *>(ids[0].data())};
    ENTRYLIST list{1, &bin};
    EXPECT_EQ(S_OK, pPab->DeleteEntries(&list, 0));
    EXPECT_EQ(MAPI_E_NOT_FOUND, pPab->DeleteEntries(&list, 0));
    pPab->Release();
    EXPECT_FALSE(std::filesystem::exists(Path("book/a/one.vcf")));
    EXPECT_TRUE(std::filesystem::exists(Path("book/a/two.vcf")));
    EXPECT_EQ(1u, book.CardIds(conts[1]).size());
}

TEST_F(VCardBookTest, AnotherWritersChangeToTheSameCardIsNotOverwritten) {
    WriteText(Path("c.vcf"), kTwoCards);
    vcardtest::LogFile log(Path("log.txt"));
    Book book(Path("c.vcf"));
    std::vector<std::string> ids = book.CardIds(book.ContainerIds()[0]);
    IMAPIProp *pJane = book.Open(ids[0]);
    IMAPIProp *pBob = book.Open(ids[1]);
    // Another program changes Bob's card while we hold both open.
    std::string sOther = kTwoCards;
    sOther.replace(sOther.find("FN:Bob"), 6, "FN:Robert");
    WriteText(Path("c.vcf"), sOther);
    // Jane's card is unchanged there: her save goes through and keeps the other program's change.
    ASSERT_EQ(S_OK, book.SetString(pJane, PR_TITLE, "Chief"));
    EXPECT_EQ(S_OK, pJane->SaveChanges(0));
    std::string sText = ReadText(Path("c.vcf"));
    EXPECT_NE(std::string::npos, sText.find("FN:Robert"));
    EXPECT_NE(std::string::npos, sText.find("TITLE:Chief"));
    // Bob's card changed there: our save fails and writes nothing.
    ASSERT_EQ(S_OK, book.SetString(pBob, PR_DISPLAY_NAME, "Bobby"));
    EXPECT_EQ(MAPI_E_OBJECT_CHANGED, pBob->SaveChanges(0));
    EXPECT_EQ(sText, ReadText(Path("c.vcf")));
    EXPECT_NE(std::string::npos,
              log.Text().find("Err[0x80040109] in CBook::SaveCard: Card not saved: it was changed by another program in "));
    pJane->Release();
    pBob->Release();
}

TEST_F(VCardBookTest, TablesRestrictAndSort) {
    WriteText(Path("c.vcf"),
              "BEGIN:VCARD\nVERSION:4.0\nUID:1\nFN:carol\nEMAIL:c@x\nREV:20200101T000000Z\nEND:VCARD\n"
              "BEGIN:VCARD\nVERSION:4.0\nUID:2\nFN:Alice\nREV:20220101T000000Z\nEND:VCARD\n"
              "BEGIN:VCARD\nVERSION:4.0\nUID:3\nKIND:group\nFN:Bob\nREV:20210101T000000Z\nEND:VCARD\n"
              "BEGIN:VCARD\nVERSION:4.0\nUID:4\nFN:alice\nEMAIL:a@x\nEND:VCARD\n");
    Book book(Path("c.vcf"));
    IABContainer *pCont = book.OpenContainer(book.ContainerIds()[0]);
    auto names = [&](SRestriction *pRes, SSortOrderSet *pSort) {
        IMAPITable *pTable = nullptr;
        EXPECT_EQ(S_OK, pCont->GetContentsTable(0, &pTable));
        TagOne cols{1, {PR_DISPLAY_NAME}};
        EXPECT_EQ(S_OK, pTable->SetColumns(Tags(cols), 0));
        if (pRes) {
            EXPECT_EQ(S_OK, pTable->Restrict(pRes, 0));
        }
        if (pSort) {
            EXPECT_EQ(S_OK, pTable->SortTable(pSort, 0));
        }
        ULONG n = 0;
        pTable->GetRowCount(0, &n);
        Book::Rows rows{book.pWab};
        EXPECT_EQ(S_OK, pTable->QueryRows(static_cast<LONG>(n), 0, &rows.pRows));
        std::string s;
        for (ULONG i = 0; i < rows.pRows->cRows; ++i) s += std::string(rows.pRows->aRow[i].lpProps[0].Value.lpszA) + " ";
        pTable->Release();
        return s;
    };
    EXPECT_EQ("carol Alice Bob alice ", names(nullptr, nullptr));
    SSortOrderSet byName{1, 0, 0, {{PR_DISPLAY_NAME, TABLE_SORT_ASCEND}}};
    EXPECT_EQ("Alice alice Bob carol ", names(nullptr, &byName)); // stable, without regard to case
    SSortOrderSet byNameDown{1, 0, 0, {{PR_DISPLAY_NAME, TABLE_SORT_DESCEND}}};
    EXPECT_EQ("carol Bob Alice alice ", names(nullptr, &byNameDown));
    SSortOrderSet byTime{1, 0, 0, {{PR_LAST_MODIFICATION_TIME, TABLE_SORT_ASCEND}}};
    EXPECT_EQ("alice carol Bob Alice ", names(nullptr, &byTime)); // without a time first

    SPropValue type{};
    type.ulPropTag = PR_OBJECT_TYPE;
    type.Value.l = MAPI_DISTLIST;
    SRestriction isGroup{};
    isGroup.rt = RES_PROPERTY;
    isGroup.res.resProperty = {RELOP_EQ, PR_OBJECT_TYPE, &type};
    EXPECT_EQ("Bob ", names(&isGroup, nullptr));
    SRestriction notGroup{};
    notGroup.rt = RES_NOT;
    notGroup.res.resNot = {0, &isGroup};
    EXPECT_EQ("carol Alice alice ", names(&notGroup, nullptr));

    SRestriction hasMail{};
    hasMail.rt = RES_EXIST;
    hasMail.res.resExist = {0, PR_EMAIL_ADDRESS, 0};
    EXPECT_EQ("alice carol ", names(&hasMail, &byName));

    SPropValue since{};
    since.ulPropTag = PR_LAST_MODIFICATION_TIME;
    since.Value.ft = FILETIME{0, 0};
    uint64_t ticks = (1609459200ull + 11644473600ull) * 10000000ull; // 2021-01-01
    since.Value.ft = FILETIME{static_cast<uint32_t>(ticks), static_cast<uint32_t>(ticks >> 32)};
    SRestriction newer{};
    newer.rt = RES_PROPERTY;
    newer.res.resProperty = {RELOP_GE, PR_LAST_MODIFICATION_TIME, &since};
    EXPECT_EQ("Alice Bob ", names(&newer, nullptr));
    newer.res.resProperty.relop = RELOP_GT;
    EXPECT_EQ("Alice ", names(&newer, nullptr));
    newer.res.resProperty.relop = RELOP_LT;
    EXPECT_EQ("carol ", names(&newer, nullptr)); // a row without the property never matches
    newer.res.resProperty.relop = RELOP_LE;
    EXPECT_EQ("carol Bob ", names(&newer, nullptr));
    newer.res.resProperty.relop = RELOP_NE;
    EXPECT_EQ("carol Alice ", names(&newer, nullptr));

    SRestriction both[2] = {hasMail, notGroup};
    SRestriction andRes{};
    andRes.rt = RES_AND;
    andRes.res.resAnd = {2, both};
    EXPECT_EQ("carol alice ", names(&andRes, nullptr));
    SRestriction either[2] = {isGroup, hasMail};
    SRestriction orRes{};
    orRes.rt = RES_OR;
    orRes.res.resOr = {2, either};
    EXPECT_EQ("carol Bob alice ", names(&orRes, nullptr));

    SPropValue pattern{};
    pattern.ulPropTag = PR_DISPLAY_NAME;
    pattern.Value.lpszA = const_cast<char *>("^[Aa]li");
    SRestriction re{};
    re.rt = RES_PROPERTY;
    re.res.resProperty = {RELOP_RE, PR_DISPLAY_NAME, &pattern};
    EXPECT_EQ("Alice alice ", names(&re, nullptr));
    pCont->Release();
}

TEST_F(VCardBookTest, OneFreeBufferFreesEverythingHungOnIt) {
    IAddrBook *pAB = nullptr;
    IWABObject *pWab = nullptr;
    std::string sPath = Path("c.vcf").string();
    WAB_PARAM wp{sizeof(WAB_PARAM), nullptr, sPath.data(), 0};
    ASSERT_EQ(S_OK, WABOpen(&pAB, &pWab, &wp, 0));
    void *pRoot = nullptr;
    ASSERT_EQ(S_OK, pWab->AllocateBuffer(64, &pRoot));
    for (int i = 0; i < 10; ++i) {
        void *pMore = nullptr;
        ASSERT_EQ(S_OK, pWab->AllocateMore(100, pRoot, &pMore));
        std::memset(pMore, 0xAB, 100);
    }
    EXPECT_EQ(S_OK, pWab->FreeBuffer(pRoot)); // the sanitizer build checks that nothing leaks
    void *pMore = nullptr;
    EXPECT_EQ(MAPI_E_INVALID_PARAMETER, pWab->AllocateMore(8, nullptr, &pMore));
    EXPECT_EQ(S_OK, pWab->FreeBuffer(nullptr));
    pAB->Release();
    pWab->Release();
}

TEST_F(VCardBookTest, DetailsRunTheViewerOrSayNotSupported) {
    WriteText(Path("c.vcf"), kTwoCards);
    Book book(Path("c.vcf"));
    std::string sId = book.CardIds(book.ContainerIds()[0])[1];
    ULONG ulParent = 0;
    unsetenv("TESSEL_VIEWER");
    EXPECT_EQ(MAPI_E_NO_SUPPORT, book.pAddrBook->Details(&ulParent, nullptr, nullptr, static_cast<ULONG>(sId.size()),
                                                         reinterpret_cast<LPENTRYID>(sId.data()), nullptr, nullptr,
                                                         nullptr, 0));
    setenv("TESSEL_VIEWER", ("sh -c '" + std::string("cp -- \"$0\" ") + Path("seen.vcf").string() + "'").c_str(), 1);
    EXPECT_EQ(S_OK, book.pAddrBook->Details(&ulParent, nullptr, nullptr, static_cast<ULONG>(sId.size()),
                                            reinterpret_cast<LPENTRYID>(sId.data()), nullptr, nullptr, nullptr, 0));
    unsetenv("TESSEL_VIEWER");
    EXPECT_EQ("BEGIN:VCARD\r\nVERSION:4.0\r\nUID:u-2\r\nFN:Bob\r\nEND:VCARD\r\n", ReadText(Path("seen.vcf")));
}

TEST_F(VCardBookTest, TableCursorMovesWithQueryRowsAndSeekRow) {
    std::string sText;
    for (int i = 0; i < 5; ++i)
        sText += "BEGIN:VCARD\nVERSION:4.0\nUID:" + std::to_string(i) + "\nFN:N" + std::to_string(i) + "\nEND:VCARD\n";
    WriteText(Path("c.vcf"), sText);
    Book book(Path("c.vcf"));
    IABContainer *pCont = book.OpenContainer(book.ContainerIds()[0]);
    IMAPITable *pTable = nullptr;
    ASSERT_EQ(S_OK, pCont->GetContentsTable(WAB_LOCAL_CONTAINERS, &pTable));
    TagOne cols{1, {PR_DISPLAY_NAME}};
    ASSERT_EQ(S_OK, pTable->SetColumns(Tags(cols), 0));
    auto next = [&](LONG n) {
        Book::Rows rows{book.pWab};
        EXPECT_EQ(S_OK, pTable->QueryRows(n, 0, &rows.pRows));
        std::string s;
        for (ULONG i = 0; i < rows.pRows->cRows; ++i) s += rows.pRows->aRow[i].lpProps[0].Value.lpszA;
        return s;
    };
    EXPECT_EQ("N0N1", next(2));
    EXPECT_EQ("N2N3N4", next(10));
    EXPECT_EQ("", next(1));
    LONG nSought = 0;
    ASSERT_EQ(S_OK, pTable->SeekRow(BOOKMARK_BEGINNING, 3, &nSought));
    EXPECT_EQ(3, nSought);
    EXPECT_EQ("N3", next(1));
    ASSERT_EQ(S_OK, pTable->SeekRow(BOOKMARK_END, -2, &nSought));
    EXPECT_EQ(-2, nSought);
    EXPECT_EQ("N3N4", next(5));
    SPropTagArray *pCols = nullptr;
    ASSERT_EQ(S_OK, pTable->QueryColumns(0, &pCols));
    EXPECT_EQ(1u, pCols->cValues);
    EXPECT_EQ(PR_DISPLAY_NAME, pCols->aulPropTag[0]);
    book.pWab->FreeBuffer(pCols);
    pTable->Release();
    pCont->Release();
}

TEST_F(VCardBookTest, FieldPropertiesTakeLinesOrAPlainValueAndCanBeDeleted) {
    WriteText(Path("c.vcf"), kTwoCards);
    Book book(Path("c.vcf"));
    std::string sId = book.CardIds(book.ContainerIds()[0])[1];
    IMAPIProp *p = book.Open(sId);
    GUID guid = vcard::PS_TESSEL_VCARD;
    auto idOf = [&](const char16_t *psz) {
        std::u16string sName = psz;
        MAPINAMEID name{&guid, MNID_STRING, {}};
        name.Kind.lpwstrName = sName.data();
        MAPINAMEID *pName = &name;
        SPropTagArray *pTags = nullptr;
        EXPECT_EQ(S_OK, p->GetIDsFromNames(1, &pName, 0, &pTags));
        ULONG ulId = PROP_ID(pTags->aulPropTag[0]);
        book.pWab->FreeBuffer(pTags);
        return ulId;
    };
    ULONG ulCategories = idOf(u"CATEGORIES"), ulSpouse = idOf(u"X-SPOUSE");
    EXPECT_EQ(S_OK, book.SetString(p, PROP_TAG(PT_STRING8, ulCategories), "CATEGORIES:a,b\r\nitem2.CATEGORIES:c"));
    EXPECT_EQ(S_OK, book.SetString(p, PROP_TAG(PT_STRING8, ulSpouse), "Ann; Smith"));
    EXPECT_EQ(MAPI_E_INVALID_PARAMETER, book.SetString(p, PROP_TAG(PT_STRING8, ulCategories), "NOTE:wrong field"));
    EXPECT_EQ(MAPI_E_COMPUTED, book.SetString(p, CHANGE_PROP_TYPE(PR_ENTRYID, PT_STRING8), "x"));
    ASSERT_EQ(S_OK, book.SetString(p, PR_TITLE, "Cook"));
    ASSERT_EQ(S_OK, p->SaveChanges(KEEP_OPEN_READWRITE));
    std::string sText = ReadText(Path("c.vcf"));
    EXPECT_NE(std::string::npos, sText.find("CATEGORIES:a,b\r\nitem2.CATEGORIES:c\r\nX-SPOUSE:Ann\\; Smith\r\n"));
    EXPECT_NE(std::string::npos, sText.find("TITLE:Cook\r\n"));
    TagOne t{1, {PROP_TAG(PT_STRING8, ulCategories)}};
    SPropProblemArray *pProblems = nullptr;
    ASSERT_EQ(S_OK, p->DeleteProps(Tags(t), &pProblems));
    EXPECT_EQ(nullptr, pProblems);
    TagOne title{1, {PR_TITLE}};
    ASSERT_EQ(S_OK, p->DeleteProps(Tags(title), nullptr));
    ASSERT_EQ(S_OK, p->SaveChanges(0));
    p->Release();
    sText = ReadText(Path("c.vcf"));
    EXPECT_EQ(std::string::npos, sText.find("CATEGORIES:a,b"));
    EXPECT_EQ(std::string::npos, sText.find("TITLE:Cook"));
    EXPECT_NE(std::string::npos, sText.find("X-SPOUSE:Ann\\; Smith\r\n"));
}

TEST_F(VCardBookTest, ADeleteOfACardAnotherProgramChangedFails) {
    WriteText(Path("c.vcf"), kTwoCards);
    vcardtest::LogFile log(Path("log.txt"));
    Book book(Path("c.vcf"));
    std::string sId = book.CardIds(book.ContainerIds()[0])[1];
    std::string sOther = kTwoCards;
    sOther.replace(sOther.find("FN:Bob"), 6, "FN:Robert");
    WriteText(Path("c.vcf"), sOther);
    IABContainer *pPab = book.OpenContainer(book.ContainerIds()[0]);
    SBinary bin{static_cast<ULONG>(sId.size()), reinterpret_cast<BYTE *>(sId.data())};
    ENTRYLIST list{1, &bin};
    EXPECT_EQ(MAPI_E_OBJECT_CHANGED, pPab->DeleteEntries(&list, 0));
    EXPECT_EQ(sOther, ReadText(Path("c.vcf")));
    EXPECT_NE(std::string::npos, log.Text().find("Err[0x80040109] in CBook::DeleteCard: Card not deleted: it was "
                                                 "changed by another program in "));
    // Now that the book has read the change, the delete goes through.
    EXPECT_EQ(S_OK, pPab->DeleteEntries(&list, 0));
    EXPECT_EQ(std::string::npos, ReadText(Path("c.vcf")).find("Robert"));
    pPab->Release();
}
