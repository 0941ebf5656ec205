#include "session.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

namespace {

std::string FromEnvironment(const char *pszName) {
    const char *psz = std::getenv(pszName);
    return psz && *psz ? std::string(psz) : std::string();
}

std::string UnderHome(const char *pszRest) {
    const std::string strHome = FromEnvironment("HOME");
    return strHome.empty() ? std::string() : strHome + "/" + pszRest;
}

} // namespace

CSession::CSession(const GlobalOptions &options) : m_Options(options) {
    // Whoever asks for the log wants the detail: info lines up to level 3, not only warnings and errors.
    const bool bDetail = options.bVerbose || !options.strLog.empty();
    ConfigLog(nullptr, options.strLog.empty() ? nullptr : options.strLog.c_str(), options.bVerbose ? 1 : 0,
              bDetail ? 3 : 1);
    CreateTessel(&m_pLib);
}

CSession::~CSession() {
    if (m_pLib) DeleteTessel(m_pLib); // closes both stores
}

bool CSession::Open(const StoreKind &kind, std::string &strError) {
    m_pKind = &kind;
    if (!m_pLib) {
        strError = "the library could not create a handle (out of memory?)";
        return false;
    }
    return kind.nAPI == API_OE ? OpenMail(strError) : OpenContacts(strError);
}

bool CSession::OpenMail(std::string &strError) {
    std::string strRoot = m_Options.strStore;
    if (strRoot.empty()) strRoot = FromEnvironment("TESSEL_MAILDIR");
    if (strRoot.empty()) strRoot = FromEnvironment("MAILDIR");
    if (strRoot.empty()) strRoot = UnderHome("Maildir");
    m_strLocation = strRoot;
    std::error_code ec;
    if (!fs::is_directory(strRoot, ec)) {
        strError = "no mail store at " + strRoot + " (no such directory; name one with --store)";
        return false;
    }
    // The store reads its root from the environment.
    setenv("TESSEL_MAILDIR", strRoot.c_str(), 1);
    if (!OEInit(m_pLib, nullptr, 0)) {
        strError = strRoot + " is not a Maildir (it needs cur/, new/ and tmp/)";
        return false;
    }
    return true;
}

bool CSession::OpenContacts(std::string &strError) {
    std::string strBook = m_Options.strBook;
    if (strBook.empty()) strBook = FromEnvironment("TESSEL_CONTACTS");
    if (strBook.empty()) strBook = UnderHome(".local/share/contacts");
    m_strLocation = strBook;
    // The address book would create a missing book; a mistyped path must not become an empty book.
    std::error_code ec;
    if (!fs::exists(strBook, ec)) {
        strError = "no address book at " + strBook + " (no such file or directory; name one with --book)";
        return false;
    }
    if (!WABInit(m_pLib, strBook.c_str(), 0, 0)) {
        strError = "the address book at " + strBook + " could not be opened";
        return false;
    }
    return true;
}
