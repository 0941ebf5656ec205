// The room behind the packed value blocks: blocks cut from shared chunks and released one by one, and the texts
// kept once for all their holders.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "oestore/oesharedtexts.h"
#include "oestore/oevaluechunks.h"

namespace {

TEST(ValueChunksTest, BlocksDoNotOverlapAndAreReleasedInAnyOrder) {
    std::vector<char *> blocks;
    {
        COEValueChunks chunks;
        // Enough blocks of odd sizes to fill several chunks.
        for (int i = 0; i < 3000; ++i) {
            size_t cb = 1 + static_cast<size_t>(i % 97);
            auto *p = static_cast<char *>(chunks.Allocate(cb));
            ASSERT_NE(p, nullptr);
            EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % alignof(uint64_t), 0u);
            std::memset(p, i & 0x7F, cb);
            blocks.push_back(p);
        }
        for (size_t i = 0; i < blocks.size(); i += 2) COEValueChunks::Release(blocks[i]);
    }
    // The odd blocks outlive the object they were cut by, with their contents intact.
    for (size_t i = 1; i < blocks.size(); i += 2) {
        size_t cb = 1 + i % 97;
        for (size_t k = 0; k < cb; ++k) ASSERT_EQ(blocks[i][k], static_cast<char>(i & 0x7F));
        COEValueChunks::Release(blocks[i]);
    }
    COEValueChunks::Release(nullptr);
}

TEST(ValueChunksTest, ABlockLargerThanAChunkIsWholeAndItsOwn) {
    COEValueChunks chunks;
    const size_t cbLarge = 300 * 1024;
    auto *pSmall = static_cast<char *>(chunks.Allocate(16));
    auto *pLarge = static_cast<char *>(chunks.Allocate(cbLarge));
    auto *pAfter = static_cast<char *>(chunks.Allocate(16));
    ASSERT_TRUE(pSmall && pLarge && pAfter);
    std::memset(pLarge, 'x', cbLarge);
    EXPECT_TRUE(COEValueChunks::InChunkOf(pLarge, pLarge + cbLarge - 1));
    EXPECT_FALSE(COEValueChunks::InChunkOf(pLarge, pSmall));
    EXPECT_TRUE(COEValueChunks::InChunkOf(pSmall, pAfter)); // the large one didn't end the small ones' chunk
    COEValueChunks::Release(pLarge);
    COEValueChunks::Release(pSmall);
    COEValueChunks::Release(pAfter);
}

TEST(ValueChunksTest, TheRoomOfTheLastBlockAloneIsTakenBack) {
    COEValueChunks chunks;
    void *pKept = chunks.Allocate(40);
    void *pPassing = chunks.Allocate(40);
    chunks.ReleaseOwn(pPassing);
    void *pNext = chunks.Allocate(40);
    EXPECT_EQ(pNext, pPassing); // no hole between the kept blocks
    void *pLater = chunks.Allocate(40);
    chunks.ReleaseOwn(pNext); // not the last one: its room stays taken
    void *pAfter = chunks.Allocate(40);
    EXPECT_NE(pAfter, pNext);
    std::memset(pAfter, 1, 40);
    std::memset(pLater, 2, 40);
    chunks.ReleaseOwn(pKept);
    chunks.ReleaseOwn(pLater);
    chunks.ReleaseOwn(pAfter);
    chunks.ReleaseOwn(nullptr);
}

TEST(ValueChunksTest, AHeapBlockIsInNoChunk) {
    COEValueChunks chunks;
    void *pBlock = chunks.Allocate(64);
    void *pHeap = std::malloc(64);
    EXPECT_TRUE(COEValueChunks::InChunkOf(pBlock, static_cast<char *>(pBlock) + 63));
    EXPECT_FALSE(COEValueChunks::InChunkOf(pBlock, pHeap));
    std::free(pHeap);
    COEValueChunks::Release(pBlock);
}

TEST(SharedTextsTest, EqualTextsAreOneCopyUntilTheLastHolderLetsGo) {
    const char *pszA = OEAcquireSharedText("Re: minutes");
    const char *pszB = OEAcquireSharedText(std::string("Re: minutes"));
    const char *pszOther = OEAcquireSharedText("Re: minutes ");
    ASSERT_TRUE(pszA && pszB && pszOther);
    EXPECT_EQ(pszA, pszB);
    EXPECT_NE(pszA, pszOther);
    EXPECT_STREQ(pszOther, "Re: minutes ");
    OEReleaseSharedText(pszA);
    EXPECT_STREQ(pszB, "Re: minutes");
    EXPECT_EQ(OEAcquireSharedText("Re: minutes"), pszB);
    OEReleaseSharedText(pszB);
    OEReleaseSharedText(pszB);
    OEReleaseSharedText(pszOther);
    const char *pszEmpty = OEAcquireSharedText("");
    ASSERT_NE(pszEmpty, nullptr);
    EXPECT_STREQ(pszEmpty, "");
    OEReleaseSharedText(pszEmpty);
}

TEST(SharedTextsTest, ManyTextsStayFoundWhileOthersGo) {
    // Enough texts to grow the table several times; every third one goes, in an order unlike the table's, so
    // that the texts behind each hole must still be found.
    std::vector<std::string> texts;
    std::vector<const char *> shared;
    for (int i = 0; i < 5000; ++i) {
        texts.push_back("sender " + std::to_string(i * 7919 % 5000));
        shared.push_back(OEAcquireSharedText(texts.back()));
        ASSERT_NE(shared.back(), nullptr);
    }
    for (size_t i = 0; i < shared.size(); i += 3) OEReleaseSharedText(shared[i]);
    for (size_t i = 0; i < shared.size(); ++i) {
        if (i % 3 == 0) continue;
        const char *psz = OEAcquireSharedText(texts[i]);
        EXPECT_EQ(psz, shared[i]) << texts[i];
        EXPECT_STREQ(psz, texts[i].c_str());
        OEReleaseSharedText(psz);
        OEReleaseSharedText(shared[i]);
    }
}

} // namespace
