// Left sides that are elements of their right-hand sides: what is stored never holds itself.
#include "indexing/assignment_support.hpp"
#include "matrix/containers.hpp"
#include "matrix/test_hooks.hpp"
#include "support/fault_injection.hpp"

#include <nd/structures.hpp>

namespace test {
namespace {

using matrix::array_ptr;
using matrix::internal::slots_of;
namespace api = matrix::detail::noninlined::nd_array_api;
using sizes = std::vector<std::size_t>;

using AssignmentContainment = NdTest;

array_ptr number(double x) { return arr("double", {x}); }
array_ptr no_class() { return matrix::create(sizes{0, 0}, ndUNKNOWN_CLASS, ndREAL); }

struct containment_row {
    const char* name;
    array_ptr (*holder)();
    std::vector<std::size_t> path; ///< slot by slot from the holder to the left side
    std::vector<const char*> subs;
    array_ptr (*result)(); ///< what the holder is afterwards
};
const containment_row containment_rows[] = {
    {"element",
     [] { return arr("cell", arr("cell 1x2", nullptr, number(11))); },
     {0},
     {"1"},
     [] { return arr("cell", arr("cell 1x2", arr("cell 1x2", nullptr, number(11)), number(11))); }},
    {"growing element",
     [] { return arr("cell", arr("cell", number(1))); },
     {0},
     {"3"},
     [] { return arr("cell", arr("cell 1x3", number(1), nullptr, arr("cell", number(1)))); }},
    {"element of an element",
     [] { return arr("cell", arr("cell", arr("cell", number(1)))); },
     {0, 0},
     {"2"},
     [] {
         return arr("cell", arr("cell", arr("cell 1x2", number(1), arr("cell", arr("cell", number(1))))));
     }},
    {"element that gives way",
     [] { return arr("cell", no_class()); },
     {0},
     {"2"},
     [] { return arr("cell", arr("cell 1x2", nullptr, no_class())); }},
    {"several",
     [] { return arr("cell 1x2", number(5), arr("cell", number(1))); },
     {1},
     {"[2 3]"},
     [] {
         return arr("cell 1x2", number(5), arr("cell 1x3", number(1), number(5), arr("cell", number(1))));
     }},
    {"element of a struct",
     [] { return struct_arr("1x1", {"a"}, struct_arr("1x1", {"a"}, number(1))); },
     {0},
     {"2"},
     [] {
         return struct_arr("1x1", {"a"},
                           struct_arr("1x2", {"a"}, number(1), struct_arr("1x1", {"a"}, number(1))));
     }},
};

ndArray_tag* at_path(const array_ptr& holder, const std::vector<std::size_t>& path) {
    ndArray_tag* array = holder.get();
    for (const std::size_t slot : path) array = slots_of(array)[slot];
    return array;
}

TEST_F(AssignmentContainment, WhatIsStoredDoesNotHoldItself) {
    for (const bool counted : {false, true}) {
        matrix::internal::test_hooks::set_internal_references(counted);
        for (const containment_row& row : containment_rows) {
            SCOPED_TRACE(row.name);
            const array_ptr holder = row.holder();
            assign(at_path(holder, row.path), subscripts(row.subs), holder.get());
            EXPECT_THAT(holder, EqualsArray(row.result()));
        }
    }
    matrix::internal::test_hooks::set_internal_references(false);
}

TEST_F(AssignmentContainment, ACopyThatFailsLeavesBoth) {
    for (const containment_row& row : containment_rows) {
        for_each_failing_alloc(row.name, [&](fault_run& run) {
            const array_ptr holder = row.holder();
            const subscripts subs(row.subs);
            run.operand(holder.get());
            run.act([&] { assign(at_path(holder, row.path), subs, holder.get()); });
        });
    }
}

// Two elements a level that share their slots, and one that shares nothing at the bottom.
TEST_F(AssignmentContainment, SharedSlotsAreLookedAtOnce) {
    array_ptr levels = arr("cell 1x2", nullptr, nullptr);
    for (int depth = 0; depth < 60; ++depth) {
        array_ptr twice = arr("cell 1x2", nullptr, nullptr);
        assign(twice.get(), {":"}, arr("cell", std::move(levels)).get());
        levels = std::move(twice);
    }
    const array_ptr holder = arr("cell", arr("cell", number(1)));
    assign(slots_of(holder.get())[0], {"2"}, arr("cell", std::move(levels)).get());
    EXPECT_EQ(slots_of(slots_of(holder.get())[0])[1]->class_id, ndCELL_CLASS);
}

TEST_F(AssignmentContainment, OneFieldOfAnElementDoesNotHoldItself) {
    const array_ptr holder = arr("cell", struct_arr("1x1", {"a"}, number(1)));
    const subscripts subs{"1"};
    bool grew = true;
    api::ndStructureAssignment(grew, slots_of(holder.get())[0], 1, subs.data(), holder.get(), 1);
    EXPECT_FALSE(grew);
    EXPECT_THAT(holder,
                EqualsArray(arr("cell", struct_arr("1x1", {"a"}, struct_arr("1x1", {"a"}, number(1))))));
}

// Not a cell's counting of its references, though what gives way was a cell.
TEST_F(AssignmentContainment, WhatGivesWayToValuesCountsNoReferences) {
    matrix::internal::test_hooks::set_internal_references(true);
    const array_ptr x = arr("cell 0x0");
    x->flags |= matrix::flag_empty_square_bracket;
    assign(x.get(), {"2"}, number(5).get());
    matrix::internal::test_hooks::set_internal_references(false);
    EXPECT_THAT(x, EqualsArray(arr("double 1x2", {0, 5})));
}

} // namespace
} // namespace test
