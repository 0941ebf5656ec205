// The OE exports' own work: the handle check, the refusal of a store that isn't connected, the flags.
#include <gtest/gtest.h>

#include <string>

#include "platform/msgstore.h"
#include "support/log_capture.h"
#include "tessel.h"

namespace {

bool Has(const std::vector<std::string> &lines, const std::string &line) {
    for (const std::string &l : lines)
        if (l == line) return true;
    return false;
}

TEST(OEExports, NullLibraryAssertsAndFails) {
    testsupport::CLogCapture log;
    OEFolders *pFolders = reinterpret_cast<OEFolders *>(0x1);
    OEItems *pItems = nullptr;
    OEItem *pItem = nullptr;
    EXPECT_EQ(OEGetItems(nullptr, &pItems, "01000000", 0, nullptr, 0, 0), -1);
    EXPECT_EQ(OEGetItem(nullptr, &pItem, "0100000001000000", 0), -1);
    EXPECT_EQ(OEMarkItem(nullptr, "0100000001000000", MSG_FLAGGED), -1);
    OEGetFolders(nullptr, &pFolders);
    EXPECT_EQ(pFolders, reinterpret_cast<OEFolders *>(0x1));
    OEFreeFolders(nullptr, nullptr);
    OEFreeItems(nullptr, nullptr);
    OEFreeItem(nullptr, nullptr);
    std::vector<std::string> lines = log.Lines();
    ASSERT_EQ(lines.size(), 7u) << ::testing::PrintToString(lines);
    for (int nPlace : {205, 207, 209, 203, 204, 206, 208})
        EXPECT_TRUE(Has(lines, "Err in pLib != NULL: ASSERT failed in line " + std::to_string(nPlace))) << nPlace;
}

TEST(OEExports, InitWithNullLibraryLogsTheEntryFirst) {
    testsupport::CLogCapture log(3);
    log.Clear();
    EXPECT_EQ(OEInit(nullptr, nullptr, 1), 0);
    std::vector<std::string> lines = log.Lines();
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[lines.size() - 2], "Inf in OEInit: ->");
    EXPECT_EQ(lines.back(), "Err in pLib != NULL: ASSERT failed in line 201");
}

TEST(OEExports, StoreNotConnectedIsRefusedInOrder) {
    CTessel *pLib = nullptr;
    CreateTessel(&pLib);
    ASSERT_NE(pLib, nullptr);
    testsupport::CLogCapture log;
    OEFolders *pFolders = reinterpret_cast<OEFolders *>(0x1);
    OEGetFolders(pLib, &pFolders);
    EXPECT_EQ(pFolders, nullptr);
    OEItems *pItems = nullptr;
    EXPECT_EQ(OEGetItems(pLib, &pItems, "01000000", 0, nullptr, 0, 0), -1);
    EXPECT_EQ(pItems, nullptr);
    OEItem *pItem = nullptr;
    EXPECT_EQ(OEGetItem(pLib, &pItem, "0100000001000000", 1), -1);
    EXPECT_EQ(OEMarkItem(pLib, "0100000001000000", MSG_FLAGGED), -1);
    std::vector<std::string> lines = log.Lines();
    EXPECT_EQ(lines, (std::vector<std::string>{"Err in OEGetFolders: OE is not initialized",
                                               "Err in OEGetItems: OE is not initialized",
                                               "Err in OEGetItem: OE is not initialized",
                                               "Err in OEMarkItem: OE is not initialized"}));
    // The Free exports need no store, and a null list is nothing to them.
    OEFreeFolders(pLib, nullptr);
    OEFreeItems(pLib, nullptr);
    OEFreeItem(pLib, nullptr);
    EXPECT_EQ(log.Lines().size(), 4u);
    DeleteTessel(pLib);
}

} // namespace
