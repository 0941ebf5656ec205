#include "storekind.h"

namespace {

constexpr uint32_t kValue = TS_INTERFACE_VALUE;
constexpr uint32_t kStream = TS_INTERFACE_STREAM;

// Tags without a name in tessel.h are the address book's standard ones for the vCard fields N, NICKNAME, ORG,
// TITLE, ADR and URL.
const StoreKind g_Mail{
    API_OE,
    "mail",
    "messages",
    "folder",
    "subject,from,to,date,message-id,body",
    {
        {"subject", "the Subject header", {{"subject", TS_PR_OE_SUBJECT, kValue}}},
        {"from", "the From header", {{"from", TS_PR_OE_FROM, kValue}}},
        {"to", "the To header", {{"to", TS_PR_OE_TO, kValue}}},
        {"cc", "the Cc header", {{"cc", TS_PR_OE_CC, kValue}}},
        {"bcc", "the Bcc header", {{"bcc", TS_PR_OE_BCC, kValue}}},
        {"sender", "the Sender header", {{"sender", TS_PR_OE_SENDER, kValue}}},
        {"sender-email", "the sender's address (Sender, else From)", {{"sender-email", TS_PR_OE_SENDER_EMAIL, kValue}}},
        {"from-name", "the sender's display name", {{"from-name", TS_PR_OE_DISPLAY_FROM, kValue}}},
        {"to-names", "the display names of the recipients", {{"to-names", TS_PR_OE_DISPLAY_TO, kValue}}},
        {"date", "the Date header (time sent)", {{"date", TS_PR_OE_SENT, kValue}}},
        {"received", "the time of the newest Received header", {{"received", TS_PR_OE_RECEIVED, kValue}}},
        {"size", "the size of the message in bytes", {{"size", TS_PR_OE_SIZE, kValue}}},
        {"message-id", "the Message-ID header", {{"message-id", TS_PR_OE_MESSAGE_ID, kValue}}},
        {"references", "the References header", {{"references", TS_PR_OE_REFERENCES, kValue}}},
        {"priority", "the priority (1 high, 3 normal, 5 low)", {{"priority", TS_PR_OE_PRIORITY, kValue}}},
        {"headers", "the whole header block", {{"headers", TS_PR_OE_HEADERS, kValue}}},
        {"attachments", "whether the message has attachments", {{"attachments", TS_PR_OE_HASATTACH, kValue}}},
        {"flagged", "the flagged mark", {{"flagged", TS_PR_OE_FLAGGED, kValue}}},
        {"unread", "the unread mark", {{"unread", TS_PR_OE_UNREAD, kValue}}},
        {"replied", "the replied mark", {{"replied", TS_PR_OE_REPLIED, kValue}}},
        {"body", "the text of the message (plain, else from HTML)", {{"body", TS_PR_OE_BODY, kStream}}},
        {"text-body", "the plain text body", {{"text-body", TS_PR_OE_TEXT_BODY, kStream}}},
        {"html-body", "the HTML body", {{"html-body", TS_PR_OE_HTML_BODY, kStream}}},
    },
};

const StoreKind g_Contacts{
    API_WAB,
    "contacts",
    "contacts",
    "container",
    "name,email,phone",
    {
        {"name", "the display name (FN)", {{"name", TS_PR_DISPLAY_NAME, kValue}}},
        {"email", "the first e-mail address", {{"email", TS_PR_EMAIL_ADDRESS, kValue}}},
        {"phone", "every telephone number: work, home, mobile",
         {{"work-phone", TS_PR_BUSINESS_TELEPHONE_NUMBER, kValue}, {"home-phone", TS_PR_HOME_TELEPHONE_NUMBER, kValue}, {"mobile", TS_PR_MOBILE_TELEPHONE_NUMBER, kValue}}},
        {"work-phone", "the work telephone number", {{"work-phone", TS_PR_BUSINESS_TELEPHONE_NUMBER, kValue}}},
        {"home-phone", "the home telephone number", {{"home-phone", TS_PR_HOME_TELEPHONE_NUMBER, kValue}}},
        {"mobile", "the mobile telephone number", {{"mobile", TS_PR_MOBILE_TELEPHONE_NUMBER, kValue}}},
        {"given-name", "the given name (N)", {{"given-name", 0x3A06001E, kValue}}},
        {"surname", "the family name (N)", {{"surname", 0x3A11001E, kValue}}},
        {"nickname", "the nickname", {{"nickname", 0x3A4F001E, kValue}}},
        {"company", "the organisation (ORG)", {{"company", 0x3A16001E, kValue}}},
        {"title", "the job title", {{"title", 0x3A17001E, kValue}}},
        {"note", "the note", {{"note", TS_PR_COMMENT, kValue}}},
        {"birthday", "the birthday", {{"birthday", TS_PR_BIRTHDAY, kValue}}},
        {"city", "the work address's city", {{"city", 0x3A27001E, kValue}}},
        {"home-city", "the home address's city", {{"home-city", 0x3A59001E, kValue}}},
        {"homepage", "the personal web page", {{"homepage", 0x3A50001E, kValue}}},
        {"modified", "the time of the last change (REV)", {{"modified", TS_PR_LAST_MODIFICATION_TIME, kValue}}},
    },
};

} // namespace

const StoreKind &MailStore() { return g_Mail; }
const StoreKind &ContactStore() { return g_Contacts; }

const PropertyWord *FindPropertyWord(const StoreKind &kind, const std::string &strWord) {
    for (const PropertyWord &word : kind.words)
        if (strWord == word.pszWord) return &word;
    return nullptr;
}

std::string PropertyWordList(const StoreKind &kind) {
    std::string strList;
    for (const PropertyWord &word : kind.words) {
        if (!strList.empty()) strList += ", ";
        strList += word.pszWord;
    }
    return strList;
}
