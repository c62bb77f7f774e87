// Every allocation of the creators of ranges fails once.
#include "indexing/colon_support.hpp"
#include "support/arr.hpp"
#include "support/fault_injection.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"

#include <nd/convert.hpp>
#include <nd/interleaved.hpp>
#include <nd/memory.hpp>
#include <nd/share.hpp>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;

using ColonFaults = NdTest;

struct creator {
    const char* name;
    ndArray_tag* (*make)();
};

const creator creators[] = {
    {"doubles", [] { return api::ndColonop(0, 0.1, 1, ndDOUBLE_CLASS); }},
    {"many doubles", [] { return api::ndColonop(1, 1, 10000, ndDOUBLE_CLASS); }},
    {"singles", [] { return api::ndColonop(0, 0.1, 1, ndSINGLE_CLASS); }},
    {"int8", [] { return api::ndColonop(0, 3, 100, ndINT8_CLASS); }},
    {"int64 by the operator", [] { return api::ndColonop(0, 3, 100, ndINT64_CLASS); }},
    {"no elements", [] { return api::ndColonop(1, 1, 0, ndDOUBLE_CLASS); }},
    {"no number", [] { return api::ndColonop(1, nan, 0, ndINT8_CLASS); }},
    {"int64", [] { return api::ndExpandIntColonArray(1LL, 2LL, 99LL); }},
    {"int64, double step", [] { return api::ndExpandIntColonArray(1LL, 2.0, 99LL); }},
    {"uint64", [] { return api::ndExpandIntColonArray(1ULL, 2ULL, 99ULL); }},
    {"uint64, double step", [] { return api::ndExpandIntColonArray(99ULL, -2.0, 1ULL); }},
    {"object", [] { return api::ndCreateColonObj(0, 0.1, 1); }},
    {"object of a class", [] { return api::ndCreateColonObject(0, 1, 9, ndINT8_CLASS); }},
    {"object of int64", [] { return api::ndCreateIntColonObject(1LL, 2LL, 99LL, ndINT64_CLASS); }},
    {"object of int64, double step",
     [] { return api::ndCreateIntColonObject(1LL, 2.0, 99LL, ndINT64_CLASS); }},
    {"object of uint64", [] { return api::ndCreateIntColonObject(1ULL, 2ULL, 99ULL, ndUINT64_CLASS); }},
    {"object of uint64, double step",
     [] { return api::ndCreateIntColonObject(9ULL, -2.0, 1ULL, ndUINT64_CLASS); }},
};

TEST_F(ColonFaults, CreatorsLeaveNothingBehind) {
    for (const bool cached : {false, true}) {
        const cache_scope cache(cached);
        for (const creator& c : creators) {
            const fault_report report = for_each_failing_alloc(c.name,
                                                               [&](fault_run& run) {
                                                                   matrix::cache::clear(); // no pair is ready
                                                                   run.act([&] { return c.make(); });
                                                               },
                                                               {.framed = true});
            EXPECT_GT(report.points, 0) << c.name;
        }
    }
}

TEST_F(ColonFaults, OperationsLeaveTheirColonObjectAlone) {
    struct {
        const char* name;
        ndArray_tag* (*run)(const ndArray_tag* object);
    } const operations[] = {
        {"expansion", api::ndExpandColonObj},
        {"conversion",
         [](const ndArray_tag* object) { return api::ndCreateConvertedCopy(object, ndINT16_CLASS); }},
        {"conversion to its class",
         [](const ndArray_tag* object) {
             return api::ndCreateConvertedCopy(object, static_cast<ndClassID>(object->class_id));
         }},
        {"deep copy", api::ndCreateDeepCopy},
    };
    for (const auto& operation : operations) {
        for (const bool wide : {false, true}) {
            for_each_failing_alloc(operation.name,
                                   [&](fault_run& run) {
                                       const array_ptr object =
                                           wide ? matrix::create_int_colon_object(1LL, 2LL, 99LL,
                                                                                  ndINT64_CLASS)
                                                : matrix::create_colon_object(0, 0.5, 90);
                                       run.operand(object.get());
                                       run.act([&] { return operation.run(object.get()); });
                                   },
                                   {.framed = true});
        }
    }
}

TEST_F(ColonFaults, ViewsAndCoercionsLeaveTheirColonObjectAlone) {
    for_each_failing_alloc("view", [](fault_run& run) {
        const array_ptr object = matrix::create_colon_object(1, 1, 6);
        run.operand(object.get());
        const std::size_t dims[] = {1, 2, 3};
        run.act([&] { return matrix::createReshapedView(object.get(), dims); });
    });
    for_each_failing_alloc("convert if needed", [](fault_run& run) {
        array_ptr object = matrix::create_colon_object(1, 1, 6);
        run.operand(object.get());
        run.act([&] { return matrix::convert_if_needed(std::move(object), ndDOUBLE_CLASS); });
    });
}

// The vector comes to be beside the object, whose header it then takes.
TEST_F(ColonFaults, ImaginaryPartsComeWholeOrNotAtAll) {
    for (const bool shared : {false, true}) {
        for_each_failing_alloc("imaginary parts", [&](fault_run& run) {
            const module_mode_scope raising(mode_exceptions);
            const array_ptr object = matrix::create_colon_object(1, 1, 6);
            const array_ptr sharer = shared ? matrix::detail::do_shared_copy(object.get()) : nullptr;
            run.operand(object.get());
            if (shared) run.operand(sharer.get());
            run.act([&] { api::ndInflateRealToComplex(object.get()); });
        });
    }
}

TEST_F(ColonFaults, OperandsThatAreColonObjectsStay) {
    for_each_failing_alloc("operands", [](fault_run& run) {
        const array_ptr object = matrix::create_colon_object(3, 1, 3);
        const array_ptr stop = arr("double", {5});
        run.operand(object.get());
        run.operand(stop.get());
        double out[4] = {-7, -7, -7, -7};
        const ndArray_tag* const args[] = {object.get(), stop.get()};
        const bool succeeded = run.act([&] {
            out[0] = -7;
            return api::ndGetColonArgs(2, args, out) == ndDOUBLE_CLASS;
        });
        EXPECT_EQ(out[0], 3) << succeeded;
    });
}

// With fractions there is a warning and a row of doubles on the way.
TEST_F(ColonFaults, ListsOfPositionsLeaveNothingBehind) {
    for (const double start : {1.0, 1.5}) {
        for_each_failing_alloc("positions", [&](fault_run& run) {
            const silent_warnings warnings;
            kvSize count = 0;
            run.act([&] {
                long long* const list = api::ndSignedIndexColonop(start, 1, 9, &count);
                const bool made = list != nullptr;
                api::ndFree(list);
                return made;
            });
            EXPECT_EQ(count, start == 1 ? 9U : 8U);
        });
    }
}

} // namespace
} // namespace test
