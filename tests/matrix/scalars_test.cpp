// Single numbers out of arrays, and the constants and tests of doubles.
#include "matrix/class_table.hpp"
#include "matrix/sparse_array.hpp"
#include "support/arr.hpp"
#include "support/classes.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"
#include "support/variations.hpp"

#include <nd/access.hpp>
#include <nd/messages.hpp>

#include <foundation/core/except/exception.hpp>

#include <bit>
#include <climits>
#include <cmath>
#include <limits>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using dims_list = std::vector<std::size_t>;

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

using FullScalarDouble = NdTest;

TEST_F(FullScalarDouble, IsADoubleAlone) {
    EXPECT_TRUE(api::ndIsFullScalarDouble(arr("double", {5}).get()));
    EXPECT_TRUE(api::ndIsFullScalarDouble(arr("complex double", {{5, 6}}).get()));
    EXPECT_FALSE(api::ndIsFullScalarDouble(arr("double 1x2").get()));
    EXPECT_FALSE(api::ndIsFullScalarDouble(arr("double 0x0").get()));
    EXPECT_FALSE(api::ndIsFullScalarDouble(arr("double 1x1x2").get()));
    for_each_class(class_set::all, [](const class_case& c) {
        const auto array = matrix::detail::do_create_numeric(dims_list{1, 1}, c.code());
        EXPECT_EQ(api::ndIsFullScalarDouble(array.get()), c.id == ndDOUBLE_CLASS);
    });
}

// The flag is a hint: it may be clear on a scalar.
TEST_F(FullScalarDouble, DoesntAskTheFlag) {
    for_each_variation(arr("double", {5}), [](array_ptr& array) {
        api::ndClearScalarDoubleFlag(array.get());
        EXPECT_TRUE(api::ndIsFullScalarDouble(array.get()));
    });
}

class ScalarInt : public NdTest {
protected:
    /// What the call raises in module mode 1, as "shown id, catalog key"; in any other mode its answer is 0.
    static std::string refusal_of(const ndArray_tag* array) {
        const int answer = with_module_mode(mode_null_results, [&] { return api::ndGetScalarInt(array); });
        EXPECT_EQ(answer, 0);
        const module_mode_scope mode(mode_exceptions);
        try {
            return "none: " + std::to_string(api::ndGetScalarInt(array));
        } catch (const foundation::core::except::IMsgIDException& error) {
            EXPECT_TRUE(error.GetBaseMsgIDObj().arguments().empty());
            return std::string(error.GetID());
        }
    }
};

constexpr const char* not_a_scalar = "TARVEL:ScalIntReq";
constexpr const char* not_a_number = "TARVEL:NonNumInt";
constexpr const char* not_whole = "TARVEL:IntVal";
constexpr const char* too_big = "TARVEL:IntTooBig";

TEST_F(ScalarInt, IsTheValue) {
    struct {
        const char* description;
        number element;
        int wanted;
    } const rows[] = {
        {"logical", 1, 1},
        {"char", 65, 65},
        {"char", 0xFFFF, 65535},
        {"uint8", 255, 255},
        {"uint16", 65535, 65535},
        {"int8", -128, -128},
        {"int16", -32768, -32768},
        {"int32", INT_MIN, INT_MIN},
        {"int32", INT_MAX, INT_MAX},
        {"uint32", 0x7FFFFFFF, INT_MAX},
        {"int64", INT_MIN, INT_MIN},
        {"int64", INT_MAX, INT_MAX},
        {"uint64", INT_MAX, INT_MAX},
        {"double", 2.0, 2},
        {"double", -0.0, 0},
        {"double", -2147483648.0, INT_MIN},
        {"double", 2147483647.0, INT_MAX},
        {"single", -7.0F, -7},
        {"single", -2147483648.0F, INT_MIN},
        {"single", 2147483520.0F, 2147483520},
    };
    for (const auto& row : rows) {
        for_each_variation(arr(row.description, {row.element}), [&](array_ptr& array) {
            for_each_module_mode(
                [&](int) { EXPECT_EQ(api::ndGetScalarInt(array.get()), row.wanted) << row.description; });
        });
    }
}

TEST_F(ScalarInt, MustBeWholeAndFit) {
    constexpr double inf = std::numeric_limits<double>::infinity();
    struct {
        const char* description;
        number element;
        const char* id;
    } const rows[] = {
        {"double", 2.5, not_whole},
        {"double", -0.5, not_whole},
        {"double", 1e-300, not_whole},
        {"double", 2147483647.5, not_whole},
        {"double", 2147483648.0, not_whole},
        {"double", -2147483648.5, not_whole},
        {"double", -2147483649.0, not_whole},
        {"double", 1e300, not_whole},
        {"double", inf, not_whole},
        {"double", -inf, not_whole},
        {"double", std::numeric_limits<double>::quiet_NaN(), not_whole},
        {"single", 2147483648.0F, not_whole},
        {"single", 0.5F, not_whole},
        {"single", std::numeric_limits<float>::quiet_NaN(), not_whole},
        {"uint32", 0x80000000U, too_big},
        {"uint32", 0xFFFFFFFFU, too_big},
        {"int64", std::int64_t{INT_MAX} + 1, too_big},
        {"int64", std::int64_t{INT_MIN} - 1, too_big},
        {"int64", std::numeric_limits<std::int64_t>::max(), too_big},
        {"uint64", std::uint64_t{INT_MAX} + 1, too_big},
        {"uint64", ~std::uint64_t{0}, too_big},
    };
    for (const auto& row : rows)
        EXPECT_EQ(refusal_of(arr(row.description, {row.element}).get()), row.id) << row.description;
}

TEST_F(ScalarInt, NeedsOneElement) {
    for (const char* description :
         {"double 0x0", "double 1x2", "int8 2x2", "char 1x0", "cell 2x1", "cell 0x0"})
        EXPECT_EQ(refusal_of(arr(description).get()), not_a_scalar) << description;
    EXPECT_EQ(refusal_of(arr("complex double 1x2").get()), not_a_scalar);
}

TEST_F(ScalarInt, MustBeReal) {
    for_each_class(class_set::numeric, [](const class_case& c) {
        if (c.complexity != ndCOMPLEX) return;
        const auto array = numbered(c.id, c.complexity, dims_list{1, 1});
        EXPECT_EQ(refusal_of(array.get()), not_a_scalar);
    });
}

// Both complaints have one id and a text each.
TEST_F(ScalarInt, TellsAnArrayFromAComplexValue) {
    using except = foundation::core::except::IMsgIDException;
    const module_mode_scope mode(mode_exceptions);
    try {
        api::ndGetScalarInt(arr("double 1x2").get());
        ADD_FAILURE();
    } catch (const except& error) {
        EXPECT_NE(dynamic_cast<const TARVEL::matrix::arrayScalIntReq*>(&error.GetBaseMsgIDObj()), nullptr);
    }
    try {
        api::ndGetScalarInt(arr("complex double", {{1, 0}}).get());
        ADD_FAILURE();
    } catch (const except& error) {
        EXPECT_NE(dynamic_cast<const TARVEL::matrix::complexScalIntReq*>(&error.GetBaseMsgIDObj()), nullptr);
    }
}

TEST_F(ScalarInt, MustBeANumber) {
    for_each_class(class_set::all, [](const class_case& c) {
        const auto array = matrix::detail::do_create_numeric(dims_list{1, 1}, c.code());
        if (matrix::internal::has_plain_elements(c.id) && c.id != ndVOID_CLASS) {
            EXPECT_EQ(refusal_of(array.get()), "none: 0");
        } else {
            EXPECT_EQ(refusal_of(array.get()), not_a_number);
        }
    });
    const auto without_data = arr("double 0x0");
    without_data->set_dimensions(dims_list{1, 1});
    EXPECT_EQ(refusal_of(without_data.get()), not_a_number);
    without_data->set_dimensions({});
}

TEST_F(ScalarInt, OfACharThatIsMarkedComplexIsItsValue) {
    const auto text = arr("char", u"A");
    text->flags |= matrix::flag_complex;
    EXPECT_EQ(api::ndGetScalarInt(text.get()), 65);
}

TEST_F(ScalarInt, OfASparseScalarIsWhatItStores) {
    const auto array = sparse_3x2();
    auto* const starts = reinterpret_cast<std::uint64_t*>(array->info_b);
    static_cast<double*>(array->pdata)[0] = 12.0;
    array->set_dimensions(dims_list{1, 1});
    starts[1] = 1;
    EXPECT_EQ(api::ndGetScalarInt(array.get()), 12);
    starts[1] = 0;
    EXPECT_EQ(api::ndGetScalarInt(array.get()), 0) << "nothing stored is 0, whatever the block holds";
    array->set_dimensions(dims_list{3, 2});
    starts[1] = 1;
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
