// Listing a container's entries over fakes: the request built from the plain arguments, and every failure path.
#include <cstring>

#include "wab_fixture.h"

using testsupport::FakeContainer;
using testsupport::FakeMailUser;
using testsupport::FakeProp;

namespace {

const std::vector<BYTE> kPAB{0x50, 0xAB};
const std::vector<BYTE> kOther{0x0C, 0x02};

std::vector<FakeProp> EntryRow(const std::vector<BYTE> &id, LONG nType, const char *pszName) {
    std::vector<FakeProp> row{FakeProp::Binary(PR_ENTRYID, id), FakeProp::Long(PR_OBJECT_TYPE, nType)};
    if (pszName) row.push_back(FakeProp::String(PR_DISPLAY_NAME, pszName));
    return row;
}

class WabItemsTest : public WabFixture {
protected:
    void SetUp() override {
        Connect();
        m_pBook->hrGetPAB = S_OK;
        m_pBook->pabId = kPAB;
        m_pPAB = AddContainer(kPAB);
        m_pOther = AddContainer(kOther);
    }
    void TearDown() override {
        WABFreeItems(m_pItems);
        WABFreeItem(m_pItem);
        WabFixture::TearDown();
    }
    FakeContainer *AddContainer(const std::vector<BYTE> &id) {
        FakeContainer *pContainer = new FakeContainer(m_pWab);
        pContainer->hrRestrict = S_OK;
        pContainer->hrSort = S_OK;
        m_pBook->AddEntry(id, pContainer, MAPI_ABCONT);
        pContainer->Release();
        return pContainer;
    }

    FakeContainer *m_pPAB = nullptr;
    FakeContainer *m_pOther = nullptr;
    WABItems *m_pItems = nullptr;
    WABItem *m_pItem = nullptr;
};

} // namespace

TEST_F(WabItemsTest, ListsRowsAsRecordsInTheTablesOrder) {
    m_pOther->rows = {EntryRow({0xE1}, MAPI_MAILUSER, "Ada"), EntryRow({0xE2, 0x00}, MAPI_DISTLIST, "Team")};
    m_pOther->rows[0].push_back(FakeProp::String(PR_EMAIL_ADDRESS, "ada@example.org"));
    m_pOther->rows[0].push_back(FakeProp::Time(PR_LAST_MODIFICATION_TIME, 0x0123456789ABCDEFull));
    m_pOther->rows[0].push_back(FakeProp::String(PR_BUSINESS_TELEPHONE_NUMBER, "+1"));
    m_pOther->rows[0].push_back(FakeProp::String(PR_HOME_TELEPHONE_NUMBER, "+2"));
    m_pOther->rows[1].push_back(FakeProp::Error(PR_EMAIL_ADDRESS, MAPI_E_NOT_FOUND));

    ASSERT_EQ(m_lib.GetItems(&m_pItems, "0C02", 0, false, false, nullptr, false, false), S_OK);
    ASSERT_NE(m_pItems, nullptr);
    ASSERT_EQ(m_pItems->cItems, 2u);
    const WABItem &ada = m_pItems->pItems[0];
    EXPECT_EQ(ada.cbSize, sizeof(WABItem));
    EXPECT_STREQ(ada.szEntry, "E1");
    EXPECT_EQ(ada.nObjectType, static_cast<uint32_t>(MAPI_MAILUSER));
    EXPECT_STREQ(ada.szDisplayName, "Ada");
    EXPECT_STREQ(ada.szEmailAddress, "ada@example.org");
    EXPECT_EQ(ada.ftLastModification.dwHighDateTime, 0x01234567u);
    EXPECT_EQ(ada.ftLastModification.dwLowDateTime, 0x89ABCDEFu);
    EXPECT_STREQ(ada.szBusinessPhone, "+1");
    EXPECT_STREQ(ada.szHomePhone, "+2");
    const WABItem &team = m_pItems->pItems[1];
    EXPECT_STREQ(team.szEntry, "E200");
    EXPECT_EQ(team.nObjectType, static_cast<uint32_t>(MAPI_DISTLIST));
    EXPECT_EQ(team.szEmailAddress, nullptr);
    EXPECT_EQ(team.szHomePhone, nullptr);
    EXPECT_EQ(m_pOther->tableCalls.cSetColumns, 1);
    EXPECT_TRUE(m_pOther->tableCalls.restrictions.empty()); // no type, no time: no Restrict call at all
    EXPECT_TRUE(m_pOther->tableCalls.sortKeys.empty());
    EXPECT_EQ(m_pOther->contentsFlags, std::vector<ULONG>{0});
    EXPECT_EQ(Logged(), "");
}

TEST_F(WabItemsTest, RestrictionAndSortFollowTheArguments) {
    FILETIME ft{1, 2};
    ASSERT_EQ(m_lib.GetItems(&m_pItems, "0C02", MAPI_DISTLIST, false, false, &ft, true, true), S_OK);
    ASSERT_EQ(m_pOther->tableCalls.restrictions.size(), 1u);
    const SRestriction &both = m_pOther->tableCalls.restrictions[0];
    EXPECT_EQ(both.rt, RES_AND);
    EXPECT_EQ(both.res.resAnd.cRes, 2u);
    ASSERT_EQ(m_pOther->tableCalls.sortKeys.size(), 1u);
    EXPECT_EQ(m_pOther->tableCalls.sortKeys[0].ulPropTag, PR_LAST_MODIFICATION_TIME);
    EXPECT_EQ(m_pOther->tableCalls.sortKeys[0].ulOrder, TABLE_SORT_DESCEND);
    WABFreeItems(m_pItems);
    m_pItems = nullptr;

    ASSERT_EQ(m_lib.GetItems(&m_pItems, "0C02", MAPI_MAILUSER, false, false, nullptr, false, true), S_OK);
    ASSERT_EQ(m_pOther->tableCalls.restrictions.size(), 2u);
    const SRestriction &type = m_pOther->tableCalls.restrictions[1];
    EXPECT_EQ(type.rt, RES_PROPERTY);
    EXPECT_EQ(type.res.resProperty.relop, RELOP_EQ);
    EXPECT_EQ(type.res.resProperty.ulPropTag, PR_OBJECT_TYPE);
    EXPECT_EQ(m_pOther->tableCalls.sortKeys.size(), 1u); // bDescending without bSort: no sort
    WABFreeItems(m_pItems);
    m_pItems = nullptr;

    ASSERT_EQ(m_lib.GetItems(&m_pItems, "0C02", 0, false, false, &ft, true, false), S_OK);
    const SRestriction &time = m_pOther->tableCalls.restrictions[2];
    EXPECT_EQ(time.rt, RES_PROPERTY);
    EXPECT_EQ(time.res.resProperty.relop, RELOP_GE);
    EXPECT_EQ(time.res.resProperty.ulPropTag, PR_LAST_MODIFICATION_TIME);
    EXPECT_EQ(m_pOther->tableCalls.sortKeys[1].ulOrder, TABLE_SORT_ASCEND);
}

TEST_F(WabItemsTest, ProfileFlagListsThePersonalBookWhateverTheText) {
    m_pPAB->rows = {EntryRow({0xE1}, MAPI_MAILUSER, "Ada")};
    ASSERT_EQ(m_lib.GetItems(&m_pItems, "0C02", 0, true, true, nullptr, false, false), S_OK);
    ASSERT_EQ(m_pItems->cItems, 1u);
    EXPECT_EQ(m_pPAB->contentsFlags, std::vector<ULONG>{WAB_PROFILE_CONTENTS | WAB_LOCAL_CONTAINERS});
    WABFreeItems(m_pItems);
    m_pItems = nullptr;

    // Null and empty texts name the personal book; bLocal alone gives no flags.
    ASSERT_EQ(m_lib.GetItems(&m_pItems, nullptr, 0, false, true, nullptr, false, false), S_OK);
    WABFreeItems(m_pItems);
    m_pItems = nullptr;
    ASSERT_EQ(m_lib.GetItems(&m_pItems, "", 0, false, false, nullptr, false, false), S_OK);
    EXPECT_EQ(m_pItems->cItems, 1u);
    EXPECT_EQ(m_pPAB->contentsFlags, (std::vector<ULONG>{WAB_PROFILE_CONTENTS | WAB_LOCAL_CONTAINERS, 0, 0}));
    EXPECT_TRUE(m_pOther->contentsFlags.empty());
}

TEST_F(WabItemsTest, RowsWithoutIdOrOfAnotherTypeAreLeftOut) {
    m_pOther->rows = {EntryRow({0xE1}, MAPI_ABCONT, "Folder"), {FakeProp::String(PR_DISPLAY_NAME, "no id")},
                      {FakeProp::Binary(PR_ENTRYID, {0xE3})}, EntryRow({0xE4}, MAPI_MAILUSER, "Kept")};
    ASSERT_EQ(m_lib.GetItems(&m_pItems, "0C02", 0, false, false, nullptr, false, false), S_OK);
    ASSERT_EQ(m_pItems->cItems, 1u);
    EXPECT_STREQ(m_pItems->pItems[0].szEntry, "E4");
    EXPECT_EQ(Logged(), "Err[0x4] in CWABLib::GetItemsEx: Skipping item with unknown type\n"
                        "Err in CWABLib::GetItemsEx: Skipping item with unknown type\n");
}

TEST_F(WabItemsTest, EmptyContainerGivesAnEmptyListWithoutColumns) {
    m_pOther->hrContents = MAPI_E_NOT_FOUND;
    ASSERT_EQ(m_lib.GetItems(&m_pItems, "0C02", 0, false, false, nullptr, false, false), S_OK);
    ASSERT_NE(m_pItems, nullptr);
    EXPECT_EQ(m_pItems->cItems, 0u);
    EXPECT_EQ(m_pItems->pItems, nullptr);
    EXPECT_EQ(m_pOther->tableCalls.cSetColumns, 0);
    EXPECT_EQ(Logged(), "");
}

TEST_F(WabItemsTest, FailuresBeforeTheTableHandOutNoList) {
    m_pBook->hrGetPAB = MAPI_E_NOT_FOUND;
    EXPECT_EQ(m_lib.GetItems(&m_pItems, nullptr, 0, false, false, nullptr, false, false), MAPI_E_NOT_FOUND);
    EXPECT_EQ(m_pItems, nullptr);
    EXPECT_TRUE(HasLogged("Err[0x8004010f] in CWABLib::GetItemsEx: AddrBook->GetPAB"));

    m_log.Clear();
    EXPECT_EQ(m_lib.GetItems(&m_pItems, "0BADC0DE", 0, false, false, nullptr, false, false), MAPI_E_UNKNOWN_ENTRYID);
    EXPECT_EQ(m_pItems, nullptr);
    EXPECT_EQ(Logged(), "Err[0x80040201] in CWABLib::GetItemsEx: AddrBook->OpenEntry\n");

    // Not hexadecimal at all: no such entry either.
    m_log.Clear();
    EXPECT_EQ(m_lib.GetItems(&m_pItems, "not hex", 0, false, false, nullptr, false, false), MAPI_E_UNKNOWN_ENTRYID);
    EXPECT_EQ(m_pItems, nullptr);

    FakeMailUser *pUser = new FakeMailUser(m_pWab);
    m_pBook->AddEntry({0xE1}, pUser, MAPI_MAILUSER);
    pUser->Release();
    m_log.Clear();
    EXPECT_EQ(m_lib.GetItems(&m_pItems, "E1", 0, false, false, nullptr, false, false), S_OK);
    EXPECT_EQ(m_pItems, nullptr);
    EXPECT_EQ(Logged(), "Err[0x6] in CWABLib::GetItemsEx: Object is not ABContainer\n");

    m_log.Clear();
    m_pOther->hrContents = MAPI_E_NO_ACCESS;
    EXPECT_EQ(m_lib.GetItems(&m_pItems, "0C02", 0, false, false, nullptr, false, false), MAPI_E_NO_ACCESS);
    EXPECT_EQ(m_pItems, nullptr);
    EXPECT_EQ(Logged(), "Err[0x80070005] in CWABLib::GetItemsEx: Container->GetContentsTable\n");
}

TEST_F(WabItemsTest, TableFailuresLeaveAnEmptyList) {
    m_pOther->rows = {EntryRow({0xE1}, MAPI_MAILUSER, "Ada")};
    FILETIME ft{};
    struct Case {
        HRESULT FakeContainer::*pField;
        const char *pszLine;
    } cases[] = {{&FakeContainer::hrSetColumns, "Table->SetColumns"},
                 {&FakeContainer::hrRestrict, "lpTable->Restrict"},
                 {&FakeContainer::hrSort, "lpTable->SortTable"},
                 {&FakeContainer::hrGetRowCount, "Table->GetRowCount"},
                 {&FakeContainer::hrQueryRows, "Table->QueryRows"}};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.pszLine);
        m_pOther->*c.pField = MAPI_E_CALL_FAILED;
        m_log.Clear();
        EXPECT_EQ(m_lib.GetItems(&m_pItems, "0C02", 0, false, false, &ft, true, false), MAPI_E_CALL_FAILED);
        ASSERT_NE(m_pItems, nullptr);
        EXPECT_EQ(m_pItems->cItems, 0u);
        EXPECT_EQ(Logged(), std::string("Err[0x80004005] in CWABLib::GetItemsEx: ") + c.pszLine + "\n");
        WABFreeItems(m_pItems);
        m_pItems = nullptr;
        m_pOther->*c.pField = S_OK;
    }
}

TEST_F(WabItemsTest, GetItemReadsOneEntryUnderTheCallersText) {
    FakeMailUser *pUser = new FakeMailUser(m_pWab);
    pUser->props = {FakeProp::String(PR_DISPLAY_NAME, "Ada"), FakeProp::String(PR_EMAIL_ADDRESS, "a@b")};
    m_pBook->AddEntry({0xE1, 0x0A}, pUser, MAPI_MAILUSER);
    pUser->Release();
    ASSERT_EQ(m_lib.GetItem(&m_pItem, "e10a"), S_OK);
    ASSERT_NE(m_pItem, nullptr);
    EXPECT_EQ(m_pItem->cbSize, sizeof(WABItem));
    EXPECT_STREQ(m_pItem->szEntry, "e10a");
    EXPECT_EQ(m_pItem->nObjectType, static_cast<uint32_t>(MAPI_MAILUSER));
    EXPECT_STREQ(m_pItem->szDisplayName, "Ada");
    EXPECT_STREQ(m_pItem->szEmailAddress, "a@b");
    EXPECT_EQ(m_pItem->szBusinessPhone, nullptr);
    EXPECT_EQ(m_pItem->szHomePhone, nullptr);
    EXPECT_EQ(Logged(), "");
    WABFreeItem(m_pItem);
    m_pItem = nullptr;

    pUser->hrGetProps = MAPI_E_CALL_FAILED;
    EXPECT_EQ(m_lib.GetItem(&m_pItem, "E10A"), MAPI_E_CALL_FAILED);
    EXPECT_EQ(m_pItem, nullptr);
    EXPECT_EQ(Logged(), "Err[0x80004005] in CWABLib::GetItem: GetItemProps\n");

    m_log.Clear();
    EXPECT_EQ(m_lib.GetItem(&m_pItem, "0C02"), -1); // a container is no item
    EXPECT_EQ(m_pItem, nullptr);
    EXPECT_EQ(Logged(), "Err[0x4] in CWABLib::OpenItem: This function opens only MailUser or DistList objects\n"
                        "Err[0xffffffff] in CWABLib::GetItem: OpenItem\n");
}

TEST_F(WabItemsTest, FreeFunctionsIgnoreNull) {
    WABFreeItems(nullptr);
    WABFreeItem(nullptr);
    WABItems *pEmpty = static_cast<WABItems *>(std::calloc(1, sizeof(WABItems)));
    WABFreeItems(pEmpty); // a list without an array frees only the record
}

TEST_F(WabItemsTest, NotConnectedFailsInOrder) {
    m_lib.Done();
    EXPECT_EQ(m_lib.GetItems(&m_pItems, "0C02", 0, false, false, nullptr, false, false), -1);
    EXPECT_EQ(m_pItems, nullptr);
    EXPECT_TRUE(HasLogged("Err in CWABLib::GetItemsEx: WAB is not initialized"));
}
