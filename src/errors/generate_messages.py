#!/usr/bin/env python3
"""Makes the identifier classes and the compiled-in texts from the catalog files in catalogs/.

A catalog file `a.b.msg` is the catalog "TARVEL:a:b". Its rows are the one place where an identifier is defined:

    # A comment.
    key(string name, uint64 limit)
        The text, indented, with {0} and {1} for the arguments. Its lines are joined by one blank.

An identifier without arguments has no parentheses. Argument types: string (UTF-8), ustring (UTF-16), int64, uint64,
double. The last arguments may have defaults, a word or a number: `uint64 limit = 0`. The text is an ICU message pattern. Escapes: \\n a new line, \\s a blank at the start or end, \\\\ a backslash.

A row that doesn't follow these rules stops the build with one sentence that names its place.
"""

import argparse
import re
import sys
from dataclasses import dataclass
from pathlib import Path

CPP_TYPES = {
    "string": "std::string",
    "ustring": "std::u16string",
    "int64": "std::int64_t",
    "uint64": "std::uint64_t",
    "double": "double",
}
NUMBER_TYPES = {"int64", "uint64", "double"}
STEM = re.compile(r"[A-Za-z]\w*(\.[A-Za-z]\w*)*", re.ASCII)
ROW = re.compile(r"([A-Za-z]\w*)(?:\(([^()]*)\))?", re.ASCII)
ARGUMENT = re.compile(r"(\w+) ([A-Za-z]\w*)(?: = (\w+))?", re.ASCII)
ESCAPES = {"n": "\n", "s": " ", "\\": "\\"}


class CatalogError(Exception):
    """What is wrong with a catalog file, as a sentence."""


@dataclass
class Row:
    key: str
    arguments: list  # of (type, name, default or None)
    place: str  # file and line, for complaints
    text: str = ""


@dataclass
class Catalog:
    stem: str
    rows: list

    @property
    def name(self):
        return "TARVEL:" + self.stem.replace(".", ":")

    @property
    def namespace(self):
        return "TARVEL::" + self.stem.replace(".", "::")


def parse_arguments(text, place):
    arguments = []
    for piece in text.split(","):
        match = ARGUMENT.fullmatch(piece.strip())
        if not match:
            raise CatalogError(f'{place}: "{piece.strip()}" isn\'t an argument; write a type and a name.')
        if match[1] not in CPP_TYPES:
            raise CatalogError(f'{place}: "{match[1]}" isn\'t an argument type; there are {", ".join(CPP_TYPES)}.')
        if match[2] in (name for _, name, _ in arguments):
            raise CatalogError(f'{place}: the argument name "{match[2]}" is used twice.')
        if match[3] is None and any(default for _, _, default in arguments):
            raise CatalogError(f'{place}: "{match[2]}" follows an argument with a default and has none.')
        if match[3] and match[1] in NUMBER_TYPES and not match[3].isdecimal():
            raise CatalogError(f'{place}: the default of "{match[2]}" must be a number.')
        arguments.append(match.groups())
    return arguments


def unescape(text, place):
    def replace(match):
        if match[1] not in ESCAPES:
            raise CatalogError(f'{place}: "{match[0]}" isn\'t an escape; there are \\n, \\s and \\\\.')
        return ESCAPES[match[1]]

    return re.sub(r"\\(.?)", replace, text)


def parse_catalog(path):
    if not STEM.fullmatch(path.stem):
        raise CatalogError(f'{path.name}: the file name must be words joined by ".".')
    rows = []
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), start=1):
        place = f"{path.name}:{number}"
        content = line.strip()
        if not content or line.startswith("#"):
            continue
        if line[0] in " \t":
            if not rows:
                raise CatalogError(f"{place}: there is text before the first key.")
            rows[-1].text += (" " if rows[-1].text else "") + content
            continue
        match = ROW.fullmatch(content)
        if not match:
            raise CatalogError(f'{place}: "{content}" isn\'t a key with an optional list of arguments.')
        if any(row.key == match[1] for row in rows):
            raise CatalogError(f'{place}: the key "{match[1]}" is defined twice.')
        rows.append(Row(match[1], parse_arguments(match[2], place) if match[2] else [], place))
    for row in rows:
        row.text = unescape(row.text, row.place)
        check_text(row)
    if not rows:
        raise CatalogError(f"{path.name}: the catalog is empty.")
    return Catalog(path.stem, rows)


class PatternReader:
    """Walks an ICU message pattern and checks each place against the row's arguments.

    Apostrophes that ICU would take for quoting are refused: no text needs them, and translators trip over them.
    """

    def __init__(self, row):
        self.row = row
        self.at = 0

    def fail(self, what):
        raise CatalogError(f'{self.row.place}: in the text of "{self.row.key}" {what}.')

    def message(self, nested):
        text = self.row.text
        while self.at < len(text):
            char = text[self.at]
            if char == "'" and text[self.at + 1 : self.at + 2] in ("'", "{", "}", "#", "|"):
                self.fail("an apostrophe stands where it would quote")
            if char == "}":
                if nested:
                    return
                self.fail('a "}" closes nothing')
            self.at += 1
            if char == "{":
                self.placeholder()
        if nested:
            self.fail('a "{" isn\'t closed')

    def placeholder(self):
        match = re.compile(r"\s*(\d+)\s*(,\s*plural\s*,|,\s*select\s*,|\})").match(self.row.text, self.at)
        if not match:
            self.fail('a "{" isn\'t followed by an argument number and "}", "plural" or "select"')
        index = int(match[1])
        if index >= len(self.row.arguments):
            self.fail(f"the place {{{index}}} has no argument")
        self.at = match.end()
        if match[2] == "}":
            return
        if "plural" in match[2] and self.row.arguments[index][0] not in NUMBER_TYPES:
            self.fail(f"the plural of {{{index}}} needs a number")
        self.variants()

    def variants(self):
        selector = re.compile(r"\s*(=\d+|\w+)\s*\{")
        seen = set()
        while match := selector.match(self.row.text, self.at):
            seen.add(match[1])
            self.at = match.end()
            self.message(nested=True)
            self.at += 1
        if "other" not in seen:
            self.fail('a plural or select has no "other"')
        end = re.compile(r"\s*\}").match(self.row.text, self.at)
        if not end:
            self.fail('a plural or select isn\'t closed')
        self.at = end.end()


def check_text(row):
    if not row.text:
        raise CatalogError(f'{row.place}: the key "{row.key}" has no text.')
    PatternReader(row).message(nested=False)


def c_string(text):
    escaped = text.replace("\\", "\\\\").replace('"', '\\"').replace("\n", "\\n")
    return f'"{escaped}"'


def comment_lines(text):
    words, lines = text.replace("\n", "\\n").split(), [""]
    for word in words:
        if lines[-1] and len(lines[-1]) + len(word) > 105:
            lines.append("")
        lines[-1] += (" " if lines[-1] else "") + word
    return [f"/// {line}" for line in lines]


def parameter(kind, name, default):
    text = f"{CPP_TYPES[kind]} {name}"
    if default is None:
        return text
    return f"{text} = " + (default if kind in NUMBER_TYPES else ("u" if kind == "ustring" else "") + c_string(default))


def class_lines(catalog, row):
    base = f'BaseMsgID({c_string(catalog.name)}, {c_string(row.key)}'
    tuple_types = ", ".join(CPP_TYPES[kind] for kind, _, _ in row.arguments)
    yield from comment_lines(row.text)
    yield f"class ND_EXPORT {row.key} : public resource_core::BaseMsgID {{"
    yield "public:"
    yield f"    using argument_types = std::tuple<{tuple_types}>;"
    if row.arguments:
        parameters = ", ".join(parameter(*argument) for argument in row.arguments)
        values = ", ".join(f"std::move({name})" if "string" in kind else name for kind, name, _ in row.arguments)
        yield f"    explicit {row.key}({parameters})"
        yield f"        : {base}, {values}) {{}}"
    else:
        yield f"    {row.key}() noexcept : {base}) {{}}"
    yield "};"
    yield ""


def header_lines(catalogs):
    yield "// Message identifiers, one class each: TARVEL::<catalog>::<key>. The comment is the English text; {0}, {1}..."
    yield "// stand for the constructor's arguments. Generated by src/errors/generate_messages.py from the catalogs there."
    yield "#ifndef ND_MESSAGES_HPP"
    yield "#define ND_MESSAGES_HPP"
    yield ""
    yield "#include <nd/types.h>"
    yield "#include <resource_core/base_msg_id.hpp>"
    yield ""
    yield "#include <cstdint>"
    yield "#include <string>"
    yield "#include <tuple>"
    yield "#include <utility>"
    yield ""
    for catalog in catalogs:
        yield f"namespace {catalog.namespace} {{"
        yield ""
        for row in catalog.rows:
            yield from class_lines(catalog, row)
        yield f"}} // namespace {catalog.namespace}"
        yield ""
    yield "#endif"


def source_lines(catalogs):
    rows = sorted((catalog.name, row.key, row.text) for catalog in catalogs for row in catalog.rows)
    yield "// The compiled-in English texts. Generated by src/errors/generate_messages.py from the catalogs there."
    yield "#include <fl/i18n/builtin_messages.hpp>"
    yield ""
    yield "namespace fl::i18n {"
    yield ""
    yield "static constexpr BuiltinMessage table[] = {"
    for row in rows:
        yield "    {" + ", ".join(c_string(field) for field in row) + "},"
    yield "};"
    yield ""
    yield "std::span<const BuiltinMessage> builtin_messages() noexcept { return table; }"
    yield ""
    yield "} // namespace fl::i18n"


def type_list_lines(catalogs):
    names = [f"{catalog.namespace}::{row.key}" for catalog in catalogs for row in catalog.rows]
    yield "// All identifiers, for tests that go through them. Generated from the catalogs."
    yield "#pragma once"
    yield ""
    yield "#include <nd/messages.hpp>"
    yield ""
    yield "template <template <class...> class List>"
    yield "using all_messages = List<"
    yield ",\n".join(f"    ::{name}" for name in names) + ">;"


def main():
    parser = argparse.ArgumentParser(description="Generate identifier classes and texts from catalog files.")
    parser.add_argument("catalogs", type=Path, help="folder of the catalog files")
    parser.add_argument("--header", type=Path, help="write the identifier classes here")
    parser.add_argument("--source", type=Path, help="write the compiled-in texts here")
    parser.add_argument("--type-list", type=Path, help="write the list of all classes here, for tests")
    arguments = parser.parse_args()
    try:
        catalogs = [parse_catalog(path) for path in sorted(arguments.catalogs.glob("*.msg"))]
        if not catalogs:
            raise CatalogError(f"{arguments.catalogs}: there are no catalog files.")
    except CatalogError as error:
        sys.exit(str(error))
    outputs = (
        (arguments.header, header_lines),
        (arguments.source, source_lines),
        (arguments.type_list, type_list_lines),
    )
    for path, lines in outputs:
        if path:
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text("\n".join(lines(catalogs)) + "\n", encoding="utf-8")


if __name__ == "__main__":
    main()
