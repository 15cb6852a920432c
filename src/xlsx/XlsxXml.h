#pragma once
// What the workbook engine's parts share of XML: parsing a part with pugixml, writing it back
// with the standard declaration, finding elements by their local name whatever prefix the file
// gives SpreadsheetML, and the text of cell values and cell references.
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include <pugixml.hpp>

namespace xlsx {

// Parses a part; EXlsxError naming the part when it is not well-formed XML.
void ParsePart(pugi::xml_document& doc, const std::string& bytes, std::string_view partName);
// The document as a part's bytes, with the XML declaration first.
std::string WritePart(const pugi::xml_document& doc);

// The name without its prefix: "x:row" gives "row".
std::string_view LocalName(const pugi::xml_node& node);
std::string_view LocalName(const pugi::xml_attribute& attr);
// The prefix with its colon ("x:"), empty for none.
std::string Prefix(const pugi::xml_node& node);
// The first child, or next sibling, of that local name; empty when none.
pugi::xml_node Child(const pugi::xml_node& node, std::string_view localName);
pugi::xml_node NextSibling(const pugi::xml_node& node, std::string_view localName);
// An attribute by its local name, whatever its prefix ("r:id" is found as "id" when prefixed).
pugi::xml_attribute PrefixedAttribute(const pugi::xml_node& node, std::string_view localName);
// A new child element named with the parent's prefix, before `before` or last when it is empty.
pugi::xml_node AddChild(pugi::xml_node parent, std::string_view localName, pugi::xml_node before = {});

// The most characters a cell's text can hold (UTF-16 units), as in Excel.
inline constexpr size_t kMaxCellText = 32767;
// Program text made fit for a cell: broken UTF-8 replaced, cut at kMaxCellText.
std::string CellText(std::string_view utf8);
// Appends text as XML character data: markup escaped, and characters that XML can't carry
// written in SpreadsheetML's _xHHHH_ form.
void AppendEscaped(std::string& out, std::string_view text);

// Appends text as an attribute's value (without the quotes).
void AppendAttributeEscaped(std::string& out, std::string_view text);
// Appends a node's children as they stand, and its attributes as ` name="value"` except those
// named in skip.
void AppendInner(std::string& out, const pugi::xml_node& node);
void AppendAttributes(std::string& out, const pugi::xml_node& node, std::initializer_list<std::string_view> skip);

// "A", "B", ..., "Z", "AA" for columns counted from 1.
std::string ColumnName(int column);
// "B6" for row 6, column 2.
std::string CellName(int row, int column);
// Row and column of a reference such as "B6"; false when it is none.
bool ParseCellName(std::string_view text, int& row, int& column);

// Colours: "FFE0E0E0" (ARGB, as styles hold them) from 0xRRGGBB, and back.
std::string ArgbText(uint32_t rgb);
bool ParseArgb(std::string_view text, uint32_t& rgb);

}  // namespace xlsx
