#include "providers/maildir/packednames.h"

#include <algorithm>
#include <iterator>

#include "providers/maildir/maildirname.h"

namespace {

constexpr size_t kMaxHosts = 255;
// Room made for a name when it is read back, so that a path grows once: a file name's limit on most systems.
constexpr size_t kTypicalNameBytes = 255;

// The rest of a name goes in half bytes: names are mostly digits (times, process ids, counters, sizes) and a few
// separators, which take one half byte each; any other byte takes three (kByte and its two halves).
constexpr char kSymbols[] = {'.', ',', ':', '='};
constexpr uint8_t kFirstSymbol = 10, kByte = 14, kEnd = 15;

int CodeOf(char ch) {
    if (ch >= '0' && ch <= '9') return ch - '0';
    for (uint8_t i = 0; i < std::size(kSymbols); ++i)
        if (kSymbols[i] == ch) return kFirstSymbol + i;
    return -1;
}

size_t HalfBytesOf(std::string_view sv) {
    size_t n = 0;
    for (char ch : sv) n += CodeOf(ch) < 0 ? 3 : 1;
    return n;
}

// Writes half bytes into a buffer, high half first.
class CHalfByteWriter {
public:
    explicit CHalfByteWriter(std::vector<char> &buffer) : m_buffer(buffer) {}
    void Put(uint8_t nHalf) {
        if (m_bHigh) m_buffer.push_back(static_cast<char>(nHalf << 4));
        else m_buffer.back() = static_cast<char>(m_buffer.back() | nHalf);
        m_bHigh = !m_bHigh;
    }
    void PutText(std::string_view sv) {
        for (char ch : sv) {
            int nCode = CodeOf(ch);
            if (nCode >= 0) {
                Put(static_cast<uint8_t>(nCode));
                continue;
            }
            Put(kByte);
            Put(static_cast<uint8_t>(ch) >> 4);
            Put(static_cast<uint8_t>(ch) & 0xF);
        }
    }

private:
    std::vector<char> &m_buffer;
    bool m_bHigh = true;
};

} // namespace

CPackedNames::Split CPackedNames::SplitHost(std::string_view svName) {
    // The host follows the second dot of the unique part and ends at its first comma, or with it.
    std::string_view svUnique = SplitMaildirName(svName).svUnique;
    size_t nDot = svUnique.find('.');
    if (nDot != std::string_view::npos) nDot = svUnique.find('.', nDot + 1);
    if (nDot == std::string_view::npos) return {svName, {}, {}};
    size_t nStart = nDot + 1;
    size_t nEnd = std::min(svUnique.find(',', nStart), svUnique.size());
    return {svName.substr(0, nStart), svName.substr(nStart, nEnd - nStart), svName.substr(nEnd)};
}

uint8_t CPackedNames::HostCode(std::string_view svHost) {
    if (svHost.empty()) return 0;
    auto it = std::find(m_hosts.begin(), m_hosts.end(), svHost);
    if (it == m_hosts.end()) {
        if (m_hosts.size() == kMaxHosts) return 0;
        it = m_hosts.emplace(m_hosts.end(), svHost);
    }
    return static_cast<uint8_t>(it - m_hosts.begin() + 1);
}

size_t CPackedNames::EncodedSize(std::string_view svName) {
    Split split = SplitHost(svName);
    size_t nHalves = HalfBytesOf(split.svHead) + HalfBytesOf(split.svTail) + 1;
    if (!HostCode(split.svHost)) nHalves += HalfBytesOf(split.svHost);
    return 1 + (nHalves + 1) / 2;
}

uint32_t CPackedNames::Add(std::string_view svName) {
    const auto nOffset = static_cast<uint32_t>(m_buffer.size());
    Split split = SplitHost(svName);
    uint8_t nCode = HostCode(split.svHost);
    m_buffer.push_back(static_cast<char>(nCode));
    CHalfByteWriter writer(m_buffer);
    writer.PutText(split.svHead);
    if (!nCode) writer.PutText(split.svHost);
    writer.PutText(split.svTail);
    writer.Put(kEnd);
    return nOffset;
}

void CPackedNames::AppendName(std::string &str, uint32_t nOffset) const {
    const auto *p = reinterpret_cast<const uint8_t *>(m_buffer.data() + nOffset);
    const uint8_t nCode = *p++;
    bool bHigh = true;
    auto fnNext = [&]() -> uint8_t {
        uint8_t nHalf = bHigh ? *p >> 4 : *p++ & 0xF;
        bHigh = !bHigh;
        return nHalf;
    };
    str.reserve(str.size() + kTypicalNameBytes);
    int nDots = 0;
    for (uint8_t nHalf = fnNext(); nHalf != kEnd; nHalf = fnNext()) {
        char ch = 0;
        if (nHalf < kFirstSymbol) {
            ch = static_cast<char>('0' + nHalf);
        } else if (nHalf < kByte) {
            ch = kSymbols[nHalf - kFirstSymbol];
        } else {
            uint8_t nHigh = fnNext();
            ch = static_cast<char>(nHigh << 4 | fnNext());
        }
        str += ch;
        // The host went out behind the second dot of the head.
        if (ch == '.' && ++nDots == 2 && nCode) str += m_hosts[nCode - 1];
    }
}

std::string CPackedNames::Name(uint32_t nOffset) const {
    std::string str;
    AppendName(str, nOffset);
    return str;
}
