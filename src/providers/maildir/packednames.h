// The file names of a folder's view, packed: one buffer for all names, the host part that Maildir names carry
// ("<seconds>.<delivery>.<host>,<info>:2,<flags>") kept once per host instead of in every name, and digits and
// separators in half a byte each. A view holds the
// names of every message of its folder for as long as the folder is open.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class CPackedNames {
public:
    // Makes room for names of EncodedSize bytes in all.
    void Reserve(size_t cb) { m_buffer.reserve(cb); }
    // What Add will take for svName, host parts seen before counted as shared.
    size_t EncodedSize(std::string_view svName);
    // Adds a name; its offset for the reads below. Names take at most 4 GiB in all.
    uint32_t Add(std::string_view svName);

    std::string Name(uint32_t nOffset) const;
    // Appends the name at nOffset to str.
    void AppendName(std::string &str, uint32_t nOffset) const;

private:
    struct Split {
        std::string_view svHead, svHost, svTail; // the name is their concatenation
    };
    static Split SplitHost(std::string_view svName);
    // 1 + the host's index in m_hosts, adding it if there is room; 0 if the host can't be shared.
    uint8_t HostCode(std::string_view svHost);

    std::vector<char> m_buffer;       // per name: its host code, then the name without its host part in half bytes
    std::vector<std::string> m_hosts; // at most 255
};
