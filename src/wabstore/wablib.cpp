#include "wabstore/wablib.h"

#include "log/log.h"

CWABLib::~CWABLib() { Done(); }

bool CWABLib::Init(const char *pszFileName, bool bEnableProfiles, bool bUseOeSendMail) {
    Done();
    g_Log.Error("CWAB::Init", 0, "the address book is not available in this build");
    return false;
}

void CWABLib::Done() {}

bool CWABLib::Initialized() const { return false; }
