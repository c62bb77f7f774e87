"""What a built library really exports, read from its dynamic symbol table."""

import subprocess
from dataclasses import dataclass


@dataclass(frozen=True)
class Symbol:
    name: str
    node: str  # its version node, "" for none
    address: int
    kind: str  # the letter of nm


def exported(library, nm="nm"):
    """Name to Symbol for everything that the library defines for others; version nodes themselves aren't listed."""
    output = subprocess.run([nm, "-D", "--defined-only", "--with-symbol-versions", str(library)], check=True,
                            capture_output=True, text=True).stdout
    symbols = {}
    for line in output.splitlines():
        address, kind, versioned = line.split(maxsplit=2)
        name, _, node = versioned.partition("@")
        if kind != "A":
            symbols[name] = Symbol(name, node.lstrip("@"), int(address, 16), kind)
    return symbols


def demangled(names, cxxfilt="c++filt"):
    """The C++ spelling of each name."""
    output = subprocess.run([cxxfilt], input="\n".join(names), check=True, capture_output=True, text=True).stdout
    return dict(zip(names, output.splitlines()))
