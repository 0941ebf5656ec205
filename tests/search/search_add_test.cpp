// Adding items: the preparation of the compared properties, refusal and its rollback, stream properties read
// through reopened items, and a comparator that aborts.
#include "search_fixture.h"

namespace searchtest {
namespace {

using Strings = std::vector<std::string>;
using AddTest = TwoPropSearchTest;

// The search's own lines; at the info levels the log also writes its own opening lines.
Strings SearchLines(const testsupport::CLogCapture &log)
{
    Strings lines;
    for (const std::string &line : log.Lines()) {
        if (line.find(" in CDuplicateSearch::") != std::string::npos)
            lines.push_back(line);
    }
    return lines;
}

// No trace of the entry in any tree, empty signature or item list: the signatures hold the accepted items and
// nothing else.
void ExpectNoTrace(const CDuplicateSearch &search, const std::string &szEntry)
{
    for (const SearchItem *pItem : search.Items())
        EXPECT_NE(pItem->ItemID, szEntry);
    const CEmptySignatures &signatures = search.EmptySignatures();
    EXPECT_EQ(signatures.ItemCount(), search.Items().size());
    for (size_t nProp = 0; nProp < search.SearchProps().size(); nProp++) {
        SearchProp *pProp = search.SearchProps()[nProp];
        std::vector<SearchItem *> items;
        pProp->Tree.GetItems(items);
        for (const SearchItem *pItem : items)
            EXPECT_NE(pItem->ItemID, szEntry);
        EXPECT_EQ(pProp->Tree.Size(), items.size());
        size_t nEmpty = 0;
        for (const SearchItem *pItem : search.Items())
            nEmpty += signatures.IsEmpty(pItem, nProp) ? 1 : 0;
        EXPECT_EQ(signatures.EmptyCount(nProp), nEmpty);
    }
}

TEST_F(AddTest, FirstItemPreparesTheProperties)
{
    testsupport::CLogCapture log(3);
    CreateSearch({Desc(kTagP, u"p"), Desc(kTagQ, u"q", 0, 0), Desc(kTagBody, u"body", 1, 0),
                  Desc(kTagR, u"r"), Desc(kTagBody + 0x10000, u"body2", 1, 1)});
    Item("A", "1");
    EXPECT_EQ(Add("A"), 1);
    ASSERT_EQ(m_pSearch->SearchProps().size(), 3u);
    EXPECT_EQ(m_pSearch->SearchProps()[0]->pProp->Tag, kTagP);
    EXPECT_EQ(m_pSearch->SearchProps()[1]->pProp->Tag, kTagR);
    EXPECT_EQ(m_pSearch->SearchProps()[2]->pProp->Tag, kTagBody + 0x10000);
    EXPECT_EQ(m_pSearch->CmpPropTags()->cValues, 2u);
    EXPECT_EQ(m_pSearch->CmpPropTags()->aulPropTag[1], kTagR);
    EXPECT_EQ(m_pSearch->CmpStreamTags()->cValues, 1u);
    EXPECT_EQ(m_pSearch->InfoPropTags()->cValues, 1u);
    EXPECT_EQ(m_pSearch->InfoPropTags()->aulPropTag[0], kTagQ);
    EXPECT_EQ(m_pSearch->InfoStreamTags()->cValues, 1u);
    EXPECT_EQ(SearchLines(log), (Strings{"Inf in CDuplicateSearch::Add: Use comparation by prop(name=p, key=p)",
                                    "Inf in CDuplicateSearch::Add: Use comparation by prop(name=r, key=r)",
                                    "Inf in CDuplicateSearch::Add: Use comparation by prop(name=body2, key=body2)"}));
    // Later items don't prepare again.
    log.Clear();
    Item("B", "1");
    EXPECT_EQ(Add("B"), 1);
    EXPECT_TRUE(SearchLines(log).empty());
    EXPECT_EQ(Find("B")->nIndex, 1);
}

TEST_F(AddTest, UnresolvedNamedPropertyDropsOutOnce)
{
    testsupport::CLogCapture log;
    PropDesc named = Desc(0, u"named");
    named.GUID = "{00020329-0000-0000-C000-000000000046}";
    named.sID = u"Keywords";
    named.nType = PT_STRING8;
    CreateSearch({named, Desc(kTagP, u"p")});
    Item("A", "1");
    Item("B", "1");
    EXPECT_EQ(Add("A"), 1);
    EXPECT_EQ(AddHas("B"), 1);
    EXPECT_EQ(m_pSearch->SearchProps().size(), 1u);
    EXPECT_EQ(log.Lines(),
              (Strings{"Err[0x8004010f] in CDuplicateSearch::Add: GetIDFromName failed for Prop: Key=\"named\", "
                       "GUID=\"{00020329-0000-0000-C000-000000000046}\", nID=0, sID=\"Keywords\",nType=0x1e",
                       "Err in CDuplicateSearch::Add: remove comparation by prop(key=named,name=named) from "
                       "dublicate search"}));
}

TEST_F(AddTest, ResolvedNamedPropertyKeepsItsTag)
{
    const ULONG kNamedTag = PROP_TAG(PT_STRING8, 0x8005);
    m_store.AddNamedProp("{00020329-0000-0000-c000-000000000046}", 0, u"Keywords", kNamedTag);
    PropDesc named = Desc(0, u"named");
    named.GUID = "{00020329-0000-0000-C000-000000000046}";
    named.sID = u"Keywords";
    CreateSearch({named});
    m_store.AddItem(kFolder, "A").Text(kNamedTag, "x");
    m_store.AddItem(kFolder, "B").Text(kNamedTag, "X");
    EXPECT_EQ(Add("A"), 1);
    EXPECT_EQ(m_pSearch->Props()[0].Tag, kNamedTag);
    EXPECT_EQ(AddHas("B"), 1);
}

TEST_F(AddTest, NoComparedPropertyRefusesEveryItem)
{
    testsupport::CLogCapture log;
    CreateSearch({Desc(kTagP, u"p", 0, 0), Desc(kTagQ, u"q", 0, 0)});
    Item("A", "1");
    Item("B", "1");
    int32_t bHas = 7;
    EXPECT_EQ(m_pSearch->Add("A", kFolder, &bHas, 0), 0);
    EXPECT_EQ(m_pSearch->Add("B", kFolder, &bHas, 0), 0);
    EXPECT_EQ(bHas, 7);
    EXPECT_TRUE(m_pSearch->Items().empty());
    EXPECT_EQ(log.Lines(), (Strings{"Err in CDuplicateSearch::Add: Number of props to compare = 0",
                                    "War in CDuplicateSearch::RemoveItemFromSearch: Item(A) removing from duplicate "
                                    "search",
                                    "Err in CDuplicateSearch::Add: Number of props to compare = 0",
                                    "War in CDuplicateSearch::RemoveItemFromSearch: Item(B) removing from duplicate "
                                    "search"}));
}

TEST_F(AddTest, ItemThatCantBeOpenedIsRefused)
{
    testsupport::CLogCapture log;
    Item("A", "1").FailOpen(MAPI_E_NO_ACCESS);
    EXPECT_EQ(Add("A"), 0);
    EXPECT_EQ(log.Lines(), (Strings{"Err in CDuplicateSearch::Add: cant open message, see prev errors in log",
                                    "War in CDuplicateSearch::RemoveItemFromSearch: Item(A) removing from duplicate "
                                    "search"}));
    ExpectNoTrace(*m_pSearch, "A");
}

TEST_F(AddTest, FolderThatCantBeOpenedIsRefusedAndNotKept)
{
    m_store.AddItem("G", "A").Text(kTagP, "1");
    m_store.FailOpenFolder("G", MAPI_E_NO_ACCESS);
    EXPECT_EQ(m_pSearch->Add("A", "G", nullptr, 0), 0);
    EXPECT_EQ(m_pSearch->OpenFolderCount(), 0u);
}

TEST_F(AddTest, FoldersAreOpenedOncePerSearch)
{
    Item("A", "1");
    Item("B", "2");
    m_store.AddItem("G", "C").Text(kTagP, "1");
    Add("A");
    Add("B");
    m_pSearch->Add("C", "G", nullptr, 0);
    EXPECT_EQ(m_store.FolderOpens(), 2);
    EXPECT_EQ(m_pSearch->OpenFolderCount(), 2u);
    EXPECT_EQ(m_store.FoldersOpen(), 2);
}

TEST_F(AddTest, ItemsOfAFolderShareItsEntry)
{
    Item("A", "1");
    Item("B", "2");
    m_store.AddItem("G", "C").Text(kTagP, "3");
    Add("A");
    Add("B");
    m_pSearch->Add("C", "G", nullptr, 0);
    EXPECT_EQ(Find("A")->FolderID, Find("B")->FolderID); // one text for both, not a copy each
    EXPECT_STREQ(Find("A")->FolderID, kFolder);
    EXPECT_STREQ(Find("C")->FolderID, "G");
}

TEST_F(AddTest, RefusedFirstItemPreparesAgainWithTheNext)
{
    testsupport::CLogCapture log(3);
    Item("A", "1").FailGetProps(MAPI_E_CALL_FAILED);
    Item("B", "1");
    EXPECT_EQ(Add("A"), 0);
    EXPECT_EQ(Add("B"), 1);
    EXPECT_EQ(m_pSearch->SearchProps().size(), 2u);
    EXPECT_EQ(m_pSearch->CmpPropTags()->cValues, 2u);
    EXPECT_EQ(Find("B")->nIndex, 0);
    EXPECT_EQ(SearchLines(log), (Strings{"Inf in CDuplicateSearch::Add: Use comparation by prop(name=p, key=p)",
                                    "Inf in CDuplicateSearch::Add: Use comparation by prop(name=q, key=q)",
                                    "Err[0x80004005] in CDuplicateSearch::Add: Tessel_GetPropValues(ItemID = A)",
                                    "War in CDuplicateSearch::RemoveItemFromSearch: Item(A) removing from duplicate "
                                    "search",
                                    "Inf in CDuplicateSearch::Add: Use comparation by prop(name=p, key=p)",
                                    "Inf in CDuplicateSearch::Add: Use comparation by prop(name=q, key=q)"}));
}

TEST_F(AddTest, RefusedItemLeavesItsIndexToTheNext)
{
    Item("A", "1");
    Item("B", "1").FailOpen(E_FAIL);
    Item("C", "1");
    Add("A");
    EXPECT_EQ(Add("B"), 0);
    EXPECT_EQ(AddHas("C"), 1);
    EXPECT_EQ(Find("C")->nIndex, 1);
}

TEST(AddRollbackTest, MissingValueRollsBackTheTreesAlreadyEntered)
{
    CShortReplyStore store;
    {
        testsupport::CLogCapture log;
        std::vector<PropDesc> props{Desc(kTagP, u"p"), Desc(kTagQ, u"q")};
        PropList list{2, props.data()};
        OriginalDefinition od = Definition(OD_MOST_FILLED);
        CDuplicateSearch search;
        search.Create(&store, &list, &od);
        for (const char *psz : {"A", "B", "C"})
            store.AddItem(kFolder, psz).Text(kTagP, "1");
        store.ItemFor("C").Text(kTagQ, "2");
        EXPECT_EQ(search.Add("A", kFolder, nullptr, 0), 1);
        EXPECT_EQ(search.Add("X", kFolder, nullptr, 0), 0); // no such item
        // B's reply lacks q: it enters the tree of p, then is refused and taken out again.
        store.m_nShortCall = 2;
        log.Clear();
        int32_t bHas = 7;
        EXPECT_EQ(search.Add("B", kFolder, &bHas, 0), 0);
        EXPECT_EQ(bHas, 7);
        EXPECT_EQ(log.Lines(), (Strings{"Err in CDuplicateSearch::Add: value for prop(q) not found",
                                        "War in CDuplicateSearch::RemoveItemFromSearch: Item(B) removing from "
                                        "duplicate search"}));
        ExpectNoTrace(search, "B");
        EXPECT_EQ(search.SearchProps()[0]->Tree.Root()->m_Items.size(), 1u);
        EXPECT_TRUE(search.ItemsWithEquals().empty());
        // The next item takes the place and finds only A.
        EXPECT_EQ(search.Add("C", kFolder, &bHas, 0), 1);
        EXPECT_EQ(bHas, 1);
        EXPECT_EQ(search.Items().back()->nIndex, 1);
        EXPECT_EQ(search.ItemsWithEquals().size(), 2u);
        EXPECT_EQ(store.ItemsOpen(), 0);
    }
    EXPECT_EQ(store.PropArraysOut(), 0);
    EXPECT_EQ(store.FoldersOpen(), 0);
    EXPECT_EQ(store.BadHandles(), 0);
}

TEST_F(AddTest, ErrorElementInTheReplyIsFoundByItsIdentifier)
{
    Item("A", "1").PropError(kTagQ, MAPI_E_NOT_FOUND);
    EXPECT_EQ(Add("A"), 1);
    EXPECT_TRUE(m_pSearch->EmptySignatures().IsEmpty(Find("A"), 1));
}

TEST_F(AddTest, FirstAddedReadsNothingMore)
{
    Item("A", "1", "2");
    Item("B", "1", "2");
    Add("A");
    int nOpens = m_store.ItemOpens();
    EXPECT_EQ(AddHas("B"), 1);
    EXPECT_EQ(m_store.ItemOpens(), nOpens + 1);
    EXPECT_EQ(Rank("A").nFilledProps, -1);
    EXPECT_EQ(Rank("B").nFilledProps, -1);
}

TEST_F(AddTest, MostFilledCountsEachItemOnce)
{
    CreateSearch({Desc(kTagP, u"p"), Desc(kTagQ, u"q")}, Definition(OD_MOST_FILLED));
    Item("A", "1", "2");
    Item("B", "1", "2");
    Item("C", "1", "");
    Add("A");
    EXPECT_EQ(Rank("A").nFilledProps, -1);
    int nOpens = m_store.ItemOpens();
    EXPECT_EQ(AddHas("B"), 1);
    EXPECT_EQ(m_store.ItemOpens(), nOpens + 2); // B itself, and A once more
    EXPECT_EQ(Rank("A").nFilledProps, 2);
    EXPECT_EQ(Rank("B").nFilledProps, 2);
    nOpens = m_store.ItemOpens();
    EXPECT_EQ(AddHas("C"), 1);
    EXPECT_EQ(m_store.ItemOpens(), nOpens + 1);
    EXPECT_EQ(Rank("C").nFilledProps, 1);
}

TEST_F(AddTest, ItemThatCantBeReopenedForRankingIsTriedAgain)
{
    testsupport::CLogCapture log;
    CreateSearch({Desc(kTagP, u"p")}, Definition(OD_MOST_FILLED));
    Item("A", "1");
    Item("B", "1");
    Item("C", "1");
    Add("A");
    m_store.ItemFor("A").FailOpen(E_FAIL);
    EXPECT_EQ(AddHas("B"), 1);
    EXPECT_EQ(Rank("A").nFilledProps, -1);
    EXPECT_EQ(log.Lines(),
              Strings{"Err in CDuplicateSearch::CalcODProps: cant open message, see prev errors in log"});
    m_store.ItemFor("A").FailOpen(S_OK);
    EXPECT_EQ(AddHas("C"), 1);
    EXPECT_EQ(Rank("A").nFilledProps, 1);
}

class StreamAddTest : public SearchTest {
protected:
    void SetUp() override { CreateSearch({Desc(kTagBody, u"body", 1)}); }
};

TEST_F(StreamAddTest, OnlyStreamsReadNoPlainValues)
{
    m_store.AddItem(kFolder, "A").Stream(kTagBody, "Hello there");
    EXPECT_EQ(Add("A"), 1);
    EXPECT_EQ(m_pSearch->CmpPropTags()->cValues, 0u);
    EXPECT_EQ(Find("A")->lpValues, nullptr);
    EXPECT_EQ(Find("A")->cValues, 0u);
}

TEST_F(StreamAddTest, StreamsAreComparedThroughReopenedItems)
{
    m_store.AddItem(kFolder, "A").Stream(kTagBody, "Hello there");
    m_store.AddItem(kFolder, "B").Stream(kTagBody, "Goodbye");
    m_store.AddItem(kFolder, "C").Stream(kTagBody, "HELLO THERE");
    m_store.AddItem(kFolder, "D");
    m_store.AddItem(kFolder, "E").Stream(kTagBody, "");
    EXPECT_EQ(AddHas("A"), 0);
    int nOpens = m_store.ItemOpens();
    EXPECT_EQ(AddHas("B"), 0);
    EXPECT_EQ(m_store.ItemOpens(), nOpens + 2); // B, and A for the one comparison
    EXPECT_EQ(AddHas("C"), 1);
    EXPECT_EQ(AddHas("D"), 0);
    EXPECT_EQ(AddHas("E"), 0);
    EXPECT_EQ(m_pSearch->EmptySignatures().EmptyCount(0), 2u);
    EXPECT_EQ(EqualsOf("A"), Strings{"C"});
}

TEST_F(StreamAddTest, StreamsOfManyBlocks)
{
    std::string body(600, 'x');
    std::string other = body;
    other[400] = 'y';
    m_store.AddItem(kFolder, "A").Stream(kTagBody, body);
    m_store.AddItem(kFolder, "B").Stream(kTagBody, other);
    m_store.AddItem(kFolder, "C").Stream(kTagBody, body);
    Add("A");
    EXPECT_EQ(AddHas("B"), 0);
    EXPECT_EQ(AddHas("C"), 1);
    EXPECT_EQ(EqualsOf("C"), Strings{"A"});
}

TEST_F(StreamAddTest, ComparatorAbortLeavesItemOutOfThatProperty)
{
    testsupport::CLogCapture log;
    m_store.AddItem(kFolder, "A").Stream(kTagBody, "Hello");
    m_store.AddItem(kFolder, "B").Stream(kTagBody, "Hello");
    Add("A");
    m_store.ItemFor("A").FailOpen(MAPI_E_NO_ACCESS);
    int32_t bHas = 7;
    EXPECT_EQ(Add("B", 0, &bHas), 1);
    EXPECT_EQ(bHas, 0);
    SearchProp *pProp = m_pSearch->SearchProps()[0];
    EXPECT_EQ(pProp->Tree.FindNode(Find("B")), nullptr);
    EXPECT_FALSE(m_pSearch->EmptySignatures().IsEmpty(Find("B"), 0));
    EXPECT_EQ(m_pSearch->Items().size(), 2u);
    EXPECT_EQ(log.Lines(),
              (Strings{"Err[0x80070005] in CDuplicateSearch::fnCompare: cant open message, see prev errors in log",
                       "Err in CDuplicateSearch::FindDuplicates: IsPropEmpty == IsPropNotEmpty, for pItem(B), "
                       "Prop(body)",
                       "Err in CDuplicateSearch::FindDuplicates: pItem not in equals!"}));
}

TEST_F(StreamAddTest, UnwrittenComparisonSendsTheItemLeft)
{
    testsupport::CLogCapture log;
    m_store.AddItem(kFolder, "A").Stream(kTagBody, "Hello");
    m_store.AddItem(kFolder, "B").Stream(kTagBody, "Hello");
    Add("A");
    m_store.ItemFor("A").Stream(kTagBody, ""); // emptied behind the search's back
    EXPECT_EQ(AddHas("B"), 0);
    EXPECT_EQ(log.Lines(), Strings{"War in CDuplicateSearch::fnCompare: bCmpWritten = false, PropKey=body, "
                                   "EntryID1=B, EntryID2=A"});
    SearchProp *pProp = m_pSearch->SearchProps()[0];
    ASSERT_NE(pProp->Tree.Root(), nullptr);
    ASSERT_NE(pProp->Tree.Root()->m_pLeft, nullptr);
    EXPECT_EQ(pProp->Tree.Root()->m_pLeft->m_Items[0], Find("B"));
}

TEST_F(StreamAddTest, StreamThatCantBeOpenedCountsAsEmpty)
{
    m_store.AddItem(kFolder, "A").Stream(kTagBody, "Hello").FailOpenStream(kTagBody, MAPI_E_CALL_FAILED);
    EXPECT_EQ(Add("A"), 1);
    EXPECT_EQ(m_pSearch->EmptySignatures().EmptyCount(0), 1u);
}

TEST(SearchClearTest, NeverCreatedSearchTouchesNoStore)
{
    CDuplicateSearch search;
    search.Clear();
    EXPECT_EQ(search.GetOriginalCount(), 0);
    EXPECT_EQ(search.Build(), 0);
}

} // namespace
} // namespace searchtest
