#include <gtest/gtest.h>

#include <climits>
#include <cstring>

#include "compare/value_helpers.h"
#include "support/log_capture.h"
#include "support/memory_store.h"

using namespace valuetest;
using testsupport::CLogCapture;
using testsupport::CMemoryStore;

namespace {

constexpr LONG kPreset = 12345;

// The result of CompareValues, or kPreset when it wrote none.
struct Outcome {
    BOOL bCompared;
    LONG nResult;
};

Outcome Compare(const SPropValue &v1, const SPropValue &v2) {
    CMemoryStore store;
    Outcome o{false, kPreset};
    o.bCompared = store.CompareValues(&v1, &v2, &o.nResult);
    return o;
}

LONG Order(const SPropValue &v1, const SPropValue &v2) {
    Outcome o = Compare(v1, v2);
    EXPECT_TRUE(o.bCompared);
    return o.nResult;
}

int Sign(LONG n) { return n < 0 ? -1 : (n > 0 ? 1 : 0); }

TEST(CompareValuesRefusals, NullValueIsRefusedWithAnError) {
    CLogCapture log;
    CMemoryStore store;
    SPropValue v = Long(1);
    LONG n = kPreset;
    EXPECT_FALSE(store.CompareValues(nullptr, &v, &n));
    EXPECT_FALSE(store.CompareValues(&v, nullptr, &n));
    EXPECT_EQ(n, kPreset);
    ASSERT_EQ(log.Lines().size(), 2u);
    EXPECT_EQ(log.Lines()[0], "Err in ICompare::CompareValues: PropValue1 == NULL || PropValue2 == NULL");
}

TEST(CompareValuesRefusals, DifferentIdentifiersAreRefusedWhateverTheValues) {
    CLogCapture log;
    SPropValue v1 = Long(1), v2 = Long(1);
    v2.ulPropTag = PROP_TAG(PT_LONG, 0x3002);
    Outcome o = Compare(v1, v2);
    EXPECT_FALSE(o.bCompared);
    EXPECT_EQ(o.nResult, kPreset);
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines()[0], "Err in ICompare::CompareValues: PropValue1->Tag != PropValue2->Tag");
}

TEST(CompareValuesRefusals, ErrorOnEitherSideIsRefusedWithItsCode) {
    CLogCapture log;
    SPropValue err = Error(MAPI_E_NOT_FOUND), value = Text("x");
    Outcome o1 = Compare(err, value);
    Outcome o2 = Compare(value, err);
    EXPECT_FALSE(o1.bCompared);
    EXPECT_FALSE(o2.bCompared);
    EXPECT_EQ(o1.nResult, kPreset);
    EXPECT_EQ(o2.nResult, kPreset);
    auto lines = log.Lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], "Err[0x8004010f] in ICompare::CompareValues: PropType == PT_ERROR(0x8004010f)");
    EXPECT_EQ(lines[1], lines[0]);
}

TEST(CompareValuesRefusals, FirstErrorWinsWhenBothAreErrors) {
    CLogCapture log;
    EXPECT_FALSE(Compare(Error(MAPI_E_CALL_FAILED), Error(MAPI_E_NOT_FOUND)).bCompared);
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines()[0], "Err[0x80004005] in ICompare::CompareValues: PropType == PT_ERROR(0x80004005)");
}

TEST(CompareValuesRefusals, UnconvertibleDateIsRefusedSilently) {
    CLogCapture log;
    const SCODE kDate = static_cast<SCODE>(0x800CCE2D);
    SPropValue date = Prop(PT_SYSTIME);
    EXPECT_FALSE(Compare(Error(kDate), date).bCompared);
    EXPECT_FALSE(Compare(date, Error(kDate)).bCompared);
    EXPECT_TRUE(log.Lines().empty());
}

TEST(CompareValuesMixedTypes, OrderFollowsTypeNumbersWithAWarning) {
    CLogCapture log;
    std::vector<BYTE> bytes{'x'};
    SPropValue text = Text("x"), bin = Binary(bytes);
    EXPECT_EQ(Order(text, bin), -1);
    EXPECT_EQ(Order(bin, text), 1);
    auto lines = log.Lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], "War in ICompare::CompareValues: Prop1Type(0x1e) != Prop2Type(0x102), Tag=0x3001001e");
    EXPECT_EQ(lines[1], "War in ICompare::CompareValues: Prop1Type(0x102) != Prop2Type(0x1e), Tag=0x30010102");
}

TEST(CompareValuesNumbers, I2IsTheSignedDifference) {
    SPropValue a = Prop(PT_I2), b = Prop(PT_I2);
    a.Value.i = -5;
    b.Value.i = 3;
    EXPECT_EQ(Order(a, b), -8);
    a.Value.i = 32767;
    b.Value.i = -32768;
    EXPECT_EQ(Order(a, b), 65535);
}

TEST(CompareValuesNumbers, LongIsTheDifferenceWrappingIn32Bits) {
    EXPECT_EQ(Order(Long(7), Long(3)), 4);
    EXPECT_EQ(Order(Long(3), Long(3)), 0);
    EXPECT_EQ(Order(Long(INT_MIN), Long(1)), INT_MAX);
}

TEST(CompareValuesNumbers, DoublesAndTimesOfTheAppGiveTheSign) {
    for (ULONG nType : {PT_DOUBLE, PT_APPTIME}) {
        SPropValue a = Prop(nType), b = Prop(nType);
        a.Value.dbl = 1.25;
        b.Value.dbl = 1.5;
        EXPECT_EQ(Order(a, b), -1);
        EXPECT_EQ(Order(b, a), 1);
        EXPECT_EQ(Order(a, a), 0);
    }
}

TEST(CompareValuesNumbers, CurrencyAndI8UseAll64Bits) {
    for (ULONG nType : {PT_CURRENCY, PT_I8}) {
        SPropValue a = Prop(nType), b = Prop(nType);
        a.Value.li = 0x100000000LL; // differs only above the low word
        b.Value.li = 0;
        EXPECT_EQ(Order(a, b), 1);
        EXPECT_EQ(Order(b, a), -1);
        EXPECT_EQ(Order(a, a), 0);
    }
}

TEST(CompareValuesNumbers, FloatsAreOrderedByValue) {
    SPropValue a = Prop(PT_R4), b = Prop(PT_R4);
    a.Value.flt = 1.5f;
    b.Value.flt = 2.5f;
    EXPECT_EQ(Order(a, b), -1);
    EXPECT_EQ(Order(b, a), 1);
    EXPECT_EQ(Order(a, a), 0);
}

TEST(CompareValuesNumbers, BooleansCompareByTruth) {
    SPropValue a = Prop(PT_BOOLEAN), b = Prop(PT_BOOLEAN);
    a.Value.b = 5;
    b.Value.b = 1;
    EXPECT_EQ(Order(a, b), 0);
    a.Value.b = 0;
    EXPECT_EQ(Order(a, b), -1);
    EXPECT_EQ(Order(b, a), 1);
}

TEST(CompareValuesNumbers, NullTypeLogsAndComparesTheFirstWords) {
    CLogCapture log;
    SPropValue a = Prop(PT_NULL), b = Prop(PT_NULL);
    a.Value.x = 9;
    b.Value.x = 4;
    EXPECT_EQ(Order(a, b), 5);
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines()[0], "Err in ICompare::CompareValues: type is PT_NULL!");
}

TEST(CompareValuesNumbers, SystemTimesCompareAs64BitTicks) {
    SPropValue a = Prop(PT_SYSTIME), b = Prop(PT_SYSTIME);
    a.Value.ft = {0xFFFFFFFF, 1};
    b.Value.ft = {0, 2};
    EXPECT_EQ(Order(a, b), -1);
    EXPECT_EQ(Order(b, a), 1);
    EXPECT_EQ(Order(a, a), 0);
}

TEST(CompareValuesText, Text8IgnoresCaseButNotBlanks) {
    EXPECT_EQ(Order(Text("ABC"), Text("abc")), 0);
    EXPECT_NE(Order(Text("abc"), Text("abc ")), 0);
    EXPECT_LT(Order(Text("apple"), Text("Banana")), 0);
    EXPECT_EQ(Order(Text("M\xC3\x9C" "LLER"), Text("m\xC3\xBCller")), 0); // MÜLLER / müller
}

TEST(CompareValuesText, WideTextIgnoresCase) {
    EXPECT_EQ(Order(Wide(u"\u00C4RGER"), Wide(u"\u00E4rger")), 0);
    EXPECT_GT(Order(Wide(u"b"), Wide(u"A")), 0);
    EXPECT_NE(Order(Wide(u"a"), Wide(u"a ")), 0);
}

TEST(CompareValuesBytes, ClsidComparesSixteenBytes) {
    GUID g1{1, 2, 3, {0, 0, 0, 0, 0, 0, 0, 0x01}}, g2 = g1;
    g2.Data4[7] = 0xFF;
    SPropValue a = Prop(PT_CLSID), b = Prop(PT_CLSID);
    a.Value.lpguid = &g1;
    b.Value.lpguid = &g2;
    EXPECT_EQ(Order(a, b), -1);
    EXPECT_EQ(Order(b, a), 1);
    EXPECT_EQ(Order(a, a), 0);
}

TEST(CompareValuesBytes, BinaryComparesCountFirstThenUnsignedBytes) {
    std::vector<BYTE> three{9, 9, 9}, five{0, 0, 0, 0, 0}, hi{0x01, 0xFF}, lo{0x01, 0x7F};
    EXPECT_EQ(Order(Binary(three), Binary(five)), -2);
    EXPECT_EQ(Order(Binary(hi), Binary(lo)), 1);
    EXPECT_EQ(Order(Binary(lo), Binary(hi)), -1);
    EXPECT_EQ(Order(Binary(hi), Binary(hi)), 0);
    std::vector<BYTE> none1, none2;
    EXPECT_EQ(Order(Binary(none1), Binary(none2)), 0);
}

TEST(CompareValuesLists, FixedSizeListsCompareCountFirstThenBytes) {
    const struct {
        ULONG nType;
        size_t cbElement;
    } cases[] = {{PT_MV_I2, 2},      {PT_MV_LONG, 4},    {PT_MV_R4, 4},    {PT_MV_DOUBLE, 8}, {PT_MV_CURRENCY, 8},
                 {PT_MV_APPTIME, 8}, {PT_MV_I8, 8},      {PT_MV_SYSTIME, 8}, {PT_MV_CLSID, 16}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.nType);
        BYTE b1[48] = {}, b2[48] = {};
        SPropValue a = Prop(c.nType), b = Prop(c.nType);
        a.Value.MVli.lpli = reinterpret_cast<int64_t *>(b1);
        b.Value.MVli.lpli = reinterpret_cast<int64_t *>(b2);
        a.Value.MVli.cValues = 2;
        b.Value.MVli.cValues = 3;
        EXPECT_EQ(Order(a, b), -1); // counts decide, the bytes are equal
        b.Value.MVli.cValues = 2;
        EXPECT_EQ(Order(a, b), 0);
        // The last byte of the second element decides, as an unsigned byte.
        b1[2 * c.cbElement - 1] = 0x80;
        b2[2 * c.cbElement - 1] = 0x7F;
        EXPECT_EQ(Order(a, b), 1);
        EXPECT_EQ(Order(b, a), -1);
        // Bytes beyond the counted elements are not looked at.
        b2[2 * c.cbElement - 1] = 0x80;
        b2[2 * c.cbElement] = 0x55;
        EXPECT_EQ(Order(a, b), 0);
        a.Value.MVli.cValues = b.Value.MVli.cValues = 0;
        EXPECT_EQ(Order(a, b), 0);
    }
}

TEST(CompareValuesLists, ShortListsAreBytesNotNumbers) {
    // 256 and 1 as little-endian 16-bit numbers: the bytes 00 01 sort before 01 00.
    int16_t n1[] = {256}, n2[] = {1};
    SPropValue a = Prop(PT_MV_I2), b = Prop(PT_MV_I2);
    a.Value.MVi = {1, n1};
    b.Value.MVi = {1, n2};
    EXPECT_EQ(Order(a, b), -1);
}

TEST(CompareValuesLists, Text8ListsCompareInOrderWithoutCase) {
    char a[] = "one", b[] = "two", A[] = "ONE", B[] = "Two", c[] = "three";
    std::vector<char *> ab{a, b}, AB{A, B}, ba{b, a}, abc{a, b, c};
    EXPECT_EQ(Order(TextList(ab), TextList(AB)), 0);
    EXPECT_NE(Order(TextList(ab), TextList(ba)), 0); // same strings, another order
    EXPECT_EQ(Order(TextList(ab), TextList(abc)), -1);
    EXPECT_EQ(Order(TextList(abc), TextList(ab)), 1);
}

TEST(CompareValuesLists, WideListsCompareInOrderWithoutCase) {
    char16_t a[] = u"\u0436", A[] = u"\u0416", b[] = u"b";
    std::vector<char16_t *> ab{a, b}, Ab{A, b}, ba{b, a};
    EXPECT_EQ(Order(WideList(ab), WideList(Ab)), 0);
    EXPECT_NE(Order(WideList(ab), WideList(ba)), 0);
}

TEST(CompareValuesLists, BinaryListsCompareLengthThenBytesPerElement) {
    BYTE x[] = {1, 2, 3}, y[] = {1, 2, 4};
    std::vector<SBinary> l1{{3, x}, {2, x}}, l2{{3, x}, {3, x}}, l3{{3, x}, {2, y}}, l4{{3, y}, {0, nullptr}};
    EXPECT_EQ(Order(BinaryList(l1), BinaryList(l2)), -1); // second element: length 2 minus 3
    EXPECT_EQ(Order(BinaryList(l1), BinaryList(l3)), 0);   // the first two bytes of x and y agree
    EXPECT_EQ(Order(BinaryList(l1), BinaryList(l4)), -1);  // first element: 3 against 4
    std::vector<SBinary> e1{{0, nullptr}}, e2{{0, x}};
    EXPECT_EQ(Order(BinaryList(e1), BinaryList(e2)), 0);
}

TEST(CompareValuesInvalid, UnknownTypeLogsAndCountsAsDifferent) {
    CLogCapture log;
    SPropValue a = Prop(PT_OBJECT), b = Prop(PT_OBJECT);
    EXPECT_EQ(Order(a, b), -1);
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines()[0], "Err in ICompare::CompareValues: Invalid type in tag(0x3001000d)");
    EXPECT_NE(log.Text().find("Invalid type in tag(0x3001000d)\n\n"), std::string::npos);
}

TEST(CompareValuesOrder, SignIsAntisymmetricForEveryTextPair) {
    const char *texts[] = {"", "a", "A", "ab", "B", "\xC3\xA9", "\xC3\x89", "z", "\xFF", "\xD0\x96"};
    for (const char *p : texts)
        for (const char *q : texts) EXPECT_EQ(Sign(Order(Text(p), Text(q))), -Sign(Order(Text(q), Text(p))));
}

} // namespace
