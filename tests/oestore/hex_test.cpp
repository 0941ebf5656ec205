#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "oestore/hex.h"

namespace {

struct FreeDeleter {
    void operator()(void *p) const { std::free(p); }
};

std::vector<BYTE> BytesOf(const char *szHex, ULONG *pcb = nullptr) {
    ULONG cb = 12345;
    std::unique_ptr<BYTE, FreeDeleter> p(Hex2Bin(szHex, &cb));
    EXPECT_NE(p, nullptr);
    if (pcb) *pcb = cb;
    return p ? std::vector<BYTE>(p.get(), p.get() + cb) : std::vector<BYTE>();
}

std::string HexOf(const std::vector<BYTE> &bytes) {
    std::unique_ptr<char, FreeDeleter> p(Bin2Hex(bytes.data(), static_cast<ULONG>(bytes.size())));
    return p ? std::string(p.get()) : std::string("(null)");
}

TEST(Hex2Dec, ReadsEitherCase) {
    EXPECT_EQ(Hex2Dec("1234", 4), 0x1234);
    EXPECT_EQ(Hex2Dec("aBcD", 4), 0xABCD);
    EXPECT_EQ(Hex2Dec("7fffffff", 8), 0x7FFFFFFF);
    EXPECT_EQ(Hex2Dec("FFFFFFFF", 8), -1);
    EXPECT_EQ(Hex2Dec("12345", 2), 0x12);
}

TEST(Hex2Dec, FewerThanOneDigitGivesZero) {
    EXPECT_EQ(Hex2Dec("FF", 0), 0);
    EXPECT_EQ(Hex2Dec("FF", -3), 0);
}

TEST(Hex2Dec, BadDigitGivesMinusOneAndTheScanGoesOn) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(Hex2Dec("1G", 2), -1);
    EXPECT_EQ(Hex2Dec("G1", 2), -15); // -1 * 16 + 1
    EXPECT_EQ(Hex2Dec("-", 1), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Hex2DecError\nHex2DecError\nHex2DecError\n");
}

// Each of the 255 non-zero byte values as a lone digit: the sixteen digits of either case read as themselves,
// everything else, the neighbours of the digit ranges included, as a bad digit.
TEST(Hex2Dec, OnlyHexadecimalDigitsOfEitherCaseAreDigits) {
    const std::string strDigits = "0123456789abcdef";
    testing::internal::CaptureStderr();
    int nBad = 0;
    for (int c = 1; c < 256; c++) {
        const char sz[2] = {static_cast<char>(c), '\0'};
        size_t nAt = strDigits.find(static_cast<char>(c >= 'A' && c <= 'F' ? c - 'A' + 'a' : c));
        int32_t nExpected = nAt == std::string::npos ? -1 : static_cast<int32_t>(nAt);
        EXPECT_EQ(Hex2Dec(sz, 1), nExpected) << "byte " << c;
        nBad += nExpected < 0;
    }
    std::string strErr = testing::internal::GetCapturedStderr();
    EXPECT_EQ(nBad, 255 - 22);
    EXPECT_EQ(strErr.size(), static_cast<size_t>(nBad) * std::string("Hex2DecError\n").size());
}

TEST(Hex2Dec, StopsAtTheTerminator) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(Hex2Dec("A", 8), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Hex2DecError\n");
}

TEST(Hex2Bin, FolderAndItemEntries) {
    ULONG cb = 0;
    EXPECT_EQ(BytesOf("34120000", &cb), (std::vector<BYTE>{0x34, 0x12, 0, 0}));
    EXPECT_EQ(cb, 4u);
    EXPECT_EQ(BytesOf("3412000056000000", &cb), (std::vector<BYTE>{0x34, 0x12, 0, 0, 0x56, 0, 0, 0}));
    EXPECT_EQ(cb, 8u);
}

TEST(Hex2Bin, LastOddDigitIsIgnored) {
    ULONG cb = 0;
    BytesOf("34120000560000001", &cb);
    EXPECT_EQ(cb, 8u); // 17 digits still make 8 bytes
    BytesOf("341200005600000", &cb);
    EXPECT_EQ(cb, 7u);
    EXPECT_EQ(BytesOf("ABC", &cb), std::vector<BYTE>{0xAB});
}

TEST(Hex2Bin, ShortAndEmptyTexts) {
    ULONG cb = 99;
    EXPECT_EQ(BytesOf("3412", &cb), (std::vector<BYTE>{0x34, 0x12}));
    EXPECT_EQ(cb, 2u);
    EXPECT_TRUE(BytesOf("", &cb).empty());
    EXPECT_EQ(cb, 0u);
    std::unique_ptr<BYTE, FreeDeleter> p(Hex2Bin("00", nullptr)); // the count is optional
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p.get()[0], 0);
    cb = 99;
    EXPECT_EQ(Hex2Bin(nullptr, &cb), nullptr);
    EXPECT_EQ(cb, 0u);
}

TEST(Hex2Bin, BadDigitsKeepTheLowEightBits) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(BytesOf("G1zz"), (std::vector<BYTE>{0xF1, 0xFF}));
    testing::internal::GetCapturedStderr();
}

TEST(Bin2Hex, UpperCaseHighHalfFirst) {
    EXPECT_EQ(HexOf({0x34, 0x12, 0x00, 0x00}), "34120000");
    EXPECT_EQ(HexOf({0x00, 0x0F, 0xF0, 0xAB, 0xFF}), "000FF0ABFF");
    EXPECT_EQ(HexOf({}), "");
}

TEST(Bin2Hex, RoundTripOfAllByteValues) {
    std::vector<BYTE> all(256);
    for (int i = 0; i < 256; ++i) all[i] = static_cast<BYTE>(i);
    std::string hex = HexOf(all);
    ASSERT_EQ(hex.size(), 512u);
    EXPECT_EQ(BytesOf(hex.c_str()), all);
}

std::vector<BYTE> GuidBytes(const GUID &guid) {
    const BYTE *p = reinterpret_cast<const BYTE *>(&guid);
    return std::vector<BYTE>(p, p + sizeof guid);
}

TEST(Str2Guid, RegistryFormToMemoryForm) {
    GUID guid{};
    ASSERT_TRUE(Str2Guid("{E70C92A9-4BFD-11d1-8A95-00C04FB951F3}", &guid));
    EXPECT_EQ(GuidBytes(guid), (std::vector<BYTE>{0xA9, 0x92, 0x0C, 0xE7, 0xFD, 0x4B, 0xD1, 0x11, 0x8A, 0x95, 0x00,
                                                  0xC0, 0x4F, 0xB9, 0x51, 0xF3}));
    EXPECT_EQ(guid.Data1, 0xE70C92A9u);
    EXPECT_EQ(guid.Data2, 0x4BFD);
    EXPECT_EQ(guid.Data3, 0x11D1);
}

TEST(Str2Guid, BareDigitsAndTrailingText) {
    GUID a{}, b{};
    ASSERT_TRUE(Str2Guid("{00020329-0000-0000-C000-000000000046}", &a));
    ASSERT_TRUE(Str2Guid("000203290000 0000c000000000000046 and more: 12", &b));
    EXPECT_EQ(a, b);
    EXPECT_EQ(a.Data1, 0x00020329u);
    EXPECT_EQ(a.Data4[0], 0xC0);
    EXPECT_EQ(a.Data4[7], 0x46);
}

TEST(Str2Guid, TooFewDigitsFailAndLeaveTheGuid) {
    GUID guid = IID_IStream;
    EXPECT_FALSE(Str2Guid("{E70C92A9-4BFD-11d1-8A95-00C04FB951F}", &guid));
    EXPECT_EQ(guid, IID_IStream);
    EXPECT_FALSE(Str2Guid("", &guid));
    EXPECT_FALSE(Str2Guid(nullptr, &guid));
}

} // namespace
