// Every allocation fails, alone and with a second one, in every operation that copies, shares, unshares or moves: the operands
// stay as they were.
#include "matrix/process_state.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/sparse_array.hpp"
#include "support/arr.hpp"
#include "support/fault_injection.hpp"
#include "support/module_mode.hpp"
#include "support/variations.hpp"

#include <foundation/core/mem/aligned_heap.hpp>
#include <nd/access.hpp>
#include <nd/containers.hpp>
#include <nd/interleaved.hpp>
#include <nd/share.hpp>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::detail::do_shared_copy;
using dims_list = std::vector<std::size_t>;

struct value_row {
    const char* name;
    array_ptr (*make)();
};
const value_row values[] = {
    {"a matrix", [] { return numbered("complex int16 3x4"); }},
    {"a solid", [] { return numbered("double 2x3x4"); }},
    {"a sparse matrix", [] { return sparse_3x2(); }},
    {"nested cells",
     [] {
         return arr("cell 1x4", arr("double", {1}), nullptr,
                    arr("cell 1x2", arr("cell 1x1", numbered("int8 2x2x2")), arr("char", u"ab")),
                    arr("cell 1x1", arr("double", {2})));
     }},
};

// What an operation does about a failure may ask for memory as well: a second one follows it within so many allocations.
constexpr long second_failure_within = 8;

void expect_scenario(const std::string& name, const std::function<void(fault_run&)>& scenario,
                     fault_options options = {}) {
    options.second_within = second_failure_within;
    EXPECT_TRUE(for_each_failing_alloc(name, scenario, options).passed) << name;
}

using SharingFaults = NdTest;

void free_on_heap(void* block) { foundation::core::mem::aligned_heap_instance().free(block); }

// Creators in the frame: a new array or null.
TEST_F(SharingFaults, Copies) {
    struct {
        const char* name;
        ndArray_tag* (*copy)(ndArray_tag*);
    } const rows[] = {
        {"shared data copy", [](ndArray_tag* a) { return api::ndCreateSharedDataCopy(a); }},
        {"deep copy", [](ndArray_tag* a) { return api::ndCreateDeepCopy(a); }},
        {"skeleton copy", [](ndArray_tag* a) { return api::ndCreateSkeletonCopy(a, ndREAL); }},
        {"empty copy", [](ndArray_tag* a) { return api::ndCreateEmptyCopy(a); }},
    };
    for (const auto& row : rows) {
        for (const value_row& value : values) {
            fault_options options;
            options.framed = true;
            expect_scenario(
                std::string(row.name) + " of " + value.name,
                [&](fault_run& run) {
                    const array_ptr source = value.make();
                    run.operand(source.get());
                    run.act([&] { return row.copy(source.get()); });
                },
                options);
        }
    }
}

int objects_alive = 0;

// An object whose copy fails half-way was never told of, so nobody hears of its end.
TEST_F(SharingFaults, TellsTheHooksOfObjectsInPairs) {
    api::ndSetObjectCreateDestroyFn([](ndArray_tag*) { ++objects_alive; },
                                    [](ndArray_tag*) { --objects_alive; });
    for (ndArray_tag* (*const copy)(const ndArray_tag*) : {api::ndCreateDeepCopy, api::ndCreateEmptyCopy}) {
        expect_scenario("copy of an object",
                        [&](fault_run& run) {
                            const array_ptr object = struct_arr("1x1", {"a"}, numbered("double 2x2"));
                            ASSERT_EQ(api::ndSetClassName(object.get(), "pair"), 0);
                            run.operand(object.get());
                            run.act([&] { return copy(object.get()); });
                        },
                        {.framed = true});
        EXPECT_EQ(objects_alive, 0);
    }
    api::ndSetObjectCreateDestroyFn(nullptr, nullptr);
}

TEST_F(SharingFaults, SharingOfSingleThreadedData) {
    for (const std::size_t sharers : {1U, 2U, 3U}) {
        expect_scenario("shared copy of single-threaded data, " + std::to_string(sharers),
                        [&](fault_run& run) {
                            const array_ptr source = numbered("double 2x3x4");
                            source->set_data_sharing_single_threaded(true);
                            std::vector<array_ptr> others;
                            while (others.size() + 1 < sharers)
                                others.push_back(do_shared_copy(source.get()));
                            run.operand(source.get());
                            run.act([&] { return do_shared_copy(source.get()); });
                        });
    }
    expect_scenario("single-threaded flag", [](fault_run& run) {
        const array_ptr a = numbered("double 1x3");
        const array_ptr b = do_shared_copy(a.get());
        run.operand(a.get());
        run.act([&] { a->set_data_sharing_single_threaded(true); });
    });
}

// The result stands for the argument: in place, or a copy where the header has two owners.
TEST_F(SharingFaults, Unsharing) {
    for (auto* unshare : {api::ndUnshare, api::ndUnshareShallow, api::ndUnreference}) {
        for (const value_row& value : values) {
            for (const bool held_twice : {false, true}) {
                if (!held_twice && unshare == api::ndUnreference) continue;
                fault_options options;
                options.framed = true;
                expect_scenario(
                    std::string("unsharing of ") + value.name + (held_twice ? ", held twice" : ""),
                    [&](fault_run& run) {
                        const array_ptr source = value.make();
                        const array_ptr sharer = do_shared_copy(source.get());
                        if (held_twice) api::ndCreateReference(source.get());
                        run.operand(source.get());
                        run.operand(sharer.get());
                        run.act([&]() -> ndArray_tag* {
                            ndArray_tag* const result = unshare(source.get());
                            return result == source.get() ? api::ndCreateReference(result) : result;
                        });
                    },
                    options);
            }
        }
    }
}

TEST_F(SharingFaults, UnsharingWithAStatus) {
    for (const int level : {0, 1}) {
        for (const value_row& value : values) {
            expect_scenario(std::string("ndUnshareArray of ") + value.name,
                            [&](fault_run& run) {
                                const array_ptr source = value.make();
                                const array_ptr sharer = do_shared_copy(source.get());
                                run.operand(source.get());
                                run.operand(sharer.get());
                                run.act([&] { return api::ndUnshareArray(source.get(), level) == 0; });
                            },
                            {.framed = true});
        }
    }
}

TEST_F(SharingFaults, UnsharingOfOthers) {
    for (const value_row& value : values) {
        expect_scenario(std::string("moving the other sharers of ") + value.name, [&](fault_run& run) {
            const array_ptr a = value.make();
            a->set_data_sharing_single_threaded(true);
            const array_ptr b = do_shared_copy(a.get());
            const array_ptr c = do_shared_copy(a.get());
            run.operand(a.get());
            run.operand(b.get());
            run.act([&] { return api::ndUnshareOtherArrays(a.get()) == 0; });
        });
    }
    expect_scenario("moving the other sharers of data with a deleter and a view", [](fault_run& run) {
        const array_ptr a = numbered("complex double 1x3");
        a->set_data_sharing_single_threaded(true);
        a->split_data(false);
        const array_ptr b = do_shared_copy(a.get());
        run.operand(a.get());
        run.operand(b.get());
        run.act([&] { return api::ndUnshareOtherArrays(a.get()) == 0; });
    });
}

TEST_F(SharingFaults, MovingOntoAHeader) {
    for (const value_row& to : values) {
        for (const value_row& from : values) {
            expect_scenario(std::string("moving ") + from.name + " onto " + to.name, [&](fault_run& run) {
                const array_ptr dest = to.make();
                const array_ptr src = from.make();
                api::ndSetReusable(src.get(), true);
                run.operand(dest.get());
                run.operand(src.get());
                run.act([&] {
                    const module_mode_scope raising(mode_exceptions);
                    api::ndMoveCopyOntoHeader(dest.get(), src.get());
                });
            });
        }
    }
}

TEST_F(SharingFaults, HandingOver) {
    for (const value_row& value : values) {
        expect_scenario(std::string("taking over ") + value.name, [&](fault_run& run) {
            const array_ptr source = value.make();
            const array_ptr sharer = do_shared_copy(source.get());
            run.operand(source.get());
            run.act([&] {
                api::ndCreateReference(source.get());
                struct given_back {
                    ndArray_tag* array;
                    ~given_back() {
                        if (array != nullptr) matrix::destroyArray(array);
                    }
                } hold{source.get()};
                array_ptr taken = matrix::from_tarvel_old(source.get());
                hold.array = nullptr;
                return taken;
            });
        });
        expect_scenario(std::string("a view of ") + value.name, [&](fault_run& run) {
            const array_ptr source = value.make();
            const dims_list dims{api::ndGetDimensions(source.get()),
                                 api::ndGetDimensions(source.get()) +
                                     api::ndGetNumberOfDimensions(source.get())};
            run.operand(source.get());
            run.act([&] { return matrix::createReshapedView(source.get(), dims); });
        });
    }
}

TEST_F(SharingFaults, ChangingComplexity) {
    struct {
        const char* name;
        const char* value;
        void (*change)(ndArray_tag*);
    } const rows[] = {
        {"deflating", "complex double 2x3", api::ndDeflateComplexToReal},
        {"inflating", "single 2x3", api::ndInflateRealToComplex},
        {"splitting", "complex int8 2x3", [](ndArray_tag* a) { a->split_data(true); }},
        {"splitting real data", "int8 2x3", [](ndArray_tag* a) { a->split_data(true); }},
    };
    for (const auto& row : rows) {
        for (const bool shared : {false, true}) {
            expect_scenario(row.name + std::string(shared ? ", shared" : ""), [&](fault_run& run) {
                const array_ptr array = numbered(row.value);
                const array_ptr sharer = shared ? do_shared_copy(array.get()) : nullptr;
                run.operand(array.get());
                run.act([&] {
                    const module_mode_scope raising(mode_exceptions);
                    row.change(array.get());
                });
            });
        }
    }
}

void split_by_shorter_sharer(ndArray_tag* array) {
    const array_ptr sharer = do_shared_copy(array);
    sharer->set_dimensions(dims_list{1, 2});
    sharer->split_data(true);
}

// What a split array keeps while memory is short: the view, and the value that stands in it.
TEST_F(SharingFaults, OfASplitView) {
    struct {
        const char* name;
        const char* value;
        void (*arrange)(ndArray_tag*);
        void (*act)(ndArray_tag*);
    } const rows[] = {
        {"splitting again, larger", "complex double 1x2",
         [](ndArray_tag* a) {
             a->split_data(true);
             a->interleave_data();
             a->set_dimensions(dims_list{1, 1});
             a->split_data(true);
             a->interleave_data();
             a->set_dimensions(dims_list{1, 2});
         },
         [](ndArray_tag* a) { a->split_data(true); }},
        {"interleaving", "complex double 1x3", [](ndArray_tag* a) { a->split_data(true); },
         [](ndArray_tag* a) { a->interleave_data(); }},
        {"interleaving, grown", "complex double 2x3",
         [](ndArray_tag* a) {
             a->set_dimensions(dims_list{1, 2});
             a->split_data(true);
             a->set_dimensions(dims_list{2, 3});
         },
         [](ndArray_tag* a) { a->interleave_data(); }},
        {"updating, grown", "double 2x3",
         [](ndArray_tag* a) {
             a->set_dimensions(dims_list{1, 2});
             a->split_data(true);
             a->set_dimensions(dims_list{2, 3});
         },
         [](ndArray_tag* a) { matrix::updateInterleavedData(a); }},
        {"interleaving what a shorter sharer split", "complex double 2x3", split_by_shorter_sharer,
         [](ndArray_tag* a) { a->interleave_data(); }},
        {"updating what a shorter sharer split", "double 2x3", split_by_shorter_sharer,
         [](ndArray_tag* a) { matrix::updateInterleavedData(a); }},
        {"interleaving what was split under another class", "complex double 2x3",
         [](ndArray_tag* a) {
             a->split_data(true);
             a->reset_pdata_untrusted(a->pdata, ndDOUBLE_CLASS, ndREAL);
         },
         [](ndArray_tag* a) { a->interleave_data(); }},
        {"interleaving, marked complex", "double 1x3",
         [](ndArray_tag* a) {
             a->split_data(true);
             api::ndMarkImagData(a);
         },
         [](ndArray_tag* a) { a->interleave_data(); }},
    };
    for (const auto& row : rows) {
        expect_scenario(row.name, [&](fault_run& run) {
            const array_ptr array = numbered(row.value);
            row.arrange(array.get());
            const bool was_current = matrix::detail::isIC(array.get());
            if (!run.act([&] { row.act(array.get()); })) return;
            EXPECT_TRUE(!was_current || !matrix::detail::isIC(array.get()));
            array->interleave_data();
            EXPECT_EQ(static_cast<const double*>(array->pdata)[0], 1.0);
        });
    }
}

// Each stands in a cell that has other users. What was written to the views is in the blocks afterwards.
TEST_F(SharingFaults, OfSplitViewsBelowContainers) {
    for (auto* const act : {matrix::switchToInterleaved, matrix::updateInterleavedData}) {
        expect_scenario("views below containers", [&](fault_run& run) {
            const array_ptr inner[] = {arr("cell 1x2", numbered("complex double 1x2"), nullptr),
                                       arr("cell 1x1", numbered("double 1x3"))};
            const array_ptr all = arr("cell 1x2", arr("cell 1x1", do_shared_copy(inner[0].get())),
                                      do_shared_copy(inner[1].get()));
            ndArray_tag* const arrays[] = {api::ndGetCell(inner[0].get(), 0),
                                           api::ndGetCell(inner[1].get(), 0)};
            for (ndArray_tag* const array : arrays) {
                array->split_data(true);
                static_cast<double*>(array->get_scData()->real_data)[0] = 7;
            }
            run.act([&] { act(all.get()); });
            for (const ndArray_tag* const array : arrays)
                EXPECT_EQ(static_cast<const double*>(array->pdata)[0], 7.0);
        });
    }
}

// Inflating puts another block in: who had the old one before has it after.
TEST_F(SharingFaults, InflatingABlockOfOthers) {
    for (const bool with_deleter : {false, true}) {
        for (const bool shared : {false, true}) {
            for (const bool sparse : {false, true}) {
                expect_scenario("inflating", [&](fault_run& run) {
                    const array_ptr array = sparse ? sparse_3x2() : numbered("double 1x3");
                    if (with_deleter) array->setCustomDeleter(free_on_heap);
                    const array_ptr sharer = shared ? do_shared_copy(array.get()) : nullptr;
                    run.operand(array.get());
                    if (shared) run.operand(sharer.get());
                    run.act([&] {
                        const module_mode_scope raising(mode_exceptions);
                        api::ndInflateRealToComplex(array.get());
                    });
                });
            }
        }
    }
}

TEST_F(SharingFaults, CustomClaims) {
    fault_options options;
    options.framed = true;
    expect_scenario(
        "claimed copy",
        [](fault_run& run) {
            const array_ptr source = numbered("double 2x3x4");
            api::ndSetReusable(source.get(), true);
            run.operand(source.get());
            run.act([&] { return api::ndCreateClaimedDataCopy(source.get()); });
        },
        options);
}

} // namespace
} // namespace test
