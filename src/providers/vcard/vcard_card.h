// The in-memory form of vCard text (2.1, 3.0, 4.0). Parsing keeps the original bytes of every card and every
// content line, so that writing a card back reproduces what it did not change byte for byte; only lines that were
// changed or added are written anew (folded at 75 octets, in the card's own line ending).
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vcard {

// One parameter. A 2.1 bare word ("HOME", "QUOTED-PRINTABLE") has an empty name and the word as its one value.
struct VParam {
    std::string sName; // upper case
    std::vector<std::string> values;
};

// One content line: [group.]NAME[;params]:value.
struct VProperty {
    std::string sGroup;          // as written, may be empty
    std::string sName;           // upper case
    std::vector<VParam> params;
    std::string sValue;          // unfolded, still escaped/encoded as in the file
    std::string sRaw;            // the original bytes, folding and line end included; empty once changed

    bool HasType(std::string_view sType) const;    // TYPE=a,b / TYPE=a;TYPE=b / 2.1 bare words, any case
    std::string Param(std::string_view sName) const; // first value of a named parameter, or ""
    bool IsQuotedPrintable() const;
    bool IsBase64() const;
    std::string Charset() const;
};

struct VCard {
    std::vector<VProperty> props; // between BEGIN and END
    std::string sVersion;         // "2.1", "3.0", "4.0"; "" when the card names none
    std::string sEol = "\r\n";    // the line ending the card uses
    std::string sBeginRaw;        // BEGIN:VCARD as written (with blank lines that followed it); "" for new cards
    std::string sEndRaw;          // END:VCARD as written, line end included if there was one
    std::string sRaw;             // the card's original bytes, BEGIN to END and its line end; empty once changed
    int nLine = 0;                // line of BEGIN:VCARD in its file, 1-based

    // First property of that name, or null.
    const VProperty *Find(std::string_view sName) const;
    VProperty *Find(std::string_view sName);
    std::string Uid() const; // the UID value, or ""
};

// A piece of a file: a parsed card, or text kept verbatim (a BOM, blank lines, a card that could not be parsed).
struct VChunk {
    bool bCard = false;
    VCard card;
    std::string sText;
};

// Something wrong in the input: a card skipped, with the line it began on.
struct VProblem {
    int nLine;
    std::string sWhat;
};

struct VFile {
    std::vector<VChunk> chunks;
};

// Parses a whole file. Never fails: what cannot be parsed becomes verbatim text and a problem.
VFile ParseFile(std::string_view sText, std::vector<VProblem> *pProblems);

// Parses content lines given as text (unfolded or folded, any line ending); false if one of them is no content
// line. Used when a caller hands over raw lines as a property value.
bool ParseContentLines(std::string_view sText, std::vector<VProperty> *pProps);

// The file, card or property as text: original bytes where unchanged, else written anew.
std::string WriteFile(const VFile &file);
std::string WriteCard(const VCard &card);
std::string WriteProperty(const VProperty &prop, const std::string &sEol);
// A property as one unfolded logical line, without line end.
std::string LogicalLine(const VProperty &prop);

} // namespace vcard
