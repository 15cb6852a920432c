"""Reads a workbook with openpyxl, a reader that is not Corvelle's, and prints what it finds as
JSON: the first sheet's name, its column widths and merged ranges, and every cell that holds a
value, a fill or an alignment, with the value (a formula as its text), the fill colour, the indent, the bold,
the horizontal alignment and the number format.

    python3 read_workbook.py FILE.xlsx
"""
import json
import sys
import warnings

import openpyxl


def main(path):
    warnings.simplefilter("ignore")
    book = openpyxl.load_workbook(path)
    sheet = book.worksheets[0]
    cells = {}
    for row in sheet.iter_rows():
        for cell in row:
            fill = cell.fill.fgColor.rgb if cell.fill.fill_type == "solid" else None
            if cell.value is None and fill is None and cell.alignment.horizontal is None:
                continue
            value = cell.value
            if not isinstance(value, (str, int, float)) and value is not None:
                value = str(value)
            cells[cell.coordinate] = {
                "value": value,
                "fill": fill,
                "indent": int(cell.alignment.indent or 0),
                "bold": bool(cell.font.b),
                "horizontal": cell.alignment.horizontal,
                "border": cell.border.left.style if cell.border.left else None,
                "format": cell.number_format,
                "date": cell.is_date,
            }
    widths = {name: dim.width for name, dim in sheet.column_dimensions.items() if dim.width}
    merged = [str(r) for r in sheet.merged_cells.ranges]
    print(json.dumps({"sheet": sheet.title, "widths": widths, "merged": merged, "cells": cells}))


if __name__ == "__main__":
    main(sys.argv[1])
