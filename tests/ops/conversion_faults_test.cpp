// Every allocation of the conversions fails once.
#include "support/arr.hpp"
#include "support/fault_injection.hpp"
#include "support/fixture.hpp"

#include <nd/access.hpp>
#include <nd/convert.hpp>

#include <utility>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;

using ConversionFaults = NdTest;

array_ptr pair_of_values() {
    return struct_arr("1x1", {"a", "b"}, arr("double", {1}), arr("cell 1x1", arr("int8", {2})));
}

struct conversion {
    const char* name;
    array_ptr (*source)();
    ndClassID target;
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
    {"empty to struct", [] { return arr("double 0x3x2"); }, ndSTRUCT_CLASS},
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
                               {.framed = true});
    }
}

TEST_F(ConversionFaults, APointerKeepsItsArray) {
    for_each_failing_alloc("convert if needed", [](fault_run& run) {
        array_ptr source = numbered("double 3x4");
        run.operand(source.get());
        run.act([&] { return matrix::convert_if_needed(std::move(source), ndINT8_CLASS); });
    });
}

} // namespace
} // namespace test
