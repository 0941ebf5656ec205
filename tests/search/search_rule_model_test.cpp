// The equal items that the search records against the rule written out pair by pair, over many items drawn from
// a few values with many gaps: large nodes (a value that half the items share) and large sets of empty items are
// what the search's set arithmetic must get right without copying them.
#include <algorithm>
#include <random>
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

} // namespace
} // namespace searchtest
