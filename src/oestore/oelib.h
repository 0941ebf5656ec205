// COELib: the connection to the message store. The store itself is not part of this build yet, so the
// connection never comes up: Init says so in the log and fails, and everything else sees a store that is not
// initialized.
#pragma once

#include "tessel.h"

class COELib {
public:
    COELib() = default;
    ~COELib();
    COELib(const COELib &) = delete;
    COELib &operator=(const COELib &) = delete;

    // Connects to the store; bFlag creates a missing store. Re-opens when called twice.
    bool Init(HWND hwndOwner, bool bFlag);
    // Drops the connection; safe when not connected.
    void Done();
    // True while connected.
    bool Initialized() const;
};
