// Values of new elements that the caller of an assignment chooses.
#include "indexing/assignment_support.hpp"
#include "matrix/containers.hpp"
#include "support/sparse_arr.hpp"

#include <functional>

namespace test {
namespace {

using matrix::array_ptr;
namespace api = matrix::detail::noninlined::nd_array_api;

using AssignmentFiller = NdTest;

struct filler_row {
    const char* name;
    array_ptr (*lhs)();
    array_ptr (*rhs)();
    array_ptr (*filler)();
    array_ptr (*result)();
};

const filler_row filler_rows[] = {
    {"real", [] { return arr("double 1x1", {1}); }, [] { return arr("double", {9}); },
     [] { return arr("double", {7}); },
     [] {
         return arr("double 1x4", {1, 7, 7, 9});
     }},
    {"none", [] { return arr("double 1x1", {1}); }, [] { return arr("double", {9}); },
     [] { return array_ptr(); },
     [] {
         return arr("double 1x4", {1, 0, 0, 9});
     }},
    {"empty", [] { return arr("double 1x1", {1}); }, [] { return arr("double", {9}); },
     [] { return arr("double 0x0"); },
     [] {
         return arr("double 1x4", {1, 0, 0, 9});
     }},
    {"real in a complex one",
     [] {
         return arr("complex double 1x1", {{1, 1}});
     },
     [] { return arr("double", {9}); }, [] { return arr("double", {7}); },
     [] {
         return arr("complex double 1x4", {{1, 1}, {7, 0}, {7, 0}, {9, 0}});
     }},
    {"complex",
     [] {
         return arr("complex double 1x1", {{1, 1}});
     },
     [] { return arr("double", {9}); },
     [] {
         return arr("complex double", {{7, 8}});
     },
     [] {
         return arr("complex double 1x4", {{1, 1}, {7, 8}, {7, 8}, {9, 0}});
     }},
    {"complex in a real one", [] { return arr("double 1x1", {1}); }, [] { return arr("double", {9}); },
     [] {
         return arr("complex double", {{7, 8}});
     },
     [] {
         return arr("double 1x4", {1, 7, 7, 9});
     }},
    {"before the left side becomes complex", [] { return arr("double 1x1", {1}); },
     [] {
         return arr("complex double", {{9, 9}});
     },
     [] { return arr("double", {7}); },
     [] {
         return arr("complex double 1x4", {{1, 0}, {7, 0}, {7, 0}, {9, 9}});
     }},
    {"sparse", [] { return arr("double 1x1", {1}); }, [] { return arr("double", {9}); },
     [] {
         return sparse_arr("double 1x1", {{0, 0, 7}});
     },
     [] {
         return arr("double 1x4", {1, 7, 7, 9});
     }},
    {"colon object in a complex one",
     [] {
         return arr("complex double 1x1", {{1, 1}});
     },
     [] { return arr("double", {9}); }, [] { return matrix::create_colon_object(7, 1, 100000); },
     [] {
         return arr("complex double 1x4", {{1, 1}, {7, 0}, {7, 0}, {9, 0}});
     }},
    {"after giving way", bracket, [] { return arr("char", {65}); }, [] { return arr("char", {66}); },
     [] {
         return arr("char 1x4", {66, 66, 66, 65});
     }},
    {"cell", [] { return arr("cell", nullptr); }, [] { return arr("cell", arr("double", {9})); },
     [] { return arr("cell", arr("double", {7})); },
     [] { return arr("cell 1x4", nullptr, arr("double", {7}), arr("double", {7}), arr("double", {9})); }},
    {"cell of cells", [] { return arr("cell", nullptr); }, [] { return arr("cell", arr("double", {9})); },
     [] { return arr("cell", arr("cell", arr("double", {7}))); },
     [] {
         return arr("cell 1x4", nullptr, arr("cell", arr("double", {7})), arr("cell", arr("double", {7})),
                    arr("double", {9}));
     }},
};

TEST_F(AssignmentFiller, TheFillerIsTheValueOfNewElements) {
    for (const filler_row& row : filler_rows) {
        SCOPED_TRACE(row.name);
        const array_ptr x = row.lhs();
        const subscripts at{"4"};
        bool grew = false;
        const auto filler = [&](const ndArray_tag*) { return row.filler(); };
        EXPECT_EQ(api::ndSubscriptedAssignmentWithFiller(grew, x.get(), 1, at.data(), row.rhs().get(), filler,
                                                         false),
                  nullptr);
        EXPECT_TRUE(grew);
        EXPECT_THAT(x, EqualsArray(row.result()));
        grew = true;
        const auto never = [&](const ndArray_tag*) -> array_ptr {
            ADD_FAILURE() << "nothing grows";
            return nullptr;
        };
        EXPECT_EQ(api::ndSubscriptedAssignmentWithFiller(grew, x.get(), 1, at.data(), row.rhs().get(), never,
                                                         false),
                  nullptr);
        EXPECT_FALSE(grew);
    }
}

TEST_F(AssignmentFiller, AFillerOfAnotherClassIsRefused) {
    const array_ptr x = arr("double 1x1", {1});
    const subscripts at{"4"};
    bool grew = false;
    EXPECT_EQ(error_of([&] {
                  api::ndSubscriptedAssignmentWithFiller(
                      grew, x.get(), 1, at.data(), arr("double", {1}).get(),
                      [](const ndArray_tag*) { return arr("int8", {1}); }, false);
              }),
              "TARVEL:invalidConversion invalidConversion(int8, double)");
    EXPECT_THAT(x, EqualsArray(arr("double", {1})));
}

// The left side is unshared when the filler is called, and needn't be any more when that returns.
TEST_F(AssignmentFiller, AFillerMayShareTheLeftSide) {
    const auto cells = [] { return arr("cell 1x2", arr("cell", arr("double", {1})), arr("double", {2})); };
    const auto row_with_room = [] { // which would grow where it is
        array_ptr x = numbered("double 1x300");
        assign(x.get(), {"301"}, arr("double", {1}).get());
        return x;
    };
    struct sharing_row {
        const char* name;
        std::function<array_ptr()> lhs;
        array_ptr rhs;
        const char* place;
    };
    const sharing_row sharing_rows[] = {
        {"row",
         [] {
             return arr("double 1x3", {7, 2, 3});
         },
         arr("double", {9}), "5"},
        {"row that becomes complex",
         [] {
             return arr("int8 1x3", {7, 2, 3});
         },
         arr("complex int8", {{9, 1}}), "5"},
        {"row with room", row_with_room, arr("double", {9}), "303"},
        {"cell", cells, arr("cell", arr("double", {9})), "4"},
    };
    for (const sharing_row& row : sharing_rows) {
        SCOPED_TRACE(row.name);
        const array_ptr x = row.lhs();
        const array_ptr expected = row.lhs();
        array_ptr kept;
        const subscripts at{row.place};
        const auto share = [&](const ndArray_tag* given) {
            kept = matrix::detail::do_shared_copy(given);
            return matrix::detail::do_shared_copy(given);
        };
        const auto copy = [](const ndArray_tag* given) { return matrix::detail::do_deep_copy(given); };
        bool grew = false;
        api::ndSubscriptedAssignmentWithFiller(grew, x.get(), 1, at.data(), row.rhs.get(), share, false);
        EXPECT_THAT(kept, EqualsArray(row.lhs()));
        api::ndSubscriptedAssignmentWithFiller(grew, expected.get(), 1, at.data(), row.rhs.get(), copy,
                                               false);
        EXPECT_THAT(x, EqualsArray(expected.get()));
    }
}

TEST_F(AssignmentFiller, AFillerMayHoldTheLeftSide) {
    const auto inner = [] { return arr("cell 1x2", arr("double", {1}), nullptr); };
    const array_ptr holder = arr("cell", inner());
    ndArray_tag* const x = matrix::internal::slots_of(holder.get())[0];
    const subscripts at{"4"};
    bool grew = false;
    api::ndSubscriptedAssignmentWithFiller(
        grew, x, 1, at.data(), arr("cell", arr("double", {9})).get(),
        [&](const ndArray_tag*) { return matrix::detail::do_shared_copy(holder.get()); }, false);
    EXPECT_THAT(x, EqualsArray(arr("cell 1x4", arr("double", {1}), nullptr, inner(), arr("double", {9}))));
}

TEST_F(AssignmentFiller, ResizingOnlyStoresNothing) {
    const subscripts at{"4"};
    for (const bool complex : {false, true}) {
        const array_ptr x = arr("double 1x2", {1, 2});
        const array_ptr y = complex ? arr("complex double", {{9, 9}}) : arr("double", {9});
        bool grew = false;
        const auto filler = [](const ndArray_tag*) { return arr("double", {7}); };
        EXPECT_EQ(api::ndSubscriptedAssignmentWithFiller(grew, x.get(), 1, at.data(), y.get(), filler, true),
                  nullptr);
        EXPECT_TRUE(grew);
        EXPECT_THAT(x, EqualsArray(arr("double 1x4", {1, 2, 7, 7})));
    }
    const array_ptr x = bracket();
    bool grew = false;
    api::ndSubscriptedAssignmentWithFiller(grew, x.get(), 1, at.data(), arr("int8", {9}).get(), {}, true);
    EXPECT_THAT(x, EqualsArray(arr("int8 1x4")));
}

} // namespace
} // namespace test
