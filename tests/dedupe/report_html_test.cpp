// The report page rendered from plain data: summary figures, one column per item, equal values drawn alike, the
// original marked, attachments, escaping, and no reference to anything outside the page.
#include <gtest/gtest.h>

#include <regex>

#include "report_html.h"
#include "report_sample.h"

using tessel::RenderReportHtml;
using tessel::ReportData;

namespace {

size_t Count(const std::string &s, const std::string &what) {
    size_t n = 0;
    for (size_t p = s.find(what); p != std::string::npos; p = s.find(what, p + what.size())) ++n;
    return n;
}

} // namespace

TEST(ReportSummary, CountsItemsGroupsAndTheBytesOfTheDuplicates) {
    const ReportData data = testdedupe::SampleReport(3);
    const auto s = tessel::Summarize(data);
    EXPECT_EQ(s.nGroups, 3u);
    EXPECT_EQ(s.nItems, 2u + 3u + 4u);
    EXPECT_EQ(s.nDuplicates, 1u + 2u + 3u);
    EXPECT_EQ(s.nBytesFreed, 1000u * (1 + 2 + 3));
}

TEST(ReportHtml, ShowsTheSummaryAndABarPerGroupSize) {
    const std::string html = RenderReportHtml(testdedupe::SampleReport(3));
    EXPECT_NE(html.find("<div class=\"fig\" id=\"sum-items\"><b>9</b>"), std::string::npos);
    EXPECT_NE(html.find("<div class=\"fig\" id=\"sum-groups\"><b>3</b>"), std::string::npos);
    EXPECT_NE(html.find("data-bytes=\"6000\"><b>5.9 KB</b>"), std::string::npos);
    EXPECT_EQ(Count(html, "<rect class=\"bar\""), 3u);
    EXPECT_NE(html.find("data-size=\"4\" data-count=\"1\""), std::string::npos);
}

TEST(ReportHtml, LargeGroupsShareTheLastBar) {
    ReportData data = testdedupe::SampleReport(0);
    for (size_t n : {11, 12, 30}) data.groups.push_back(testdedupe::SampleGroup(n, 1));
    const std::string html = RenderReportHtml(data);
    EXPECT_EQ(Count(html, "<rect class=\"bar\""), 1u);
    EXPECT_NE(html.find("data-size=\"10+\" data-count=\"3\""), std::string::npos);
}

TEST(ReportHtml, OneColumnPerItemWithTheOriginalMarked) {
    const std::string html = RenderReportHtml(testdedupe::SampleReport(3));
    EXPECT_EQ(Count(html, "<details class=\"group\""), 3u);
    EXPECT_EQ(Count(html, "<th class=\"item original\" data-entry="), 3u);
    EXPECT_EQ(Count(html, "<th class=\"item\" data-entry="), 6u);
    EXPECT_NE(html.find("<span class=\"badge\">original</span>"), std::string::npos);
    EXPECT_NE(html.find("<span class=\"fate\">moved to Deleted Items</span>"), std::string::npos);
}

TEST(ReportHtml, EqualValuesShareAClassAndEmptyCellsSayNoValue) {
    ReportData data = testdedupe::SampleReport(0);
    tessel::ReportGroup g = testdedupe::SampleGroup(3, 1);
    g.rows = {{"subject", {1, 1, 3}, {5, 5, 7}, {"Hello", "Hello", "Other"}}, {"cc", {0, 2, 2}, {0, 4, 4}, {}}};
    data.groups.push_back(g);
    const std::string html = RenderReportHtml(data);
    EXPECT_EQ(Count(html, "class=\"cell eq1\" data-eq=\"1\""), 2u);
    EXPECT_EQ(Count(html, "class=\"cell eq3 diff\" data-eq=\"3\""), 1u);
    EXPECT_EQ(Count(html, "class=\"cell eq2 diff\" data-eq=\"2\""), 2u);
    EXPECT_EQ(Count(html, "<td class=\"cell none\" data-eq=\"0\">no value</td>"), 1u);
    EXPECT_NE(html.find("Hello<span class=\"sz\">same as the original</span>"), std::string::npos);
    EXPECT_NE(html.find("<span class=\"sz\">same as item 2</span>"), std::string::npos);
}

TEST(ReportHtml, AttachmentTableBelowTheMatrix) {
    ReportData data = testdedupe::SampleReport(0);
    tessel::ReportGroup g = testdedupe::SampleGroup(2, 1);
    g.attachments = {{"report.pdf", {1, 1}}, {"", {0, 2}}};
    data.groups.push_back(g);
    const std::string html = RenderReportHtml(data);
    const size_t nMatrix = html.find("<table class=\"matrix\">"), nAttach = html.find("<table class=\"attach\">");
    ASSERT_NE(nAttach, std::string::npos);
    EXPECT_LT(nMatrix, nAttach);
    EXPECT_NE(html.find("report.pdf"), std::string::npos);
    EXPECT_NE(html.find("(no name)"), std::string::npos);
    EXPECT_EQ(Count(html, "data-att=\"1\""), 2u);
    EXPECT_EQ(Count(html, "data-att=\"0\""), 1u);
}

TEST(ReportHtml, EscapesEveryTextItShows) {
    ReportData data = testdedupe::SampleReport(0);
    data.sTitle = "<title>";
    tessel::ReportGroup g = testdedupe::SampleGroup(2, 1);
    g.items[0].sTitle = "<script>alert(1)</script>";
    g.items[1].sDetail = "\"Bob\" <bob@example.com>";
    g.items[1].sEntry = "a\"b";
    g.rows = {{"sub<ject>", {1, 1}, {1, 1}, {"x&y", "x&y"}}};
    data.groups.push_back(g);
    const std::string html = RenderReportHtml(data);
    EXPECT_EQ(html.find("<script>alert"), std::string::npos);
    EXPECT_NE(html.find("&lt;script&gt;alert(1)&lt;/script&gt;"), std::string::npos);
    EXPECT_NE(html.find("&quot;Bob&quot; &lt;bob@example.com&gt;"), std::string::npos);
    EXPECT_NE(html.find("data-entry=\"a&quot;b\""), std::string::npos);
    EXPECT_NE(html.find("sub&lt;ject&gt;"), std::string::npos);
    EXPECT_NE(html.find("x&amp;y"), std::string::npos);
    EXPECT_EQ(tessel::HtmlEscape(std::string("a\x01" "b\tc", 5)), "a b\tc");
}

TEST(ReportHtml, LongTextsAreCutAtACharacterBoundary) {
    ReportData data = testdedupe::SampleReport(0);
    tessel::ReportGroup g = testdedupe::SampleGroup(2, 1);
    std::string sLong;
    for (int i = 0; i < 200; ++i) sLong += "\xc3\xa9"; // é
    g.rows = {{"body", {1, 1}, {400, 400}, {sLong, sLong}}};
    data.groups.push_back(g);
    const std::string html = RenderReportHtml(data);
    EXPECT_NE(html.find("\xc3\xa9\xe2\x80\xa6"), std::string::npos);
    EXPECT_EQ(html.find("\xc3\xe2"), std::string::npos);
}

TEST(ReportHtml, OnlyACutTextHasATooltipAndOnlyWhereItFirstStands) {
    ReportData data = testdedupe::SampleReport(0);
    tessel::ReportGroup g = testdedupe::SampleGroup(2, 1);
    const std::string sLong(400, 'w');
    g.rows = {{"subject", {1, 1}, {5, 5}, {"short", "short"}}, {"body", {1, 1}, {400, 400}, {sLong, sLong}}};
    data.groups.push_back(g);
    const std::string html = RenderReportHtml(data);
    EXPECT_EQ(html.find("title=\"short\""), std::string::npos);
    const size_t nTip = html.find("title=\"" + sLong + "\"");
    ASSERT_NE(nTip, std::string::npos);
    EXPECT_EQ(html.find("title=\"" + sLong + "\"", nTip + 1), std::string::npos);
}

TEST(ReportHtml, IsSelfContained) {
    const std::string html = RenderReportHtml(testdedupe::SampleReport(5));
    EXPECT_EQ(html.find(" src="), std::string::npos);
    EXPECT_EQ(html.find("<link"), std::string::npos);
    EXPECT_EQ(html.find("url("), std::string::npos);
    EXPECT_EQ(html.find("@import"), std::string::npos);
    // The only address in the page is the SVG namespace name, which is never fetched.
    std::regex re("https?://[^\"]*");
    for (std::sregex_iterator it(html.begin(), html.end(), re), end; it != end; ++it)
        EXPECT_EQ(it->str(), "http://www.w3.org/2000/svg");
}

TEST(ReportHtml, ManyGroupsStayCollapsedAfterTheFirstFew) {
    const std::string html = RenderReportHtml(testdedupe::SampleReport(2000));
    EXPECT_EQ(Count(html, "<details class=\"group\""), 2000u);
    EXPECT_EQ(Count(html, "\" open>"), 12u);
    EXPECT_NE(html.find("id=\"filter\""), std::string::npos);
}

TEST(ReportHtml, AnEmptyReportSaysSo) {
    const std::string html = RenderReportHtml(testdedupe::SampleReport(0));
    EXPECT_NE(html.find("No duplicates found."), std::string::npos);
    EXPECT_NE(html.find("No groups."), std::string::npos);
}
