// Every allocation fails once while arrays are copied, reshaped and given deleters: the operands stay as they were, to the bit.
#include "matrix/class_table.hpp"
#include "matrix/dims32.hpp"
#include "matrix/process_state.hpp"
#include "matrix/sparse_array.hpp"
#include "support/arr.hpp"
#include "support/fault_injection.hpp"
#include "support/variations.hpp"

#include <foundation/core/mem/aligned_heap.hpp>
#include <nd/access.hpp>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::detail::do_deep_copy;
using matrix::detail::do_shared_copy;
using dims_list = std::vector<std::size_t>;

struct value_row {
    const char* name;
    array_ptr (*make)();
};
const value_row values[] = {
    {"a scalar", [] { return arr("double", {1}); }},
    {"a matrix", [] { return numbered("complex int16 3x4"); }},
    {"a solid", [] { return numbered("single 2x3x4"); }},
    {"an empty array", [] { return arr("double 0x3"); }},
    {"a cell", [] { return arr("cell 1x3", arr("double", {1}), nullptr, arr("char", u"abc")); }},
    {"nested cells",
     [] {
         return arr("cell 2x1", arr("cell 1x2", arr("cell 1x1", numbered("int8 2x2x2")), arr("cell 0x0")),
                    arr("cell 1x2", arr("logical", {1}), arr("cell 1x1", arr("cell 1x1", nullptr))));
     }},
};

void expect_scenario(const std::string& name, const std::function<void(fault_run&)>& scenario,
                     long second_within = 2) {
    fault_options options;
    options.second_within = second_within;
    const fault_report report = for_each_failing_alloc(name, scenario, options);
    EXPECT_TRUE(report.passed) << name;
    EXPECT_EQ(report.recovered, 0) << name;
}

template <class Copy>
void attack_copies(const char* what, Copy copy) {
    for (const value_row& row : values) {
        const array_ptr value = row.make();
        for (const variation& shape : all_variations()) {
            if (!shape.applies(value.get())) continue;
            expect_scenario(std::string(what) + " of " + row.name + ", " + shape.name, [&](fault_run& run) {
                const representation made = shape.make(value.get());
                run.operand(made.value.get());
                for (const array_ptr& sharer : made.sharers) run.operand(sharer.get());
                run.act([&] { return copy(made.value.get()); });
            });
        }
    }
}

using ChangeFaults = NdTest;

TEST_F(ChangeFaults, SharedCopy) { attack_copies("shared copy", do_shared_copy); }

TEST_F(ChangeFaults, DeepCopy) { attack_copies("deep copy", do_deep_copy); }

TEST_F(ChangeFaults, CopiesOfCachedArrays) {
    for (const bool filled : {false, true}) {
        for (auto* copy : {do_shared_copy, do_deep_copy}) {
            expect_scenario(std::string(copy == do_shared_copy ? "shared" : "deep") +
                                " copy of a cached array" + (filled ? ", cache filled" : ""),
                            [&](fault_run& run) {
                                const cache_on cache;
                                if (filled) numbered("double 2x3").reset();
                                const array_ptr source = numbered("double 2x3");
                                if (filled) numbered("double 2x3").reset();
                                run.operand(source.get());
                                run.act([&] { return copy(source.get()); });
                            });
        }
    }
}

TEST_F(ChangeFaults, CopiesOfSparseArrays) {
    for (auto* copy : {do_shared_copy, do_deep_copy}) {
        expect_scenario(std::string(copy == do_shared_copy ? "shared" : "deep") + " copy of a sparse array",
                        [&](fault_run& run) {
                            const array_ptr source = sparse_3x2();
                            run.operand(source.get());
                            run.act([&] { return copy(source.get()); });
                        });
    }
}

TEST_F(ChangeFaults, SharedCopyOffTheList) {
    fault_options options;
    options.framed = true;
    for (const value_row& row : values) {
        const fault_report report = for_each_failing_alloc(
            std::string("ndCreateSharedCopyNotOnArrayList of ") + row.name,
            [&](fault_run& run) {
                const array_ptr source = row.make();
                run.operand(source.get());
                run.act([&] { return api::ndCreateSharedCopyNotOnArrayList(source.get()); });
            },
            options);
        EXPECT_TRUE(report.passed);
    }
}

// From each form of dimensions to each that needs a block, by either way in.
TEST_F(ChangeFaults, Dimensions) {
    const dims_list shapes[] = {{0, 6}, {2, 0, 3}, {2, 2, 0, 2}, {1, 1, 1, 1, 0, 6}};
    for (const dims_list& from : shapes) {
        for (const dims_list& to : shapes) {
            for (const bool by_function : {false, true}) {
                const std::string name = "dimensions from " + std::to_string(from.size()) + " to " +
                                         std::to_string(to.size()) + (by_function ? ", ndSetDimensions" : "");
                expect_scenario(name, [&](fault_run& run) {
                    const array_ptr array = matrix::create(from, ndDOUBLE_CLASS, ndREAL);
                    run.operand(array.get());
                    if (by_function) {
                        run.act([&] { return api::ndSetDimensions(array.get(), to.data(), to.size()) == 0; });
                    } else {
                        run.act([&] { array->set_dimensions(to); });
                    }
                });
            }
        }
    }
}

TEST_F(ChangeFaults, DimensionsFromTheArraysOwn) {
    expect_scenario("dimensions from the array's own", [](fault_run& run) {
        const array_ptr array = matrix::create(dims_list{2, 0, 3, 4}, ndDOUBLE_CLASS, ndREAL);
        run.operand(array.get());
        run.act([&] { array->set_dimensions({reinterpret_cast<const std::size_t*>(array->m_or_dims), 3}); });
    });
}

TEST_F(ChangeFaults, NarrowedDimensions) {
    for (const bool again : {false, true}) {
        expect_scenario(again ? "narrowed dimensions, more than before" : "narrowed dimensions",
                        [&](fault_run& run) {
                            const array_ptr array = matrix::create(dims_list{0, 3}, ndDOUBLE_CLASS, ndREAL);
                            if (again) matrix::internal::narrowed_dimensions(array.get());
                            array->set_dimensions(dims_list{0, 1, 2, 3, 4, 5});
                            run.operand(array.get());
                            run.act([&] { matrix::internal::narrowed_dimensions(array.get()); });
                        });
    }
}

void free_block(void* block) { foundation::core::mem::aligned_heap_instance().free(block); }

TEST_F(ChangeFaults, CustomDeleter) {
    struct {
        const char* name;
        bool cached, shared;
    } constexpr rows[] = {{"custom deleter", false, false},
                          {"custom deleter of a cached array", true, false},
                          {"custom deleter of a shared array", false, true}};
    for (const auto& row : rows) {
        for (auto* deleter : {free_block, static_cast<void (*)(void*)>(nullptr)}) {
            expect_scenario(row.name + std::string(deleter == nullptr ? ", none" : ""), [&](fault_run& run) {
                const cache_on cache;
                matrix::cache::setEnabled(row.cached);
                const array_ptr array = numbered("double 2x3");
                const array_ptr copy = row.shared ? do_shared_copy(array.get()) : nullptr;
                run.operand(array.get());
                run.act([&] { array->setCustomDeleter(deleter); });
            });
        }
    }
}

TEST_F(ChangeFaults, AnotherBlock) {
    for (const bool untrusted : {false, true}) {
        for (const bool cached : {false, true}) {
            for (auto* deleter : {free_block, static_cast<void (*)(void*)>(nullptr)}) {
                const std::string name =
                    std::string(untrusted ? "set_pdata_untrusted" : "set_pdata_and_deleter") +
                    (cached ? ", cached" : "") + (deleter == nullptr ? ", no deleter" : "");
                expect_scenario(name, [&](fault_run& run) {
                    const cache_on cache;
                    matrix::cache::setEnabled(cached);
                    const auto& heap = foundation::core::mem::aligned_heap_instance();
                    const array_ptr array = numbered("double 2x3");
                    void* const old = array->pdata;
                    void* const block = heap.calloc(6, sizeof(double));
                    run.operand(array.get());
                    run.act([&] {
                        untrusted ? array->set_pdata_untrusted(block, deleter)
                                  : array->set_pdata_and_deleter(block, deleter);
                    });
                    ASSERT_EQ(array->pdata, block);
                    heap.free(old);
                });
            }
        }
    }
}

// The end of an array asks for no memory at all, so there is nothing that could fail.
TEST_F(ChangeFaults, EndingNeedsNoMemory) {
    for (const value_row& row : values) {
        const array_ptr value = row.make();
        for (const variation& shape : all_variations()) {
            if (!shape.applies(value.get())) continue;
            representation made = shape.make(value.get());
            injection exhausted({1, fault_plan::follow_up::for_ever, 0});
            made = representation();
            EXPECT_EQ(exhausted.points(), 0) << row.name << ", " << shape.name;
        }
    }
    const cache_on cache;
    array_ptr cached = numbered("double 2x3");
    const injection exhausted({1, fault_plan::follow_up::for_ever, 0});
    cached.reset();
    matrix::cache::clear();
    EXPECT_EQ(exhausted.points(), 0);
}

} // namespace
} // namespace test
