// The elements of floating-point ranges: against exact arithmetic, and to the bit against the rule written down plainly, under every
// instruction set.
#include "indexing/colon_oracle.hpp"
#include "indexing/random_ranges.hpp"
#include "support/fixture.hpp"
#include "support/instruction_sets.hpp"

#include "indexing/colon_fill.hpp"
#include "indexing/numbers.hpp"

#include <nd/colon.hpp>

#include <boost/numeric/conversion/cast.hpp>

#include <cstring>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double two_to_53 = 0x1p53;

template <class T>
constexpr bool is_single = std::is_same_v<T, float>;

template <class T>
void fill(T* out, double count, const triple& t) {
    if constexpr (is_single<T>) {
        api::ndColonop_fill_with_singles(out, count, t.start, t.step, t.stop);
    } else {
        api::ndColonop_fill_with_doubles(out, count, t.start, t.step, t.stop);
    }
}

// The elements, between two guards that must stay.
template <class T>
std::vector<T> filled(double count, const triple& t) {
    constexpr T guard = -12345.5;
    const auto size = count == count && count > 0 ? static_cast<std::size_t>(count) : 0;
    std::vector<T> out(size + 2, guard);
    fill(out.data() + 1, count, t);
    EXPECT_EQ(out.front(), guard) << t;
    EXPECT_EQ(out.back(), guard) << t;
    return {out.begin() + 1, out.end() - 1};
}

bool is_whole_up_to_2_to_53(double x) { return std::trunc(x) == x && std::fabs(x) <= two_to_53; }

template <class T>
std::vector<T> by_the_rule(std::size_t n, const triple& t) {
    std::vector<T> out(n);
    if (is_whole_up_to_2_to_53(t.start) && is_whole_up_to_2_to_53(t.step) && is_whole_up_to_2_to_53(t.stop)) {
        double element = t.start;
        for (T& x : out) {
            x = static_cast<T>(element);
            element += t.step;
        }
        return out;
    }
    const double larger = std::fmax(std::fabs(t.start), std::fabs(t.stop));
    const double sign = t.step > 0 ? 1 : -1;
    double end = n == 1 ? t.start : static_cast<double>(n - 1) * t.step + t.start;
    if ((end - t.stop) * sign > -(larger * (2 * distance_to_next(is_single<T>)))) end = t.stop;
    for (std::size_t i = 0; i < n / 2; ++i) {
        const double on = static_cast<double>(i) * t.step;
        out[i] = static_cast<T>(t.start + on);
        out[n - 1 - i] = static_cast<T>(end - on);
    }
    if (n % 2 == 0) return out;
    const bool same_side = (t.start >= 0 && end >= 0) || (t.start <= 0 && end <= 0);
    out[n / 2] = static_cast<T>(same_side ? (end - t.start) * 0.5 + t.start : (end + t.start) * 0.5);
    return out;
}

template <class T>
void expect_as_by_the_rule(double count, const triple& t) {
    const std::vector<T> out = filled<T>(count, t);
    const std::vector<T> wanted = by_the_rule<T>(out.size(), t);
    for (std::size_t i = 0; i < out.size(); ++i)
        ASSERT_EQ(std::memcmp(&out[i], &wanted[i], sizeof(T)), 0)
            << t << " element " << i << " of " << out.size() << ": " << out[i] << ", not " << wanted[i];
}

using ColonFill = NdTest;

template <class T>
void check_cases() {
    struct {
        triple range;
        double count;
        std::vector<T> wanted;
    } const rows[] = {
        {{1, 1, 5}, 5, {1, 2, 3, 4, 5}},
        {{5, -2, 1}, 3, {5, 3, 1}},
        {{0, 0.5, 1}, 3, {0, 0.5, 1}},
        {{0, 0.5, 1.3}, 3, {0, 0.5, 1}},
        {{-0.5, 0.25, 0.5}, 5, {-0.5, -0.25, 0, 0.25, 0.5}},
        {{0.5, 7, 0.5}, 1, {0.5}},
        {{0.5, inf, 7}, 1, {0.5}},
        {{1, 1, 5}, 3.9, {1, 2, 3}},
        {{1, 1, 5}, 0, {}},
        {{0.5, 1, 5}, 0, {}},
        {{0.5, 1, 5}, 0.9, {}},
        {{0.5, 1, 5}, -0.9, {}},
        {{0.5, 1, 5}, nan, {}},
        {{-1e38, 1e38, 1e38}, 3, {static_cast<T>(-1e38), 0, static_cast<T>(1e38)}},
    };
    for (const auto& row : rows) EXPECT_EQ(filled<T>(row.count, row.range), row.wanted) << row.range;
}

TEST_F(ColonFill, CaseByCase) {
    check_cases<double>();
    check_cases<float>();
}

TEST_F(ColonFill, EndsInStopExactlyWhereItIsMeant) {
    EXPECT_EQ(filled<double>(11, {0, 0.1, 1}).back(), 1.0);
    EXPECT_EQ(filled<double>(11, {1, -0.1, 0}).back(), 0.0);
    EXPECT_EQ(filled<double>(4, {0, 0.1, 0.3}).back(), 0.3) << "3 * 0.1 is above 0.3";
    EXPECT_EQ(filled<double>(3, {-1e308, 1e308, 1e308}), (std::vector<double>{-1e308, 0, 1e308}));
    EXPECT_EQ(filled<double>(6, {0, 3e307, 1.7e308}).back(), 5 * 3e307) << "large ends have no more slack";
}

TEST_F(ColonFill, MiddleOfAnOddRangeComesFromBothEnds) {
    // Between elements that are told from their ends the middle is half-way, not start + step.
    EXPECT_EQ(filled<double>(3, {0.1, 0.1, 0.3})[1], (0.3 - 0.1) * 0.5 + 0.1);
    EXPECT_EQ(filled<double>(3, {-0.1, 0.2, 0.3})[1], (0.3 + -0.1) * 0.5);
    EXPECT_EQ(filled<double>(3, {-0.3, 0.1, -0.1})[1], (-0.1 - -0.3) * 0.5 + -0.3);
    EXPECT_EQ(filled<double>(3, {0.3, -0.2, -0.1})[1], (-0.1 + 0.3) * 0.5);
    EXPECT_LT(filled<double>(3, {1.6e308, 5e306, 1.7e308})[1], 1.7e308) << "no overflow";
}

TEST_F(ColonFill, KeepsTheSignOfAZeroAtTheStart) {
    EXPECT_TRUE(std::signbit(filled<double>(3, {-0.0, 1, 2})[0]));
    EXPECT_TRUE(std::signbit(filled<float>(3, {-0.0, 1, 2})[0]));
    EXPECT_FALSE(std::signbit(filled<double>(2, {-1, 1, 0})[1]));
}

// In single arithmetic the sums would stand still at 2^24.
TEST_F(ColonFill, SinglesAreSummedAsDoubles) {
    const std::vector<float> out = filled<float>(7, {16777214, 1, 16777220});
    EXPECT_EQ(out,
              (std::vector<float>{16777214, 16777215, 16777216, 16777216, 16777218, 16777220, 16777220}));
    EXPECT_EQ(filled<float>(6, {0x1p53 - 5, 1, 0x1p53}).back(), 0x1p53F);
}

// i * step alone would need more digits than a double has.
TEST_F(ColonFill, SumsOfWholeNumbersStayExactOverTheLongestWay) {
    const double step = 6004799503160661; // times 3: above 2^53, and odd
    EXPECT_EQ(filled<double>(4, {-two_to_53, step, two_to_53}),
              (std::vector<double>{-two_to_53, -two_to_53 + step, -two_to_53 + 2 * step,
                                   static_cast<double>(-9007199254740992 + 3 * 6004799503160661)}));
}

TEST_F(ColonFill, CountsThatAreNoSizesAreRefused) {
    double out = 7;
    float single = 7;
    for (const double count : {-1.0, -1.5, -1e300, -inf}) {
        EXPECT_THROW(fill(&out, count, {0, 1, 2}), boost::numeric::negative_overflow) << count;
        EXPECT_THROW(fill(&single, count, {0, 1, 2}), boost::numeric::negative_overflow) << count;
    }
    for (const double count : {0x1p64, 1e300, inf}) {
        EXPECT_THROW(fill(&out, count, {0, 1, 2}), boost::numeric::positive_overflow) << count;
        EXPECT_THROW(fill(&single, count, {0, 1, 2}), boost::numeric::positive_overflow) << count;
    }
    EXPECT_EQ(out, 7);
    EXPECT_EQ(single, 7);
}

// Every length around the vectors of each instruction set.
TEST_F(ColonFill, IsTheRuleToTheBitAtEveryLength) {
    for_each_instruction_set([] {
        for (std::size_t n = 0; n < 150; ++n) {
            const auto count = static_cast<double>(n);
            for (const triple& t :
                 {triple{1, 1, count}, triple{count, -1, 1}, triple{0, 0.1, (count - 1) * 0.1},
                  triple{0.3, -0.7, 0.3 - (count - 1) * 0.7}, triple{-7, 3, -7 + (count - 1) * 3}}) {
                expect_as_by_the_rule<double>(count, t);
                expect_as_by_the_rule<float>(count, t);
            }
        }
    });
}

TEST_F(ColonFill, OfRandomRangesIsTheRuleToTheBit) {
    for_each_instruction_set([] {
        range_source random;
        for (int i = 0; i < 3000; ++i) {
            const triple t = i % 3 == 0 ? triple{random.whole(30), random.whole(20), random.whole(30)}
                                        : random.fractional(-30, 30, 300);
            const double count = api::ndColonop_size(t.start, t.step, t.stop, ndDOUBLE_CLASS);
            if (count > 2000) continue;
            expect_as_by_the_rule<double>(count, t);
            expect_as_by_the_rule<float>(count, t);
            if (testing::Test::HasFailure()) return;
        }
    });
}

// Each element lies within a few units of its exact value at the larger end, and none beyond stop.
void expect_near_exact(const triple& t) {
    const double count = api::ndColonop_size(t.start, t.step, t.stop, ndDOUBLE_CLASS);
    const std::vector<double> out = filled<double>(count, t);
    if (out.empty()) return;
    const exact_range exact = exact_range::of(t.start, t.step, t.stop);
    const rational slack = exact.larger_end() * exactly(6 * distance_to_next(false)) +
                           exactly(2 * std::numeric_limits<double>::denorm_min());
    for (const std::size_t i : {std::size_t{0}, out.size() / 3, out.size() / 2, out.size() - 1}) {
        const rational distance = abs(rational(exactly(out[i]) - exact.element(i)));
        ASSERT_LE(distance, slack) << t << " element " << i << ": " << out[i];
    }
    ASSERT_FALSE(t.step > 0 ? out.back() > t.stop : out.back() < t.stop) << t;
    const bool ends_in_stop = abs(rational(exact.element(out.size() - 1) - exact.stop)) * 2 <=
                              exact.larger_end() * exactly(distance_to_next(false));
    if (ends_in_stop && out.size() > 1) {
        ASSERT_EQ(out.back(), t.stop) << t;
    }
}

TEST_F(ColonFill, OfRandomRangesIsNearTheExactElements) {
    range_source random;
    for (int i = 0; i < 8000 && !HasFailure(); ++i) expect_near_exact(random.fractional(-20, 20, 500));
    for (int i = 0; i < 1000 && !HasFailure(); ++i) expect_near_exact(random.fractional(-1040, -1000, 500));
}

TEST_F(ColonFill, OfWholeRangesIsExact) {
    range_source random;
    for (int i = 0; i < 20000; ++i) {
        const triple t{random.whole(53), random.whole(53), random.whole(53)};
        const double count = api::ndColonop_size(t.start, t.step, t.stop, ndDOUBLE_CLASS);
        if (count > 500) continue;
        const std::vector<double> out = filled<double>(count, t);
        const exact_range exact = exact_range::of(t.start, t.step, t.stop);
        for (std::size_t k = 0; k < out.size(); ++k)
            ASSERT_EQ(exactly(out[k]), exact.element(k)) << t << ' ' << k;
    }
}

template <class T>
void check_whole_words() {
    std::vector<T> out(151);
    for (std::size_t n = 0; n <= 150; ++n)
        for (const std::uint64_t step :
             {std::uint64_t{1}, ~std::uint64_t{0}, std::uint64_t{77}, std::uint64_t{1} << 63}) {
            const std::uint64_t start = 0xFEDCBA9876543210;
            std::fill(out.begin(), out.end(), T{42});
            matrix::internal::fill_whole(out.data(), sizeof(T), n, start, step);
            for (std::size_t i = 0; i < n; ++i)
                ASSERT_EQ(out[i], static_cast<T>(start + i * step)) << n << " by " << step << ", " << i;
            ASSERT_EQ(out[n], T{42});
        }
}

TEST_F(ColonFill, WholeNumbersWrapInTheirWidth) {
    for_each_instruction_set([] {
        check_whole_words<std::uint8_t>();
        check_whole_words<std::uint16_t>();
        check_whole_words<std::uint32_t>();
        check_whole_words<std::uint64_t>();
    });
}

} // namespace
} // namespace test
