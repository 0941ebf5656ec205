#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/log_capture.h"
#include "support/memory_store.h"

using testsupport::CLogCapture;
using testsupport::CMemoryStore;

namespace {

constexpr ULONG kText = 0x1000001E;   // a text stream
constexpr ULONG kBytes = 0x10090102;  // a binary stream
constexpr ULONG kOther = 0x10130102;

std::string Pattern(size_t n) {
    std::string s(n, '\0');
    for (size_t i = 0; i < n; ++i) s[i] = static_cast<char>('a' + i % 26);
    return s;
}

// Two items A and B of one store, open for the test; at the end every handle, stream and buffer must be back.
class StreamTest : public ::testing::Test {
protected:
    void Open() {
        ASSERT_EQ(store.OpenItem("A", &hA, false), S_OK);
        ASSERT_EQ(store.OpenItem("B", &hB, false), S_OK);
    }
    void TearDown() override {
        store.CloseItem(&hA);
        store.CloseItem(&hB);
        EXPECT_EQ(store.StreamsOpen(), 0);
        EXPECT_EQ(store.BuffersOut(), 0);
        EXPECT_EQ(store.BadHandles(), 0);
    }
    CMemoryStore::ItemBuilder A() { return store.AddItem("F", "A"); }
    CMemoryStore::ItemBuilder B() { return store.AddItem("F", "B"); }

    CMemoryStore store;
    HITEM hA = nullptr, hB = nullptr;
};

// ---- StreamPropEmpty

class StreamPropEmptyTest : public StreamTest {
protected:
    HRESULT Ask(ULONG nTag, bool bSize = true) {
        bEmpty = 77;
        nSize = 0xDEAD;
        return store.StreamPropEmpty(hA, nTag, &bEmpty, bSize ? &nSize : nullptr);
    }
    BOOL bEmpty = 0;
    ULONG nSize = 0;
};

TEST_F(StreamPropEmptyTest, MissingPropertyIsEmptyWithSuccess) {
    A();
    B();
    Open();
    CLogCapture log;
    EXPECT_EQ(Ask(kText), S_OK);
    EXPECT_TRUE(bEmpty);
    EXPECT_EQ(nSize, 0u);
    EXPECT_TRUE(log.Lines().empty());
}

TEST_F(StreamPropEmptyTest, ContentIsNotEmptyAndSized) {
    A().Stream(kText, "Hello").Stream(kBytes, Pattern(1000));
    B();
    Open();
    EXPECT_EQ(Ask(kText), S_OK);
    EXPECT_FALSE(bEmpty);
    EXPECT_EQ(nSize, 5u);
    EXPECT_EQ(Ask(kBytes), S_OK);
    EXPECT_FALSE(bEmpty);
    EXPECT_EQ(nSize, 1000u);
}

TEST_F(StreamPropEmptyTest, TextBeginningWithZeroIsEmptyWhateverItsSize) {
    A().Stream(kText, std::string("\0abc", 4)).Stream(kBytes, std::string("\0abc", 4));
    B();
    Open();
    EXPECT_EQ(Ask(kText), S_OK);
    EXPECT_TRUE(bEmpty);
    EXPECT_EQ(nSize, 0u);
    EXPECT_EQ(Ask(kBytes), S_OK); // bytes are bytes
    EXPECT_FALSE(bEmpty);
    EXPECT_EQ(nSize, 4u);
}

TEST_F(StreamPropEmptyTest, StreamWithoutBytesIsEmpty) {
    A().Stream(kBytes, "");
    B();
    Open();
    EXPECT_EQ(Ask(kBytes), S_OK);
    EXPECT_TRUE(bEmpty);
    EXPECT_EQ(nSize, 0u);
}

TEST_F(StreamPropEmptyTest, SizeIsOptionalAndThenNoStat) {
    A().Stream(kBytes, "xyz").FailStreamStat(kBytes, STG_E_ACCESSDENIED);
    B();
    Open();
    EXPECT_EQ(Ask(kBytes, false), S_OK);
    EXPECT_FALSE(bEmpty);
}

TEST_F(StreamPropEmptyTest, OpenFailureIsLoggedAndReturnedWithTheFlagSet) {
    A().FailOpenStream(kText, -1); // as the address book answers
    B();
    Open();
    CLogCapture log;
    EXPECT_EQ(Ask(kText), -1);
    EXPECT_TRUE(bEmpty);
    EXPECT_EQ(nSize, 0u);
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines()[0], "Err[0xffffffff] in ICompare::StreamPropEmpty: OpenStreamProp");
}

TEST_F(StreamPropEmptyTest, StatFailureIsLoggedAndReturned) {
    A().Stream(kBytes, "xyz").FailStreamStat(kBytes, STG_E_ACCESSDENIED);
    B();
    Open();
    CLogCapture log;
    EXPECT_EQ(Ask(kBytes), STG_E_ACCESSDENIED);
    EXPECT_TRUE(bEmpty);
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines()[0], "Err[0x80030005] in ICompare::StreamPropEmpty: lpStream->Stat");
}

TEST_F(StreamPropEmptyTest, ReadFailureIsLoggedAndReturned) {
    A().Stream(kBytes, "xyz").FailStreamRead(kBytes, STG_E_READFAULT);
    B();
    Open();
    CLogCapture log;
    EXPECT_EQ(Ask(kBytes), STG_E_READFAULT);
    EXPECT_TRUE(bEmpty);
    EXPECT_EQ(nSize, 3u); // the size was known before the read failed
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines()[0], "Err[0x8003001e] in ICompare::StreamPropEmpty: lpStream->Read");
}

// ---- CompareStreamProp

class CompareStreamPropTest : public StreamTest {
protected:
    HRESULT Compare(ULONG nTag) {
        nResult = kPreset;
        bWritten = 99;
        return store.CompareStreamProp(hA, hB, nTag, &nResult, &bWritten);
    }
    // Compares two byte streams of the given contents.
    LONG CompareBytes(const std::string &a, const std::string &b) {
        A().Stream(kBytes, a);
        B().Stream(kBytes, b);
        if (!hA) Open();
        EXPECT_EQ(Compare(kBytes), S_OK);
        EXPECT_TRUE(bWritten);
        return nResult;
    }
    static constexpr LONG kPreset = 4711;
    LONG nResult = 0;
    uint8_t bWritten = 0;
};

TEST_F(CompareStreamPropTest, EqualBinaryStreamsAcrossBlockBoundaries) {
    for (size_t n : {1, 255, 256, 257, 512, 513, 1000}) {
        SCOPED_TRACE(n);
        EXPECT_EQ(CompareBytes(Pattern(n), Pattern(n)), 0);
    }
}

TEST_F(CompareStreamPropTest, LongerStreamSortsAfterItsBeginning) {
    const struct {
        size_t n1, n2;
        LONG nExpected;
    } cases[] = {{256, 257, -1}, {257, 256, 1}, {512, 513, -1}, {513, 512, 1}, {255, 256, -1}, {100, 356, -1}};
    for (const auto &c : cases) {
        SCOPED_TRACE(std::to_string(c.n1) + " against " + std::to_string(c.n2));
        EXPECT_EQ(CompareBytes(Pattern(c.n1), Pattern(c.n2)), c.nExpected);
    }
}

TEST_F(CompareStreamPropTest, DifferenceInTheSecondBlockIsFoundAndBytesAreUnsigned) {
    std::string a = Pattern(300), b = a;
    a[280] = '\xFF';
    b[280] = '\x7F';
    EXPECT_EQ(CompareBytes(a, b), 1);
    EXPECT_EQ(CompareBytes(b, a), -1);
}

TEST_F(CompareStreamPropTest, EqualStreamsOf512BytesTakeThreeReadsEach) {
    // Two reads that work are not enough: the third, which finds the end, must happen.
    A().Stream(kBytes, Pattern(512)).FailStreamRead(kBytes, STG_E_READFAULT, 2);
    B().Stream(kBytes, Pattern(512));
    Open();
    CLogCapture log;
    EXPECT_EQ(Compare(kBytes), STG_E_READFAULT);
    EXPECT_EQ(nResult, -1);
    EXPECT_TRUE(bWritten);
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines()[0], "Err[0x8003001e] in ICompare::CompareStreamProp: lpStream1->Read");
}

TEST_F(CompareStreamPropTest, ThreeReadsAreAllThatTwoEqualStreamsOf512BytesNeed) {
    A().Stream(kBytes, Pattern(512)).FailStreamRead(kBytes, STG_E_READFAULT, 3);
    B().Stream(kBytes, Pattern(512)).FailStreamRead(kBytes, STG_E_READFAULT, 3);
    Open();
    EXPECT_EQ(Compare(kBytes), S_OK);
    EXPECT_EQ(nResult, 0);
    EXPECT_TRUE(bWritten);
}

TEST_F(CompareStreamPropTest, DifferentFirstBlocksNeedOneReadEach) {
    A().Stream(kBytes, "a" + Pattern(600)).FailStreamRead(kBytes, STG_E_READFAULT, 1);
    B().Stream(kBytes, "b" + Pattern(600)).FailStreamRead(kBytes, STG_E_READFAULT, 1);
    Open();
    EXPECT_EQ(Compare(kBytes), S_OK);
    EXPECT_EQ(nResult, -1);
}

TEST_F(CompareStreamPropTest, TextIgnoresCaseAcrossBlocks) {
    std::string lower = Pattern(1000), upper = lower;
    for (char &c : upper) c = static_cast<char>(c - 'a' + 'A');
    A().Stream(kText, lower);
    B().Stream(kText, upper);
    Open();
    EXPECT_EQ(Compare(kText), S_OK);
    EXPECT_EQ(nResult, 0);
    EXPECT_TRUE(bWritten);
}

TEST_F(CompareStreamPropTest, TextDifferingInByte300IsDifferent) {
    std::string a = Pattern(400), b = a;
    b[300] = '!';
    A().Stream(kText, a);
    B().Stream(kText, b);
    Open();
    EXPECT_EQ(Compare(kText), S_OK);
    EXPECT_GT(nResult, 0); // 'o' after '!'
    EXPECT_TRUE(bWritten);
}

TEST_F(CompareStreamPropTest, TextBlockEndsAtItsFirstZeroByte) {
    A().Stream(kText, std::string("abc\0XYZ", 7));
    B().Stream(kText, std::string("ABC\0QQQ", 7));
    Open();
    EXPECT_EQ(Compare(kText), S_OK);
    EXPECT_EQ(nResult, 0);
    EXPECT_TRUE(bWritten);
}

TEST_F(CompareStreamPropTest, EmptySideIsNeverCompared) {
    const struct {
        const char *pszA;
        const char *pszB;
    } cases[] = {{nullptr, "x"}, {"x", nullptr}, {nullptr, nullptr}, {"", "x"}};
    int nItem = 0;
    for (ULONG nTag : {kText, kBytes}) {
        for (const auto &c : cases) {
            std::string a = "A" + std::to_string(nItem), b = "B" + std::to_string(nItem++);
            auto itemA = store.AddItem("G", a);
            auto itemB = store.AddItem("G", b);
            if (c.pszA) itemA.Stream(nTag, c.pszA);
            if (c.pszB) itemB.Stream(nTag, c.pszB);
            HITEM h1 = nullptr, h2 = nullptr;
            store.OpenItem(a.c_str(), &h1, false);
            store.OpenItem(b.c_str(), &h2, false);
            LONG n = kPreset;
            uint8_t bWrittenHere = 1;
            EXPECT_EQ(store.CompareStreamProp(h1, h2, nTag, &n, &bWrittenHere), S_OK);
            EXPECT_FALSE(bWrittenHere);
            EXPECT_EQ(n, kPreset);
            store.CloseItem(&h1);
            store.CloseItem(&h2);
        }
    }
    // A text that begins with a zero byte is empty as text.
    A().Stream(kText, std::string("\0abc", 4));
    B().Stream(kText, "abc");
    Open();
    EXPECT_EQ(Compare(kText), S_OK);
    EXPECT_FALSE(bWritten);
}

TEST_F(CompareStreamPropTest, OpenFailureReportsADifference) {
    A().Stream(kBytes, "x");
    B().Stream(kBytes, "x").FailOpenStream(kBytes, MAPI_E_NO_ACCESS);
    Open();
    CLogCapture log;
    EXPECT_EQ(Compare(kBytes), MAPI_E_NO_ACCESS);
    EXPECT_EQ(nResult, -1);
    EXPECT_TRUE(bWritten);
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines()[0], "Err[0x80070005] in ICompare::CompareStreamProp: OpenStreamProp");
}

TEST_F(CompareStreamPropTest, SecondReadFailureReportsADifference) {
    A().Stream(kText, "same");
    B().Stream(kText, "same").FailStreamRead(kText, STG_E_READFAULT);
    Open();
    CLogCapture log;
    EXPECT_EQ(Compare(kText), STG_E_READFAULT);
    EXPECT_EQ(nResult, -1);
    EXPECT_TRUE(bWritten);
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines()[0], "Err[0x8003001e] in ICompare::CompareStreamProp: lpStream2->Read");
}

// ---- CountStreamProps

using CountStreamPropsTest = StreamTest;

TEST_F(CountStreamPropsTest, EmptyListGivesZeroAndLeavesSizesAlone) {
    A();
    B();
    Open();
    ULONG words[1] = {0};
    ULONG nFilled = 9, sizes[1] = {1234};
    EXPECT_EQ(store.CountStreamProps(hA, reinterpret_cast<SPropTagArray *>(words), &nFilled, sizes), S_OK);
    EXPECT_EQ(nFilled, 0u);
    EXPECT_EQ(sizes[0], 1234u);
}

TEST_F(CountStreamPropsTest, CountsStreamsWithContent) {
    A().Stream(kText, "Hello").Stream(kBytes, Pattern(300)).FailOpenStream(kOther, MAPI_E_NO_ACCESS);
    B();
    Open();
    CLogCapture log;
    ULONG words[5] = {4, kText, 0x1014001E, kBytes, kOther};
    ULONG nFilled = 0, sizes[4] = {9, 9, 9, 9};
    EXPECT_EQ(store.CountStreamProps(hA, reinterpret_cast<SPropTagArray *>(words), &nFilled, sizes), S_OK);
    EXPECT_EQ(nFilled, 2u);
    EXPECT_EQ(sizes[0], 5u);
    EXPECT_EQ(sizes[1], 0u);
    EXPECT_EQ(sizes[2], 300u);
    EXPECT_EQ(sizes[3], 0u);
    ASSERT_EQ(log.Lines().size(), 1u); // the failure was logged by StreamPropEmpty, the count goes on
    EXPECT_EQ(log.Lines()[0], "Err[0x80070005] in ICompare::StreamPropEmpty: OpenStreamProp");
    EXPECT_EQ(store.CountStreamProps(hA, reinterpret_cast<SPropTagArray *>(words), &nFilled, nullptr), S_OK);
    EXPECT_EQ(log.Lines().size(), 2u);
    EXPECT_EQ(nFilled, 2u);
}

// ---- GetStreamPropValue

class GetStreamPropValueTest : public StreamTest {
protected:
    HRESULT Get(ULONG nTag, BOOL bTerminate) {
        pBuffer = reinterpret_cast<void *>(1);
        cb = 99;
        return store.GetStreamPropValue(hA, nTag, &pBuffer, &cb, bTerminate);
    }
    void TearDown() override {
        if (pBuffer != reinterpret_cast<void *>(1)) store.FreeBuffer(pBuffer);
        StreamTest::TearDown();
    }
    void *pBuffer = nullptr;
    ULONG cb = 0;
};

TEST_F(GetStreamPropValueTest, TerminatedBufferHasTwoZeroBytesBehindTheData) {
    std::string body = Pattern(700);
    A().Stream(kText, body);
    B();
    Open();
    EXPECT_EQ(Get(kText, true), S_OK);
    ASSERT_NE(pBuffer, nullptr);
    EXPECT_EQ(cb, 700u);
    EXPECT_EQ(std::memcmp(pBuffer, body.data(), 700), 0);
    EXPECT_EQ(static_cast<char *>(pBuffer)[700], '\0');
    EXPECT_EQ(static_cast<char *>(pBuffer)[701], '\0');
    EXPECT_EQ(store.BuffersOut(), 1);
}

TEST_F(GetStreamPropValueTest, UnterminatedBufferHoldsTheData) {
    A().Stream(kBytes, std::string("\0\1\2", 3));
    B();
    Open();
    EXPECT_EQ(Get(kBytes, false), S_OK);
    ASSERT_NE(pBuffer, nullptr);
    EXPECT_EQ(cb, 3u);
    EXPECT_EQ(std::memcmp(pBuffer, "\0\1\2", 3), 0);
}

TEST_F(GetStreamPropValueTest, MissingOrEmptyGivesNoBuffer) {
    A().Stream(kBytes, "");
    B();
    Open();
    EXPECT_EQ(Get(kText, true), S_OK);
    EXPECT_EQ(pBuffer, nullptr);
    EXPECT_EQ(cb, 0u);
    EXPECT_EQ(Get(kBytes, true), S_OK);
    EXPECT_EQ(pBuffer, nullptr);
    EXPECT_EQ(cb, 0u);
}

TEST_F(GetStreamPropValueTest, StatFailureIsLoggedWithItsCode) {
    A().Stream(kBytes, "abc").FailStreamStat(kBytes, STG_E_READFAULT);
    B();
    Open();
    CLogCapture log;
    EXPECT_EQ(Get(kBytes, true), STG_E_READFAULT);
    EXPECT_EQ(pBuffer, nullptr);
    EXPECT_EQ(cb, 0u);
    EXPECT_NE(log.Text().find(" Err[0x8003001e] in ICompare::GetStreamPropValue: pStream->Stat returned 0x8003001e\n\n"),
              std::string::npos)
        << log.Text();
}

TEST_F(GetStreamPropValueTest, ReadFailureGivesTheBufferBack) {
    A().Stream(kBytes, "abc").FailStreamRead(kBytes, STG_E_READFAULT);
    B();
    Open();
    CLogCapture log;
    EXPECT_EQ(Get(kBytes, true), STG_E_READFAULT);
    EXPECT_EQ(pBuffer, nullptr);
    EXPECT_EQ(cb, 0u);
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines()[0], "Err[0x8003001e] in ICompare::GetStreamPropValue: lpStream->Read");
}

TEST_F(GetStreamPropValueTest, AllocationFailureIsLogged) {
    A().Stream(kBytes, "abc");
    B();
    Open();
    store.FailAllocateBuffer(MAPI_E_NOT_ENOUGH_MEMORY);
    CLogCapture log;
    EXPECT_EQ(Get(kBytes, false), MAPI_E_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(pBuffer, nullptr);
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines()[0], "Err[0x8007000e] in ICompare::GetStreamPropValue: AllocateBuffer");
}

TEST_F(GetStreamPropValueTest, OpenFailureIsLogged) {
    A().FailOpenStream(kBytes, MAPI_E_NO_ACCESS);
    B();
    Open();
    CLogCapture log;
    EXPECT_EQ(Get(kBytes, false), MAPI_E_NO_ACCESS);
    EXPECT_EQ(pBuffer, nullptr);
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines()[0], "Err[0x80070005] in ICompare::GetStreamPropValue: OpenStreamProp");
}

} // namespace
