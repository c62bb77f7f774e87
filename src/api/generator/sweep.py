"""The argument sweep: for each built C form and each check that it promises, calls that must be refused or answered.

What a case does when the promise is broken is the harness's matter (tests/api/sweep_test.cpp); here stand the calls.
"""

from .signature import SIZES
from .stubs import BANNER
from .table import TableError

IDS = {
    "ceiling": "TARVEL:pmaxsize",
    "limit": "TARVEL:array:SizeLimitExceeded",
    "class_id": "TARVEL:badargs",
    "numeric": "TARVEL:numericArgRequired",
    "complex": "TARVEL:matrix:illegalComplexArray",
    "memory": "TARVEL:nomem",
    "old_indices": "TARVEL:err_sparse_64bit_obsolete",
}
VALUES = {
    "ndClassID": "ndDOUBLE_CLASS", "ndComplexity": "ndREAL", "double": "1", "float": "1", "bool": "true", "int": "0",
    "const char*": '"name"', "const char**": "nullptr", "size_t": "2", "void*": "nullptr",
}
COUNTS = ("ndim", "nsubs")  # how many entries the list beside it has
LISTS = ("const kvSize*", "const kvIndex*")
NO_CLASSES = ("-1", "19", "99", "INT_MAX", "INT_MIN")


class Call:
    """One form with arguments that it accepts, some of which can be replaced."""

    def __init__(self, row, form):
        self.row, self.form = row, form
        pairs = list(zip(row.signature.arguments, form.signature.arguments))
        self.counts = [own.name for wide, own in pairs if wide.name in COUNTS]
        self.sizes = [own.name for wide, own in pairs if SIZES.fullmatch(wide.kind) and wide.name not in COUNTS]
        self.lists = [own.name for wide, own in pairs if wide.kind in LISTS]
        self.integer = "int" if form.narrow else "kvSize"
        self.values = {own.name: self.accepted(wide, own) for wide, own in pairs}

    def accepted(self, wide, own):
        if own.name in self.sizes or own.name in self.counts:
            return "2"
        if own.name in self.lists:
            return self.shape("2", "3")
        if own.kind.endswith("ndArray_tag*"):
            return "nullptr" if own.name == "value" else "a"
        if own.kind.endswith("*") and not own.kind.startswith("const "):
            return "nullptr"
        return VALUES.get(own.kind, "")

    def shape(self, first, second):
        return f"shape<{self.integer}>{{{{{first}, {second}}}}}.dims"

    def text(self, **replaced):
        values = {**self.values, **replaced}
        return f"{self.form.symbol}({', '.join(values[a.name] for a in self.form.signature.arguments)})"

    def refused(self, **replaced):
        """An expression that is true when the call answers its failure value."""
        call, failure = self.text(**replaced), self.row.failure
        if self.form.signature.result == "void":
            return f"({call}, true)"
        if self.row.owner == "caller":
            return f"made_nothing({call})"
        return f"{call} == {'nullptr' if failure == 'null' else failure}"

    def each_size(self, values):
        """Replacements that put each of values into each size in turn."""
        for value in values:
            yield from ({name: value} for name in self.sizes)
            yield from ({name: self.shape("2", value)} for name in self.lists)


def on_array(class_id, complexity, expression):
    return f"with_array({class_id}, {complexity}, [](ndArray_tag* a) {{ return {expression}; }})"


def on_any_array(call, expression):
    """The expression, with an array at hand if the call takes one."""
    takes_one = "a" in call.values.values()
    return on_array("ndDOUBLE_CLASS", "ndREAL", expression) if takes_one else expression


def on_struct(expression):
    return f"with_struct([]([[maybe_unused]] ndArray_tag* a) {{ return {expression}; }})"


def no_struct(call):
    yield from null_array(call)
    yield "", f"with_no_struct([](ndArray_tag* a) {{ return {call.refused()}; }})"


def slot(call):
    yield from null_array(call)
    yield "", f"with_no_container([](ndArray_tag* a) {{ return {call.refused(index='0')}; }})"
    for index in ("struct_slots", "INT_MAX"):
        yield "", on_struct(call.refused(index=index))


def element(call):
    yield from no_struct(call)
    for index in ("struct_elements", "INT_MAX"):
        yield "", on_struct(call.refused(index=index))


def field_name(call):
    for name in ("nullptr", '""', '"no such field"', '"A"'):
        yield "", on_struct(call.refused(name=name, **({"index": "0"} if "index" in call.values else {})))


def null_name(call):
    yield "", on_struct(call.refused(name="nullptr"))


def field_number(call):
    for number in ("-1", "struct_fields", "INT_MAX", "INT_MIN"):
        yield "", on_struct(call.refused(number=number, **({"index": "0"} if "index" in call.values else {})))


def null_array(call):
    array = next(a.name for a in call.form.signature.arguments if a.kind.endswith("ndArray_tag*"))
    yield "", call.refused(**{array: "nullptr"})


def wrong_class(call):
    of = call.row.of
    yield "", f'with_every_class_but({of["class"]}, {of["complexity"]}, [](ndArray_tag* a) {{ return {call.refused()}; }})'


def wrong_complexity(call):
    of = call.row.of
    other = "ndREAL" if of["complexity"] == "ndCOMPLEX" else "ndCOMPLEX"
    yield "", on_array(of["class"], other, call.refused())


def not_struct(call):
    yield "", f"with_every_class_but(ndSTRUCT_CLASS, ndCOMPLEX, [](ndArray_tag* a) {{ return {call.refused()}; }})"


def complex_array(call):
    yield IDS["complex"], on_array("ndDOUBLE_CLASS", "ndCOMPLEX", call.refused())


def unknown_name(call):
    for name in ('""', '"no such class"', '"Double"', '"double "'):
        yield "", call.refused(name=name)


def byte_counts(call):
    return [a.name for a in call.form.signature.arguments if a.kind == "size_t"]


def zero_size(call):
    for name in byte_counts(call):
        yield "", call.refused(**{name: "0"})


def block_memory(call):
    counts = byte_counts(call)
    for name in counts:
        yield IDS["memory"], call.refused(**dict.fromkeys(counts, "1") | {name: "SIZE_MAX"})
    if any(a.name == "p" for a in call.form.signature.arguments):
        yield IDS["memory"], f'with_block([](void* p) {{ return {call.refused(p="p", size="SIZE_MAX")}; }})'


def block_product(call):
    for n, bytes_of_one in (("SIZE_MAX", "2"), ("2", "SIZE_MAX / 2 + 1"), ("SIZE_MAX", "SIZE_MAX")):
        yield IDS["memory"], call.refused(n=n, size=bytes_of_one)


def null_block(call):
    yield "", call.refused(p="nullptr")


def size(call):
    largest = {name: "INT_MAX" for name in call.sizes} | {name: call.shape("INT_MAX", "INT_MAX") for name in call.lists}
    if call.form.narrow:
        yield IDS["ceiling"], call.refused(**largest)
    else:
        for replaced in call.each_size(("above_ceiling", "SIZE_MAX")):
            yield IDS["ceiling"], call.refused(**replaced)
    # The room of a sparse array isn't multiplied with another size.
    above_limit = {name: "INT_MAX" if name == "nzmax" else "above_any_limit" for name in call.sizes} | {
        name: call.shape("above_any_limit", "above_any_limit") for name in call.lists}
    if "Struct" not in call.form.symbol:  # the bytes of a struct depend on its fields, not on its elements alone
        yield IDS["limit"], f"under_a_small_limit([] {{ return {call.refused(**above_limit)}; }})"
    for replaced in call.each_size(("0", "1")):
        yield "", f"made_one({call.text(**replaced)})"
    for name in call.counts:
        yield "", f"made_one({call.text(**{name: '0', call.lists[0]: 'nullptr'})})"


def negative_size(call):
    for replaced in call.each_size(("-1", "INT_MIN")):
        yield IDS["limit"], on_any_array(call, call.refused(**replaced))
    for name in call.counts:
        yield IDS["limit"], on_any_array(call, call.refused(**{name: "-1"}))


def class_id(call):
    class_name = next(a.name for a in call.form.signature.arguments if a.kind == "ndClassID")
    for value in NO_CLASSES:
        replaced = {class_name: f"ndClassID({value})"}
        yield IDS["class_id"], call.refused(**replaced)
        for too_large in call.each_size(("SIZE_MAX",) if not call.form.narrow else ("-1",)):
            yield IDS["class_id"], call.refused(**replaced, **too_large)


def numeric_class(call):
    yield from class_id(call)
    yield IDS["numeric"], call.refused(classId="ndSTRUCT_CLASS")


def narrow_result(call):
    if call.form.narrow or call.form.generation == "unsuffixed":
        yield IDS["limit"], f"with_long_array([](ndArray_tag* a) {{ return {call.refused()}; }})"


def narrow_offset(call):
    if call.form.narrow:
        (name,) = call.lists
        last = call.refused(**{name: call.shape("0", "1")})
        yield IDS["limit"], f"with_long_array([](ndArray_tag* a) {{ return {last}; }})"


def text_size(call):
    for n in ("0x40000000", "INT_MAX") if call.form.narrow else ("0x40000000", "SIZE_MAX"):
        yield IDS["ceiling"], call.refused(n=n)


def null_text(call):
    (name,) = (a.name for a in call.form.signature.arguments if a.kind in ("const char*", "const char**"))
    yield "", f"made_one({call.text(**{name: 'nullptr'})})"


def not_char(call):
    buffer = {a.name: "text_buffer" for a in call.form.signature.arguments if a.name == "buffer"}
    yield "", call.refused(array="nullptr", **buffer)
    refused = call.refused(**buffer)
    yield "", f"with_every_class_but(ndCHAR_CLASS, ndCOMPLEX, [](ndArray_tag* a) {{ return {refused}; }})"


def null_buffer(call):
    for replaced in ({"buffer": "nullptr"}, {"buffer": "text_buffer", "size": "0"}):
        yield "", on_any_array(call, f"{call.text(**replaced)} == 0")
        yield "", f"{call.text(array='nullptr', **replaced)} == 0"


def old_indices(call):
    if call.form.narrow:
        yield IDS["old_indices"], on_array("ndDOUBLE_CLASS", "ndREAL", call.refused())


MAKERS = {
    "null_array": null_array, "null_ignored": null_array, "wrong_class": wrong_class, "wrong_complexity": wrong_complexity,
    "complex_array": complex_array, "unknown_name": unknown_name, "size": size, "negative_size": negative_size,
    "class_id": class_id, "numeric_class": numeric_class, "narrow_result": narrow_result, "narrow_offset": narrow_offset,
    "not_struct": not_struct, "zero_size": zero_size, "block_memory": block_memory, "block_product": block_product,
    "null_block": null_block, "old_indices": old_indices, "text_size": text_size, "null_text": null_text,
    "not_char": not_char, "null_buffer": null_buffer,
    "slot": slot, "element": element, "field_name": field_name, "field_name_of_array": field_name, "null_name": null_name,
    "field_number": field_number, "array_field_number": field_number, "struct_array": no_struct,
}


def reachable_checks(table, row, form):
    """The checks that a form promises and that calls alone can put to the test."""
    checks = [check for check in row.checks_of(form) if "unswept" not in table.checks[check]]
    for check in checks:
        if check not in MAKERS:
            raise TableError(f'the check "{check}" has no calls in generator/sweep.py and no word "unswept".')
    return checks


def text(table):
    built = [(row, form) for row in table.rows for form in row.forms if form.built]
    lines = [f"// Calls that the entry points promise to refuse or to answer. {BANNER}", '#include "api/sweep.hpp"', ""]
    lines += ["ND_EXTERN_C_BEGIN", *(f"{form.signature.declaration(form.symbol)};" for _, form in built), "ND_EXTERN_C_END", ""]
    lines += ["namespace test {", "", "const std::vector<sweep_case>& sweep_cases() {",
              "    static const std::vector<sweep_case> cases{"]
    for row, form in built:
        for check in reachable_checks(table, row, form):
            for id_, expression in MAKERS[check](Call(row, form)):
                lines.append(f'        {{"{form.symbol}", "{check}", "{id_}", [] {{ return {expression}; }}}},')
    lines += ["    };", "    return cases;", "}", "", "} // namespace test"]
    return "\n".join(lines) + "\n"
