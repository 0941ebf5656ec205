#include "oestore/sha1.h"

#include <cstring>

namespace {

constexpr uint32_t RotateLeft(uint32_t n, int nBits) { return (n << nBits) | (n >> (32 - nBits)); }

} // namespace

void CSha1::Start() {
    m_state[0] = 0x67452301u;
    m_state[1] = 0xEFCDAB89u;
    m_state[2] = 0x98BADCFEu;
    m_state[3] = 0x10325476u;
    m_state[4] = 0xC3D2E1F0u;
    m_nBytes = 0;
    m_nBlockBytes = 0;
}

void CSha1::ProcessBlock(const uint8_t *pBlock) {
    uint32_t w[80];
    for (int t = 0; t < 16; ++t)
        w[t] = static_cast<uint32_t>(pBlock[4 * t]) << 24 | static_cast<uint32_t>(pBlock[4 * t + 1]) << 16 |
               static_cast<uint32_t>(pBlock[4 * t + 2]) << 8 | static_cast<uint32_t>(pBlock[4 * t + 3]);
    for (int t = 16; t < 80; ++t) w[t] = RotateLeft(w[t - 3] ^ w[t - 8] ^ w[t - 14] ^ w[t - 16], 1);

    uint32_t a = m_state[0], b = m_state[1], c = m_state[2], d = m_state[3], e = m_state[4];
    for (int t = 0; t < 80; ++t) {
        uint32_t f, k;
        if (t < 20) {
            f = (b & c) | (~b & d);
            k = 0x5A827999u;
        } else if (t < 40) {
            f = b ^ c ^ d;
            k = 0x6ED9EBA1u;
        } else if (t < 60) {
            f = (b & c) | (b & d) | (c & d);
            k = 0x8F1BBCDCu;
        } else {
            f = b ^ c ^ d;
            k = 0xCA62C1D6u;
        }
        const uint32_t temp = RotateLeft(a, 5) + f + e + w[t] + k;
        e = d;
        d = c;
        c = RotateLeft(b, 30);
        b = a;
        a = temp;
    }
    m_state[0] += a;
    m_state[1] += b;
    m_state[2] += c;
    m_state[3] += d;
    m_state[4] += e;
}

void CSha1::Feed(const void *p, size_t cb) {
    const uint8_t *pBytes = static_cast<const uint8_t *>(p);
    m_nBytes += cb;
    while (cb > 0) {
        const size_t nTake = cb < sizeof m_block - m_nBlockBytes ? cb : sizeof m_block - m_nBlockBytes;
        std::memcpy(m_block + m_nBlockBytes, pBytes, nTake);
        m_nBlockBytes += nTake;
        pBytes += nTake;
        cb -= nTake;
        if (m_nBlockBytes == sizeof m_block) {
            ProcessBlock(m_block);
            m_nBlockBytes = 0;
        }
    }
}

void CSha1::Finish(uint8_t (&digest)[kDigestSize]) {
    // Padding: a one bit, zeros up to 56 bytes of the last block, then the length in bits, big-endian.
    const uint64_t nBits = m_nBytes * 8;
    m_block[m_nBlockBytes++] = 0x80;
    if (m_nBlockBytes > 56) {
        std::memset(m_block + m_nBlockBytes, 0, sizeof m_block - m_nBlockBytes);
        ProcessBlock(m_block);
        m_nBlockBytes = 0;
    }
    std::memset(m_block + m_nBlockBytes, 0, 56 - m_nBlockBytes);
    for (int i = 0; i < 8; ++i) m_block[56 + i] = static_cast<uint8_t>(nBits >> (56 - 8 * i));
    ProcessBlock(m_block);
    m_nBlockBytes = 0;
    for (size_t i = 0; i < kDigestSize; ++i) digest[i] = static_cast<uint8_t>(m_state[i / 4] >> (24 - 8 * (i % 4)));
}

void CSha1::DigestToHex(const uint8_t (&digest)[kDigestSize], char (&szHex)[kHexSize]) {
    static const char kDigits[] = "0123456789abcdef";
    for (size_t i = 0; i < kDigestSize; ++i) {
        szHex[2 * i] = kDigits[digest[i] >> 4];
        szHex[2 * i + 1] = kDigits[digest[i] & 0x0F];
    }
    szHex[2 * kDigestSize] = '\0';
}
