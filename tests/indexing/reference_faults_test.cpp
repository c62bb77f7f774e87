// Every allocation of a reference fails once.
#include "indexing/reference_support.hpp"
#include "support/fault_injection.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"
#include "support/sparse_arr.hpp"

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using ReferenceFaults = NdTest;

// An element that has been shared before: its record is made with the first share, and stays.
array_ptr cell_of_shared() {
    array_ptr inner = arr("cell 1x1", numbered("double 1x2"));
    const array_ptr sharer = matrix::detail::do_shared_copy(inner.get());
    return arr("cell 1x3", std::move(inner), numbered("int8 1x2"), nullptr);
}

struct fault_case {
    const char* name;
    array_ptr (*source)();
    subscripts (*subs)();
};

const fault_case cases[] = {
    {"scalar", [] { return numbered("double 3x4"); }, [] { return subs_of(arr("double", {2})); }},
    {"index vector", [] { return numbered("double 3x4"); },
     [] {
         return subs_of(arr("double 1x3", {2, 1, 12}));
     }},
    {"index list", [] { return numbered("int8 3x4"); },
     [] {
         return subs_of(arr("int8 1x3", {2, 1, 3}), colon());
     }},
    {"mask", [] { return numbered("char 1x4"); },
     [] {
         return subs_of(arr("logical 1x4", {1, 0, 1, 1}));
     }},
    {"block", [] { return numbered("single 3x4"); }, [] { return subs_of(range(1, 2, 3), range(4, -1, 2)); }},
    {"pages", [] { return numbered("double 3x4x2"); },
     [] { return subs_of(colon(), range(1, 2, 4), colon()); }},
    {"large", [] { return numbered("double 60x60"); }, [] { return subs_of(colon()); }},
    {"complex to real",
     [] {
         return arr("complex double 1x3", {{1, 0}, {2, 1}, {3, 0}});
     },
     [] { return subs_of(range(1, 2, 3)); }},
    {"colon object, one element", [] { return range(1, 3, 100); },
     [] { return subs_of(arr("double", {9})); }},
    {"colon object", [] { return range(1, 3, 100); },
     [] {
         return subs_of(arr("double 1x2", {1, 9}));
     }},
    {"cell", cell_of_shared,
     [] {
         return subs_of(arr("double 1x4", {1, 2, 3, 1}));
     }},
    {"cell of cells", [] { return arr("cell 1x2", arr("cell 1x1", nullptr), arr("cell 1x1", nullptr)); },
     [] { return subs_of(range(1, 1, 2)); }},
    {"sparse, one subscript",
     [] {
         return sparse_of(arr("double 2x2", {1, 0, 0, 4}));
     },
     [] {
         return subs_of(arr("double 1x3", {4, 4, 1}));
     }},
    {"sparse, two subscripts",
     [] {
         return sparse_of(arr("double 2x2", {1, 0, 0, 4}));
     },
     [] {
         return subs_of(arr("double 1x3", {2, 1, 2}), colon());
     }},
    {"sparse, complex to real",
     [] {
         return sparse_arr("complex double 2x2", {{0, 0, {1, 0}}, {1, 1, {2, 3}}});
     },
     [] { return subs_of(colon(), arr("double", {1})); }},
    {"sparse to full",
     [] {
         return sparse_of(arr("double 2x2", {1, 0, 0, 4}));
     },
     [] {
         return subs_of(colon(), colon(), arr("double 1x2", {1, 1}));
     }},
    {"twelve subscripts", [] { return numbered("double 3x1"); },
     [] {
         subscripts subs = subs_of(arr("int8 1x2", {3, 1}));
         while (subs.size() < 12) subs.push_back(arr("double", {1}));
         return subs;
     }},
};

TEST_F(ReferenceFaults, LeaveNothing) {
    for (const int mode : {mode_exceptions, mode_null_results}) {
        const module_mode_scope scope(mode);
        for (const fault_case& c : cases) {
            for_each_failing_alloc(c.name, [&](fault_run& run) {
                const array_ptr x = c.source();
                const subscripts subs = c.subs();
                const auto pointers = pointers_of(subs);
                run.operand(x.get());
                for (const ndArray_tag* const sub : pointers) run.operand(sub);
                run.act([&] { return matrix::subscriptedReference(*x, pointers); });
            });
        }
    }
}

// The last allocation of the reference is the share record of the last element.
TEST_F(ReferenceFaults, OfCopyingAnElementAreToldAsOutOfMemory) {
    const array_ptr all = range(1, 1, 3);
    const ndArray_tag* const subs[] = {all.get()};
    const auto cell = [] {
        return arr("cell 1x3", arr("cell 1x1", nullptr), arr("cell 1x1", nullptr), arr("cell 1x1", nullptr));
    };
    long points = 0;
    {
        const array_ptr x = cell();
        const injection counting({});
        const array_ptr made = matrix::subscriptedReference(*x, subs);
        points = counting.points();
    }
    ASSERT_GE(points, 3);
    const array_ptr x = cell();
    std::string raised;
    {
        const injection armed({points});
        raised = error_of([&] { matrix::subscriptedReference(*x, subs); });
    }
    EXPECT_EQ(raised, "TARVEL:nomem nomem()");
}

TEST_F(ReferenceFaults, LeaveAGrowingCellAsItWas) {
    for (const bool keep : {true, false}) {
        for_each_failing_alloc("cell that grows", [&](fault_run& run) {
            const array_ptr x = arr("cell 2x2", numbered("double"), nullptr, numbered("int8"), nullptr);
            const subscripts subs = subs_of(arr("double", {4}), arr("double", {5}));
            const auto pointers = pointers_of(subs);
            run.operand(x.get());
            run.act([&] {
                bool grew = false;
                api::ndScalarRef(x.get(), 2, pointers.data(), 0, keep, grew);
            });
        });
    }
    for_each_failing_alloc("bracket that becomes a cell", [](fault_run& run) {
        const array_ptr x = arr("double 0x0");
        x->flags |= matrix::flag_empty_square_bracket;
        const subscripts subs = subs_of(arr("double", {400}));
        const auto pointers = pointers_of(subs);
        run.operand(x.get());
        run.act([&] {
            bool grew = false;
            api::ndScalarRef(x.get(), 1, pointers.data(), 0, true, grew);
        });
    });
}

} // namespace
} // namespace test
