// The listing fields of a message, read from its header block alone: a listing never parses a body.
#pragma once

#include <string>
#include <string_view>

#include "platform/msgstore.h"

// Fills cbMessage, priority, ftReceived, ftSent and the four texts of *pProps from the file at strPath. The
// texts are heap copies for FreeMessageProps, null where the header is absent. ftReceived is the date of the
// newest "Received" header, else the file's modification time; ftSent is "Date", else 0.
HRESULT ReadHeaderProps(const std::string &strPath, MESSAGEPROPS *pProps);

// The subject without its reply and forward prefixes ("Re: ", "Fwd: ", "AW: ", "Re[2]: " ...).
std::string_view NormalizeSubject(std::string_view svSubject);

// Frees the four texts of *pProps and nulls them.
void FreeHeaderTexts(MESSAGEPROPS *pProps);
