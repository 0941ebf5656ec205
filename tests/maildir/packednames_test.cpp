// The packed file names of a folder's view: every name comes back as it went in, and a host part is kept once.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "providers/maildir/packednames.h"

namespace {

// Adds the names as a view does (sizes first, then the names) and reads each back.
std::vector<std::string> RoundTrip(const std::vector<std::string> &names, size_t *pcbEncoded = nullptr) {
    CPackedNames packed;
    size_t cb = 0;
    for (const std::string &str : names) cb += packed.EncodedSize(str);
    packed.Reserve(cb);
    std::vector<uint32_t> offsets;
    for (const std::string &str : names) offsets.push_back(packed.Add(str));
    if (pcbEncoded) *pcbEncoded = cb;
    std::vector<std::string> back;
    for (uint32_t n : offsets) back.push_back(packed.Name(n));
    return back;
}

TEST(PackedNamesTest, EveryKindOfNameComesBackAsItWas) {
    const std::vector<std::string> names = {
        "1577836847.M687487P4242Q82673.gen.tessel.test,S=11590,W=11807:2,FS",
        "1577839880.M450535P4242Q8265.gen.tessel.test:2,S",
        "1577839881.M1P2.gen.tessel.test",                  // in new/: no flags
        "1577839882.M1P2.other.host,S=10:2,",
        "nodots:2,S",
        "one.dot:2,S",
        "two.dots.:2,S",                                    // an empty host
        "a.b.c.d.e,f,g:2,ab:2,S",                           // ":2," twice, the last one counts
        "1.2.host\\057with\\072escapes,S=1:2,RS",
        "1.2.gen.tessel.test,S=1:2,S.with.dots.in.flags",
        "",
        "1.2.h\x01\xff\x7f\x80,S=1:2,S\xe9",
    };
    EXPECT_EQ(RoundTrip(names), names);
}

TEST(PackedNamesTest, AHostSharedByManyNamesIsStoredOnce) {
    auto fnNames = [](const std::string &strHost) {
        std::vector<std::string> names;
        for (int i = 0; i < 100; ++i)
            names.push_back("15778368" + std::to_string(i) + ".M1P2Q" + std::to_string(i) + "." + strHost + ",S=5:2,S");
        return names;
    };
    size_t cbLongHost = 0, cbShortHost = 0;
    EXPECT_EQ(RoundTrip(fnNames("a-long-host.example.org"), &cbLongHost), fnNames("a-long-host.example.org"));
    EXPECT_EQ(RoundTrip(fnNames("h"), &cbShortHost), fnNames("h"));
    EXPECT_EQ(cbLongHost, cbShortHost);
}

TEST(PackedNamesTest, DigitsAndSeparatorsTakeHalfAByte) {
    CPackedNames packed;
    const std::string strName = "1577836847.687487.h,1234=5678:2,";
    // A code byte, then one half byte per character but the host's and one for the end.
    EXPECT_EQ(packed.EncodedSize(strName), 1 + (strName.size() - 1 + 1 + 1) / 2);
    EXPECT_EQ(packed.Name(packed.Add(strName)), strName);
}

TEST(PackedNamesTest, NamesBeyondTheLastHostCodeAreKeptWhole) {
    std::vector<std::string> names;
    for (int i = 0; i < 300; ++i) names.push_back("1.2.host" + std::to_string(i) + ",S=1:2,S");
    names.push_back("1.2.host0:2,S"); // an early host is still shared
    EXPECT_EQ(RoundTrip(names), names);
}

} // namespace
