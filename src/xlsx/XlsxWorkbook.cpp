#include "xlsx/XlsxWorkbook.h"

#include <map>

#include "xlsx/XlsxStyles.h"
#include "xlsx/XlsxXml.h"

namespace xlsx {

namespace {

bool EndsWith(std::string_view s, std::string_view tail) {
    return s.size() >= tail.size() && s.substr(s.size() - tail.size()) == tail;
}

struct Relationship {
    std::string type;
    std::string target;
    pugi::xml_node node;
};

// The relationships of a part by their IDs; none when the part has no relationships part.
std::map<std::string, Relationship> ReadRelationships(TPackage& package, const std::string& part,
                                                      pugi::xml_document& doc) {
    std::map<std::string, Relationship> rels;
    std::string relsPart = RelsPartName(part);
    if (!package.Find(relsPart)) return rels;
    ParsePart(doc, package.Bytes(relsPart), relsPart);
    for (pugi::xml_node r = Child(doc.document_element(), "Relationship"); r; r = NextSibling(r, "Relationship")) {
        if (std::string_view(r.attribute("TargetMode").value()) == "External") continue;
        rels[r.attribute("Id").value()] = {r.attribute("Type").value(), r.attribute("Target").value(), r};
    }
    return rels;
}

const char* const kBlankContentTypes =
    "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
    "<Default Extension=\"rels\" ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
    "<Default Extension=\"xml\" ContentType=\"application/xml\"/>"
    "<Override PartName=\"/xl/workbook.xml\" "
    "ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml\"/>"
    "<Override PartName=\"/xl/worksheets/sheet1.xml\" "
    "ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml\"/>"
    "<Override PartName=\"/xl/styles.xml\" "
    "ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.styles+xml\"/>"
    "</Types>";

const char* const kBlankRootRels =
    "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
    "<Relationship Id=\"rId1\" "
    "Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument\" "
    "Target=\"xl/workbook.xml\"/>"
    "</Relationships>";

const char* const kBlankWorkbookRels =
    "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
    "<Relationship Id=\"rId1\" "
    "Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/worksheet\" "
    "Target=\"worksheets/sheet1.xml\"/>"
    "<Relationship Id=\"rId2\" "
    "Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/styles\" "
    "Target=\"styles.xml\"/>"
    "</Relationships>";

const char* const kBlankStyles =
    "<styleSheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">"
    "<fonts count=\"1\"><font><sz val=\"11\"/><name val=\"Calibri\"/><family val=\"2\"/></font></fonts>"
    "<fills count=\"2\"><fill><patternFill patternType=\"none\"/></fill>"
    "<fill><patternFill patternType=\"gray125\"/></fill></fills>"
    "<borders count=\"1\"><border><left/><right/><top/><bottom/><diagonal/></border></borders>"
    "<cellStyleXfs count=\"1\"><xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\"/></cellStyleXfs>"
    "<cellXfs count=\"1\"><xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\" xfId=\"0\"/></cellXfs>"
    "<cellStyles count=\"1\"><cellStyle name=\"Normal\" xfId=\"0\" builtinId=\"0\"/></cellStyles>"
    "</styleSheet>";

const char* const kBlankSheet =
    "<worksheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" "
    "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\">"
    "<dimension ref=\"A1\"/><sheetData/>"
    "<pageMargins left=\"0.7\" right=\"0.7\" top=\"0.75\" bottom=\"0.75\" header=\"0.3\" footer=\"0.3\"/>"
    "</worksheet>";

// The children of a workbook that stand before calcPr, in their order.
bool StandsBeforeCalcPr(std::string_view name) {
    for (const char* n : {"fileVersion", "fileSharing", "workbookPr", "workbookProtection", "bookViews", "sheets",
                          "functionGroups", "externalReferences", "definedNames"})
        if (name == n) return true;
    return false;
}

}  // namespace

TWorkbook::TWorkbook() = default;
TWorkbook::~TWorkbook() = default;

std::unique_ptr<TWorkbook> TWorkbook::Open(const std::string& path) {
    std::unique_ptr<TWorkbook> book(new TWorkbook());
    book->package_ = TPackage::Load(path);
    try {
        book->Init();
    } catch (const EXlsxError& e) {
        throw EXlsxError("the file " + path + " is not a workbook: " + e.Message());
    }
    return book;
}

std::unique_ptr<TWorkbook> TWorkbook::Blank(const std::string& sheetName) {
    if (sheetName.empty() || sheetName.size() > 31 || sheetName.find_first_of("[]:*?/\\") != std::string::npos)
        throw EXlsxError("\"" + sheetName + "\" can't name a sheet");
    std::unique_ptr<TWorkbook> book(new TWorkbook());
    std::string workbook =
        "<workbook xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" "
        "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\">"
        "<sheets><sheet name=\"";
    AppendAttributeEscaped(workbook, CellText(sheetName));
    workbook += "\" sheetId=\"1\" r:id=\"rId1\"/></sheets></workbook>";
    const std::string declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
    TPackage& p = book->package_;
    p.Put("[Content_Types].xml", declaration + kBlankContentTypes);
    p.Put("_rels/.rels", declaration + kBlankRootRels);
    p.Put("xl/workbook.xml", declaration + workbook);
    p.Put("xl/_rels/workbook.xml.rels", declaration + kBlankWorkbookRels);
    p.Put("xl/styles.xml", declaration + kBlankStyles);
    p.Put("xl/worksheets/sheet1.xml", declaration + kBlankSheet);
    book->Init();
    return book;
}

void TWorkbook::Init() {
    if (!package_.Find("[Content_Types].xml")) throw EXlsxError("it has no content types");

    // The workbook part, named by the package's own relationships.
    pugi::xml_document rootRels;
    for (auto& [id, rel] : ReadRelationships(package_, "", rootRels))
        if (EndsWith(rel.type, "/officeDocument")) workbookPart_ = ResolvePartName("", rel.target);
    if (workbookPart_.empty() || !package_.Find(workbookPart_)) throw EXlsxError("it has no workbook part");

    pugi::xml_document workbook;
    ParsePart(workbook, package_.Bytes(workbookPart_), workbookPart_);
    pugi::xml_node root = workbook.document_element();
    if (LocalName(root) != "workbook") throw EXlsxError("its workbook part is no workbook");

    pugi::xml_document rels;
    std::map<std::string, Relationship> byId = ReadRelationships(package_, workbookPart_, rels);
    bool relsChanged = false;
    for (auto it = byId.begin(); it != byId.end();) {
        const Relationship& rel = it->second;
        if (EndsWith(rel.type, "/styles")) {
            stylesPart_ = ResolvePartName(workbookPart_, rel.target);
        } else if (EndsWith(rel.type, "/calcChain")) {
            // The order in which Excel last calculated: stale once cells change, and rebuilt
            // by Excel when it is missing.
            std::string part = ResolvePartName(workbookPart_, rel.target);
            package_.Remove(part);
            rels.document_element().remove_child(rel.node);
            relsChanged = true;
            pugi::xml_document types;
            ParsePart(types, package_.Bytes("[Content_Types].xml"), "[Content_Types].xml");
            for (pugi::xml_node o = Child(types.document_element(), "Override"); o; o = NextSibling(o, "Override"))
                if (ResolvePartName("", o.attribute("PartName").value()) == part) {
                    types.document_element().remove_child(o);
                    break;
                }
            package_.Put("[Content_Types].xml", WritePart(types));
            it = byId.erase(it);
            continue;
        }
        ++it;
    }
    if (relsChanged) package_.Put(RelsPartName(workbookPart_), WritePart(rels));
    if (stylesPart_.empty() || !package_.Find(stylesPart_)) throw EXlsxError("it has no styles");
    styles_ = std::make_unique<TStyles>();
    styles_->Load(package_.Bytes(stylesPart_), stylesPart_);

    for (pugi::xml_node s = Child(Child(root, "sheets"), "sheet"); s; s = NextSibling(s, "sheet")) {
        auto rel = byId.find(PrefixedAttribute(s, "id").value());
        if (rel == byId.end()) throw EXlsxError("its sheet " + std::string(s.attribute("name").value()) + " is missing");
        std::string part = ResolvePartName(workbookPart_, rel->second.target);
        bool worksheet = EndsWith(rel->second.type, "/worksheet");
        if (worksheet && !package_.Find(part)) throw EXlsxError("its sheet part " + part + " is missing");
        sheets_.push_back(std::unique_ptr<TSheet>(new TSheet(*this, s.attribute("name").value(), part, worksheet)));
    }
    if (sheets_.empty()) throw EXlsxError("it has no sheets");

    // Formulas of the template (totals, say) are calculated again when the workbook opens.
    pugi::xml_node calc = Child(root, "calcPr");
    if (!calc) {
        pugi::xml_node after;
        for (pugi::xml_node c = root.first_child(); c; c = c.next_sibling())
            if (c.type() == pugi::node_element && StandsBeforeCalcPr(LocalName(c))) after = c;
        std::string name = Prefix(root) + "calcPr";
        calc = after ? root.insert_child_after(name.c_str(), after) : root.prepend_child(name.c_str());
    }
    pugi::xml_attribute full = calc.attribute("fullCalcOnLoad");
    if (!full) full = calc.append_attribute("fullCalcOnLoad");
    full.set_value("1");
    package_.Put(workbookPart_, WritePart(workbook));
}

TStyles& TWorkbook::Styles() { return *styles_; }

TSheet& TWorkbook::Sheet(int index) {
    if (index < 0 || index >= SheetCount()) throw EXlsxError("the workbook has no sheet " + std::to_string(index + 1));
    return *sheets_[static_cast<size_t>(index)];
}

void TWorkbook::SaveAs(const std::string& path) {
    for (auto& sheet : sheets_)
        if (sheet->loaded_) package_.Put(sheet->part_, sheet->Write());
    if (styles_->Changed()) package_.Put(stylesPart_, styles_->Save());
    package_.Save(path);
}

}  // namespace xlsx
