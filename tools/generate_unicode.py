#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Generates src/text/UnicodeModel.h, the character data behind UnicodeUtils.

Two steps, each deterministic:

    generate_unicode.py --extract [DIR]   installed database -> tools/unicode/characters.txt
    generate_unicode.py                   tools/unicode/characters.txt -> src/text/UnicodeModel.h

The first reads UnicodeData.txt, DerivedAge.txt and PropList.txt of Debian's unicode-data package
(DIR, by default /usr/share/unicode) and keeps the facts that the second needs, for the code points
of the Basic Multilingual Plane that Unicode 3.0 already had; code points of a category that no rule
asks for are left out. The second needs no package and no
network. With --check either step compares instead of writing, and exits with 1 on a difference.

How a unit's byte is derived. The repertoire is that of Unicode 3.0; the properties are those of
the database version that the extract names, which has corrected some of them since.

    case class      A unit is a letter if its general category is L*, or if it has a simple case
                    mapping and is no mark: Roman numerals and circled letters count, U+0345 does
                    not. A mapping counts only if its target is in the repertoire. A letter with one
                    mapping, whose delta is in the table of deltas for that direction, has that
                    class. Every other letter is of class 15: listed individually for each mapping
                    that it has, and unmapped otherwise.
    white space     The property White_Space.
    format          The general category Cf.
    symbol start    The letters of ECMA-262 3rd edition, clause 7.6 (Lu, Ll, Lt, Lm, Lo, Nl), "$"
                    and "_"; and "@", which opens the attribute names of scripts that walk XML.
    symbol part     What may start but "@", and the categories Mn, Mc, Nd and Pc.
"""

import argparse
import difflib
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
EXTRACT = ROOT / "tools" / "unicode" / "characters.txt"
MODEL = ROOT / "src" / "text" / "UnicodeModel.h"
DATABASE = pathlib.Path("/usr/share/unicode")

REPERTOIRE = (3, 0)

# The shape of the model is fixed: these tables are not derived from the data.
RANGES = [
    (0x0000, 0x07B1, True),
    (0x0901, 0x1974, True),
    (0x1D00, 0x2183, True),
    (0x24B6, 0x24E9, True),
    (0x3000, 0x31FF, True),
    (0x3400, 0x4DB5, False),
    (0x4E00, 0x9FA5, False),
    (0xA000, 0xA48C, False),
    (0xAC00, 0xD7A3, False),
    (0xF900, 0xFFFF, True),
]
DELTAS = [0, 1, -8, 16, 26, 32, 48, 80, -1, 8, -16, -26, -32, -48, -80, 0]
TO_LOWER_CLASSES = range(1, 8)
TO_UPPER_CLASSES = range(8, 15)
LISTED = 15
DASHES = [0x002D, 0x058A, 0x1806, *range(0x2010, 0x2016), 0x301C, 0x3030, 0x30A0, 0xFE31, 0xFE32,
          0xFE58, 0xFE63, 0xFF0D]

WHITE_SPACE, FORMAT, SYMBOL_START, SYMBOL_PART = 0x10, 0x20, 0x40, 0x80
LETTERS = {"Lu", "Ll", "Lt", "Lm", "Lo"}
MARKS = {"Mn", "Mc", "Me"}
START_CATEGORIES = LETTERS | {"Nl"}
PART_CATEGORIES = START_CATEGORIES | {"Mn", "Mc", "Nd", "Pc"}
KEPT_CATEGORIES = PART_CATEGORIES | MARKS | {"Cf"}
START_UNITS = {ord("$"), ord("_"), ord("@")}
PART_UNITS = {ord("$"), ord("_")}


# --- The installed database ---------------------------------------------------------------------


def property_lines(path):
    """Yields (first, last, value) of a property file of the database."""
    for line in path.read_text(encoding="utf-8").splitlines():
        fields = [field.strip() for field in line.split("#")[0].split(";")]
        if len(fields) < 2:
            continue
        first, _, last = fields[0].partition("..")
        yield int(first, 16), int(last or first, 16), fields[1]


def file_version(path):
    """The version in the first line of a property file, as '# PropList-15.0.0.txt'."""
    head = path.read_text(encoding="utf-8").split("\n", 1)[0]
    found = re.search(r"-(\d+\.\d+\.\d+)\.txt", head)
    if not found:
        sys.exit(f"{path}: no version in the first line")
    return found.group(1)


def extract(database):
    """The text of the extract, from the database in that directory."""
    ages, spaces = database / "DerivedAge.txt", database / "PropList.txt"
    version = file_version(ages)
    if file_version(spaces) != version:
        sys.exit(f"{ages} and {spaces} are of different versions")

    repertoire = set()
    for first, last, age in property_lines(ages):
        if tuple(map(int, age.split("."))) <= REPERTOIRE:
            repertoire.update(range(first, min(last, 0xFFFF) + 1))

    category, upper, lower = {}, {}, {}
    first = None
    for line in (database / "UnicodeData.txt").read_text(encoding="utf-8").splitlines():
        fields = line.split(";")
        unit = int(fields[0], 16)
        if unit > 0xFFFF:
            break
        if fields[1].endswith(", First>"):
            first = unit
            continue
        if not fields[1].endswith(", Last>"):
            first = unit
        for member in range(first, unit + 1):
            category[member] = fields[2]
        for column, mapping in ((12, upper), (13, lower)):
            target = int(fields[column], 16) if fields[column] else unit
            if unit in repertoire and target in repertoire and target != unit:
                mapping[unit] = target
    white = {unit for first, last, name in property_lines(spaces) if name == "White_Space"
             for unit in range(first, last + 1)}

    out = [
        f"# Facts of the Unicode Character Database {version}, limited to the code points of the",
        "# Basic Multilingual Plane that were assigned by Unicode 3.0.",
        "# Made by tools/generate_unicode.py --extract; do not edit.",
        f"version {version}",
        "",
        "# General category: first last category",
    ]
    out += [f"category {first:04X} {last:04X} {name}" for first, last, name in
            runs((unit, category.get(unit)) for unit in sorted(repertoire))
            if name in KEPT_CATEGORIES]
    out += ["", "# White_Space: first last"]
    out += [f"space {first:04X} {last:04X}" for first, last, _ in
            runs((unit, True) for unit in sorted(white & repertoire))]
    for name, mapping in (("upper", upper), ("lower", lower)):
        out += ["", f"# Simple mapping to {name} case: unit target"]
        out += [f"{name} {unit:04X} {target:04X}" for unit, target in sorted(mapping.items())]
    return "\n".join(out) + "\n"


def runs(pairs):
    """Joins ascending (unit, value) pairs into (first, last, value) runs."""
    first = last = value = None
    for unit, own in pairs:
        if first is not None and unit == last + 1 and own == value:
            last = unit
            continue
        if first is not None:
            yield first, last, value
        first, last, value = unit, unit, own
    if first is not None:
        yield first, last, value


# --- The model ----------------------------------------------------------------------------------


class Characters:
    """The facts of the extract."""

    def __init__(self, text):
        self.version = None
        self.category, self.white = {}, set()
        self.upper, self.lower = {}, {}
        for line in text.splitlines():
            words = line.split()
            if not words or words[0] == "#":
                continue
            if words[0] == "version":
                self.version = words[1]
                continue
            first, last = int(words[1], 16), int(words[2], 16)
            if words[0] == "category":
                self.category.update((unit, words[3]) for unit in range(first, last + 1))
            elif words[0] == "space":
                self.white.update(range(first, last + 1))
            elif words[0] == "upper":
                self.upper[first] = last
            elif words[0] == "lower":
                self.lower[first] = last
            else:
                sys.exit(f"{EXTRACT}: unknown line: {line}")

    def is_letter(self, unit):
        category = self.category.get(unit)
        has_case = unit in self.upper or unit in self.lower
        return category in LETTERS or (has_case and category not in MARKS)

    def case_class(self, unit):
        if not self.is_letter(unit):
            return 0
        up, down = self.upper.get(unit), self.lower.get(unit)
        if up is None and down is not None:
            classes, delta = TO_LOWER_CLASSES, down - unit
        elif down is None and up is not None:
            classes, delta = TO_UPPER_CLASSES, up - unit
        else:
            return LISTED
        return next((row for row in classes if DELTAS[row] == delta), LISTED)

    def byte(self, unit):
        category = self.category.get(unit)
        result = self.case_class(unit)
        if unit in self.white:
            result |= WHITE_SPACE
        if category == "Cf":
            result |= FORMAT
        if category in START_CATEGORIES or unit in START_UNITS:
            result |= SYMBOL_START
        if category in PART_CATEGORIES or unit in PART_UNITS:
            result |= SYMBOL_PART
        return result

    def listed(self, mapping):
        return [(unit, target - unit) for unit, target in sorted(mapping.items())
                if self.case_class(unit) == LISTED]


def check_shape(characters):
    """Stops if the data holds anything that the fixed ranges cannot say."""
    for unit in range(0x10000):
        byte = characters.byte(unit)
        row = next((row for row in RANGES if row[0] <= unit <= row[1]), None)
        if row is None and byte:
            sys.exit(f"U+{unit:04X} has properties, but lies outside all ranges")
        if row is not None and not row[2] and characters.category.get(unit) not in LETTERS:
            sys.exit(f"U+{unit:04X} lies in a range without a table, but is no letter")


def rows(items, per_line):
    for start in range(0, len(items), per_line):
        yield "    " + ", ".join(items[start:start + per_line]) + ","


def generate(text):
    """The text of UnicodeModel.h, from the text of the extract."""
    characters = Characters(text)
    check_shape(characters)
    out = [
        "// SPDX-License-Identifier: MIT",
        "// Generated by tools/generate_unicode.py from tools/unicode/characters.txt, data of the",
        f"// Unicode Character Database {characters.version}. Do not edit.",
        "#pragma once",
        "",
        "#include <span>",
        "",
        "// The character data in its defining form: ranges with a byte per unit, case deltas by",
        "// class, and two lists of the mappings that no delta of the table expresses.",
        "// UnicodeTables.cpp turns ranges, deltas and lists into tables for lookup.",
        "//",
        "// D-050: the repertoire is that of Unicode 3.0, its properties are those of this data.",
        "",
        "// clang-format off",
        "namespace Tavrin::detail::unicode {",
        "",
        "// By case class, which is the low four bits of a unit's byte.",
        "inline constexpr short caseDeltas[16] = {",
        *rows([str(delta) for delta in DELTAS], 16),
        "};",
        "",
        "struct CaseException",
        "{",
        "    unsigned short unit;",
        "    short delta;",
        "};",
    ]
    for name, mapping in (("toUpperExceptions", characters.upper),
                          ("toLowerExceptions", characters.lower)):
        pairs = characters.listed(mapping)
        out += ["", f"inline constexpr CaseException {name}[{len(pairs)}] = {{"]
        out += rows([f"{{0x{unit:04X}, {delta}}}" for unit, delta in pairs], 5)
        out += ["};"]
    out += ["", f"inline constexpr unsigned short dashes[{len(DASHES)}] = {{"]
    out += rows([f"0x{unit:04X}" for unit in DASHES], 9)
    out += ["};"]
    for first, last, has_table in RANGES:
        if not has_table:
            continue
        out += ["", f"inline constexpr unsigned char bytes{first:04X}[{last - first + 1}] = {{"]
        out += rows([f"0x{characters.byte(unit):02X}" for unit in range(first, last + 1)], 16)
        out += ["};"]
    out += [
        "",
        "// A range without bytes holds ideographs or syllables: all of them have the byte 0xC0.",
        "struct Range",
        "{",
        "    unsigned short first;",
        "    unsigned short last;",
        "    std::span<const unsigned char> bytes;",
        "};",
        "",
        f"inline constexpr Range ranges[{len(RANGES)}] = {{",
    ]
    out += [f"    {{0x{first:04X}, 0x{last:04X}, {f'bytes{first:04X}' if table else '{}'}}},"
            for first, last, table in RANGES]
    out += ["};", "", "} // namespace Tavrin::detail::unicode", "// clang-format on"]
    return "\n".join(out) + "\n"


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", 1)[0])
    parser.add_argument("--extract", nargs="?", const=DATABASE, type=pathlib.Path, metavar="DIR",
                        help="write the extract from the installed database")
    parser.add_argument("--check", action="store_true", help="compare instead of writing")
    options = parser.parse_args()

    if options.extract:
        target, text = EXTRACT, extract(options.extract)
    else:
        target, text = MODEL, generate(EXTRACT.read_text(encoding="utf-8"))
    if not options.check:
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_text(text, encoding="utf-8")
        return 0
    present = target.read_text(encoding="utf-8") if target.exists() else ""
    name = str(target.relative_to(ROOT))
    changes = list(difflib.unified_diff(present.splitlines(), text.splitlines(), name,
                                        "generated now", lineterm=""))
    print("\n".join(changes[:40] + [f"{name} is stale"]) if changes else f"{name} is current")
    return 1 if changes else 0


if __name__ == "__main__":
    sys.exit(main())
