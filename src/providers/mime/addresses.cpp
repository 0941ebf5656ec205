#include "providers/mime/addresses.h"

namespace {

void AppendList(InternetAddressList *pList, ADDRESSFORMAT format, std::string &strOut) {
    int cAddresses = pList ? internet_address_list_length(pList) : 0;
    for (int i = 0; i < cAddresses; i++) {
        InternetAddress *pAddress = internet_address_list_get_address(pList, i);
        if (INTERNET_ADDRESS_IS_GROUP(pAddress)) {
            AppendList(internet_address_group_get_members(INTERNET_ADDRESS_GROUP(pAddress)), format, strOut);
            continue;
        }
        if (!INTERNET_ADDRESS_IS_MAILBOX(pAddress)) continue;
        const char *pszAddr = internet_address_mailbox_get_addr(INTERNET_ADDRESS_MAILBOX(pAddress));
        const char *pszName = internet_address_get_name(pAddress);
        std::string strAddr = pszAddr ? pszAddr : "";
        std::string strName = pszName ? pszName : "";
        std::string strText;
        if (format == AFT_DISPLAY_EMAIL || strName.empty()) strText = strAddr;
        else if (format == AFT_DISPLAY_FRIENDLY || strAddr.empty()) strText = strName;
        else strText = strName + " <" + strAddr + ">";
        if (strText.empty()) continue;
        if (!strOut.empty()) strOut += "; ";
        strOut += strText;
    }
}

} // namespace

std::string MimeFormatAddresses(GMimeMessage *pMessage, DWORD dwAdrType, ADDRESSFORMAT format) {
    static const struct {
        DWORD dwType;
        GMimeAddressType type;
    } s_rgTypes[] = {
        {IAT_FROM, GMIME_ADDRESS_TYPE_FROM}, {IAT_SENDER, GMIME_ADDRESS_TYPE_SENDER},
        {IAT_TO, GMIME_ADDRESS_TYPE_TO},     {IAT_CC, GMIME_ADDRESS_TYPE_CC},
        {IAT_BCC, GMIME_ADDRESS_TYPE_BCC},   {IAT_REPLYTO, GMIME_ADDRESS_TYPE_REPLY_TO},
    };
    std::string strOut;
    if (!pMessage) return strOut;
    for (const auto &entry : s_rgTypes)
        if (dwAdrType & entry.dwType) AppendList(g_mime_message_get_addresses(pMessage, entry.type), format, strOut);
    return strOut;
}
