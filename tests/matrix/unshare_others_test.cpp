// The array keeps its block and the other sharers move to a copy, or are emptied. Only single-threaded sharers can be reached.
#include "matrix/scaffolding.hpp"
#include "matrix/share_record.hpp"
#include "matrix/sparse_array.hpp"
#include "matrix/unshare.hpp"
#include "matrix/validate.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/fault_injection.hpp"
#include "support/fixture.hpp"
#include "support/snapshot.hpp"

#include <foundation/core/mem/aligned_heap.hpp>
#include <nd/access.hpp>
#include <nd/interleaved.hpp>
#include <nd/memory.hpp>
#include <nd/share.hpp>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::detail::do_shared_copy;
using matrix::internal::validate;
using dims_list = std::vector<std::size_t>;

int deleter_calls = 0;
void count_and_free(void* block) {
    ++deleter_calls;
    foundation::core::mem::aligned_heap_instance().free(block);
}

std::vector<ndArray_tag*> listed(const array_ptr& array) {
    const sharer_list* const list = array->share_record == nullptr ? nullptr : array->share_record->sharers;
    return list == nullptr ? std::vector<ndArray_tag*>()
                           : std::vector<ndArray_tag*>(list->begin(), list->end());
}

// A group of single-threaded sharers, each a copy of the one before.
std::vector<array_ptr> group_of(array_ptr first, std::size_t size) {
    first->set_data_sharing_single_threaded(true);
    std::vector<array_ptr> group;
    group.push_back(std::move(first));
    while (group.size() < size) group.push_back(do_shared_copy(group.back().get()));
    return group;
}

void expect_valid(const std::vector<array_ptr>& group) {
    for (const array_ptr& array : group) EXPECT_EQ(validate(array.get()), "");
}

using SingleThreaded = NdTest;

TEST_F(SingleThreaded, SharersStandOnTheListInOrder) {
    const auto group = group_of(numbered("double 1x3"), 4);
    std::vector<ndArray_tag*> all;
    for (const array_ptr& array : group) all.push_back(array.get());
    EXPECT_EQ(listed(group[0]), all);
    group[1]->set_data_sharing_single_threaded(false);
    EXPECT_EQ(listed(group[0]), (std::vector{all[0], all[2], all[3]}));
    group[1]->set_data_sharing_single_threaded(true);
    group[1]->set_data_sharing_single_threaded(true);
    EXPECT_EQ(listed(group[0]), (std::vector{all[0], all[2], all[3], all[1]}));
    expect_valid(group);
}

TEST_F(SingleThreaded, ListIsMadeWhenARecordIsThereAlready) {
    const array_ptr a = numbered("double 1x3");
    const array_ptr b = do_shared_copy(a.get());
    EXPECT_EQ(a->share_record->sharers, nullptr);
    a->set_data_sharing_single_threaded(false);
    EXPECT_EQ(a->share_record->sharers, nullptr);
    a->set_data_sharing_single_threaded(true);
    EXPECT_EQ(listed(a), std::vector{a.get()});
    EXPECT_EQ(validate(a.get()), "");
}

TEST_F(SingleThreaded, SharersLeaveTheList) {
    auto group = group_of(numbered("double 1x3"), 3);
    group.pop_back();
    EXPECT_EQ(listed(group[0]), (std::vector{group[0].get(), group[1].get()}));
    api::ndUnshare(group[1].get());
    EXPECT_EQ(listed(group[0]), std::vector{group[0].get()});
    expect_valid(group);
}

TEST_F(SingleThreaded, TwoSharersNeedNoHeapForTheList) {
    const array_ptr a = numbered("double 1x3");
    a->set_data_sharing_single_threaded(true);
    const injection counted({0, fault_plan::follow_up::none, 0});
    const array_ptr b = do_shared_copy(a.get());
    EXPECT_EQ(counted.points(), 3) << "header, record, list";
}

// A sharer that gets a block, or a deleter, of its own stands on the list of its own record: its later copies find it there.
TEST_F(SingleThreaded, SharersWithABlockOfTheirOwnAreListedAgain) {
    const auto group = group_of(numbered("double 1x3"), 3);
    api::ndSetData(group[1].get(), api::ndCallocEx(3, sizeof(double)), count_and_free);
    EXPECT_EQ(listed(group[0]), (std::vector{group[0].get(), group[2].get()}));
    EXPECT_EQ(listed(group[1]), std::vector{group[1].get()});
    expect_valid(group);
    const array_ptr copy = do_shared_copy(group[1].get());
    EXPECT_EQ(api::ndUnshareOtherArrays(copy.get()), 0);
    EXPECT_NE(copy->pdata, group[1]->pdata);
    EXPECT_EQ(validate(copy.get()), "");
    expect_valid(group);
}

using UnshareOthers = NdTest;

TEST_F(UnshareOthers, LeavesTheBlockWithTheArray) {
    for (const std::size_t size : {2U, 3U, 5U}) {
        for (std::size_t keeper = 0; keeper < size; ++keeper) {
            const auto group = group_of(numbered("complex single 2x3"), size);
            void* const block = group[0]->pdata;
            share_record* const record = group[0]->share_record;
            EXPECT_EQ(api::ndUnshareOtherArrays(group[keeper].get()), 0);
            void* const fresh = group[keeper == 0 ? 1 : 0]->pdata;
            EXPECT_NE(fresh, block);
            for (std::size_t i = 0; i < size; ++i) {
                EXPECT_EQ(group[i]->pdata, i == keeper ? block : fresh);
                EXPECT_EQ(group[i]->share_record, i == keeper ? nullptr : record);
                EXPECT_THAT(group[i], EqualsArray(numbered("complex single 2x3")));
            }
            EXPECT_EQ(record->count.load(), size - 1);
            EXPECT_FALSE(group[keeper]->flags & matrix::flag_shared_data);
            expect_valid(group);
        }
    }
}

TEST_F(UnshareOthers, HasNothingToDoAlone) {
    const array_ptr a = numbered("double 1x3");
    EXPECT_EQ(api::ndUnshareOtherArrays(a.get()), 0);
    do_shared_copy(a.get()).reset();
    EXPECT_EQ(api::ndUnshareOtherArrays(a.get()), 0);
    EXPECT_FALSE(a->flags & matrix::flag_shared_data);
    do_shared_copy(a.get()).reset();
    EXPECT_TRUE(api::ndUnshareOrEmptyOthers(a.get()));
}

TEST_F(UnshareOthers, MovesDeleterAndMarkWithTheBlock) {
    for (const std::size_t keeper : {0U, 2U}) {
        deleter_calls = 0;
        array_ptr first = numbered("double 1x3");
        first->setCustomDeleter(count_and_free);
        auto group = group_of(std::move(first), 3);
        EXPECT_EQ(api::ndUnshareOtherArrays(group[keeper].get()), 0);
        EXPECT_TRUE(group[keeper]->hasSameCustomDeleter(count_and_free));
        EXPECT_EQ(listed(group[keeper]), std::vector{group[keeper].get()});
        EXPECT_FALSE(group[1]->hasCustomDeleter());
        expect_valid(group);
        array_ptr kept = std::move(group[keeper]);
        group.clear();
        EXPECT_EQ(deleter_calls, 0) << "the others' copy goes to the heap";
        kept.reset();
        EXPECT_EQ(deleter_calls, 1);
    }
}

// Whoever keeps a block that isn't the library's must not free it, and whoever moved must.
TEST_F(UnshareOthers, PrivateBlocksAreFreedByNobody) {
    for (const std::size_t keeper : {0U, 1U}) {
        double mine[3] = {1, 2, 3};
        array_ptr first = matrix::create(dims_list{0, 0}, ndDOUBLE_CLASS, ndREAL);
        first->pdata = mine;
        first->set_dimensions(dims_list{1, 3});
        api::ndSetShareDataPrivateFlag(first.get(), true);
        const auto group = group_of(std::move(first), 3);
        EXPECT_EQ(api::ndUnshareOtherArrays(group[keeper].get()), 0);
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(group[i]->pdata == mine, i == keeper);
            EXPECT_EQ((group[i]->flags & matrix::flag_data_private) != 0, i == keeper);
        }
        expect_valid(group);
    }
}

// Headers over one block may say different dimensions; the copy must do for the largest.
TEST_F(UnshareOthers, CopyWhatTheLargestOfThemUses) {
    const auto group = group_of(numbered("double 1x6"), 4);
    group[1]->set_dimensions(dims_list{1, 2});
    EXPECT_EQ(api::ndUnshareOtherArrays(group[0].get()), 0);
    EXPECT_THAT(group[1], EqualsArray(arr("double 1x2", {1, 2})));
    EXPECT_THAT(group[2], EqualsArray(numbered("double 1x6")));
}

TEST_F(UnshareOthers, CopyTheSlotsThatTheLargestOfThemUses) {
    const auto three = [] {
        return arr("cell 1x3", arr("double", {1}), arr("char", u"b"), arr("cell 1x1", arr("int8", {3})));
    };
    const auto group = group_of(three(), 3);
    group[1]->set_dimensions(dims_list{1, 2});
    EXPECT_EQ(api::ndUnshareOtherArrays(group[0].get()), 0);
    EXPECT_THAT(group[1], EqualsArray(arr("cell 1x2", arr("double", {1}), arr("char", u"b"))));
    EXPECT_THAT(group[2], EqualsArray(three()));
    group[1]->set_dimensions(dims_list{1, 3}); // the last of them is to know all elements
    expect_valid(group);
}

// The view is the block's: the array keeps what a client wrote, and the others get it with their copy.
TEST_F(UnshareOthers, LeaveASplitViewWithTheBlock) {
    const auto group = group_of(arr("complex double 1x2", {{1, 10}, {2, 20}}), 3);
    group[1]->split_data(false);
    static_cast<double*>(group[1]->get_scData()->real_data)[0] = 99;
    const scaffolding* const view = group[1]->get_scData();
    EXPECT_EQ(api::ndUnshareOtherArrays(group[0].get()), 0);
    EXPECT_EQ(group[0]->get_scData(), view);
    EXPECT_FALSE(matrix::detail::isIC(group[0].get()));
    group[0]->interleave_data();
    for (const array_ptr& array : group)
        EXPECT_THAT(array, EqualsArray(arr("complex double 1x2", {{99, 10}, {2, 20}})));
    for (const std::size_t moved : {1U, 2U}) EXPECT_EQ(group[moved]->get_scData(), nullptr);
    expect_valid(group);
}

TEST_F(UnshareOthers, OfContainersAndSparseArrays) {
    for (auto* make :
         {+[] { return arr("cell 1x2", arr("double", {1}), arr("cell 1x1", arr("char", u"a"))); },
          +[] { return sparse_3x2(); }}) {
        const auto group = group_of(make(), 3);
        EXPECT_EQ(api::ndUnshareOtherArrays(group[1].get()), 0);
        EXPECT_NE(group[0]->pdata, group[1]->pdata);
        EXPECT_EQ(group[0]->pdata, group[2]->pdata);
        EXPECT_TRUE(group[0]->info_a == 0 || group[0]->info_a != group[1]->info_a);
        expect_valid(group);
    }
}

TEST_F(UnshareOthers, RefuseWhenNotAllCanBeReached) {
    const auto group = group_of(numbered("double 1x3"), 3);
    const array_ptr plain = numbered("double 1x3");
    const array_ptr plain_copy = do_shared_copy(plain.get());
    group[2]->set_data_sharing_single_threaded(false);
    for (ndArray_tag* const array : {group[0].get(), plain.get()}) {
        const snapshot before(array);
        EXPECT_EQ(api::ndUnshareOtherArrays(array), 1);
        EXPECT_FALSE(api::ndUnshareOrEmptyOthers(array));
        EXPECT_EQ(before.difference(), "");
    }
    EXPECT_EQ(api::ndUnshareOtherArrays(group[2].get()), 0) << "the one that isn't listed reaches all others";
    expect_valid(group);
}

using EmptyOthers = NdTest;

TEST_F(EmptyOthers, OnlyWhenTheyCouldNotMove) {
    const auto group = group_of(numbered("double 1x3"), 3);
    EXPECT_TRUE(api::ndUnshareOrEmptyOthers(group[0].get()));
    EXPECT_THAT(group[1], EqualsArray(numbered("double 1x3")));
}

TEST_F(EmptyOthers, WithoutMemory) {
    struct {
        const char* description;
        bool with_deleter;
        dims_list dims;
    } const rows[] = {{"double 1x1", false, {0, 1}},
                      {"int8 2x3x4", false, {0, 3, 4}},
                      {"double 1x3", true, {0, 3}},
                      {"complex double 2x2", false, {0, 2}}};
    for (const auto& row : rows) {
        deleter_calls = 0;
        array_ptr first = numbered(row.description);
        if (row.with_deleter) first->setCustomDeleter(count_and_free);
        auto group = group_of(std::move(first), 3);
        bool moved = true;
        {
            const injection exhausted({1, fault_plan::follow_up::for_ever, 0});
            moved = api::ndUnshareOrEmptyOthers(group[1].get());
        }
        EXPECT_FALSE(moved);
        EXPECT_THAT(group[1], EqualsArray(numbered(row.description)));
        EXPECT_EQ(group[1]->hasCustomDeleter(), row.with_deleter);
        EXPECT_FALSE(api::ndGetUserBits(group[1].get()));
        for (const std::size_t i : {0U, 2U}) {
            EXPECT_EQ(group[i]->pdata, nullptr);
            EXPECT_EQ(group[i]->share_record, nullptr);
            EXPECT_EQ(group[i]->flags & 0x3401U, 0U) << "scalar double, capacity, shared, cached";
            const kvSize* const dims = api::ndGetDimensions(group[i].get());
            EXPECT_EQ(dims_list(dims, dims + row.dims.size()), row.dims);
        }
        expect_valid(group);
        group.clear();
        EXPECT_EQ(deleter_calls, row.with_deleter ? 1 : 0);
    }
}

TEST_F(EmptyOthers, LeavesFieldsWithEachAndElementsWithTheArray) {
    const auto group = group_of(
        struct_arr("1x2", {"a", "b"}, numbered("double 1x3"), nullptr, nullptr, arr("char", u"z")), 3);
    EXPECT_TRUE(matrix::internal::unshare_and_empty_others(group[1].get()));
    EXPECT_EQ(static_cast<ndArray_tag**>(group[1]->pdata)[0]->class_id, ndDOUBLE_CLASS);
    for (const std::size_t i : {0U, 2U}) {
        EXPECT_EQ(group[i]->pdata, nullptr);
        EXPECT_EQ(group[i]->get_number_of_struct_fields(), 2);
        EXPECT_STREQ(group[i]->get_struct_field_names()[1], "b");
        EXPECT_EQ(api::ndGetNumberOfElements(group[i].get()), 0U);
    }
    expect_valid(group);
}

TEST_F(EmptyOthers, TakesTheVectorsOfSparseArrays) {
    const auto group = group_of(sparse_3x2(), 2);
    EXPECT_TRUE(matrix::internal::unshare_and_empty_others(group[0].get()));
    EXPECT_EQ(group[1]->info_a, 0U);
    EXPECT_EQ(group[1]->info_b, 0U);
    EXPECT_NE(group[0]->info_a, 0U);
    expect_valid(group);
}

} // namespace
} // namespace test
