// The MIME tree as a mail client sees it: which parts are the text bodies, which are attachments, and what their
// content and names are.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "providers/mime/gmimeutil.h"

// Depth-first, parents before children. Multiparts are entered; an attached message is one leaf. The callback
// gets the part, its parent multipart (null for the top) and its index there.
void MimeWalkTree(GMimeObject *pRoot, const std::function<void(GMimeObject *, GMimeMultipart *, int)> &fnVisit);

// The multipart holding pPart and its index there; null when pPart is the top or not in the tree.
GMimeMultipart *MimeFindParent(GMimeObject *pRoot, GMimeObject *pPart, int *pnIndex);
bool MimeTreeContains(GMimeObject *pRoot, GMimeObject *pPart);

// The plain or HTML body: the first text part of that subtype that is not marked as an attachment, and carries
// no file name unless it is the top part or marked inline. Null when there is none.
GMimeObject *MimeFindTextBody(GMimeObject *pRoot, bool bHtml);

// The parts shown as attachments, in tree order: every leaf but the text bodies, inline text, the resources of
// an HTML body and a signature.
std::vector<GMimeObject *> MimeListAttachments(GMimeObject *pRoot);

// The content without its transfer encoding; an attached message as its source.
std::string MimeDecodedContent(GMimeObject *pPart);
// The decoded content of a text part, converted from its charset to UTF-8. Bytes of value 0 stay.
std::string MimeTextContent(GMimeObject *pPart);
// The part's file name, or a name made from its content type ("attachment.pdf", "message.eml").
std::string MimeDisplayName(GMimeObject *pPart);

bool MimeIsType(GMimeObject *pPart, const char *pszType, const char *pszSubtype);
