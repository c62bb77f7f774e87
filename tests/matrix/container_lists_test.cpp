// Cells and structs where lists of temporaries are kept: what creators and conversions leave on the list, and what becomes of the
// values of a removed field, also when memory ends on the way.
#include "matrix/lists_fixture.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/fault_injection.hpp"

#include <nd/containers.hpp>
#include <nd/convert.hpp>

#include <functional>
#include <new>
#include <string>

namespace test {
namespace {

using foundation::usm::EngineActivation;
using foundation::usm::EngineInstance;
using matrix::array_ptr;

array_ptr value(int x) { return arr("double", {x}); }

using ContainerLists = ListsTest;

TEST_F(ContainerLists, ResultsAreTemporaries) {
    const array_ptr cell = arr("cell 1x1", value(1));
    const array_ptr array = struct_arr("1x1", {"a"}, value(1));
    const array_ptr names = arr("cell 1x1", arr("char", u"a"));
    const ndArray_tag* const pair[] = {api::ndGetCell(names.get(), 0), cell.get()};
    const char* fields[] = {"a", "b"};
    const std::size_t dims[] = {2, 1, 2};
    const struct {
        const char* name;
        std::function<ndArray_tag*()> make;
    } rows[] = {
        {"ndCreateCellMatrix", [] { return api::ndCreateCellMatrix(2, 3); }},
        {"ndCreateCellArray", [&] { return api::ndCreateCellArray(3, dims); }},
        {"ndCreateStructMatrix", [&] { return api::ndCreateStructMatrix(1, 2, 2, fields); }},
        {"ndCreateStructArray", [&] { return api::ndCreateStructArray(3, dims, 2, fields); }},
        {"ndCreateStackStruct", [] { return api::ndCreateStackStruct(2); }},
        {"ndCell2Struct", [&] { return api::ndCell2Struct(cell.get(), names.get(), 1); }},
        {"ndStruct2Cell", [&] { return api::ndStruct2Cell(array.get()); }},
        {"ndCreateConvertedCopy", [&] { return api::ndCreateConvertedCopy(array.get(), ndCELL_CLASS); }},
        {"ndStructureConversionFcn",
         [&] {
             ndArray_tag* made = nullptr;
             api::ndStructureConversionFcn(&made, 2, pair);
             return made;
         }},
    };
    for (const auto& row : rows) {
        const ndArray_tag* const made = row.make();
        ASSERT_NE(made, nullptr) << row.name;
        EXPECT_EQ(made->scope, ndTEMPORARY_SCOPE) << row.name;
        EXPECT_EQ(listed_here().back(), made) << row.name;
    }
    matrix::pushArrayListContext();
    for (const auto& row : rows) row.make();
    EXPECT_EQ(listed_here().size(), std::size(rows)) << "nothing but the results stays on the list";
    matrix::popArrayListContext({}, true);
}

// The field "a" of four elements: a value of its own, one that a cell has too, and one twice in the field.
struct held_values {
    array_ptr array = struct_arr("2x2", {"a", "b"}, value(0), value(1), value(10), value(11), value(20),
                                 value(21), nullptr, value(31));
    array_ptr cell = arr("cell 1x1", nullptr);
    ndArray_tag* own = api::ndGetFieldByNumber(array.get(), 0, 0);
    ndArray_tag* held = api::ndGetFieldByNumber(array.get(), 1, 0);
    ndArray_tag* twice = api::ndGetFieldByNumber(array.get(), 2, 0);

    held_values() {
        api::ndSetCopyInCell(cell.get(), 0, held);
        api::ndSetCopyInCell(array.get(), 6, twice);
    }
};

void expect_removed(const held_values& v) {
    EXPECT_THAT(v.array, EqualsArray(struct_arr("2x2", {"b"}, value(1), value(11), value(21), value(31))));
    EXPECT_EQ(v.own->scope, ndTEMPORARY_SCOPE);
    EXPECT_EQ(v.held->scope, ndMEMBER_SCOPE);
    EXPECT_EQ(v.held->ref_count, 1U) << "the cell's reference";
    EXPECT_EQ(v.twice->scope, ndTEMPORARY_SCOPE);
    EXPECT_EQ(v.twice->ref_count, 1U) << "that of one of the slots";
    EXPECT_THAT(v.twice, EqualsArray(value(20)));
    EXPECT_THAT(v.cell, EqualsArray(arr("cell 1x1", value(10))));
}

TEST_F(ContainerLists, RemovedValuesBelongToTheListOrToWhoeverElseHasThem) {
    const held_values v;
    matrix::pushArrayListContext();
    api::ndRemoveField(v.array.get(), 0);
    expect_removed(v);
    EXPECT_EQ(listed_here().size(), 2U);
    matrix::popArrayListContext({}, true);
    EXPECT_THAT(v.cell, EqualsArray(arr("cell 1x1", value(10))));
}

// Each scenario runs in an engine of its own, whose end gives back what is listed.
void in_engine(const std::string& name, const std::function<void(fault_run&)>& scenario) {
    fault_options options;
    options.second_within = 2;
    const fault_report report = for_each_failing_alloc(
        name,
        [&](fault_run& run) {
            const lists_on lists;
            EngineInstance engine;
            const EngineActivation active(&engine);
            scenario(run);
        },
        options);
    EXPECT_TRUE(report.passed) << name;
    EXPECT_GT(report.points, 1) << name;
}

using ContainerListFaults = NdTest;

TEST_F(ContainerListFaults, AFieldStaysWithItsValuesWhenTheListCannotTakeThem) {
    for (const int listed : {0, 15, 16}) {
        in_engine("removal with " + std::to_string(listed) + " temporaries", [&](fault_run& run) {
            temporaries(static_cast<std::size_t>(listed));
            const held_values v;
            run.operand(v.array.get());
            run.operand(v.cell.get());
            run.act([&] { api::ndRemoveField(v.array.get(), 0); });
            expect_removed(v);
        });
    }
}

// A block of slots that was put in isn't looked at: its arrays needn't be members. They get back the scope that they had.
TEST_F(ContainerListFaults, AValueThatWasNoMemberIsNoneAfterwards) {
    const lists_on lists;
    EngineInstance engine;
    const EngineActivation active(&engine);
    const held_values v;
    v.own->scope = ndPERSISTENT_SCOPE;
    long failed = 0;
    for (long n = 1;; ++n) {
        try {
            const injection armed({n, fault_plan::follow_up::for_ever});
            api::ndRemoveField(v.array.get(), 0);
            break;
        } catch (const std::bad_alloc&) {
            ++failed;
            EXPECT_EQ(v.own->scope, ndPERSISTENT_SCOPE);
            EXPECT_EQ(v.held->scope, ndMEMBER_SCOPE);
            EXPECT_EQ(v.held->ref_count, 2U);
            EXPECT_EQ(v.twice->scope, ndMEMBER_SCOPE);
            EXPECT_EQ(v.twice->ref_count, 2U);
            EXPECT_TRUE(listed_here().empty());
        }
    }
    EXPECT_GT(failed, 1);
    expect_removed(v);
}

TEST_F(ContainerListFaults, ManyValuesOfAField) {
    in_engine("removal of 100 shared values", [](fault_run& run) {
        const array_ptr array = struct_arr("100x1", {"a", "b"});
        const array_ptr cell = arr("cell 100x1");
        for (std::size_t i = 0; i < 100; ++i) {
            api::ndSetFieldByNumber(array.get(), i, 0, value(static_cast<int>(i)).release());
            if (i % 2 == 0) api::ndSetCopyInCell(cell.get(), i, api::ndGetFieldByNumber(array.get(), i, 0));
        }
        run.operand(array.get());
        run.operand(cell.get());
        run.act([&] { api::ndRemoveField(array.get(), 0); });
        EXPECT_EQ(listed_here().size(), 50U);
        for (std::size_t i = 0; i < 100; i += 2) EXPECT_EQ(api::ndGetCell(cell.get(), i)->ref_count, 1U);
    });
}

} // namespace
} // namespace test
