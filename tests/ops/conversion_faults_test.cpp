// Every allocation of the conversions fails, alone and with a second one.
#include "matrix/scaffolding.hpp"
#include "support/arr.hpp"
#include "support/fault_injection.hpp"
#include "support/fixture.hpp"
#include "support/sparse_arr.hpp"

#include <nd/access.hpp>
#include <nd/convert.hpp>

#include <utility>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;

using ConversionFaults = NdTest;

// What a conversion does about a failure may ask for memory as well: a second one follows it within so many allocations.
constexpr long second_failure_within = 8;
const fault_options counted_options{.second_within = second_failure_within};
const fault_options framed_options{.framed = true, .second_within = second_failure_within};

array_ptr pair_of_values() {
    return struct_arr("1x1", {"a", "b"}, arr("double", {1}), arr("cell 1x1", arr("int8", {2})));
}

struct conversion {
    const char* name;
    array_ptr (*source)();
    ndClassID target;
    long second_within = second_failure_within;
};

const conversion conversions[] = {
    {"double to int8", [] { return numbered("double 3x4"); }, ndINT8_CLASS},
    {"complex double to single", [] { return numbered("complex double 3x4"); }, ndSINGLE_CLASS},
    {"complex to real",
     [] {
         return arr("complex double 1x2", {{1, 0}, {2, 0}});
     },
     ndINT8_CLASS},
    {"three dimensions", [] { return numbered("int16 2x3x4"); }, ndDOUBLE_CLASS},
    {"shared as logical",
     [] {
         return arr("uint8 1x3", {0, 1, 1});
     },
     ndLOGICAL_CLASS},
    {"same class", [] { return numbered("double 3x4"); }, ndDOUBLE_CLASS},
    {"empty to cell", [] { return arr("double 0x3"); }, ndCELL_CLASS},
    {"struct to cell", pair_of_values, ndCELL_CLASS},
    {"object to struct",
     [] {
         array_ptr object = pair_of_values();
         api::ndSetClassName(object.get(), "pair");
         return object;
     },
     ndSTRUCT_CLASS},
    {"object to cell",
     [] {
         array_ptr object = pair_of_values();
         api::ndSetClassName(object.get(), "pair");
         return object;
     },
     ndCELL_CLASS},
    {"empty to struct", [] { return arr("double 0x3x2"); }, ndSTRUCT_CLASS},
    {"empty to object", [] { return arr("double 0x3x2"); }, ndOBJECT_CLASS},
    {"bytes to logical",
     [] {
         return arr("uint8 1x3", {0, 2, 1});
     },
     ndLOGICAL_CLASS},
    {"sparse to another class",
     [] {
         return sparse_arr("double 3x2", {{1, 0, 1.5}, {2, 1, 2.5}});
     },
     ndLOGICAL_CLASS},
    {"complex sparse to another class",
     [] {
         return sparse_arr("complex double 3x2", {{1, 0, {1, 2}}}, 4);
     },
     ndSINGLE_CLASS},
    {"sparse to the same class",
     [] {
         return sparse_arr("single 3x2", {{1, 0, 1.5}}, 4);
     },
     ndSINGLE_CLASS},
    // They take their time, and two allocations are all that there are.
    {"many complex elements", [] { return arr("complex double 60000x1"); }, ndINT8_CLASS, 1},
};

TEST_F(ConversionFaults, CopiesLeaveTheirSourceAlone) {
    for (const conversion& c : conversions) {
        for_each_failing_alloc(c.name,
                               [&](fault_run& run) {
                                   const array_ptr source = c.source();
                                   run.operand(source.get());
                                   run.act(
                                       [&] { return api::ndCreateConvertedCopy(source.get(), c.target); });
                               },
                               {.framed = true, .second_within = c.second_within});
    }
}

// Bringing a split array's data together is the first thing that may fail. It has no other value then.
TEST_F(ConversionFaults, ASplitArrayKeepsItsValue) {
    const auto convert = [](fault_run& run) {
        const array_ptr source = arr("complex double 1x2", {{1, 10}, {2, 20}});
        source->split_data(false);
        static_cast<double*>(source->get_scData()->imag_data)[1] = 7;
        run.act([&] { return matrix::create_converted_copy(source.get(), ndINT8_CLASS); });
        EXPECT_EQ(static_cast<double*>(source->get_scData()->imag_data)[1], 7);
        EXPECT_EQ(static_cast<double*>(source->get_scData()->real_data)[0], 1);
    };
    const fault_report report = for_each_failing_alloc("split array", convert, counted_options);
    EXPECT_TRUE(report.passed);
}

TEST_F(ConversionFaults, CountedPointersKeepTheirArray) {
    for (const bool by_reference : {false, true}) {
        const auto convert = [&](fault_run& run) {
            const array_ptr source = numbered("double 3x4");
            boost::intrusive_ptr<ndArray_tag> counted(source.get());
            run.operand(source.get());
            run.act([&] {
                const auto made = by_reference ? matrix::convert_if_needed(counted, ndINT8_CLASS)
                                               : matrix::convert_if_needed(source.get(), ndINT8_CLASS);
                return made->class_id == ndINT8_CLASS;
            });
            EXPECT_EQ(counted.get(), source.get());
        };
        for_each_failing_alloc("convert if needed, counted", convert, counted_options);
    }
}

TEST_F(ConversionFaults, APointerKeepsItsArray) {
    const auto convert = [](fault_run& run) {
        array_ptr source = numbered("double 3x4");
        run.operand(source.get());
        run.act([&] { return matrix::convert_if_needed(std::move(source), ndINT8_CLASS); });
    };
    for_each_failing_alloc("convert if needed", convert, counted_options);
}

struct storage_change {
    const char* name;
    array_ptr (*source)();
    ndArray_tag* (*coerce)(const ndArray_tag*);
    boost::intrusive_ptr<ndArray_tag> (*convert)(const ndArray_tag*);
};

const storage_change storage_changes[] = {
    {"to sparse", [] { return numbered("double 3x4"); }, api::ndMustBeSparse,
     matrix::convert_to_sparse_if_needed},
    {"to sparse, nothing to store", [] { return arr("logical 3x4"); }, api::ndMustBeSparse,
     matrix::convert_to_sparse_if_needed},
    {"to sparse, complex", [] { return numbered("complex single 2x3x2"); }, api::ndMustBeSparse,
     matrix::convert_to_sparse_if_needed},
    {"to full",
     [] {
         return sparse_arr("double 3x2", {{1, 0, 1.5}}, 4);
     },
     api::ndMustBeFull, matrix::convert_to_full_if_needed},
    {"to full, complex",
     [] {
         return sparse_arr("complex double 3x2", {{1, 0, {1, 2}}});
     },
     api::ndMustBeFull, matrix::convert_to_full_if_needed},
};

TEST_F(ConversionFaults, TheOtherStorageLeavesItsSourceAlone) {
    for (const storage_change& c : storage_changes) {
        const fault_report framed = for_each_failing_alloc(
            c.name,
            [&](fault_run& run) {
                const array_ptr source = c.source();
                run.operand(source.get());
                run.act([&] { return c.coerce(source.get()); });
            },
            framed_options);
        EXPECT_TRUE(framed.passed);
        EXPECT_EQ(framed.recovered, 0);
        const auto convert = [&](fault_run& run) {
            const array_ptr source = c.source();
            run.operand(source.get());
            run.act([&] { return array_ptr(c.convert(source.get()).detach()); });
        };
        const fault_report counted = for_each_failing_alloc(c.name, convert, counted_options);
        EXPECT_TRUE(counted.passed);
    }
}

} // namespace
} // namespace test
