#include <gtest/gtest.h>

#include "compare/value_helpers.h"
#include "support/log_capture.h"
#include "support/memory_store.h"

using namespace valuetest;
using testsupport::CLogCapture;
using testsupport::CMemoryStore;

namespace {

struct Emptiness {
    BOOL bEmpty;
    ULONG nSize;
};

Emptiness Ask(const SPropValue &v) {
    CMemoryStore store;
    Emptiness e{};
    e.nSize = 0xDEADBEEF;
    e.bEmpty = store.IsEmptyValue(&v.Value, v.ulPropTag, &e.nSize);
    return e;
}

TEST(IsEmptyValue, FixedSizeValuesAreNeverEmptyEvenWhenZero) {
    const struct {
        ULONG nType;
        ULONG nSize;
    } cases[] = {{PT_I2, 2},      {PT_LONG, 4},     {PT_R4, 4},       {PT_DOUBLE, 8}, {PT_CURRENCY, 8},
                 {PT_APPTIME, 8}, {PT_I8, 8},       {PT_SYSTIME, 8},  {PT_CLSID, 16}, {PT_BOOLEAN, 1},
                 {PT_NULL, 1},    {PT_OBJECT, 1},   {PT_UNSPECIFIED, 1}};
    CLogCapture log;
    for (const auto &c : cases) {
        Emptiness e = Ask(Prop(c.nType));
        EXPECT_FALSE(e.bEmpty) << std::hex << c.nType;
        EXPECT_EQ(e.nSize, c.nSize) << std::hex << c.nType;
    }
    EXPECT_TRUE(log.Lines().empty());
}

TEST(IsEmptyValue, NotFoundErrorIsEmptyAndSilent) {
    CLogCapture log;
    Emptiness e = Ask(Error(MAPI_E_NOT_FOUND));
    EXPECT_TRUE(e.bEmpty);
    EXPECT_EQ(e.nSize, 0u);
    EXPECT_TRUE(log.Lines().empty());
}

TEST(IsEmptyValue, OtherErrorIsAValueWithAWarning) {
    CLogCapture log;
    Emptiness e = Ask(Error(MAPI_E_CALL_FAILED));
    EXPECT_FALSE(e.bEmpty);
    EXPECT_EQ(e.nSize, 1u);
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines()[0],
              "War[0x80004005] in ICompare::IsEmptyValue: Type=PT_ERROR, Value(0x80004005)!=MAPI_E_NOT_FOUND");
}

TEST(IsEmptyValue, Text8CountsBytesWithoutTheEnd) {
    EXPECT_TRUE(Ask(Text(nullptr)).bEmpty);
    EXPECT_EQ(Ask(Text(nullptr)).nSize, 0u);
    EXPECT_TRUE(Ask(Text("")).bEmpty);
    EXPECT_EQ(Ask(Text("")).nSize, 0u);
    EXPECT_FALSE(Ask(Text("abc")).bEmpty);
    EXPECT_EQ(Ask(Text("abc")).nSize, 3u);
    EXPECT_EQ(Ask(Text("Zo\xC3\xAB")).nSize, 4u); // bytes, not characters
    EXPECT_FALSE(Ask(Text(" ")).bEmpty);           // a blank is content
}

TEST(IsEmptyValue, WideTextCountsTwoBytesPerCharacter) {
    EXPECT_TRUE(Ask(Wide(nullptr)).bEmpty);
    EXPECT_TRUE(Ask(Wide(u"")).bEmpty);
    EXPECT_EQ(Ask(Wide(u"")).nSize, 0u);
    EXPECT_FALSE(Ask(Wide(u"Zo\u00EB")).bEmpty);
    EXPECT_EQ(Ask(Wide(u"Zo\u00EB")).nSize, 6u);
}

TEST(IsEmptyValue, BinaryCountsBytes) {
    std::vector<BYTE> none, three{1, 2, 3}, zeros{0, 0};
    EXPECT_TRUE(Ask(Binary(none)).bEmpty);
    EXPECT_EQ(Ask(Binary(none)).nSize, 0u);
    EXPECT_EQ(Ask(Binary(three)).nSize, 3u);
    EXPECT_FALSE(Ask(Binary(zeros)).bEmpty);
}

TEST(IsEmptyValue, FixedSizeListsAreCountTimesElementSize) {
    const struct {
        ULONG nType;
        ULONG nElement;
    } cases[] = {{PT_MV_I2, 2},      {PT_MV_LONG, 4},    {PT_MV_R4, 4},      {PT_MV_DOUBLE, 8},
                 {PT_MV_CURRENCY, 8}, {PT_MV_APPTIME, 8}, {PT_MV_I8, 8},      {PT_MV_SYSTIME, 8},
                 {PT_MV_CLSID, 16}};
    int64_t storage[8] = {};
    for (const auto &c : cases) {
        SPropValue v = Prop(c.nType);
        v.Value.MVli.lpli = storage;
        v.Value.MVli.cValues = 0;
        EXPECT_TRUE(Ask(v).bEmpty) << std::hex << c.nType;
        EXPECT_EQ(Ask(v).nSize, 0u);
        v.Value.MVli.cValues = 3;
        EXPECT_FALSE(Ask(v).bEmpty) << std::hex << c.nType;
        EXPECT_EQ(Ask(v).nSize, 3 * c.nElement) << std::hex << c.nType;
    }
}

TEST(IsEmptyValue, Text8ListIsEmptyWithOnlyEmptyStrings) {
    char a[] = "ab", b[] = "c", e1[] = "", e2[] = "";
    std::vector<char *> none, empties{e1, e2}, full{a, b}, withNull{nullptr, b};
    EXPECT_TRUE(Ask(TextList(none)).bEmpty);
    EXPECT_TRUE(Ask(TextList(empties)).bEmpty);
    EXPECT_EQ(Ask(TextList(empties)).nSize, 0u);
    EXPECT_FALSE(Ask(TextList(full)).bEmpty);
    EXPECT_EQ(Ask(TextList(full)).nSize, 3u);
    EXPECT_EQ(Ask(TextList(withNull)).nSize, 1u);
}

TEST(IsEmptyValue, WideListCountsOnePerStringPlusCharacters) {
    char16_t a[] = u"ab", b[] = u"c", e1[] = u"", e2[] = u"";
    std::vector<char16_t *> none, empties{e1, e2}, full{a, b};
    EXPECT_TRUE(Ask(WideList(none)).bEmpty);
    EXPECT_EQ(Ask(WideList(none)).nSize, 0u);
    EXPECT_FALSE(Ask(WideList(empties)).bEmpty);
    EXPECT_EQ(Ask(WideList(empties)).nSize, 2u);
    EXPECT_EQ(Ask(WideList(full)).nSize, 5u);
}

TEST(IsEmptyValue, BinaryListIsCountTimesFirstLength) {
    BYTE bytes[5] = {1, 2, 3, 4, 5};
    std::vector<SBinary> none, firstEmpty{{0, bytes}, {5, bytes}}, two{{3, bytes}, {5, bytes}};
    EXPECT_TRUE(Ask(BinaryList(none)).bEmpty);
    EXPECT_TRUE(Ask(BinaryList(firstEmpty)).bEmpty);
    EXPECT_EQ(Ask(BinaryList(firstEmpty)).nSize, 0u);
    EXPECT_FALSE(Ask(BinaryList(two)).bEmpty);
    EXPECT_EQ(Ask(BinaryList(two)).nSize, 6u);
}

TEST(IsEmptyValue, SizeIsOptionalAndTypeComesFromTheTagArgument) {
    CMemoryStore store;
    SPropValue v = Text("abc");
    EXPECT_FALSE(store.IsEmptyValue(&v.Value, v.ulPropTag, nullptr));
    // The same bits read as a count of 0 under a binary tag.
    SPropValue b = Prop(PT_BINARY);
    ULONG nSize = 7;
    EXPECT_TRUE(store.IsEmptyValue(&b.Value, PROP_TAG(PT_BINARY, 0x1234), &nSize));
    EXPECT_EQ(nSize, 0u);
}

} // namespace
