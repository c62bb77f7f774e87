// The creators and dimension readers of each generation, called through C code that was compiled for it.
#include "api/generation_probe.h"
#include "api/mode.hpp"

#include <nd/create.hpp>

#include <algorithm>
#include <cstring>

namespace {

using dims = std::vector<long long>;

struct header {
    int class_id;
    bool complex;
    dims shape;
    bool operator==(const header&) const = default;
};

class EachGeneration : public testing::TestWithParam<const generation_probe*> {
protected:
    const generation_probe& api() const { return *GetParam(); }

    /// Owns what a creator of the generation returned.
    matrix::array_ptr own(ndArray_tag* array) const {
        EXPECT_NE(array, nullptr);
        return matrix::array_ptr(array);
    }

    dims shape_of(const ndArray_tag* array) const {
        const void* own_dims = api().dimensions(array);
        dims shape;
        for (int i = 0; i < api().number_of_dimensions(array); ++i)
            shape.push_back(api().dimension(own_dims, i));
        return shape;
    }

    header header_of(const ndArray_tag* array) const {
        const bool complex = (array->flags & matrix::flags_complex_numeric) == matrix::flags_complex_numeric;
        return {array->class_id, complex, shape_of(array)};
    }
};

bool all_zero(const ndArray_tag* array, std::size_t bytes) {
    const auto* data = static_cast<const unsigned char*>(array->pdata);
    return std::all_of(data, data + bytes, [](unsigned char byte) { return byte == 0; });
}

TEST_P(EachGeneration, TellsItsVersion) {
    const std::uint32_t expected = api().api == 700 ? 0x07000000 : api().api == 730 ? 0x07300000 : 0x08000000;
    EXPECT_EQ(api().interface_version, expected);
}

TEST_P(EachGeneration, MakesMatrices) {
    const auto doubles = own(api().double_matrix(3, 4, ndREAL));
    EXPECT_EQ(header_of(doubles.get()), (header{ndDOUBLE_CLASS, false, {3, 4}}));
    EXPECT_TRUE(all_zero(doubles.get(), 12 * sizeof(double)));
    const auto complex = own(api().double_matrix(2, 1, ndCOMPLEX));
    EXPECT_EQ(header_of(complex.get()), (header{ndDOUBLE_CLASS, true, {2, 1}}));
    EXPECT_TRUE(all_zero(complex.get(), 4 * sizeof(double)));
    const auto logicals = own(api().logical_matrix(5, 2));
    EXPECT_EQ(header_of(logicals.get()), (header{ndLOGICAL_CLASS, false, {5, 2}}));
    EXPECT_TRUE(all_zero(logicals.get(), 10));
    const auto empty = own(api().double_matrix(0, 7, ndREAL));
    EXPECT_EQ(header_of(empty.get()), (header{ndDOUBLE_CLASS, false, {0, 7}}));
}

TEST_P(EachGeneration, MakesEveryNumericClass) {
    for (int class_id = ndDOUBLE_CLASS; class_id <= ndUINT64_CLASS; ++class_id) {
        const auto real = own(api().numeric_matrix(2, 3, class_id, ndREAL));
        EXPECT_EQ(header_of(real.get()), (header{class_id, false, {2, 3}}));
        const auto complex = own(api().numeric_matrix(2, 3, class_id, ndCOMPLEX));
        EXPECT_EQ(header_of(complex.get()), (header{class_id, true, {2, 3}}));
        const auto scalar = own(api().numeric_scalar(class_id, ndCOMPLEX));
        EXPECT_EQ(header_of(scalar.get()), (header{class_id, true, {1, 1}}));
        const auto unset = own(api().uninit_numeric_matrix(3, 2, class_id, ndREAL));
        EXPECT_EQ(header_of(unset.get()), (header{class_id, false, {3, 2}}));
    }
}

TEST_P(EachGeneration, MakesArraysOfAnyDimensions) {
    const struct {
        dims given, expected;
    } cases[] = {
        {{}, {0, 0}},
        {{5}, {5, 1}},
        {{2, 3}, {2, 3}},
        {{2, 3, 1, 1}, {2, 3}},
        {{2, 1, 3}, {2, 1, 3}},
        {{1, 2, 1, 2, 1, 2}, {1, 2, 1, 2, 1, 2}}, // more than the narrowed dimensions have room for inline
        {{2, 0, 2}, {2, 0, 2}},
    };
    for (const auto& one : cases) {
        const int ndim = static_cast<int>(one.given.size());
        const auto numeric = own(api().numeric_array(ndim, one.given.data(), ndINT16_CLASS, ndCOMPLEX));
        EXPECT_EQ(header_of(numeric.get()), (header{ndINT16_CLASS, true, one.expected}));
        const auto logical = own(api().logical_array(ndim, one.given.data()));
        EXPECT_EQ(header_of(logical.get()), (header{ndLOGICAL_CLASS, false, one.expected}));
        const std::vector<std::size_t> wide(one.given.begin(), one.given.end());
        const auto unset = own(api().uninit_numeric_array(ndim, wide.data(), ndSINGLE_CLASS, ndREAL));
        EXPECT_EQ(header_of(unset.get()), (header{ndSINGLE_CLASS, false, one.expected}));
    }
}

TEST_P(EachGeneration, MakesScalarsWithTheirValue) {
    const auto number = own(api().double_scalar(-2.5));
    EXPECT_EQ(header_of(number.get()), (header{ndDOUBLE_CLASS, false, {1, 1}}));
    EXPECT_EQ(*static_cast<const double*>(number->pdata), -2.5);
    const auto single = own(api().single_scalar(0.5F));
    EXPECT_EQ(header_of(single.get()), (header{ndSINGLE_CLASS, false, {1, 1}}));
    EXPECT_EQ(*static_cast<const float*>(single->pdata), 0.5F);
    const auto yes = own(api().logical_scalar(true));
    EXPECT_EQ(header_of(yes.get()), (header{ndLOGICAL_CLASS, false, {1, 1}}));
    EXPECT_EQ(*static_cast<const unsigned char*>(yes->pdata), 1);
}

// Which values mean complex differs between creators: exactly 1 for most, anything but 0 for two of the uninitialised ones.
TEST_P(EachGeneration, TakesComplexityAsEachCreatorDoes) {
    EXPECT_FALSE(header_of(own(api().double_matrix(1, 1, 2)).get()).complex);
    EXPECT_FALSE(header_of(own(api().numeric_matrix(1, 1, ndINT8_CLASS, -1)).get()).complex);
    EXPECT_TRUE(header_of(own(api().uninit_double_matrix(2, 1, 1)).get()).complex);
    EXPECT_TRUE(header_of(own(api().uninit_numeric_matrix(1, 1, ndINT8_CLASS, 2)).get()).complex);
    const std::size_t one[] = {1, 1};
    EXPECT_FALSE(header_of(own(api().uninit_numeric_array(2, one, ndINT8_CLASS, 2)).get()).complex);
}

TEST_P(EachGeneration, ReadsTheShape) {
    const long long shape[] = {2, 3, 4};
    const auto array = own(api().numeric_array(3, shape, ndUINT8_CLASS, ndREAL));
    EXPECT_EQ(api().m(array.get()), 2U);
    EXPECT_EQ(api().n(array.get()), 12U);
    EXPECT_EQ(api().number_of_elements(array.get()), 24U);
}

TEST_P(EachGeneration, CountsTheElementsBeforeOne) {
    const long long shape[] = {2, 3, 4};
    const auto array = own(api().numeric_array(3, shape, ndUINT8_CLASS, ndREAL));
    const long long subs[] = {1, 2, 3, 4, 5};
    EXPECT_EQ(api().single_subscript(array.get(), 0, subs), 0);
    EXPECT_EQ(api().single_subscript(array.get(), 1, subs), 1);
    EXPECT_EQ(api().single_subscript(array.get(), 2, subs), 1 + 2 * 2);
    EXPECT_EQ(api().single_subscript(array.get(), 3, subs), 1 + 2 * 2 + 3 * 6);
    EXPECT_EQ(api().single_subscript(array.get(), 5, subs), 1 + 2 * 2 + 3 * 6) << "no more than dimensions";
    const auto matrix = own(api().double_matrix(2, 3, ndREAL));
    EXPECT_EQ(api().single_subscript(matrix.get(), 5, subs), 1 + 2 * 2);
}

TEST_P(EachGeneration, DestroysArrays) {
    api().destroy(api().double_matrix(3, 3, ndREAL));
    api().destroy(nullptr);
}

INSTANTIATE_TEST_SUITE_P(Api, EachGeneration, testing::Values(&probe_700, &probe_730, &probe_800),
                         [](const auto& instance) { return std::to_string(instance.param->api); });

} // namespace
