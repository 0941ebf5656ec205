// SHA-1 as FIPS 180-1 publishes it: start, feed any number of blocks, finish with the 20-byte digest in the
// standard's big-endian order. The message store fingerprints a message's source with it.
#pragma once

#include <cstddef>
#include <cstdint>

class CSha1 {
public:
    static constexpr size_t kDigestSize = 20;
    // 40 lower-case hexadecimal digits and a terminator.
    static constexpr size_t kHexSize = 2 * kDigestSize + 1;

    CSha1() { Start(); }

    // Begins a new message; a finished object can start over.
    void Start();
    // Adds cb bytes to the message.
    void Feed(const void *p, size_t cb);
    // Completes the message and writes its digest. Start must come before the object is fed again.
    void Finish(uint8_t (&digest)[kDigestSize]);

    // The digest as 40 lower-case hexadecimal digits, zero-terminated.
    static void DigestToHex(const uint8_t (&digest)[kDigestSize], char (&szHex)[kHexSize]);

private:
    void ProcessBlock(const uint8_t *pBlock);

    uint32_t m_state[5];
    uint64_t m_nBytes;      // message length so far
    uint8_t m_block[64];    // bytes waiting for a full block
    size_t m_nBlockBytes;
};
