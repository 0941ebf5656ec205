// IMimeBody (and IMimePropertySet) of one body of a message: a message reference and a handle, resolved on every
// call, so that the object follows the message through a lazy parse.
#pragma once

#include "providers/mime/mimemessage.h"

HRESULT MimeCreateBodyObject(CMimeMessage *pMessage, HBODY hBody, IMimeBody **ppBody);
