// Fuzz target for the vCard parser and writer: any bytes parse without a crash, write back unchanged, and every
// card found survives reading all mapped fields, a change of a mapped field and a second parse.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "providers/vcard/vcard_card.h"
#include "providers/vcard/vcard_propmap.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string_view sText(reinterpret_cast<const char *>(data), size);
    std::vector<vcard::VProblem> problems;
    vcard::VFile file = vcard::ParseFile(sText, &problems);
    if (vcard::WriteFile(file) != sText) __builtin_trap();
    for (vcard::VChunk &chunk : file.chunks) {
        if (!chunk.bCard) continue;
        vcard::VCard &card = chunk.card;
        for (const vcard::FieldMap &map : vcard::FieldMaps()) {
            vcard::PropData data;
            vcard::ReadField(card, map, &data);
        }
        for (size_t i = 0; i < card.props.size(); ++i) vcard::IsFullyMapped(card, i);
        vcard::PropData name;
        name.ulType = PT_STRING8;
        name.sBytes = "Fuzz, \"name\";\nwith lines \xC3\xA9";
        vcard::WriteField(&card, *vcard::FindFieldMap(PROP_ID(PR_DISPLAY_NAME)), name);
        vcard::WriteField(&card, *vcard::FindFieldMap(PROP_ID(PR_HOME_ADDRESS_CITY)), name);
        std::string sCard = vcard::WriteCard(card);
        vcard::VFile again = vcard::ParseFile(sCard, nullptr);
        if (again.chunks.empty() || !again.chunks[0].bCard) __builtin_trap();
        vcard::PropData back;
        if (!vcard::ReadField(again.chunks[0].card, *vcard::FindFieldMap(PROP_ID(PR_DISPLAY_NAME)), &back) ||
            back.sBytes != name.sBytes)
            __builtin_trap();
    }
    return 0;
}
