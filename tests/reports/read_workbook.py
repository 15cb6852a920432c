"""Reads a workbook with openpyxl, a reader that is not Corvelle's, and prints what it finds as
JSON: the first sheet's name, its column widths, and every cell that holds a value or a fill,
with the value, the fill colour, the indent, the bold and the number format.

    python3 read_workbook.py FILE.xlsx
"""
import json
import sys

import openpyxl


def main(path):
    book = openpyxl.load_workbook(path)
    sheet = book.worksheets[0]
    cells = {}
    for row in sheet.iter_rows():
        for cell in row:
            fill = cell.fill.fgColor.rgb if cell.fill.fill_type == "solid" else None
            if cell.value is None and fill is None:
                continue
            value = cell.value
            if not isinstance(value, (str, int, float)) and value is not None:
                value = str(value)
            cells[cell.coordinate] = {
                "value": value,
                "fill": fill,
                "indent": int(cell.alignment.indent or 0),
                "bold": bool(cell.font.b),
                "format": cell.number_format,
                "date": cell.is_date,
            }
    widths = {name: dim.width for name, dim in sheet.column_dimensions.items() if dim.width}
    print(json.dumps({"sheet": sheet.title, "widths": widths, "cells": cells}))


if __name__ == "__main__":
    main(sys.argv[1])
