// The comparison of a few items side by side: for every property, which items hold equal values (marked with the
// same letter), with a short view of each value; for messages also which attachments each item has.
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "propset.h"
#include "records.h"
#include "session.h"

struct MatrixCell {
    std::string strMark;  // "A", "B", ...: equal values share a letter; "" when the item has no value
    std::string strValue; // a short view of the value
    uint32_t nSize = 0;
};

struct MatrixView {
    std::vector<ItemInfo> items;
    std::vector<std::string> properties;
    std::vector<std::vector<MatrixCell>> cells; // [property][item]
    struct Attachment {
        std::string strName;
        std::vector<bool> in; // [item]
    };
    std::vector<Attachment> attachments;
};

// False with a message when the library refuses the matrix or an item.
bool BuildMatrixView(CSession &session, CPropertySet &props, const std::vector<ItemInfo> &items, MatrixView &view,
                     std::string &strError);

void PrintMatrixTable(const StoreKind &kind, const MatrixView &view);
nlohmann::ordered_json MatrixJson(const StoreKind &kind, const MatrixView &view);
