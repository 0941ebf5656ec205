// The visual report: one self-contained HTML page (no network, no external files) that shows duplicate groups side
// by side. Pure rendering over plain data; report_command.cpp fills the data from a scan or a journal.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tessel {

struct ReportItem {
    std::string sEntry;
    std::string sFolder;   // a folder's or container's name
    std::string sTitle;    // subject, or a contact's name
    std::string sDetail;   // sender, or e-mail address
    std::string sDate;
    uint64_t nSize = 0;    // bytes
    bool bOriginal = false;
    std::string sFate;     // what a dedupe did or would do to it ("moved to Deleted Items"); may be empty
};

// One compared property across the group's items: one cell per item, in item order.
struct ReportRow {
    std::string sProperty;
    std::vector<int32_t> values;     // equality numbers: 0 no value, k > 0 equal to the value of item k - 1
    std::vector<uint32_t> sizes;     // value sizes in bytes
    std::vector<std::string> texts;  // short display texts; may be empty or shorter than the items
};

// One attachment across the group's items: 0 absent, else 1 + the first item holding it.
struct ReportAttachment {
    std::string sName;
    std::vector<uint32_t> cells;
};

struct ReportGroup {
    std::vector<ReportItem> items;   // the original first
    std::vector<ReportRow> rows;
    std::vector<ReportAttachment> attachments;
};

struct ReportData {
    std::string sTitle;      // e.g. "Duplicate messages"
    std::string sStore;      // the store's path
    std::string sSource;     // "scan" or the journal's path
    std::string sGenerated;  // time of the report
    std::vector<ReportGroup> groups;
};

// The summary figures at the top of the page.
struct ReportSummary {
    uint64_t nItems = 0;       // items in groups
    uint64_t nGroups = 0;
    uint64_t nDuplicates = 0;  // items beside the originals
    uint64_t nBytesFreed = 0;  // the duplicates' sizes
};
ReportSummary Summarize(const ReportData &data);

// Text made safe for HTML element content and attribute values.
std::string HtmlEscape(const std::string &s);

// The whole page.
std::string RenderReportHtml(const ReportData &data);

} // namespace tessel
