// What every property object of the provider shares: GetProps over a reader of values, tag arrays, problem
// arrays, and the named property calls over the book's registry.
#pragma once

#include <functional>
#include <vector>

#include "providers/vcard/vcard_names.h"
#include "providers/vcard/vcard_propdata.h"

namespace vcard {

using PropReader = std::function<HRESULT(ULONG ulTag, PropData *pData)>;

// GetProps: one value for each tag (all of allTags if lpTags is null), PT_ERROR where there is none, and
// MAPI_W_ERRORS_RETURNED if any is missing.
HRESULT GetPropsWith(const PropReader &reader, const std::vector<ULONG> &allTags, const SPropTagArray *lpTags,
                     ULONG ulFlags, ULONG *lpcValues, SPropValue **lppPropArray);

HRESULT NewTagArray(const std::vector<ULONG> &tags, SPropTagArray **lppTags);
// Null when there are no problems.
HRESULT NewProblemArray(const std::vector<SPropProblem> &problems, SPropProblemArray **lppProblems);

HRESULT NamesToIds(CNamedProps &names, ULONG cPropNames, MAPINAMEID **lppPropNames, ULONG ulFlags,
                   SPropTagArray **lppPropTags);
HRESULT IdsToNames(CNamedProps &names, SPropTagArray **lppPropTags, ULONG *lpcPropNames,
                   MAPINAMEID ***lpppPropNames);

} // namespace vcard
