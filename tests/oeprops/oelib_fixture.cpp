#include "oelib_fixture.h"

#include <sstream>

#include "platform/time.h"
#include "support/system_time.h"

namespace oetest {

namespace {

std::string Base64(const std::string &str) {
    static const char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    size_t i = 0;
    for (; i + 2 < str.size(); i += 3) {
        uint32_t n = (uint8_t(str[i]) << 16) | (uint8_t(str[i + 1]) << 8) | uint8_t(str[i + 2]);
        for (int k = 18; k >= 0; k -= 6) out += kDigits[(n >> k) & 63];
    }
    if (i + 1 == str.size()) {
        uint32_t n = uint8_t(str[i]) << 16;
        out += kDigits[(n >> 18) & 63];
        out += kDigits[(n >> 12) & 63];
        out += "==";
    } else if (i + 2 == str.size()) {
        uint32_t n = (uint8_t(str[i]) << 16) | (uint8_t(str[i + 1]) << 8);
        out += kDigits[(n >> 18) & 63];
        out += kDigits[(n >> 12) & 63];
        out += kDigits[(n >> 6) & 63];
        out += '=';
    }
    std::string lines;
    for (size_t k = 0; k < out.size(); k += 76) lines += out.substr(k, 76) + "\n";
    return lines;
}

} // namespace

Values::~Values() {
    if (m_bAttach)
        m_lib.FreeAttachProps(m_pProps);
    else
        m_lib.FreeItemProps(m_pProps);
}

TestItem::TestItem(const std::string &strSource, DWORD dwState, STOREFOLDERID dwFolderId, MESSAGEID dwMessageId) {
    IMimeMessage *pParsed = testsupport::ParseMessage(strSource);
    EXPECT_NE(pParsed, nullptr);
    m_pMessage = new testsupport::FaultyMessage(pParsed);
    m_item.pMessage = m_pMessage;
    m_item.dwFolderId = dwFolderId;
    m_item.dwMessageId = dwMessageId;
    m_item.dwState = dwState;
}

TestItem::~TestItem() { m_pMessage->Release(); }

OELibTest::OELibTest() { MimeOleCreateAllocator(&m_lib.m_pAllocator); }

std::unique_ptr<Values> OELibTest::Read(TestItem &item, const std::vector<ULONG> &tags) {
    std::vector<ULONG> block(tags.size() + 1);
    block[0] = static_cast<ULONG>(tags.size());
    std::copy(tags.begin(), tags.end(), block.begin() + 1);
    auto pValues = std::make_unique<Values>(m_lib, false);
    pValues->m_hr = m_lib.GetItemProps(item.Handle(), reinterpret_cast<SPropTagArray *>(block.data()),
                                       &pValues->m_cValues, &pValues->m_pProps, false);
    return pValues;
}

std::unique_ptr<Values> OELibTest::ReadAttach(TestItem &item, HBODY hBody, const std::vector<ULONG> &tags) {
    std::vector<ULONG> block(tags.size() + 1);
    block[0] = static_cast<ULONG>(tags.size());
    std::copy(tags.begin(), tags.end(), block.begin() + 1);
    auto pValues = std::make_unique<Values>(m_lib, true);
    pValues->m_hr = m_lib.GetAttachmentProps(item.Handle(), hBody, reinterpret_cast<SPropTagArray *>(block.data()),
                                             &pValues->m_cValues, &pValues->m_pProps, 0);
    return pValues;
}

std::vector<HBODY> OELibTest::Attachments(TestItem &item) {
    OEAttachments *pList = nullptr;
    std::vector<HBODY> handles;
    EXPECT_EQ(m_lib.GetAttachments(item.Handle(), &pList), S_OK);
    if (!pList) return handles;
    for (ULONG i = 0; i < pList->cAttachments; ++i) handles.push_back(pList->pAttachments[i].hBody);
    m_lib.FreeAttachments(&pList);
    return handles;
}

std::string TextMessage(const std::string &strHeaders, const std::string &strBody,
                        const std::string &strContentType) {
    return strHeaders + "MIME-Version: 1.0\nContent-Type: " + strContentType + "\n\n" + strBody;
}

std::string MessageWithAttachments(const std::vector<std::pair<std::string, std::string>> &attachments) {
    std::string str = "From: a@example.org\nSubject: parts\nMIME-Version: 1.0\n"
                      "Content-Type: multipart/mixed; boundary=\"XX\"\n\n--XX\n"
                      "Content-Type: text/plain\n\nSee attached.\n";
    for (const auto &[strName, strData] : attachments) {
        str += "--XX\nContent-Type: application/octet-stream\nContent-Transfer-Encoding: base64\n"
               "Content-Disposition: attachment; filename=\"" +
               strName + "\"\n\n" + Base64(strData);
    }
    return str + "--XX--\n";
}

std::vector<std::string> Logged(const testsupport::CLogCapture &log) {
    // "dd/mm/yyyy hh:mm:ss " in front of every line; the banner's continuation lines begin with a tab.
    constexpr size_t kStampLength = 20;
    std::vector<std::string> lines;
    std::istringstream in(log.Text());
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '\t' || line.size() <= kStampLength) continue;
        line = line.substr(kStampLength);
        if (line.rfind("Inf in InitLog:", 0) != 0) lines.push_back(line);
    }
    return lines;
}

std::string Text(const SPropValue &value) { return value.Value.lpszA ? value.Value.lpszA : "<null>"; }

FILETIME LocalFileTime(int nYear, int nMonth, int nDay, int nHour, int nMinute, int nSecond) {
    SYSTEMTIME st = testsupport::MakeSystemTime(nYear, nMonth, nDay, nHour, nMinute, nSecond);
    FILETIME ft{}, ftLocal{};
    SystemTimeToFileTime(&st, &ft);
    FileTimeToLocalFileTime(&ft, &ftLocal);
    return ftLocal;
}

} // namespace oetest
