#include "xlsx/XlsxXml.h"

#include <algorithm>
#include <cstdio>

#include "base/Utf8.h"
#include "xlsx/XlsxPackage.h"

namespace xlsx {

namespace {

class StringWriter : public pugi::xml_writer {
public:
    explicit StringWriter(std::string& out) : out_(out) {}
    void write(const void* data, size_t size) override { out_.append(static_cast<const char*>(data), size); }

private:
    std::string& out_;
};

bool IsHex(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

// An escape of SpreadsheetML's form at text[i]: "_x" four hex digits "_".
bool LooksLikeEscape(std::string_view text, size_t i) {
    if (i + 7 > text.size() || text[i] != '_' || text[i + 1] != 'x' || text[i + 6] != '_') return false;
    return IsHex(text[i + 2]) && IsHex(text[i + 3]) && IsHex(text[i + 4]) && IsHex(text[i + 5]);
}

using base::AppendUtf8;
using base::DecodeUtf8;

}  // namespace

void ParsePart(pugi::xml_document& doc, const std::string& bytes, std::string_view partName) {
    pugi::xml_parse_result result =
        doc.load_buffer(bytes.data(), bytes.size(), pugi::parse_default | pugi::parse_ws_pcdata_single,
                        pugi::encoding_auto);
    if (!result)
        throw EXlsxError("the part " + std::string(partName) + " is damaged: " + result.description());
}

std::string WritePart(const pugi::xml_document& doc) {
    std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
    StringWriter writer(out);
    doc.save(writer, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
    return out;
}

std::string_view LocalName(const pugi::xml_node& node) {
    std::string_view name = node.name();
    size_t colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

std::string_view LocalName(const pugi::xml_attribute& attr) {
    std::string_view name = attr.name();
    size_t colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

std::string Prefix(const pugi::xml_node& node) {
    std::string_view name = node.name();
    size_t colon = name.find(':');
    return colon == std::string_view::npos ? std::string() : std::string(name.substr(0, colon + 1));
}

pugi::xml_node Child(const pugi::xml_node& node, std::string_view localName) {
    for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling())
        if (c.type() == pugi::node_element && LocalName(c) == localName) return c;
    return {};
}

pugi::xml_node NextSibling(const pugi::xml_node& node, std::string_view localName) {
    for (pugi::xml_node c = node.next_sibling(); c; c = c.next_sibling())
        if (c.type() == pugi::node_element && LocalName(c) == localName) return c;
    return {};
}

pugi::xml_attribute PrefixedAttribute(const pugi::xml_node& node, std::string_view localName) {
    for (pugi::xml_attribute a = node.first_attribute(); a; a = a.next_attribute()) {
        std::string_view name = a.name();
        size_t colon = name.find(':');
        if (colon != std::string_view::npos && name.substr(colon + 1) == localName &&
            name.substr(0, colon) != "xmlns")
            return a;
    }
    return {};
}

pugi::xml_node AddChild(pugi::xml_node parent, std::string_view localName, pugi::xml_node before) {
    std::string name = Prefix(parent) + std::string(localName);
    return before ? parent.insert_child_before(name.c_str(), before) : parent.append_child(name.c_str());
}

std::string CellText(std::string_view utf8) {
    // Plain ASCII that fits, the usual case, stands as it is.
    if (utf8.size() <= kMaxCellText &&
        std::all_of(utf8.begin(), utf8.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; }))
        return std::string(utf8);
    std::string out;
    out.reserve(utf8.size());
    size_t units = 0;
    for (size_t i = 0; i < utf8.size();) {
        size_t length = 1;
        uint32_t cp = DecodeUtf8(utf8, i, length);
        if (cp == 0xFFFE || cp == 0xFFFF) cp = 0xFFFD;
        size_t need = cp >= 0x10000 ? 2 : 1;
        if (units + need > kMaxCellText) break;
        units += need;
        if (length == 1 && cp < 0x80) out += static_cast<char>(cp);
        else if (cp == 0xFFFD) AppendUtf8(out, cp);
        else out.append(utf8.substr(i, length));
        i += length;
    }
    return out;
}

void AppendEscaped(std::string& out, std::string_view text) {
    size_t run = 0;  // start of the characters not yet copied
    auto flush = [&](size_t upto) {
        out.append(text.substr(run, upto - run));
    };
    for (size_t i = 0; i < text.size(); ++i) {
        unsigned char c = static_cast<unsigned char>(text[i]);
        const char* replacement = nullptr;
        char buf[8];
        if (c == '&') replacement = "&amp;";
        else if (c == '<') replacement = "&lt;";
        else if (c == '>') replacement = "&gt;";
        else if (c < 0x20 && c != '\t' && c != '\n' && c != '\r') {
            std::snprintf(buf, sizeof buf, "_x%04X_", c);
            replacement = buf;
        } else if (c == '_' && LooksLikeEscape(text, i)) {
            replacement = "_x005F_";
        }
        if (!replacement) continue;
        flush(i);
        out += replacement;
        run = i + 1;
    }
    flush(text.size());
}

void AppendAttributeEscaped(std::string& out, std::string_view text) {
    for (char ch : text) {
        unsigned char c = static_cast<unsigned char>(ch);
        switch (c) {
            case '&': out += "&amp;"; break;
            case '<': out += "&lt;"; break;
            case '>': out += "&gt;"; break;
            case '"': out += "&quot;"; break;
            case '\t': out += "&#9;"; break;
            case '\n': out += "&#10;"; break;
            case '\r': out += "&#13;"; break;
            default:
                if (c >= 0x20) out += ch;  // others can't stand in XML and are left out
        }
    }
}

void AppendInner(std::string& out, const pugi::xml_node& node) {
    StringWriter writer(out);
    for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling())
        c.print(writer, "", pugi::format_raw, pugi::encoding_utf8);
}

void AppendAttributes(std::string& out, const pugi::xml_node& node, std::initializer_list<std::string_view> skip) {
    for (pugi::xml_attribute a = node.first_attribute(); a; a = a.next_attribute()) {
        std::string_view name = a.name();
        if (std::find(skip.begin(), skip.end(), name) != skip.end()) continue;
        out += ' ';
        out += name;
        out += "=\"";
        AppendAttributeEscaped(out, a.value());
        out += '"';
    }
}

std::string ColumnName(int column) {
    std::string name;
    while (column > 0) {
        int rem = (column - 1) % 26;
        name.insert(name.begin(), static_cast<char>('A' + rem));
        column = (column - 1) / 26;
    }
    return name;
}

std::string CellName(int row, int column) { return ColumnName(column) + std::to_string(row); }

bool ParseCellName(std::string_view text, int& row, int& column) {
    size_t i = 0;
    long col = 0;
    while (i < text.size() && i < 3) {
        char c = text[i];
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
        if (c < 'A' || c > 'Z') break;
        col = col * 26 + (c - 'A' + 1);
        ++i;
    }
    if (i == 0 || i == text.size()) return false;
    long r = 0;
    for (; i < text.size(); ++i) {
        char c = text[i];
        if (c < '0' || c > '9') return false;
        r = r * 10 + (c - '0');
        if (r > 1048576) return false;
    }
    if (r < 1 || col < 1 || col > 16384) return false;
    row = static_cast<int>(r);
    column = static_cast<int>(col);
    return true;
}

std::string ArgbText(uint32_t rgb) {
    char buf[9];
    std::snprintf(buf, sizeof buf, "FF%06X", rgb & 0xFFFFFFu);
    return buf;
}

bool ParseArgb(std::string_view text, uint32_t& rgb) {
    if (text.size() != 8 && text.size() != 6) return false;
    uint32_t value = 0;
    for (char c : text) {
        if (!IsHex(c)) return false;
        value = value * 16 + static_cast<uint32_t>(c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10);
    }
    rgb = value & 0xFFFFFFu;
    return true;
}

}  // namespace xlsx
