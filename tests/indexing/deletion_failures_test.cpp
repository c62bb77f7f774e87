// Deletions that are refused leave the array as it is, to the bit.
#include "indexing/raised_error.hpp"
#include "indexing/sub_list.hpp"
#include "support/array_matchers.hpp"
#include "support/fault_injection.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"
#include "support/snapshot.hpp"
#include "support/sparse_arr.hpp"
#include "support/variations.hpp"

#include <nd/access.hpp>
#include <nd/colon.hpp>
#include <nd/deletion.hpp>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;

using DeletionFailures = NdTest;

void erase(ndArray_tag* x, const sub_list& subs) { api::ndSubscriptedDelete(x, subs.size(), subs.data()); }

struct refused_row {
    const char* x;
    const char* subs;
    const char* error;
};

const refused_row rows[] = {
    {"double 3x4", "1, 2", "TARVEL:badnullassign badnullassign()"},
    {"double 3x4", "[1 2.5], 0", "TARVEL:badnullassign badnullassign()"}, // before any of them is looked at
    {"double 3x4", "[], 1", "TARVEL:badnullassign badnullassign()"},
    {"double 3x4", "1, :, 1", "TARVEL:badnullassign badnullassign()"},
    {"double 1x5", "7", "TARVEL:subsdeldimmismatch subsdeldimmismatch()"},
    {"double 1x5", "[2 6]", "TARVEL:subsdeldimmismatch subsdeldimmismatch()"},
    {"double 3x4", "4, :", "TARVEL:subsdeldimmismatch subsdeldimmismatch()"},
    {"double 2x3x4", ":, 13", "TARVEL:subsdeldimmismatch subsdeldimmismatch()"},
    {"double 2x3", ":, :, 2", "TARVEL:subsdeldimmismatch subsdeldimmismatch()"},
    {"double 1x5", "<0000001>", "TARVEL:subsdeldimmismatch subsdeldimmismatch()"},
    {"double 0x0", "1", "TARVEL:subsdeldimmismatch subsdeldimmismatch()"},
    {"double 0x3", ":, 4", "TARVEL:subsdeldimmismatch subsdeldimmismatch()"},
    {"double 1x5", "0", "TARVEL:badsubscript badTypeIndices(1, , 0, 1)"},
    {"double 3x4", ":, 1.5", "TARVEL:badsubscript badTypeIndices(2, , 1.5, 2)"},
    {"double 3x4", "-1, :, :", "TARVEL:badsubscript badTypeIndices(1, , -1, 3)"},
    {"double 1x5", "0:2", "TARVEL:badsubscript badTypeIndices(1, , 0, 1)"},
    {"double 1x5", "281474976710656", "TARVEL:pmaxsize pmaxsize()"},
    {"unknown 0x0", "1", "TARVEL:badnullindex badnullindex()"},
    {"unknown 0x0", "[]", "TARVEL:badnullindex badnullindex()"},
    {"unknown 0x0", ":", "TARVEL:badnullindex badnullindex()"},
    {"double 3x4", "", "TARVEL:nindexIsZero nindexIsZero()"},
    {"cell 2x2", "5", "TARVEL:subsdeldimmismatch subsdeldimmismatch()"},
};

array_ptr operand(const std::string& description) {
    if (description != "unknown 0x0") return numbered(description);
    return array_ptr(api::ndCreateNumericMatrix(0, 0, ndUNKNOWN_CLASS, ndREAL));
}

TEST_F(DeletionFailures, FollowTheirTableInEveryModuleMode) {
    for (const int mode : {mode_exceptions, mode_null_results}) {
        const module_mode_scope scope(mode);
        for (const refused_row& row : rows) {
            SCOPED_TRACE(std::string(row.x) + " (" + row.subs + ")");
            const array_ptr x = operand(row.x);
            const sub_list subs(row.subs);
            const snapshot before(x.get());
            EXPECT_EQ(error_of([&] { erase(x.get(), subs); }), row.error);
            EXPECT_EQ(before.difference(), "");
        }
    }
}

// Of arrays that don't lie as elements, too large to be made full before.
TEST_F(DeletionFailures, NeedNoElements) {
    const std::string both = "TARVEL:badnullassign badnullassign()";
    const std::string outside = "TARVEL:subsdeldimmismatch subsdeldimmismatch()";
    const array_ptr sparse = sparse_arr("double 1048576x1048576", {{5, 7, 2.5}});
    const array_ptr range = matrix::create_colon_object(1, 1, 1e14);
    const auto refused_as = [](const array_ptr& x, const char* written) {
        const sub_list subs(written);
        const snapshot before(x.get());
        std::string error = error_of([&] { erase(x.get(), subs); });
        EXPECT_EQ(before.difference(), "") << written;
        return error;
    };
    for (const array_ptr* x : {&sparse, &range}) {
        EXPECT_EQ(refused_as(*x, "1, 2"), both);
        EXPECT_EQ(refused_as(*x, "[1 2.5], 0"), both);
    }
    EXPECT_EQ(refused_as(sparse, "[], 1"), both);
    EXPECT_EQ(refused_as(sparse, "1048577, :"), outside);
    EXPECT_EQ(refused_as(sparse, "1099511627777"), outside);
    EXPECT_EQ(refused_as(sparse, ":, 1.5"), "TARVEL:badsubscript badTypeIndices(2, , 1.5, 2)");
    const array_ptr small = matrix::create_colon_object(1, 1, 5);
    EXPECT_EQ(refused_as(small, "6"), outside);
    EXPECT_EQ(refused_as(small, "0"), "TARVEL:badsubscript badTypeIndices(1, , 0, 1)");
}

struct fault_case {
    const char* name;
    array_ptr (*make)();
};

const fault_case values[] = {
    {"a row", [] { return numbered("double 1x300"); }},
    {"a matrix", [] { return numbered("complex int16 6x50"); }},
    {"an array that becomes real",
     [] {
         return arr("complex double 1x4", {{1, 0}, {2, 5}, {3, 0}, {4, 0}});
     }},
    {"a solid", [] { return numbered("char 2x2x2x2"); }},
    {"a sparse array",
     [] {
         return sparse_arr("double 3x3", {{1, 0, 1.5}, {2, 1, 2.5}});
     }},
    {"a cell",
     [] {
         return arr("cell 1x4", arr("double", {1}), arr("cell 1x1", arr("char", u"a")), nullptr, nullptr);
     }},
    {"a struct",
     [] {
         return struct_arr("1x4", {"a", "b"}, arr("double", {1}), arr("cell 1x1", nullptr), nullptr, nullptr,
                           nullptr, nullptr, nullptr, nullptr);
     }},
    {"function handles",
     [] {
         const std::size_t dims[] = {1, 4};
         return matrix::create(dims, ndFUNCTION_CLASS, ndREAL);
     }},
};

const char* const deleted[] = {"2",    "[1 3]", "2:3", "<0101>",     ":, 1",
                               ":, :", ":",     "[]",  ":, 1, :, :", ":, 1, :, :, :, :, :, :, :, :, :, :"};

void attack(const std::string& name, const fault_case& c, const variation& shape, const char* written) {
    for_each_failing_alloc(name, [&](fault_run& run) {
        const representation made = shape.make(c.make().get());
        const sub_list subs(written);
        run.operand(made.value.get());
        for (const array_ptr& sharer : made.sharers) run.operand(sharer.get());
        run.act([&] { erase(made.value.get(), subs); });
    });
}

TEST_F(DeletionFailures, OfMemoryLeaveTheArrayAsItIs) {
    for (const fault_case& c : values) {
        const array_ptr value = c.make();
        for (const variation& shape : all_variations()) {
            if (!shape.applies(value.get())) continue;
            for (const char* written : deleted)
                attack(std::string(c.name) + " (" + written + "), " + shape.name, c, shape, written);
        }
    }
}

TEST_F(DeletionFailures, OfMemoryLeaveAColonObjectOne) {
    for (const char* written : deleted) {
        for_each_failing_alloc(std::string("a colon object (") + written + ")", [&](fault_run& run) {
            const array_ptr x = matrix::create_colon_object(1, 1, 9);
            const sub_list subs(written);
            run.operand(x.get());
            run.act([&] { erase(x.get(), subs); });
        });
    }
}

// The new array is all that a deletion of a run asks for; a mask needs a mark for each position besides.
TEST_F(DeletionFailures, AreFewSinceARunNeedsNoList) {
    const auto allocations = [](const char* written) {
        return for_each_failing_alloc(std::string("one array and ") + written,
                                      [&](fault_run& run) {
                                          const array_ptr x = numbered("double 1x300");
                                          const sub_list subs(written);
                                          run.operand(x.get());
                                          run.act([&] { erase(x.get(), subs); });
                                      })
            .points;
    };
    for (const char* run : {"1", "300", "7", "1:20", "281:300", "299:-1:2"})
        EXPECT_EQ(allocations(run), 2) << run;
    EXPECT_EQ(allocations("1:2:300"), 3);
}

} // namespace
} // namespace test
