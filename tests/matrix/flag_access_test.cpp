// Flags and scope: readers of one bit, and the writers that have a rule.
#include "matrix/process_state.hpp"
#include "matrix/validate.hpp"
#include "support/arr.hpp"
#include "support/variations.hpp"

#include <nd/access.hpp>
#include <nd/engine_access.hpp>
#include <nd/memory.hpp>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using dims_list = std::vector<std::size_t>;

using Flags = NdTest;

TEST_F(Flags, AreReadAndWrittenOneAtATime) {
    struct {
        std::uint32_t flag;
        bool (*is)(const ndArray_tag*);
        void (*set)(ndArray_tag*);
        void (*clear)(ndArray_tag*);
    } constexpr rows[] = {
        {matrix::flag_scalar_double, api::ndIsScalarDoubleFlagSet, api::ndSetScalarDoubleFlag,
         api::ndClearScalarDoubleFlag},
        {matrix::flag_empty_square_bracket, api::ndIsEmptySqrBrktArray, api::ndSetEmptySqrBrktFlag,
         api::ndClearEmptySqrBrktFlag},
        {matrix::flag_from_global_workspace, api::ndIsFromGlobalWS,
         [](ndArray_tag* a) { api::ndSetFromGlobalWS(a, true); },
         [](ndArray_tag* a) { api::ndSetFromGlobalWS(a, false); }},
        {matrix::flag_reusable, api::ndIsReusable, [](ndArray_tag* a) { api::ndSetReusable(a, true); },
         [](ndArray_tag* a) { api::ndSetReusable(a, false); }},
    };
    const auto array = arr("single 2x2");
    for (const auto& row : rows) {
        const std::uint32_t before = array->flags;
        EXPECT_FALSE(row.is(array.get())) << row.flag;
        row.set(array.get());
        EXPECT_EQ(array->flags, before | row.flag);
        EXPECT_TRUE(row.is(array.get())) << row.flag;
        row.set(array.get());
        EXPECT_EQ(array->flags, before | row.flag);
        row.clear(array.get());
        EXPECT_EQ(array->flags, before);
        row.clear(array.get());
        EXPECT_EQ(array->flags, before);
    }
}

TEST_F(Flags, PredicatesReadOneBit) {
    const auto array = matrix::create(dims_list{0, 0}, ndDOUBLE_CLASS, ndREAL);
    const std::uint32_t start = array->flags;
    for (std::uint32_t bit = 0; bit < 32; ++bit) {
        const std::uint32_t mask = 1U << bit;
        array->flags = mask;
        EXPECT_EQ(api::ndIsNumeric(array.get()), mask == 0x80U);
        EXPECT_EQ(api::ndIsSparse(array.get()), mask == 0x10U);
        EXPECT_EQ(api::ndIsFromGlobalWS(array.get()), mask == 0x8U);
        EXPECT_EQ(api::ndIsEmptySqrBrktArray(array.get()), mask == 0x4U);
        EXPECT_EQ(api::ndIsScalarDoubleFlagSet(array.get()), mask == 0x1U);
        EXPECT_EQ(api::ndIsReusable(array.get()), mask == 0x200U);
        EXPECT_EQ(api::ndIsColonObj(array.get()), mask == 0x20U);
        EXPECT_EQ(api::ndIsDataPrivate(array.get()), mask == 0x40U);
        EXPECT_EQ(api::ndIsShareDataPrivate(array.get()), mask == 0x2U);
        EXPECT_EQ(api::ndIsIndexingOpaque(array.get()), mask == 0x100U);
        EXPECT_FALSE(api::ndIsComplex(array.get())) << "two bits are needed";
    }
    array->flags = 0x880;
    EXPECT_TRUE(api::ndIsComplex(array.get()));
    array->flags = start;
}

TEST_F(Flags, UserBitsAreTheTopByte) {
    const auto array = arr("double 2x2");
    const std::uint32_t others = array->flags;
    EXPECT_EQ(api::ndGetUserBits(array.get()), 0);
    for (const int bits : {0, 1, 0x7F, 0x80, 0xA5, 0xFF}) {
        api::ndSetUserBits(array.get(), bits);
        EXPECT_EQ(api::ndGetUserBits(array.get()), bits);
        EXPECT_EQ(array->flags & 0xFFFFFF, others);
    }
    api::ndSetUserBits(array.get(), 0x123);
    EXPECT_EQ(api::ndGetUserBits(array.get()), 0x23) << "one byte of it";
    api::ndSetUserBits(array.get(), -1);
    EXPECT_EQ(api::ndGetUserBits(array.get()), 0xFF);
    EXPECT_EQ(array->flags & 0xFFFFFF, others);
}

// Everything but the bit itself and the marks of a cache bin stays, in every representation.
TEST_F(Flags, PrivateDataLeaveTheCache) {
    const cache_on cache;
    for_each_variation(numbered("double 2x3"), [](array_ptr& array) {
        constexpr std::uint32_t bin = matrix::flag_cached_header | matrix::flag_bin_mask;
        const std::uint32_t start = array->flags;
        void* const data = array->pdata;
        api::ndSetDataPrivateFlag(array.get(), false);
        EXPECT_EQ(array->flags, start);
        api::ndSetDataPrivateFlag(array.get(), true);
        EXPECT_TRUE(api::ndIsDataPrivate(array.get()));
        EXPECT_EQ(array->flags, (start & ~bin) | matrix::flag_data_private);
        api::ndSetDataPrivateFlag(array.get(), false);
        EXPECT_FALSE(api::ndIsDataPrivate(array.get()));
        EXPECT_EQ(array->flags, start & ~bin) << "the block doesn't go back to its bin";
        EXPECT_EQ(array->pdata, data);
        EXPECT_EQ(matrix::internal::validate(array.get()), "");
    });
}

TEST_F(Flags, PrivateDataAreLeftToTheirOwner) {
    double mine[] = {1, 2};
    array_ptr array = arr("double 1x2");
    void* const own = array->pdata;
    api::ndSetDataPrivateFlag(array.get(), true);
    api::ndSetData(array.get(), mine, nullptr);
    EXPECT_EQ(api::ndGetScalar(array.get()), 1.0);
    array.reset();
    EXPECT_EQ(mine[1], 2.0);
    api::ndFree(own);
}

using Reusable = NdTest;

TEST_F(Reusable, IsRefusedWhereItCouldBeNoticed) {
    struct {
        const char* why;
        void (*spoil)(ndArray_tag*);
        void (*mend)(ndArray_tag*);
    } constexpr rows[] = {
        {"a value of the global workspace",
         [](ndArray_tag* a) { a->flags |= matrix::flag_from_global_workspace; },
         [](ndArray_tag* a) { a->flags &= ~matrix::flag_from_global_workspace; }},
        {"sparse", [](ndArray_tag* a) { a->flags |= matrix::flag_sparse; },
         [](ndArray_tag* a) { a->flags &= ~matrix::flag_sparse; }},
        {"indexing-opaque", [](ndArray_tag* a) { a->flags |= matrix::flag_indexing_opaque; },
         [](ndArray_tag* a) { a->flags &= ~matrix::flag_indexing_opaque; }},
        {"two owners", [](ndArray_tag* a) { ++a->ref_count; }, [](ndArray_tag* a) { --a->ref_count; }},
        {"an owner in the engine", [](ndArray_tag* a) { ++a->internal_ref_count; },
         [](ndArray_tag* a) { --a->internal_ref_count; }},
    };
    const auto array = arr("double 2x2");
    for (const auto& row : rows) {
        row.spoil(array.get());
        api::ndSetReusable(array.get(), true);
        EXPECT_FALSE(api::ndIsReusable(array.get())) << row.why;
        array->flags |= matrix::flag_reusable;
        api::ndSetReusable(array.get(), true);
        EXPECT_TRUE(api::ndIsReusable(array.get())) << "ignored, not cleared: " << row.why;
        api::ndSetReusable(array.get(), false);
        EXPECT_FALSE(api::ndIsReusable(array.get())) << "false always works: " << row.why;
        row.mend(array.get());
    }
    api::ndSetReusable(array.get(), true);
    EXPECT_TRUE(api::ndIsReusable(array.get()));
}

TEST_F(Reusable, GoesByScope) {
    const auto array = arr("double 2x2");
    for (std::uint32_t scope = 0; scope < 8; ++scope) {
        array->scope = scope;
        api::ndSetReusable(array.get(), true);
        EXPECT_EQ(api::ndIsReusable(array.get()), scope == ndLOCAL_SCOPE || scope == ndTEMPORARY_SCOPE)
            << scope;
        api::ndSetReusable(array.get(), false);
    }
    array->scope = ndLOCAL_SCOPE;
}

TEST_F(Reusable, IsIgnoredForAGlobalVariable) {
    const auto array = arr("double 2x2");
    array->scope = ndGLOBAL_SCOPE;
    api::ndSetReusable(array.get(), true);
    EXPECT_FALSE(api::ndIsReusable(array.get()));
}

TEST_F(Reusable, NeedsData) {
    const auto array = arr("double 0x2");
    api::ndSetReusable(array.get(), true);
    EXPECT_FALSE(api::ndIsReusable(array.get()));
}

TEST_F(Reusable, NeedsABlockThatNobodyElseUses) {
    const auto array = arr("double 2x2");
    auto copy = matrix::detail::do_shared_copy(array.get());
    api::ndSetReusable(array.get(), true);
    EXPECT_FALSE(api::ndIsReusable(array.get()));
    copy.reset();
    api::ndSetReusable(array.get(), true);
    EXPECT_TRUE(api::ndIsReusable(array.get())) << "shared once, alone now";
}

TEST_F(Reusable, EndsWithANewReference) {
    const auto array = arr("double 2x2");
    for (void (*refer)(ndArray_tag*) : {+[](ndArray_tag* a) { intrusive_ptr_add_ref(a); },
                                        +[](ndArray_tag* a) { EXPECT_EQ(api::ndCreateReference(a), a); }}) {
        api::ndSetReusable(array.get(), true);
        refer(array.get());
        EXPECT_FALSE(api::ndIsReusable(array.get()));
        EXPECT_EQ(array->ref_count, 2U);
        intrusive_ptr_release(array.get());
        EXPECT_EQ(array->ref_count, 1U);
    }
    EXPECT_EQ(api::ndCreateReference(nullptr), nullptr);
}

using Scope = NdTest;

TEST_F(Scope, IsStoredAndReadBack) {
    const auto array = arr("double 2x2");
    for (const std::uint32_t scope : {0U, 1U, 2U, 3U, 5U, 6U, 0U}) {
        api::ndSetArrayScope(array.get(), static_cast<ndVariableScope>(scope));
        EXPECT_EQ(api::ndGetArrayScope(array.get()), static_cast<ndVariableScope>(scope));
        EXPECT_EQ(array->scope, scope);
    }
}

TEST_F(Scope, IsAskedForByName) {
    const auto array = arr("double 2x2");
    for (std::uint32_t scope = 0; scope < 8; ++scope) {
        array->scope = scope;
        EXPECT_EQ(api::ndIsLocal(array.get()), scope == 0) << scope;
        EXPECT_EQ(api::ndIsGlobal(array.get()), scope == 2) << scope;
        EXPECT_EQ(api::ndIsTemp(array.get()), scope == 4) << scope;
        EXPECT_EQ(api::ndGetArrayScope(array.get()), static_cast<ndVariableScope>(scope));
        EXPECT_EQ(api::ndGetArrayScopeField(array.get()), static_cast<ndVariableScope>(scope));
    }
    array->scope = ndLOCAL_SCOPE;
}

// Without a list nobody would ever claim or end a temporary.
TEST_F(Scope, TemporaryNeedsAList) {
    const auto array = arr("double 2x2");
    api::ndSetArrayScope(array.get(), ndPERSISTENT_SCOPE);
    api::ndSetArrayScope(array.get(), ndTEMPORARY_SCOPE);
    EXPECT_EQ(api::ndGetArrayScope(array.get()), ndLOCAL_SCOPE);
}

using Sharing = NdTest;

TEST_F(Sharing, IsSuspectedByOwnersOrByTheHint) {
    using matrix::engine_access::mightBeShared;
    EXPECT_FALSE(mightBeShared(nullptr));
    const auto array = arr("double 2x2");
    EXPECT_FALSE(mightBeShared(array.get()));
    ++array->internal_ref_count;
    EXPECT_TRUE(mightBeShared(array.get()));
    --array->internal_ref_count;
    ++array->ref_count;
    EXPECT_TRUE(mightBeShared(array.get()));
    --array->ref_count;
    auto copy = matrix::detail::do_shared_copy(array.get());
    EXPECT_TRUE(mightBeShared(array.get()));
    EXPECT_TRUE(mightBeShared(copy.get()));
    copy.reset();
    EXPECT_TRUE(mightBeShared(array.get())) << "the hint stays, whatever the count says";
}

TEST_F(Sharing, IsKnownByOwnersOrByTheCount) {
    const auto array = arr("double 2x2");
    EXPECT_FALSE(api::ndIsSharedArray(array.get()));
    ++array->internal_ref_count;
    EXPECT_TRUE(api::ndIsSharedArray(array.get()));
    --array->internal_ref_count;
    ++array->ref_count;
    EXPECT_TRUE(api::ndIsSharedArray(array.get()));
    --array->ref_count;
    auto copy = matrix::detail::do_shared_copy(array.get());
    EXPECT_TRUE(api::ndIsSharedArray(array.get()));
    EXPECT_TRUE(api::ndIsSharedArray(copy.get()));
    copy.reset();
    EXPECT_FALSE(api::ndIsSharedArray(array.get())) << "alone again, whatever the hint says";
}

TEST_F(Sharing, NeedsMoreThanARecord) {
    const auto array = arr("double 2x2");
    array->setCustomDeleter([](void* block) { api::ndFreeEx(block); });
    ASSERT_NE(array->share_record, nullptr);
    EXPECT_FALSE(api::ndIsSharedArray(array.get()));
}

} // namespace
} // namespace test
