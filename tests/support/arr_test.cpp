// Values in place: what they hold, and how a wrong description is answered.
#include "support/arr.hpp"

#include "matrix/dimensions.hpp"
#include "matrix/validate.hpp"
#include "support/array_matchers.hpp"
#include "support/classes.hpp"
#include "support/fixture.hpp"

#include <limits>
#include <stdexcept>

namespace {

using test::arr;
using test::EqualsArray;
using test::NdTest;
using test::numbered;
using ::testing::HasSubstr;
using namespace std::complex_literals;

template <class T>
const T* data_of(const matrix::array_ptr& array) {
    return static_cast<const T*>(array->pdata);
}

std::string refusal_of(const std::function<void()>& body) {
    try {
        body();
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    return "not refused";
}

using Arr = NdTest;

TEST_F(Arr, HoldsNumbersByColumn) {
    const auto array = arr("double 2x3", {1, 2, 3, 4.5, -5, 1e300});
    EXPECT_EQ(array->class_id, ndDOUBLE_CLASS);
    EXPECT_EQ(array->m_or_dims, 2U);
    EXPECT_EQ(array->n_or_ndims, 3U);
    EXPECT_EQ(data_of<double>(array)[0], 1);
    EXPECT_EQ(data_of<double>(array)[3], 4.5);
    EXPECT_EQ(data_of<double>(array)[5], 1e300);
}

TEST_F(Arr, KeepsIntegersOfFullWidthExact) {
    constexpr auto lowest = std::numeric_limits<std::int64_t>::min();
    constexpr auto highest = std::numeric_limits<std::uint64_t>::max();
    EXPECT_EQ(data_of<std::int64_t>(arr("int64", {lowest}))[0], lowest);
    EXPECT_EQ(data_of<std::uint64_t>(arr("uint64", {highest}))[0], highest);
}

TEST_F(Arr, InterleavesComplexElements) {
    const auto array = arr("complex single 1x3", {1, 2.0i, {3, 4}});
    const float expected[] = {1, 0, 0, 2, 3, 4};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(data_of<float>(array)[i], expected[i]) << i;
}

TEST_F(Arr, MakesRowsOfTextAndShapedText) {
    const auto row = arr("char", u"text");
    EXPECT_EQ(row->m_or_dims, 1U);
    EXPECT_EQ(row->n_or_ndims, 4U);
    EXPECT_EQ(data_of<char16_t>(row)[2], u'x');
    EXPECT_EQ(arr("char 2x2", u"abcd")->m_or_dims, 2U);
    EXPECT_EQ(arr("char", u"")->pdata, nullptr);
}

TEST_F(Arr, PutsArraysIntoCells) {
    const auto cell = arr("cell 1x3", arr("double", {1}), nullptr, arr("cell", arr("int8", {2})));
    EXPECT_EQ(matrix::internal::validate(cell.get()), "");
    EXPECT_EQ(data_of<ndArray_tag*>(cell)[1], nullptr);
    EXPECT_EQ(data_of<ndArray_tag*>(cell)[2]->class_id, ndCELL_CLASS);
}

TEST_F(Arr, IsZeroWithoutElements) {
    const auto array = arr("int16 2x2x2");
    EXPECT_EQ(matrix::internal::element_count(array.get()), 8U);
    for (int i = 0; i < 8; ++i) EXPECT_EQ(data_of<std::int16_t>(array)[i], 0);
    EXPECT_EQ(arr("double")->m_or_dims, 1U);
}

TEST_F(Arr, NumbersEveryClass) {
    test::for_each_class(test::class_set::with_bytes, [](const test::class_case& c) {
        const auto array = numbered(c.name + " 3x2");
        EXPECT_EQ(matrix::internal::validate(array.get()), "");
        EXPECT_EQ(test::class_text(array.get()), c.name);
        EXPECT_NE(test::element_text(array.get(), 0), test::element_text(array.get(), 1));
    });
    EXPECT_THAT(numbered("uint8 1x3"), EqualsArray(arr("uint8 1x3", {1, 2, 3})));
}

struct refusal {
    const char* description;
    std::vector<test::number> elements;
    const char* reason;
};

TEST_F(Arr, RefusesWhatItDoesNotUnderstand) {
    const refusal rows[] = {
        {"doble 2x3", {}, "\"doble\" isn't a class"},
        {"", {}, "a class is missing"},
        {"complex", {}, "a class is missing"},
        {"complex logical", {}, "the class has no complex elements"},
        {"double 2x", {}, "\"\" isn't a dimension"},
        {"double 2xy", {}, "\"y\" isn't a dimension"},
        {"double 4", {}, "\"4\" has a single dimension"},
        {"double 2x2 row", {}, "\"row\" is one word too many"},
        {"double 2x2", {1, 2, 3}, "4 elements wanted, 3 given"},
        {"int8", {128}, "element 0, 128 + 0i, doesn't fit"},
        {"int8", {0.5}, "doesn't fit"},
        {"uint64", {-1}, "doesn't fit"},
        {"int64", {9223372036854775808.0}, "doesn't fit"},
        {"int32", {std::numeric_limits<double>::quiet_NaN()}, "doesn't fit"},
        {"double", {{1, 2}}, "doesn't fit"},
        {"cell", {1}, "isn't written with numbers"},
    };
    for (const refusal& row : rows) {
        SCOPED_TRACE(row.description);
        const std::string answer =
            refusal_of([&] { arr(row.description, std::span<const test::number>(row.elements)); });
        EXPECT_THAT(answer, HasSubstr(row.reason));
        EXPECT_THAT(answer, HasSubstr(std::string("\"") + row.description + "\""));
    }
    EXPECT_THAT(refusal_of([] { arr("char 2x2", u"abc"); }), HasSubstr("4 elements wanted, 3 given"));
    EXPECT_THAT(refusal_of([] { arr("double 1x3", u"abc"); }), HasSubstr("text is for class char"));
    EXPECT_THAT(refusal_of([] { arr("double", arr("double")); }), HasSubstr("arrays go into a cell"));
}

} // namespace
