// The parts an equality tree is made of: a node's element list, the pool its nodes live in, the lookup of an
// element's node by its number, and the search's index, which numbers its items by arrival.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <set>
#include <vector>

#include "search/duplicatesearch.h"
#include "search/equalityitems.h"
#include "search/equalitynodemap.h"
#include "search/equalitynodepool.h"
#include "search/equalitytree.h"

namespace {

std::vector<intptr_t> Listed(const CEqualItems<intptr_t> &items)
{
    return std::vector<intptr_t>(items.begin(), items.end());
}

TEST(EqualItemsTest, GrowsPastTheFirstElementInOrderOfArrival)
{
    CEqualItems<intptr_t> items(7);
    EXPECT_EQ(items.size(), 1u);
    EXPECT_EQ(items[0], 7);
    for (intptr_t n = 8; n < 20; n++)
        items.push_back(n);
    ASSERT_EQ(items.size(), 13u);
    for (size_t i = 0; i < items.size(); i++)
        EXPECT_EQ(items[i], static_cast<intptr_t>(7 + i));
}

TEST(EqualItemsTest, EraseKeepsTheOrderOfTheOthers)
{
    CEqualItems<intptr_t> items(1);
    for (intptr_t n : {2, 3, 2, 4})
        items.push_back(n);
    items.erase(1); // the first, which stands for the node
    EXPECT_EQ(Listed(items), (std::vector<intptr_t>{2, 3, 2, 4}));
    items.erase(2); // only the first occurrence
    EXPECT_EQ(Listed(items), (std::vector<intptr_t>{3, 2, 4}));
    items.erase(9); // absent
    EXPECT_EQ(Listed(items), (std::vector<intptr_t>{3, 2, 4}));
    EXPECT_TRUE(items == (std::vector<intptr_t>{3, 2, 4}));
    EXPECT_FALSE(items == (std::vector<intptr_t>{3, 2}));
}

TEST(EqualItemsTest, ASingleElementCanBeErasedAndAddedAgain)
{
    CEqualItems<intptr_t> items(5);
    items.erase(5);
    EXPECT_TRUE(items.empty());
    items.push_back(6);
    items.push_back(7);
    EXPECT_EQ(Listed(items), (std::vector<intptr_t>{6, 7}));
}

TEST(EqualItemsTest, InsertPutsAnElementAnywhere)
{
    CEqualItems<intptr_t> items;
    items.insert(0, 5);                    // into an empty list: kept in place
    items.insert(0, 3);                    // before the one in place: the list moves out
    items.insert(2, 9);                    // at the end
    items.insert(1, 4);                    // in the middle
    for (intptr_t n : {6, 7, 8})
        items.insert(items.size() - 1, n); // past the first array's capacity
    EXPECT_EQ(Listed(items), (std::vector<intptr_t>{3, 4, 5, 6, 7, 8, 9}));
}

// Nodes keep their places while others are made, are found by their numbers, and a destroyed node's number and
// place are taken by the next one, so nodes made and removed over and over take no more room.
TEST(NodePoolTest, NodesAreFoundByNumberAndDestroyedOnesTakenAgain)
{
    struct Counted {
        Counted(int *pnAlive, int nValue) : pnAlive(pnAlive), nValue(nValue) { ++*pnAlive; }
        ~Counted() { --*pnAlive; }
        int *pnAlive;
        int nValue;
    };
    int nAlive = 0;
    CNodePool<Counted> pool;
    std::vector<Counted *> made;
    for (int i = 0; i < 2000; i++) { // past the small first block and one large one
        uint32_t n = kNoNode;
        made.push_back(pool.Make(&n, &nAlive, i));
        EXPECT_EQ(n, static_cast<uint32_t>(i));
    }
    EXPECT_EQ(nAlive, 2000);
    EXPECT_EQ(std::set<Counted *>(made.begin(), made.end()).size(), 2000u);
    for (uint32_t n = 0; n < 2000; n++) {
        ASSERT_EQ(pool.At(n), made[n]);
        ASSERT_EQ(pool.At(n)->nValue, static_cast<int>(n));
    }
    pool.Destroy(1500);
    EXPECT_EQ(nAlive, 1999);
    uint32_t nAgain = kNoNode;
    EXPECT_EQ(pool.Make(&nAgain, &nAlive, -1), made[1500]);
    EXPECT_EQ(nAgain, 1500u);
    EXPECT_EQ(pool.At(1500)->nValue, -1);
    for (uint32_t n = 0; n < 2000; n++)
        pool.Destroy(n);
    EXPECT_EQ(nAlive, 0);
}

struct NumberOf {
    size_t operator()(intptr_t n) const { return static_cast<size_t>(n); }
};

TEST(DenseNodeMapTest, FindsWhatWasSetAndForgetsWhatWasErased)
{
    CDenseNodeMap<intptr_t, NumberOf> map;
    EXPECT_EQ(map.Find(5000), kNoNode); // beyond every page
    map.Set(3, 0);                      // node number 0 is a node like any other
    map.Set(5000, 7);                   // a page of its own, with nothing made between
    EXPECT_EQ(map.Find(3), 0u);
    map.Set(3, 7); // set again: the later node counts, and only once
    EXPECT_EQ(map.Size(), 2u);
    EXPECT_EQ(map.Find(3), 7u);
    EXPECT_EQ(map.Find(5000), 7u);
    EXPECT_EQ(map.Find(4), kNoNode);
    EXPECT_EQ(map.Find(2000), kNoNode); // a page never made
    map.Erase(3);
    map.Erase(3);
    map.Erase(2000);
    EXPECT_EQ(map.Size(), 1u);
    EXPECT_EQ(map.Find(3), kNoNode);
    EXPECT_EQ(map.Find(5000), 7u);
}

// Compares the items' values, which the context holds by arrival number.
int32_t CompareValues(SearchItem *pNew, SearchItem *pNode, bool *, void *pValues)
{
    const auto &values = *static_cast<std::vector<int> *>(pValues);
    int a = values[static_cast<size_t>(pNew->nIndex)], b = values[static_cast<size_t>(pNode->nIndex)];
    return a < b ? -1 : (a > b ? 1 : 0);
}

// The search's index finds items by their arrival number; removing one, whole node or not, must leave every
// other item's node where it was.
TEST(SearchTreeTest, RemovalsLeaveTheOtherItemsFound)
{
    std::vector<std::unique_ptr<SearchItem>> items;
    std::vector<int> values;
    SearchTree tree;
    for (int32_t i = 0; i < 300; i++) {
        items.push_back(std::make_unique<SearchItem>());
        items.back()->nIndex = i;
        values.push_back(i % 100 < 50 ? i % 100 : i); // 0..49 three times each, the rest once
        bool bEqual = false;
        ASSERT_NE(tree.Insert(CompareValues, items.back().get(), &bEqual, &values), nullptr);
    }
    std::vector<SearchItem *> gone = {items[0].get(), items[160].get(), items[99].get(), items[299].get()};
    for (SearchItem *pItem : gone)
        tree.Remove(pItem);
    EXPECT_EQ(tree.Size(), items.size() - gone.size());
    for (auto &pItem : items) {
        SearchTree::Node *pNode = tree.FindNode(pItem.get());
        if (std::find(gone.begin(), gone.end(), pItem.get()) != gone.end()) {
            EXPECT_EQ(pNode, nullptr);
            continue;
        }
        ASSERT_NE(pNode, nullptr) << pItem->nIndex;
        EXPECT_EQ(values[static_cast<size_t>(pNode->m_Items[0]->nIndex)], values[static_cast<size_t>(pItem->nIndex)]);
        EXPECT_NE(std::find(pNode->m_Items.begin(), pNode->m_Items.end(), pItem.get()), pNode->m_Items.end());
    }
    // Item 0's node lives on with 100 and 200; 160 and 99 were whole nodes.
    EXPECT_EQ(tree.FindNode(items[100].get())->m_Items.size(), 2u);
    EXPECT_EQ(tree.FindNode(items[100].get())->m_Items[0], items[100].get());

    // A number given again after its item left, as a refused item's is, finds the new item.
    SearchItem again;
    again.nIndex = 160;
    values[160] = 1000;
    bool bEqual = true;
    SearchTree::Node *pNode = tree.Insert(CompareValues, &again, &bEqual, &values);
    EXPECT_FALSE(bEqual);
    EXPECT_EQ(tree.FindNode(&again), pNode);
    EXPECT_EQ(pNode->m_Items.size(), 1u);
}

} // namespace
