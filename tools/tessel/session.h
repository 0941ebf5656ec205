// One run's connection to the library and to one store: creates the handle, configures the log from the global
// options, opens the mail store or the address book, and closes everything in the right order when it goes.
// Searches and matrices made from it must be deleted before it is.
#pragma once

#include <string>

#include "context.h"
#include "storekind.h"

class CSession {
public:
    explicit CSession(const GlobalOptions &options);
    ~CSession();
    CSession(const CSession &) = delete;
    CSession &operator=(const CSession &) = delete;

    // Opens the store of kind; false with a message for people when it can't be opened. Never creates a store.
    bool Open(const StoreKind &kind, std::string &strError);

    CTessel *Lib() const { return m_pLib; }
    const StoreKind &Kind() const { return *m_pKind; }
    int32_t Api() const { return m_pKind->nAPI; }
    // The path of the open store.
    const std::string &Location() const { return m_strLocation; }

private:
    bool OpenMail(std::string &strError);
    bool OpenContacts(std::string &strError);

    const GlobalOptions &m_Options;
    CTessel *m_pLib = nullptr;
    const StoreKind *m_pKind = nullptr;
    std::string m_strLocation;
};
