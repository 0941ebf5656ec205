// --keep: which item of a group is the original, by word: most-filled, first, largest-values, largest, or
// field:PROPERTY=VALUE (the item holding VALUE in PROPERTY; for text, anywhere in it, case ignored).
#pragma once

#include <string>

#include "propset.h"

class CKeepRule {
public:
    // Reads the rule; a field rule adds its property to pProps (not compared) when --by did not name it.
    bool Parse(const StoreKind &kind, const std::string &strRule, CPropertySet &props, std::string &strError);
    // The record for Search_Create; its text pointer lives as long as this object.
    OriginalDefinition Definition() const;
    const std::string &Text() const { return m_strText; }

private:
    OriginalDefinition m_OD{};
    std::string m_strText = "most-filled";
    std::string m_strValue;
};

// "most-filled, first, largest-values, largest, field:PROPERTY=VALUE"
const char *KeepRuleWords();
