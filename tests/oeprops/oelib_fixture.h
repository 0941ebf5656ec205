// What the COELib tests share: a COELib with the MIME provider's allocator and no store behind it, open items made
// from crafted messages (wrapped so that single calls can be made to fail), and value arrays that free themselves.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "oestore/oelib.h"
#include "support/fake_mime.h"
#include "support/log_capture.h"

namespace oetest {

// A value array from GetItemProps or GetAttachmentProps, given back by the matching Free when it goes.
class Values {
public:
    Values(COELib &lib, bool bAttach) : m_lib(lib), m_bAttach(bAttach) {}
    ~Values();
    Values(const Values &) = delete;
    Values &operator=(const Values &) = delete;

    const SPropValue &operator[](size_t i) const { return m_pProps[i]; }
    SPropValue *m_pProps = nullptr;
    ULONG m_cValues = 0;
    HRESULT m_hr = 0;

private:
    COELib &m_lib;
    bool m_bAttach;
};

// An open item over a crafted message, as OpenItem would make it, with its message wrapped in a FaultyMessage.
class TestItem {
public:
    TestItem(const std::string &strSource, DWORD dwState = 0, STOREFOLDERID dwFolderId = 0x1234,
             MESSAGEID dwMessageId = 0x56);
    ~TestItem();
    TestItem(const TestItem &) = delete;
    TestItem &operator=(const TestItem &) = delete;

    HITEM Handle() { return &m_item; }
    testsupport::MessageFaults &Faults() { return m_pMessage->faults; }

    OEOpenItem m_item{};
    testsupport::FaultyMessage *m_pMessage = nullptr; // the item's reference
};

class OELibTest : public ::testing::Test {
protected:
    OELibTest();

    // All tags at once, in the given order.
    std::unique_ptr<Values> Read(TestItem &item, const std::vector<ULONG> &tags);
    std::unique_ptr<Values> ReadAttach(TestItem &item, HBODY hBody, const std::vector<ULONG> &tags);
    // The attachments' body handles in list order.
    std::vector<HBODY> Attachments(TestItem &item);

    COELib m_lib;
};

// A message of one part; the headers go in front as they are (each ending in "\n").
std::string TextMessage(const std::string &strHeaders, const std::string &strBody,
                        const std::string &strContentType = "text/plain; charset=utf-8");
// A multipart/mixed message of a text part and one part per attachment (name and content, base64 encoded).
std::string MessageWithAttachments(const std::vector<std::pair<std::string, std::string>> &attachments);
// The text of a PT_STRING8 value, or "<null>".
std::string Text(const SPropValue &value);
// The lines logged so far without the log's own banner (which a level of 2 and more lets through).
std::vector<std::string> Logged(const testsupport::CLogCapture &log);
// A UTC instant as the local FILETIME that the message properties deliver.
FILETIME LocalFileTime(int nYear, int nMonth, int nDay, int nHour, int nMinute, int nSecond);

} // namespace oetest
