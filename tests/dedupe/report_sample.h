// Report data built in code, for the page's unit tests and for the browser check.
#pragma once

#include <string>

#include "report_html.h"

namespace testdedupe {

// A group of nItems items of 1000 bytes each, the first the original, with two compared properties.
inline tessel::ReportGroup SampleGroup(size_t nItems, size_t nGroup) {
    tessel::ReportGroup g;
    tessel::ReportRow subject{"subject", {}, {}, {}}, date{"date", {}, {}, {}};
    for (size_t i = 0; i < nItems; ++i) {
        tessel::ReportItem item;
        item.sEntry = "entry-" + std::to_string(nGroup) + "-" + std::to_string(i);
        item.sFolder = i % 2 ? "Archive" : "Inbox";
        item.sTitle = "Quarterly report " + std::to_string(nGroup);
        item.sDetail = "Alice Smith <alice@example.com>";
        item.sDate = "2026-11-0" + std::to_string(1 + i % 9) + " 10:00";
        item.nSize = 1000;
        item.bOriginal = i == 0;
        if (i > 0) item.sFate = "moved to Deleted Items";
        g.items.push_back(item);
        subject.values.push_back(1);
        subject.sizes.push_back(20);
        subject.texts.push_back(item.sTitle);
        date.values.push_back(i == nItems - 1 && nItems > 2 ? static_cast<int32_t>(i) + 1 : 1);
        date.sizes.push_back(8);
        date.texts.push_back(item.sDate);
    }
    g.rows = {subject, date};
    return g;
}

// Groups of 2, 3, 4, ... items (cycling through up to 5).
inline tessel::ReportData SampleReport(size_t nGroups) {
    tessel::ReportData data;
    data.sTitle = "Duplicate messages";
    data.sStore = "/home/robin/Maildir";
    data.sSource = "scan";
    data.sGenerated = "2026-11-23 11:30 UTC";
    for (size_t n = 0; n < nGroups; ++n) data.groups.push_back(SampleGroup(2 + n % 3, n + 1));
    return data;
}

} // namespace testdedupe
