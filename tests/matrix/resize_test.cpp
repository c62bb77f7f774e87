// Growth of data blocks: where old elements go, what new ones hold, which block they stand in.
#include "matrix/resize.hpp"

#include "matrix/class_table.hpp"
#include "matrix/heap_watch.hpp"
#include "matrix/size_check.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/classes.hpp"
#include "support/fixture.hpp"

#include <cstring>

namespace test {
namespace {

using matrix::array_ptr;
using matrix::internal::grow_data;
using matrix::internal::growth;
using dims_list = std::vector<std::size_t>;
using bytes = std::vector<std::byte>;

using Resize = NdTest;

std::size_t count_of(const dims_list& dims) {
    std::size_t count = 1;
    for (const std::size_t dim : dims) count *= dim;
    return count;
}

// The obvious way: each position of the new shape is asked whether the old shape has it.
bytes grown(const bytes& old, const dims_list& from, const dims_list& to, std::size_t width,
            const bytes& filler) {
    bytes result;
    for (std::size_t position = 0; position < count_of(to); ++position) {
        std::size_t rest = position;
        std::size_t stride = 1;
        std::size_t old_position = 0;
        bool inside = true;
        for (std::size_t i = 0; i < to.size(); ++i) {
            inside = inside && rest % to[i] < from[i];
            old_position += rest % to[i] * stride;
            stride *= from[i];
            rest /= to[i];
        }
        const std::byte* const source = inside ? old.data() + old_position * width : filler.data();
        result.insert(result.end(), source, source + width);
    }
    return result;
}

bytes data_of(const ndArray_tag* array, std::size_t count, std::size_t width) {
    const auto* const data = static_cast<const std::byte*>(array->pdata);
    return {data, data + count * width};
}

growth change(const dims_list& from, const dims_list& to, const void* filler = nullptr) {
    return {from, count_of(from), to, count_of(to), true, filler};
}

struct shape_pair {
    dims_list from;
    dims_list to;
};
const shape_pair shape_pairs[] = {{{2, 3}, {3, 3}},
                                  {{2, 3}, {2, 5}},
                                  {{2, 3}, {4, 5}},
                                  {{1, 3}, {1, 4}},
                                  {{3, 1}, {5, 1}},
                                  {{3, 1}, {3, 2}},
                                  {{1, 3}, {2, 3}},
                                  {{1, 1}, {3, 4}},
                                  {{5}, {9}},
                                  {{1}, {1}},
                                  {{2, 3, 2}, {3, 3, 2}},
                                  {{2, 3, 2}, {2, 4, 2}},
                                  {{2, 3, 2}, {2, 3, 5}},
                                  {{2, 3, 2}, {4, 5, 3}},
                                  {{1, 3, 1}, {2, 3, 2}},
                                  {{1, 1, 4}, {1, 1, 6}},
                                  {{1, 1, 4}, {2, 1, 4}},
                                  {{1, 4, 1}, {1, 6, 1}},
                                  {{2, 2, 2, 2}, {2, 3, 2, 3}},
                                  {{3, 2}, {3, 2}},
                                  {{0, 3}, {2, 3}},
                                  {{2, 0, 2}, {2, 2, 2}},
                                  {{7, 3, 5}, {8, 3, 5}}};

array_ptr flat(const class_case& c, std::size_t count) {
    return numbered(c.id, c.complexity, dims_list{count, 1});
}

TEST_F(Resize, PutsOldElementsWhereTheyBelong) {
    for_each_class(class_set::with_bytes, [](const class_case& c) {
        if (c.element_size == 0) return;
        const bytes zero(c.element_size);
        const bytes seven(c.element_size, std::byte{7});
        for (const shape_pair& pair : shape_pairs) {
            for (const bytes* filler : {&zero, &seven}) {
                const std::size_t count = count_of(pair.from);
                const array_ptr array = flat(c, count);
                const bytes old = data_of(array.get(), count, c.element_size);
                grow_data(array.get(),
                          change(pair.from, pair.to, filler == &zero ? nullptr : filler->data()));
                EXPECT_EQ(data_of(array.get(), count_of(pair.to), c.element_size),
                          grown(old, pair.from, pair.to, c.element_size, *filler));
                EXPECT_EQ(array->flags & matrix::flag_cached_header, 0U);
            }
        }
    });
}

// The same within one block, whose room the array keeps track of.
TEST_F(Resize, MovesElementsWithinABlockThatIsLargeEnough) {
    const dims_list from{10, 13, 2};
    for (const dims_list& to : {dims_list{11, 13, 2}, {10, 14, 2}, {10, 13, 3}, {11, 14, 3}}) {
        array_ptr array = numbered(ndDOUBLE_CLASS, ndREAL, dims_list{260, 1});
        grow_data(array.get(), change({260, 1}, {261, 1})); // keeps room for 512 from now on
        ASSERT_NE(array->flags & matrix::flag_capacity_tracked, 0U);
        const bytes old = data_of(array.get(), 260, sizeof(double));
        const void* const block = array->pdata;
        const heap_watch heap;
        grow_data(array.get(), {from, 260, to, count_of(to)});
        EXPECT_EQ(array->pdata, block);
        EXPECT_TRUE(heap.requests().empty());
        EXPECT_EQ(data_of(array.get(), count_of(to), sizeof(double)),
                  grown(old, from, to, sizeof(double), bytes(8)));
        EXPECT_NE(array->flags & matrix::flag_capacity_tracked, 0U);
    }
}

TEST_F(Resize, TheFirstGrowthOfAnEmptyArrayIsExact) {
    const array_ptr array = arr("double 0x3");
    const heap_watch heap;
    grow_data(array.get(), change({0, 3}, {300, 3}));
    ASSERT_EQ(heap.requests().size(), 1U);
    EXPECT_EQ(heap.requests()[0], (heap_request{heap_request::slot::calloc, 900, 8}));
    EXPECT_EQ(array->flags & matrix::flag_capacity_tracked, 0U);
    EXPECT_EQ(data_of(array.get(), 900, 8), bytes(7200));
    array->set_dimensions(dims_list{300, 3});
}

TEST_F(Resize, WithoutRoomToSpareTheExactSizeWillDo) {
    const array_ptr array = numbered(ndDOUBLE_CLASS, ndREAL, dims_list{1, 300});
    {
        const heap_watch heap(310 * sizeof(double));
        grow_data(array.get(), change({1, 300}, {1, 301}));
        EXPECT_EQ(heap.refused(), 1U);
    }
    EXPECT_EQ(array->flags & matrix::flag_capacity_tracked, 0U);
    array->set_dimensions(dims_list{1, 301});
    const array_ptr before = numbered(ndDOUBLE_CLASS, ndREAL, dims_list{1, 300});
    EXPECT_EQ(std::memcmp(array->pdata, before->pdata, 300 * sizeof(double)), 0);
}

TEST_F(Resize, WithoutTheKeepFlagOnlyTheTailIsWritten) {
    const array_ptr array = numbered(ndDOUBLE_CLASS, ndREAL, dims_list{260, 1});
    grow_data(array.get(), change({260, 1}, {261, 1}));
    const bytes old = data_of(array.get(), 260, sizeof(double));
    const dims_list from{10, 26}, to{11, 26}; // a growth only views its dimensions
    growth tail_only = change(from, to);
    tail_only.keep = false;
    grow_data(array.get(), tail_only);
    const bytes now = data_of(array.get(), 286, sizeof(double));
    EXPECT_TRUE(std::equal(old.begin(), old.end(), now.begin()));
    EXPECT_EQ(bytes(now.begin() + 260 * 8, now.end()), bytes(26 * 8));
}

TEST_F(Resize, TheOldBlockGoesWhereItBelongs) {
    static int deleted;
    deleted = 0;
    array_ptr array = numbered("double 1x3");
    array->setCustomDeleter([](void* block) {
        ++deleted;
        foundation::core::mem::aligned_heap_instance().free(block);
    });
    grow_data(array.get(), change({1, 3}, {1, 5}));
    EXPECT_EQ(deleted, 1);
    EXPECT_FALSE(array->hasCustomDeleter());

    double mine[] = {1, 2, 3};
    array = arr("double 1x3");
    void* const own = array->pdata;
    array->set_pdata_and_deleter(mine, nullptr);
    foundation::core::mem::aligned_heap_instance().free(own);
    array->flags |= matrix::flag_data_private;
    grow_data(array.get(), change({1, 3}, {1, 4}));
    EXPECT_EQ(array->flags & matrix::flag_data_private, 0U);
    array->set_dimensions(dims_list{1, 4});
    EXPECT_THAT(array, EqualsArray(arr("double 1x4", {1, 2, 3, 0})));
}

} // namespace
} // namespace test
