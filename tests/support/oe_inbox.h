// The entries of the Inbox of a connected mail store, as the exported calls list them.
#pragma once

#include <string>
#include <vector>

#include "tessel.h"

namespace testsupport {

// The Inbox's item entries in listing order; empty when the store has no Inbox or the listing fails.
std::vector<std::string> InboxEntries(CTessel *pLib);

} // namespace testsupport
