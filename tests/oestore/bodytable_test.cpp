// The flat table of remembered bodies: every key finds its own entry through any number of growths, keys that
// differ in folder, message or tag alone are kept apart, a second insert of a key keeps the first entry, and a clear
// forgets all.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "oestore/oebodytable.h"

namespace {

struct Entry {
    std::unique_ptr<int> pValue; // moves only, as the real entries do
};

int ValueOf(const COEBodyTable<Entry> &table, const COEBodyKey &key) {
    const Entry *pEntry = table.Find(key);
    return pEntry ? *pEntry->pValue : -1;
}

std::vector<COEBodyKey> Keys() {
    std::vector<COEBodyKey> rgKeys;
    for (STOREFOLDERID dwFolder : {1u, 2u, 0xFFFFFFFFu})
        for (MESSAGEID dwMessage = 0; dwMessage < 3000; dwMessage += (dwMessage < 100 ? 1 : 7))
            for (ULONG nTag : {0x1000001Eu, 0x1013001Eu, 0x1000001Fu}) rgKeys.emplace_back(dwFolder, dwMessage, nTag);
    rgKeys.emplace_back(0, 0xFFFFFFFFu, 0);
    return rgKeys;
}

TEST(BodyTable, EveryKeyFindsItsOwnEntryThroughGrowth) {
    COEBodyTable<Entry> table;
    std::vector<COEBodyKey> rgKeys = Keys();
    ASSERT_GT(rgKeys.size(), 4000u); // several growths
    EXPECT_EQ(ValueOf(table, rgKeys[0]), -1);
    for (size_t i = 0; i < rgKeys.size(); i++) {
        table.Insert(rgKeys[i], Entry{std::make_unique<int>(static_cast<int>(i))});
        ASSERT_EQ(ValueOf(table, rgKeys[i]), static_cast<int>(i));
    }
    EXPECT_EQ(table.Count(), rgKeys.size());
    for (size_t i = 0; i < rgKeys.size(); i++) EXPECT_EQ(ValueOf(table, rgKeys[i]), static_cast<int>(i)) << i;
    EXPECT_EQ(ValueOf(table, COEBodyKey(3, 5, 0x1000001E)), -1);
    EXPECT_EQ(ValueOf(table, COEBodyKey(1, 5, 0x1000001D)), -1);
    EXPECT_EQ(ValueOf(table, COEBodyKey(1, 101, 0x1000001E)), -1); // between the stepped ids
}

TEST(BodyTable, ASecondInsertKeepsTheFirstEntryAndAClearForgetsAll) {
    COEBodyTable<Entry> table;
    COEBodyKey key(7, 9, 0x1000001E);
    table.Insert(key, Entry{std::make_unique<int>(1)});
    table.Insert(key, Entry{std::make_unique<int>(2)});
    EXPECT_EQ(ValueOf(table, key), 1);
    EXPECT_EQ(table.Count(), 1u);
    table.Clear();
    EXPECT_EQ(table.Count(), 0u);
    EXPECT_EQ(ValueOf(table, key), -1);
    table.Insert(key, Entry{std::make_unique<int>(3)});
    EXPECT_EQ(ValueOf(table, key), 3);
}

} // namespace
