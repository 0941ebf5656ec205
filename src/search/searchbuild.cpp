// CDuplicateSearch: the rule of equality (FindDuplicates) and the cutting of the equality relation into groups
// (Build).
#include "log/log.h"
#include "search/duplicatesearch.h"

namespace {

constexpr const char *kFindLabel = "CDuplicateSearch::FindDuplicates";
constexpr const char *kBuildLabel = "CDuplicateSearch::Build";

} // namespace

// Works from the per-property indexes alone: no item is compared and the store isn't touched. E holds the
// candidates that matched on some property and differed on none so far (pItem among them); M the items that
// were empty wherever pItem had a value so far, so that they are neither in nor out yet.
//
// A property's EmptyItems is only ever read here, never copied: a copy per property and Add made every Add
// linear in the number of items that lack a value. M starts as a view of the first such set. E and M never share
// an item (E grows only from E and from what leaves M), so an item of M is in EmptyItems exactly when it is in
// what is left of it after E has taken its share.
std::unique_ptr<ItemSet> CDuplicateSearch::FindDuplicates(SearchItem *pItem)
{
    std::unique_ptr<ItemSet> pE;
    const ItemSet *pM = nullptr; // the first EmptyItems, or mOwn
    ItemSet mOwn;
    for (SearchProp *pSearchProp : m_SearchProps) {
        const ItemSet &empty = pSearchProp->EmptyItems;
        bool bEmpty = empty.count(pItem) != 0;
        bool bFiled = pSearchProp->Tree.FindNode(pItem) != nullptr;
        if (bEmpty == bFiled)
            g_Log.Error(kFindLabel, 0, "IsPropEmpty == IsPropNotEmpty, for pItem(%s), Prop(%S)\n",
                        pItem->ItemID.c_str(), pSearchProp->pProp->Key);
        if (bEmpty)
            continue;

        auto pQ = std::make_unique<ItemSet>();
        pSearchProp->Tree.GetEquals(pItem, *pQ);
        if (!pE) {
            pE = std::move(pQ);
            pM = &empty;
            continue;
        }

        auto pE2 = std::make_unique<ItemSet>();
        for (auto &entry : *pE) {
            SearchItem *k = entry.first;
            if (pQ->erase(k) || empty.count(k))
                pE2->emplace(k, k);
            // else k's value differs here: it drops out
        }
        for (auto &entry : *pQ) {
            // Empty so far and matching here for the first time; one not in M differed earlier.
            SearchItem *k = entry.first;
            if (pM->count(k))
                pE2->emplace(k, k);
        }
        // What stays undecided: empty so far and empty here too. Those that matched here went to E above and are
        // in no EmptyItems of this property, so the intersection leaves them out by itself.
        ItemSet m2;
        const bool bWalkM = pM->size() <= empty.size();
        for (auto &entry : bWalkM ? *pM : empty) {
            SearchItem *k = entry.first;
            if ((bWalkM ? empty : *pM).count(k))
                m2.emplace_hint(m2.end(), k, k);
        }
        mOwn = std::move(m2);
        pM = &mOwn;
        pE = std::move(pE2);
        if (pE->size() <= 1 && pM->empty())
            break; // nobody is left who could still match
    }

    if (!pE)
        return nullptr; // pItem is empty in every property
    if (!pE->erase(pItem)) {
        g_Log.Error(kFindLabel, 0, "pItem not in equals!");
        return nullptr;
    }
    if (pE->empty())
        return nullptr;
    return pE;
}

int32_t CDuplicateSearch::Build()
{
    // Rank every item that has an equal item, best claim to be an original first.
    std::vector<SearchItem *> order;
    {
        SearchTree ranking;
        for (auto &entry : m_Equals) {
            bool bEqual = false;
            ranking.Insert(fnCompareOriginal, entry.first, &bEqual, this);
        }
        ranking.GetItemsReverse(order);
    }
    for (size_t i = 0; i < order.size(); i++)
        order[i]->nBuildIndex = static_cast<int32_t>(i);

    // Put the previous groups aside, keyed by their originals, to report the differences.
    m_Changes.clear();
    std::map<SearchItem *, ItemSet> previous;
    for (auto &group : m_Groups) {
        ItemSet &members = previous[group[0]];
        for (SearchItem *pMember : group)
            members.emplace(pMember, pMember);
    }
    m_Groups.clear();

    CutGroups(order);
    FillChanges(previous);
    return static_cast<int32_t>(m_Changes.size());
}

// Each item, in rank order, takes all its directly equal items that no better item has taken yet. Only direct
// equality counts, so the choice of the originals decides what the groups look like.
void CDuplicateSearch::CutGroups(const std::vector<SearchItem *> &order)
{
    ItemSet done;
    for (SearchItem *pItem : order) {
        auto itEquals = m_Equals.find(pItem);
        if (itEquals == m_Equals.end()) {
            g_Log.Assert(false, kBuildLabel, 1);
            continue;
        }
        if (done.count(pItem))
            continue;

        std::vector<SearchItem *> group;
        {
            SearchTree members;
            bool bEqual = false;
            members.Insert(fnCompareBuildIndex, pItem, &bEqual, this);
            done.emplace(pItem, pItem);
            for (auto &entry : itEquals->second) {
                SearchItem *k = entry.first;
                if (done.emplace(k, k).second)
                    members.Insert(fnCompareBuildIndex, k, &bEqual, this);
            }
            members.GetItemsReverse(group);
        }
        if (group[0] != pItem)
            g_Log.Error(kBuildLabel, 0, "first element is not original!");
        if (group.size() >= 2)
            m_Groups.push_back(std::move(group));
    }
}
