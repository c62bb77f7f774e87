// How an array ends: by its two owner counts, with its data and its header given back once, the header marked as dead.
#include "matrix/header_watch.hpp"
#include "matrix/heap_watch.hpp"
#include "matrix/process_state.hpp"
#include "matrix/sparse_array.hpp"
#include "matrix/validate.hpp"
#include "platform/foundation/core/mem/heap_guard.hpp"
#include "support/arr.hpp"
#include "support/classes.hpp"

#include <foundation/core/mem/aligned_heap.hpp>
#include <nd/access.hpp>

#include <algorithm>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using dims_list = std::vector<std::size_t>;

// Watches both allocators from before an array is made to after its end.
struct watches {
    header_watch headers;
    heap_watch heap;

    bool ended(const void* header) const {
        const auto& freed = headers.freed_headers();
        return std::any_of(freed.begin(), freed.end(), [&](const freed_header& f) { return f.at == header; });
    }
};

using Destroy = NdTest;

TEST_F(Destroy, OfNullIsNothing) {
    api::ndDestroyArray(nullptr);
    matrix::destroyArray(nullptr);
    const array_ptr none;
    matrix::detail::ndDestroy_deleter()(nullptr);
}

// Owners outside (ref_count) and in the engine (internal_ref_count), and what each way of letting go does.
TEST_F(Destroy, GoesByBothOwnerCounts) {
    struct {
        std::uint32_t outside, inside;
        void (*let_go)(ndArray_tag*);
        bool ends;
        std::uint32_t outside_after, inside_after;
    } constexpr rows[] = {
        {1, 0, api::ndDestroyArray, true, 0, 0},
        {2, 0, api::ndDestroyArray, false, 1, 0},
        {7, 0, api::ndDestroyArray, false, 6, 0},
        {1, 1, api::ndDestroyArray, false, 0, 1},
        {2, 1, api::ndDestroyArray, false, 1, 1},
        {1, 3, api::ndDestroyArray, false, 0, 3},
        {1, 1, api::ndReleaseInternalReference, false, 1, 0},
        {0, 1, api::ndReleaseInternalReference, true, 0, 0},
        {0, 2, api::ndReleaseInternalReference, false, 0, 1},
        {2, 2, api::ndReleaseInternalReference, false, 2, 1},
        {5, 1, api::ndReleaseInternalReference, false, 5, 0},
        {2, 0, intrusive_ptr_release, false, 1, 0},
        {1, 0, intrusive_ptr_release, true, 0, 0},
        {1, 0, matrix::destroyArray, true, 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.outside) + " outside, " + std::to_string(row.inside) + " inside");
        watches watch;
        ndArray_tag* const array = matrix::create(dims_list{2, 3}, ndDOUBLE_CLASS, ndREAL).release();
        array->ref_count = row.outside;
        array->internal_ref_count = row.inside;
        row.let_go(array);
        ASSERT_EQ(watch.ended(array), row.ends);
        if (row.ends) continue;
        EXPECT_EQ(array->ref_count, row.outside_after);
        EXPECT_EQ(array->internal_ref_count, row.inside_after);
        EXPECT_EQ(matrix::internal::validate(array), "");
        array->ref_count = 1;
        array->internal_ref_count = 0;
        matrix::destroyArray(array);
    }
}

TEST_F(Destroy, AHeaderLivesOnForTheEngineAlone) {
    watches watch;
    ndArray_tag* const array = arr("double 1x2", {1, 2}).release();
    array->internal_ref_count = 1;
    api::ndDestroyArray(array);
    EXPECT_EQ(array->ref_count, 0U);
    EXPECT_EQ(static_cast<const double*>(array->pdata)[1], 2.0);
    EXPECT_FALSE(watch.ended(array));
    api::ndReleaseInternalReference(array);
    EXPECT_TRUE(watch.ended(array));
}

// An end through the engine's count leaves a whole pair: one owner, not reusable.
TEST_F(Destroy, ByTheEngineGivesACachedPairBackWhole) {
    const cache_on cache;
    ndArray_tag* const array = matrix::create(dims_list{2, 2}, ndDOUBLE_CLASS, ndREAL).release();
    array->flags |= matrix::flag_reusable;
    array->ref_count = 0;
    array->internal_ref_count = 1;
    api::ndReleaseInternalReference(array);
    EXPECT_EQ(matrix::cache::CacheInfo().bins[0].count, 1U);
    foundation::core::mem::unguard(array, sizeof(ndArray_tag)); // out of bounds while it's in a bin
    EXPECT_EQ(array->ref_count, 1U);
    EXPECT_EQ(array->internal_ref_count, 0U);
    EXPECT_FALSE(array->flags & matrix::flag_reusable);
}

TEST_F(Destroy, GivesEachBlockBackOnce) {
    for_each_class(class_set::all, [](const class_case& c) {
        for (const dims_list& dims :
             {dims_list{0, 0}, dims_list{2, 3}, dims_list{2, 3, 4}, dims_list{0, 3, 4}}) {
            watches watch;
            ndArray_tag* const array = matrix::detail::do_create_numeric(dims, c.code()).release();
            void* const block = array->pdata;
            matrix::destroyArray(array);
            ASSERT_EQ(watch.headers.freed_headers().size(), 1U);
            EXPECT_EQ(watch.headers.freed_headers()[0].at, array);
            EXPECT_EQ(watch.heap.freed(),
                      block == nullptr ? std::vector<void*>{} : std::vector<void*>{block});
        }
    });
}

TEST_F(Destroy, MarksTheHeaderAsDead) {
    for (const class_case& c : classes_of(class_set::all)) {
        watches watch;
        ndArray_tag* const array = matrix::detail::do_create_numeric(dims_list{2, 3, 4}, c.code()).release();
        array->scope = ndPERSISTENT_SCOPE;
        matrix::destroyArray(array);
        ASSERT_EQ(watch.headers.freed_headers().size(), 1U);
        const freed_header& dead = watch.headers.freed_headers()[0];
        EXPECT_EQ(dead.scope, 7U);
        EXPECT_EQ(dead.class_id, 0x7FFFFFFF);
        EXPECT_EQ(dead.pdata, ~std::uint64_t{0});
        EXPECT_EQ(dead.next, ~std::uint64_t{0});
        EXPECT_TRUE(dead.flags & matrix::flag_inline_dims) << "its dimension block is gone";
    }
}

// Whoever finds a dead header mustn't be led on to a container that may be gone too, or take it for one to be collected.
TEST_F(Destroy, TakesTheHeaderOutOfItsContainerAndOffTheCollectionList) {
    const array_ptr container = matrix::create_cell(dims_list{1, 1});
    for_each_class(class_set::all, [&](const class_case& c) {
        for (const dims_list& dims : {dims_list{0, 0}, dims_list{2, 3}, dims_list{2, 3, 4}}) {
            for (const std::uint32_t listed : {0U, +matrix::flag_on_collection_list}) {
                watches watch;
                ndArray_tag* const array = matrix::detail::do_create_numeric(dims, c.code()).release();
                array->parent = container.get();
                array->flags |= listed;
                matrix::destroyArray(array);
                ASSERT_EQ(watch.headers.freed_headers().size(), 1U);
                EXPECT_EQ(watch.headers.freed_headers()[0].parent, 0U);
                EXPECT_FALSE(watch.headers.freed_headers()[0].flags & matrix::flag_on_collection_list);
            }
        }
    });
}

TEST_F(Destroy, DoesNotMarkAPairThatGoesBackToItsBin) {
    const cache_on cache;
    watches watch;
    ndArray_tag* const array = matrix::create(dims_list{2, 2}, ndDOUBLE_CLASS, ndREAL).release();
    void* const block = array->pdata;
    matrix::destroyArray(array);
    EXPECT_TRUE(watch.headers.freed_headers().empty());
    foundation::core::mem::unguard(array, sizeof(ndArray_tag)); // out of bounds while it's in a bin
    EXPECT_NE(array->scope, 7U);
    EXPECT_EQ(array->class_id, ndDOUBLE_CLASS);
    EXPECT_EQ(array->pdata, block);
    matrix::cache::clear();
    ASSERT_EQ(watch.headers.freed_headers().size(), 1U);
    EXPECT_TRUE(watch.headers.freed_headers()[0].is_poisoned());
    EXPECT_EQ(watch.heap.times_freed(block), 1U);
}

TEST_F(Destroy, LeavesPrivateDataAlone) {
    double mine[6] = {1, 2, 3, 4, 5, 6};
    for (const std::uint32_t flag : {matrix::flag_data_private, matrix::flag_indexing_opaque}) {
        watches watch;
        array_ptr array = matrix::create(dims_list{0, 0}, ndDOUBLE_CLASS, ndREAL);
        array->flags |= flag;
        array->pdata = mine;
        array.reset();
        EXPECT_TRUE(watch.heap.freed().empty());
        EXPECT_EQ(watch.headers.freed_headers().size(), 1U);
    }
    EXPECT_EQ(mine[5], 6.0);
}

// Index vectors belong to the header even where the values don't.
TEST_F(Destroy, GivesIndexVectorsBackUnlessDataArePrivate) {
    const auto& heap = foundation::core::mem::aligned_heap_instance();
    for (const bool data_private : {false, true}) {
        watches watch;
        array_ptr array = matrix::create(dims_list{0, 0}, ndDOUBLE_CLASS, ndREAL);
        array->flags |= matrix::flag_sparse | (data_private ? matrix::flag_data_private : 0U);
        void* const values = heap.calloc(1, 64);
        void* const rows = heap.calloc(1, 64);
        void* const starts = heap.calloc(1, 64);
        array->pdata = values;
        array->info_a = reinterpret_cast<std::uint64_t>(rows);
        array->info_b = reinterpret_cast<std::uint64_t>(starts);
        array->info_c = 8;
        array.reset();
        for (void* const block : {values, rows, starts}) {
            EXPECT_EQ(watch.heap.times_freed(block), data_private ? 0U : 1U);
            if (data_private) heap.free(block);
        }
    }
}

TEST_F(Destroy, LeavesSharedDataToTheOthers) {
    watches watch;
    array_ptr first = arr("int8 1x4", {1, 2, 3, 4});
    void* const block = first->pdata;
    array_ptr second = matrix::detail::do_shared_copy(first.get());
    array_ptr third = matrix::detail::do_shared_copy(second.get());
    first.reset();
    EXPECT_EQ(second->share_record->count.load(), 2U);
    third.reset();
    EXPECT_EQ(second->share_record->count.load(), 1U);
    EXPECT_EQ(watch.heap.times_freed(block), 0U);
    EXPECT_EQ(watch.headers.freed_records(), 0U);
    EXPECT_EQ(static_cast<const std::int8_t*>(second->pdata)[3], 4);
    EXPECT_EQ(matrix::internal::validate(second.get()), "");
    second.reset();
    EXPECT_EQ(watch.heap.times_freed(block), 1U);
    EXPECT_EQ(watch.headers.freed_records(), 1U);
    EXPECT_EQ(watch.headers.freed_headers().size(), 3U);
    for (const freed_header& dead : watch.headers.freed_headers()) EXPECT_TRUE(dead.is_poisoned());
}

TEST_F(Destroy, LeavesSharedIndexVectorsToTheOthers) {
    watches watch;
    array_ptr first = sparse_3x2();
    array_ptr second = matrix::detail::do_shared_copy(first.get());
    first.reset();
    EXPECT_TRUE(watch.heap.freed().empty());
    EXPECT_EQ(matrix::internal::validate(second.get()), "");
    second.reset();
    EXPECT_EQ(watch.heap.freed().size(), 3U);
}

TEST_F(Destroy, OfATemporaryOnlyIfItIsOne) {
    for (std::uint32_t scope = 0; scope < 7; ++scope) {
        watches watch;
        ndArray_tag* const array = arr("double 1x2", {1, 2}).release();
        array->scope = scope;
        api::ndDestroyTempArrayOnArrayList(array);
        const bool ended = watch.ended(array);
        EXPECT_EQ(ended, scope == ndTEMPORARY_SCOPE) << scope;
        if (!ended) matrix::destroyArray(array);
    }
}

TEST_F(Destroy, OfAHeaderInEveryScopeWorks) {
    for (std::uint32_t scope = 0; scope < 7; ++scope) {
        watches watch;
        ndArray_tag* const array = arr("double 1x2", {1, 2}).release();
        array->scope = scope;
        matrix::destroyArray(array);
        EXPECT_TRUE(watch.ended(array));
    }
}

TEST_F(Destroy, ByTheSmartPointerTakesAConstArrayToo) {
    watches watch;
    const ndArray_tag* const array = arr("double").release();
    matrix::detail::ndDestroy_deleter()(array);
    EXPECT_TRUE(watch.ended(array));
    static_assert(noexcept(matrix::detail::ndDestroy_deleter()(array)),
                  "what escapes an end ends the process");
}

} // namespace
} // namespace test
