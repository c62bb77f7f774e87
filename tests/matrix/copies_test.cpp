// Copies: what a new header takes over and what it loses, whose block it has, and that nothing below a deep copy is shared.
#include "matrix/arraycpy.hpp"
#include "matrix/class_table.hpp"
#include "matrix/header_watch.hpp"
#include "matrix/heap_watch.hpp"
#include "matrix/process_state.hpp"
#include "matrix/sharing.hpp"
#include "matrix/sparse_array.hpp"
#include "matrix/validate.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/classes.hpp"
#include "support/death.hpp"
#include "support/snapshot.hpp"
#include "support/variations.hpp"

#include <foundation/core/mem/aligned_heap.hpp>
#include <nd/access.hpp>
#include <nd/typed.hpp>

#include <cstdlib>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::detail::do_deep_copy;
using matrix::detail::do_shared_copy;
using dims_list = std::vector<std::size_t>;

constexpr std::uint32_t kept_by_copies = 0xFFD809B9;

// The bits that say something about a header of its own and may be set on an ordinary array.
constexpr std::uint32_t every_bit_by_itself[] = {
    0x1,        0x4,        0x8,        0x20,       0x40,      0x80,      0x200,     0x400,
    0x800,      0x1000,     0x2000,     0x200000,   0x1000000, 0x2000000, 0x4000000, 0x8000000,
    0x10000000, 0x20000000, 0x40000000, 0x80000000, 0x400000,  0x800000,  0x100000};

using HeaderCopy = NdTest;

TEST_F(HeaderCopy, KeepsAndLosesEachBit) {
    for (const std::uint32_t bit : every_bit_by_itself) {
        const array_ptr source = matrix::create(dims_list{0, 3}, ndSINGLE_CLASS, ndREAL);
        const std::uint32_t plain = source->flags;
        source->flags |= bit;
        const array_ptr copy = matrix::internal::copy_header(source.get());
        EXPECT_EQ(copy->flags, (plain | bit) & kept_by_copies) << std::hex << bit;
        copy->flags = plain;
        source->flags = plain;
    }
}

TEST_F(HeaderCopy, LosesAllThatIsSetAtOnce) {
    const array_ptr source = matrix::create(dims_list{0, 3}, ndSINGLE_CLASS, ndREAL);
    const std::uint32_t plain = source->flags;
    source->flags = ~0U & ~matrix::flag_sparse & ~matrix::flag_indexing_opaque;
    const array_ptr copy = matrix::internal::copy_header(source.get());
    EXPECT_EQ(copy->flags, source->flags & kept_by_copies);
    source->flags = copy->flags = plain;
}

TEST_F(HeaderCopy, BeginsALifeOfItsOwn) {
    const array_ptr source = arr("double 1x3", {1, 2, 3});
    source->scope = ndPERSISTENT_SCOPE;
    source->ref_count = 5;
    source->internal_ref_count = 6;
    source->parent = source.get();
    const array_ptr copy = matrix::internal::copy_header(source.get());
    EXPECT_EQ(copy->scope, 0U);
    EXPECT_EQ(copy->ref_count, 1U);
    EXPECT_EQ(copy->internal_ref_count, 0U);
    EXPECT_EQ(copy->share_record, nullptr);
    EXPECT_EQ(copy->next, nullptr);
    EXPECT_EQ(copy->parent, nullptr);
    EXPECT_EQ(copy->root_record, nullptr);
    EXPECT_EQ(copy->dims32, nullptr);
    EXPECT_EQ(copy->pdata, nullptr);
    copy->set_dimensions(dims_list{0, 0});
    source->ref_count = 1;
    source->internal_ref_count = 0;
    source->parent = nullptr;
    source->scope = ndLOCAL_SCOPE;
}

TEST_F(HeaderCopy, HasADimensionBlockOfItsOwn) {
    const array_ptr source = matrix::create(dims_list{2, 0, 4}, ndINT8_CLASS, ndREAL);
    const array_ptr copy = matrix::internal::copy_header(source.get());
    EXPECT_NE(copy->m_or_dims, source->m_or_dims);
    EXPECT_EQ(copy->n_or_ndims, 3U);
    EXPECT_EQ(api::ndGetDimensions(copy.get())[2], 4U);
}

using SharedCopy = NdTest;

TEST_F(SharedCopy, OfNullIsNull) {
    EXPECT_EQ(do_shared_copy(nullptr), nullptr);
    EXPECT_EQ(do_deep_copy(nullptr), nullptr);
}

TEST_F(SharedCopy, HasTheSameBlockThroughOneRecord) {
    for_each_class(class_set::with_bytes, [](const class_case& c) {
        for_each_variation(numbered(c.id, c.complexity, dims_list{2, 3, 2}), [](array_ptr& source) {
            source->flags |= matrix::flag_empty_square_bracket | 0x3C000000;
            const std::uint32_t sharers =
                source->share_record == nullptr ? 1 : source->share_record->count.load();
            const std::uint32_t before = source->flags;
            const array_ptr copy = do_shared_copy(source.get());
            EXPECT_EQ(copy->pdata, source->pdata);
            EXPECT_EQ(copy->share_record, source->share_record);
            EXPECT_EQ(copy->share_record->count.load(), sharers + 1);
            EXPECT_EQ(copy->scope, 0U);
            EXPECT_EQ(copy->ref_count, 1U);
            EXPECT_EQ(copy->flags,
                      (before & kept_by_copies) | (before & 0x7E000U) | matrix::flag_shared_data);
            EXPECT_EQ(source->flags, (before & ~matrix::flag_reusable) | matrix::flag_shared_data);
            EXPECT_THAT(copy, EqualsArray(source.get()));
            EXPECT_EQ(matrix::internal::validate(source.get()), "");
        });
    });
}

TEST_F(SharedCopy, EndsTheReuseOfItsSource) {
    const array_ptr source = arr("double 1x3", {1, 2, 3});
    api::ndSetReusable(source.get(), true);
    const array_ptr copy = do_shared_copy(source.get());
    EXPECT_FALSE(api::ndIsReusable(source.get()));
    EXPECT_FALSE(api::ndIsReusable(copy.get()));
}

TEST_F(SharedCopy, WithoutDataJoinsNoRecord) {
    for (const char* description : {"double 0x3", "cell 0x0", "char 0x0"}) {
        const array_ptr source = arr(description);
        const array_ptr copy = do_shared_copy(source.get());
        EXPECT_EQ(source->share_record, nullptr);
        EXPECT_EQ(copy->share_record, nullptr);
        EXPECT_FALSE(copy->flags & matrix::flag_shared_data);
        EXPECT_THAT(copy, EqualsArray(source.get()));
    }
}

// An opaque class manages what its payload means: headers over it don't count each other.
TEST_F(SharedCopy, OfAnIndexingOpaqueArrayJoinsNoRecord) {
    long payload = 0;
    const array_ptr source =
        matrix::detail::do_create_numeric(dims_list{0, 0}, matrix::internal::code_of(ndOPAQUE_CLASS, false));
    source->flags |= matrix::flag_indexing_opaque;
    source->pdata = &payload;
    const array_ptr copy = do_shared_copy(source.get());
    EXPECT_EQ(copy->pdata, &payload);
    EXPECT_EQ(copy->share_record, nullptr);
    EXPECT_EQ(source->share_record, nullptr);
}

TEST_F(SharedCopy, OfPrivateDataIsFatal) {
    double mine = 1;
    const array_ptr source = matrix::create(dims_list{0, 0}, ndDOUBLE_CLASS, ndREAL);
    source->pdata = &mine;
    source->flags |= matrix::flag_data_private;
    EXPECT_TERMINATE(do_shared_copy(source.get()), "ERROR: sharing /* PRIVATE */ data ndArray.");
    const termination seen = catch_terminate([&] { do_shared_copy(source.get()); });
    EXPECT_EQ(seen.file, "matrix/sharing");
    EXPECT_EQ(source->share_record, nullptr);
    const diagnostics_switched_off off;
    EXPECT_TERMINATE(do_shared_copy(source.get()), "ERROR: sharing /* PRIVATE */ data ndArray.");
}

TEST_F(SharedCopy, OfDataPrivateToTheGroupIsAllowed) {
    const array_ptr source = arr("double 1x3", {1, 2, 3});
    source->flags |= matrix::flag_data_private | matrix::flag_share_data_private;
    const array_ptr copy = do_shared_copy(source.get());
    EXPECT_EQ(copy->pdata, source->pdata);
    EXPECT_EQ(copy->flags & (matrix::flag_data_private | matrix::flag_share_data_private), 0U);
    source->flags &= ~(matrix::flag_data_private | matrix::flag_share_data_private);
}

TEST_F(SharedCopy, OfASparseArrayHasItsIndexVectors) {
    const array_ptr source = sparse_3x2();
    const array_ptr copy = do_shared_copy(source.get());
    EXPECT_EQ(copy->info_a, source->info_a);
    EXPECT_EQ(copy->info_b, source->info_b);
    EXPECT_EQ(copy->info_c, 4U);
    EXPECT_EQ(copy->pdata, source->pdata);
    EXPECT_EQ(copy->share_record->count.load(), 2U);
    EXPECT_EQ(matrix::internal::validate(copy.get()), "");
}

TEST_F(SharedCopy, AsksWhoSharesExactly) {
    const array_ptr a = arr("double 1x3", {1, 2, 3});
    array_ptr b = do_shared_copy(a.get());
    EXPECT_TRUE(a->is_data_shared_impl());
    EXPECT_TRUE(a->is_data_shared_with_impl(b.get()));
    EXPECT_TRUE(a->is_data_shared_only_with_impl(b.get()));
    array_ptr c = do_shared_copy(b.get());
    EXPECT_TRUE(a->is_data_shared_with_impl(c.get()));
    EXPECT_FALSE(a->is_data_shared_only_with_impl(b.get()));
    const array_ptr stranger = arr("double 1x3", {1, 2, 3});
    const array_ptr strangers_copy = do_shared_copy(stranger.get());
    EXPECT_FALSE(a->is_data_shared_with_impl(stranger.get()));
    EXPECT_FALSE(stranger->is_data_shared_only_with_impl(a.get()));
    b.reset();
    c.reset();
    EXPECT_FALSE(a->is_data_shared_impl());
    EXPECT_FALSE(a->is_data_shared_with_impl(a.get())) << "alone with a record";
}

TEST_F(SharedCopy, OfACellSharesTheSlots) {
    const array_ptr cell = arr("cell 1x2", arr("double", {1}), arr("cell 1x1", arr("char", u"a")));
    const array_ptr copy = do_shared_copy(cell.get());
    EXPECT_EQ(copy->pdata, cell->pdata);
    EXPECT_EQ(static_cast<ndArray_tag**>(cell->pdata)[0]->ref_count, 1U) << "elements are untouched";
    EXPECT_THAT(copy, EqualsArray(cell.get()));
}

TEST_F(SharedCopy, OfACachedArrayIsCached) {
    const cache_on cache;
    const array_ptr source = arr("double 1x10");
    const array_ptr copy = do_shared_copy(source.get());
    EXPECT_EQ(copy->flags & 0x7E000U, source->flags & 0x7E000U);
    EXPECT_TRUE(copy->flags & matrix::flag_cached_header);
    const array_ptr plain = matrix::create(dims_list{3000, 1}, ndDOUBLE_CLASS, ndREAL);
    EXPECT_EQ(do_shared_copy(plain.get())->flags & 0x7E000U, 0U);
}

using DeepCopy = NdTest;

TEST_F(DeepCopy, HasABlockOfItsOwn) {
    for_each_class(class_set::with_bytes, [](const class_case& c) {
        for (const dims_list& dims :
             {dims_list{2, 3}, dims_list{0, 3}, dims_list{2, 2, 2}, dims_list{1, 1}}) {
            for_each_variation(numbered(c.id, c.complexity, dims), [](array_ptr& source) {
                const snapshot before(source.get());
                const array_ptr copy = do_deep_copy(source.get());
                EXPECT_EQ(before.difference(), "");
                EXPECT_THAT(copy, EqualsArray(source.get()));
                EXPECT_TRUE(copy->pdata == nullptr || copy->pdata != source->pdata);
                EXPECT_EQ(copy->share_record, nullptr);
                EXPECT_EQ(copy->flags, source->flags & kept_by_copies);
                EXPECT_EQ(copy->scope, 0U);
                EXPECT_EQ(copy->ref_count, 1U);
            });
        }
    });
}

TEST_F(DeepCopy, AllocatesWhatTheElementsTake) {
    const array_ptr source = arr("complex int16 2x3");
    heap_watch heap;
    header_watch headers;
    const array_ptr copy = do_deep_copy(source.get());
    EXPECT_EQ(heap.requests(), (std::vector<heap_request>{{heap_request::slot::malloc, 1, 24}}));
    EXPECT_EQ(headers.requests(), (std::vector<std::size_t>{112}));
}

// A char or logical array that carries the complex bit has elements of its own size all the same.
TEST_F(DeepCopy, CopiesTheElementsOfAMarkedCharArray) {
    for (const char* description : {"char 1x3", "logical 1x3"}) {
        const array_ptr source = numbered(description);
        source->flags |= matrix::flag_complex;
        const array_ptr copy = do_deep_copy(source.get());
        EXPECT_TRUE(copy->flags & matrix::flag_complex);
        source->flags &= ~matrix::flag_complex;
        copy->flags &= ~matrix::flag_complex;
        EXPECT_THAT(copy, EqualsArray(source.get()));
    }
}

TEST_F(DeepCopy, OfPrivateDataIsOwned) {
    double mine[3] = {1, 2, 3};
    const array_ptr source = matrix::create(dims_list{0, 0}, ndDOUBLE_CLASS, ndREAL);
    source->flags |= matrix::flag_data_private;
    source->pdata = mine;
    source->set_dimensions(dims_list{1, 3});
    const array_ptr copy = do_deep_copy(source.get());
    EXPECT_NE(copy->pdata, mine);
    EXPECT_FALSE(copy->flags & matrix::flag_data_private);
    EXPECT_THAT(copy, EqualsArray(arr("double 1x3", {1, 2, 3})));
}

TEST_F(DeepCopy, SharesNothingBelow) {
    const array_ptr cell = arr("cell 2x2", arr("double 1x2", {1, 2}), nullptr,
                               arr("cell 1x2", arr("char", u"ab"), nullptr), arr("cell 0x0"));
    for_each_variation(cell, [&](array_ptr& source) {
        const snapshot before(source.get());
        const array_ptr copy = do_deep_copy(source.get());
        EXPECT_EQ(before.difference(), "");
        EXPECT_THAT(copy, EqualsArray(source.get()));
        EXPECT_EQ(matrix::internal::validate(copy.get()), "");
        auto* const* from = static_cast<ndArray_tag**>(source->pdata);
        auto* const* to = static_cast<ndArray_tag**>(copy->pdata);
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_EQ(from[i] == nullptr, to[i] == nullptr);
            if (to[i] == nullptr) continue;
            EXPECT_NE(to[i], from[i]);
            EXPECT_EQ(to[i]->scope, static_cast<unsigned>(ndMEMBER_SCOPE));
            EXPECT_EQ(to[i]->ref_count, 1U);
        }
    });
}

TEST_F(DeepCopy, OfASparseArrayCopiesWhatIsStoredAndTheRoom) {
    const array_ptr source = sparse_3x2();
    heap_watch heap;
    const array_ptr copy = do_deep_copy(source.get());
    std::size_t bytes = 0;
    for (const heap_request& request : heap.requests()) bytes += request.size;
    EXPECT_EQ(bytes, 4U * 8 + 4U * 8 + 3U * 8) << "values, rows, column starts";
    EXPECT_TRUE(copy->flags & matrix::flag_sparse);
    EXPECT_EQ(copy->info_c, 4U);
    EXPECT_NE(copy->info_a, source->info_a);
    EXPECT_NE(copy->info_b, source->info_b);
    const matrix::typed_sparse_matrix<double> view(copy.get());
    EXPECT_THAT(view.values(), ::testing::ElementsAre(1.5, 2.5));
    EXPECT_THAT(view.rows(), ::testing::ElementsAre(1, 2));
    EXPECT_THAT(view.column_starts(), ::testing::ElementsAre(0, 1, 2));
    EXPECT_EQ(matrix::internal::validate(copy.get()), "");
}

// An emptied sparse header has no index vectors to read. In a child process: there might be a crash.
TEST_F(DeepCopy, OfASparseHeaderWithoutIndexVectorsIsOneToo) {
    const auto copies_well = [] {
        const array_ptr source = matrix::create(dims_list{0, 0}, ndDOUBLE_CLASS, ndREAL);
        source->flags |= matrix::flag_sparse;
        const array_ptr deep = do_deep_copy(source.get());
        const array_ptr shared = do_shared_copy(source.get());
        std::_Exit(matrix::internal::validate(deep.get()).empty() &&
                           matrix::internal::validate(shared.get()).empty()
                       ? 0
                       : 1);
    };
    EXPECT_EXIT(copies_well(), ::testing::ExitedWithCode(0), "");
}

TEST_F(DeepCopy, OfAnElementThatStandsTwiceMakesTwo) {
    array_ptr element = arr("cell 1x1", arr("double", {1}));
    const array_ptr cell = matrix::create_cell(dims_list{1, 2});
    element->scope = ndMEMBER_SCOPE;
    element->ref_count = 2;
    static_cast<ndArray_tag**>(cell->pdata)[0] = element.get();
    static_cast<ndArray_tag**>(cell->pdata)[1] = element.release();
    const array_ptr copy = do_deep_copy(cell.get());
    EXPECT_NE(static_cast<ndArray_tag**>(copy->pdata)[0], static_cast<ndArray_tag**>(copy->pdata)[1]);
    EXPECT_THAT(copy, EqualsArray(cell.get()));
}

TEST_F(DeepCopy, OfEveryEmptyContainer) {
    for (const ndClassID id : {ndCELL_CLASS, ndSTRUCT_CLASS, ndOBJECT_CLASS}) {
        for (const dims_list& dims : {dims_list{0, 0}, dims_list{0, 2, 2}}) {
            const array_ptr source =
                matrix::detail::do_create_numeric(dims, matrix::internal::code_of(id, false));
            const array_ptr copy = do_deep_copy(source.get());
            EXPECT_EQ(copy->class_id, id);
            EXPECT_EQ(copy->pdata, nullptr);
            EXPECT_EQ(matrix::internal::validate(copy.get()), "");
        }
    }
}

// Leaving the group when the last owner of a header goes.
using ReleaseData = NdTest;

TEST_F(ReleaseData, SaysWhoFreesTheBlock) {
    const array_ptr alone = arr("double 1x3", {1, 2, 3});
    EXPECT_TRUE(matrix::internal::release_data_for_destroy(alone.get()));
    EXPECT_NE(alone->pdata, nullptr);

    const array_ptr a = arr("double 1x3", {1, 2, 3});
    const array_ptr b = do_shared_copy(a.get());
    a->flags |= matrix::flag_capacity_tracked;
    EXPECT_FALSE(matrix::internal::release_data_for_destroy(a.get()));
    EXPECT_EQ(a->pdata, nullptr);
    EXPECT_EQ(a->share_record, nullptr);
    EXPECT_EQ(a->flags & (matrix::flag_shared_data | matrix::flag_capacity_tracked), 0U);
    EXPECT_TRUE(matrix::internal::release_data_for_destroy(b.get()));
    EXPECT_NE(b->pdata, nullptr);
    EXPECT_EQ(b->share_record->count.load(), 1U) << "a count never rests at 0";
    a->set_dimensions({});
}

TEST_F(ReleaseData, OfASparseHeaderLetsTheIndexVectorsGo) {
    const auto& heap = foundation::core::mem::aligned_heap_instance();
    const array_ptr a = matrix::create(dims_list{1, 1}, ndDOUBLE_CLASS, ndREAL);
    const array_ptr b = do_shared_copy(a.get());
    a->flags |= matrix::flag_sparse;
    void* const rows = heap.calloc(1, 64);
    a->info_a = a->info_b = reinterpret_cast<std::uint64_t>(rows);
    EXPECT_FALSE(matrix::internal::release_data_for_destroy(a.get()));
    EXPECT_EQ(a->info_a, 0U);
    EXPECT_EQ(a->info_b, 0U);
    heap.free(rows);
}

int ended_by_deleter = 0;
void count_and_free(void* block) {
    ++ended_by_deleter;
    foundation::core::mem::aligned_heap_instance().free(block);
}

// A sharer that gets another block leaves the group: that block is its own, and the group's block stays the group's.
TEST_F(SharedCopy, ASharerThatGetsAnotherBlockLeavesTheGroup) {
    for (const bool with_deleter : {true, false}) {
        SCOPED_TRACE(with_deleter);
        ended_by_deleter = 0;
        matrix::array_ptr source(api::ndCreateDoubleMatrix(100, 10, ndREAL));
        matrix::array_ptr sharer(api::ndCreateSharedCopyNotOnArrayList(source.get()));
        void* const block = foundation::core::mem::aligned_heap_instance().calloc(1000, sizeof(double));
        ASSERT_NE(block, nullptr);
        sharer->set_pdata_and_deleter(block, with_deleter ? count_and_free : nullptr);
        EXPECT_EQ(sharer->pdata, block);
        EXPECT_NE(source->pdata, block);
        EXPECT_FALSE(source->hasCustomDeleter());
        sharer.reset();
        EXPECT_EQ(ended_by_deleter, with_deleter ? 1 : 0);
        source.reset();
        EXPECT_EQ(ended_by_deleter, with_deleter ? 1 : 0);
    }
}

} // namespace
} // namespace test
