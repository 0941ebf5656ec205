// Restrictions and sort keys over the rows of a table, whatever the rows are (cards or containers).
#pragma once

#include <functional>

#include "providers/vcard/vcard_propdata.h"

namespace vcard {

// Reads property ulTag of row nRow; MAPI_E_NOT_FOUND if the row has none.
using RowReader = std::function<HRESULT(size_t nRow, ULONG ulTag, PropData *pData)>;

// Whether a restriction can be evaluated at all (MAPI_E_TOO_COMPLEX for kinds we don't evaluate).
HRESULT CheckRestriction(const SRestriction &res);
bool MatchRow(const SRestriction &res, const RowReader &reader, size_t nRow);

// Three-way comparison of two values as a sort or a restriction sees them: text without regard to ASCII case,
// binaries by bytes, numbers and times by value. *pbComparable is false for values of unrelated types.
int ComparePropData(const PropData &a, const PropData &b, bool *pbComparable);

} // namespace vcard
