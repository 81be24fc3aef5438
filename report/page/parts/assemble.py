#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Generates one C++ file from the parts of the page: assemble.py LIBRARY.js LIBRARY.css OUT.cpp.

The page may run and load only its own scripts and style: its content security policy lists them
by hash.
"""
import base64
import hashlib
import pathlib
import re
import sys

HERE = pathlib.Path(__file__).resolve().parent
SCRIPTS = ('data', 'time', 'view', 'curves', 'rows', 'lanes', 'now', 'cursor', 'lines', 'figures',
           'tables', 'verdict', 'main')
LITERAL = 8000  # characters of a piece of a C++ literal


def read(path):
    return pathlib.Path(path).read_text(encoding='utf-8')


def hashed(text):
    digest = hashlib.sha256(text.encode()).digest()
    return f"'sha256-{base64.b64encode(digest).decode()}'"


def literal(text):
    assert ')zorva"' not in text
    pieces = [text[i:i + LITERAL] for i in range(0, len(text), LITERAL)]
    return '\n'.join(f'R"zorva({piece})zorva"' for piece in pieces)


def without_map(text):
    """Removes the reference to a source map, which the page does not have."""
    return re.sub(r'/[/*]# sourceMappingURL=.*', '', text).strip()


def main():
    library_script, library_style, output = sys.argv[1:]
    licence = read(HERE / 'dygraphs-licence.txt')
    style = f'/*\n{licence}*/\n{without_map(read(library_style))}\n{read(HERE / "page.css")}'
    library = f'/*\n{licence}*/\n{without_map(read(library_script))}'
    program = "(() => {\n'use strict';\n" + '\n'.join(read(HERE / f'{name}.js') for name in SCRIPTS) + '})();\n'
    for text in (style, library, program):
        assert not re.search(r'</(script|style)|<!--', text, re.I), 'would end its element'
    policy = ("default-src 'none'; connect-src 'none'; base-uri 'none'; form-action 'none'; img-src data:; "
              f'style-src {hashed(style)}; script-src {hashed(library)} {hashed(program)}')
    page = read(HERE / 'page.html')
    parts = {'policy': policy, 'style': style, 'library': library, 'program': program}
    head, tail = (re.sub('@(policy|style|library|program)@', lambda found: parts[found[1]], half)
                  for half in page.split('@data@'))
    pathlib.Path(output).write_text(
        '// Made by report/page/parts/assemble.py.\n#include "report/page/PageParts.h"\n\n'
        f'namespace zorva {{\n\nstd::string_view pageHead() {{\n  return {literal(head)};\n}}\n\n'
        f'std::string_view pageTail() {{\n  return {literal(tail)};\n}}\n\n}}  // namespace zorva\n',
        encoding='utf-8')


main()
