// The comparison finds each kind of difference and says where it is.
#include "support/array_matchers.hpp"

#include "support/arr.hpp"
#include "support/fixture.hpp"

#include <cmath>
#include <limits>

namespace {

using test::arr;
using test::array_difference;
using test::EqualsArray;
using test::numbered;
using ::testing::HasSubstr;
using ::testing::Not;
using namespace std::complex_literals;

using ArrayMatchers = test::NdTest;

std::string difference(const matrix::array_ptr& expected, const matrix::array_ptr& actual) {
    return array_difference(expected.get(), actual.get());
}

TEST_F(ArrayMatchers, EqualValuesAreEqualWhateverTheirBlock) {
    const auto value = numbered("complex int16 2x3x2");
    EXPECT_THAT(matrix::detail::do_shared_copy(value.get()), EqualsArray(value.get()));
    EXPECT_THAT(numbered("complex int16 2x3x2"), EqualsArray(value.get()));
    EXPECT_THAT(arr("double 0x3"), EqualsArray(arr("double 0x3")));
}

struct unequal_pair {
    matrix::array_ptr expected;
    matrix::array_ptr actual;
    const char* message;
};

TEST_F(ArrayMatchers, NamesWhatDiffers) {
    std::vector<unequal_pair> pairs;
    const auto add = [&](matrix::array_ptr expected, matrix::array_ptr actual, const char* message) {
        pairs.push_back({std::move(expected), std::move(actual), message});
    };
    add(arr("double"), arr("single"), "expected class double, is single");
    add(arr("double"), arr("complex double"), "expected class double, is complex double");
    add(arr("double 2x3"), arr("double 3x2"), "expected dimensions 2x3, is 3x2");
    add(arr("double 0x1"), arr("double 0x2"), "expected dimensions 0x1, is 0x2");
    add(arr("int8 2x2", {1, 2, 3, 4}), arr("int8 2x2", {1, 2, 0, 4}), "at (1,2) expected 3, is 0");
    add(arr("int8 2x1x2", {1, 2, 3, 4}), arr("int8 2x1x2", {1, 2, 3, 5}), "at (2,1,2) expected 4, is 5");
    add(arr("complex single", {{1, 2}}), arr("complex single", {{1, 3}}), "expected 1 + 2i, is 1 + 3i");
    add(arr("char", u"ab"), arr("char", u"a\u0001"), "expected 'b', is u1");
    add(arr("double", {0.0}), arr("double", {-0.0}), "expected 0, is -0");
    add(numbered("double 1x20"), arr("double 1x20"), "20 of 20 elements differ");
    add(arr("cell", arr("double", {1})), arr("cell", arr("double", {2})),
        "cell element 0: 1 of 1 elements differ");
    add(arr("cell 1x2", arr("int8"), nullptr), arr("cell 1x2"),
        "cell element 0: expected <int8 1x1>, is (empty slot)");
    add(arr("cell", arr("cell 1x2", nullptr, arr("int8"))),
        arr("cell", arr("cell 1x2", nullptr, arr("int16"))),
        "cell element 0: cell element 1: expected class int8, is int16");
    for (const unequal_pair& pair : pairs) {
        EXPECT_THAT(difference(pair.expected, pair.actual), HasSubstr(pair.message));
        EXPECT_THAT(pair.actual, Not(EqualsArray(pair.expected.get())));
    }
}

TEST_F(ArrayMatchers, NanEqualsEveryNan) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THAT(arr("double 1x2", {nan, 1}), EqualsArray(arr("double 1x2", {std::copysign(nan, -1.0), 1})));
    EXPECT_THAT(arr("double", {nan}), Not(EqualsArray(arr("double", {1}))));
}

TEST_F(ArrayMatchers, NullEqualsNullAlone) {
    EXPECT_EQ(array_difference(nullptr, nullptr), "");
    EXPECT_THAT(array_difference(arr("double").get(), nullptr), HasSubstr("is (null)"));
}

TEST_F(ArrayMatchers, ABrokenArrayEqualsNothing) {
    const auto value = arr("int8", {1});
    value->next = value.get();
    EXPECT_THAT(array_difference(value.get(), value.get()), HasSubstr("isn't valid: broken rule"));
    value->next = nullptr;
}

TEST_F(ArrayMatchers, StorageCounts) {
    const auto plain = numbered("double 1x3");
    const auto range = numbered("double 1x3");
    range->flags |= matrix::flag_colon_object;
    EXPECT_THAT(difference(plain, range), HasSubstr("expected storage none, is colon-object"));
}

TEST_F(ArrayMatchers, SharedElementsOfADeepNestingAreComparedOnce) {
    // Each level holds the one below twice: 2^60 ways down.
    const auto tower = [] {
        matrix::array_ptr level = arr("int8", {7});
        for (int i = 0; i < 60; ++i) {
            matrix::array_ptr twin(matrix::detail::noninlined::nd_array_api::ndCreateReference(level.get()));
            level = arr("cell 1x2", std::move(level), std::move(twin));
        }
        return level;
    };
    EXPECT_EQ(difference(tower(), tower()), "");
}

TEST_F(ArrayMatchers, PrintsValueAndFlags) {
    EXPECT_EQ(test::array_text(arr("int8 1x2", {1, -2}).get()), "int8 1x2 {1, -2} [numeric|inline-dims]");
    EXPECT_EQ(test::array_text(nullptr), "(null)");
    EXPECT_THAT(test::array_text(numbered("double 1x20").get()), HasSubstr("12, ... 20 in all}"));
    EXPECT_EQ(::testing::PrintToString(arr("double", {0.1})),
              "double 1x1 {0.10000000000000001} [scalar-double|numeric|inline-dims]");
}

} // namespace
