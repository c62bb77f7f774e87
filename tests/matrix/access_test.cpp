// Readers and writers of single fields: flags, scope, data, scalars, floating-point constants.
#include "matrix/class_table.hpp"
#include "support/arr.hpp"
#include "support/classes.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"

#include <nd/access.hpp>
#include <nd/engine_access.hpp>
#include <nd/messages.hpp>

#include <foundation/core/except/exception.hpp>

#include <bit>
#include <cmath>
#include <limits>

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

using Data = NdTest;

TEST_F(Data, IsTheBlockAsEachReaderNamesIt) {
    const auto number = arr("double 1x2", {1, 2});
    EXPECT_EQ(api::ndGetData(number.get()), number->pdata);
    EXPECT_EQ(api::published::ndGetData(number.get()), number->pdata);
    EXPECT_EQ(api::published::ndGetData(nullptr), nullptr);
    EXPECT_EQ(api::published::ndGetPr(number.get()), number->pdata);
    EXPECT_EQ(api::published::ndGetPr(nullptr), nullptr);
    const auto text = arr("char", u"ab");
    EXPECT_EQ(api::ndGetChars(text.get())[1], u'b');
    const auto truth = arr("logical 1x2", {1, 0});
    EXPECT_TRUE(api::ndGetLogicals(truth.get())[0]);
    EXPECT_FALSE(api::ndGetLogicals(truth.get())[1]);
}

TEST_F(Data, OfAComplexArrayHasNoRealPartToHandOut) {
    using illegal = foundation::core::except::Exception<TARVEL::matrix::illegalComplexArray>;
    for_each_class(class_set::with_bytes, [](const class_case& c) {
        const auto array = numbered(c.id, c.complexity, dims_list{1, 2});
        for_each_module_mode([&](int mode) {
            if (c.complexity == ndCOMPLEX && mode == mode_exceptions) {
                EXPECT_THROW(api::published::ndGetPr(array.get()), illegal);
            } else if (c.complexity == ndCOMPLEX) {
                EXPECT_EQ(api::published::ndGetPr(array.get()), nullptr);
            } else {
                EXPECT_EQ(api::published::ndGetPr(array.get()), array->pdata);
            }
        });
    });
}

using Scalar = NdTest;

TEST_F(Scalar, IsTheFirstElementAsADouble) {
    struct {
        const char* description;
        number element;
        double wanted;
    } const rows[] = {
        {"logical", 1, 1},
        {"char", 65, 65},
        {"char", 0xFFFF, 65535},
        {"double", -2.5, -2.5},
        {"single", 0.1F, static_cast<double>(0.1F)},
        {"int8", -128, -128},
        {"uint8", 255, 255},
        {"int16", -32768, -32768},
        {"uint16", 65535, 65535},
        {"int32", std::numeric_limits<std::int32_t>::min(), -2147483648.0},
        {"uint32", 4294967295U, 4294967295.0},
        {"int64", (std::int64_t{1} << 53) + 1, 9007199254740992.0},
        {"int64", -(std::int64_t{1} << 53) - 3, -9007199254740996.0},
        {"uint64", ~std::uint64_t{0}, 18446744073709551616.0},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(api::ndGetScalar(arr(row.description, {row.element}).get()), row.wanted) << row.description;
    }
    EXPECT_EQ(api::ndGetScalar(arr("double 2x2", {7, 8, 9, 10}).get()), 7.0);
    EXPECT_EQ(api::ndGetScalar(arr("complex int16", {{3, 4}}).get()), 3.0);
    EXPECT_TRUE(std::isnan(api::ndGetScalar(arr("double", {api::ndGetNaN()}).get())));
}

TEST_F(Scalar, IsZeroWhereThereIsNone) {
    EXPECT_EQ(api::ndGetScalar(arr("double 0x3").get()), 0.0);
    EXPECT_EQ(api::ndGetScalar(arr("cell 1x1", arr("double", {5})).get()), 0.0);
    for (const class_case& c : classes_of(class_set::all)) {
        if (matrix::internal::has_plain_elements(c.id)) continue;
        const auto array = matrix::detail::do_create_numeric(dims_list{1, 1}, c.code());
        EXPECT_EQ(api::ndGetScalar(array.get()), 0.0) << c.name;
    }
}

TEST_F(Scalar, OfASparseArrayIsItsFirstStoredValue) {
    double values[] = {4.5, 6.5};
    std::uint64_t rows[] = {1, 1};
    std::uint64_t starts[] = {0, 1, 2};
    const auto array = matrix::create(dims_list{0, 0}, ndDOUBLE_CLASS, ndREAL);
    array->flags |= matrix::flag_sparse | matrix::flag_data_private;
    array->set_dimensions(dims_list{3, 2});
    array->pdata = values;
    EXPECT_EQ(api::ndGetScalar(array.get()), 0.0) << "no index vectors";
    array->info_a = reinterpret_cast<std::uint64_t>(rows);
    array->info_b = reinterpret_cast<std::uint64_t>(starts);
    array->info_c = 2;
    EXPECT_EQ(api::ndGetScalar(array.get()), 4.5) << "whatever element it is";
    starts[1] = starts[2] = 0;
    EXPECT_EQ(api::ndGetScalar(array.get()), 0.0) << "nothing stored";
    array->info_a = array->info_b = array->info_c = 0; // the vectors are the test's
}

// A logical buffer may come from outside with bytes other than 0 and 1.
TEST_F(Scalar, OfALogicalIsItsByte) {
    const auto truth = arr("logical", {1});
    static_cast<unsigned char*>(truth->pdata)[0] = 7;
    EXPECT_EQ(api::ndGetScalar(truth.get()), 7.0);
}

TEST(FloatingPoint, Constants) {
    EXPECT_EQ(api::ndGetEps(), 2.220446049250313e-16);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(api::ndGetInf()), 0x7FF0000000000000U);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(api::ndGetNaN()), 0xFFF8000000000000U)
        << "quiet, with its sign bit set";
    EXPECT_TRUE(std::signbit(api::ndGetNaN()));
}

TEST(FloatingPoint, Tests) {
    constexpr double largest = std::numeric_limits<double>::max();
    struct {
        double x;
        bool finite, infinite, nan;
    } const rows[] = {
        {0.0, true, false, false},
        {-0.0, true, false, false},
        {largest, true, false, false},
        {-largest, true, false, false},
        {std::numeric_limits<double>::denorm_min(), true, false, false},
        {api::ndGetInf(), false, true, false},
        {-api::ndGetInf(), false, true, false},
        {api::ndGetNaN(), false, false, true},
        {std::bit_cast<double>(std::uint64_t{0x7FF0000000000001}), false, false, true},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(api::ndIsFinite(row.x), row.finite) << row.x;
        EXPECT_EQ(api::ndIsInf(row.x), row.infinite) << row.x;
        EXPECT_EQ(api::ndIsNaN(row.x), row.nan) << row.x;
    }
}

} // namespace
} // namespace test
