"""Signatures: reading them from a row, and the forms that follow by rule (32-bit sizes, Fortran)."""

import re
from dataclasses import dataclass

SIZES = re.compile(r"\bkv(?:Size|Index)\b")
ARGUMENT = re.compile(r"(.*?[\s*])(\w+)")

FORTRAN_VALUES = {
    "kvSize": "const kvSize*",
    "kvIndex": "const kvSize*",
    "size_t": "const kvSize*",
    "double": "const double*",
    "const char*": "const char*",
    "const ndArray_tag*": "ndArray_tag**",
    "ndArray_tag*": "ndArray_tag**",
    "const kvSize*": "const kvSize*",
    "const kvIndex*": "const kvSize*",
    **dict.fromkeys(("int", "int32_t", "bool", "ndClassID", "ndComplexity"), "const int32_t*"),
}
FORTRAN_RESULTS = {
    **{kind: kind for kind in ("void", "double", "ndArray_tag*")},
    **dict.fromkeys(("kvSize", "kvIndex", "size_t"), "kvSize"),
    **dict.fromkeys(("int", "int32_t", "bool", "ndClassID"), "int32_t"),
}


@dataclass(frozen=True)
class Argument:
    kind: str  # its type
    name: str

    def __str__(self):
        return f"{self.kind} {self.name}"


@dataclass(frozen=True)
class Signature:
    result: str
    arguments: tuple

    def narrow(self, narrow_type):
        """The same with narrow_type for each 64-bit size and index, pointers alike."""
        swap = lambda kind: SIZES.sub(narrow_type, kind)
        return Signature(swap(self.result), tuple(Argument(swap(a.kind), a.name) for a in self.arguments))

    @property
    def has_sizes(self):
        return self.narrow("int") != self

    def declaration(self, symbol):
        return f"{self.result} {symbol}({', '.join(map(str, self.arguments)) or 'void'})"

    @property
    def names(self):
        return ", ".join(argument.name for argument in self.arguments)


def parse(result, arguments, complain):
    """The signature that a row gives as two texts; complain(sentence) raises."""
    if arguments == "void":
        return Signature(result, ())
    parsed = []
    for piece in arguments.split(","):
        match = ARGUMENT.fullmatch(piece.strip())
        if not match:
            complain(f'"{piece.strip()}" isn\'t an argument; write a type and a name, or "void" for none.')
        parsed.append(Argument(match[1].strip(), match[2]))
    if len({argument.name for argument in parsed}) != len(parsed):
        complain("two arguments have one name.")
    return Signature(result, tuple(parsed))


def fortran(c, complain):
    """The Fortran signature of a C one: everything by reference, addresses as integers, text lengths last."""

    def reference(kind):
        if kind in FORTRAN_VALUES:
            return FORTRAN_VALUES[kind]
        if kind.endswith("*") and not kind.startswith("const "):
            return "const uintptr_t*"
        complain(f'the Fortran form of "{kind}" doesn\'t follow by rule; give fortran.arguments.')

    arguments = [Argument(reference(a.kind), a.name) for a in c.arguments]
    arguments += [Argument("int32_t", a.name + "Length") for a in c.arguments if a.kind == "const char*"]
    result = FORTRAN_RESULTS.get(c.result) or ("uintptr_t" if c.result.endswith("*") else None)
    if not result:
        complain(f'the Fortran form of the result "{c.result}" doesn\'t follow by rule; give fortran.result.')
    return Signature(result, tuple(arguments))
