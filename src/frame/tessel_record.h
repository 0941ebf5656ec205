// CTessel, the library record behind every pLib: the two store adaptors side by side, the message store first.
// Each holds its store class, so whether a store is initialized is asked of oe.m_Lib and wab.m_Lib.
#pragma once

#include "oestore/oecompare.h"
#include "tessel.h"
#include "wabstore/wabcompare.h"

struct CTessel {
    COECompare oe;
    CWABCompare wab;
};
