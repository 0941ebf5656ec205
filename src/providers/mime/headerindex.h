// The fields of a message's header block, found by hand: what header reads need, without the cost of building
// GMime objects for the whole block. The index takes only blocks that GMime reads the same way (plain ASCII,
// every line a field or its continuation); for any other block it declines and the caller parses with GMime.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

class CMimeHeaderIndex {
public:
    struct Field {
        std::string_view svName;  // as it stands
        std::string_view svValue; // what follows the colon, folded, up to and with the field's last line end
    };

    // Indexes the header block that begins strSource and ends after nEnd bytes. False (and an empty index) for a
    // block that GMime might read otherwise. The fields point into strSource: the owner clears or rebuilds the
    // index whenever those bytes change.
    bool Build(const std::string &strSource, size_t nEnd);
    void Clear() {
        m_rgFields.clear();
        m_bValid = false;
    }
    bool Valid() const { return m_bValid; }

    // The first field of that name (ASCII case ignored), or null.
    const Field *Find(std::string_view svName) const;
    const std::vector<Field> &Fields() const { return m_rgFields; }

private:
    std::vector<Field> m_rgFields;
    bool m_bValid = false;
};
