// Ranges as subscripts: counts in 32 bits, lists of positions, errors and warnings.
#include "indexing/colon_support.hpp"
#include "indexing/random_ranges.hpp"
#include "support/arr.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"

#include <nd/errors.hpp>
#include <nd/memory.hpp>

#include <gmock/gmock.h>

#include <optional>

namespace test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::create_colon_object;
using matrix::create_int_colon_object;

constexpr double lowest_32 = -2147483648.0;
constexpr double highest_32 = 2147483647.0;
constexpr const char* not_finite = "TARVEL:colon:nonFiniteEndpoint, nonFiniteEndpoint";
constexpr const char* fractions = "TARVEL:colon:nonIntegerIndex";

kvSize count_of(const triple& t) {
    return api::ndCountIntColonObj(create_colon_object(t.start, t.step, t.stop).get());
}

using ColonAsSubscript = NdTest;

TEST_F(ColonAsSubscript, CountsItsPositions) {
    struct {
        triple range;
        kvSize wanted;
    } const rows[] = {
        {{1, 1, 5}, 5},     {{5, -2, 1}, 3},
        {{1, 1, 0}, 0},     {{1, -1, 5}, 0},
        {{1, 0, 5}, 0},     {{3, 0, 3}, 0},
        {{3, -7, 3}, 1},    {{1, 1, 1e300}, 2147483647},
        {{1, 1e300, 5}, 1}, {{-1e300, 1e300, 1e300}, kvSize{0} + 1}, // -1 in 32 bits, by 2^31 - 1
    };
    for (const auto& row : rows) EXPECT_EQ(count_of(row.range), row.wanted) << row.range;
    EXPECT_EQ(api::ndCountIntColonObj(create_colon_object(1, 2, 100, ndINT8_CLASS).get()), 50U);
    EXPECT_EQ(api::ndCountIntColonObj(create_int_colon_object(1LL, 2LL, 9LL, ndINT64_CLASS).get()), 5U);
    EXPECT_EQ(api::ndCountIntColonObj(create_int_colon_object(9ULL, -2.0, 1ULL, ndUINT64_CLASS).get()), 5U);
    EXPECT_EQ(api::ndCountIntColonObj(arr("double 2x3").get()), 6U);
}

// Counts above 2^31 - 1 wrap in 32 bits and are extended by their sign; steps of -1 meet the quotient that doesn't fit.
TEST_F(ColonAsSubscript, WrapsIn32Bits) {
    const auto extended = [](std::int64_t count) { return static_cast<kvSize>(count); };
    EXPECT_EQ(count_of({0, 1, highest_32}), extended(lowest_32));
    EXPECT_EQ(count_of({-1, 1, highest_32}), extended(lowest_32 + 1));
    EXPECT_EQ(count_of({lowest_32, 1, highest_32}), 0U);
    EXPECT_EQ(count_of({highest_32, -1, lowest_32}), 0U);
    EXPECT_EQ(count_of({0, -1, lowest_32}), extended(lowest_32 + 1));
    EXPECT_EQ(count_of({highest_32, -1, -1}), extended(lowest_32 + 1));
    EXPECT_EQ(count_of({0x1p30, -2, -0x1p30}), extended(1 - 0x1p30));
    EXPECT_EQ(count_of({-0x1p30, 2, 0x1p30}), extended(1 - 0x1p30));
    EXPECT_EQ(count_of({-2e9, 1, 2e9}), extended(-294967295));
}

TEST_F(ColonAsSubscript, CountsSmallRangesExactly) {
    for_each_small_range(12, 1, [](const triple& t) {
        ASSERT_EQ(integer(count_of(t)), exact_range::of(t.start, t.step, t.stop).count()) << t;
    });
}

TEST_F(ColonAsSubscript, CountsRandomRangesExactlyWhileTheyFitIn32Bits) {
    range_source random;
    for (int i = 0; i < 20000; ++i) {
        const triple t{random.whole(30), random.whole(31), random.whole(30)};
        ASSERT_EQ(integer(count_of(t)), exact_range::of(t.start, t.step, t.stop).count()) << t;
    }
}

TEST_F(ColonAsSubscript, MustHaveFiniteOperands) {
    for (const double value : {inf, -inf, nan}) {
        for (const triple& t : {triple{value, 1, 5}, triple{1, value, 5}, triple{1, 1, value}}) {
            EXPECT_EQ(raised_by([&] { count_of(t); }), not_finite) << t;
            kvSize count = 7;
            EXPECT_EQ(raised_by([&] { api::ndSignedIndexColonop(t.start, t.step, t.stop, &count); }),
                      not_finite)
                << t;
            EXPECT_EQ(count, 0U);
        }
    }
    EXPECT_EQ(raised_by([] {
                  api::ndCountIntColonObj(create_int_colon_object(1LL, inf, 5LL, ndINT64_CLASS).get());
              }),
              not_finite);
    // Errors of what isn't a creator leave in every mode.
    for_each_module_mode([](int) { EXPECT_EQ(raised_by([] { count_of({1, inf, 5}); }), not_finite); });
}

TEST_F(ColonAsSubscript, WarnsOfFractions) {
    struct {
        triple range;
        kvSize wanted;
    } const rows[] = {
        {{1.5, 1, 3}, 2}, {{1, 0.5, 3}, 5}, {{1, 1, 3.5}, 3}, {{1.5, 1, 0}, 0}, {{3.5, -0.5, 1}, 6},
    };
    for (const auto& row : rows) {
        const silent_warnings warnings;
        EXPECT_EQ(count_of(row.range), row.wanted) << row.range;
        EXPECT_EQ(warnings.count(), 1U) << row.range;
    }
    const silent_warnings warnings;
    count_of({1, 2, 9});
    EXPECT_EQ(warnings.count(), 0U);
    EXPECT_EQ(api::ndCountIntColonObj(create_colon_object(0.5, 0.5, 9.5, ndINT8_CLASS).get()), 19U);
    EXPECT_EQ(warnings.count(), 1U) << "start and stop of int8 are whole, the step isn't";
    foundation::test_hooks::set_warning_status(fractions, base_warning_off);
    EXPECT_EQ(count_of({1.5, 1, 3}), 2U);
    EXPECT_EQ(warnings.count(), 1U) << "as before";
    foundation::test_hooks::set_warning_status(fractions, base_warning_error);
    EXPECT_THROW(count_of({1.5, 1, 3}), Korvane::System::SimpleException);
}

// ---- lists of positions

struct positions {
    explicit positions(const triple& t) : list(api::ndSignedIndexColonop(t.start, t.step, t.stop, &count)) {
        EXPECT_EQ(list == nullptr, count == 0) << t;
    }
    ~positions() { api::ndFree(list); }
    positions(const positions&) = delete;
    positions& operator=(const positions&) = delete;
    std::vector<long long> values() const { return {list, list + count}; }

    kvSize count = 77;
    long long* list;
};

using Positions = NdTest;

TEST_F(Positions, OfWholeOperands) {
    EXPECT_THAT(positions({1, 1, 4}).values(), ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(positions({-1, -2, -6}).values(), ElementsAre(-1, -3, -5));
    EXPECT_THAT(positions({4, 9, 4}).values(), ElementsAre(4));
    EXPECT_THAT(positions({4, 1, 3}).values(), IsEmpty());
    EXPECT_THAT(positions({4, -1, 5}).values(), IsEmpty());
    EXPECT_THAT(positions({4, 0, 5}).values(), IsEmpty());
    EXPECT_THAT(positions({4, 0, 4}).values(), IsEmpty());
    EXPECT_THAT(positions({0x1p60, 0x1p30, 0x1p60 + 0x1p31}).values(),
                ElementsAre(1LL << 60, (1LL << 60) + (1LL << 30), (1LL << 60) + (1LL << 31)));
}

TEST_F(Positions, HoldOperandsToTheirWidths) {
    constexpr long long lowest = std::numeric_limits<long long>::min();
    constexpr long long highest = std::numeric_limits<long long>::max();
    EXPECT_THAT(positions({1e300, 1, 2e300}).values(), ElementsAre(highest)) << "both ends become the same";
    EXPECT_THAT(positions({1e300, -1, 2e300}).values(), IsEmpty())
        << "the way is judged by the operands as given";
    EXPECT_THAT(positions({-1e300, 1, -0x1p63}).values(), ElementsAre(lowest));
    EXPECT_THAT(positions({0, 1e300, highest_32}).values(), ElementsAre(0, 2147483647))
        << "the step is 2^31 - 1";
    EXPECT_THAT(positions({0, -1e300, lowest_32}).values(), ElementsAre(0, -2147483648LL))
        << "the step is -2^31";
}

TEST_F(Positions, OfSmallOperandsAreExact) {
    for_each_small_range(10, 1, [](const triple& t) {
        std::vector<rational> found;
        for (const long long position : positions(t).values()) found.emplace_back(position);
        ASSERT_EQ(found, elements_of(exact_range::of(t.start, t.step, t.stop))) << t;
    });
}

TEST_F(Positions, OfFractionsAreRoundedWithAWarning) {
    struct {
        triple range;
        std::vector<long long> wanted;
    } const rows[] = {
        {{0.5, 1, 3}, {1, 2, 3}},
        {{1, 0.5, 3}, {1, 2, 2, 3, 3}},
        {{1.4, 1, 3.9}, {1, 2, 3}},
        {{-0.7, 1, 1.5}, {0, 0, 1}},
        {{-2.6, 1, -1}, {-2, -1}},
        {{1.5, 1, 1}, {}},
        {{0.5, 1e300, 1.5e300}, {1, std::numeric_limits<long long>::max()}},
    };
    for (const auto& row : rows) {
        const silent_warnings warnings;
        EXPECT_EQ(positions(row.range).values(), row.wanted) << row.range;
        EXPECT_EQ(warnings.count(), 1U) << row.range;
    }
}

TEST_F(Positions, WithAWarningThatIsAnErrorAreNone) {
    const silent_warnings warnings;
    foundation::test_hooks::set_warning_status(fractions, base_warning_error);
    kvSize count = 7;
    EXPECT_THROW(api::ndSignedIndexColonop(1.5, 1, 3, &count), Korvane::System::SimpleException);
    EXPECT_EQ(count, 0U);
}

TEST_F(Positions, ThatAreTooManyRaise) {
    kvSize count = 7;
    const std::string too_large = "TARVEL:pmaxsize, pmaxsize";
    EXPECT_EQ(raised_by([&] { api::ndSignedIndexColonop(-1e300, 1, 1e300, &count); }), too_large);
    EXPECT_EQ(raised_by([&] { api::ndSignedIndexColonop(1, 1, 0x1p45 + 1, &count); }), too_large);
    const silent_warnings warnings;
    EXPECT_EQ(raised_by([&] { api::ndSignedIndexColonop(0.5, 1, 1e300, &count); }), too_large);
    EXPECT_EQ(count, 0U);
}

TEST_F(Positions, StandOnTheAllocList) {
    const module_mode_scope mode(mode_exceptions);
    const lists_on lists;
    EXPECT_TRUE(matrix::isAllocListContextEmpty());
    {
        const positions found({1, 1, 4});
        EXPECT_FALSE(matrix::isAllocListContextEmpty());
    }
    EXPECT_TRUE(matrix::isAllocListContextEmpty());
}

} // namespace
} // namespace test
