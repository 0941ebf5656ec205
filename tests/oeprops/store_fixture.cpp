#include "store_fixture.h"

#include <cstdlib>
#include <fstream>

namespace oetest {

void StoreTest::SetUp() {
    for (const char *psz : {"cur", "new", "tmp"}) fs::create_directories(m_temp.path() / psz);
    setenv("TESSEL_MAILDIR", m_temp.path().c_str(), 1);
}

void StoreTest::TearDown() {
    if (m_pLib) DeleteTessel(m_pLib);
    m_pLib = nullptr;
    unsetenv("TESSEL_MAILDIR");
}

fs::path StoreTest::Deliver(const std::string &strSource, const std::string &strFlags) {
    // Distinct modification times keep the delivery order, which is the order of the ids.
    ++m_nDelivered;
    fs::path path = m_temp.path() / "cur" / ("1600000000." + std::to_string(m_nDelivered) + ".test:2," + strFlags);
    std::ofstream(path, std::ios::binary) << strSource;
    fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::hours(24) +
                                  std::chrono::seconds(m_nDelivered));
    return path;
}

void StoreTest::Connect() {
    CreateTessel(&m_pLib);
    ASSERT_NE(m_pLib, nullptr);
    ASSERT_TRUE(OEInit(m_pLib, nullptr, 0));
}

std::vector<ListedItem> StoreTest::ListAll() {
    std::vector<ListedItem> all;
    OEFolders *pFolders = nullptr;
    OEGetFolders(m_pLib, &pFolders);
    EXPECT_NE(pFolders, nullptr);
    if (!pFolders) return all;
    for (uint32_t f = 0; f < pFolders->cFolders; ++f) {
        const char *szFolder = pFolders->pFolders[f].szEntry;
        OEItems *pItems = nullptr;
        EXPECT_EQ(OEGetItems(m_pLib, &pItems, szFolder, 0, nullptr, 0, 0), 0);
        if (!pItems) continue;
        for (uint32_t i = 0; i < pItems->cItems; ++i) {
            ListedItem listed{pItems->pItems[i].szEntry, szFolder, pItems->pItems[i]};
            listed.item.szEntry = listed.item.szSubject = listed.item.szDisplayTo = listed.item.szDisplayFrom =
                listed.item.szNormalSubject = nullptr;
            all.push_back(listed);
        }
        OEFreeItems(m_pLib, pItems);
    }
    OEFreeFolders(m_pLib, pFolders);
    return all;
}

} // namespace oetest
