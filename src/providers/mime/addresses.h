// The address headers of a message as the display texts of IMimeMessage::GetAddressFormat.
#pragma once

#include <string>

#include "platform/mimeole.h"
#include "providers/mime/gmimeutil.h"

// The addresses of every IAT_* type in dwAdrType (From, Sender, To, Cc, Bcc, Reply-To in this order), members
// of groups included, in the format asked for, joined by "; ". Empty when there is none.
std::string MimeFormatAddresses(GMimeMessage *pMessage, DWORD dwAdrType, ADDRESSFORMAT format);
