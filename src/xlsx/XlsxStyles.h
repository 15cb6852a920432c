#pragma once
// TStyles: a workbook's style sheet. A cell's look is an index into its cell formats; an edit
// derives a new cell format from the cell's own, with the edit's fill, font, number format or
// indent, so that everything else of the template's format (borders, number formats, alignment)
// stays. Equal derivations share one format, fill and font.
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <pugixml.hpp>

#include "xlsx/XlsxWorkbook.h"

namespace xlsx {

class TStyles {
public:
    // Excel's limit of cell formats in a workbook.
    static constexpr size_t kMaxFormats = 64000;

    // Reads a style sheet; EXlsxError when it lacks the parts every workbook has.
    void Load(const std::string& bytes, std::string_view partName);
    std::string Save() const;
    bool Changed() const { return changed_; }

    // A cell format index that the sheet may carry: an index the sheet doesn't have reads as 0.
    uint32_t Valid(uint32_t xf) const { return xf < xfs_.size() ? xf : 0; }
    // The format of xf with the change; EXlsxError past kMaxFormats.
    uint32_t Derive(uint32_t xf, const TCellFormat& change);

    struct TLook {
        std::optional<uint32_t> fillRgb;  // a solid fill's colour
        bool bold = false;
        int indent = 0;
    };
    TLook Look(uint32_t xf) const;

private:
    int FillFor(uint32_t rgb);
    int FontFor(int baseFont, const TCellFormat& change);
    int NumberFormatFor(const std::string& code);

    pugi::xml_document doc_;
    pugi::xml_node numFmts_, fonts_, fills_, cellXfs_;
    std::vector<pugi::xml_node> fontList_, fillList_, xfs_;
    std::map<std::string, int> numberFormats_;
    int nextNumberFormat_ = 164;
    std::unordered_map<std::string, uint32_t> derived_;
    std::unordered_map<uint64_t, uint32_t> quick_;  // single fills, bolds and indents
    std::unordered_map<uint32_t, int> solidFills_;
    std::map<std::string, int> derivedFonts_;
    bool changed_ = false;
};

}  // namespace xlsx
