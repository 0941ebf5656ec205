// The empty signatures of a search's items and the undecided set read through them, on items made here: filing,
// taking out again (also an item in the middle of its signature's members), and sets of more than one word.
#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <vector>

#include "search/emptysignatures.h"
#include "search/undecideditems.h"

namespace {

class EmptySignaturesTest : public ::testing::Test {
protected:
    // A new item, filed as empty in the given properties.
    SearchItem *File(std::vector<size_t> empty)
    {
        SearchItem *pItem = &m_items.emplace_back();
        CEmptySignatures::Bits bits = m_signatures.NewBits();
        for (size_t nProp : empty)
            CEmptySignatures::Set(bits, nProp);
        m_signatures.Add(pItem, bits);
        return pItem;
    }

    // The members of the undecided set after Start(props[0]) and Narrow of the others, sorted.
    std::vector<SearchItem *> Undecided(std::vector<size_t> props, size_t *pnSize) const
    {
        CUndecidedItems undecided(m_signatures);
        undecided.Start(props[0]);
        for (size_t i = 1; i < props.size(); i++)
            undecided.Narrow(props[i]);
        std::vector<SearchItem *> members;
        undecided.ForEach([&members](SearchItem *pItem) { members.push_back(pItem); });
        std::sort(members.begin(), members.end());
        for (const SearchItem &item : m_items)
            EXPECT_EQ(undecided.Contains(&item), std::binary_search(members.begin(), members.end(), &item));
        *pnSize = undecided.Size();
        EXPECT_EQ(undecided.Empty(), members.empty());
        return members;
    }

    std::deque<SearchItem> m_items;
    CEmptySignatures m_signatures;
};

TEST_F(EmptySignaturesTest, ItemsShareTheirSignaturesAndAreCounted)
{
    m_signatures.Reset(3);
    SearchItem *pA = File({});
    SearchItem *pB = File({0, 2});
    SearchItem *pC = File({0, 2});
    SearchItem *pD = File({2});
    EXPECT_EQ(m_signatures.SignatureCount(), 3u);
    EXPECT_EQ(pB->nEmptySignature, pC->nEmptySignature);
    EXPECT_EQ(m_signatures.ItemCount(), 4u);
    EXPECT_EQ(m_signatures.EmptyCount(0), 2u);
    EXPECT_EQ(m_signatures.EmptyCount(1), 0u);
    EXPECT_EQ(m_signatures.EmptyCount(2), 3u);
    EXPECT_FALSE(m_signatures.IsEmpty(pA, 0));
    EXPECT_TRUE(m_signatures.IsEmpty(pB, 2));
    EXPECT_FALSE(m_signatures.IsEmpty(pD, 0));

    size_t nSize = 0;
    EXPECT_EQ(Undecided({2}, &nSize).size(), 3u);
    EXPECT_EQ(nSize, 3u);
    std::vector<SearchItem *> both{pB, pC};
    std::sort(both.begin(), both.end());
    EXPECT_EQ(Undecided({2, 0}, &nSize), both);
    EXPECT_EQ(nSize, 2u);
    EXPECT_TRUE(Undecided({1}, &nSize).empty());
    EXPECT_EQ(nSize, 0u);
}

TEST_F(EmptySignaturesTest, RemovingKeepsCountsAndMembersRight)
{
    m_signatures.Reset(2);
    SearchItem *pA = File({1});
    SearchItem *pB = File({1});
    SearchItem *pC = File({1});
    SearchItem *pD = File({});
    m_signatures.Remove(pB); // from the middle of its signature's members
    m_signatures.Remove(pD);
    EXPECT_EQ(m_signatures.ItemCount(), 2u);
    EXPECT_EQ(m_signatures.EmptyCount(1), 2u);
    EXPECT_FALSE(m_signatures.IsEmpty(pB, 1)); // no longer filed
    size_t nSize = 0;
    std::vector<SearchItem *> left{pA, pC};
    std::sort(left.begin(), left.end());
    EXPECT_EQ(Undecided({1}, &nSize), left);
    EXPECT_EQ(nSize, 2u);

    m_signatures.Remove(pB); // twice: nothing more happens
    EXPECT_EQ(m_signatures.ItemCount(), 2u);
    m_signatures.Remove(pA);
    m_signatures.Remove(pC);
    EXPECT_EQ(m_signatures.EmptyCount(1), 0u);
    EXPECT_TRUE(Undecided({1}, &nSize).empty());
    EXPECT_EQ(nSize, 0u);
}

TEST_F(EmptySignaturesTest, PropertiesBeyondOneWord)
{
    m_signatures.Reset(130);
    SearchItem *pA = File({0, 64, 129});
    SearchItem *pB = File({64});
    SearchItem *pC = File({0, 129});
    EXPECT_TRUE(m_signatures.IsEmpty(pA, 129));
    EXPECT_FALSE(m_signatures.IsEmpty(pB, 0));
    EXPECT_FALSE(m_signatures.IsEmpty(pC, 64));
    EXPECT_EQ(m_signatures.EmptyCount(64), 2u);
    size_t nSize = 0;
    EXPECT_EQ(Undecided({129, 64}, &nSize), std::vector<SearchItem *>{pA});
    std::vector<SearchItem *> both{pA, pC};
    std::sort(both.begin(), both.end());
    EXPECT_EQ(Undecided({0, 129}, &nSize), both);
}

TEST_F(EmptySignaturesTest, ResetForgetsEverything)
{
    m_signatures.Reset(2);
    File({0});
    File({1});
    m_signatures.Reset(2);
    EXPECT_EQ(m_signatures.ItemCount(), 0u);
    EXPECT_EQ(m_signatures.SignatureCount(), 1u);
    EXPECT_EQ(m_signatures.EmptyCount(0), 0u);
}

} // namespace
