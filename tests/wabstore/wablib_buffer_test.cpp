// The address book's allocator through CWABLib.
#include "wab_fixture.h"

using WabBufferTest = WabFixture;

TEST_F(WabBufferTest, AllocatesAndFreesThroughTheAddressBook) {
    Connect();
    void *p = nullptr;
    ASSERT_EQ(m_lib.AllocateBuffer(16, &p), S_OK);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(m_pWab->LiveBuffers(), 1u);
    EXPECT_EQ(m_lib.FreeBuffer(p), S_OK);
    EXPECT_EQ(m_pWab->LiveBuffers(), 0u);
    EXPECT_EQ(Logged(), "");
}

TEST_F(WabBufferTest, FreeBufferHandsOnTheAllocatorsResult) {
    Connect();
    void *p = nullptr;
    ASSERT_EQ(m_lib.AllocateBuffer(8, &p), S_OK);
    m_pWab->hrFree = MAPI_E_CALL_FAILED;
    EXPECT_EQ(m_lib.FreeBuffer(p), MAPI_E_CALL_FAILED);
}

TEST_F(WabBufferTest, FreeBufferOfNullAssertsAndCallsNothing) {
    Connect();
    EXPECT_EQ(m_lib.FreeBuffer(nullptr), -1);
    EXPECT_EQ(m_pWab->cFreeCalls, 0);
    EXPECT_EQ(Logged(), "Err in CWABLib::FreeBuffer: ASSERT failed in line 1\n");
}

TEST_F(WabBufferTest, WithoutConnectionBothGiveMinusTwo) {
    int n = 0;
    EXPECT_EQ(m_lib.FreeBuffer(&n), -2);
    EXPECT_EQ(Logged(), "Err in CWABLib::FreeBuffer: ASSERT failed in line 0\n");
    m_log.Clear();
    void *p = &n;
    EXPECT_EQ(m_lib.AllocateBuffer(4, &p), -2);
    EXPECT_EQ(Logged(), "Err in CWABLib::AllocateBuffer: ASSERT failed in line 0\n");
}

TEST_F(WabBufferTest, AllocateWithNullOutGivesMinusOne) {
    Connect();
    EXPECT_EQ(m_lib.AllocateBuffer(4, nullptr), -1);
    EXPECT_EQ(Logged(), "Err in CWABLib::AllocateBuffer: ASSERT failed in line 1\n");
    EXPECT_EQ(m_pWab->LiveBuffers(), 0u);
}

TEST_F(WabBufferTest, AllocateOfZeroBytesAssertsAndGoesOn) {
    Connect();
    void *p = nullptr;
    EXPECT_EQ(m_lib.AllocateBuffer(0, &p), S_OK);
    EXPECT_NE(p, nullptr);
    EXPECT_EQ(Logged(), "Err in CWABLib::AllocateBuffer: ASSERT failed in line 1\n");
    m_lib.FreeBuffer(p);
}

TEST_F(WabBufferTest, AllocatorFailureIsTheResult) {
    Connect();
    m_pWab->hrAllocate = MAPI_E_NOT_ENOUGH_MEMORY;
    void *p = nullptr;
    EXPECT_EQ(m_lib.AllocateBuffer(4, &p), MAPI_E_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(p, nullptr);
}
