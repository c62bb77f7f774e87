// Every allocation of an assignment fails once: the left side is what it was.
#include "indexing/assignment_support.hpp"
#include "support/fault_injection.hpp"
#include "support/sparse_arr.hpp"

#include <nd/access.hpp>

namespace test {
namespace {

using matrix::array_ptr;
namespace api = matrix::detail::noninlined::nd_array_api;
using sizes = std::vector<std::size_t>;

using AssignmentFaults = NdTest;

struct fault_case {
    const char* name;
    array_ptr (*lhs)();
    std::vector<const char*> subs;
    array_ptr (*rhs)();
};

array_ptr cells() { return arr("cell 1x2", arr("double", {1}), arr("cell", arr("double", {2}))); }

const fault_case cases[] = {
    {"element", [] { return numbered("double 2x3"); }, {"2", "[1 3]"}, [] { return arr("double", {1}); }},
    {"growth", [] { return numbered("double 2x3"); }, {"4", "[1 7]"}, [] { return arr("double", {1}); }},
    {"growth with room to spare",
     [] { return numbered("double 1x300"); },
     {"[1 301]"},
     [] { return arr("double", {1}); }},
    {"growth to three dimensions",
     [] { return numbered("double 2x3"); },
     {"1", "1", "2"},
     [] { return arr("double", {1}); }},
    {"complex",
     [] { return numbered("double 2x3"); },
     {"2", "2"},
     [] {
         return arr("complex double", {{1, 1}});
     }},
    {"complex growth",
     [] { return numbered("double 2x3"); },
     {"3", "5"},
     [] {
         return arr("complex double", {{1, 1}});
     }},
    {"giving way",
     [] {
         return matrix::create(sizes{0, 0}, ndUNKNOWN_CLASS, ndREAL);
     },
     {"[3 2]"},
     [] { return numbered("int8 1x2"); }},
    {"sparse left side",
     [] {
         return sparse_arr("double 2x2", {{0, 0, 1}});
     },
     {"3", "3"},
     [] { return arr("double", {1}); }},
    {"sparse right side",
     [] { return numbered("double 1x2"); },
     {"3"},
     [] {
         return sparse_arr("double 1x1", {{0, 0, 1}});
     }},
    {"colon object left",
     [] { return matrix::create_colon_object(1, 1, 4); },
     {"6"},
     [] { return arr("double", {1}); }},
    {"colon object right",
     [] { return numbered("double 1x4"); },
     {"2:5"},
     [] { return matrix::create_colon_object(1, 1, 4); }},
    {"cells",
     cells,
     {"[2 1 4]"},
     [] { return arr("cell 1x3", arr("cell", arr("double", {9})), nullptr, arr("char", u"x")); }},
    {"growing cell of cells",
     [] { return arr("cell 1x2", arr("cell", arr("double", {1})), arr("cell", nullptr)); },
     {"[1 4]"},
     [] { return arr("cell 1x2", arr("cell", nullptr), arr("cell", nullptr)); }},
    {"eleven subscripts of a cell of cells",
     [] { return arr("cell 1x2", arr("cell", nullptr), arr("cell", nullptr)); },
     {"1", "3", "1", "1", "1", "1", "1", "1", "1", "1", "2"},
     [] { return arr("cell", arr("cell", nullptr)); }},
    {"scalar cell", cells, {"1:5"}, [] { return arr("cell", arr("cell", arr("double", {9}))); }},
    {"eleven subscripts",
     [] { return arr("cell 1x2", arr("double", {1}), arr("char", u"x")); },
     {"1", ":", "1", "1", "1", "1", "1", "1", "1", "1", "2"},
     [] { return arr("cell", arr("double", {9})); }},
    {"eleven subscripts, complex",
     [] { return numbered("double 1x2"); },
     {"1", ":", "1", "1", "1", "1", "1", "1", "1", "1", "1"},
     [] {
         return arr("complex double", {{1, 1}});
     }},
};

TEST_F(AssignmentFaults, LeaveTheLeftSideAsItWas) {
    for (const fault_case& c : cases) {
        for_each_failing_alloc(c.name, [&](fault_run& run) {
            const array_ptr lhs = c.lhs();
            const array_ptr rhs = c.rhs();
            const subscripts subs(c.subs);
            run.operand(lhs.get());
            run.operand(rhs.get());
            run.act([&] { assign(lhs.get(), subs, rhs.get()); });
        });
    }
}

TEST_F(AssignmentFaults, LeaveWhatTheFillerWasMadeFor) {
    for_each_failing_alloc("filler of cells", [](fault_run& run) {
        const array_ptr lhs = cells();
        const array_ptr rhs = arr("cell", arr("double", {1}));
        const subscripts subs{"5"};
        run.operand(lhs.get());
        run.act([&] {
            bool grew = false;
            api::ndSubscriptedAssignmentWithFiller(
                grew, lhs.get(), 1, subs.data(), rhs.get(),
                [](const ndArray_tag* given) { return matrix::detail::do_deep_copy(given); }, false);
        });
    });
    for_each_failing_alloc("filler that becomes complex", [](fault_run& run) {
        const array_ptr lhs = numbered("complex double 1x2");
        const array_ptr rhs = arr("double", {1});
        const array_ptr element = arr("double", {7});
        const subscripts subs{"5"};
        run.operand(lhs.get());
        run.operand(element.get());
        run.act([&] {
            bool grew = false;
            api::ndSubscriptedAssignmentWithFiller(
                grew, lhs.get(), 1, subs.data(), rhs.get(),
                [&](const ndArray_tag*) { return matrix::detail::do_deep_copy(element.get()); }, false);
        });
    });
}

TEST_F(AssignmentFaults, LeaveScalarStoresUndone) {
    for (const bool complex_value : {false, true}) {
        for_each_failing_alloc("scalar", [&](fault_run& run) {
            const array_ptr x = numbered("double 2x3");
            run.operand(x.get());
            const kvIndex at[] = {3, 3, 1};
            run.act([&] {
                if (complex_value) {
                    api::ndScalarSubscriptedAssignment(x.get(), at, 3, std::complex<double>(1, 1));
                } else {
                    api::ndScalarSubscriptedAssignment(x.get(), at, 3, 1.0);
                }
            });
        });
    }
}

TEST_F(AssignmentFaults, LeaveArraysInTheirSize) {
    for (const sizes& dims : {sizes{1, 1, 5}, sizes{3, 3, 2}, sizes{1, 1}, sizes{1, 2, 3}}) {
        for_each_failing_alloc("resize", [&](fault_run& run) {
            const array_ptr x =
                arr("cell 2x2", arr("double", {1}), arr("double", {2}), nullptr, arr("cell", nullptr));
            run.operand(x.get());
            run.act([&] { api::ndResizeArray(x.get(), dims.size(), dims.data()); });
        });
    }
}

TEST_F(AssignmentFaults, LeaveNothingOfAnExpansion) {
    for_each_failing_alloc("expansion", [](fault_run& run) {
        const array_ptr value = struct_arr("1x1", {"a"}, arr("double", {1}));
        const array_ptr lhs = arr("double 2x2x2");
        const subscripts subs{":", ":", "[1 2]"};
        run.operand(value.get());
        run.act([&] {
            return api::ndScalarExpan(value.get(), lhs.get(), const_cast<ndArray_tag* const*>(subs.data()),
                                      3);
        });
    });
}

} // namespace
} // namespace test
