// A Maildir store in a temporary directory, opened through the exports as a host would: TESSEL_MAILDIR points at
// it, CreateTessel and OEInit connect, and the listing exports give the entries.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/paths.h"
#include "tessel.h"

namespace oetest {

namespace fs = std::filesystem;

// One listed message: its entry and the folder's.
struct ListedItem {
    std::string strEntry;
    std::string strFolder;
    OEItem item; // the full record, texts not kept
};

class StoreTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Writes a message file into the Inbox (cur/, with the given info flags) before Connect.
    fs::path Deliver(const std::string &strSource, const std::string &strFlags = "S");
    // CreateTessel and OEInit over the store; fails the test on error.
    void Connect();
    // Every message of every folder, in folder order and store order.
    std::vector<ListedItem> ListAll();

    testsupport::TempDir m_temp;
    CTessel *m_pLib = nullptr;
    int m_nDelivered = 0;
};

} // namespace oetest
