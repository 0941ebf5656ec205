// A message object that reads its bytes only when a call first needs them: an open that is followed by nothing but a
// close, or by reads that a caller serves from elsewhere, costs no file read and no parse.
#pragma once

#include <memory>
#include <string>

#include "platform/mimeole.h"

// Where a message read later takes its bytes from. One object per message: a store opens one for every comparison
// of a body, so it is a single small allocation rather than a pair of functions.
class IMimeLaterReader {
public:
    virtual ~IMimeLaterReader() = default;
    // All of the message's bytes.
    virtual HRESULT Read(std::string &strOut) = 0;
    // The first bytes, up to at least the header block's end; *pbWhole when they are all of the message. A reader
    // that can't read the head alone gives all of it.
    virtual HRESULT ReadHead(std::string &strOut, bool *pbWhole) {
        *pbWhole = true;
        return Read(strOut);
    }
};

// A new message whose bytes pReader gives at the first call that needs them (a failure there fails that call with
// the reader's code, and the next call tries again). Calls that read only the top headers take the first bytes
// ReadHead gives, and Read is called only when a call needs more. The caller owns the one reference.
HRESULT MimeOpenMessageLater(std::unique_ptr<IMimeLaterReader> pReader, IMimeMessage **ppMessage);
