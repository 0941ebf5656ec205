// A library handle over the built-in vCard provider, with books written into a temporary directory, and helpers
// that read entries back through the WAB* exports.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/log_capture.h"
#include "support/paths.h"
#include "tessel.h"

namespace wablist {

// One card, CRLF-terminated lines between BEGIN and END; sLines are the lines in between.
std::string Card(const std::string &strLines);
void WriteText(const std::filesystem::path &path, const std::string &strText);
std::string ReadText(const std::filesystem::path &path);
// The property lines of every card in a text, unfolded, without BEGIN/END and without the lines named in
// skip (by field name, as "UID"); sorted, so that two cards compare field by field.
std::vector<std::string> FieldLines(const std::string &strText, const std::vector<std::string> &skip);

class BookFixture : public ::testing::Test {
protected:
    BookFixture();
    ~BookFixture() override;

    std::filesystem::path Path(const char *pszName) const { return m_dir.path() / pszName; }
    // Opens the book at path through WABInit.
    void Open(const std::filesystem::path &path);
    // The containers, in the book's order: entry texts and names.
    std::vector<std::pair<std::string, std::string>> Folders();
    // Lists a container through WABGetItems; the list stays in m_pItems until the next call.
    int32_t List(const char *pszFolder, uint32_t nType = 0, const SYSTEMTIME *pSince = nullptr, bool bSort = false,
                 bool bDescending = false);
    // The display names of the last listing, in its order.
    std::vector<std::string> Names() const;
    // The entry text of the listed entry with this display name; empty if none.
    std::string EntryOf(const std::string &strName) const;

    testsupport::TempDir m_dir;
    testsupport::CLogCapture m_log;
    CTessel *m_pLib = nullptr;
    WABItems *m_pItems = nullptr;
};

} // namespace wablist
