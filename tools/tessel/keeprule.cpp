#include "keeprule.h"

#include <cerrno>
#include <cstdlib>

#include "timetext.h"

namespace {

bool ParseLong(const std::string &str, int32_t &n) {
    if (str.empty()) return false;
    char *pEnd = nullptr;
    errno = 0;
    const long nValue = std::strtol(str.c_str(), &pEnd, 10);
    if (errno || *pEnd || nValue < INT32_MIN || nValue > INT32_MAX) return false;
    n = static_cast<int32_t>(nValue);
    return true;
}

bool ParseBool(const std::string &str, int32_t &b) {
    if (str == "yes" || str == "true" || str == "1") b = 1;
    else if (str == "no" || str == "false" || str == "0") b = 0;
    else return false;
    return true;
}

} // namespace

const char *KeepRuleWords() { return "most-filled, first, largest-values, largest, field:PROPERTY=VALUE"; }

bool CKeepRule::Parse(const StoreKind &kind, const std::string &strRule, CPropertySet &props, std::string &strError) {
    m_OD = OriginalDefinition{};
    m_strText = strRule;
    if (strRule == "most-filled") m_OD.nDefinition = OD_MOST_FILLED;
    else if (strRule == "first") m_OD.nDefinition = OD_FIRST_ADDED;
    else if (strRule == "largest-values") m_OD.nDefinition = OD_LARGEST_VALUES;
    else if (strRule == "largest") m_OD.nDefinition = OD_LARGEST_MESSAGE;
    else if (strRule.rfind("field:", 0) == 0) {
        const size_t nEquals = strRule.find('=');
        const std::string strWord = strRule.substr(6, nEquals == std::string::npos ? std::string::npos : nEquals - 6);
        if (nEquals == std::string::npos) {
            strError = "--keep field: needs PROPERTY=VALUE, as in field:" + strWord + "=...";
            return false;
        }
        const PropertyWord *pWord = FindPropertyWord(kind, strWord);
        if (!pWord) {
            strError = "unknown property word '" + strWord + "' in --keep; known words: " + PropertyWordList(kind);
            return false;
        }
        if (pWord->tags.size() != 1) {
            strError = "--keep field: needs a word that names one property; '" + strWord + "' names " +
                       std::to_string(pWord->tags.size());
            return false;
        }
        const PropertyTag &tag = pWord->tags.front();
        m_strValue = strRule.substr(nEquals + 1);
        m_OD.nDefinition = OD_FIELD_VALUE;
        m_OD.nFieldType = static_cast<int32_t>(tag.nTag & 0xFFFF);
        bool bGood = true;
        switch (m_OD.nFieldType) {
        case TS_PT_STRING8: bGood = !m_strValue.empty(); break;
        case TS_PT_LONG: bGood = ParseLong(m_strValue, m_OD.nLongValue); break;
        case TS_PT_BOOLEAN: bGood = ParseBool(m_strValue, m_OD.bValue); break;
        case TS_PT_SYSTIME: bGood = ParseDate(m_strValue, m_OD.stValue); break;
        default: bGood = false; break;
        }
        if (!bGood) {
            strError = "--keep field:" + strWord + "= needs " +
                       (m_OD.nFieldType == TS_PT_LONG   ? std::string("a number")
                        : m_OD.nFieldType == TS_PT_BOOLEAN ? std::string("yes or no")
                        : m_OD.nFieldType == TS_PT_SYSTIME ? std::string("a date such as 2024-03-01")
                                                    : std::string("a text"));
            return false;
        }
        m_OD.nField = props.Add(tag, false);
    } else {
        strError = "unknown --keep rule '" + strRule + "'; known rules: " + KeepRuleWords();
        return false;
    }
    return true;
}

OriginalDefinition CKeepRule::Definition() const {
    OriginalDefinition od = m_OD;
    od.szValue = od.nDefinition == OD_FIELD_VALUE && od.nFieldType == TS_PT_STRING8 ? m_strValue.c_str() : nullptr;
    return od;
}
