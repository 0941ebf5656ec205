#include "scanoptions.h"

#include <CLI/CLI.hpp>

void AddScanOptions(CLI::App &cmd, const StoreKind &kind, ScanOptionValues &values) {
    values.strBy = kind.pszDefaultWords;
    cmd.add_option("--folder", values.folders,
                   std::string("scan only this ") + kind.pszFolder + " (a path such as Work/Projects, a name, or an "
                   "entry); may be given more than once; default: all")
        ->type_name("NAME");
    cmd.add_option("--by", values.strBy,
                   std::string("the properties that make two ") + kind.pszItems +
                       " equal, separated by commas; known: " + PropertyWordList(kind))
        ->type_name("WORDS")
        ->capture_default_str();
    cmd.add_option("--keep", values.strKeep,
                   std::string("which item of a group is the original: ") + KeepRuleWords())
        ->type_name("RULE")
        ->capture_default_str();
}

bool PrepareScan(const StoreKind &kind, const ScanOptionValues &values, CPropertySet &props, CKeepRule &keep,
                 ScanRequest &request, std::string &strError) {
    if (!props.AddWords(kind, values.strBy, strError)) return false;
    if (!keep.Parse(kind, values.strKeep, props, strError)) return false;
    request.folders = values.folders;
    request.pProps = &props;
    request.pKeep = &keep;
    return true;
}
