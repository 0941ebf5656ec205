#include "oestore/oelib.h"

#include "log/log.h"

COELib::~COELib() { Done(); }

bool COELib::Init(HWND hwndOwner, bool bFlag) {
    Done();
    g_Log.Error("COELib::Init", 0, "the message store is not available in this build");
    return false;
}

void COELib::Done() {}

bool COELib::Initialized() const { return false; }
