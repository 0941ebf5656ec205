#include "storekind.h"

namespace {

constexpr uint32_t kValue = TS_INTERFACE_VALUE;
constexpr uint32_t kStream = TS_INTERFACE_STREAM;

// The message store's tags are a private numbering between libtessel and its hosts; see tessel.h's users.
const StoreKind g_Mail{
    API_OE,
    "mail",
    "messages",
    "folder",
    "subject,from,to,date,message-id,body",
    {
        {"subject", "the Subject header", {{"subject", 0x8010001E, kValue}}},
        {"from", "the From header", {{"from", 0x801E001E, kValue}}},
        {"to", "the To header", {{"to", 0x8024001E, kValue}}},
        {"cc", "the Cc header", {{"cc", 0x8022001E, kValue}}},
        {"bcc", "the Bcc header", {{"bcc", 0x8020001E, kValue}}},
        {"sender", "the Sender header", {{"sender", 0x8026001E, kValue}}},
        {"sender-email", "the sender's address (Sender, else From)", {{"sender-email", 0x8007001E, kValue}}},
        {"from-name", "the sender's display name", {{"from-name", 0x800D001E, kValue}}},
        {"to-names", "the display names of the recipients", {{"to-names", 0x8004001E, kValue}}},
        {"date", "the Date header (time sent)", {{"date", 0x800E0040, kValue}}},
        {"received", "the time of the newest Received header", {{"received", 0x800C0040, kValue}}},
        {"size", "the size of the message in bytes", {{"size", 0x800F0003, kValue}}},
        {"message-id", "the Message-ID header", {{"message-id", 0x8012001E, kValue}}},
        {"references", "the References header", {{"references", 0x8011001E, kValue}}},
        {"priority", "the priority (1 high, 3 normal, 5 low)", {{"priority", 0x800A0003, kValue}}},
        {"headers", "the whole header block", {{"headers", 0x8008001E, kValue}}},
        {"attachments", "whether the message has attachments", {{"attachments", 0x8001000B, kValue}}},
        {"flagged", "the flagged mark", {{"flagged", 0x8006000B, kValue}}},
        {"unread", "the unread mark", {{"unread", 0x800B000B, kValue}}},
        {"replied", "the replied mark", {{"replied", 0x801B000B, kValue}}},
        {"body", "the text of the message (plain, else from HTML)", {{"body", 0x8005001E, kStream}}},
        {"text-body", "the plain text body", {{"text-body", 0x8028001E, kStream}}},
        {"html-body", "the HTML body", {{"html-body", 0x8027001E, kStream}}},
    },
};

const StoreKind g_Contacts{
    API_WAB,
    "contacts",
    "contacts",
    "container",
    "name,email,phone",
    {
        {"name", "the display name (FN)", {{"name", 0x3001001E, kValue}}},
        {"email", "the first e-mail address", {{"email", 0x3003001E, kValue}}},
        {"phone", "every telephone number: work, home, mobile",
         {{"work-phone", 0x3A08001E, kValue}, {"home-phone", 0x3A09001E, kValue}, {"mobile", 0x3A1C001E, kValue}}},
        {"work-phone", "the work telephone number", {{"work-phone", 0x3A08001E, kValue}}},
        {"home-phone", "the home telephone number", {{"home-phone", 0x3A09001E, kValue}}},
        {"mobile", "the mobile telephone number", {{"mobile", 0x3A1C001E, kValue}}},
        {"given-name", "the given name (N)", {{"given-name", 0x3A06001E, kValue}}},
        {"surname", "the family name (N)", {{"surname", 0x3A11001E, kValue}}},
        {"nickname", "the nickname", {{"nickname", 0x3A4F001E, kValue}}},
        {"company", "the organisation (ORG)", {{"company", 0x3A16001E, kValue}}},
        {"title", "the job title", {{"title", 0x3A17001E, kValue}}},
        {"note", "the note", {{"note", 0x3004001E, kValue}}},
        {"birthday", "the birthday", {{"birthday", 0x3A420040, kValue}}},
        {"city", "the work address's city", {{"city", 0x3A27001E, kValue}}},
        {"home-city", "the home address's city", {{"home-city", 0x3A59001E, kValue}}},
        {"homepage", "the personal web page", {{"homepage", 0x3A50001E, kValue}}},
        {"modified", "the time of the last change (REV)", {{"modified", 0x30080040, kValue}}},
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
