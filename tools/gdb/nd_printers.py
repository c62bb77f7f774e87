"""GDB shows arrays as values.

    (gdb) source tools/gdb/nd_printers.py
    (gdb) print *array
    $1 = double 2x3 {1, 2, 3, 4, 5, 6} [numeric|inline-dims; local; owners 1+0]
    (gdb) print array
    $2 = 0x5555555d1280 double 2x3 {1, 2, 3, 4, 5, 6} [...]
    (gdb) nd-header array
    every field of the header, one a line

Headers are read through the record's debug information, elements straight from memory: a damaged header prints as far as it
can be read. `print/r` gives the plain record. The tables of classes and flags repeat the library's; their test compares them.
"""

import struct

import gdb
import gdb.printing

SHOWN_ELEMENTS = 12
SHOWN_DIMS = 8

# Class number to name and to the struct code of one real element ("" where elements aren't numbers).
CLASSES = [
    ("unknown", ""), ("cell", ""), ("struct", ""), ("logical", "B"), ("char", "H"), ("void", ""),
    ("double", "d"), ("single", "f"), ("int8", "b"), ("uint8", "B"), ("int16", "h"), ("uint16", "H"),
    ("int32", "i"), ("uint32", "I"), ("int64", "q"), ("uint64", "Q"), ("function_handle", ""),
    ("opaque", ""), ("object", ""),
]
CELL, CHAR = 1, 4

FLAGS = [
    (0x1, "scalar-double"), (0x2, "share-data-private"), (0x4, "empty-square-bracket"),
    (0x8, "from-global-workspace"), (0x10, "sparse"), (0x20, "colon-object"), (0x40, "data-private"),
    (0x80, "numeric"), (0x100, "indexing-opaque"), (0x200, "reusable"), (0x400, "capacity-tracked"),
    (0x800, "complex"), (0x1000, "shared-data"), (0x2000, "cached-header"), (0x80000, "inline-dims"),
    (0x100000, "single-threaded-sharing"), (0x200000, "on-collection-list"),
]
SPARSE, INDEXING_OPAQUE, INLINE_DIMS, COMPLEX_NUMERIC = 0x10, 0x100, 0x80000, 0x880
BIN_MASK, BIN_SHIFT, UNDEFINED_FLAGS, USER_SHIFT = 0x7C000, 14, 0xC00000, 24

SCOPES = ["local", "local static", "global", "member", "temporary", "persistent", "property", "being destroyed"]


def flag_names(flags):
    """The bits of a flag word by name, as the library's own messages write them."""
    names = [name for mask, name in FLAGS if flags & mask]
    if flags & BIN_MASK:
        names.append("bin %d" % ((flags & BIN_MASK) >> BIN_SHIFT))
    if flags & UNDEFINED_FLAGS:
        names.append("undefined bits 0x%x" % (flags & UNDEFINED_FLAGS))
    if flags >> USER_SHIFT:
        names.append("user bits 0x%x" % (flags >> USER_SHIFT))
    return "|".join(names) or "none"


def read_memory(address, size):
    return bytes(gdb.selected_inferior().read_memory(address, size))


def read_words(address, count):
    return struct.unpack("<%dQ" % count, read_memory(address, 8 * count))


class Array:
    """One header, read field by field."""

    def __init__(self, value):
        self.value = value
        self.flags = int(value["flags"])
        self.class_id = int(value["class_id"])
        self.complex = self.flags & COMPLEX_NUMERIC == COMPLEX_NUMERIC

    def known_class(self):
        return 0 <= self.class_id < len(CLASSES)

    def class_text(self):
        name = CLASSES[self.class_id][0] if self.known_class() else "class %d" % self.class_id
        return ("complex " if self.complex else "") + name

    def dims(self):
        """The stored dimensions; None where the header doesn't lead to any."""
        m, n = int(self.value["m_or_dims"]), int(self.value["n_or_ndims"])
        if self.flags & INLINE_DIMS:
            return [m, n]
        if not 3 <= n < 1 << 20:
            return None
        try:
            return list(read_words(m, n))
        except gdb.MemoryError:
            return None

    def dims_text(self):
        dims = self.dims()
        if dims is None:
            return "(dimensions can't be read)"
        text = "x".join(str(dim) for dim in dims[:SHOWN_DIMS])
        return text + ("x..." if len(dims) > SHOWN_DIMS else "")

    def count(self):
        dims = self.dims()
        if dims is None or self.flags & INDEXING_OPAQUE:
            return 0
        count = 1
        for dim in dims:
            count *= dim
        return count

    def element_texts(self, shown):
        address = int(self.value["pdata"])
        if self.class_id == CELL:
            return [self.slot_text(slot) for slot in read_words(address, shown)]
        parts = 2 if self.complex else 1
        code = CLASSES[self.class_id][1]
        layout = "<%d%s" % (shown * parts, code)
        numbers = struct.unpack(layout, read_memory(address, struct.calcsize(layout)))
        if self.complex:
            return ["%s + %si" % (number_text(re), number_text(im)) for re, im in zip(numbers[::2], numbers[1::2])]
        return [number_text(x) for x in numbers]

    def slot_text(self, slot):
        if slot == 0:
            return "(empty slot)"
        element = Array(gdb.Value(slot).cast(self.value.type.unqualified().pointer()).dereference())
        return "<%s %s>" % (element.class_text(), element.dims_text())

    def char_text(self, shown):
        units = read_memory(int(self.value["pdata"]), 2 * shown)
        return 'u"%s"' % units.decode("utf-16-le", "backslashreplace")

    def elements_text(self):
        """The first elements in braces; text for a row of char; nothing where elements can't be shown."""
        count = self.count()
        has_elements = self.known_class() and (self.class_id == CELL or CLASSES[self.class_id][1])
        if self.flags & SPARSE:
            return "{%d stored at most}" % int(self.value["info_c"])
        if count == 0 or not has_elements:
            return "{}"
        if int(self.value["pdata"]) == 0:
            return "{no data}"
        shown = min(count, SHOWN_ELEMENTS)
        try:
            if self.class_id == CHAR:
                return self.char_text(shown) + ("..." if count > shown else "")
            texts = self.element_texts(shown)
        except gdb.MemoryError:
            return "{data can't be read}"
        return "{" + ", ".join(texts) + (", ... %d in all" % count if count > shown else "") + "}"

    def scope_text(self):
        scope = int(self.value["scope"])
        return SCOPES[scope] if scope < len(SCOPES) else "scope %d" % scope

    def sharers(self):
        """The number of headers over the block; None without a share record."""
        record = self.value["share_record"]
        if int(record) == 0:
            return None
        try:
            # The count is the record's first word; std::atomic is a plain word in memory.
            return struct.unpack("<I", read_memory(int(record), 4))[0]
        except gdb.MemoryError:
            return "unreadable"

    def text(self):
        notes = [flag_names(self.flags), self.scope_text(),
                 "owners %d+%d" % (int(self.value["ref_count"]), int(self.value["internal_ref_count"]))]
        if self.sharers() is not None:
            notes.append("block of %s" % self.sharers())
        return "%s %s %s [%s]" % (self.class_text(), self.dims_text(), self.elements_text(), "; ".join(notes))


def number_text(x):
    return "%.15g" % x if isinstance(x, float) else str(x)


class ArrayPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return Array(self.value).text()


class ArrayPointerPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        address = int(self.value)
        if address == 0:
            return "0x0"
        try:
            return "0x%x %s" % (address, Array(self.value.dereference()).text())
        except gdb.MemoryError:
            return "0x%x (no array can be read here)" % address


def is_array_type(gdb_type):
    return gdb_type.unqualified().strip_typedefs().name == "ndArray_tag"


def find_printer(value):
    gdb_type = value.type.strip_typedefs()
    if gdb_type.code == gdb.TYPE_CODE_PTR and is_array_type(gdb_type.target()):
        return ArrayPointerPrinter(value)
    return ArrayPrinter(value) if is_array_type(gdb_type) else None


class HeaderCommand(gdb.Command):
    """Print every field of an array header: nd-header EXPRESSION, which gives an array or a pointer to one."""

    def __init__(self):
        super().__init__("nd-header", gdb.COMMAND_DATA, gdb.COMPLETE_EXPRESSION)

    def invoke(self, argument, from_tty):
        value = gdb.parse_and_eval(argument)
        if value.type.strip_typedefs().code == gdb.TYPE_CODE_PTR:
            value = value.dereference()
        if not is_array_type(value.type):
            raise gdb.GdbError("nd-header wants an array or a pointer to one")
        array = Array(value)
        notes = {"flags": flag_names(array.flags), "class_id": array.class_text(), "scope": array.scope_text()}
        for field in value.type.strip_typedefs().fields():
            line = "%-18s 0x%x" % (field.name, int(value[field.name]))
            note = notes.get(field.name)
            gdb.write(line + ("  %s" % note if note else "") + "\n")


def register(objfile=None):
    """Makes the printers known, for one object file or for all."""
    gdb.printing.register_pretty_printer(objfile, find_printer, replace=True)


register()
HeaderCommand()
