// GetAddressFormat over From, Sender, To, Cc and Bcc.
#include <gtest/gtest.h>

#include "mimetestutil.h"

using namespace mimetest;

namespace {

const char kMessage[] =
    "From: \"Doe, John\" <john@example.org>\n"
    "Sender: list-bounces@example.org\n"
    "To: =?utf-8?q?Ren=C3=A9e?= <renee@example.org>, plain@example.org,\n"
    "    Team: ann@example.org, Bob <bob@example.org>;\n"
    "Cc: undisclosed-recipients:;\n"
    "Bcc: <hidden@example.org>\n"
    "\n"
    "x\n";

class AddressTest : public ::testing::Test {
protected:
    void SetUp() override { LoadMessage(kMessage, &m_pMessage); }
    Ref<IMimeMessage> m_pMessage;
};

TEST_F(AddressTest, FriendlyFormIsTheDisplayNameOrTheAddress) {
    EXPECT_EQ("Doe, John", Addresses(m_pMessage.get(), IAT_FROM, AFT_DISPLAY_FRIENDLY));
    EXPECT_EQ("list-bounces@example.org", Addresses(m_pMessage.get(), IAT_SENDER, AFT_DISPLAY_FRIENDLY));
    EXPECT_EQ("Renée; plain@example.org; ann@example.org; Bob",
              Addresses(m_pMessage.get(), IAT_TO, AFT_DISPLAY_FRIENDLY));
    EXPECT_EQ("hidden@example.org", Addresses(m_pMessage.get(), IAT_BCC, AFT_DISPLAY_FRIENDLY));
}

TEST_F(AddressTest, EmailFormIsTheAddresses) {
    EXPECT_EQ("john@example.org", Addresses(m_pMessage.get(), IAT_FROM, AFT_DISPLAY_EMAIL));
    EXPECT_EQ("renee@example.org; plain@example.org; ann@example.org; bob@example.org",
              Addresses(m_pMessage.get(), IAT_TO, AFT_DISPLAY_EMAIL));
}

TEST_F(AddressTest, BothFormsTogether) {
    EXPECT_EQ("Doe, John <john@example.org>", Addresses(m_pMessage.get(), IAT_FROM, AFT_DISPLAY_BOTH));
}

TEST_F(AddressTest, SeveralTypesFollowHeaderOrder) {
    EXPECT_EQ("john@example.org; list-bounces@example.org",
              Addresses(m_pMessage.get(), IAT_FROM | IAT_SENDER, AFT_DISPLAY_EMAIL));
}

TEST_F(AddressTest, EmptyGroupAndAbsentHeaderAreNotFound) {
    EXPECT_EQ(HrText(MIME_E_NOT_FOUND), Addresses(m_pMessage.get(), IAT_CC, AFT_DISPLAY_FRIENDLY));
    EXPECT_EQ(HrText(MIME_E_NOT_FOUND), Addresses(m_pMessage.get(), IAT_REPLYTO, AFT_DISPLAY_EMAIL));
}

TEST_F(AddressTest, UnknownFormatIsRefused) {
    LPSTR psz = reinterpret_cast<LPSTR>(1);
    EXPECT_EQ(E_INVALIDARG, m_pMessage->GetAddressFormat(IAT_FROM, 7, &psz));
    EXPECT_EQ(nullptr, psz);
}

TEST(AddressEdgeTest, BrokenAddressHeadersDontFail) {
    Ref<IMimeMessage> pMessage;
    LoadMessage("From: <<<@@@>>> \"unterminated\nTo: ,,,;;;\n\nx\n", &pMessage);
    LPSTR psz = nullptr;
    HRESULT hr = pMessage->GetAddressFormat(IAT_FROM | IAT_TO, AFT_DISPLAY_FRIENDLY, &psz);
    EXPECT_TRUE(hr == S_OK || hr == MIME_E_NOT_FOUND);
    std::free(psz);
}

} // namespace
