#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "oestore/sha1.h"

namespace {

// The digest of a text fed in pieces of nPiece bytes, as hex.
std::string HexDigest(const std::string &text, size_t nPiece) {
    CSha1 sha;
    for (size_t i = 0; i < text.size(); i += nPiece) sha.Feed(text.data() + i, std::min(nPiece, text.size() - i));
    uint8_t digest[CSha1::kDigestSize];
    sha.Finish(digest);
    char szHex[CSha1::kHexSize];
    CSha1::DigestToHex(digest, szHex);
    return szHex;
}

std::string HexDigest(const std::string &text) { return HexDigest(text, text.size() ? text.size() : 1); }

TEST(Sha1, Fips180Abc) {
    EXPECT_EQ(HexDigest("abc"), "a9993e364706816aba3e25717850c26c9cd0d89d");
}

TEST(Sha1, Fips180TwoBlockMessage) {
    EXPECT_EQ(HexDigest("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "84983e441c3bd26ebaae4aa1f95129e5e54670f1");
}

TEST(Sha1, Fips180MillionAs) {
    const std::string text(1000000, 'a');
    EXPECT_EQ(HexDigest(text, 16384), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
}

TEST(Sha1, EmptyMessage) { EXPECT_EQ(HexDigest(""), "da39a3ee5e6b4b0d3255bfef95601890afd80709"); }

TEST(Sha1, PiecesDoNotChangeTheDigest) {
    std::string text;
    for (int i = 0; i < 1000; ++i) text += static_cast<char>(i * 31);
    const std::string whole = HexDigest(text);
    for (size_t nPiece : {1u, 3u, 55u, 56u, 63u, 64u, 65u, 127u}) EXPECT_EQ(HexDigest(text, nPiece), whole) << nPiece;
}

TEST(Sha1, LengthsAroundThePaddingEdge) {
    // 55 bytes fit the length into the same block, 56 need another one.
    EXPECT_EQ(HexDigest(std::string(55, 'a')), "c1c8bbdc22796e28c0e15163d20899b65621d65a");
    EXPECT_EQ(HexDigest(std::string(56, 'a')), "c2db330f6083854c99d4b5bfb6e8f29f201be699");
    EXPECT_EQ(HexDigest(std::string(64, 'a')), "0098ba824b5c16427bd7a1122a5a442a25ec644d");
}

TEST(Sha1, StartBeginsANewMessage) {
    CSha1 sha;
    sha.Feed("junk", 4);
    sha.Start();
    sha.Feed("abc", 3);
    uint8_t digest[CSha1::kDigestSize];
    sha.Finish(digest);
    EXPECT_EQ(digest[0], 0xA9);
    EXPECT_EQ(digest[19], 0x9D);
}

} // namespace
