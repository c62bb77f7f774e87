// The end of containers: elements with other owners, elements that stand twice, empty slots, wide cells and random graphs.
#include "matrix/class_table.hpp"
#include "matrix/header_watch.hpp"
#include "matrix/heap_watch.hpp"
#include "matrix/process_state.hpp"
#include "matrix/validate.hpp"
#include "support/arr.hpp"

#include <nd/access.hpp>

#include <algorithm>
#include <random>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using dims_list = std::vector<std::size_t>;

ndArray_tag*& slot(const array_ptr& cell, std::size_t i) {
    return static_cast<ndArray_tag**>(cell->pdata)[i];
}

array_ptr cell_of(std::size_t count) { return matrix::create_cell(dims_list{1, count}); }

// Puts one more owner of the element into the slot.
void put(const array_ptr& cell, std::size_t i, ndArray_tag* element) {
    element->scope = ndMEMBER_SCOPE;
    slot(cell, i) = element;
}

array_ptr nested(std::size_t depth, array_ptr core) {
    for (std::size_t i = 0; i < depth; ++i) {
        array_ptr outer = cell_of(1);
        put(outer, 0, core.release());
        core = std::move(outer);
    }
    return core;
}

using DestroyContainer = NdTest;

TEST_F(DestroyContainer, OfAWideCellEndsEveryElement) {
    constexpr std::size_t width = 100'000;
    header_watch headers;
    array_ptr wide = cell_of(width);
    // Nothing, numbers, empty cells and cells with something in turn.
    std::size_t elements = 0;
    for (std::size_t i = 0; i < width; ++i) {
        if (i % 4 == 0) continue;
        put(wide, i,
            i % 4 == 1   ? arr("double").release()
            : i % 4 == 2 ? cell_of(1).release()
                         : nested(1, arr("int8")).release());
        elements += i % 4 == 3 ? 2 : 1;
    }
    wide.reset();
    EXPECT_EQ(headers.freed_headers().size(), elements + 1);
    EXPECT_TRUE(std::all_of(headers.freed_headers().begin(), headers.freed_headers().end(),
                            [](const freed_header& dead) { return dead.is_poisoned(); }));
}

TEST_F(DestroyContainer, TakesOneReferenceOfAnElementWithAnotherOwner) {
    for (const char* description : {"double", "cell 1x1"}) {
        array_ptr element = arr(description);
        array_ptr cell = cell_of(2);
        put(cell, 1, api::ndCreateReference(element.get()));
        EXPECT_EQ(element->ref_count, 2U);
        cell.reset();
        EXPECT_EQ(element->ref_count, 1U);
        element->scope = ndLOCAL_SCOPE;
        EXPECT_EQ(matrix::internal::validate(element.get()), "");
    }
}

// Elements as a collector knows them: each has its container as parent, containers and handles stand on its list. Others share
// one container's slots: its header ends all the same.
TEST_F(DestroyContainer, TakesEveryElementOutOfItsContainerAndOffTheCollectionList) {
    header_watch headers;
    array_ptr top = cell_of(5);
    const array_ptr sharer = arr("cell 1x1", arr("int8"));
    put(top, 0, arr("double").release());
    put(top, 1, nested(2, arr("single")).release());
    put(top, 2, matrix::detail::do_shared_copy(sharer.get()).release());
    for (const int class_id : {ndFUNCTION_CLASS, ndOPAQUE_CLASS}) {
        put(top, class_id == ndFUNCTION_CLASS ? 3 : 4,
            matrix::detail::do_create_numeric(dims_list{1, 1}, matrix::internal::code_of(class_id, false))
                .release());
    }
    top->flags |= matrix::flag_on_collection_list;
    for (std::size_t i = 0; i < 5; ++i) {
        slot(top, i)->parent = top.get();
        if (i > 0) slot(top, i)->flags |= matrix::flag_on_collection_list;
    }
    ndArray_tag* const inner = static_cast<ndArray_tag**>(slot(top, 1)->pdata)[0];
    inner->parent = slot(top, 1);
    inner->flags |= matrix::flag_on_collection_list;
    top.reset();
    ASSERT_EQ(headers.freed_headers().size(), 8U);
    for (const freed_header& dead : headers.freed_headers()) {
        EXPECT_EQ(dead.parent, 0U);
        EXPECT_FALSE(dead.flags & matrix::flag_on_collection_list);
    }
}

TEST_F(DestroyContainer, LeavesAnElementThatTheEngineHolds) {
    header_watch headers;
    ndArray_tag* const element = arr("cell 1x1", arr("double")).release();
    array_ptr cell = cell_of(1);
    put(cell, 0, element);
    element->internal_ref_count = 1;
    cell.reset();
    EXPECT_EQ(element->ref_count, 0U);
    EXPECT_EQ(element->internal_ref_count, 1U);
    EXPECT_EQ(headers.freed_headers().size(), 1U);
    api::ndReleaseInternalReference(element);
    EXPECT_EQ(headers.freed_headers().size(), 3U);
}

TEST_F(DestroyContainer, EndsAnElementThatStandsTwiceOnce) {
    for (const std::size_t times : {2U, 3U, 17U}) {
        for (const char* description : {"double", "cell 1x1"}) {
            header_watch headers;
            ndArray_tag* const element = arr(description).release();
            array_ptr cell = cell_of(times);
            element->ref_count = static_cast<std::uint32_t>(times);
            for (std::size_t i = 0; i < times; ++i) put(cell, i, element);
            cell.reset();
            EXPECT_EQ(headers.freed_headers().size(), 2U);
        }
    }
}

// One element below two levels: the outer cell holds it, and so does a cell beside it.
TEST_F(DestroyContainer, EndsAnElementThatIsSharedBetweenLevelsOnce) {
    for (const bool outer_first : {false, true}) {
        header_watch headers;
        ndArray_tag* const shared = nested(3, arr("double")).release();
        shared->ref_count = 2;
        array_ptr inner = cell_of(1);
        put(inner, 0, shared);
        array_ptr outer = cell_of(2);
        put(outer, outer_first ? 0 : 1, shared);
        put(outer, outer_first ? 1 : 0, inner.release());
        outer.reset();
        EXPECT_EQ(headers.freed_headers().size(), 6U);
    }
}

// A cell's slots are a block like any other: sharers of the block share the elements, and the last one ends them.
TEST_F(DestroyContainer, LeavesElementsToTheSharersOfTheSlots) {
    header_watch headers;
    array_ptr cell = arr("cell 1x2", arr("double", {1}), nested(2, arr("int8")));
    array_ptr copy = matrix::detail::do_shared_copy(cell.get());
    EXPECT_EQ(copy->pdata, cell->pdata);
    cell.reset();
    EXPECT_EQ(headers.freed_headers().size(), 1U);
    EXPECT_EQ(matrix::internal::validate(copy.get()), "");
    copy.reset();
    EXPECT_EQ(headers.freed_headers().size(), 6U);
    EXPECT_EQ(headers.freed_records(), 1U);
}

// An element may itself be one of several headers over one block.
TEST_F(DestroyContainer, FinishesAnElementWhoseSlotsOthersShare) {
    for (const char* description : {"cell 1x1", "double 1x1"}) {
        array_ptr shared = arr(description);
        array_ptr cell = cell_of(3);
        put(cell, 0, matrix::detail::do_shared_copy(shared.get()).release());
        put(cell, 2, nested(1, matrix::detail::do_shared_copy(shared.get())).release());
        EXPECT_EQ(shared->share_record->count.load(), 3U);
        cell.reset();
        EXPECT_EQ(shared->share_record->count.load(), 1U);
        EXPECT_EQ(matrix::internal::validate(shared.get()), "");
    }
}

TEST_F(DestroyContainer, GivesCachedElementsBackToTheirBins) {
    const cache_on cache;
    arr("cell 1x3", arr("double", {1}), nested(2, arr("double 1x2", {1, 2})), nullptr).reset();
    const matrix::cache::CacheInfo info;
    EXPECT_EQ(info.bins[0].count, 2U);
    EXPECT_EQ(info.total_count, 2U) << "cells never come from a bin";
}

TEST_F(DestroyContainer, TakesElementsOfAnyScope) {
    header_watch headers;
    array_ptr cell = cell_of(14);
    for (std::uint32_t scope = 0; scope < 7; ++scope) {
        put(cell, scope, arr("double").release());
        slot(cell, scope)->scope = scope;
        put(cell, scope + 7, nested(1, arr("double")).release());
        slot(cell, scope + 7)->scope = scope;
    }
    cell.reset();
    EXPECT_EQ(headers.freed_headers().size(), 22U);
}

TEST_F(DestroyContainer, WithThreeDimensionsCountsSlotsBeforeItsDimensionsGo) {
    header_watch headers;
    array_ptr cell = matrix::create_cell(dims_list{2, 2, 3});
    for (std::size_t i = 0; i < 12; ++i) put(cell, i, nested(1, arr("double")).release());
    cell.reset();
    EXPECT_EQ(headers.freed_headers().size(), 25U);
}

TEST_F(DestroyContainer, WithoutSlotsIsFinished) {
    for (const ndClassID id : {ndCELL_CLASS, ndSTRUCT_CLASS, ndOBJECT_CLASS}) {
        for (const dims_list& dims : {dims_list{0, 0}, dims_list{0, 3, 2}, dims_list{2, 2}}) {
            header_watch headers;
            matrix::detail::do_create_numeric(dims, matrix::internal::code_of(id, false)).reset();
            EXPECT_EQ(headers.freed_headers().size(), 1U);
        }
    }
}

TEST_F(DestroyContainer, OfPrivateSlotsDoesNotFreeThem) {
    ndArray_tag* slots[2] = {nullptr, nullptr};
    heap_watch heap;
    array_ptr cell = cell_of(0);
    cell->flags |= matrix::flag_data_private;
    cell->pdata = slots;
    cell->set_dimensions(dims_list{1, 2});
    cell.reset();
    EXPECT_TRUE(heap.freed().empty());
}

// Random graphs without cycles: elements of several owners, several headers over one block, every mix of depth and width.
// Whatever they look like, each header and each block goes exactly once.
class random_graph {
public:
    explicit random_graph(std::uint32_t seed) : random_(seed) {}

    array_ptr make() {
        const std::size_t nodes = 2 + random_() % 200;
        for (std::size_t i = 0; i < nodes; ++i) made_.push_back(node());
        array_ptr root = cell_of(made_.size());
        for (std::size_t i = 0; i < made_.size(); ++i) put(root, i, made_[i].release());
        made_.clear();
        return root;
    }

private:
    array_ptr node() {
        if (made_.empty() || random_() % 3 == 0) return arr("double 1x2");
        const std::size_t width = random_() % 6;
        array_ptr cell =
            random_() % 4 == 0 ? matrix::create_cell(dims_list{1, width, 1 + random_() % 2}) : cell_of(width);
        for (std::size_t i = 0; i < width; ++i) {
            ndArray_tag* const element = made_[random_() % made_.size()].get();
            const std::uint32_t how = random_() % 4;
            if (how == 0) continue;
            put(cell, i,
                how == 1 ? matrix::detail::do_shared_copy(element).release()
                         : api::ndCreateReference(element));
        }
        return cell;
    }

    std::mt19937 random_;
    std::vector<array_ptr> made_;
};

TEST_F(DestroyContainer, OfRandomGraphsEndsEverythingOnce) {
    for (std::uint32_t seed = 0; seed < 300; ++seed) {
        const live_blocks before = count_live_blocks();
        header_watch headers;
        std::size_t made = 0;
        {
            array_ptr root = random_graph(seed).make();
            made = static_cast<std::size_t>(
                std::count(headers.requests().begin(), headers.requests().end(), sizeof(ndArray_tag)));
            ASSERT_EQ(matrix::internal::validate(root.get()), "") << seed;
        }
        ASSERT_EQ(headers.freed_headers().size(), made) << seed;
        const live_blocks left = count_live_blocks() - before;
        ASSERT_EQ(left.header_slots, 0) << seed;
        ASSERT_EQ(left.aligned_heap, 0) << seed;
    }
}

} // namespace
} // namespace test
