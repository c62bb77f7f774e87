// Copies, moves and guards where temporaries stand on the array list: what is made is listed, what is taken over isn't, and when
// the list has no room everything is as it was.
#include "matrix/lists_fixture.hpp"
#include "matrix/validate.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/fault_injection.hpp"

#include <nd/protected.hpp>
#include <nd/share.hpp>

namespace test {
namespace {

using matrix::array_ptr;
using matrix::detail::do_shared_copy;

using SharingLists = ListsTest;

TEST_F(SharingLists, EachCopyIsATemporary) {
    struct {
        const char* name;
        ndArray_tag* (*copy)(ndArray_tag*);
    } const rows[] = {
        {"ndCreateSharedDataCopy", [](ndArray_tag* a) { return api::ndCreateSharedDataCopy(a); }},
        {"ndCreateDeepCopy", [](ndArray_tag* a) { return api::ndCreateDeepCopy(a); }},
        {"ndDuplicateArray", [](ndArray_tag* a) { return api::ndDuplicateArray(a); }},
        {"ndCreateSkeletonCopy", [](ndArray_tag* a) { return api::ndCreateSkeletonCopy(a, ndREAL); }},
        {"ndCreateEmptyCopy", [](ndArray_tag* a) { return api::ndCreateEmptyCopy(a); }},
        {"ndCreateClaimedDataCopy", [](ndArray_tag* a) { return api::ndCreateClaimedDataCopy(a); }},
    };
    for (const auto& row : rows) {
        const array_ptr source = numbered("double 2x3");
        const array_ptr copy(row.copy(source.get()));
        EXPECT_EQ(copy->scope, static_cast<std::uint32_t>(ndTEMPORARY_SCOPE)) << row.name;
        EXPECT_EQ(listed_here(), (array_pointers{copy.get()})) << row.name;
    }
    const array_ptr source = numbered("double 2x3");
    const array_ptr unlisted(api::ndCreateSharedCopyNotOnArrayList(source.get()));
    EXPECT_TRUE(listed_here().empty());
}

// What stands in the place of a temporary is one, and stands on the list in its place.
TEST_F(SharingLists, ACopyInTheCallersPlaceHasItsScope) {
    struct {
        const char* name;
        ndArray_tag* (*act)(ndArray_tag*);
        bool replaces;
    } const rows[] = {{"ndUnshare", api::ndUnshare, true},
                      {"ndUnshareShallow", api::ndUnshareShallow, true},
                      {"ndUnreference", api::ndUnreference, true}};
    for (const auto& row : rows) {
        for (const bool held_twice : {false, true}) {
            SCOPED_TRACE(row.name);
            ndArray_tag* const array = temporary(3);
            const array_ptr sharer = do_shared_copy(array);
            const array_ptr other(held_twice ? api::ndCreateReference(array) : nullptr);
            ndArray_tag* const result = row.act(array);
            EXPECT_EQ(result != array, held_twice);
            EXPECT_EQ(result->scope, static_cast<std::uint32_t>(ndTEMPORARY_SCOPE));
            EXPECT_EQ(listed_here(), held_twice ? (array_pointers{array, result}) : (array_pointers{array}));
            api::ndDestroyArray(result);
        }
    }
}

TEST_F(SharingLists, AMovedValueLeavesTheListWithItsHeader) {
    const array_ptr dest = numbered("int8 1x2");
    api::ndMoveArrayOntoHeader(dest.get(), temporary(7));
    EXPECT_TRUE(listed_here().empty());
    EXPECT_THAT(dest, EqualsArray(arr("double", {7})));
    ndArray_tag* const listed = temporary(1);
    api::ndMoveCopyOntoHeader(listed, dest.get());
    EXPECT_EQ(listed_here(), (array_pointers{listed})) << "who holds the header stays";
    api::ndDestroyArray(listed);
}

// The list that a collector starts from: a header stands on it as its value did, and a value that stays with others stays there.
TEST_F(SharingLists, AMovedValueHasItsHeaderOnTheCollectionList) {
    const auto value = [](bool listed) {
        array_ptr cell = arr("cell 1x1", arr("double", {1}));
        if (listed) cell->flags |= matrix::flag_on_collection_list;
        return cell;
    };
    for (const bool dest_listed : {false, true}) {
        for (const bool src_listed : {false, true}) {
            SCOPED_TRACE(::testing::Message() << dest_listed << src_listed);
            const array_ptr dest = value(dest_listed);
            api::ndMoveArrayOntoHeader(dest.get(), value(src_listed).release());
            EXPECT_EQ((dest->flags & matrix::flag_on_collection_list) != 0, src_listed);
            EXPECT_EQ(matrix::internal::validate(dest.get()), "");

            const array_ptr copied_onto = value(dest_listed);
            const array_ptr src = value(src_listed);
            api::ndMoveCopyOntoHeader(copied_onto.get(), src.get());
            EXPECT_FALSE(copied_onto->flags & matrix::flag_on_collection_list)
                << "without a collector a copy is entered nowhere";
            EXPECT_EQ((src->flags & matrix::flag_on_collection_list) != 0, src_listed);
            EXPECT_EQ(matrix::internal::validate(src.get()), "");
        }
        const array_ptr dest = value(dest_listed);
        api::ndMoveArrayOntoHeader(dest.get(), numbered("int8 1x2").release());
        EXPECT_FALSE(dest->flags & matrix::flag_on_collection_list);
        EXPECT_EQ(matrix::internal::validate(dest.get()), "");
    }
}

TEST_F(SharingLists, HandingOverTakesOffAndPutsOn) {
    for (array_ptr (*const take)(ndArray_tag*) : {matrix::from_tarvel, matrix::from_tarvel_old}) {
        array_ptr taken = take(temporary(4));
        EXPECT_TRUE(listed_here().empty());
        EXPECT_EQ(taken->scope, static_cast<std::uint32_t>(ndLOCAL_SCOPE));
        ndArray_tag* const given = matrix::to_tarvel(std::move(taken));
        EXPECT_EQ(listed_here(), (array_pointers{given}));
        EXPECT_EQ(given->scope, static_cast<std::uint32_t>(ndTEMPORARY_SCOPE));
        api::ndDestroyArray(given);
    }
}

TEST_F(SharingLists, AGuardKeepsItsArrayOffTheList) {
    ndArray_tag* const array = temporary(4);
    {
        Kprotected_ndArray guard(array, true);
        EXPECT_TRUE(listed_here().empty());
        const Kprotected_ndArray second(guard);
        EXPECT_EQ(guard.Unprotect(), array);
        EXPECT_EQ(listed_here(), (array_pointers{array}));
        EXPECT_EQ(array->ref_count, 2U);
    }
    EXPECT_EQ(array->ref_count, 1U);
    Kprotected_ndArray assigned;
    assigned = array;
    EXPECT_TRUE(listed_here().empty());
}

TEST_F(SharingLists, WithoutRoomTheHolderKeepsTheArray) {
    foundation::usm::EngineInstance engine;
    const foundation::usm::EngineActivation active(&engine);
    constexpr std::size_t room_of_a_new_list = 16;
    const std::vector<ndArray_tag*> filling = temporaries(room_of_a_new_list);
    const array_pointers before = listed_here();
    array_ptr array = numbered("double 1x3");
    ndArray_tag* const at = array.get();
    const auto refused = [](auto act) {
        const injection exhausted({1, fault_plan::follow_up::for_ever, 0});
        try {
            act();
        } catch (const std::bad_alloc&) {
            return true;
        }
        return false;
    };
    EXPECT_TRUE(refused([&] { matrix::to_tarvel(std::move(array)); }));
    EXPECT_EQ(array.get(), at);
    EXPECT_EQ(array->scope, static_cast<std::uint32_t>(ndLOCAL_SCOPE));
    Kprotected_ndArray guard(array.release(), true);
    const Kprotected_ndArray second(guard);
    EXPECT_TRUE(refused([&] { guard.Unprotect(); }));
    EXPECT_EQ(guard.get(), at);
    EXPECT_EQ(at->ref_count, 2U) << "the owners are as many as before";
    EXPECT_EQ(at->scope, static_cast<std::uint32_t>(ndLOCAL_SCOPE));
    EXPECT_EQ(listed_here(), before);
    for (ndArray_tag* const one : filling) api::ndDestroyArray(one);
}

} // namespace
} // namespace test
