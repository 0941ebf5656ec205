// The equal items that the search records against the rule written out pair by pair, over many items drawn from
// a few values with many gaps: large nodes (a value that half the items share) and large sets of empty items are
// what the search's set arithmetic must get right without copying them.
#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "search_fixture.h"

namespace searchtest {
namespace {

class SearchRuleModelTest : public SearchTest {};

// Two items are equal when some property has a value on both sides that is the same, and no property has values
// on both sides that differ.
bool EqualByRule(const std::vector<std::string> &x, const std::vector<std::string> &y)
{
    bool bMatch = false;
    for (size_t p = 0; p < x.size(); p++) {
        if (x[p].empty() || y[p].empty())
            continue;
        if (x[p] != y[p])
            return false;
        bMatch = true;
    }
    return bMatch;
}

// nItems rows of three values, each empty with the chance dEmpty, else one of nDistinct letters.
std::vector<std::vector<std::string>> RandomValues(unsigned nSeed, int nItems, double dEmpty, int nDistinct)
{
    std::mt19937 random(nSeed);
    std::uniform_real_distribution<double> chance(0.0, 1.0);
    std::vector<std::vector<std::string>> values;
    for (int i = 0; i < nItems; i++) {
        std::vector<std::string> v(3);
        for (std::string &s : v)
            s = chance(random) < dEmpty ? "" : std::string(1, static_cast<char>('a' + random() % nDistinct));
        values.push_back(v);
    }
    return values;
}

TEST_F(SearchRuleModelTest, EqualItemsFollowTheRuleOverManyItems)
{
    struct Mix {
        unsigned nSeed;
        double dEmpty;
        int nDistinct;
    };
    for (Mix mix : {Mix{1, 0.1, 2}, Mix{2, 0.5, 3}, Mix{3, 0.8, 2}, Mix{4, 0.3, 6}}) {
        SCOPED_TRACE("seed " + std::to_string(mix.nSeed));
        CreateSearch({Desc(kTagP, u"p"), Desc(kTagQ, u"q"), Desc(kTagR, u"r")});
        std::vector<std::vector<std::string>> values = RandomValues(mix.nSeed, 150, mix.dEmpty, mix.nDistinct);
        std::vector<std::string> entries;
        for (size_t i = 0; i < values.size(); i++) {
            std::string strEntry = "s" + std::to_string(mix.nSeed) + "i" + std::to_string(i);
            entries.push_back(strEntry);
            Item(strEntry, values[i][0], values[i][1], values[i][2]);
            int32_t bHas = AddHas(strEntry);
            bool bExpected = false;
            for (size_t j = 0; j < i; j++)
                bExpected = bExpected || EqualByRule(values[i], values[j]);
            ASSERT_EQ(bHas, bExpected ? 1 : 0) << strEntry;
        }
        for (size_t i = 0; i < values.size(); i++) {
            std::vector<std::string> expected;
            for (size_t j = 0; j < values.size(); j++)
                if (j != i && EqualByRule(values[i], values[j]))
                    expected.push_back(entries[j]);
            std::sort(expected.begin(), expected.end());
            ASSERT_EQ(EqualsOf(entries[i]), expected) << entries[i];
        }
    }
}

// A search over nProps text properties of a store that refuses some items, before or after filing them, checked
// after every Add: the duplicate flag, the whole relation of equality, and where the accepted items are empty.
class CRuleModel {
public:
    CRuleModel(size_t nProps, unsigned nSeed) : m_nProps(nProps), m_random(nSeed)
    {
        for (size_t p = 0; p < nProps; p++)
            m_Keys.push_back(u"p" + std::u16string(1, static_cast<char16_t>(u'a' + p % 26)) +
                             std::u16string(p / 26 + 1, u'x'));
        std::vector<PropDesc> descs;
        for (size_t p = 0; p < nProps; p++)
            descs.push_back(Desc(Tag(p), m_Keys[p].c_str()));
        PropList list{static_cast<uint32_t>(nProps), descs.data()};
        OriginalDefinition od = Definition(OD_FIRST_ADDED);
        m_search.Create(&m_store, &list, &od);
    }

    // Adds nItems: each row is a new random one, or an earlier row with some values taken out, so that equal
    // pairs occur at any number of properties; one in ten is refused.
    void Run(int nItems, double dEmpty, int nDistinct)
    {
        std::uniform_real_distribution<double> chance(0.0, 1.0);
        for (int i = 0; i < nItems; i++) {
            std::vector<std::string> row(m_nProps);
            if (!m_Rows.empty() && chance(m_random) < 0.4) {
                row = m_Rows[m_random() % m_Rows.size()];
                for (std::string &s : row)
                    if (chance(m_random) < 0.3)
                        s.clear();
            } else {
                for (std::string &s : row)
                    if (chance(m_random) >= dEmpty)
                        s = std::string(1, static_cast<char>('a' + m_random() % static_cast<unsigned>(nDistinct)));
            }
            std::string strEntry = "i" + std::to_string(i);
            auto builder = m_store.AddItem(kFolder, strEntry);
            for (size_t p = 0; p < m_nProps; p++)
                if (!row[p].empty())
                    builder.Text(Tag(p), row[p]);
            double dRefuse = chance(m_random);
            if (dRefuse < 0.05)
                builder.FailOpen(E_FAIL);
            int nCallsBefore = m_store.m_nCalls;
            if (dRefuse >= 0.05 && dRefuse < 0.1)
                m_store.m_nShortCall = nCallsBefore + 1;
            int32_t bHas = -1;
            int32_t nAccepted = m_search.Add(strEntry.c_str(), kFolder, &bHas, 0);
            SCOPED_TRACE(strEntry);
            ASSERT_EQ(nAccepted, dRefuse < 0.1 ? 0 : 1);
            if (nAccepted) {
                bool bExpected = false;
                for (const std::vector<std::string> &earlier : m_Rows)
                    bExpected = bExpected || EqualByRule(row, earlier);
                ASSERT_EQ(bHas, bExpected ? 1 : 0);
                m_Rows.push_back(row);
                m_Entries.push_back(strEntry);
            }
            ExpectModel();
            if (::testing::Test::HasFatalFailure())
                return;
        }
    }

private:
    static ULONG Tag(size_t nProp) { return PROP_TAG(PT_STRING8, 0x6001 + nProp); }

    void ExpectModel()
    {
        ASSERT_EQ(m_search.Items().size(), m_Rows.size());
        std::map<std::string, size_t> rowOf;
        for (size_t i = 0; i < m_Entries.size(); i++)
            rowOf[m_Entries[i]] = i;

        std::map<std::string, std::set<std::string>> expected;
        for (size_t i = 0; i < m_Rows.size(); i++)
            for (size_t j = 0; j < m_Rows.size(); j++)
                if (i != j && EqualByRule(m_Rows[i], m_Rows[j]))
                    expected[m_Entries[i]].insert(m_Entries[j]);
        std::map<std::string, std::set<std::string>> actual;
        for (const SearchItem *pItem : m_search.ItemsWithEquals())
            for (const SearchItem *pEqual : m_search.EqualsOf(pItem))
                actual[pItem->ItemID].insert(pEqual->ItemID);
        ASSERT_EQ(actual, expected);

        const CEmptySignatures &signatures = m_search.EmptySignatures();
        EXPECT_EQ(signatures.ItemCount(), m_Rows.size());
        for (size_t p = 0; p < m_nProps; p++) {
            size_t nEmpty = 0;
            for (const SearchItem *pItem : m_search.Items()) {
                bool bEmpty = m_Rows[rowOf.at(pItem->ItemID)][p].empty();
                ASSERT_EQ(signatures.IsEmpty(pItem, p), bEmpty) << pItem->ItemID << " property " << p;
                nEmpty += bEmpty ? 1 : 0;
            }
            ASSERT_EQ(signatures.EmptyCount(p), nEmpty) << "property " << p;
        }
    }

    size_t m_nProps;
    std::mt19937 m_random;
    std::vector<std::u16string> m_Keys;
    CShortReplyStore m_store;
    CDuplicateSearch m_search;
    std::vector<std::vector<std::string>> m_Rows; // the accepted items' values, in order of arrival
    std::vector<std::string> m_Entries;
};

TEST(SearchRuleRefusalModelTest, EqualsFollowTheRuleAfterEveryAdd)
{
    struct Mix {
        size_t nProps;
        double dEmpty;
        int nDistinct;
    };
    // More than 64 properties make an item's empty set longer than one word.
    for (Mix mix : {Mix{1, 0.3, 3}, Mix{2, 0.2, 2}, Mix{4, 0.05, 3}, Mix{4, 0.5, 2}, Mix{9, 0.6, 2},
                    Mix{70, 0.95, 2}, Mix{130, 0.9, 3}}) {
        for (unsigned nSeed : {1u, 2u}) {
            SCOPED_TRACE("props " + std::to_string(mix.nProps) + " seed " + std::to_string(nSeed));
            CRuleModel model(mix.nProps, nSeed);
            model.Run(90, mix.dEmpty, mix.nDistinct);
            if (HasFatalFailure())
                return;
        }
    }
}

} // namespace
} // namespace searchtest
