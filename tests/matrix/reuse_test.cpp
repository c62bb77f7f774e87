// Creators that take over the data of a value that nobody needs any more: which candidate is taken and what becomes of it.
#include "matrix/heap_watch.hpp"
#include "matrix/process_state.hpp"
#include "matrix/validate.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/classes.hpp"
#include "support/module_mode.hpp"

#include <nd/access.hpp>
#include <nd/sizes.hpp>

#include <foundation/core/mem/aligned_heap.hpp>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using dims_list = std::vector<std::size_t>;

using reuse_creator = ndArray_tag* (*)(std::size_t m, std::size_t n, ndClassID id, ndComplexity complexity,
                                       std::size_t count, ndArray_tag** candidates);

struct reuse_row {
    const char* name;
    reuse_creator make;
};
constexpr reuse_row reuse_creators[] = {
    {"ndCreateNumericMatrixWithReuse", api::ndCreateNumericMatrixWithReuse},
    {"ndCreateUninitNumericMatrix", api::ndCreateUninitNumericMatrix},
    {"ndCreateNumericArrayWithReuse",
     [](std::size_t m, std::size_t n, ndClassID id, ndComplexity complexity, std::size_t count,
        ndArray_tag** candidates) {
         const std::size_t dims[] = {m, n};
         return api::ndCreateNumericArrayWithReuse(2, dims, id, complexity, count, candidates);
     }},
    {"ndCreateUninitNumericArray",
     [](std::size_t m, std::size_t n, ndClassID id, ndComplexity complexity, std::size_t count,
        ndArray_tag** candidates) {
         const std::size_t dims[] = {m, n};
         return api::ndCreateUninitNumericArray(2, dims, id, complexity, count, candidates);
     }},
};

array_ptr reusable(std::string_view description) {
    array_ptr array = numbered(description);
    api::ndSetReusable(array.get(), true);
    EXPECT_TRUE(api::ndIsReusable(array.get())) << description;
    return array;
}

// A reusable array whose block has the room that its count is tracked with.
array_ptr tracked(std::size_t count) {
    array_ptr array = matrix::create(dims_list{count, 1}, ndDOUBLE_CLASS, ndREAL);
    const auto& heap = foundation::core::mem::aligned_heap_instance();
    heap.free(array->pdata);
    array->pdata = heap.calloc(1, api::ndGetCapacity(count) * sizeof(double));
    array->flags |= matrix::flag_capacity_tracked;
    api::ndSetReusable(array.get(), true);
    return array;
}

array_ptr make_from(const reuse_row& row, std::size_t m, std::size_t n, std::vector<ndArray_tag*> candidates,
                    ndClassID id = ndDOUBLE_CLASS, ndComplexity complexity = ndREAL) {
    return array_ptr(row.make(m, n, id, complexity, candidates.size(), candidates.data()));
}

template <class Body>
void for_each_reuse_creator(Body&& body) {
    for (const reuse_row& row : reuse_creators) {
        SCOPED_TRACE(row.name);
        body(row);
    }
}

using Reuse = NdTest;

TEST_F(Reuse, WithoutCandidatesGivesAnUninitialisedBlockOfExactSize) {
    for (const bool on : {false, true}) {
        const cache_on cache;
        matrix::cache::setEnabled(on);
        for_each_reuse_creator([](const reuse_row& row) {
            heap_watch heap;
            const array_ptr array = make_from(row, 3, 5, {});
            EXPECT_EQ(heap.requests(), (std::vector<heap_request>{{heap_request::slot::malloc, 1, 120}}));
            EXPECT_EQ(array->flags & (matrix::flag_cached_header | matrix::flag_bin_mask), 0U);
            EXPECT_EQ(array->share_record, nullptr);
        });
        EXPECT_EQ(matrix::cache::CacheInfo().total_count, 0U) << "never from the cache, never to it";
    }
}

TEST_F(Reuse, SharesTheDataOfTheCandidate) {
    for_each_reuse_creator([](const reuse_row& row) {
        const array_ptr old = reusable("double 4x3");
        const array_ptr array = make_from(row, 2, 6, {old.get()});
        EXPECT_EQ(array->pdata, old->pdata);
        EXPECT_EQ(array->share_record, old->share_record);
        ASSERT_NE(array->share_record, nullptr);
        EXPECT_EQ(array->share_record->count.load(), 2U);
        EXPECT_TRUE(array->is_data_shared_only_with_impl(old.get()));
        EXPECT_FALSE(api::ndIsReusable(old.get()));
        EXPECT_FALSE(api::ndIsReusable(array.get()));
        EXPECT_EQ(api::ndGetM(array.get()), 2U);
        EXPECT_EQ(api::ndGetN(array.get()), 6U);
        EXPECT_EQ(array->ref_count, 1U);
        EXPECT_EQ(static_cast<const double*>(array->pdata)[11], 12.0);
        EXPECT_EQ(matrix::internal::validate(array.get()), "");
        EXPECT_EQ(matrix::internal::validate(old.get()), "");
    });
}

TEST_F(Reuse, GoesByElementSizeNotByClass) {
    struct {
        const char* candidate;
        ndClassID id;
        ndComplexity complexity;
        bool taken;
    } constexpr rows[] = {
        {"int64 2x3", ndDOUBLE_CLASS, ndREAL, true},
        {"complex single 2x3", ndDOUBLE_CLASS, ndREAL, true},
        {"double 2x3", ndSINGLE_CLASS, ndCOMPLEX, true},
        {"logical 2x3", ndINT8_CLASS, ndREAL, true},
        {"char 2x3", ndUINT16_CLASS, ndREAL, true},
        {"double 2x3", ndSINGLE_CLASS, ndREAL, false},
        {"complex double 2x3", ndDOUBLE_CLASS, ndREAL, false},
        {"char 2x3", ndCHAR_CLASS, ndREAL, true},
        {"int8 2x3", ndINT16_CLASS, ndREAL, false},
        // Six elements of eight bytes and twelve of four are as long, but not alike.
        {"single 4x3", ndDOUBLE_CLASS, ndREAL, false},
    };
    for_each_reuse_creator([&](const reuse_row& creator) {
        for (const auto& row : rows) {
            const array_ptr old = reusable(row.candidate);
            const array_ptr array = make_from(creator, 2, 3, {old.get()}, row.id, row.complexity);
            EXPECT_EQ(array->pdata == old->pdata, row.taken) << row.candidate << " for class " << row.id;
            EXPECT_EQ(api::ndIsReusable(old.get()), !row.taken) << "left as it was unless taken";
        }
    });
}

// A char array that carries the complex bit still has elements of two bytes.
TEST_F(Reuse, ReadsTheElementSizeThatIsStored) {
    const array_ptr text = reusable("char 2x3");
    text->flags |= matrix::flag_complex;
    const array_ptr array = make_from(reuse_creators[0], 2, 3, {text.get()}, ndUINT16_CLASS);
    EXPECT_EQ(array->pdata, text->pdata);
    text->flags &= ~matrix::flag_complex;
}

TEST_F(Reuse, TakesTheFirstThatFits) {
    for_each_reuse_creator([](const reuse_row& row) {
        const array_ptr used = numbered("double 2x3");
        const array_ptr shorter = reusable("double 2x2");
        const array_ptr other_size = reusable("single 2x3");
        const array_ptr first = reusable("double 3x2");
        const array_ptr second = reusable("double 2x3");
        const array_ptr array =
            make_from(row, 2, 3, {used.get(), shorter.get(), other_size.get(), first.get(), second.get()});
        EXPECT_EQ(array->pdata, first->pdata);
        EXPECT_FALSE(api::ndIsReusable(first.get()));
        for (const array_ptr* left : {&shorter, &other_size, &second})
            EXPECT_TRUE(api::ndIsReusable(left->get()));
        EXPECT_EQ(used->share_record, nullptr);
        EXPECT_EQ(second->share_record, nullptr);
    });
}

TEST_F(Reuse, LooksAtNoMoreThanTheCountGiven) {
    const array_ptr old = reusable("double 2x3");
    ndArray_tag* candidates[] = {old.get()};
    const array_ptr array(api::ndCreateNumericMatrixWithReuse(2, 3, ndDOUBLE_CLASS, ndREAL, 0, candidates));
    EXPECT_NE(array->pdata, old->pdata);
}

// Two counts whose blocks were made with the same room can take each other's place.
TEST_F(Reuse, GoesByTrackedCapacity) {
    struct {
        std::size_t had, wanted;
        bool taken;
    } constexpr rows[] = {{300, 300, true},  {300, 400, true},  {300, 512, true}, {300, 257, true},
                          {300, 256, false}, {300, 513, false}, {512, 300, true}, {256, 200, false},
                          {200, 200, true},  {513, 1000, true}};
    for_each_reuse_creator([&](const reuse_row& creator) {
        for (const auto& row : rows) {
            SCOPED_TRACE(std::to_string(row.had) + " for " + std::to_string(row.wanted));
            const array_ptr old = tracked(row.had);
            const array_ptr array = make_from(creator, row.wanted, 1, {old.get()});
            EXPECT_EQ(array->pdata == old->pdata, row.taken);
            EXPECT_EQ((array->flags & matrix::flag_capacity_tracked) != 0, row.taken)
                << "with the candidate's room";
        }
    });
}

TEST_F(Reuse, WithoutTrackingNeedsTheExactLength) {
    const array_ptr old = reusable("double 300x1");
    const array_ptr array = make_from(reuse_creators[0], 301, 1, {old.get()});
    EXPECT_NE(array->pdata, old->pdata);
    EXPECT_FALSE(array->flags & matrix::flag_capacity_tracked);
}

TEST_F(Reuse, PassesOverPrivateData) {
    double block[6] = {};
    const array_ptr old = matrix::create(dims_list{0, 0}, ndDOUBLE_CLASS, ndREAL);
    old->flags |= matrix::flag_data_private;
    old->pdata = block;
    old->set_dimensions(dims_list{2, 3});
    api::ndSetReusable(old.get(), true);
    ASSERT_TRUE(api::ndIsReusable(old.get()));
    const array_ptr array = make_from(reuse_creators[0], 2, 3, {old.get()});
    EXPECT_NE(array->pdata, old->pdata);
}

TEST_F(Reuse, PassesOverContainersAndWhateverHoldsReferences) {
    for (const class_case& c : classes_of(class_set::all)) {
        if (c.element_size != 8 || matrix::internal::has_plain_elements(c.id)) continue;
        SCOPED_TRACE(c.name);
        const array_ptr old = matrix::detail::do_create_numeric(dims_list{2, 3}, c.code());
        api::ndSetReusable(old.get(), true);
        ASSERT_TRUE(api::ndIsReusable(old.get()));
        const array_ptr array = make_from(reuse_creators[0], 2, 3, {old.get()});
        EXPECT_NE(array->pdata, old->pdata);
        EXPECT_TRUE(api::ndIsReusable(old.get()));
        EXPECT_EQ(old->share_record, nullptr);
    }
}

// The bytes of a number must not become references: the new array would end by following them.
TEST_F(Reuse, MakesNoContainerOutOfNumbers) {
    for (const class_case& c : classes_of(class_set::all)) {
        if (c.element_size != 8 || matrix::internal::has_plain_elements(c.id)) continue;
        SCOPED_TRACE(c.name);
        const array_ptr old = reusable("double 2x3");
        const array_ptr array = make_from(reuse_creators[0], 2, 3, {old.get()}, c.id);
        EXPECT_NE(array->pdata, old->pdata);
        // Were the numbers taken, they must not be followed here.
        if (array->pdata == old->pdata) array->class_id = ndDOUBLE_CLASS;
    }
}

TEST_F(Reuse, OfACachedBlockLeavesThePairWithTheCandidate) {
    const cache_on cache;
    for (const bool candidate_first : {true, false}) {
        array_ptr old = reusable("double 2x3");
        ASSERT_TRUE(old->flags & matrix::flag_cached_header);
        void* const block = old->pdata;
        array_ptr array = make_from(reuse_creators[0], 3, 2, {old.get()});
        EXPECT_EQ(array->pdata, block);
        EXPECT_FALSE(array->flags & matrix::flag_cached_header);
        EXPECT_EQ(matrix::internal::validate(array.get()), "");
        heap_watch heap;
        (candidate_first ? old : array).reset();
        EXPECT_EQ(heap.times_freed(block), 0U);
        EXPECT_EQ(matrix::cache::CacheInfo().total_count, 0U);
        (candidate_first ? array : old).reset();
        const std::size_t pairs = matrix::cache::CacheInfo().total_count;
        EXPECT_EQ(heap.times_freed(block) + pairs, 1U) << "freed, or back in the bin, once";
        matrix::cache::clear();
        EXPECT_EQ(heap.times_freed(block), 1U);
    }
}

TEST_F(Reuse, TheTakerAloneOwnsTheDataAfterTheCandidatesEnd) {
    array_ptr old = reusable("double 2x3");
    const array_ptr array = make_from(reuse_creators[0], 2, 3, {old.get()});
    old.reset();
    EXPECT_FALSE(array->is_data_shared_impl());
    EXPECT_THAT(array, EqualsArray(numbered("double 2x3")));
}

TEST_F(Reuse, FitsInManyDimensions) {
    const array_ptr old = reusable("double 4x3");
    ndArray_tag* candidates[] = {old.get()};
    const std::size_t dims[] = {2, 2, 3, 1};
    const array_ptr array(api::ndCreateNumericArrayWithReuse(4, dims, ndDOUBLE_CLASS, ndREAL, 1, candidates));
    EXPECT_EQ(array->pdata, old->pdata);
    EXPECT_EQ(api::ndGetNumberOfDimensions(array.get()), 3U);
    const std::size_t none = 0;
    const array_ptr empty(api::ndCreateUninitNumericArray(0, &none, ndDOUBLE_CLASS, ndREAL, 1, candidates));
    EXPECT_EQ(empty->pdata, nullptr);
    EXPECT_EQ(api::ndGetM(empty.get()), 0U);
}

TEST_F(Reuse, ChecksTheSizeBeforeItLooks) {
    for_each_module_mode([](int mode) {
        for_each_reuse_creator([&](const reuse_row& row) {
            const array_ptr old = reusable("double 2x3");
            ndArray_tag* candidates[] = {old.get()};
            const auto call = [&] {
                return row.make(std::size_t{1} << 40, std::size_t{1} << 40, ndDOUBLE_CLASS, ndREAL, 1,
                                candidates);
            };
            if (mode == mode_exceptions) {
                EXPECT_THROW(call(), foundation::core::except::Exception<TARVEL::legacy_two_part::pmaxsize>);
            } else {
                EXPECT_EQ(call(), nullptr);
            }
            EXPECT_TRUE(api::ndIsReusable(old.get()));
        });
    });
}

} // namespace
} // namespace test
