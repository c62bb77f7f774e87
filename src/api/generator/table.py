"""The table: reads the rows of entry_points/*.toml and says of each which exported forms follow from it.

A row that doesn't hold together stops the build with one sentence that names it.
"""

import tomllib
from dataclasses import dataclass, field
from pathlib import Path

from . import signature
from .signature import Signature

FOLDER = Path(__file__).resolve().parent.parent
GENERATIONS = ("unsuffixed", "700", "730", "800")
NODES = {"unsuffixed": "ND_7.0", "700": "ND_7.0", "730": "ND_7.3", "800": "ND_8.0"}
FORTRAN_NODE = "ND_F"
ROW_KEYS = {
    "brief", "result", "arguments", "forms", "call", "built", "checks", "failure", "owner", "consumes", "args", "returns",
    "notes", "fortran", "of",
}
FORTRAN_KEYS = {"forms", "result", "arguments", "interleaved", "built"}


class TableError(Exception):
    """What is wrong with the table, as a sentence."""


@dataclass(frozen=True)
class Form:
    """One exported name."""

    symbol: str
    base: str  # the row's name
    generation: str
    language: str  # "C" or "Fortran"
    signature: Signature
    layer: str
    alias_of: str  # the symbol on whose address it stands, or ""
    node: str
    built: bool
    narrow: bool  # sizes and indices are int


@dataclass
class Row:
    name: str
    group: str
    file: str
    brief: str
    signature: Signature = None  # 64-bit form; None for a routine that only Fortran has
    call: str = ""  # function of the layer that is reached
    checks: list = field(default_factory=list)
    failure: str = ""
    owner: str = ""
    consumes: list = field(default_factory=list)
    args: dict = field(default_factory=dict)
    returns: str = ""
    notes: str = ""
    of: dict = field(default_factory=dict)  # the words that fill the file's defaults
    forms: list = field(default_factory=list)
    fortran_forms: list = field(default_factory=list)

    @property
    def built(self):
        return any(form.built for form in self.forms)

    def checks_of(self, form):
        """What the form promises to test: the row's checks, and negative sizes where it takes int for a size.

        What a pointer to indices that may be written points to isn't read."""
        narrowed = any(own.kind != wide.kind and (own.kind == "int" or own.kind.startswith("const "))
                       for own, wide in zip(form.signature.arguments, self.signature.arguments))
        return [*self.checks, "negative_size"] if narrowed else list(self.checks)

    def form_for(self, api):
        """The built form that code of generation api (700, 730 or 800) binds to, or None."""
        by_generation = {form.generation: form for form in self.forms}
        if api in by_generation:
            form = by_generation[api]
        else:
            form = by_generation.get("unsuffixed")
            # A function whose complex layout is the older one isn't there for the newest generation.
            if form and api == "800" and form.layer == "nd_array_compat_sc_api":
                form = None
        return form if form and form.built else None


@dataclass
class Table:
    rows: list  # by group, in the order of the vocabulary
    groups: list
    layers: dict
    checks: dict
    owners: dict

    @property
    def files(self):
        return sorted({row.file for row in self.rows})

    @property
    def forms(self):
        return [form for row in self.rows for form in row.forms + row.fortran_forms]

    @property
    def built_forms(self):
        return [form for form in self.forms if form.built]

    def guard_of(self, row):
        """The test of api/layers that stands in the row's stubs, or ""."""
        guards = [self.checks[check]["guard"] for check in row.checks if "guard" in self.checks[check]]
        return guards[0] if guards else ""


def filled(value, words):
    """value with {word} replaced in every text."""
    if isinstance(value, str):
        return value.format_map(words)
    if isinstance(value, list):
        return [filled(item, words) for item in value]
    if isinstance(value, dict):
        return {key: filled(item, words) for key, item in value.items()}
    return value


class Reader:
    """Turns the texts of one file into rows."""

    def __init__(self, path, vocabulary):
        self.file = path.name
        self.vocabulary = vocabulary
        try:
            self.data = tomllib.loads(path.read_text(encoding="utf-8"))
        except tomllib.TOMLDecodeError as error:
            raise TableError(f"{path.name}: {error}.") from error
        self.group = self.data.pop("group", "")
        self.defaults = self.data.pop("defaults", {})
        if self.group not in vocabulary["groups"]:
            raise TableError(f'{path.name}: there is no group "{self.group}".')

    def rows(self):
        return [self.row(name, given) for name, given in self.data.items()]

    def row(self, name, given):
        def complain(sentence):
            raise TableError(f"{self.file}: {name}: {sentence}")

        if not isinstance(given, dict):
            complain("a row is a table with a name.")
        merged = {**self.defaults, **given}
        if "of" in merged:
            merged = filled({key: value for key, value in merged.items() if key != "of"}, merged["of"])
        self.check_keys(merged, ROW_KEYS, complain)
        row = Row(name, self.group, self.file, merged.get("brief", ""))
        for key in ("checks", "failure", "owner", "consumes", "args", "returns", "notes"):
            setattr(row, key, merged.get(key, getattr(row, key)))
        row.call = merged.get("call", name)
        row.of = given.get("of", {})
        if "forms" in merged:
            row.signature = signature.parse(merged.get("result", ""), merged.get("arguments", ""), complain)
            row.forms = self.c_forms(row, merged, complain)
        if "fortran" in merged:
            row.fortran_forms = self.fortran_forms(row, merged["fortran"], complain)
        check_row(row, self.vocabulary, complain)
        return row

    @staticmethod
    def check_keys(given, known, complain):
        for key in given:
            if key not in known:
                complain(f'"{key}" isn\'t a word of a row.')

    def resolved(self, forms, complain):
        """The set of forms that a row gives by name or in full: generation to layer."""
        if isinstance(forms, str):
            if forms not in self.vocabulary["forms"]:
                complain(f'there is no set of forms "{forms}".')
            forms = self.vocabulary["forms"][forms]
        for generation, layer in forms.items():
            if generation not in GENERATIONS or generation == "700":
                complain(f'"{generation}" isn\'t a generation that a row names; 700 follows from 730.')
            if layer not in self.vocabulary["layer"]:
                complain(f'there is no layer "{layer}".')
        return forms

    def is_built(self, built, forms, complain):
        names = set(forms) if built is True else set(built or ())
        if not names <= set(forms):
            complain(f"built names {', '.join(sorted(names - set(forms)))}, which isn't one of its forms.")
        for generation in names:
            if not self.vocabulary["layer"][forms[generation]]["headers"]:
                complain(f'the layer "{forms[generation]}" has no header, so a form that reaches it can\'t be built.')
        return names

    def c_forms(self, row, given, complain):
        layers = self.resolved(given["forms"], complain)
        built = self.is_built(given.get("built", False), layers, complain)
        forms = []

        def add(generation, layer, alias_of=""):
            narrow = bool(self.vocabulary["layer"][layer].get("narrow")) and row.signature.has_sizes
            own = row.signature.narrow("int") if narrow else row.signature
            symbol = row.name if generation == "unsuffixed" else f"{row.name}_{generation}"
            is_built = ("unsuffixed" if alias_of else generation) in built
            forms.append(Form(symbol, row.name, generation, "C", own, layer, alias_of, NODES[generation], is_built, narrow))

        for generation, layer in layers.items():
            add(generation, layer)
            if generation == "unsuffixed" and "730" in layers:
                add("700", layer, alias_of=row.name)
        return forms

    def fortran_forms(self, row, given, complain):
        self.check_keys(given, FORTRAN_KEYS, complain)
        layers = self.resolved(given.get("forms", {}), complain)
        built = self.is_built(given.get("built", False), layers, complain)
        wide = self.fortran_signature(row, given, complain)
        forms = []
        for generation, layer in layers.items():
            own = wide
            if generation == "800" and "interleaved" in given:
                own = signature.parse(given["interleaved"]["result"], given["interleaved"]["arguments"], complain)
            if generation == "unsuffixed":
                own = own.narrow("int32_t")
            suffix = "" if generation == "unsuffixed" else generation
            names = [(row.name.upper() + suffix, "")]
            if generation == "unsuffixed" and "730" in layers:
                names.append((row.name.upper() + "700", names[0][0]))
            for upper, alias_of in names:
                form_generation = "700" if alias_of else generation
                lower = upper.lower() + "_"
                for symbol, alias in ((upper, alias_of), (lower, upper)):
                    forms.append(Form(symbol, row.name, form_generation, "Fortran", own, layer, alias, FORTRAN_NODE,
                                      generation in built, generation == "unsuffixed"))
        return forms

    @staticmethod
    def fortran_signature(row, given, complain):
        if row.signature is None:
            return signature.parse(given.get("result", ""), given.get("arguments", ""), complain)
        if "arguments" in given:
            result = given.get("result") or signature.fortran(Signature(row.signature.result, ()), complain).result
            return signature.parse(result, given["arguments"], complain)
        own = signature.fortran(row.signature, complain)
        return Signature(given.get("result", own.result), own.arguments)


def check_row(row, vocabulary, complain):
    """What every row must have, and what a built one must tell its callers."""
    if not row.brief.endswith("."):
        complain("brief must be a sentence that ends in a full stop.")
    if not row.forms and not row.fortran_forms:
        complain("it has no form.")
    if row.forms and not row.signature.result:
        complain("it has no result.")
    for check in row.checks:
        if check not in vocabulary["check"]:
            complain(f'there is no check "{check}".')
    if row.owner and row.owner not in vocabulary["owner"]:
        complain(f'there is no owner "{row.owner}".')
    if not row.built:
        return
    names = [argument.name for argument in row.signature.arguments]
    if set(row.args) != set(names):
        complain("it is built, so args must describe each of its arguments and nothing else.")
    if not set(row.consumes) <= set(names):
        complain("consumes names something that isn't an argument.")
    if row.signature.result == "void":
        if row.returns:
            complain("it returns nothing, yet returns is given.")
    elif not row.returns:
        complain("it is built, so returns must say what it returns.")
    if row.checks and not row.failure:
        complain("it promises checks, so failure must say what it answers when one fails.")
    if row.signature.result.endswith("*") and not row.owner:
        complain("it returns a pointer, so owner must say whose the memory is.")


def load(folder=FOLDER):
    """The whole table, or TableError."""
    vocabulary = tomllib.loads((folder / "vocabulary.toml").read_text(encoding="utf-8"))
    rows = []
    for path in sorted((folder / "entry_points").glob("*.toml")):
        rows += Reader(path, vocabulary).rows()
    rows.sort(key=lambda row: vocabulary["groups"].index(row.group))
    table = Table(rows, vocabulary["groups"], vocabulary["layer"], vocabulary["check"], vocabulary["owner"])
    seen = {}
    for form in table.forms:
        if form.symbol in seen:
            raise TableError(f"{form.symbol}: the rows {seen[form.symbol]} and {form.base} both export this name.")
        seen[form.symbol] = form.base
    return table
