// Values that move onto headers, arrays that pass between smart and plain pointers, and guards.
#include "matrix/header_words.hpp"
#include "matrix/process_state.hpp"
#include "matrix/share_record.hpp"
#include "matrix/sharing.hpp"
#include "matrix/sparse_array.hpp"
#include "matrix/validate.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/death.hpp"
#include "support/fault_injection.hpp"
#include "support/module_mode.hpp"
#include "support/snapshot.hpp"
#include "support/variations.hpp"

#include <nd/access.hpp>
#include <nd/protected.hpp>
#include <nd/share.hpp>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::detail::do_deep_copy;
using matrix::detail::do_shared_copy;
using matrix::internal::validate;
using dims_list = std::vector<std::size_t>;

// Values of every kind of header: inline and other dimensions, slots, index vectors, nothing.
array_ptr (*const makers[])() = {
    [] { return arr("double", {1}); },
    [] { return numbered("complex int16 2x3"); },
    [] { return numbered("single 2x3x4"); },
    [] { return arr("double 0x3"); },
    [] { return arr("cell 1x3", arr("double", {1}), nullptr, arr("cell 1x1", arr("char", u"a"))); },
    [] { return sparse_3x2(); },
    [] { return array_ptr(api::ndCreateEmptyUnknownArrayNotOnArrayList()); },
};

using MoveOntoHeader = NdTest;

TEST_F(MoveOntoHeader, PutsEveryValueOntoEveryHeader) {
    for (auto* to : makers) {
        for (auto* from : makers) {
            for_each_variation(from(), [&](array_ptr& src) {
                const array_ptr value = do_deep_copy(src.get());
                const array_ptr dest = to();
                const std::uint32_t flags = src->flags;
                const bool held_twice = src->ref_count > 1;
                void* const block = src->pdata;
                api::ndMoveArrayOntoHeader(dest.get(), src.release());
                EXPECT_THAT(dest, EqualsArray(value.get()));
                EXPECT_EQ(dest->pdata, block);
                EXPECT_TRUE(held_twice || dest->flags == (flags & ~0x204U));
                EXPECT_EQ(validate(dest.get()), "");
            });
        }
    }
}

TEST_F(MoveOntoHeader, KeepsWhoHoldsTheHeader) {
    const array_ptr dest = numbered("double 1x3");
    dest->scope = ndGLOBAL_SCOPE;
    dest->ref_count = 3;
    dest->internal_ref_count = 2;
    dest->parent = dest.get();
    dest->flags |= 0x3000000;
    array_ptr src = numbered("int8 2x2");
    src->scope = ndPERSISTENT_SCOPE;
    src->flags |= 0x5000000 | matrix::flag_empty_square_bracket | matrix::flag_from_global_workspace;
    api::ndMoveArrayOntoHeader(dest.get(), src.release());
    EXPECT_EQ(dest->scope, static_cast<std::uint32_t>(ndGLOBAL_SCOPE));
    EXPECT_EQ(dest->ref_count, 3U);
    EXPECT_EQ(dest->internal_ref_count, 2U);
    EXPECT_EQ(dest->parent, dest.get());
    EXPECT_EQ(api::ndGetUserBits(dest.get()), 5) << "the value's";
    EXPECT_FALSE(api::ndIsEmptySqrBrktArray(dest.get()));
    EXPECT_TRUE(api::ndIsFromGlobalWS(dest.get()));
    dest->ref_count = 1;
    dest->internal_ref_count = 0;
    dest->parent = nullptr;
    dest->scope = ndLOCAL_SCOPE;
}

TEST_F(MoveOntoHeader, OntoItselfDoesNothing) {
    const array_ptr a = numbered("double 1x3");
    const snapshot before(a.get());
    api::ndMoveArrayOntoHeader(a.get(), a.get());
    api::ndMoveCopyOntoHeader(a.get(), a.get());
    EXPECT_EQ(before.difference(), "");
}

TEST_F(MoveOntoHeader, OfAValueHeldByOthersIsASharedCopy) {
    const array_ptr src = numbered("double 1x3");
    const array_ptr dest = arr("cell 1x1", arr("double", {1}));
    api::ndMoveArrayOntoHeader(dest.get(), api::ndCreateReference(src.get()));
    EXPECT_EQ(src->ref_count, 1U);
    EXPECT_EQ(dest->pdata, src->pdata);
    EXPECT_TRUE(dest->is_data_shared_only_with_impl(src.get()));
    EXPECT_THAT(src, EqualsArray(numbered("double 1x3")));
}

TEST_F(MoveOntoHeader, CopyLeavesTheValueWithTheCaller) {
    const array_ptr src = numbered("double 1x3");
    api::ndSetReusable(src.get(), true);
    const array_ptr dest = numbered("int8 2x2x2");
    api::ndMoveCopyOntoHeader(dest.get(), src.get());
    EXPECT_THAT(dest, EqualsArray(src.get()));
    EXPECT_EQ(src->ref_count, 1U);
    EXPECT_FALSE(api::ndIsReusable(src.get()));
}

// x = x{1}: the value stands in what the header is about to lose.
TEST_F(MoveOntoHeader, OfAnElementOfTheHeader) {
    const array_ptr x = arr("cell 1x2", arr("cell 1x1", numbered("double 1x3")), arr("char", u"a"));
    ndArray_tag* const element = static_cast<ndArray_tag**>(x->pdata)[0];
    api::ndMoveCopyOntoHeader(x.get(), element);
    EXPECT_THAT(x, EqualsArray(arr("cell 1x1", numbered("double 1x3"))));
    EXPECT_EQ(validate(x.get()), "");
}

TEST_F(MoveOntoHeader, OfPrivateDataHeldByOthersIsADeepCopy) {
    double mine[3] = {1, 2, 3};
    const array_ptr src = matrix::create(dims_list{0, 0}, ndDOUBLE_CLASS, ndREAL);
    src->pdata = mine;
    src->set_dimensions(dims_list{1, 3});
    src->flags |= matrix::flag_data_private;
    const array_ptr dest = arr("double", {7});
    api::ndMoveCopyOntoHeader(dest.get(), src.get());
    EXPECT_NE(dest->pdata, mine);
    EXPECT_THAT(dest, EqualsArray(arr("double 1x3", {1, 2, 3})));
}

TEST_F(MoveOntoHeader, RenamesTheSharer) {
    array_ptr src = numbered("double 1x3");
    src->set_data_sharing_single_threaded(true);
    const array_ptr other = do_shared_copy(src.get());
    const array_ptr dest = arr("double", {7});
    api::ndMoveArrayOntoHeader(dest.get(), src.release());
    const sharer_list& list = *other->share_record->sharers;
    EXPECT_EQ((std::vector<ndArray_tag*>(list.begin(), list.end())),
              (std::vector<ndArray_tag*>{dest.get(), other.get()}));
    EXPECT_EQ(validate(dest.get()), "");
    EXPECT_EQ(validate(other.get()), "");
}

TEST_F(MoveOntoHeader, LeavesTheSharersOfTheOldValue) {
    const array_ptr dest = numbered("int16 2x3");
    const array_ptr other = do_shared_copy(dest.get());
    api::ndMoveArrayOntoHeader(dest.get(), arr("double", {7}).release());
    EXPECT_THAT(other, EqualsArray(numbered("int16 2x3")));
    EXPECT_FALSE(other->is_data_shared_impl());
    EXPECT_EQ(dest->share_record, nullptr);
}

TEST_F(MoveOntoHeader, OfCachedArrays) {
    const cache_on cache;
    const array_ptr dest = numbered("double 1x30");
    api::ndMoveArrayOntoHeader(dest.get(), numbered("double 1x3").release());
    EXPECT_THAT(dest, EqualsArray(numbered("double 1x3")));
    EXPECT_EQ(validate(dest.get()), "");
}

using Handover = NdTest;

TEST_F(Handover, ToAndFrom) {
    array_ptr a = numbered("double 1x3");
    ndArray_tag* const plain = a.get();
    EXPECT_EQ(matrix::to_tarvel(std::move(a)), plain);
    EXPECT_EQ(a, nullptr);
    EXPECT_EQ(matrix::from_tarvel(plain).get(), plain);
    EXPECT_EQ(matrix::to_tarvel(nullptr), nullptr);
    EXPECT_EQ(matrix::from_tarvel(nullptr), nullptr);
    EXPECT_EQ(matrix::from_tarvel_old(nullptr), nullptr);
}

TEST_F(Handover, FromOtherScopesIsFatal) {
    for (const std::uint32_t scope : {1U, 2U, 3U, 5U, 6U, 7U}) {
        const array_ptr a = numbered("double 1x3");
        a->scope = scope;
        EXPECT_TERMINATE(static_cast<void>(matrix::from_tarvel(a.get())),
                         "Input to from_tarvel must have temporary or local scope");
        a->scope = ndLOCAL_SCOPE;
    }
}

std::string refusal_of(ndArray_tag* array) {
    try {
        matrix::from_tarvel_old(array).reset();
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    return "accepted";
}

TEST_F(Handover, FromOldRefusesByScope) {
    struct {
        std::uint32_t scope;
        const char* text;
    } constexpr rows[] = {
        {1, "Cannot make unique ndLOCAL_STATIC_SCOPE"}, {2, "Cannot make unique ndGLOBAL_SCOPE"},
        {3, "Cannot make unique ndMEMBER_SCOPE"},       {5, "Cannot make unique ndPERSISTENT_SCOPE"},
        {6, "Cannot make unique ndPROPERTY_SCOPE"},     {7, "Cannot make unique ndUNKNOWN_SCOPE"}};
    const array_ptr a = numbered("double 1x3");
    for (const auto& row : rows) {
        a->scope = row.scope;
        const snapshot before(a.get());
        EXPECT_EQ(refusal_of(a.get()), row.text);
        EXPECT_EQ(before.difference(), "");
    }
    a->scope = ndGLOBAL_SCOPE;
    a->flags |= matrix::flag_data_private;
    EXPECT_EQ(refusal_of(a.get()), "Cannot make unique if data is private") << "asked first";
    a->flags &= ~matrix::flag_data_private;
    a->scope = ndLOCAL_SCOPE;
}

TEST_F(Handover, FromOldIsUnique) {
    for (auto* make : makers) {
        for_each_variation(make(), [&](array_ptr& x) {
            const array_ptr value = do_deep_copy(x.get());
            const bool passes = x->ref_count == 1 && !matrix::internal::has_shared_data(x.get()) &&
                                x->class_id != ndCELL_CLASS;
            const ndArray_tag* const given = x.get();
            x = matrix::from_tarvel_old(x.release());
            EXPECT_EQ(x.get() == given, passes);
            EXPECT_EQ(x->scope, 0U);
            EXPECT_FALSE(matrix::internal::has_shared_data(x.get()));
            EXPECT_THAT(x, EqualsArray(value.get()));
        });
    }
}

TEST_F(Handover, FromOldIsNoView) {
    array_ptr lender = numbered("double 2x3");
    array_ptr taken =
        matrix::from_tarvel_old(matrix::createReshapedView(lender.get(), dims_list{3, 2}).release());
    EXPECT_NE(taken->pdata, lender->pdata);
    lender.reset();
    EXPECT_THAT(taken, EqualsArray(numbered("double 3x2")));
}

using Cptr = Kprotected_cptr<ndArray_tag, Kprotected_ndArray_helper>;

template <class Guard>
class Guards : public NdTest {};
using guard_types = ::testing::Types<Cptr, Kprotected_ndArray>;
TYPED_TEST_SUITE(Guards, guard_types);

TYPED_TEST(Guards, BeginEmpty) {
    TypeParam guard;
    EXPECT_EQ(guard.get(), nullptr);
    EXPECT_EQ(guard.Unprotect(), nullptr);
    guard.call_delete_fn();
    EXPECT_EQ(sizeof guard, 2 * sizeof(void*));
}

TYPED_TEST(Guards, OwnOrJustPoint) {
    const array_ptr a = numbered("double 1x3");
    { const TypeParam points(a.get(), false); }
    EXPECT_EQ(a->ref_count, 1U);
    {
        api::ndSetReusable(a.get(), true);
        const TypeParam owns(api::ndCreateReference(a.get()), true);
        const TypeParam copy(owns);
        const TypeParam pointing(a.get(), false);
        const TypeParam copy_of_pointing(pointing);
        EXPECT_EQ(a->ref_count, 3U);
        EXPECT_EQ(copy_of_pointing.get(), a.get());
        EXPECT_FALSE(api::ndIsReusable(a.get()));
    }
    EXPECT_EQ(a->ref_count, 1U);
}

TYPED_TEST(Guards, HandOutThePointer) {
    const array_ptr a = numbered("double 1x3");
    TypeParam guard(a.get(), false);
    const TypeParam& constant = guard;
    EXPECT_EQ(static_cast<ndArray_tag*>(guard), a.get());
    EXPECT_EQ(static_cast<const ndArray_tag*>(constant), a.get());
    EXPECT_EQ(guard->class_id, ndDOUBLE_CLASS);
    EXPECT_EQ(constant->class_id, ndDOUBLE_CLASS);
}

TYPED_TEST(Guards, TakeAPointer) {
    const array_ptr a = numbered("double 1x3");
    TypeParam guard(api::ndCreateReference(a.get()), true);
    guard = a.get();
    EXPECT_EQ(a->ref_count, 2U) << "the one that is held already";
    guard = numbered("int8 1x1").release();
    EXPECT_EQ(a->ref_count, 1U);
    EXPECT_EQ(guard->class_id, ndINT8_CLASS);
    guard = nullptr;
    EXPECT_EQ(guard.get(), nullptr);
}

TYPED_TEST(Guards, TakeAGuard) {
    const array_ptr a = numbered("double 1x3");
    const array_ptr b = numbered("int8 1x1");
    {
        TypeParam of_a(api::ndCreateReference(a.get()), true);
        TypeParam of_b(api::ndCreateReference(b.get()), true);
        const TypeParam pointing(b.get(), false);
        of_a = of_b;
        EXPECT_EQ(a->ref_count, 1U);
        EXPECT_EQ(b->ref_count, 3U);
        TypeParam& same = of_a;
        of_a = same;
        of_a = of_b;
        EXPECT_EQ(b->ref_count, 3U) << "as many as there are guards";
        of_a = pointing;
        EXPECT_EQ(b->ref_count, 3U) << "of the pointer that is held already nothing is let go";
    }
    EXPECT_EQ(b->ref_count, 1U);
}

// Whoever owns goes on owning, even where the reference is the last one; whoever doesn't owns what an owner gives.
TYPED_TEST(Guards, TakeAGuardOfTheSamePointer) {
    for (const bool owns : {false, true}) {
        for (const bool other_owns : {false, true}) {
            const array_ptr a = numbered("double 1x3");
            const auto given = [&](bool owned) { return owned ? api::ndCreateReference(a.get()) : a.get(); };
            {
                TypeParam guard(given(owns), owns);
                const TypeParam other(given(other_owns), other_owns);
                guard = other;
                EXPECT_EQ(guard.get(), a.get());
                EXPECT_EQ(a->ref_count, 1U + (owns || other_owns ? 1U : 0U) + (other_owns ? 1U : 0U));
            }
            EXPECT_EQ(a->ref_count, 1U) << owns << other_owns;
        }
    }
    TypeParam last(numbered("double 1x3").release(), true);
    const TypeParam pointing(last.get(), false);
    last = pointing;
    EXPECT_EQ(last->ref_count, 1U);
    EXPECT_EQ(pointing->class_id, ndDOUBLE_CLASS);
}

TYPED_TEST(Guards, TakeAGuardOfAnotherPointer) {
    for (const bool owns : {false, true}) {
        for (const bool other_owns : {false, true}) {
            const array_ptr a = numbered("double 1x3");
            const array_ptr b = numbered("int8 1x1");
            {
                TypeParam guard(owns ? api::ndCreateReference(a.get()) : a.get(), owns);
                const TypeParam other(other_owns ? api::ndCreateReference(b.get()) : b.get(), other_owns);
                guard = other;
                EXPECT_EQ(guard.get(), b.get());
                EXPECT_EQ(a->ref_count, 1U);
                EXPECT_EQ(b->ref_count, other_owns ? 3U : 1U);
            }
            EXPECT_EQ(b->ref_count, 1U);
        }
    }
}

TYPED_TEST(Guards, LetGo) {
    const array_ptr a = numbered("double 1x3");
    TypeParam guard(api::ndCreateReference(a.get()), true);
    EXPECT_EQ(guard.Unprotect(), a.get());
    EXPECT_EQ(guard.get(), nullptr);
    EXPECT_EQ(a->ref_count, 2U) << "the reference goes to the caller";
    TypeParam second(a.get(), true);
    second.call_delete_fn();
    EXPECT_EQ(a->ref_count, 1U);
    EXPECT_EQ(second.get(), nullptr);
}

using GuardedArray = NdTest;

TEST_F(GuardedArray, IsLocal) {
    const array_ptr a = numbered("double 1x3");
    a->scope = ndGLOBAL_SCOPE;
    { const Kprotected_ndArray pointing(a.get(), false); }
    EXPECT_EQ(a->scope, static_cast<std::uint32_t>(ndGLOBAL_SCOPE));
    const Kprotected_ndArray owner(api::ndCreateReference(a.get()), true);
    EXPECT_EQ(a->scope, 0U);
    a->scope = ndGLOBAL_SCOPE;
    const Kprotected_ndArray copy(owner);
    EXPECT_EQ(a->scope, 0U);
}

TEST_F(GuardedArray, KeepsItsOwnersWhenItIsLetGo) {
    const array_ptr a = numbered("double 1x3");
    Kprotected_ndArray guard(api::ndCreateReference(a.get()), true);
    a->internal_ref_count = 4;
    a->flags |= matrix::flag_reusable;
    EXPECT_EQ(guard.Unprotect(), a.get());
    EXPECT_EQ(a->ref_count, 2U);
    EXPECT_EQ(a->internal_ref_count, 4U);
    EXPECT_FALSE(api::ndIsReusable(a.get()));
    a->internal_ref_count = 0;
    a->ref_count = 1;
}

TEST_F(GuardedArray, IsUnshared) {
    const array_ptr a = numbered("double 1x3");
    Kprotected_ndArray sharer(do_shared_copy(a.get()).release(), true);
    sharer.Unshare();
    EXPECT_NE(sharer->pdata, a->pdata);
    Kprotected_ndArray held(api::ndCreateReference(a.get()), true);
    held.Unshare();
    EXPECT_NE(held.get(), a.get());
    EXPECT_EQ(a->ref_count, 1U);
    Kprotected_ndArray empty;
    empty.Unshare();
    EXPECT_EQ(empty.get(), nullptr);
}

TEST_F(GuardedArray, StaysGuardedWhenItCanNotBeUnshared) {
    for_each_module_mode([](int) {
        const array_ptr a = numbered("double 1x3");
        Kprotected_ndArray sharer(do_shared_copy(a.get()).release(), true);
        const injection exhausted({1, fault_plan::follow_up::for_ever, 0});
        EXPECT_THROW(sharer.Unshare(), std::bad_alloc);
        EXPECT_EQ(sharer->pdata, a->pdata);
    });
}

} // namespace
} // namespace test
