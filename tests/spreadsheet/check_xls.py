"""Reads the sample workbooks with xlrd (formatting info on), LibreOffice
and Gnumeric, and checks what the log writer put in them."""
import csv
import gzip
import os
import re
import shutil
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ET
import zipfile

import xlrd

# The two fills of the logs: ColorIndex 19 and 36 of the default palette.
LIGHT_YELLOW = (255, 255, 204)
DEEPER_YELLOW = (255, 255, 153)

failures = []


def check(condition, what):
    if not condition:
        failures.append(what)


def style(book, sheet, row, col):
    xf = book.xf_list[sheet.cell(row, col).xf_index]
    font = book.font_list[xf.font_index]
    b = xf.border
    return {
        "size": font.height / 20,
        # the colour a reader shows, not the index the file happens to hold
        "fill": book.colour_map.get(xf.background.pattern_colour_index)
        if xf.background.fill_pattern == 1 else None,
        "border": (b.left_line_style, b.right_line_style, b.top_line_style, b.bottom_line_style),
        "align": xf.alignment.hor_align,
    }


def filter_range(book):
    names = [n for n in book.name_obj_list if n.name == "_FilterDatabase"]
    if len(names) != 1:
        return None
    area = names[0].result.value[0].coords  # (sheet lo, hi, row lo, hi, col lo, hi)
    return area[2:]


def open_book(folder, name):
    return xlrd.open_workbook(os.path.join(folder, name), formatting_info=True)


def check_bit(folder):
    book = open_book(folder, "bit.xls")
    sh = book.sheet_by_index(0)
    check(sh.cell_value(0, 0) == "タヴェリン Ver1.11", "bit: title in A1")
    check(style(book, sh, 1, 0)["size"] == 8.0, "bit: A2 at 8 pt")
    check(sh.cell_value(2, 0) == "炉 A, 昇温", "bit: comment in A3")
    check(sh.cell_value(0, 4) == "https://tavelin.example.jp/" and style(book, sh, 0, 4)["size"] == 8,
          "bit: link in E1 at 8 pt")
    check(sh.cell_value(0, 9) == "2026/03/02 14:05:09", "bit: date in J1")
    check(sh.merged_cells == [(0, 1, 9, 13)], "bit: J1:M1 merged, got %r" % sh.merged_cells)
    check(style(book, sh, 0, 9)["align"] == 3, "bit: date aligned right")
    check(style(book, sh, 6, 0)["fill"] == DEEPER_YELLOW,
          "bit: A7 in colour 36, got %r" % (style(book, sh, 6, 0)["fill"],))
    check(sh.cell_value(5, 1) == "圧力" and sh.cell_value(5, 9) == "3Ch", "bit: channel comments")
    check(style(book, sh, 5, 1)["fill"] == LIGHT_YELLOW and style(book, sh, 6, 8)["fill"] == LIGHT_YELLOW,
          "bit: first block in 19, got %r" % (style(book, sh, 5, 1)["fill"],))
    check(style(book, sh, 5, 9)["fill"] == DEEPER_YELLOW and style(book, sh, 6, 16)["fill"] == DEEPER_YELLOW,
          "bit: second block in 36")
    titles = [sh.cell_value(6, c) for c in range(17)]
    check(titles[0] == "経過時間 [ms]" and titles[1] == "b0" and titles[16] == "b7", "bit: titles")
    check(style(book, sh, 6, 3)["border"] == (1, 1, 1, 1) and style(book, sh, 6, 3)["size"] == 9,
          "bit: titles framed at 9 pt")
    widths = {c: ci.width for c, ci in sh.colinfo_map.items()}
    check(widths.get(0) == 2816 and widths.get(1) == 819 and widths.get(128) == 819,
          "bit: widths 11 and 3.2 up to DY")
    check(sh.cell_type(7, 0) == xlrd.XL_CELL_NUMBER and sh.cell_value(8, 0) == 300.5,
          "bit: times are numbers")
    row = [sh.cell_value(7, c) for c in range(1, 17)]
    check(row == [1, 0, 0, 0, 0, 0, 0, 1, 1, 0, 1, 0, 0, 0, 0, 0], "bit: the bits, got %r" % row)
    check(sh.nrows == 10, "bit: partial buffer leaves blanks, %d rows" % sh.nrows)
    check(filter_range(book) == (5, 10, 0, 17), "bit: filter over rows 6 on, got %r" % (filter_range(book),))


def check_bit_full(folder):
    book = open_book(folder, "bit_full.xls")
    sh = book.sheet_by_index(0)
    check(sh.nrows == 20008, "full: last row is 20008, got %d" % sh.nrows)
    check(sh.ncols == 129, "full: 129 columns reach DY")
    check(sh.cell_value(20007, 0) == 20000 * 300.5, "full: the last time")
    check(sh.cell_value(20007, 128) == (20000 + 127) & 1, "full: the last bit")
    fills = [style(book, sh, 5, 2 + 8 * i)["fill"] for i in range(4)]
    check(fills == [LIGHT_YELLOW, DEEPER_YELLOW] * 2, "full: blocks alternate, got %r" % fills)


def check_ch(folder):
    book = open_book(folder, "ch.xls")
    sh = book.sheet_by_index(0)
    check(sh.cell_value(0, 3) == "https://tavelin.example.jp/", "ch: link in D1")
    check(sh.cell_value(0, 7) == "2026/03/02 14:05:09", "ch: date in H1")
    check(sh.merged_cells == [(0, 1, 7, 9)], "ch: H1:I1 merged")
    check([sh.cell_value(6, c) for c in range(3)] == ["経過時間 [ms]", "ch1", "ch2"], "ch: titles")
    check(all(style(book, sh, 6, c)["fill"] == DEEPER_YELLOW for c in range(3)), "ch: titles in 36")
    check(sh.cell_value(5, 1) == "温度" and sh.cell_value(5, 2) == "2Ch", "ch: comments in row 6")
    check(sh.cell_value(7, 1) == -2.5 and abs(sh.cell_value(7, 2) - 1 / 3) < 1e-14, "ch: values")
    widths = {c: ci.width for c, ci in sh.colinfo_map.items()}
    check(widths.get(0) == 2816 and widths.get(5) == 2304, "ch: widths 11 and 9")
    # The filter went on before the comments were written: it starts at the titles.
    check(filter_range(book) == (6, 9, 0, 3), "ch: filter from row 7, got %r" % (filter_range(book),))


def check_an(folder):
    book = open_book(folder, "an.xls")
    sh = book.sheet_by_index(0)
    titles = [sh.cell_value(6, c) for c in range(13)]
    check(titles[1] == "入力1" and titles[12] == "入力6", "an: titles, got %r" % titles)
    check(sh.cell_value(5, 1) == "0ch" and sh.cell_value(5, 7) == "流量", "an: probe comments")
    check(sh.cell_value(7, 7) == 4095 and sh.cell_value(7, 12) == 0.5, "an: values")


def check_small(folder):
    sh = open_book(folder, "empty.xls").sheet_by_index(0)
    check(sh.nrows == 7, "empty: headers only, %d rows" % sh.nrows)
    book = open_book(folder, "none.xls")
    sh = book.sheet_by_index(0)
    check(sh.cell_value(6, 0) == "経過時間 [ms]" and sh.ncols <= 13, "none: W is 1")
    sh = open_book(folder, "broken_text.xls").sheet_by_index(0)
    check(sh.cell_value(2, 0) == "?ABC" and sh.cell_value(5, 1) == "炉???温",
          "broken text: one ? per broken sequence, got %r" % [sh.cell_value(2, 0), sh.cell_value(5, 1)])
    book = open_book(folder, "strings.xls")
    sh = book.sheet_by_index(0)
    check(sh.cell_value(2999, 0) == "測定点2999", "strings: the last of 3000")
    check(sh.cell_value(0, 1) == "長" * 5000, "strings: a text across CONTINUE records")
    check(sh.cell_value(1, 1) == "plain latin text", "strings: 8-bit text")


def soffice_convert(folder, names, target):
    out = tempfile.mkdtemp()
    subprocess.run(["soffice", "--headless", "--convert-to", target, "--outdir", out]
                   + [os.path.join(folder, name) for name in names],
                   check=True, capture_output=True, timeout=300)
    return out


XLSX = {"m": "http://schemas.openxmlformats.org/spreadsheetml/2006/main"}


def xlsx_fill(book, ref):
    """The fill colour LibreOffice exported for a cell, as (r, g, b)."""
    sheet = ET.fromstring(book.read("xl/worksheets/sheet1.xml"))
    styles = ET.fromstring(book.read("xl/styles.xml"))
    cell = sheet.find(".//m:c[@r='%s']" % ref, XLSX)
    xf = styles.findall("m:cellXfs/m:xf", XLSX)[int(cell.get("s", "0"))]
    colour = styles.findall("m:fills/m:fill", XLSX)[int(xf.get("fillId"))].find(".//m:fgColor", XLSX)
    rgb = colour.get("rgb") if colour is not None else None
    return tuple(int(rgb[i:i + 2], 16) for i in (2, 4, 6)) if rgb else None


def check_libreoffice(folder):
    out = soffice_convert(folder, ["bit.xls", "ch.xls", "bit_full.xls"],
                          "csv:Text - txt - csv (StarCalc):44,34,76")
    with open(os.path.join(out, "bit.csv"), encoding="utf-8") as f:
        rows = list(csv.reader(f))
    check(rows[0][0] == "タヴェリン Ver1.11", "libreoffice: title")
    check(rows[6][1] == "b0" and rows[7][:3] == ["0", "1", "0"], "libreoffice: bits, got %r" % rows[7][:3])
    with open(os.path.join(out, "ch.csv"), encoding="utf-8") as f:
        rows = list(csv.reader(f))
    check(rows[7][1] == "-2.5", "libreoffice: value -2.5, got %r" % rows[7][:3])
    with open(os.path.join(out, "bit_full.csv"), encoding="utf-8") as f:
        rows = list(csv.reader(f))
    check(len(rows) == 20008 and rows[20007][0] == "6010000", "libreoffice: 20,001 rows")
    shutil.rmtree(out)

    out = soffice_convert(folder, ["bit.xls", "ch.xls"], "xlsx")
    with zipfile.ZipFile(os.path.join(out, "bit.xlsx")) as book:
        sheet = book.read("xl/worksheets/sheet1.xml").decode()
        check('<autoFilter ref="A6:Q10"' in sheet, "libreoffice: bit filter A6:Q10")
        fills = [xlsx_fill(book, ref) for ref in ("A7", "B6", "I7", "J6")]
        check(fills == [DEEPER_YELLOW, LIGHT_YELLOW, LIGHT_YELLOW, DEEPER_YELLOW],
              "libreoffice: bit fills, got %r" % fills)
    with zipfile.ZipFile(os.path.join(out, "ch.xlsx")) as book:
        check('<autoFilter ref="A7:C9"' in book.read("xl/worksheets/sheet1.xml").decode(),
              "libreoffice: ch filter A7:C9")
        check(xlsx_fill(book, "B7") == DEEPER_YELLOW, "libreoffice: ch titles in 36")
    shutil.rmtree(out)


def check_gnumeric(folder):
    """Gnumeric shows a filter only where the file carries its arrows."""
    out = tempfile.mkdtemp()
    for name, area in (("bit", "A6:Q10"), ("ch", "A7:C9"), ("an", "A7:M9")):
        target = os.path.join(out, name + ".gnumeric")
        subprocess.run(["ssconvert", os.path.join(folder, name + ".xls"), target],
                       check=True, capture_output=True, timeout=120)
        with gzip.open(target, "rt", encoding="utf-8") as f:
            areas = re.findall(r'<gnm:Filter Area="([^"]+)"', f.read())
        check(areas == [area], "gnumeric: %s filter %s, got %r" % (name, area, areas))
    shutil.rmtree(out)


def main():
    generator = sys.argv[1]
    folder = tempfile.mkdtemp()
    subprocess.run([generator, folder], check=True)
    for step in (check_bit, check_bit_full, check_ch, check_an, check_small, check_libreoffice,
                 check_gnumeric):
        try:
            step(folder)
        except Exception as error:  # a reader that rejects a file is a failure
            failures.append("%s: %s: %s" % (step.__name__, type(error).__name__, error))
    shutil.rmtree(folder)
    for failure in failures:
        print("FAILED:", failure)
    print("%d passed, %d failed" % (1 if not failures else 0, len(failures)))
    sys.exit(1 if failures else 0)


main()
