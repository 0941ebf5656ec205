// The command-line options of a scan (--folder, --by, --keep), shared by every command that runs one.
#pragma once

#include <string>
#include <vector>

#include "keeprule.h"
#include "propset.h"
#include "scan.h"

namespace CLI {
class App;
}

struct ScanOptionValues {
    std::vector<std::string> folders;
    std::string strBy;
    std::string strKeep = "most-filled";
};

void AddScanOptions(CLI::App &cmd, const StoreKind &kind, ScanOptionValues &values);

// Turns the options into the request's property list and rule; false with a message for people.
bool PrepareScan(const StoreKind &kind, const ScanOptionValues &values, CPropertySet &props, CKeepRule &keep,
                 ScanRequest &request, std::string &strError);
