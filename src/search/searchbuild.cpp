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
// were empty wherever pItem had a value so far, so that they are neither in nor out yet. Q, the items that share
// pItem's node, and Z, the items empty in this property, are only ever read.
//
// Neither Q nor Z is copied: copying the property's EmptyItems, and pItem's node of a common subject, made every
// Add grow with the number of items before it. Membership in Q is a question to the tree (is k's node pItem's
// node?), M starts as a view of the first EmptyItems, and intersections walk the smaller side. E and M never
// share an item (E grows only from E and from what leaves M), so what the step-by-step removals from Q, Z and M
// would leave is exactly what these reads give.
std::unique_ptr<ItemSet> CDuplicateSearch::FindDuplicates(SearchItem *pItem)
{
    std::unique_ptr<ItemSet> pE;
    const ItemSet *pM = nullptr; // the first EmptyItems, or mOwn
    ItemSet mOwn;
    for (SearchProp *pSearchProp : m_SearchProps) {
        const SearchTree &tree = pSearchProp->Tree;
        const ItemSet &empty = pSearchProp->EmptyItems;
        bool bEmpty = empty.count(pItem) != 0;
        SearchTree::Node *pNode = tree.FindNode(pItem);
        if (bEmpty == (pNode != nullptr))
            g_Log.Error(kFindLabel, 0, "IsPropEmpty == IsPropNotEmpty, for pItem(%s), Prop(%S)\n",
                        pItem->ItemID, pSearchProp->pProp->Key);
        if (bEmpty)
            continue;

        // Q: pItem's node, or nothing when an aborted insert left pItem out of the tree.
        auto inQ = [&tree, pNode](SearchItem *k) { return pNode && tree.FindNode(k) == pNode; };
        if (!pE) {
            pE = std::make_unique<ItemSet>();
            if (pNode)
                for (SearchItem *k : pNode->m_Items)
                    pE->emplace(k, k);
            pM = &empty;
            continue;
        }

        auto pE2 = std::make_unique<ItemSet>();
        for (auto &entry : *pE) {
            SearchItem *k = entry.first;
            if (inQ(k) || empty.count(k))
                pE2->emplace(k, k);
            // else k's value differs here: it drops out
        }
        // Empty so far and matching here for the first time; an item of Q not in M differed earlier.
        if (pNode && pNode->m_Items.size() <= pM->size()) {
            for (SearchItem *k : pNode->m_Items)
                if (pM->count(k))
                    pE2->emplace(k, k);
        } else if (pNode) {
            for (auto &entry : *pM)
                if (inQ(entry.first))
                    pE2->emplace(entry.first, entry.first);
        }
        // What stays undecided: empty so far and empty here too.
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
        SortTree ranking;
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
            SortTree members;
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
