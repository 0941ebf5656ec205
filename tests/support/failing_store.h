// A message store that fails on demand: wraps a real IStoreNamespace, and every folder it hands out, and makes
// chosen folder operations fail with a chosen code before they reach the store, as a full disk or a folder
// without write permission would (where chmod can't, as for root). Everything else goes to the real store.
#pragma once

#include <memory>
#include <set>
#include <string>

#include "platform/msgstore.h"

namespace testsupport {

// The folder operations that can be made to fail.
enum class StoreOp { SaveMessage, CreateStream, CommitStream, DeleteMessages, SetFlags, OpenMessage };

struct StoreFailures {
    std::set<StoreOp> ops; // the operations that fail
    HRESULT hr = STG_E_MEDIUMFULL;
    int nSkip = 0;  // calls of those operations that still pass before the failures begin
    int nCalls = 0; // failures handed out so far
};

// A new namespace over pReal (which it takes a reference to) failing as *pFailures says; the caller owns the
// one reference it gets and keeps pFailures alive while the namespace lives.
IStoreNamespace *CreateFailingNamespace(IStoreNamespace *pReal, const std::shared_ptr<StoreFailures> &pFailures);

} // namespace testsupport
