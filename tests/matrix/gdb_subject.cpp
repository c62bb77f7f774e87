// The program that gdb_test.py debugs: it builds values and stops in look_at() with each. What it prints itself are the library's
// tables, which the printers must agree with.
#include "matrix/class_table.hpp"
#include "matrix/validate.hpp"
#include "support/alloc_sources.hpp"
#include "support/arr.hpp"

#include <cstdio>

namespace {

// One stop a value. The name is what the test knows the value by.
[[gnu::noinline]] void look_at(const char* name, const ndArray_tag* array) {
    asm volatile("" : : "r"(name), "r"(array) : "memory");
}

void print_tables() {
    for (const auto& row : matrix::internal::class_rows) {
        std::printf("class %d %s\n", row.id, row.name[0] == '\0' ? "void" : row.name);
    }
    for (unsigned bit = 0; bit < 32; ++bit) {
        std::printf("flag %u %s\n", bit, matrix::internal::flag_names(1U << bit).c_str());
    }
}

} // namespace

int main() {
    using test::arr;
    using test::numbered;
    print_tables();
    look_at("matrix", arr("double 2x3", {1, 2.5, -3, 4, 5, 1e300}).get());
    look_at("scalar", arr("double", {0.1}).get());
    look_at("complex", arr("complex single 1x2", {{1, 2}, {3, -4}}).get());
    look_at("integers", arr("uint64 1x2", {1, 18446744073709551615U}).get());
    look_at("empty", arr("int8 0x3").get());
    look_at("cube", numbered("int16 2x2x2").get());
    look_at("long", numbered("uint8 1x50").get());
    look_at("text", arr("char", u"array").get());
    look_at("logical", numbered("logical 1x3").get());
    const auto cell = arr("cell 1x3", arr("double 2x2"), nullptr, arr("cell"));
    look_at("cell", cell.get());
    look_at("member", static_cast<ndArray_tag**>(cell->pdata)[0]);
    const auto shared = numbered("int8 1x2");
    const auto sharer = matrix::detail::do_shared_copy(shared.get());
    look_at("shared", sharer.get());
    const auto damaged = numbered("int32 1x2");
    damaged->class_id = 77;
    look_at("damaged", damaged.get());
    damaged->class_id = ndINT32_CLASS;
    look_at("null", nullptr);
    return 0;
}
