// How many elements a range of floating-point numbers has, against exact arithmetic and case by case.
#include "indexing/colon_oracle.hpp"
#include "indexing/random_ranges.hpp"
#include "support/fixture.hpp"

#include "indexing/colon_count.hpp"

#include <nd/colon.hpp>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double largest = std::numeric_limits<double>::max();
constexpr double smallest = std::numeric_limits<double>::denorm_min();
constexpr double two_to_53 = 0x1p53;

double count_of(const triple& t, ndClassID cls = ndDOUBLE_CLASS) {
    return api::ndColonop_size(t.start, t.step, t.stop, cls);
}

using ColonCount = NdTest;

struct counted {
    triple range;
    double wanted;
    const char* why;
};

const counted rows[] = {
    {{0, 0.1, 1}, 11, "an end that rounding misses"},
    {{1, 1, 10}, 10, "step 1"},
    {{1, 1, 0}, 0, "step 1 away from stop"},
    {{1, 1, 3.7}, 3, "stop without its fraction"},
    {{-3, 1, -1.5}, 2, "below 0 as well"},
    {{5, -1, 5}, 1, "both ends the same"},
    {{5, 1, 5}, 1, "both ends the same, upwards"},
    {{5.5, 2, 5.5}, 1, "both ends the same, with a fraction"},
    {{10, -3, 1}, 4, "downwards"},
    {{1, 3, 10}, 4, "upwards onto stop"},
    {{1, 3, 9}, 3, "short of stop"},
    {{1, -1, 5}, 0, "a negative step upwards"},
    {{5, 2, 1}, 0, "a positive step downwards"},
    {{1, 0, 5}, 0, "no step"},
    {{1, -0.0, 5}, 0, "no step, negative zero"},
    {{1, 0, 1}, 0, "no step and nowhere to go"},
    {{0.5, 0, 0.5}, 0, "the same with fractions"},
    {{-1e308, 1e308, 1e308}, 3, "a distance above the largest double"},
    {{1e308, -1e308, -1e308}, 3, "the same downwards"},
    {{-largest, largest, largest}, 3, "the largest distance"},
    {{0, largest, largest}, 2, "one large step"},
    {{0, smallest, 4 * smallest}, 5, "halves that vanish: the step"},
    {{smallest, 2 * smallest, 9 * smallest}, 5, "halves that vanish: start"},
    {{0, 2 * smallest, 9 * smallest}, 5, "stop halves to less"},
    {{0, 3 * smallest, 9 * smallest}, 4, "halves that are rounded without vanishing"},
    {{355 * smallest, 3 * smallest, 17667 * smallest},
     5771,
     "the same, and a quarter of the elements with it"},
    {{-smallest, 0.5, 1}, 3, "start halves to nothing"},
    {{-1, 0.5, smallest}, 3, "stop halves to nothing"},
    {{two_to_53 + 2, 1, two_to_53 + 6}, 5, "step 1 from a start above 2^53: by rounding"},
    {{two_to_53 + 2, 1, two_to_53 + 8}, 7, "the same; every second element can't be a double"},
    {{two_to_53, 1, two_to_53 + 6}, 7, "step 1 from 2^53"},
    {{two_to_53 - 1, 1, two_to_53}, 2, "step 1 up to 2^53"},
    {{-two_to_53, 3, -two_to_53 + 2}, 1, "the smallest start"},
    {{-two_to_53, 3, two_to_53}, 6004799503160662.0, "the longest way"},
    {{two_to_53, -3, -two_to_53}, 6004799503160662.0, "the longest way down"},
    {{1, 1, inf}, inf, "no end"},
    {{0, 0.5, inf}, inf, "no end, with a fraction"},
    {{-inf, 1, 5}, inf, "no beginning"},
    {{0, inf, 5}, 1, "an infinite step"},
    {{0, -inf, -5}, 1, "an infinite step down"},
    {{0, -inf, 5}, 0, "an infinite step away"},
};

TEST_F(ColonCount, CaseByCase) {
    for (const counted& row : rows)
        EXPECT_EQ(count_of(row.range), row.wanted) << row.why << ", " << row.range;
}

TEST_F(ColonCount, OfWhatIsNoNumberIsNone) {
    const triple ranges[] = {{nan, 1, 5},   {1, nan, 5},      {1, 1, nan},          {0.5, 1, nan},
                             {nan, 0, nan}, {inf, 1, inf},    {-inf, 1, -inf},      {inf, 0.5, inf},
                             {nan, -1, 5},  {-inf, -1, -inf}, {1e300, nan, -1e300}, {inf, -inf, inf}};
    for (const triple& range : ranges)
        for (const ndClassID cls : {ndDOUBLE_CLASS, ndSINGLE_CLASS, ndINT8_CLASS})
            EXPECT_TRUE(std::isnan(count_of(range, cls))) << range;
}

// Three elements from 0 by a third each: the last lies one unit of doubles, and many units of singles, beside 1.
TEST_F(ColonCount, SinglesHaveMoreSlackThanEveryOtherClass) {
    const triple just_short{0, 0.5, 1 - 0x1p-24};
    EXPECT_EQ(count_of(just_short, ndSINGLE_CLASS), 3);
    for (const ndClassID cls : {ndDOUBLE_CLASS, ndCHAR_CLASS, ndINT8_CLASS, ndUINT64_CLASS, ndCELL_CLASS})
        EXPECT_EQ(count_of(just_short, cls), 2) << cls;
    EXPECT_EQ(count_of({0, 0.5, 1 - 0x1p-53}, ndDOUBLE_CLASS), 3);
    EXPECT_EQ(count_of({0, 0.5, 1 - 0x1p-50}, ndDOUBLE_CLASS), 2);
    EXPECT_EQ(count_of({0, 0.5, 1 - 0x1p-20}, ndSINGLE_CLASS), 2);
}

// The slack is twice the distance to the next number at the larger end, to the bit.
TEST_F(ColonCount, SlackEndsWhereItIsSaidTo) {
    // Elements 0, 0.5, 1: the third is past stop by exactly the slack of 2^-51 times stop, or by the next double more.
    const double stop_on = 1 - 0x1p-51;
    EXPECT_EQ(count_of({0, 0.5, stop_on}), 2) << "past by 2^-51, which is more than 2^-51 times stop";
    EXPECT_EQ(count_of({0, 0.5, 1 - 0x1p-51 + 0x1p-53}), 3);
    EXPECT_EQ(count_of({-1, 0.5, -0x1p-51}), 3) << "the larger end is start: past by exactly the slack";
    EXPECT_EQ(count_of({-1, 0.5, -0x1.0000000000001p-51}), 2);
}

TEST_F(ColonCount, OfSmallWholeRangesIsExact) {
    for_each_small_range(20, 1, [](const triple& t) {
        const double wanted = static_cast<double>(exact_range::of(t.start, t.step, t.stop).count());
        ASSERT_EQ(count_of(t), wanted) << t;
        ASSERT_EQ(count_of(t, ndSINGLE_CLASS), wanted) << t;
    });
}

TEST_F(ColonCount, OfSmallRangesInQuartersIsExact) {
    for_each_small_range(16, 0.25, [](const triple& t) {
        ASSERT_EQ(count_of(t), static_cast<double>(exact_range::of(t.start, t.step, t.stop).count())) << t;
    });
}

// Tenths aren't doubles: the range is meant as the one of whole numbers.
TEST_F(ColonCount, OfSmallRangesInTenthsIsThatOfWholeNumbers) {
    for_each_small_range(16, 1, [](const triple& t) {
        const triple tenths{t.start / 10, t.step / 10, t.stop / 10};
        const triple by_product{t.start * 0.1, t.step * 0.1, t.stop * 0.1};
        const auto wanted = static_cast<double>(exact_range::of(t.start, t.step, t.stop).count());
        ASSERT_EQ(count_of(tenths), wanted) << tenths;
        ASSERT_EQ(count_of(by_product), wanted) << by_product;
    });
}

TEST_F(ColonCount, OfWholeRangesUpTo2To53IsExact) {
    range_source random;
    for (int i = 0; i < 100000; ++i) {
        triple t{random.whole(53), random.whole(53), random.whole(53)};
        if (i % 8 == 0) t.start = i % 16 == 0 ? two_to_53 : -two_to_53;
        if (i % 8 == 1) t.stop = i % 16 == 1 ? two_to_53 : -two_to_53;
        const integer wanted = exact_range::of(t.start, t.step, t.stop).count();
        const integer distance = abs(integer(integer(count_of(t)) - wanted));
        ASSERT_LE(distance, wanted <= integer(two_to_53) ? 0 : 2)
            << t; // above 2^53 not every count is a double
    }
}

// Exact counts without any slack, and with all that the rule and its roundings may give: mostly one number.
struct bounds {
    integer least;
    integer most;
};

bounds bounds_of(const triple& t, bool single) {
    const exact_range exact = exact_range::of(t.start, t.step, t.stop);
    const rational relative = exactly(2 * distance_to_next(single)) + exactly(4 * distance_to_next(false));
    return {exact.count(), exact.count(exact.larger_end() * relative)};
}

int expect_between_bounds(const triple& t, bool single) {
    const double count = count_of(t, single ? ndSINGLE_CLASS : ndDOUBLE_CLASS);
    const bounds wanted = bounds_of(t, single);
    EXPECT_LE(wanted.least, integer(count)) << t;
    EXPECT_GE(wanted.most, integer(count)) << t;
    return wanted.least == wanted.most ? 1 : 0;
}

TEST_F(ColonCount, OfFractionalRangesIsExactButForTheSlack) {
    range_source random;
    for (const bool single : {false, true}) {
        int settled = 0;
        for (int i = 0; i < 20000 && !HasFailure(); ++i)
            settled += expect_between_bounds(random.fractional(-20, 20, 1000), single);
        EXPECT_GT(settled, 12000) << "ranges whose count doesn't depend on the slack";
    }
}

TEST_F(ColonCount, OfHugeRangesIsExactButForTheSlack) {
    range_source random;
    for (int i = 0; i < 5000 && !HasFailure(); ++i) {
        const triple t = random.fractional(980, 1022, 200);
        if (std::isfinite(t.stop)) expect_between_bounds(t, false);
    }
}

TEST_F(ColonCount, OfTinyRangesIsExactButForTheSlack) {
    range_source random;
    for (int i = 0; i < 5000 && !HasFailure(); ++i)
        expect_between_bounds(random.fractional(-1073, -1040, 200), false);
}

TEST_F(ColonCount, RoundsHalvesAwayFromZero) {
    struct {
        double x;
        double wanted;
    } const values[] = {
        {0.49999999999999994, 0.0},
        {0.5, 1},
        {-0.5, -1},
        {2.5, 3},
        {-2.5, -3},
        {2147483645.5, 2147483646.0},
        {2147483646.5, 2147483647.0},
        {0x1p52 - 0.5, 0x1p52},
        {0x1p52, 0x1p52},
        {0x1p52 + 1, 0x1p52 + 1},
        {-0x1p60, -0x1p60},
        {inf, inf},
        {-inf, -inf},
    };
    for (const auto& row : values) EXPECT_EQ(matrix::internal::rounded(row.x), row.wanted) << row.x;
    EXPECT_TRUE(std::isnan(matrix::internal::rounded(nan)));
    EXPECT_TRUE(std::signbit(matrix::internal::rounded(-0.25)));
    EXPECT_FALSE(std::signbit(matrix::internal::rounded(0.25)));
}

} // namespace
} // namespace test
