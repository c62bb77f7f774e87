// Every allocation of reference and assignment of structs fails once: both sides stay as they are, to the bit.
#include "indexing/sub_list.hpp"
#include "support/fault_injection.hpp"
#include "support/fixture.hpp"
#include "support/variations.hpp"

#include <nd/structures.hpp>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;

using StructureFaults = NdTest;

// An element that has been shared before: its record is made with the first share, and stays.
array_ptr shared_once(array_ptr element) {
    matrix::detail::do_shared_copy(element.get());
    return element;
}

array_ptr one() {
    return struct_arr("1x1", {"a", "b"}, shared_once(arr("cell 1x1", nullptr)), arr("double", {2}));
}
array_ptr plain() { return struct_arr("1x1", {"a", "b"}, arr("double", {1}), arr("double", {2})); }
array_ptr three() {
    return struct_arr("1x3", {"a", "b"}, arr("double", {1}), shared_once(arr("cell 1x1", arr("char", u"x"))),
                      nullptr, shared_once(one()), arr("cell 0x0"), arr("double", {6}));
}

TEST_F(StructureFaults, OfReference) {
    for (const char* written : {"2", "[1 3]", ":", "1, 3:-1:2", "1, :, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1"}) {
        for (const std::size_t field : {0U, 2U}) {
            for (const variation& shape : all_variations()) {
                const array_ptr value = three();
                if (!shape.applies(value.get())) continue;
                for_each_failing_alloc(
                    std::string("reference ") + written + ", " + shape.name, [&](fault_run& run) {
                        const representation made = shape.make(value.get());
                        const sub_list subs(written);
                        run.operand(made.value.get());
                        run.act([&] { return matrix::structureReference(*made.value, subs.span(), field); });
                    });
            }
        }
    }
}

struct assignment_case {
    const char* subs;
    array_ptr (*rhs)();
    std::size_t field;
};

const assignment_case cases[] = {
    {"2", one, 0},
    {"[1 3]", one, 0},
    {"[3 1 2]", three, 0},
    {"7", one, 0},
    {"4:6", three, 0},
    {"2, 5", one, 0},
    {"2, 2, 2", one, 0},
    {"1, 5, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1", one, 0},
    {"1:2, 4:5, 1:2, 1:2, 1:2, 1:2, 1:2, 1:2, 1:2, 1:2, 1:2, 1:2", plain, 0},
    {"5", [] { return arr("cell 1x1", shared_once(arr("cell 1x1", nullptr))); }, 2},
    {":", [] { return arr("cell 1x3", arr("double", {1}), shared_once(arr("cell 0x0")), nullptr); }, 1},
};

TEST_F(StructureFaults, OfAssignment) {
    for (const assignment_case& c : cases) {
        for (const bool gives_way : {false, true}) {
            if (gives_way && c.field != 0) continue;
            for_each_failing_alloc(std::string("assignment ") + c.subs, [&](fault_run& run) {
                const array_ptr lhs = gives_way ? arr("double 0x0") : three();
                if (gives_way) lhs->flags |= matrix::flag_empty_square_bracket;
                const array_ptr rhs = c.rhs();
                const sub_list subs(c.subs);
                bool grew = false;
                run.operand(lhs.get());
                run.operand(rhs.get());
                run.act([&] {
                    api::ndStructureAssignment(grew, lhs.get(), subs.size(), subs.data(), rhs.get(), c.field);
                });
            });
        }
    }
}

TEST_F(StructureFaults, OfAssignmentToItself) {
    for_each_failing_alloc("assignment to itself", [&](fault_run& run) {
        const array_ptr s = three();
        const sub_list subs("4:6");
        bool grew = false;
        run.operand(s.get());
        run.act([&] { api::ndStructureAssignment(grew, s.get(), subs.size(), subs.data(), s.get(), 0); });
    });
}

} // namespace
} // namespace test
