// Values nested deeper than any stack: ended and copied on a thread whose stack has 1 MiB.
#include "matrix/validate.hpp"
#include "support/arr.hpp"
#include "support/fixture.hpp"

#include <nd/access.hpp>
#include <nd/containers.hpp>

#include <pthread.h>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using dims_list = std::vector<std::size_t>;

constexpr std::size_t million = 1'000'000;

ndArray_tag*& slot(const array_ptr& cell, std::size_t i) {
    return static_cast<ndArray_tag**>(cell->pdata)[i];
}

array_ptr cell_of(std::size_t count) { return matrix::create_cell(dims_list{1, count}); }

void put(const array_ptr& cell, std::size_t i, array_ptr element) {
    element->scope = ndMEMBER_SCOPE;
    slot(cell, i) = element.release();
}

array_ptr nested(std::size_t depth, array_ptr core) {
    for (std::size_t i = 0; i < depth; ++i) {
        array_ptr outer = cell_of(1);
        put(outer, 0, std::move(core));
        core = std::move(outer);
    }
    return core;
}

template <class Body>
void on_small_stack(Body body) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 1 << 20), 0);
    pthread_t thread{};
    const auto run = [](void* b) -> void* {
        (*static_cast<Body*>(b))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &body), 0);
    EXPECT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
}

std::size_t depth_of(const ndArray_tag* array) {
    std::size_t depth = 0;
    for (; array->class_id == ndCELL_CLASS; ++depth)
        array = static_cast<ndArray_tag* const*>(array->pdata)[0];
    return depth;
}

using Depth = NdTest;

TEST_F(Depth, AMillionLevelsEndInConstantStack) {
    on_small_stack([] { nested(million, arr("double", {1})).reset(); });
}

TEST_F(Depth, AMillionLevelsAreCopiedInConstantStack) {
    on_small_stack([] {
        const array_ptr source = nested(million, arr("double", {1}));
        const array_ptr copy = matrix::detail::do_deep_copy(source.get());
        EXPECT_EQ(depth_of(copy.get()), million);
        EXPECT_NE(slot(copy, 0), slot(source, 0));
    });
}

// Cells and structs in turn, put into each other by the interface.
TEST_F(Depth, AMillionLevelsOfCellsAndStructsAreBuiltCopiedAndEnded) {
    on_small_stack([] {
        const std::size_t one[] = {1, 1};
        const char* const names[] = {"next"};
        array_ptr core = arr("double", {1});
        for (std::size_t i = 0; i < million; ++i) {
            const bool is_struct = i % 2 == 0;
            array_ptr outer = is_struct ? matrix::detail::do_create_struct(one, names) : cell_of(1);
            if (is_struct) {
                api::ndSetField(outer.get(), 0, "next", core.release());
            } else {
                api::ndSetCell(outer.get(), 0, core.release());
            }
            core = std::move(outer);
        }
        const array_ptr copy = matrix::detail::do_deep_copy(core.get());
        EXPECT_EQ(matrix::internal::validate(copy.get()), "");
        core.reset();
    });
}

// Each level has a full cell before and behind the one that goes on: every level has work pending when the next is entered.
TEST_F(Depth, ADeepCombEndsInConstantStack) {
    on_small_stack([] {
        array_ptr comb = arr("cell 1x1", arr("double", {1}));
        for (int i = 0; i < 100'000; ++i) {
            array_ptr outer = cell_of(5);
            put(outer, 0, cell_of(2));
            put(outer, 1, std::move(comb));
            put(outer, 3, nested(2, arr("int8")));
            comb = std::move(outer);
        }
        const array_ptr copy = matrix::detail::do_deep_copy(comb.get());
    });
}

// Sharers of each level's slots leave while the levels below still stand.
TEST_F(Depth, LevelsWithOtherSharersEndInConstantStack) {
    on_small_stack([] {
        std::vector<array_ptr> sharers;
        array_ptr core = arr("double", {1});
        for (int i = 0; i < 100'000; ++i) {
            array_ptr outer = cell_of(1);
            put(outer, 0, std::move(core));
            if (i % 1000 == 0) sharers.push_back(matrix::detail::do_shared_copy(outer.get()));
            core = std::move(outer);
        }
        core.reset();
        while (!sharers.empty()) sharers.pop_back();
    });
}

} // namespace
} // namespace test
