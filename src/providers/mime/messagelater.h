// A message object that reads its bytes only when a call first needs them: an open that is followed by nothing but a
// close, or by reads that a caller serves from elsewhere, costs no file read and no parse.
#pragma once

#include <functional>
#include <string>

#include "platform/mimeole.h"

// A new message whose bytes fnRead gives at the first call that needs them (a failure there fails that call with
// fnRead's code, and the next call tries again). With fnReadHead, calls that read only the top headers take the
// first bytes it gives (up to at least the header block's end; *pbWhole when they are all of the message), and
// fnRead is called only when a call needs more. The caller owns the one reference.
HRESULT MimeOpenMessageLater(std::function<HRESULT(std::string &)> fnRead, IMimeMessage **ppMessage,
                             std::function<HRESULT(std::string &, bool *pbWhole)> fnReadHead = nullptr);
