// CWABLib: the connection to the address book. The address book itself is not part of this build yet, so the
// connection never comes up: Init says so in the log and fails, and everything else sees a store that is not
// initialized.
#pragma once

class CWABLib {
public:
    CWABLib() = default;
    ~CWABLib();
    CWABLib(const CWABLib &) = delete;
    CWABLib &operator=(const CWABLib &) = delete;

    // Connects to the address book in pszFileName (null for the default one). Re-opens when called twice.
    bool Init(const char *pszFileName, bool bEnableProfiles, bool bUseOeSendMail);
    // Drops the connection; safe when not connected.
    void Done();
    // True while connected.
    bool Initialized() const;
};
