#!/usr/bin/env python3
"""Compiles a resource script (.rc) into a C++ source file holding the
module's resource directory (see src/platform/resource_directory.h).

On Windows the same script goes through the system's resource compiler;
this one covers the part of the language that the library's scripts use:

  #include "file"      (relative to the including file)
  #define NAME value
  LANGUAGE primary, sublanguage
  STRINGTABLE [LANGUAGE p, s] BEGIN  id "text" ...  END
  name RCDATA "file"
  name RCDATA BEGIN  "text", L"text", 16-bit numbers, 32-bit numbers (suffix L)  END

Names and ids are numbers, #defined names, or else names of their own (kept
upper case, as the resource compiler does). Anything else is an error, so
that a script never compiles differently on the two systems. Strings are
UTF-8 in the script and UTF-16 in the resource; in string tables a string
is stored without terminator, in blocks of 16 as Windows stores them.

usage: rc_compile.py SCRIPT -o OUTPUT.cpp [--depfile DEPS]
"""
import argparse
import os
import re
import sys

RT_DIALOG, RT_STRING, RT_RCDATA = 5, 6, 10
TYPE_NAMES = {"RCDATA": RT_RCDATA}

TOKEN = re.compile(r'''
    (?P<space>\s+)
  | (?P<comment>//[^\n]*|/\*.*?\*/)
  | (?P<string>L?"(?:[^"\\\n]|\\.|"")*")
  | (?P<number>(?:0[xX][0-9A-Fa-f]+|\d+)[uUlL]*)
  | (?P<name>[A-Za-z_][A-Za-z0-9_]*)
  | (?P<punct>[,|+\-~(){}])
''', re.VERBOSE | re.DOTALL)


class RcError(Exception):
    pass


def unescape(body, where):
    """The characters of an rc string literal's body."""
    out, i = [], 0
    while i < len(body):
        c = body[i]
        if c == '"':  # "" stands for one quote
            out.append('"')
            i += 2
        elif c == "\\" and i + 1 < len(body):
            e = body[i + 1]
            simple = {"n": "\n", "t": "\t", "r": "\r", "a": "\a", "\\": "\\", '"': '"'}
            if e in simple:
                out.append(simple[e])
                i += 2
            elif e in "xX":
                m = re.match(r"[0-9A-Fa-f]{1,4}", body[i + 2:])
                if not m:
                    raise RcError(f"{where}: bad \\x escape")
                out.append(chr(int(m.group(0), 16)))
                i += 2 + len(m.group(0))
            elif e in "01234567":
                m = re.match(r"[0-7]{1,3}", body[i + 1:])
                out.append(chr(int(m.group(0), 8)))
                i += 1 + len(m.group(0))
            else:
                raise RcError(f"{where}: unknown escape \\{e}")
        else:
            out.append(c)
            i += 1
    return "".join(out)


class Lexer:
    """Tokens of a script with its #includes expanded and #defines applied."""

    def __init__(self, path):
        self.defines = {}
        self.tokens = []
        self.files = []
        self._read(path)
        self.pos = 0

    def _read(self, path):
        self.files.append(os.path.abspath(path))
        with open(path, encoding="utf-8-sig") as f:
            text = f.read()
        # Preprocessor lines first (they end at the line's end); the rest is
        # tokenised with comments and line structure ignored.
        body = []
        for number, line in enumerate(text.split("\n"), 1):
            stripped = line.strip()
            where = f"{path}:{number}"
            if stripped.startswith("#"):
                self._directive(stripped, where, os.path.dirname(path))
                body.append("")
            else:
                body.append(line)
        self._tokenise("\n".join(body), path)

    def _directive(self, line, where, folder):
        m = re.match(r'#\s*include\s+"([^"]+)"\s*$', line)
        if m:
            self._read(os.path.join(folder, m.group(1)))
            return
        m = re.match(r"#\s*define\s+([A-Za-z_]\w*)\s*(.*?)\s*(//.*)?$", line)
        if m:
            self.defines[m.group(1)] = m.group(2)
            return
        if re.match(r"#\s*(ifndef|endif|pragma\s+once)\b", line):
            return  # include guards
        raise RcError(f"{where}: unsupported directive: {line}")

    def _tokenise(self, text, path):
        pos = 0
        while pos < len(text):
            m = TOKEN.match(text, pos)
            if not m:
                line = text.count("\n", 0, pos) + 1
                raise RcError(f"{path}:{line}: unexpected character {text[pos]!r}")
            kind = m.lastgroup
            if kind not in ("space", "comment"):
                line = text.count("\n", 0, pos) + 1
                self.tokens.append((kind, m.group(0), f"{path}:{line}"))
            pos = m.end()

    def peek(self, offset=0):
        i = self.pos + offset
        return self.tokens[i] if i < len(self.tokens) else ("end", "", "end of script")

    def take(self):
        token = self.peek()
        self.pos += 1
        return token

    def expect(self, *values):
        kind, text, where = self.take()
        if text.upper() not in values:
            raise RcError(f"{where}: expected {' or '.join(values)}, found {text or 'the end'}")
        return text

    def at(self, *values):
        return self.peek()[1].upper() in values


def parse_number(text, where):
    digits = text.rstrip("uUlL")
    try:
        return int(digits, 0) if not re.fullmatch(r"0\d+", digits) else int(digits, 10)
    except ValueError:
        raise RcError(f"{where}: bad number {text}")


class Compiler:
    def __init__(self, lexer):
        self.lex = lexer
        self.language = 0  # LANG_NEUTRAL until a LANGUAGE statement
        self.strings = {}  # (language, id) -> text
        self.resources = []  # (type, name, language, bytes)

    # Values ------------------------------------------------------------
    def value(self):
        """A number expression: terms joined by |, + and -; unary ~ and -."""
        result = self.term()
        while self.lex.at("|", "+", "-"):
            op = self.lex.take()[1]
            rhs = self.term()
            result = result | rhs if op == "|" else result + rhs if op == "+" else result - rhs
        return result

    def term(self):
        kind, text, where = self.lex.take()
        if text == "~":
            return ~self.term()
        if text == "-":
            return -self.term()
        if text == "(":
            v = self.value()
            self.lex.expect(")")
            return v
        if kind == "number":
            return parse_number(text, where)
        if kind == "name" and text in self.lex.defines:
            return self.define_value(text, where)
        raise RcError(f"{where}: expected a number, found {text or 'the end'}")

    def define_value(self, name, where):
        sub = Lexer.__new__(Lexer)
        sub.defines, sub.tokens, sub.pos = self.lex.defines, [], 0
        sub._tokenise(self.lex.defines[name], where)
        saved, self.lex = self.lex, sub
        try:
            return self.value()
        finally:
            self.lex = saved

    def name_or_id(self):
        """A resource name: a number, a #defined number, or a name of its own."""
        kind, text, where = self.lex.peek()
        if kind == "name" and text not in self.lex.defines:
            self.lex.take()
            return text.upper()
        if kind == "string":
            self.lex.take()
            return unescape(text[1:-1], where).upper()
        v = self.value()
        if not 0 <= v <= 0xFFFF:
            raise RcError(f"{where}: id {v} out of range")
        return v

    def language_pair(self):
        primary = self.value()
        self.lex.expect(",")
        sub = self.value()
        return (sub << 10) | primary

    def block_start(self):
        self.lex.expect("BEGIN", "{")

    def at_block_end(self):
        if self.lex.at("END", "}"):
            self.lex.take()
            return True
        if self.lex.peek()[0] == "end":
            raise RcError("unexpected end of script inside BEGIN ... END")
        return False

    # Statements --------------------------------------------------------
    def compile(self):
        while self.lex.peek()[0] != "end":
            if self.lex.at("LANGUAGE"):
                self.lex.take()
                self.language = self.language_pair()
            elif self.lex.at("STRINGTABLE"):
                self.lex.take()
                self.stringtable()
            else:
                self.resource()
        self.emit_string_blocks()
        return self.resources

    def options(self):
        """Memory flags (ignored) and a LANGUAGE before BEGIN."""
        language = self.language
        while True:
            if self.lex.at("LANGUAGE"):
                self.lex.take()
                language = self.language_pair()
            elif self.lex.at("DISCARDABLE", "MOVEABLE", "PURE", "PRELOAD", "LOADONCALL",
                             "FIXED", "IMPURE"):
                self.lex.take()
            else:
                return language

    def stringtable(self):
        language = self.options()
        self.block_start()
        while not self.at_block_end():
            where = self.lex.peek()[2]
            ident = self.value()
            if self.lex.at(","):
                self.lex.take()
            kind, text, swhere = self.lex.take()
            if kind != "string":
                raise RcError(f"{swhere}: expected the string of id {ident}")
            if not 0 <= ident <= 0xFFFF:
                raise RcError(f"{where}: string id {ident} out of range")
            if (language, ident) in self.strings:
                raise RcError(f"{where}: string id {ident} defined twice")
            self.strings[(language, ident)] = unescape(text[text.index('"') + 1:-1], swhere)

    def resource(self):
        where = self.lex.peek()[2]
        name = self.name_or_id()
        kind, text, twhere = self.lex.take()
        rtype = TYPE_NAMES.get(text.upper())
        if rtype is None:
            raise RcError(f"{twhere}: unsupported resource type {text} (extend rc_compile.py)")
        language = self.options()
        if self.lex.peek()[0] == "string":
            _, ftext, fwhere = self.lex.take()
            path = os.path.join(os.path.dirname(where.rsplit(":", 1)[0]), unescape(ftext[1:-1], fwhere))
            with open(path, "rb") as f:
                data = f.read()
            self.lex.files.append(os.path.abspath(path))
        else:
            data = self.raw_data()
        self.add(rtype, name, language, data, where)

    def raw_data(self):
        data = bytearray()
        self.block_start()
        while not self.at_block_end():
            kind, text, where = self.lex.peek()
            if kind == "string":
                self.lex.take()
                chars = unescape(text[text.index('"') + 1:-1], where)
                data += chars.encode("utf-16-le") if text.startswith("L") else chars.encode("utf-8")
            else:
                wide = kind == "number" and text.upper().endswith("L")
                v = self.value()
                data += (v & (0xFFFFFFFF if wide else 0xFFFF)).to_bytes(4 if wide else 2, "little")
            if self.lex.at(","):
                self.lex.take()
        return bytes(data)

    def add(self, rtype, name, language, data, where):
        for t, n, l, _ in self.resources:
            if (t, n, l) == (rtype, name, language):
                raise RcError(f"{where}: resource {name} defined twice")
        self.resources.append((rtype, name, language, data))

    def emit_string_blocks(self):
        blocks = {}
        for (language, ident), text in self.strings.items():
            blocks.setdefault((language, (ident >> 4) + 1), {})[ident & 15] = text
        for (language, block), entries in sorted(blocks.items()):
            data = bytearray()
            for i in range(16):
                units = entries.get(i, "").encode("utf-16-le")
                data += (len(units) // 2).to_bytes(2, "little") + units
            self.add(RT_STRING, block, language, bytes(data), "STRINGTABLE")


def generate(resources, source):
    def key(r):
        t, n, l, _ = r
        return (isinstance(t, str), t if isinstance(t, int) else 0, str(t),
                isinstance(n, str), n if isinstance(n, int) else 0, str(n), l)
    resources = sorted(resources, key=key)
    out = [f"// Generated by rc_compile.py from {os.path.basename(source)}: do not edit.",
           '#include "platform/resource_directory.h"', "", "namespace {", ""]
    names = {}

    def field(value):
        """A type or name as the entry's (number, name) pair."""
        if isinstance(value, int):
            return f"{value}, nullptr"
        if value not in names:
            names[value] = f"kName{len(names)}"
            units = list(memoryview(value.encode("utf-16-le")).cast("H")) + [0]
            out.append(f"const char16_t {names[value]}[] = {{"
                       + ", ".join(f"0x{u:04X}" for u in units) + "};")
        return f"0, {names[value]}"

    for i, (_, _, _, data) in enumerate(resources):
        out.append(f"const uint8_t kData{i}[] = {{")
        row = [f"0x{b:02X}," for b in data] or ["0x00,"]
        for start in range(0, len(row), 16):
            out.append("    " + " ".join(row[start:start + 16]))
        out.append("};")
    entries = [f"    {{{field(t)}, {field(n)}, 0x{l:04X}, {len(data)}, kData{i}}},"
               for i, (t, n, l, data) in enumerate(resources)]
    out += ["", "const CadservResourceEntry kEntries[] = {"]
    out += entries or ["    {0, nullptr, 0, nullptr, 0, 0, nullptr},"]
    out += ["};", "", "}  // namespace", "",
            "// Found by name through the module handle (dlsym), hence exported.",
            'extern "C" __attribute__((visibility("default"))) const CadservResourceDirectory',
            "    cadserv_resource_directory = {cadserv::platform::kResourceDirectoryMagic, 1,",
            f"                                  {len(resources)}, kEntries}};", ""]
    return "\n".join(out)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("script")
    parser.add_argument("-o", "--output", required=True)
    parser.add_argument("--depfile")
    args = parser.parse_args()
    try:
        lexer = Lexer(args.script)
        resources = Compiler(lexer).compile()
    except (RcError, OSError) as error:
        print(f"rc_compile: {error}", file=sys.stderr)
        return 1
    text = generate(resources, args.script)
    old = None
    if os.path.exists(args.output):
        with open(args.output, encoding="utf-8") as f:
            old = f.read()
    if old != text:  # keep the timestamp when nothing changed
        os.makedirs(os.path.dirname(os.path.abspath(args.output)), exist_ok=True)
        with open(args.output, "w", encoding="utf-8") as f:
            f.write(text)
    if args.depfile:
        with open(args.depfile, "w", encoding="utf-8") as f:
            deps = " ".join(p.replace(" ", "\\ ") for p in lexer.files)
            f.write(f"{args.output}: {deps}\n")
    return 0


if __name__ == "__main__":
    sys.exit(main())
