#include "xlsx/XlsxStyles.h"

#include <algorithm>
#include <cstdio>

#include "xlsx/XlsxXml.h"

namespace xlsx {

namespace {

void SetAttr(pugi::xml_node node, const char* name, const char* value) {
    pugi::xml_attribute a = node.attribute(name);
    if (!a) a = node.append_attribute(name);
    a.set_value(value);
}

void SetAttr(pugi::xml_node node, const char* name, long long value) {
    SetAttr(node, name, std::to_string(value).c_str());
}

std::vector<pugi::xml_node> Elements(pugi::xml_node parent, std::string_view localName) {
    std::vector<pugi::xml_node> list;
    for (pugi::xml_node c = Child(parent, localName); c; c = NextSibling(c, localName)) list.push_back(c);
    return list;
}

void SetCount(pugi::xml_node node, size_t count) {
    if (node) SetAttr(node, "count", static_cast<long long>(count));
}

bool ReadsTrue(const pugi::xml_node& flag) {
    if (!flag) return false;
    pugi::xml_attribute val = flag.attribute("val");
    if (!val) return true;
    std::string_view v = val.value();
    return !(v == "0" || v == "false");
}

std::string FormatKey(uint32_t xf, const TCellFormat& c) {
    std::string key = std::to_string(xf);
    char buf[64];
    if (c.FillRgb) std::snprintf(buf, sizeof buf, "|f%06X", *c.FillRgb), key += buf;
    if (c.Bold) key += *c.Bold ? "|b1" : "|b0";
    if (c.FontSize) std::snprintf(buf, sizeof buf, "|s%.17g", *c.FontSize), key += buf;
    if (c.FontRgb) std::snprintf(buf, sizeof buf, "|c%06X", *c.FontRgb), key += buf;
    if (c.Indent) key += "|i" + std::to_string(*c.Indent);
    if (c.NumberFormat) key += "|n" + *c.NumberFormat;
    return key;
}

// The common edits (one fill, the bold, an indent, as reports make them a cell at a time) are
// looked up by a number instead of a text.
std::optional<uint64_t> QuickKey(uint32_t xf, const TCellFormat& c) {
    if (c.FontSize || c.FontRgb || c.NumberFormat) return std::nullopt;
    if ((c.FillRgb ? 1 : 0) + (c.Bold ? 1 : 0) + (c.Indent ? 1 : 0) != 1) return std::nullopt;
    uint64_t key = uint64_t{xf} << 32;
    if (c.FillRgb) key |= (uint64_t{1} << 30) | (*c.FillRgb & 0xFFFFFFu);
    else if (c.Bold) key |= (uint64_t{2} << 30) | (*c.Bold ? 1u : 0u);
    else key |= (uint64_t{3} << 30) | static_cast<uint32_t>(std::clamp(*c.Indent, 0, kMaxIndent));
    return key;
}

}  // namespace

void TStyles::Load(const std::string& bytes, std::string_view partName) {
    ParsePart(doc_, bytes, partName);
    pugi::xml_node sheet = doc_.document_element();
    if (LocalName(sheet) != "styleSheet") throw EXlsxError("the part " + std::string(partName) + " is no style sheet");
    numFmts_ = Child(sheet, "numFmts");
    fonts_ = Child(sheet, "fonts");
    fills_ = Child(sheet, "fills");
    cellXfs_ = Child(sheet, "cellXfs");
    if (!fonts_ || !fills_ || !cellXfs_)
        throw EXlsxError("the style sheet " + std::string(partName) + " lacks its fonts, fills or cell formats");
    fontList_ = Elements(fonts_, "font");
    fillList_ = Elements(fills_, "fill");
    xfs_ = Elements(cellXfs_, "xf");
    if (fontList_.empty() || xfs_.empty())
        throw EXlsxError("the style sheet " + std::string(partName) + " has no font or no cell format");
    for (pugi::xml_node f : Elements(numFmts_, "numFmt")) {
        int id = f.attribute("numFmtId").as_int(-1);
        if (id < 0) continue;
        numberFormats_.emplace(f.attribute("formatCode").value(), id);
        nextNumberFormat_ = std::max(nextNumberFormat_, id + 1);
    }
}

std::string TStyles::Save() const { return WritePart(doc_); }

int TStyles::FillFor(uint32_t rgb) {
    if (auto it = solidFills_.find(rgb); it != solidFills_.end()) return it->second;
    pugi::xml_node fill = AddChild(fills_, "fill");
    pugi::xml_node pattern = AddChild(fill, "patternFill");
    SetAttr(pattern, "patternType", "solid");
    SetAttr(AddChild(pattern, "fgColor"), "rgb", ArgbText(rgb).c_str());
    SetAttr(AddChild(pattern, "bgColor"), "indexed", "64");
    fillList_.push_back(fill);
    int id = static_cast<int>(fillList_.size()) - 1;
    solidFills_.emplace(rgb, id);
    SetCount(fills_, fillList_.size());
    return id;
}

int TStyles::FontFor(int baseFont, const TCellFormat& c) {
    std::string key = std::to_string(baseFont);
    char buf[64];
    if (c.Bold) key += *c.Bold ? "|b1" : "|b0";
    if (c.FontSize) std::snprintf(buf, sizeof buf, "|s%.17g", *c.FontSize), key += buf;
    if (c.FontRgb) std::snprintf(buf, sizeof buf, "|c%06X", *c.FontRgb), key += buf;
    if (auto it = derivedFonts_.find(key); it != derivedFonts_.end()) return it->second;

    pugi::xml_node font = fonts_.append_copy(fontList_.at(static_cast<size_t>(baseFont)));
    if (c.Bold) {
        while (pugi::xml_node b = Child(font, "b")) font.remove_child(b);
        if (*c.Bold) AddChild(font, "b", font.first_child());
    }
    if (c.FontSize) {
        pugi::xml_node sz = Child(font, "sz");
        if (!sz) sz = AddChild(font, "sz", Child(font, "color") ? Child(font, "color") : Child(font, "name"));
        std::snprintf(buf, sizeof buf, "%g", *c.FontSize);
        SetAttr(sz, "val", buf);
    }
    if (c.FontRgb) {
        while (pugi::xml_node old = Child(font, "color")) font.remove_child(old);
        // Excel writes the colour before the name; keep its order.
        SetAttr(AddChild(font, "color", Child(font, "name")), "rgb", ArgbText(*c.FontRgb).c_str());
    }
    fontList_.push_back(font);
    int id = static_cast<int>(fontList_.size()) - 1;
    derivedFonts_.emplace(std::move(key), id);
    SetCount(fonts_, fontList_.size());
    return id;
}

int TStyles::NumberFormatFor(const std::string& code) {
    if (code == "General") return 0;
    if (auto it = numberFormats_.find(code); it != numberFormats_.end()) return it->second;
    if (!numFmts_) {
        pugi::xml_node sheet = doc_.document_element();
        numFmts_ = AddChild(sheet, "numFmts", sheet.first_child());
    }
    pugi::xml_node f = AddChild(numFmts_, "numFmt");
    int id = nextNumberFormat_++;
    SetAttr(f, "numFmtId", id);
    SetAttr(f, "formatCode", code.c_str());
    numberFormats_.emplace(code, id);
    SetCount(numFmts_, numberFormats_.size());
    return id;
}

uint32_t TStyles::Derive(uint32_t xf, const TCellFormat& change) {
    xf = Valid(xf);
    if (!change.FillRgb && !change.Bold && !change.FontSize && !change.FontRgb && !change.NumberFormat &&
        !change.Indent)
        return xf;
    std::optional<uint64_t> quick = QuickKey(xf, change);
    std::string key;
    if (quick) {
        if (auto it = quick_.find(*quick); it != quick_.end()) return it->second;
    } else {
        key = FormatKey(xf, change);
        if (auto it = derived_.find(key); it != derived_.end()) return it->second;
    }
    if (xfs_.size() >= kMaxFormats) throw EXlsxError("the workbook has too many cell formats");

    pugi::xml_node x = cellXfs_.append_copy(xfs_[xf]);
    if (change.FillRgb) {
        SetAttr(x, "fillId", FillFor(*change.FillRgb));
        SetAttr(x, "applyFill", "1");
    }
    if (change.Bold || change.FontSize || change.FontRgb) {
        int base = x.attribute("fontId").as_int(0);
        if (base < 0 || static_cast<size_t>(base) >= fontList_.size()) base = 0;
        SetAttr(x, "fontId", FontFor(base, change));
        SetAttr(x, "applyFont", "1");
    }
    if (change.NumberFormat) {
        SetAttr(x, "numFmtId", NumberFormatFor(*change.NumberFormat));
        SetAttr(x, "applyNumberFormat", "1");
    }
    if (change.Indent) {
        int indent = std::clamp(*change.Indent, 0, kMaxIndent);
        pugi::xml_node align = Child(x, "alignment");
        if (!align) align = AddChild(x, "alignment", x.first_child());
        std::string_view horizontal = align.attribute("horizontal").value();
        if (indent > 0 && horizontal != "left" && horizontal != "right" && horizontal != "distributed")
            SetAttr(align, "horizontal", "left");
        if (indent > 0) SetAttr(align, "indent", indent);
        else align.remove_attribute("indent");
        SetAttr(x, "applyAlignment", "1");
    }
    xfs_.push_back(x);
    SetCount(cellXfs_, xfs_.size());
    changed_ = true;
    uint32_t id = static_cast<uint32_t>(xfs_.size() - 1);
    if (quick) quick_.emplace(*quick, id);
    else derived_.emplace(std::move(key), id);
    return id;
}

TStyles::TLook TStyles::Look(uint32_t xf) const {
    TLook look;
    pugi::xml_node x = xfs_[Valid(xf)];
    int fillId = x.attribute("fillId").as_int(0);
    if (fillId >= 0 && static_cast<size_t>(fillId) < fillList_.size()) {
        pugi::xml_node pattern = Child(fillList_[static_cast<size_t>(fillId)], "patternFill");
        uint32_t rgb = 0;
        if (std::string_view(pattern.attribute("patternType").value()) == "solid" &&
            ParseArgb(Child(pattern, "fgColor").attribute("rgb").value(), rgb))
            look.fillRgb = rgb;
    }
    int fontId = x.attribute("fontId").as_int(0);
    if (fontId >= 0 && static_cast<size_t>(fontId) < fontList_.size())
        look.bold = ReadsTrue(Child(fontList_[static_cast<size_t>(fontId)], "b"));
    look.indent = Child(x, "alignment").attribute("indent").as_int(0);
    return look;
}

}  // namespace xlsx
