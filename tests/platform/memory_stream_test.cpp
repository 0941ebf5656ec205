#include <gtest/gtest.h>

#include <string>

#include "platform/com.h"

namespace {

std::string ReadAll(IStream *pStream) {
    std::string out;
    char buf[7];
    ULONG cb = 0;
    while (pStream->Read(buf, sizeof buf, &cb) == S_OK && cb > 0) out.append(buf, cb);
    return out;
}

LARGE_INTEGER Offset(int64_t n) { return LARGE_INTEGER{n}; }

TEST(MemoryStream, WriteSeekReadAndStat) {
    IStream *pStream = nullptr;
    ASSERT_EQ(CreateStreamOnHGlobal(nullptr, true, &pStream), S_OK);
    ULONG cb = 0;
    EXPECT_EQ(pStream->Write("Hello, world", 12, &cb), S_OK);
    EXPECT_EQ(cb, 12u);
    ULARGE_INTEGER pos{};
    EXPECT_EQ(pStream->Seek(Offset(0), STREAM_SEEK_CUR, &pos), S_OK);
    EXPECT_EQ(pos.QuadPart, 12u);
    EXPECT_EQ(ReadAll(pStream), ""); // at the end
    EXPECT_EQ(pStream->Seek(Offset(0), STREAM_SEEK_SET, nullptr), S_OK);
    EXPECT_EQ(ReadAll(pStream), "Hello, world");
    EXPECT_EQ(pStream->Seek(Offset(-5), STREAM_SEEK_END, &pos), S_OK);
    EXPECT_EQ(pos.QuadPart, 7u);
    EXPECT_EQ(ReadAll(pStream), "world");
    STATSTG stat{};
    stat.pwcsName = reinterpret_cast<char *>(1);
    EXPECT_EQ(pStream->Stat(&stat, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(stat.cbSize.QuadPart, 12u);
    EXPECT_EQ(stat.pwcsName, nullptr);
    EXPECT_EQ(pStream->Commit(STGC_DEFAULT), S_OK);
    EXPECT_EQ(pStream->Release(), 0u);
}

TEST(MemoryStream, WritingBeyondTheEndFillsWithZeros) {
    IStream *pStream = nullptr;
    ASSERT_EQ(CreateStreamOnHGlobal(nullptr, true, &pStream), S_OK);
    EXPECT_EQ(pStream->Seek(Offset(3), STREAM_SEEK_SET, nullptr), S_OK);
    EXPECT_EQ(pStream->Write("x", 1, nullptr), S_OK);
    pStream->Seek(Offset(0), STREAM_SEEK_SET, nullptr);
    EXPECT_EQ(ReadAll(pStream), std::string("\0\0\0x", 4));
    pStream->Release();
}

TEST(MemoryStream, SetSizeTruncatesAndGrows) {
    IStream *pStream = nullptr;
    ASSERT_EQ(CreateStreamOnBytes("abcdef", 6, &pStream), S_OK);
    EXPECT_EQ(pStream->SetSize(ULARGE_INTEGER{3}), S_OK);
    EXPECT_EQ(ReadAll(pStream), "abc");
    EXPECT_EQ(pStream->SetSize(ULARGE_INTEGER{5}), S_OK);
    pStream->Seek(Offset(0), STREAM_SEEK_SET, nullptr);
    EXPECT_EQ(ReadAll(pStream), std::string("abc\0\0", 5));
    pStream->Release();
}

TEST(MemoryStream, BadArgumentsAreRefused) {
    IStream *pStream = nullptr;
    EXPECT_EQ(CreateStreamOnHGlobal(nullptr, true, nullptr), E_INVALIDARG);
    int nHandle = 0;
    EXPECT_EQ(CreateStreamOnHGlobal(&nHandle, true, &pStream), E_INVALIDARG);
    EXPECT_EQ(pStream, nullptr);
    EXPECT_EQ(CreateStreamOnBytes(nullptr, 4, &pStream), E_INVALIDARG);
    ASSERT_EQ(CreateStreamOnBytes(nullptr, 0, &pStream), S_OK);
    EXPECT_NE(pStream->Seek(Offset(-1), STREAM_SEEK_SET, nullptr), S_OK);
    EXPECT_NE(pStream->Seek(Offset(0), 7, nullptr), S_OK);
    EXPECT_EQ(pStream->Read(nullptr, 4, nullptr), E_POINTER);
    EXPECT_EQ(pStream->Stat(nullptr, STATFLAG_NONAME), E_POINTER);
    pStream->Release();
}

TEST(MemoryStream, ReferenceCountingAndInterfaces) {
    IStream *pStream = nullptr;
    ASSERT_EQ(CreateStreamOnBytes("ab", 2, &pStream), S_OK);
    IUnknown *pUnknown = nullptr;
    EXPECT_EQ(pStream->QueryInterface(IID_IUnknown, reinterpret_cast<void **>(&pUnknown)), S_OK);
    IStream *pAgain = nullptr;
    EXPECT_EQ(pStream->QueryInterface(IID_IStream, reinterpret_cast<void **>(&pAgain)), S_OK);
    EXPECT_EQ(pAgain, pStream);
    void *pOther = reinterpret_cast<void *>(1);
    EXPECT_EQ(pStream->QueryInterface(GUID_NULL, &pOther), E_NOINTERFACE);
    EXPECT_EQ(pOther, nullptr);
    EXPECT_EQ(pStream->Release(), 2u);
    EXPECT_EQ(pAgain->Release(), 1u);
    EXPECT_EQ(pUnknown->Release(), 0u);
}

} // namespace
