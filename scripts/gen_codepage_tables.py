#!/usr/bin/env python3
"""Generates src/text/codepage_tables.cpp, the library's code page tables.

    scripts/gen_codepage_tables.py            rewrite the generated source
    scripts/gen_codepage_tables.py --check    exit 1 if it is not current

To-Unicode tables (bytes 0x80-0xFF -> UTF-16) come from Python's codecs,
which are built from the published unicode.org mapping files, with the
library's own differences applied (TO_UNICODE_DIFFERENCES).

From-Unicode tables (UTF-16 -> byte, 15 blocks of 128 code points) hold, for
each code point a code page has, its byte, so that every byte converts to
UTF-16 and back to itself. Every other code point of the covered ranges gets
a look-alike byte of the same code page: each code page names, in order, the
look-alike rules it follows (LOOKALIKE_RULES); the first rule that yields a
character the code page holds decides; when none does, the entry is "?".
"""

import argparse
import pathlib
import sys
import unicodedata

TABLE_CODE_PAGES = (437, 850, 852, 1250, 1251, 1252, 1253, 1254)
REPLACEMENT = 0x3F  # "?"

# Covered code point ranges of a from-Unicode table, in table order.
FROM_UNICODE_RANGES = ((0x0080, 0x0200), (0x0280, 0x0300), (0x0380, 0x0500), (0x2000, 0x2180),
                       (0x2200, 0x2280), (0x2300, 0x2380), (0x2500, 0x2600), (0xF880, 0xF900))
COVERED = [unit for first, end in FROM_UNICODE_RANGES for unit in range(first, end)]
assert len(COVERED) == 1920


# --- To-Unicode ------------------------------------------------------------

def own_value(*byte_values):
    """Bytes that map to the code point of their own value."""
    return {b: b for b in byte_values}


# Where the library's tables differ from the published mappings: no euro
# sign, and bytes the code page leaves undefined keep their own value.
TO_UNICODE_DIFFERENCES = {
    437: {},
    850: {},
    852: {},
    1250: own_value(0x80, 0x81, 0x83, 0x88, 0x90, 0x98),
    1251: own_value(0x88, 0x98),
    1252: own_value(0x80, 0x81, 0x8D, 0x8E, 0x8F, 0x90, 0x9D, 0x9E),
    1253: {**own_value(0x80, 0x81, 0x88, 0x8A, *range(0x8C, 0x91), 0x98, 0x9A, *range(0x9C, 0xA0)),
           0xAA: 0xF8F9, 0xD2: 0xF8FA, 0xFF: 0xF8FB},
    1254: own_value(0x80, 0x81, *range(0x8D, 0x91), 0x9D, 0x9E),
}


def to_unicode(code_page):
    """The 128 UTF-16 units of bytes 0x80-0xFF."""
    differences = TO_UNICODE_DIFFERENCES[code_page]
    units = []
    for byte in range(0x80, 0x100):
        if byte in differences:
            units.append(differences[byte])
        else:
            # Strict: a byte the published mapping leaves undefined must be
            # listed among the differences.
            units.append(ord(bytes([byte]).decode(f"cp{code_page}")))
    return units


# --- Look-alike data ---------------------------------------------------------
#
# A map gives, for a code point, its stand-ins in order of preference; the
# first one the code page holds (ASCII included) is taken.

# Punctuation, typography and symbols spelled with ASCII or Latin-1, for the
# code pages of Latin script.
LATIN_PUNCTUATION = {
    **{unit: " " for unit in range(0x2000, 0x2007)},  # en quad .. six-per-em space
    0x2010: "-", 0x2011: "-", 0x2012: "\u2013-", 0x2013: "-", 0x2014: "\u2013-",
    0x2015: "\u2014\u2013-", 0x2016: "|", 0x2017: "_",
    0x2018: "'", 0x2019: "'", 0x201A: ",", 0x201B: "'",
    0x201C: '"', 0x201D: '"', 0x201E: '"', 0x201F: '"',
    0x2024: ".", 0x2026: ".", 0x2030: "%", 0x2032: "'", 0x2033: '"', 0x2035: "`",
    0x2039: "<", 0x203A: ">", 0x2044: "/",
    0x2070: "0", 0x2071: "i", **{0x2074 + i: str(4 + i) for i in range(6)}, 0x207F: "n",
    **{0x2080 + i: str(i) for i in range(10)},
    0x20A4: "\u00a3", 0x2116: "N", 0x2122: "T",
    0x00A6: "|", 0x00A8: '"', 0x00A9: "c", 0x00AD: "-", 0x00AE: "r", 0x00AF: "-",
    0x00B4: "'", 0x00B8: ",", 0x00B9: "1", 0x00B2: "2", 0x00B3: "3", 0x00D7: "x",
    0x00A1: "!", 0x00A2: "c", 0x00A3: "L", 0x00A5: "Y", 0x00AA: "a", 0x00BA: "o",
    0x00AB: "<", 0x00BB: ">", 0x00B1: "+", 0x00B5: "u", 0x00B7: ".",
    0x02B9: "'", 0x02BA: '"', 0x02BC: "'", 0x02C6: "^", 0x02C8: "'", 0x02CB: "`",
    0x02D0: ":", 0x02DC: "~", 0x02DD: '"',
    0x2212: "-", 0x2215: "/", 0x2216: "\\", 0x2217: "*", 0x2223: "|", 0x2236: ":",
    0x223C: "~", 0x2329: "<", 0x232A: ">",
}

# Latin letters without a canonical decomposition, spelled as a close letter.
LATIN_LETTERS = {
    0x00D0: "\u0110D", 0x00F0: "d", 0x00D8: "O", 0x00F8: "o",
    0x0110: "\u00d0D", 0x0111: "d", 0x0126: "H", 0x0127: "h", 0x0131: "i",
    0x013F: "L", 0x0140: "l", 0x0141: "L", 0x0142: "l", 0x0149: "n",
    0x0166: "T", 0x0167: "t", 0x017F: "s", 0x0180: "b", 0x0192: "f",
    0x0197: "I", 0x019A: "l", 0x01B5: "Z", 0x01B6: "z", 0x01E4: "G", 0x01E5: "g",
}

# The Greek letters and mathematical signs of code page 437, spelled in Latin
# for the Western code pages that lack them.
WESTERN_SYMBOLS = {
    0x0393: "G", 0x0398: "O", 0x03A3: "S", 0x03A6: "F", 0x03A9: "O",
    0x03B1: "a", 0x03B2: "\u00df", 0x03B4: "d", 0x03B5: "e", 0x03BC: "\u00b5",
    0x03C0: "p", 0x03C3: "s", 0x03C4: "t", 0x03C6: "f",
    0x20A7: "P", 0x2219: "\u00b7", 0x221A: "v", 0x221E: "8", 0x2229: "n",
    0x2248: "~", 0x2261: "=", 0x2264: "<", 0x2265: ">",
    0x2310: "\u00ac", 0x2320: "(", 0x2321: ")",
}

# What MS-DOS shows for the control bytes 0x07-0x1F and 0x7F.
DOS_GLYPHS = {
    0x2022: "\x07", 0x25D8: "\x08", 0x25CB: "\x09", 0x25D9: "\x0a", 0x25BA: "\x10",
    0x25C4: "\x11", 0x203C: "\x13", 0x00B6: "\x14", 0x00A7: "\x15", 0x25AC: "\x16",
    0x221F: "\x1c", 0x25B2: "\x1e", 0x25BC: "\x1f", 0x2302: "\x7f",
}

# Choices of single code pages.
CP437_OWN = {0x2018: "`"}
CP852_OWN = {0x2026: "\x07", 0x2122: "t"}

# Box drawing on code pages without box characters: one stand-in per shape.
# h/v: horizontal or vertical lines (hh/vv: double ones), corner: corners,
# junctions and arcs, block: block elements, shade: the three shades.
BOX_1250 = {"h": "\u00a6", "v": "-", "hh": "=", "vv": "-", "corner": "+", "block": "-",
            "shade": "-"}
BOX_1251 = {"h": "-", "v": "\u00a6", "hh": "=", "vv": "\u00a6", "corner": "+", "block": "-",
            "shade": "-"}
BOX_1252 = {"h": "-", "v": "\u00a6", "hh": "-", "vv": "\u00a6", "corner": "+", "block": "\u00a6",
            "shade": "\u00a6"}

# Diagonals, the same everywhere.
BOX_DIAGONALS = {0x2571: "/", 0x2572: "\\", 0x2573: "X"}


# --- Look-alike rules --------------------------------------------------------
#
# A rule takes (code point, code page) and returns a byte or None.

class CodePage:
    """The characters a code page holds: ASCII and its to-Unicode table."""

    def __init__(self, number):
        self.number = number
        self.to_unicode = to_unicode(number) if number in TABLE_CODE_PAGES else []
        self.byte_of = {unit: unit for unit in range(0x80)}
        for index, unit in enumerate(self.to_unicode):
            assert unit not in self.byte_of, f"{number}: U+{unit:04X} twice"
            self.byte_of[unit] = 0x80 + index


def from_map(lookalikes):
    def rule(unit, page):
        for stand_in in lookalikes.get(unit, ""):
            if ord(stand_in) in page.byte_of:
                return page.byte_of[ord(stand_in)]
        return None
    return rule


def decomposition(unit, page):
    """The base character of a canonical decomposition (A with diaeresis ->
    A), itself looked up by the code page's rules (it may need one too)."""
    fields = unicodedata.decomposition(chr(unit)).split()
    if not fields or fields[0].startswith("<"):
        return None
    return lookup(int(fields[0], 16), page)


_DIRECTIONS = {"UP": "u", "DOWN": "d", "LEFT": "l", "RIGHT": "r", "HORIZONTAL": "lr",
               "VERTICAL": "ud"}
_WEIGHTS = {"LIGHT": "single", "SINGLE": "single", "HEAVY": "single", "DOUBLE": "double"}


def box_arms(unit):
    """{direction: weight} of a box drawing line character, from its name:
    "LIGHT DOWN AND RIGHT", "DOWN SINGLE AND RIGHT DOUBLE", "LEFT HEAVY AND
    RIGHT DOWN LIGHT", "LIGHT UP AND HEAVY DOWN". Heavy counts as single."""
    words = unicodedata.name(chr(unit)).split()[2:]
    if "DIAGONAL" in words:
        return None
    if "DASH" in words:  # "DOUBLE DASH" is a dash pattern, not a weight
        at = words.index("DASH")
        del words[at - 1:at + 1]
    arms, pending, weight = {}, [], None
    weight_first = words[0] in _WEIGHTS
    for word in words:
        if word in _WEIGHTS:
            weight = _WEIGHTS[word]
            for direction in pending:
                arms[direction] = weight
            pending = []
        elif word in _DIRECTIONS:
            for direction in _DIRECTIONS[word]:
                if weight_first:
                    arms[direction] = weight
                else:
                    pending.append(direction)
    assert arms and not pending, f"U+{unit:04X}"
    return arms


def box_shape(arms):
    directions = set(arms)
    double = set(arms.values()) == {"double"}
    if directions <= {"l", "r"}:
        return "hh" if double else "h"
    if directions <= {"u", "d"}:
        return "vv" if double else "v"
    return "corner"


def block_shape(unit):
    return "shade" if unicodedata.name(chr(unit)).endswith("SHADE") else "block"


def box_by_shape(style):
    """Code pages without box characters: the style's stand-in per shape."""
    def rule(unit, page):
        if 0x2500 <= unit < 0x2580:
            arms = box_arms(unit)
            shape = box_shape(arms) if arms else None
        elif 0x2580 <= unit < 0x25A0:
            shape = block_shape(unit)
        else:
            return None
        return page.byte_of.get(ord(style[shape])) if shape else None
    return rule


def box_nearest(unit, page):
    """Code pages with box characters: the one of the same shape with the
    most arms of the same weight; a half or dashed line becomes a full one;
    block elements become the half or full block."""
    if 0x2580 <= unit < 0x25A0:
        first = unicodedata.name(chr(unit)).split()[0]
        halves = {"UPPER": 0x2580, "LOWER": 0x2584, "LEFT": 0x258C, "RIGHT": 0x2590}
        for candidate in (halves.get(first), 0x2588):
            if candidate in page.byte_of:
                return page.byte_of[candidate]
        return None
    if not 0x2500 <= unit < 0x2580 or box_arms(unit) is None:
        return None
    arms = box_arms(unit)
    directions = set(arms)
    if directions <= {"l", "r"}:
        directions = {"l", "r"}
    elif directions <= {"u", "d"}:
        directions = {"u", "d"}
    best, best_score = None, -1
    for candidate in range(0x2500, 0x2580):
        candidate_arms = candidate in page.byte_of and box_arms(candidate)
        if not candidate_arms or set(candidate_arms) != directions:
            continue
        score = sum(candidate_arms[d] == arms.get(d, "single") for d in directions)
        if score > best_score:
            best, best_score = candidate, score
    return page.byte_of[best] if best is not None else None


# The rules of each code page, in order of preference. The DOS code pages
# show control glyphs and hold box characters; the Latin ones spell
# punctuation and letters in ASCII; the Western ones (437, 850, 1252) also
# spell 437's Greek and mathematical signs; Cyrillic 1251 and Greek 1253
# only drop accents and draw boxes.
LOOKALIKE_RULES = {
    437: [from_map(CP437_OWN), from_map(DOS_GLYPHS), from_map(LATIN_PUNCTUATION),
          from_map(LATIN_LETTERS), from_map(WESTERN_SYMBOLS), decomposition, box_nearest,
          from_map(BOX_DIAGONALS)],
    850: [from_map(DOS_GLYPHS), from_map(LATIN_PUNCTUATION), from_map(LATIN_LETTERS),
          from_map(WESTERN_SYMBOLS), decomposition, box_nearest, from_map(BOX_DIAGONALS)],
    852: [from_map(CP852_OWN), from_map(DOS_GLYPHS), from_map(LATIN_PUNCTUATION),
          from_map(LATIN_LETTERS), decomposition, box_nearest, from_map(BOX_DIAGONALS)],
    1250: [from_map(LATIN_PUNCTUATION), from_map(LATIN_LETTERS), decomposition,
           box_by_shape(BOX_1250), from_map(BOX_DIAGONALS)],
    1251: [decomposition, box_by_shape(BOX_1251), from_map(BOX_DIAGONALS)],
    1252: [from_map(LATIN_PUNCTUATION), from_map(LATIN_LETTERS), from_map(WESTERN_SYMBOLS),
           decomposition, box_by_shape(BOX_1252), from_map(BOX_DIAGONALS)],
    1253: [decomposition, box_by_shape(BOX_1251), from_map(BOX_DIAGONALS)],
    1254: [from_map(LATIN_PUNCTUATION), from_map(LATIN_LETTERS), decomposition,
           box_by_shape(BOX_1250), from_map(BOX_DIAGONALS)],
}


def lookup(unit, page):
    """The byte of `page` for `unit`: its own, else a look-alike, else None."""
    if unit in page.byte_of:
        return page.byte_of[unit]
    for rule in LOOKALIKE_RULES[page.number]:
        byte = rule(unit, page)
        if byte is not None:
            return byte
    return None


def from_unicode(code_page):
    page = CodePage(code_page)
    table = [lookup(unit, page) for unit in COVERED]
    table = [REPLACEMENT if byte is None else byte for byte in table]
    # Every byte 0x80-0xFF must come back to itself through UTF-16.
    for index, unit in enumerate(page.to_unicode):
        assert table[COVERED.index(unit)] == 0x80 + index, f"{code_page}: byte {0x80 + index:02X}"
    return table


# The Pure ASCII transliteration: U+00C0-00FF and U+0100-017F spelled
# without accents, "?" everywhere else.
PURE_ASCII_C0_FF = "AAAAAA?CEEEEIIII?NOOOOO?OUUUUY??aaaaaa?ceeeeiiii?nooooo?ouuuuy?y"
PURE_ASCII_100_17F = ("??AaAaCc????CcDdDd??????EeEe??Gg????????????????I????????Ll??Ll??LlNn"
                      "??Nn???????Oo??Rr??RrSs??SsSsTtTt????????UuUu??????YZzZzZz?")


def pure_ascii():
    text = "?" * 0x40 + PURE_ASCII_C0_FF + PURE_ASCII_100_17F
    assert len(text) == 256
    return [ord(c) for c in text] + [REPLACEMENT] * (len(COVERED) - 256)


# --- Output --------------------------------------------------------------------

HEADER = """\
// GENERATED by scripts/gen_codepage_tables.py -- do not edit by hand.
// To-Unicode tables: the published mappings (Python's codecs, built from the
// unicode.org mapping files) with the library's differences. From-Unicode
// tables: each code page's own bytes, then the look-alikes of the script.
// Regenerate with: python3 scripts/gen_codepage_tables.py
"""


def format_rows(values, per_row, width, label):
    lines = []
    for start in range(0, len(values), per_row):
        row = ", ".join(f"0x{v:0{width}X}" for v in values[start:start + per_row])
        lines.append(f"    {row},  // {label(start)}")
    return "\n".join(lines)


def generate():
    out = [HEADER, "#include \"text/codepage_tables.h\"\n\n",
           "#include \"cadserv/codepage.h\"\n\n",
           "// clang-format off\n",
           "namespace cadserv::text {\nnamespace {\n"]
    for code_page in TABLE_CODE_PAGES:
        units = to_unicode(code_page)
        out.append(f"\n// Code page {code_page}, bytes 0x80-0xFF.\n")
        out.append(f"constexpr char16_t kToUnicode{code_page}[kToUnicodeEntries] = {{\n")
        out.append(format_rows(units, 8, 4, lambda i: f"0x{0x80 + i:02X}") + "\n};\n")
    for name, table in [(str(cp), from_unicode(cp)) for cp in TABLE_CODE_PAGES] + \
                       [("PureAscii", pure_ascii())]:
        out.append(f"\n// Code page {name}: 15 blocks of 128 code points.\n")
        out.append(f"constexpr uint8_t kFromUnicode{name}[kFromUnicodeEntries] = {{\n")
        out.append(format_rows(table, 16, 2, lambda i: f"U+{COVERED[i]:04X}") + "\n};\n")
    out.append("\n}  // namespace\n\n")
    out.append("const char16_t* ToUnicodeTable(int32_t codePage) {\n  switch (codePage) {\n")
    for code_page in TABLE_CODE_PAGES:
        out.append(f"    case {code_page}: return kToUnicode{code_page};\n")
    out.append("    default: return nullptr;\n  }\n}\n\n")
    out.append("const uint8_t* FromUnicodeTable(int32_t codePage) {\n  switch (codePage) {\n")
    for code_page in TABLE_CODE_PAGES:
        out.append(f"    case {code_page}: return kFromUnicode{code_page};\n")
    out.append("    case SERV_CP_PURE_ASCII: return kFromUnicodePureAscii;\n")
    out.append("    default: return nullptr;\n  }\n}\n\n")
    out.append("}  // namespace cadserv::text\n// clang-format on\n")
    return "".join(out)


def main():
    default_output = pathlib.Path(__file__).resolve().parent.parent / "src/text/codepage_tables.cpp"
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--check", action="store_true",
                        help="exit 1 when the file differs from what would be generated")
    parser.add_argument("--output", type=pathlib.Path, default=default_output)
    args = parser.parse_args()
    text = generate()
    if args.check:
        current = args.output.read_text(encoding="utf-8") if args.output.exists() else None
        if current != text:
            print(f"{args.output} is not current: run {sys.argv[0]}", file=sys.stderr)
            return 1
        return 0
    args.output.write_text(text, encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main())
