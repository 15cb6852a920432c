// corvelle-template: makes a report template (.xlsx) from its description, a small JSON file that
// can be read and reviewed, with the add-in's own workbook engine. The build makes the two
// templates that ship with the add-in this way; a firm can make its own the same way.
//
//   corvelle-template DESCRIPTION.json OUT.xlsx
//
// The description:
//
//   {
//     "sheet": "Tasks",                              the name of the one sheet
//     "columns": { "A": 46, "B": 3 },                widths in characters
//     "cells": [                                     in order; later ones win
//       { "cell": "A1", "text": "Task Report", "bold": true, "size": 16 },
//       { "cell": "B6", "format": "mmmm d, yyyy" },
//       { "cell": "A9", "text": "Task", "fill": "1F4E78", "color": "FFFFFF" }
//     ]
//   }
//
// A cell takes "text" or "number", and any of "bold", "size", "color" and "fill" (RRGGBB),
// "format" (a number format) and "indent".
//
// Exit status: 0; 1 when the description is wrong or the file can't be written (the reason goes
// to standard error); 2 for a wrong command line.
#include <fstream>
#include <iostream>
#include <string>

#include <nlohmann/json.hpp>

#include "xlsx/XlsxWorkbook.h"
#include "xlsx/XlsxXml.h"

namespace {

using nlohmann::json;

struct EDescription : std::runtime_error {
    using std::runtime_error::runtime_error;
};

uint32_t Colour(const json& cell, const char* key) {
    uint32_t rgb = 0;
    const json& v = cell.at(key);
    if (!v.is_string() || v.get<std::string>().size() != 6 || !xlsx::ParseArgb(v.get<std::string>(), rgb))
        throw EDescription(std::string("\"") + key + "\" must be a colour RRGGBB");
    return rgb;
}

void Apply(xlsx::TWorkbook& book, const json& description) {
    xlsx::TSheet& sheet = book.Sheet(0);
    if (description.contains("columns")) {
        for (const auto& [name, width] : description.at("columns").items()) {
            int row = 0, column = 0;
            if (!xlsx::ParseCellName(name + "1", row, column)) throw EDescription("no column " + name);
            if (!width.is_number()) throw EDescription("the width of column " + name + " must be a number");
            sheet.SetColumnWidth(column, width.get<double>());
        }
    }
    for (const json& cell : description.value("cells", json::array())) {
        int row = 0, column = 0;
        std::string name = cell.at("cell").get<std::string>();
        if (!xlsx::ParseCellName(name, row, column)) throw EDescription("no cell " + name);
        if (cell.contains("text")) sheet.SetText(row, column, cell.at("text").get<std::string>());
        if (cell.contains("number")) sheet.SetNumber(row, column, cell.at("number").get<double>());
        xlsx::TCellFormat format;
        if (cell.contains("bold")) format.Bold = cell.at("bold").get<bool>();
        if (cell.contains("size")) format.FontSize = cell.at("size").get<double>();
        if (cell.contains("color")) format.FontRgb = Colour(cell, "color");
        if (cell.contains("fill")) format.FillRgb = Colour(cell, "fill");
        if (cell.contains("format")) format.NumberFormat = cell.at("format").get<std::string>();
        if (cell.contains("indent")) format.Indent = cell.at("indent").get<int>();
        sheet.Format(row, column, format);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: corvelle-template DESCRIPTION.json OUT.xlsx\n";
        return 2;
    }
    try {
        std::ifstream in(argv[1]);
        if (!in) throw EDescription(std::string("cannot read ") + argv[1]);
        json description = json::parse(in);
        auto book = xlsx::TWorkbook::Blank(description.at("sheet").get<std::string>());
        Apply(*book, description);
        book->SaveAs(argv[2]);
    } catch (const std::exception& e) {
        std::cerr << "corvelle-template: " << argv[1] << ": " << e.what() << "\n";
        return 1;
    }
    return 0;
}
