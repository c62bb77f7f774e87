// Every allocation of the conversion of subscripts fails once.
#include "indexing/colon_support.hpp"
#include "indexing/raised_error.hpp"
#include "indexing/slot_text.hpp"
#include "support/arr.hpp"
#include "support/fault_injection.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"
#include "support/sparse_arr.hpp"

#include <nd/colon.hpp>
#include <nd/memory.hpp>
#include <nd/subscripts.hpp>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;

using SubscriptFaults = NdTest;

struct fault_case {
    const char* name;
    array_ptr (*subscript)();
};

const fault_case cases[] = {
    {"numeric subscript",
     [] {
         return arr("double 1x3", {3, 1, 2});
     }},
    {"split numeric subscript",
     [] {
         array_ptr x = arr("int16 1x3", {3, 1, 2});
         x->split_data(true);
         return x;
     }},
    {"logical subscript",
     [] {
         return arr("logical 1x3", {1, 0, 1});
     }},
    {"sparse logical subscript",
     [] {
         return sparse_arr("logical 3x3", {{2, 0, 1}, {1, 2, 1}});
     }},
    {"colon object", [] { return matrix::create_colon_object(1, 2, 9); }},
    {"colon object with a fraction", [] { return matrix::create_colon_object(1.5, 1, 9); }},
};

// Twelve slots: the lists of the set itself need blocks.
TEST_F(SubscriptFaults, LeaveNothingOfASet) {
    for (const int mode : {mode_exceptions, mode_null_results}) {
        const module_mode_scope scope(mode);
        for (const fault_case& c : cases) {
            for (const bool ranges : {true, false}) {
                for_each_failing_alloc(c.name, [&](fault_run& run) {
                    const array_ptr x = c.subscript();
                    const silent_warnings warnings;
                    run.operand(x.get());
                    run.act([&] {
                        SubscriptSet set(12, ranges, false);
                        const ndArray_tag* const subscript = x.get();
                        for (std::size_t i = 0; i < 2; ++i)
                            FillSubscriptSlot(set, i, &subscript, 20, growing());
                    });
                });
            }
        }
    }
}

// How many blocks the act asks for.
template <class Act>
long points_of(Act act) {
    const injection counting(fault_plan{});
    act();
    return counting.points();
}

// What the act raises when its last block, which is the list, fails.
template <class Act>
std::string raised_without_the_last_block(Act act) {
    const long points = points_of(act);
    EXPECT_GT(points, 0);
    const injection armed(fault_plan{.first = points});
    return error_of(act);
}

void fill_one(const ndArray_tag* subscript, bool ranges) {
    SubscriptSet set(1, ranges, false);
    FillSubscriptSlot(set, 0, &subscript, 10, growing());
}

TEST_F(SubscriptFaults, OfAListAreTold) {
    for_each_module_mode([](int) {
        for (const fault_case& c : cases) {
            const array_ptr x = c.subscript();
            const silent_warnings warnings;
            EXPECT_EQ(raised_without_the_last_block([&] { fill_one(x.get(), false); }),
                      "TARVEL:nomem nomem()")
                << c.name;
        }
        const array_ptr range = matrix::create_colon_object(1, 2, 9);
        EXPECT_EQ(points_of([&] { fill_one(range.get(), true); }), 0) << "the set holds a range itself";
        for (const double step : {2.0, 2.5}) {
            const silent_warnings warnings;
            EXPECT_EQ(raised_without_the_last_block([&] {
                          kvSize count = 0;
                          api::ndFree(api::ndSignedIndexColonop(1, step, 9, &count));
                      }),
                      "TARVEL:nomem nomem()")
                << step;
        }
    });
}

TEST_F(SubscriptFaults, LeaveTheCallersWordsAlone) {
    for_each_failing_alloc("list for a caller", [](fault_run& run) {
        const array_ptr x = arr("double 1x3", {3, 1, 2});
        run.operand(x.get());
        const ndArray_tag* const subscript = x.get();
        kvSize count = 0;
        kvSize max = 0;
        kvIndex* positions = nullptr;
        run.act([&] { api::ndConvertToIndex(&subscript, 5, &count, &max, &positions, growing()); });
        EXPECT_NE(positions, nullptr) << "the repetition made it";
        api::ndFreeEx(positions);
    });
}

TEST_F(SubscriptFaults, LeaveArgumentsUnread) {
    for_each_failing_alloc("range as indices", [](fault_run& run) {
        const array_ptr x = matrix::create_colon_object(1, 2, 9);
        run.operand(x.get());
        kvSize out[5];
        run.act([&] { api::ndArgMustBeIndices(x.get(), 5, out); });
        EXPECT_EQ(out[4], 9u);
    });
}

} // namespace
} // namespace test
