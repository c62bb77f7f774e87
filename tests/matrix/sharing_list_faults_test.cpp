// What shares data and is a temporary: when the array list has no room for it, or memory ends before, neither the array that was
// shared nor what stands in its slots shows it.
#include "matrix/lists_fixture.hpp"
#include "matrix/process_state.hpp"
#include "support/arr.hpp"
#include "support/fault_injection.hpp"

#include <nd/containers.hpp>
#include <nd/convert.hpp>
#include <nd/share.hpp>

#include <string>

namespace test {
namespace {

using foundation::usm::EngineActivation;
using foundation::usm::EngineInstance;
using matrix::array_ptr;

array_ptr value(int x) { return arr("double", {x}); }
array_ptr nested() { return arr("cell 1x3", arr("cell 1x1", value(1)), arr("cell 1x1", value(2)), value(3)); }

array_ptr object() {
    array_ptr array = struct_arr("1x1", {"a", "b"}, arr("cell 1x1", value(1)), arr("cell 1x1", value(2)));
    api::ndSetClassName(array.get(), "pair");
    return array;
}

ndArray_tag* pair_to_struct(ndArray_tag* value, const ndArray_tag* names) {
    const ndArray_tag* const pair[] = {api::ndGetCell(names, 0), value};
    ndArray_tag* made = nullptr;
    api::ndStructureConversionFcn(&made, 2, pair);
    return made;
}

struct operation {
    const char* name;
    array_ptr (*make)();
    ndArray_tag* (*act)(ndArray_tag* array, const ndArray_tag* names); // a cell of two
};

using arg = ndArray_tag*;
using name_cell = const ndArray_tag*;

const operation creators[] = {
    {"ndCreateSharedDataCopy", nested, [](arg a, name_cell) { return api::ndCreateSharedDataCopy(a); }},
    {"bytes as logical",
     [] {
         return arr("uint8 1x3", {0, 1, 1});
     },
     [](arg a, name_cell) { return api::ndCreateConvertedCopy(a, ndLOGICAL_CLASS); }},
    {"object to struct", object,
     [](arg a, name_cell) { return api::ndCreateConvertedCopy(a, ndSTRUCT_CLASS); }},
    {"object to cell", object, [](arg a, name_cell) { return api::ndCreateConvertedCopy(a, ndCELL_CLASS); }},
    {"ndStruct2Cell", [] { return struct_arr("1x1", {"a"}, value(1)); },
     [](arg a, name_cell) { return api::ndStruct2Cell(a); }},
    {"ndCell2Struct, slots shared", [] { return arr("cell 2x1", nested(), nested()); },
     [](arg a, name_cell n) { return api::ndCell2Struct(a, n, 1); }},
    {"ndCell2Struct, elements shared", [] { return arr("cell 2x2", nested(), nested(), value(1), nested()); },
     [](arg a, name_cell n) { return api::ndCell2Struct(a, n, 2); }},
    {"ndStructureConversionFcn", nested, pair_to_struct},
};

const operation replacements[] = {
    {"ndUnreference", nested, [](arg a, name_cell) { return api::ndUnreference(a); }},
    {"ndUnshareShallow", nested, [](arg a, name_cell) { return api::ndUnshareShallow(a); }},
    {"ndUnshare", nested, [](arg a, name_cell) { return api::ndUnshare(a); }},
};

array_ptr two_names() { return arr("cell 1x2", arr("char", u"a"), arr("char", u"b")); }

// The list has room for 16.
template <class Scenario>
void in_engine(const char* name, const char* channel, Scenario scenario) {
    for (const std::size_t listed : {14U, 15U, 16U}) {
        fault_options options;
        options.framed = true;
        options.second_within = 2;
        const fault_report report = for_each_failing_alloc(
            name + std::string(" with ") + std::to_string(listed) + " temporaries " + channel,
            [&](fault_run& run) {
                const lists_on lists;
                EngineInstance engine;
                const EngineActivation active(&engine);
                const log_capture log(channel, foundation::log::severity_debug);
                temporaries(listed);
                scenario(run);
            },
            options);
        EXPECT_TRUE(report.passed) << name;
        EXPECT_GT(report.points, 0) << name;
    }
}

using SharingListFaults = NdTest;

TEST_F(SharingListFaults, CreatorsLeaveWhatTheyShareAsItWas) {
    for (const char* channel : {"", "matrix::arraylist_stacks"}) {
        for (const operation& row : creators) {
            in_engine(row.name, channel, [&](fault_run& run) {
                const array_ptr array = row.make();
                const array_ptr names = two_names();
                api::ndSetReusable(array.get(), true);
                run.operand(array.get());
                run.operand(names.get());
                run.act([&] { return row.act(array.get(), names.get()); });
            });
        }
    }
}

TEST_F(SharingListFaults, WhatIsReplacedByACopyStaysAsItWas) {
    for (const char* channel : {"", "matrix::arraylist_stacks"}) {
        for (const operation& row : replacements) {
            in_engine(row.name, channel, [&](fault_run& run) {
                const array_ptr array = row.make();
                api::ndSetArrayScope(array.get(), ndTEMPORARY_SCOPE);
                api::ndCreateReference(array.get());
                run.operand(array.get());
                run.act([&] { return row.act(array.get(), nullptr); });
                EXPECT_EQ(array->ref_count, 1U);
            });
        }
    }
}

} // namespace
} // namespace test
