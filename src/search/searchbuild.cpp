// CDuplicateSearch: the rule of equality (FindDuplicates) and the cutting of the equality relation into groups
// (Build).
#include <algorithm>
#include <functional>

#include "log/log.h"
#include "search/duplicatesearch.h"
#include "search/undecideditems.h"

namespace {

constexpr const char *kFindLabel = "CDuplicateSearch::FindDuplicates";
constexpr const char *kBuildLabel = "CDuplicateSearch::Build";

} // namespace

// Works from the per-property indexes alone: no item is compared and the store isn't touched. E holds the
// candidates that matched on some property and differed on none so far (pItem among them); M the items that
// were empty wherever pItem had a value so far, so that they are neither in nor out yet. Q, the items that share
// pItem's node, and Z, the items empty in this property, are only ever read.
//
// None of these sets is written out over the store: a few percent of the items lack any one value, and
// intersecting such sets made every Add grow with the number of items before it. Membership in Q is a question
// to the tree (is k's node pItem's node?), in Z and M a bit test of k's empty signature, and M is enumerated
// through the few signatures that cover it, so an Add costs what pItem's nodes and M hold. E and M never share
// an item (E grows only from E and from what leaves M), so E needs no duplicate check.
std::vector<SearchItem *> CDuplicateSearch::FindDuplicates(SearchItem *pItem)
{
    std::vector<SearchItem *> e;
    bool bStarted = false; // pItem had a value somewhere, so E and M exist
    CUndecidedItems m(m_EmptySignatures);
    for (size_t nProp = 0; nProp < m_SearchProps.size(); nProp++) {
        SearchProp *pSearchProp = m_SearchProps[nProp];
        const SearchTree &tree = pSearchProp->Tree;
        bool bEmpty = m_EmptySignatures.IsEmpty(pItem, nProp);
        SearchTree::Node *pNode = tree.FindNode(pItem);
        if (bEmpty == (pNode != nullptr))
            g_Log.Error(kFindLabel, 0, "IsPropEmpty == IsPropNotEmpty, for pItem(%s), Prop(%S)\n",
                        pItem->ItemID, pSearchProp->pProp->Key);
        if (bEmpty)
            continue;

        // Q: pItem's node, or nothing when an aborted insert left pItem out of the tree.
        auto inQ = [&tree, pNode](SearchItem *k) { return pNode && tree.FindNode(k) == pNode; };
        if (!bStarted) {
            bStarted = true;
            if (pNode)
                e.assign(pNode->m_Items.begin(), pNode->m_Items.end());
            m.Start(nProp);
            continue;
        }

        // k's value differs here unless it is in Q or Z: it drops out.
        std::erase_if(e, [&](SearchItem *k) { return !inQ(k) && !m_EmptySignatures.IsEmpty(k, nProp); });
        // Empty so far and matching here for the first time; an item of Q not in M differed earlier.
        if (pNode && pNode->m_Items.size() <= m.Size()) {
            for (SearchItem *k : pNode->m_Items)
                if (m.Contains(k))
                    e.push_back(k);
        } else if (pNode) {
            m.ForEach([&](SearchItem *k) {
                if (inQ(k))
                    e.push_back(k);
            });
        }
        // What stays undecided: empty so far and empty here too.
        m.Narrow(nProp);
        if (e.size() <= 1 && m.Empty())
            break; // nobody is left who could still match
    }

    if (!bStarted)
        return {}; // pItem is empty in every property
    auto itSelf = std::find(e.begin(), e.end(), pItem);
    if (itSelf == e.end()) {
        g_Log.Error(kFindLabel, 0, "pItem not in equals!");
        return {};
    }
    e.erase(itSelf);
    std::sort(e.begin(), e.end(), std::less<SearchItem *>());
    return e;
}

std::vector<SearchItem *> CDuplicateSearch::ItemsWithEquals() const
{
    std::vector<SearchItem *> items = m_WithEquals;
    std::sort(items.begin(), items.end(), std::less<SearchItem *>());
    return items;
}

int32_t CDuplicateSearch::Build()
{
    // Rank every item that has an equal item, best claim to be an original first.
    std::vector<SearchItem *> order;
    {
        SortTree ranking;
        for (SearchItem *pItem : ItemsWithEquals()) {
            bool bEqual = false;
            ranking.Insert(fnCompareOriginal, pItem, &bEqual, this);
        }
        ranking.GetItemsReverse(order);
    }
    for (size_t i = 0; i < order.size(); i++)
        MakeRank(order[i]).nBuildIndex = static_cast<int32_t>(i);

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
    std::vector<bool> done(static_cast<size_t>(m_nAdded)); // by arrival number
    auto take = [&done](SearchItem *k) {
        bool bTaken = done[static_cast<size_t>(k->nIndex)];
        done[static_cast<size_t>(k->nIndex)] = true;
        return !bTaken;
    };
    for (SearchItem *pItem : order) {
        const EqualItems &equals = EqualsOf(pItem);
        if (equals.empty()) {
            g_Log.Assert(false, kBuildLabel, 1);
            continue;
        }
        if (!take(pItem))
            continue;

        std::vector<SearchItem *> group;
        {
            SortTree members;
            bool bEqual = false;
            members.Insert(fnCompareBuildIndex, pItem, &bEqual, this);
            for (SearchItem *k : equals) {
                if (take(k))
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
