// CDuplicateSearch: finds the items of one store that are equal by a caller's list of properties, cuts them into
// groups and names one original per group.
//
// Equality is worked out incrementally: each Add files the item in one CEqualityTree per compared property and
// records at once which earlier items are equal to it. Grouping is global: Build ranks every item that has an
// equal item by the caller's original definition and cuts groups from that order, reporting what changed since
// the previous Build. Add and Build may alternate, so groups can be shown while a scan is still running.
//
// Two items are equal when at least one compared property is non-empty on both sides with equal values, and no
// property is non-empty on both sides with different values. The relation is symmetric but not transitive.
//
// The search reaches the store only through ICompare, which must outlive it.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "compare/icompare.h"
#include "search/emptysignatures.h"
#include "search/equalitytree.h"
#include "search/itemrank.h"
#include "search/searchitem.h"
#include "search/textarena.h"
#include "tessel.h"

// The search numbers its items by arrival, and a refused item leaves every index before its number is given
// again, so the per-property indexes find an item's node by that number.
struct SearchItemArrival {
    size_t operator()(const SearchItem *pItem) const { return static_cast<size_t>(pItem->nIndex); }
};
using SearchTree = CEqualityTree<SearchItem *, SearchItemArrival>;
// The short-lived sorters of Build hold few items with numbers spread over the whole search: those hash.
using SortTree = CEqualityTree<SearchItem *>;
using ItemSet = SearchTree::ElementSet; // items ordered by address, each mapped to itself
using EqualItems = CEqualItems<SearchItem *>;

struct TagArrayDeleter {
    void operator()(SPropTagArray *p) const { std::free(p); }
};
using TagArrayPtr = std::unique_ptr<SPropTagArray, TagArrayDeleter>;

// One compared property: every accepted item is either in Tree or empty there by the search's empty
// signatures, unless a comparator aborted its insertion.
struct SearchProp {
    SearchTree Tree;      // items with a non-empty value; a node holds items with equal values
    PropDesc *pProp;      // the descriptor, an element of the search's own copies
};

// One difference between the groups of two builds. Accepted items stay until the search is cleared, and so do
// the texts a change hands out.
struct BuildChange {
    int32_t nType;                  // CHANGE_ORIGINAL_ADDED ... CHANGE_DUPLICATE_REMOVED
    int32_t nIndex;                 // CHANGE_DUPLICATE_ADDED: place among the group's duplicates, from 0
    const SearchItem *pOriginal;
    const SearchItem *pDuplicate;   // null for the original's own changes
};

class CDuplicateSearch;

// What the tree comparators of one Add get as context.
struct SearchContext {
    CDuplicateSearch *pSearch;
    PropDesc *pProp;
    SPropValue *pPropValue; // plain properties: the new item's value
    HITEM hItem;            // the new item, open for the whole Add
};

class CDuplicateSearch {
public:
    CDuplicateSearch();
    virtual ~CDuplicateSearch();
    CDuplicateSearch(const CDuplicateSearch &) = delete;
    CDuplicateSearch &operator=(const CDuplicateSearch &) = delete;

    // Takes deep copies of the descriptors and of the definition, correcting (and logging) what is wrong with
    // them. Never fails. A null list counts as empty, a null definition as all zero (MostFilled).
    void Create(ICompare *pCompare, const PropList *pProps, const OriginalDefinition *pOD);
    // Gives up everything: items, groups, folders, descriptors.
    void Clear();

    // Opens an item through the folder map (each folder is opened once per search). *phItem is null on failure.
    HRESULT OpenItem(SearchItem *pItem, HITEM *phItem);
    void CloseItem(HITEM *phItem);

    // Takes one item in. 1 if accepted, 0 if refused (a refused item leaves no trace). *pbHasDuplicates, if
    // given, is written only on acceptance: 1 if the item has equal items among the earlier ones. A lower
    // nPriority makes an item the better original whatever the definition says. Null entries count as "".
    int32_t Add(const char *szItemID, const char *szFolderID, int32_t *pbHasDuplicates, int32_t nPriority);

    // Cuts the groups anew and returns the number of change records since the previous Build.
    int32_t Build();

    // Reads change record nIndex; texts stay owned by the search until the next Build, empty ones come out null.
    bool GetBuildChange(int32_t nIndex, int32_t *pnType, const char **ppszOriginalID,
                        const char **ppszOriginalFolderID, const char **ppszDuplicateID,
                        const char **ppszDuplicateFolderID, int32_t *pnDuplicateIndex) const;
    int32_t GetOriginalCount() const;
    // The caller keeps nGroup and nDuplicate within the counts; numbers outside them give 0 and write nothing.
    int32_t GetDuplicateCount(int32_t nGroup) const;
    // *pnID and *pnFolderID hold the buffer sizes in bytes and receive the sizes needed, terminating zero
    // included; a string is copied only when its buffer is large enough.
    void GetOriginal(int32_t nGroup, char *pszID, uint32_t *pnID, char *pszFolderID, uint32_t *pnFolderID) const;
    void GetDuplicate(int32_t nGroup, int32_t nDuplicate, char *pszID, uint32_t *pnID, char *pszFolderID,
                      uint32_t *pnFolderID) const;

    // Read-only views of the state, for tests and measurements.
    const OriginalDefinition &Definition() const { return m_OD; }
    int32_t PropCount() const { return m_nProps; }
    const PropDesc *Props() const { return m_pProps.get(); }
    const std::vector<SearchProp *> &SearchProps() const { return m_SearchProps; }
    // Where each accepted item is empty, by the numbers of SearchProps().
    const CEmptySignatures &EmptySignatures() const { return m_EmptySignatures; }
    const std::vector<SearchItem *> &Items() const { return m_Items; }
    // The item's ranking numbers; all unknown, with priority 0, for an item that has none yet.
    const ItemRank &RankOf(const SearchItem *pItem) const
    {
        static const ItemRank unknown;
        return pItem->nRank == SearchItem::kNoRank ? unknown : m_Ranks[pItem->nRank];
    }
    // The relation of equality: symmetric, and an item is never equal to itself.
    const EqualItems &EqualsOf(const SearchItem *pItem) const { return RankOf(pItem).Equals; } // by address
    std::vector<SearchItem *> ItemsWithEquals() const;                                         // by address
    const std::vector<std::vector<SearchItem *>> &Groups() const { return m_Groups; }
    const SPropTagArray *InfoPropTags() const { return m_lpInfoPropTags.get(); }
    const SPropTagArray *InfoStreamTags() const { return m_lpInfoStreamTags.get(); }
    const SPropTagArray *CmpPropTags() const { return m_lpCmpPropTags.get(); }
    const SPropTagArray *CmpStreamTags() const { return m_lpCmpStreamTags.get(); }
    size_t OpenFolderCount() const { return m_Folders.size(); }

private:
    // Adding (searchadd.cpp).
    bool PrepareSearchProps(HITEM hItem);
    bool FileItem(SearchItem *pItem, HITEM hItem, const char *szItemID);
    int32_t RefuseItem(SearchItem *pItem, HITEM *phItem);
    void DestroySearchProps();
    static int32_t fnCompareValue(SearchItem *pItem1, SearchItem *pItem2, bool *pbAbort, void *pContext);
    static int32_t fnCompareStream(SearchItem *pItem1, SearchItem *pItem2, bool *pbAbort, void *pContext);

    // Original definition (originaldefinition.cpp).
    bool CalcODProps(SearchItem *pItem, HITEM hItem);
    void TestFieldValue(ItemRank &rank, HITEM hItem);
    bool ContainsAllTerms(const SPropValue &value) const;
    static int32_t fnCompareOriginal(SearchItem *pItem1, SearchItem *pItem2, bool *pbAbort, void *pContext);
    static int32_t fnCompareBuildIndex(SearchItem *pItem1, SearchItem *pItem2, bool *pbAbort, void *pContext);

    // Groups (searchbuild.cpp).
    std::vector<SearchItem *> FindDuplicates(SearchItem *pItem);
    void AddEqual(SearchItem *pItem, SearchItem *pEqual);
    void CutGroups(const std::vector<SearchItem *> &order);

    // Changes and results (searchresults.cpp).
    void RemoveItemFromSearch(SearchItem *pItem);
    void FillChanges(std::map<SearchItem *, ItemSet> &previous);
    void AppendChange(int32_t nType, const SearchItem *pOriginal, const SearchItem *pDuplicate, int32_t nIndex);
    void CopyMember(int32_t nGroup, int32_t nMember, char *pszID, uint32_t *pnID, char *pszFolderID,
                    uint32_t *pnFolderID) const;

    ULONG CmpTagCount() const;
    ItemRank &MakeRank(SearchItem *pItem); // the item's ranking numbers, made on first use
    const char *KeepFolderID(std::string_view folderID);

    ICompare *m_pCompare;
    std::map<std::string, HFOLDER, std::less<>> m_Folders; // the folders opened so far
    int32_t m_nAdded;
    // The records of the items, in one run of blocks rather than one allocation each. Only the newest can be
    // refused, so records leave from the back only; the others keep their addresses.
    std::deque<SearchItem> m_ItemStore;
    // The equal items and ranking numbers of the items with a priority or an equal item; like the records, taken
    // back only from the back.
    std::deque<ItemRank> m_Ranks;
    CTextArena m_ItemIDs;                            // the items' entries
    std::set<std::string, std::less<>> m_FolderIDs;  // every folder entry once, shared by its items
    std::vector<SearchItem *> m_Items;               // the accepted items, in order of arrival
    std::vector<std::vector<SearchItem *>> m_Groups; // element 0 of each group is its original
    std::vector<BuildChange> m_Changes;
    std::vector<SearchItem *> m_WithEquals;          // the items with an equal item, in the order they got one
    OriginalDefinition m_OD;
    std::string m_strFieldValue;                     // lower-cased; m_OD.szValue points here when in use
    int32_t m_nProps;
    std::unique_ptr<PropDesc[]> m_pProps;
    std::vector<SearchProp *> m_SearchProps;         // owned
    CEmptySignatures m_EmptySignatures;              // over m_SearchProps; only accepted items are filed
    TagArrayPtr m_lpInfoPropTags;
    TagArrayPtr m_lpInfoStreamTags;
    TagArrayPtr m_lpCmpPropTags;
    TagArrayPtr m_lpCmpStreamTags;
};
