// Every allocation fails while fields come and go, elements are set and classes change: the operands stay as they were.
#include "matrix/test_hooks.hpp"
#include "support/arr.hpp"
#include "support/fault_injection.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"
#include "support/snapshot.hpp"

#include <foundation/core/except/exception.hpp>
#include <libbase/symbol_table.hpp>
#include <nd/access.hpp>
#include <nd/containers.hpp>
#include <nd/convert.hpp>

#include <new>
#include <string>
#include <vector>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;

using ContainerFaults = NdTest;

void expect_scenario(const std::string& name, const std::function<void(fault_run&)>& scenario,
                     bool may_recover = false) {
    fault_options options;
    options.second_within = 2;
    const fault_report report = for_each_failing_alloc(name, scenario, options);
    EXPECT_TRUE(report.passed) << name;
    EXPECT_GT(report.points, 0) << name << " asks for no memory";
    if (!may_recover) {
        EXPECT_EQ(report.recovered, 0) << name;
    }
}

array_ptr value(int x) { return arr("double", {x}); }

// A struct whose set of names was grown to this many, with one value in the last field.
array_ptr struct_with(int fields) {
    array_ptr array = struct_arr("1x1", {});
    for (int i = 0; i < fields; ++i) api::ndAddField(array.get(), ("f" + std::to_string(i)).c_str());
    if (fields != 0) api::ndSetFieldByNumber(array.get(), 0, fields - 1, value(1).release());
    return array;
}

// The symbol is there before: what the symbol table takes for a new one, it keeps.
const char* known_name() { return base_symtab_add("known"); }

struct addition_row {
    int fields;
    bool in_place; ///< names and slots both have room to spare: nothing is asked for
};
const addition_row additions[] = {{0, false},   {1, false},   {62, false}, {63, false}, {64, false},
                                  {255, false}, {256, false}, {300, true}, {511, true}, {512, false}};

TEST_F(ContainerFaults, AddingAField) {
    const char* const name = known_name();
    for (const addition_row& row : additions) {
        for (const bool shared : {false, true}) {
            if (!shared && row.in_place) continue;
            expect_scenario(
                "field " + std::to_string(row.fields + 1) + (shared ? " of shared names" : ""),
                [&](fault_run& run) {
                    const array_ptr array = struct_with(row.fields);
                    const array_ptr other = shared ? matrix::detail::do_deep_copy(array.get()) : nullptr;
                    run.operand(array.get());
                    if (shared) run.operand(other.get());
                    run.act([&] { return api::ndAddField(array.get(), name) == row.fields; });
                },
                true); // without spare room the slots take the exact size
        }
    }
}

TEST_F(ContainerFaults, AddingAFieldWhereThereIsRoomAsksForNothing) {
    const char* const name = known_name();
    for (const addition_row& row : additions) {
        if (!row.in_place) continue;
        const fault_report report = for_each_failing_alloc("field in place", [&](fault_run& run) {
            const array_ptr own = struct_with(row.fields);
            run.operand(own.get());
            run.act([&] { return api::ndAddField(own.get(), name) == row.fields; });
        });
        EXPECT_TRUE(report.passed);
        EXPECT_EQ(report.points, 0);
    }
}

TEST_F(ContainerFaults, AddingACheckedField) {
    const char* const name = known_name();
    expect_scenario("checked field", [&](fault_run& run) {
        const array_ptr array = struct_with(3);
        run.operand(array.get());
        run.act([&] { api::ndAddFieldToStruct(array.get(), name); });
    });
}

// Without memory for the names the answer is -1, without memory for the slots an exception.
TEST_F(ContainerFaults, WhatFailsTellsHowAddingFails) {
    const char* const name = known_name();
    enum class end { added, minus_one, raised };
    std::vector<end> ends;
    for (long n = 1; ends.empty() || ends.back() != end::added; ++n) {
        const array_ptr array = struct_with(3);
        end ended = end::minus_one;
        try {
            const injection armed({n, fault_plan::follow_up::for_ever});
            if (api::ndAddField(array.get(), name) == 3) ended = end::added;
        } catch (const std::bad_alloc&) {
            ended = end::raised;
        }
        ends.push_back(ended);
    }
    EXPECT_EQ(ends.front(), end::minus_one);
    EXPECT_EQ(ends.at(ends.size() - 2), end::raised);
}

// Where the plain form answers -1 the checked one raises.
TEST_F(ContainerFaults, ACheckedFieldWithoutMemoryForItsNameIsAnError) {
    const char* const name = known_name();
    const array_ptr array = struct_with(3);
    const snapshot before(array.get());
    std::string id;
    try {
        const injection armed({1});
        api::ndAddFieldToStruct(array.get(), name);
    } catch (const foundation::core::except::IMsgIDException& error) {
        id = error.GetID();
    }
    EXPECT_EQ(id, "TARVEL:nomem");
    EXPECT_EQ(before.difference(), "");
}

TEST_F(ContainerFaults, RemovingAField) {
    for (const int count : {2, 63, 64, 65, 257}) {
        expect_scenario(
            "removal from " + std::to_string(count),
            [&](fault_run& run) {
                const array_ptr array = struct_with(count);
                run.operand(array.get());
                run.act([&] { api::ndRemoveField(array.get(), 0); });
            },
            true); // a block of slots that can't be cut stays
    }
}

array_ptr (*const values[])() = {
    [] { return value(1); },
    [] { return arr("cell 1x2", value(1), nullptr); },
    [] { return struct_arr("1x2", {"a"}, value(1), value(2)); },
};

TEST_F(ContainerFaults, SettingElementsWithOtherOwners) {
    for (const auto make : values) {
        for (const auto set : {api::ndSetCopyInCell, api::ndReplaceCopyInCell}) {
            expect_scenario("a copy in a cell", [&](fault_run& run) {
                const array_ptr cell = arr("cell 1x1", nullptr);
                const array_ptr element = make();
                run.operand(cell.get());
                run.operand(element.get());
                run.act([&] { set(cell.get(), 0, element.get()); });
            });
        }
        expect_scenario("a cell in itself", [&](fault_run& run) {
            const array_ptr cell = arr("cell 1x2", make(), nullptr);
            run.operand(cell.get());
            run.act([&] { api::ndSetCopyInCell(cell.get(), 1, cell.get()); });
        });
    }
}

TEST_F(ContainerFaults, ReusableValuesStayReusableWhenSettingFails) {
    expect_scenario("a reusable value", [&](fault_run& run) {
        const array_ptr cell = arr("cell 1x1", nullptr);
        const array_ptr element = value(1);
        api::ndSetReusable(element.get(), true);
        run.operand(cell.get());
        run.operand(element.get());
        run.act([&] { api::ndSetCopyInCell(cell.get(), 0, element.get()); });
    });
}

// The entry points of the C interface have a frame each.
TEST_F(ContainerFaults, OfTheInterfaceLeaveAsTheModuleModeSays) {
    namespace published = api::published;
    struct row {
        const char* name;
        void (*set)(ndArray_tag*, ndArray_tag*);
    };
    const row rows[] = {
        {"ndSetCell", [](ndArray_tag* a, ndArray_tag* x) { published::ndSetCell(a, 1, x); }},
        {"ndSetField", [](ndArray_tag* a, ndArray_tag* x) { published::ndSetField(a, 0, "b", x); }},
        {"ndSetFieldByNumber",
         [](ndArray_tag* a, ndArray_tag* x) { published::ndSetFieldByNumber(a, 0, 1, x); }},
    };
    for (const row& r : rows) {
        const fault_report report =
            for_each_failing_alloc(r.name,
                                   [&](fault_run& run) {
                                       const array_ptr array = struct_arr("1x1", {"a", "b"});
                                       const array_ptr element = value(1);
                                       ndArray_tag* const given = api::ndCreateReference(element.get());
                                       run.operand(array.get());
                                       run.operand(element.get());
                                       run.act([&] {
                                           r.set(array.get(), given);
                                           return api::ndGetCell(array.get(), 1) != nullptr;
                                       });
                                   },
                                   {.framed = true});
        EXPECT_TRUE(report.passed && report.points > 0) << r.name;
    }
    const fault_report removal =
        for_each_failing_alloc("ndRemoveField",
                               [&](fault_run& run) {
                                   const array_ptr array = struct_with(3);
                                   run.operand(array.get());
                                   run.act([&] {
                                       published::ndRemoveField(array.get(), 0);
                                       return api::ndGetNumberOfFields(array.get()) == 2;
                                   });
                               },
                               {.framed = true});
    EXPECT_TRUE(removal.passed && removal.points > 0);
}

// A name that isn't known yet becomes a symbol when it is looked up in a table. This one is longer than what the symbol table has
// at hand.
TEST_F(ContainerFaults, LookupsOfTheInterfaceFindNothingWithoutMemory) {
    namespace published = api::published;
    static const std::string long_name(1 << 22, 'u');
    static const char* const name = long_name.c_str();
    const array_ptr array = struct_with(64);
    const array_ptr element = value(1);
    const struct {
        const char* name;
        bool (*finds_nothing)(ndArray_tag* array, ndArray_tag* element);
    } rows[] = {
        {"ndGetFieldNumber",
         [](ndArray_tag* a, ndArray_tag*) { return published::ndGetFieldNumber(a, name) == -1; }},
        {"ndGetField",
         [](ndArray_tag* a, ndArray_tag*) { return published::ndGetField(a, 0, name) == nullptr; }},
        {"ndSetField",
         [](ndArray_tag* a, ndArray_tag* x) { return published::ndSetField(a, 0, name, x), true; }},
        {"ndAddField", [](ndArray_tag* a, ndArray_tag*) { return published::ndAddField(a, name) == -1; }},
    };
    for (const auto& row : rows) {
        for_each_module_mode([&](int mode) {
            const snapshot before(array.get());
            bool nothing = false;
            bool raised = false;
            long failures = 0;
            try {
                const injection armed({1, fault_plan::follow_up::for_ever});
                nothing = row.finds_nothing(array.get(), element.get());
                failures = armed.failures();
            } catch (const std::bad_alloc&) {
                raised = true;
            }
            EXPECT_EQ(raised, mode == mode_exceptions) << row.name;
            EXPECT_EQ(nothing && failures > 0, mode != mode_exceptions) << row.name;
            EXPECT_EQ(before.difference(), "");
            EXPECT_EQ(element->ref_count, 1U);
        });
    }
}

// Replacing where values are counted: a copy stands in for the old element, and one goes in for the new.
TEST_F(ContainerFaults, ReplacingCountedElements) {
    matrix::internal::test_hooks::set_internal_references(true);
    const auto handle = [] {
        const std::size_t dims[] = {1, 1};
        return matrix::create(dims, ndFUNCTION_CLASS, ndREAL);
    };
    for (const bool to_null : {false, true}) {
        expect_scenario(to_null ? "a counted element by null" : "a counted element by another",
                        [&](fault_run& run) {
                            const array_ptr cell = arr("cell 1x1", nullptr);
                            api::ndReplaceCell(cell.get(), 0, handle().release());
                            const array_ptr owner(api::ndCreateReference(api::ndGetCell(cell.get(), 0)));
                            const array_ptr next = handle();
                            ndArray_tag* const given = to_null ? nullptr : api::ndCreateReference(next.get());
                            run.operand(cell.get());
                            run.operand(next.get());
                            run.act([&] { api::ndReplaceCell(cell.get(), 0, given); });
                            EXPECT_EQ(owner->ref_count, 1U);
                            EXPECT_EQ(next->ref_count, 1U);
                        });
    }
    expect_scenario("a counted element by a copy", [&](fault_run& run) {
        const array_ptr cell = arr("cell 1x1", nullptr);
        api::ndReplaceCell(cell.get(), 0, handle().release());
        const array_ptr owner(api::ndCreateReference(api::ndGetCell(cell.get(), 0)));
        const array_ptr next = handle();
        api::ndSetReusable(next.get(), true);
        run.operand(cell.get());
        run.operand(next.get());
        run.act([&] { api::ndReplaceCopyInCell(cell.get(), 0, next.get()); });
    });
    matrix::internal::test_hooks::set_internal_references(false);
}

// Plain values, nulls, and cells in cells in turn, all of them reusable.
array_ptr filled(const char* description) {
    array_ptr cell = arr(description);
    for (std::size_t i = 0; i < api::ndGetNumberOfElements(cell.get()); ++i) {
        if (i % 3 == 1) continue;
        array_ptr element =
            i % 3 == 0 ? value(static_cast<int>(i)) : arr("cell 1x2", arr("cell 1x1", value(1)), nullptr);
        api::ndSetReusable(element.get(), true);
        api::ndSetCell(cell.get(), i, element.release());
    }
    api::ndSetReusable(cell.get(), true);
    return cell;
}

struct cell_row {
    const char* description;
    std::size_t dim;
};
const cell_row cells[] = {
    {"cell 2x2x2", 1},     {"cell 2x2x2", 2},
    {"cell 2x2x2", 3},     {"cell 2x2x1x2", 1}, // dimensions out of line for the struct as well
    {"cell 1x2x2x2", 2},                        // comes to the front without a move of elements
    {"cell 2x2x2x2x2", 4},                      // elements move
};

TEST_F(ContainerFaults, CellsToStructs) {
    for (const cell_row& row : cells) {
        expect_scenario(row.description + (" along " + std::to_string(row.dim)), [&](fault_run& run) {
            const array_ptr cell = filled(row.description);
            const array_ptr list = arr("cell 1x2", arr("char", u"a"), arr("char", u"b"));
            run.operand(cell.get());
            run.operand(list.get());
            run.act([&] { return matrix::cell_to_struct(cell.get(), list.get(), row.dim); });
        });
    }
}

// The same element in several slots is shared several times.
TEST_F(ContainerFaults, CellsOfOneElementToStructs) {
    expect_scenario("one element", [](fault_run& run) {
        const array_ptr element = arr("cell 1x1", value(1));
        const array_ptr cell = arr("cell 2x2", nullptr, nullptr, nullptr, nullptr);
        api::ndSetCell(cell.get(), 0, api::ndCreateReference(element.get()));
        ndArray_tag* const stored = api::ndGetCell(cell.get(), 0);
        for (const std::size_t slot : {1U, 2U, 3U}) {
            api::ndCreateReference(stored);
            static_cast<ndArray_tag**>(cell->pdata)[slot] = stored;
        }
        const array_ptr list = arr("cell 1x2", arr("char", u"a"), arr("char", u"b"));
        run.operand(cell.get());
        run.operand(element.get());
        run.act([&] { return matrix::cell_to_struct(cell.get(), list.get(), 2); });
    });
}

TEST_F(ContainerFaults, StructsToCells) {
    for (const char* const dims : {"1x1", "2x3x2"}) {
        expect_scenario("struct to cell", [&](fault_run& run) {
            const array_ptr array = struct_arr(dims, {"a"});
            api::ndSetReusable(array.get(), true);
            run.operand(array.get());
            run.act([&] { return api::ndStruct2Cell(array.get()); });
        });
    }
    for (const ndClassID target : {ndSTRUCT_CLASS, ndCELL_CLASS}) {
        expect_scenario("object to struct or cell", [&](fault_run& run) {
            const array_ptr object =
                struct_arr("1x1", {"a", "b", "c"}, filled("cell 1x3"), filled("cell 1x1"), value(1));
            ASSERT_EQ(api::ndSetClassName(object.get(), "pair"), 0);
            run.operand(object.get());
            run.act([&] { return matrix::create_converted_copy(object.get(), target); });
        });
    }
}

struct pairs {
    array_ptr arguments[6] = {arr("char", u"a"), filled("cell 1x3"), arr("char", u"b"),
                              value(3),          arr("char", u"c"),  arr("cell 1x1", filled("cell 1x3"))};

    explicit pairs(fault_run& run) {
        for (const array_ptr& argument : arguments) {
            api::ndSetReusable(argument.get(), true);
            run.operand(argument.get());
        }
    }
};

TEST_F(ContainerFaults, PairsToStructs) {
    expect_scenario("pairs to struct", [&](fault_run& run) {
        const pairs given(run);
        run.act([&] { return matrix::struct_conversion_fcn(6, given.arguments); });
    });
}

TEST_F(ContainerFaults, ConversionsOfTheInterface) {
    const fault_options framed{.framed = true, .second_within = 2};
    EXPECT_TRUE(for_each_failing_alloc(
                    "ndCell2Struct",
                    [](fault_run& run) {
                        const array_ptr cell = filled("cell 2x2x1x2");
                        const array_ptr list = arr("cell 1x2", arr("char", u"a"), arr("char", u"b"));
                        run.operand(cell.get());
                        run.operand(list.get());
                        run.act([&] { return api::ndCell2Struct(cell.get(), list.get(), 2); });
                    },
                    framed)
                    .passed);
    EXPECT_TRUE(for_each_failing_alloc(
                    "ndStructureConversionFcn",
                    [](fault_run& run) {
                        const pairs given(run);
                        const ndArray_tag* plain[6];
                        for (std::size_t i = 0; i < 6; ++i) plain[i] = given.arguments[i].get();
                        run.act([&] {
                            ndArray_tag* made = nullptr;
                            api::ndStructureConversionFcn(&made, 6, plain);
                            return made;
                        });
                    },
                    framed)
                    .passed);
}

TEST_F(ContainerFaults, Creation) {
    const char* names[] = {"one", "two"};
    const std::size_t dims[] = {2, 3, 4};
    expect_scenario("a struct", [&](fault_run& run) {
        run.act([&] { return matrix::detail::do_create_struct(dims, names); });
    });
    expect_scenario("a stack struct",
                    [&](fault_run& run) { run.act([&] { return matrix::createStackStruct(3); }); });
    fault_options framed;
    framed.framed = true;
    EXPECT_TRUE(for_each_failing_alloc(
                    "ndCreateStackStruct",
                    [&](fault_run& run) { run.act([&] { return api::ndCreateStackStruct(3); }); }, framed)
                    .passed);
    EXPECT_TRUE(
        for_each_failing_alloc(
            "ndCreateStructArray",
            [&](fault_run& run) { run.act([&] { return api::ndCreateStructArray(3, dims, 2, names); }); },
            framed)
            .passed);
    EXPECT_TRUE(for_each_failing_alloc(
                    "ndCreateCellArray",
                    [&](fault_run& run) { run.act([&] { return api::ndCreateCellArray(3, dims); }); }, framed)
                    .passed);
}

TEST_F(ContainerFaults, CopiesOfStructs) {
    expect_scenario("deep copy", [&](fault_run& run) {
        const array_ptr array = struct_arr("1x2", {"a", "b"}, value(1), arr("cell 1x1", value(2)),
                                           struct_arr("1x1", {"c"}, value(3)), nullptr);
        run.operand(array.get());
        run.act([&] { return matrix::detail::do_deep_copy(array.get()); });
    });
    expect_scenario("shared copy", [&](fault_run& run) {
        const array_ptr array = struct_arr("1x2x2", {"a"});
        run.operand(array.get());
        run.act([&] { return matrix::detail::do_shared_copy(array.get()); });
    });
}

} // namespace
} // namespace test
