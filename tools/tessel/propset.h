// The property descriptors of one search or comparison, made from --by words. The object owns the descriptors and
// the wide texts they point to, so it must outlive every search or matrix created from its list.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "storekind.h"

class CPropertySet {
public:
    CPropertySet() = default;
    CPropertySet(const CPropertySet &) = delete;
    CPropertySet &operator=(const CPropertySet &) = delete;

    // Adds the properties of a comma-separated list of words; false with a message for an unknown word.
    // A property named twice is added once.
    bool AddWords(const StoreKind &kind, const std::string &strWords, std::string &strError);
    // Adds one property and returns its index; an existing one gives its index (and is made compared if asked).
    int Add(const PropertyTag &tag, bool bCompare);
    // Index of the property with this tag, or -1.
    int Find(uint32_t nTag) const;

    PropList List();
    size_t Count() const { return m_Descs.size(); }
    const PropDesc &Desc(size_t nIndex) const { return m_Descs[nIndex]; }
    const std::string &Name(size_t nIndex) const { return m_Names[nIndex]; }
    // The compared properties' names, in order.
    std::vector<std::string> ComparedNames() const;

private:
    std::vector<PropDesc> m_Descs;
    std::vector<std::string> m_Names;
    std::deque<std::u16string> m_Wide; // stable addresses for Key and Name of the descriptors
};

// Splits "a, b,c" into its words, trimmed; empty words are dropped.
std::vector<std::string> SplitWords(const std::string &strList);
