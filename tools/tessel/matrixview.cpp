#include "matrixview.h"

#include <cstdio>
#include <map>

#include "itemout.h"
#include "table.h"

namespace {

constexpr size_t kValueWidth = 28;

std::string MarkLetter(size_t n) {
    std::string str;
    do {
        str.insert(str.begin(), static_cast<char>('A' + n % 26));
        n /= 26;
    } while (n-- > 0);
    return str;
}

// A short view of one value of an open item, read by its type.
std::string ValueText(CSession &session, TS_HITEM hItem, PropDesc &desc) {
    const uint32_t nType = desc.Tag & 0xFFFF;
    if (nType == TS_PT_STRING8) {
        char *psz = nullptr;
        std::string str;
        if (TS_GetItemTextProp(session.Lib(), session.Api(), hItem, &desc, &psz) == 0 && psz) str = psz;
        if (psz) TS_FreeBuffer(session.Lib(), session.Api(), psz);
        return str;
    }
    if (nType == TS_PT_SYSTIME) {
        SYSTEMTIME st{};
        if (TS_GetItemDateProp(session.Lib(), session.Api(), hItem, &desc, &st, 1) != 0) return std::string();
        char sz[64];
        std::snprintf(sz, sizeof sz, "%04u-%02u-%02u %02u:%02u", st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute);
        return sz;
    }
    int32_t n = 0;
    if (TS_GetItemNumProp(session.Lib(), session.Api(), hItem, &desc, &n) != 0) return std::string();
    if (nType == TS_PT_BOOLEAN) return n ? "yes" : "no";
    return std::to_string(n);
}

void ReadValues(CSession &session, CPropertySet &props, MatrixView &view) {
    for (size_t r = 0; r < view.items.size(); ++r) {
        TS_HITEM hItem = nullptr;
        if (TS_OpenItem(session.Lib(), session.Api(), view.items[r].strEntry.c_str(), &hItem, 0) != 0 || !hItem)
            continue;
        for (size_t c = 0; c < props.Count(); ++c) {
            PropDesc desc = props.Desc(c);
            if (!view.cells[c][r].strMark.empty()) view.cells[c][r].strValue = ValueText(session, hItem, desc);
        }
        TS_CloseItem(session.Lib(), session.Api(), hItem);
    }
}

void ReadAttachments(CCmpMatrix *pMatrix, MatrixView &view) {
    CmpMatrix_BuildAttachMatrix(pMatrix);
    const int32_t nAttach = CmpMatrix_AttachCount(pMatrix);
    for (int32_t a = 0; a < nAttach; ++a) {
        AttachInfo info{};
        if (!CmpMatrix_AttachInfo(pMatrix, static_cast<uint32_t>(a), &info)) continue;
        MatrixView::Attachment attachment;
        attachment.strName = info.szDisplayName ? info.szDisplayName : "(no name)";
        for (size_t r = 0; r < view.items.size(); ++r)
            attachment.in.push_back(CmpMatrix_AttachValue(pMatrix, static_cast<int32_t>(r), static_cast<uint32_t>(a)) != 0);
        view.attachments.push_back(attachment);
    }
}

} // namespace

bool BuildMatrixView(CSession &session, CPropertySet &props, const std::vector<ItemInfo> &items, MatrixView &view,
                     std::string &strError) {
    view = MatrixView{};
    view.items = items;
    PropList list = props.List();
    CCmpMatrix *pMatrix = CmpMatrix_Create(session.Lib(), session.Api(), &list);
    if (!pMatrix) {
        strError = "the library could not create a comparison";
        return false;
    }
    for (const ItemInfo &item : items) {
        if (!CmpMatrix_Add(pMatrix, item.strEntry.c_str(), item.strFolderEntry.c_str())) {
            CmpMatrix_Delete(pMatrix);
            strError = "the entry " + item.strEntry + " could not be read for the comparison";
            return false;
        }
    }
    int32_t nRows = 0, nCols = 0;
    CmpMatrix_Size(pMatrix, &nRows, &nCols);
    for (int32_t c = 0; c < nCols && static_cast<size_t>(c) < props.Count(); ++c) {
        view.properties.push_back(props.Name(c));
        std::vector<MatrixCell> column(items.size());
        std::map<int32_t, std::string> marks; // first row holding a value -> its letter
        for (int32_t r = 0; r < nRows && static_cast<size_t>(r) < items.size(); ++r) {
            const int32_t nValue = CmpMatrix_Value(pMatrix, r, c);
            if (nValue <= 0) continue;
            auto found = marks.find(nValue - 1);
            if (found == marks.end()) found = marks.emplace(nValue - 1, MarkLetter(marks.size())).first;
            column[r].strMark = found->second;
            column[r].nSize = CmpMatrix_ValueSize(pMatrix, r, c);
        }
        view.cells.push_back(std::move(column));
    }
    if (session.Api() == API_OE) ReadAttachments(pMatrix, view);
    CmpMatrix_Delete(pMatrix);
    ReadValues(session, props, view);
    return true;
}

void PrintMatrixTable(const StoreKind &kind, const MatrixView &view) {
    std::vector<std::string> header{"#"};
    for (const std::string &strColumn : ItemHeader(kind)) header.push_back(strColumn);
    CTable items(header);
    for (size_t r = 0; r < view.items.size(); ++r) {
        std::vector<std::string> cells{std::to_string(r + 1)};
        for (std::string &cell : ItemCells(kind, view.items[r])) cells.push_back(std::move(cell));
        items.AddRow(std::move(cells));
    }
    items.Print(stdout);

    std::vector<std::string> columns{"Property"};
    for (size_t r = 0; r < view.items.size(); ++r) columns.push_back("#" + std::to_string(r + 1));
    CTable matrix(columns, kValueWidth + 4);
    for (size_t c = 0; c < view.properties.size(); ++c) {
        std::vector<std::string> cells{view.properties[c]};
        for (const MatrixCell &cell : view.cells[c])
            cells.push_back(cell.strMark.empty() ? "-" : cell.strMark + "  " + Fit(cell.strValue, kValueWidth));
        matrix.AddRow(std::move(cells));
    }
    std::printf("\n");
    matrix.Print(stdout);
    std::printf("Equal values have the same letter; - is no value.\n");

    if (kind.nAPI != API_OE) return;
    std::printf("\n");
    if (view.attachments.empty()) {
        std::printf("No attachments.\n");
        return;
    }
    std::vector<std::string> attachColumns{"Attachment"};
    for (size_t r = 0; r < view.items.size(); ++r) attachColumns.push_back("#" + std::to_string(r + 1));
    CTable attachments(attachColumns);
    for (const MatrixView::Attachment &attachment : view.attachments) {
        std::vector<std::string> cells{attachment.strName};
        for (bool bIn : attachment.in) cells.push_back(bIn ? "yes" : "-");
        attachments.AddRow(std::move(cells));
    }
    attachments.Print(stdout);
}

nlohmann::ordered_json MatrixJson(const StoreKind &kind, const MatrixView &view) {
    nlohmann::ordered_json doc;
    doc["store"] = kind.pszName;
    doc["items"] = nlohmann::ordered_json::array();
    for (const ItemInfo &item : view.items) doc["items"].push_back(ItemJson(kind, item));
    doc["properties"] = nlohmann::ordered_json::array();
    for (size_t c = 0; c < view.properties.size(); ++c) {
        nlohmann::ordered_json prop;
        prop["name"] = view.properties[c];
        prop["cells"] = nlohmann::ordered_json::array();
        for (const MatrixCell &cell : view.cells[c]) {
            if (cell.strMark.empty()) prop["cells"].push_back(nullptr);
            else prop["cells"].push_back({{"mark", cell.strMark}, {"value", cell.strValue}, {"size", cell.nSize}});
        }
        doc["properties"].push_back(prop);
    }
    if (kind.nAPI == API_OE) {
        doc["attachments"] = nlohmann::ordered_json::array();
        for (const MatrixView::Attachment &attachment : view.attachments)
            doc["attachments"].push_back({{"name", attachment.strName}, {"in", attachment.in}});
    }
    return doc;
}
