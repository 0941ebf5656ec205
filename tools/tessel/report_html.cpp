#include "report_html.h"

#include <algorithm>
#include <cstdio>
#include <map>

namespace tessel {

namespace {

// Groups drawn open when the page loads; the rest stay collapsed so that thousands of groups remain quick.
constexpr size_t kOpenGroups = 12;
// Longer display texts are cut; the whole text stays in the tooltip of the first cell holding it, up to
// kTooltipLimit.
constexpr size_t kCellTextLimit = 160;
constexpr size_t kTooltipLimit = 2000;
// Group sizes above this share the chart's last bar.
constexpr uint64_t kChartLastSize = 10;

const char kStyle[] = R"CSS(
:root{--ink:#1d2330;--mute:#5b6577;--line:#d9dee7;--bg:#f6f7fa;--card:#fff;--accent:#2457c5;--orig:#1f8a4c}
*{box-sizing:border-box}
body{margin:0;font:14px/1.45 system-ui,-apple-system,"Segoe UI",Roboto,"DejaVu Sans",sans-serif;color:var(--ink);background:var(--bg)}
header{background:#1d2a44;color:#fff;padding:18px 28px}
header h1{margin:0;font-size:22px;font-weight:600}
header .meta{margin:4px 0 0;color:#c5cee0;font-size:12.5px;word-break:break-all}
.summary{display:flex;flex-wrap:wrap;gap:18px;padding:18px 28px;align-items:stretch}
.figures{display:grid;grid-template-columns:repeat(2,minmax(150px,1fr));gap:12px;flex:1 1 340px}
.fig{background:var(--card);border:1px solid var(--line);border-radius:8px;padding:12px 16px}
.fig b{display:block;font-size:24px;font-weight:650}
.fig span{color:var(--mute);font-size:12.5px}
.chart{background:var(--card);border:1px solid var(--line);border-radius:8px;padding:10px 14px;margin:0;flex:1 1 340px}
.chart figcaption{color:var(--mute);font-size:12.5px;margin-bottom:4px}
.chart .bar{fill:#4f7fdb}.chart .lbl{fill:var(--mute);font-size:11px}.chart .num{fill:var(--ink);font-size:11px}
.toolbar{position:sticky;top:0;z-index:2;display:flex;gap:8px;align-items:center;padding:10px 28px;background:rgba(246,247,250,.96);border-bottom:1px solid var(--line)}
.toolbar input{flex:0 1 380px;padding:7px 10px;border:1px solid #b9c2d3;border-radius:6px;font:inherit}
.toolbar button{padding:6px 12px;border:1px solid #b9c2d3;border-radius:6px;background:#fff;font:inherit;cursor:pointer}
.toolbar .count{color:var(--mute);margin-left:auto}
main{padding:14px 28px 40px}
details.group{background:var(--card);border:1px solid var(--line);border-radius:8px;margin:0 0 10px}
details.group>summary{cursor:pointer;padding:9px 14px;display:flex;gap:12px;align-items:baseline;list-style:none}
details.group>summary::-webkit-details-marker{display:none}
details.group>summary::before{content:"\25B8";color:var(--mute)}
details.group[open]>summary::before{content:"\25BE"}
details.group[open]>summary{border-bottom:1px solid var(--line)}
.gno{color:var(--mute);font-variant-numeric:tabular-nums;min-width:3.5em}
.gtitle{font-weight:600;flex:1;overflow:hidden;text-overflow:ellipsis;white-space:nowrap}
.gcount,.gfree{color:var(--mute);font-size:12.5px;white-space:nowrap}
.body{padding:10px 14px 14px;overflow-x:auto}
table{border-collapse:separate;border-spacing:0;width:100%;table-layout:fixed}
th,td{border-bottom:1px solid var(--line);padding:6px 8px;vertical-align:top;text-align:left}
thead th{border-bottom:2px solid var(--line)}
th.prop{width:130px;color:var(--mute);font-weight:500}
th.item{font-weight:400}
th.item .badge{display:inline-block;font-size:11px;font-weight:600;padding:1px 7px;border-radius:9px;background:#e8ecf3;color:var(--mute);margin-bottom:3px}
th.item.original{background:#eef8f1;box-shadow:inset 0 3px 0 var(--orig)}
th.item.original .badge{background:var(--orig);color:#fff}
th.item .t{font-weight:600;display:block;word-break:break-word}
th.item .d{color:var(--mute);font-size:12.5px;display:block;word-break:break-word}
th.item .fate{color:#a33b20;font-size:12px;display:block}
td.cell{word-break:break-word;font-size:13px;position:relative}
td.cell .sz{display:block;color:var(--mute);font-size:11px}
td.none{color:#9aa3b2;background:repeating-linear-gradient(45deg,#fafbfc,#fafbfc 6px,#f1f3f6 6px,#f1f3f6 12px)}
td.eq1{background:#e3f4e8}td.eq2{background:#fde9cf}td.eq3{background:#e2e9fb}td.eq4{background:#f7e0ec}
td.eq5{background:#e6f3f5}td.eq6{background:#f3efd9}td.eq7{background:#ebe4f7}td.eq8{background:#f9e3df}
td.diff{box-shadow:inset 3px 0 0 #d9822b}
h3{font-size:13px;margin:14px 0 6px;color:var(--mute);font-weight:600}
table.attach td.has{background:#e3f4e8}table.attach td.other{background:#fde9cf}table.attach td.absent{color:#9aa3b2}
.legend{color:var(--mute);font-size:12px;margin:8px 0 0}
.legend i{display:inline-block;width:12px;height:12px;border-radius:3px;vertical-align:-2px;margin:0 4px 0 10px}
.empty{padding:30px;text-align:center;color:var(--mute)}
)CSS";

const char kScript[] = R"JS(
(function(){
  var box=document.getElementById('filter'),groups=document.querySelectorAll('details.group'),count=document.getElementById('shown');
  function update(){
    var q=box.value.trim().toLowerCase(),n=0;
    for(var i=0;i<groups.length;i++){var g=groups[i],hit=!q||g.getAttribute('data-search').indexOf(q)>=0;g.hidden=!hit;if(hit)n++;}
    count.textContent=n.toLocaleString('en-US')+' of '+groups.length.toLocaleString('en-US')+' groups shown';
  }
  box.addEventListener('input',update);
  document.getElementById('expand').addEventListener('click',function(){for(var i=0;i<groups.length;i++)if(!groups[i].hidden)groups[i].open=true;});
  document.getElementById('collapse').addEventListener('click',function(){for(var i=0;i<groups.length;i++)groups[i].open=false;});
  update();
})();
)JS";

std::string Lower(std::string s) {
    for (char &c : s)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return s;
}

// Cuts a UTF-8 text at a character boundary.
std::string Clip(const std::string &s, size_t nLimit) {
    if (s.size() <= nLimit) return s;
    size_t n = nLimit;
    while (n > 0 && (static_cast<unsigned char>(s[n]) & 0xC0) == 0x80) --n;
    return s.substr(0, n) + "\u2026";
}

std::string HumanBytes(uint64_t n) {
    char sz[32];
    if (n < 1024) std::snprintf(sz, sizeof sz, "%llu B", static_cast<unsigned long long>(n));
    else if (n < 1024 * 1024) std::snprintf(sz, sizeof sz, "%.1f KB", n / 1024.0);
    else if (n < 1024ull * 1024 * 1024) std::snprintf(sz, sizeof sz, "%.1f MB", n / (1024.0 * 1024));
    else std::snprintf(sz, sizeof sz, "%.2f GB", n / (1024.0 * 1024 * 1024));
    return sz;
}

std::string WithThousands(uint64_t n) {
    const std::string digits = std::to_string(n);
    std::string s;
    for (size_t i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0) s += ',';
        s += digits[i];
    }
    return s;
}

uint64_t GroupFrees(const ReportGroup &g) {
    uint64_t n = 0;
    for (const ReportItem &item : g.items)
        if (!item.bOriginal) n += item.nSize;
    return n;
}

void RenderChart(const ReportData &data, std::string &out) {
    std::map<uint64_t, uint64_t> bySize; // group size -> groups
    for (const ReportGroup &g : data.groups) bySize[std::min<uint64_t>(g.items.size(), kChartLastSize)]++;
    out += "<figure class=\"chart\"><figcaption>Groups by number of items</figcaption>";
    if (bySize.empty()) {
        out += "<p class=\"legend\">No groups.</p></figure>";
        return;
    }
    uint64_t nMax = 0;
    for (const auto &[nSize, nCount] : bySize) nMax = std::max(nMax, nCount);
    const int nBarW = 34, nGap = 12, nChartH = 110, nTop = 16, nBottom = 20;
    const int nWidth = static_cast<int>(bySize.size()) * (nBarW + nGap) + nGap;
    out += "<svg xmlns=\"http://www.w3.org/2000/svg\" role=\"img\" aria-label=\"groups by size\" width=\"" +
           std::to_string(nWidth) + "\" height=\"" + std::to_string(nChartH + nTop + nBottom) + "\">";
    int x = nGap;
    for (const auto &[nSize, nCount] : bySize) {
        const int h = std::max(2, static_cast<int>(nCount * nChartH / nMax));
        const int y = nTop + nChartH - h;
        const std::string sLabel = std::to_string(nSize) + (nSize == kChartLastSize ? "+" : "");
        out += "<rect class=\"bar\" data-size=\"" + sLabel + "\" data-count=\"" + std::to_string(nCount) +
               "\" x=\"" + std::to_string(x) + "\" y=\"" + std::to_string(y) + "\" width=\"" +
               std::to_string(nBarW) + "\" height=\"" + std::to_string(h) + "\" rx=\"3\"><title>" +
               WithThousands(nCount) + " groups of " + sLabel + " items</title></rect>";
        out += "<text class=\"num\" text-anchor=\"middle\" x=\"" + std::to_string(x + nBarW / 2) + "\" y=\"" +
               std::to_string(y - 4) + "\">" + WithThousands(nCount) + "</text>";
        out += "<text class=\"lbl\" text-anchor=\"middle\" x=\"" + std::to_string(x + nBarW / 2) + "\" y=\"" +
               std::to_string(nTop + nChartH + 15) + "\">" + sLabel + "</text>";
        x += nBarW + nGap;
    }
    out += "</svg><p class=\"legend\">items per group (x) and number of groups (bars)</p></figure>";
}

void RenderItemHeader(const ReportItem &item, std::string &out) {
    out += std::string("<th class=\"item") + (item.bOriginal ? " original" : "") + "\" data-entry=\"" +
           HtmlEscape(item.sEntry) + "\">";
    out += std::string("<span class=\"badge\">") + (item.bOriginal ? "original" : "duplicate") + "</span>";
    out += "<span class=\"t\">" + (item.sTitle.empty() ? std::string("(no title)") : HtmlEscape(Clip(item.sTitle, 200))) +
           "</span>";
    if (!item.sDetail.empty()) out += "<span class=\"d\">" + HtmlEscape(Clip(item.sDetail, 200)) + "</span>";
    std::string sLine = item.sFolder;
    if (!item.sDate.empty()) sLine += (sLine.empty() ? "" : " \u00b7 ") + item.sDate;
    sLine += (sLine.empty() ? "" : " \u00b7 ") + HumanBytes(item.nSize);
    out += "<span class=\"d\">" + HtmlEscape(sLine) + "</span>";
    if (!item.sFate.empty()) out += "<span class=\"fate\">" + HtmlEscape(item.sFate) + "</span>";
    out += "</th>";
}

void RenderMatrix(const ReportGroup &g, std::string &out) {
    out += "<table class=\"matrix\"><thead><tr><th class=\"prop\">Property</th>";
    for (const ReportItem &item : g.items) RenderItemHeader(item, out);
    out += "</tr></thead><tbody>";
    for (const ReportRow &row : g.rows) {
        out += "<tr data-property=\"" + HtmlEscape(row.sProperty) + "\"><th class=\"prop\" scope=\"row\">" +
               HtmlEscape(row.sProperty) + "</th>";
        for (size_t i = 0; i < g.items.size(); ++i) {
            const int32_t nEq = i < row.values.size() ? row.values[i] : 0;
            const uint32_t nSize = i < row.sizes.size() ? row.sizes[i] : 0;
            const std::string sText = i < row.texts.size() ? row.texts[i] : std::string();
            if (nEq <= 0) {
                out += "<td class=\"cell none\" data-eq=\"0\">no value</td>";
                continue;
            }
            // Cells holding the same value share a colour; a value unlike the original's is also edged.
            std::string sClass = "cell eq" + std::to_string((nEq - 1) % 8 + 1);
            if (nEq != 1) sClass += " diff";
            out += "<td class=\"" + sClass + "\" data-eq=\"" + std::to_string(nEq) + "\"";
            // Only a cut text needs its tooltip, and only once: the cells equal to it say whose value they hold.
            // Tooltips repeated on every cell made most of a big report's bytes.
            if (sText.size() > kCellTextLimit && nEq == static_cast<int32_t>(i) + 1)
                out += " title=\"" + HtmlEscape(Clip(sText, kTooltipLimit)) + "\"";
            out += ">";
            out += sText.empty() ? std::string("\u2713") : HtmlEscape(Clip(sText, kCellTextLimit));
            if (nEq != static_cast<int32_t>(i) + 1)
                out += "<span class=\"sz\">same as " +
                       std::string(nEq == 1 ? "the original" : "item " + std::to_string(nEq)) + "</span>";
            else
                out += "<span class=\"sz\">" + HumanBytes(nSize) + "</span>";
            out += "</td>";
        }
        out += "</tr>";
    }
    out += "</tbody></table>";
}

void RenderAttachments(const ReportGroup &g, std::string &out) {
    if (g.attachments.empty()) return;
    out += "<h3>Attachments</h3><table class=\"attach\"><thead><tr><th class=\"prop\">Name</th>";
    for (size_t i = 0; i < g.items.size(); ++i)
        out += std::string("<th class=\"item") + (g.items[i].bOriginal ? " original" : "") + "\">" +
               (g.items[i].bOriginal ? "original" : "item " + std::to_string(i + 1)) + "</th>";
    out += "</tr></thead><tbody>";
    for (const ReportAttachment &a : g.attachments) {
        out += "<tr><th class=\"prop\" scope=\"row\">" + HtmlEscape(a.sName.empty() ? "(no name)" : a.sName) + "</th>";
        for (size_t i = 0; i < g.items.size(); ++i) {
            const uint32_t n = i < a.cells.size() ? a.cells[i] : 0;
            if (n == 0) out += "<td class=\"absent\" data-att=\"0\">\u2014</td>";
            else if (n == 1) out += "<td class=\"has\" data-att=\"1\">\u2713 as the first item</td>";
            else out += "<td class=\"other\" data-att=\"" + std::to_string(n) + "\">\u2713 as item " + std::to_string(n) + "</td>";
        }
        out += "</tr>";
    }
    out += "</tbody></table>";
}

void RenderGroup(const ReportGroup &g, size_t nIndex, std::string &out) {
    std::string sSearch;
    for (const ReportItem &item : g.items) sSearch += item.sTitle + " " + item.sDetail + " " + item.sFolder + " ";
    const std::string sTitle = g.items.empty() ? std::string() : g.items.front().sTitle;
    out += "<details class=\"group\" id=\"g" + std::to_string(nIndex + 1) + "\" data-items=\"" +
           std::to_string(g.items.size()) + "\" data-search=\"" + HtmlEscape(Lower(Clip(sSearch, 1000))) + "\"" +
           (nIndex < kOpenGroups ? " open" : "") + ">";
    out += "<summary><span class=\"gno\">#" + std::to_string(nIndex + 1) + "</span><span class=\"gtitle\">" +
           (sTitle.empty() ? std::string("(no title)") : HtmlEscape(Clip(sTitle, 200))) + "</span><span class=\"gcount\">" +
           std::to_string(g.items.size()) + " items</span><span class=\"gfree\">frees " + HumanBytes(GroupFrees(g)) +
           "</span></summary><div class=\"body\">";
    RenderMatrix(g, out);
    RenderAttachments(g, out);
    out += "</div></details>\n";
}

} // namespace

ReportSummary Summarize(const ReportData &data) {
    ReportSummary s;
    s.nGroups = data.groups.size();
    for (const ReportGroup &g : data.groups) {
        s.nItems += g.items.size();
        for (const ReportItem &item : g.items)
            if (!item.bOriginal) ++s.nDuplicates;
        s.nBytesFreed += GroupFrees(g);
    }
    return s;
}

std::string HtmlEscape(const std::string &s) {
    std::string out;
    out.reserve(s.size());
    for (char c : s) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        case '\'': out += "&#39;"; break;
        default:
            // Control characters other than tab and newline have no place in a page.
            if (static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n') out += ' ';
            else out += c;
        }
    }
    return out;
}

std::string RenderReportHtml(const ReportData &data) {
    const ReportSummary s = Summarize(data);
    std::string out;
    out.reserve(4096 + data.groups.size() * 3000);
    out += "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">"
           "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'unsafe-inline'; "
           "script-src 'unsafe-inline'; img-src data:\">";
    out += "<title>" + HtmlEscape(data.sTitle) + "</title><style>" + kStyle + "</style></head><body>\n";
    out += "<header><h1>" + HtmlEscape(data.sTitle) + "</h1><p class=\"meta\">" + HtmlEscape(data.sStore);
    if (!data.sSource.empty()) out += " \u00b7 from " + HtmlEscape(data.sSource);
    if (!data.sGenerated.empty()) out += " \u00b7 " + HtmlEscape(data.sGenerated);
    out += "</p></header>\n<section class=\"summary\"><div class=\"figures\">";
    out += "<div class=\"fig\" id=\"sum-items\"><b>" + WithThousands(s.nItems) + "</b><span>items in groups</span></div>";
    out += "<div class=\"fig\" id=\"sum-groups\"><b>" + WithThousands(s.nGroups) + "</b><span>groups</span></div>";
    out += "<div class=\"fig\" id=\"sum-duplicates\"><b>" + WithThousands(s.nDuplicates) +
           "</b><span>duplicates beside the originals</span></div>";
    out += "<div class=\"fig\" id=\"sum-bytes\" data-bytes=\"" + std::to_string(s.nBytesFreed) + "\"><b>" +
           HumanBytes(s.nBytesFreed) + "</b><span>a dedupe would free</span></div></div>";
    RenderChart(data, out);
    out += "</section>\n<div class=\"toolbar\"><input id=\"filter\" type=\"search\" placeholder=\"Filter groups by "
           "title, sender, folder\u2026\" aria-label=\"filter groups\"><button id=\"expand\" type=\"button\">Expand "
           "all</button><button id=\"collapse\" type=\"button\">Collapse all</button><span class=\"count\" "
           "id=\"shown\"></span></div>\n<main id=\"groups\">\n";
    if (data.groups.empty()) out += "<p class=\"empty\">No duplicates found.</p>";
    for (size_t i = 0; i < data.groups.size(); ++i) RenderGroup(data.groups[i], i, out);
    out += "<p class=\"legend\">Cells of one colour hold equal values<i style=\"background:#e3f4e8\"></i>same as "
           "the original<i style=\"background:#fde9cf\"></i>another value<i style=\"background:#f1f3f6\"></i>no "
           "value</p>";
    out += "</main>\n<script>" + std::string(kScript) + "</script></body></html>\n";
    return out;
}

} // namespace tessel
