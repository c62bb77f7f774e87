// Ranges of int64 and uint64 over the whole class, against exact arithmetic.
#include "indexing/colon_support.hpp"
#include "indexing/random_ranges.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"

#include "indexing/colon_count.hpp"

#include <type_traits>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::create_colon_array;
using matrix::create_int_colon_array;
using matrix::internal::whole_range_of;

template <class T>
constexpr ndClassID class_of = std::is_signed_v<T> ? ndINT64_CLASS : ndUINT64_CLASS;

// As the range is told: an unsigned range goes down by a double step only, and a double step has no fraction.
template <class T>
exact_range exact_of(T start, T step, T stop) {
    return {rational(start), rational(step), rational(stop)};
}
template <class T>
exact_range exact_of(T start, double step, T stop) {
    if (std::isnan(step)) return {rational(start), 0, rational(stop)};
    const double beyond = std::fmax(-0x1p70, std::fmin(0x1p70, step));
    return {rational(start), exactly(std::trunc(beyond)), rational(stop)};
}

constexpr std::size_t most_elements = 200;

// The count, and the elements where they aren't too many.
template <class T, class Step>
void expect_exact(T start, Step step, T stop) {
    const exact_range exact = exact_of(start, step, stop);
    const integer count = exact.count();
    const auto trace = [&] {
        return std::to_string(start) + " : " + std::to_string(step) + " : " + std::to_string(stop);
    };
    const double found = whole_range_of(start, step, stop).count;
    // Above 2^53 not every count is a double.
    const integer slack = count >> 52;
    ASSERT_LE(abs(integer(integer(found) - count)), slack) << trace();
    if (count > most_elements) return;
    const array_ptr array = create_int_colon_array(start, step, stop);
    ASSERT_EQ(array->class_id, class_of<T>);
    ASSERT_EQ(api::ndGetM(array.get()), 1U);
    ASSERT_EQ(elements_of(array.get()), elements_of(exact)) << trace();
}

using WideRange = NdTest;

TEST_F(WideRange, OfSmallOperandsIsExact) {
    for_each_small_range(12, 1, [](const triple& t) {
        const auto start = static_cast<i64>(t.start);
        const auto step = static_cast<i64>(t.step);
        const auto stop = static_cast<i64>(t.stop);
        expect_exact(start, step, stop);
        expect_exact(start, t.step, stop);
        expect_exact(static_cast<u64>(start + 12), t.step, static_cast<u64>(stop + 12));
        if (step >= 0)
            expect_exact(static_cast<u64>(start + 12), static_cast<u64>(step), static_cast<u64>(stop + 12));
    });
}

TEST_F(WideRange, OfSmallOperandsWithAFractionalStepCountsWithoutTheFraction) {
    for_each_small_range(9, 1, [](const triple& t) {
        for (const double step : {t.step + 0.5, t.step / 3}) {
            expect_exact(static_cast<i64>(t.start), step, static_cast<i64>(t.stop));
            expect_exact(static_cast<u64>(t.start + 9), step, static_cast<u64>(t.stop + 9));
        }
    });
}

TEST_F(WideRange, AtTheLimits) {
    const i64 ends[] = {lowest_i64, lowest_i64 + 1, -2, -1, 0, 1, 2, highest_i64 - 1, highest_i64};
    for (const i64 start : ends)
        for (const i64 stop : ends)
            for (const i64 step : {lowest_i64, lowest_i64 + 1, -(highest_i64 / 3), i64{-2}, i64{-1}, i64{0},
                                   i64{1}, i64{2}, highest_i64 / 7, highest_i64 - 1, highest_i64})
                expect_exact(start, step, stop);
    const u64 unsigned_ends[] = {0, 1, 2, highest_u64 / 2, highest_u64 / 2 + 1, highest_u64 - 1, highest_u64};
    for (const u64 start : unsigned_ends)
        for (const u64 stop : unsigned_ends)
            for (const u64 step : {u64{0}, u64{1}, u64{2}, highest_u64 / 5, highest_u64 / 2,
                                   highest_u64 / 2 + 1, highest_u64 - 1, highest_u64})
                expect_exact(start, step, stop);
}

// From 2^63 to 2^64 a step may be more than the class holds and less than the way from one limit to the other.
TEST_F(WideRange, ByStepsThatAreTooLargeForTheClass) {
    const double steps[] = {0.0,
                            -0.0,
                            0.25,
                            -0.75,
                            0x1p62,
                            -0x1p62,
                            0x1.fffffffffffffp62,
                            0x1p63,
                            -0x1p63,
                            0x1.8p63,
                            -0x1.8p63,
                            0x1.0000000000001p63,
                            -0x1.0000000000001p63,
                            0x1.fffffffffffffp63,
                            -0x1.fffffffffffffp63,
                            0x1p64,
                            -0x1p64,
                            0x1p65,
                            -0x1p65,
                            1e300,
                            -1e300,
                            inf,
                            -inf,
                            nan};
    const i64 ends[] = {lowest_i64, lowest_i64 + 1,  lowest_i64 / 2,  -1,         0,
                        1,          highest_i64 / 2, highest_i64 - 1, highest_i64};
    const u64 unsigned_ends[] = {
        0, 1, highest_u64 / 2, highest_u64 / 2 + 1, highest_u64 - 2048, highest_u64 - 1, highest_u64};
    for (const double step : steps) {
        for (const i64 start : ends)
            for (const i64 stop : ends) expect_exact(start, step, stop);
        for (const u64 start : unsigned_ends)
            for (const u64 stop : unsigned_ends) expect_exact(start, step, stop);
    }
}

TEST_F(WideRange, OfRandomOperandsIsExact) {
    range_source random;
    for (int i = 0; i < 8000 && !HasFailure(); ++i) {
        expect_exact(random.wide<i64>(), random.wide<i64>(), random.wide<i64>());
        expect_exact(random.wide<u64>(), random.wide<u64>(), random.wide<u64>());
        const double step = random.number(0, 66);
        expect_exact(random.wide<i64>(), step, random.wide<i64>());
        expect_exact(random.wide<u64>(), step, random.wide<u64>());
    }
}

TEST_F(WideRange, ThatWouldBeTooLargeRaisesBeforeItIsMade) {
    const std::string too_large = "TARVEL:pmaxsize, pmaxsize";
    EXPECT_EQ(raised_by([] { create_int_colon_array(lowest_i64, i64{1}, highest_i64); }), too_large);
    EXPECT_EQ(raised_by([] { create_int_colon_array(u64{0}, u64{1}, highest_u64); }), too_large);
    EXPECT_EQ(raised_by([] { create_int_colon_array(i64{1}, 1.5, i64{1} << 45); }), too_large);
    EXPECT_EQ(raised_by([] { create_int_colon_array(highest_u64, -1.0, u64{0}); }), too_large);
    EXPECT_EQ(raised_by([] { create_colon_array(-inf, 1, inf, ndINT64_CLASS); }), too_large);
}

// By the operator: operands are doubles, held to the class.
TEST_F(WideRange, OfDoubleOperands) {
    struct {
        triple range;
        ndClassID cls;
        array_ptr wanted;
    } const rows[] = {
        {{1, 2, 6}, ndINT64_CLASS, arr("int64 1x3", {1, 3, 5})},
        {{6, -2, 1}, ndUINT64_CLASS, arr("uint64 1x3", {6, 4, 2})},
        {{1.9, 1, 3.9}, ndINT64_CLASS, arr("int64 1x3", {1, 2, 3})},
        {{-1.9, 1, 1}, ndINT64_CLASS, arr("int64 1x3", {-1, 0, 1})},
        {{-5, 1, 2}, ndUINT64_CLASS, arr("uint64 1x3", {0, 1, 2})},
        {{1, 2.9, 6}, ndINT64_CLASS, arr("int64 1x3", {1, 3, 5})},
        {{1, 0.9, 6}, ndINT64_CLASS, arr("int64 1x0")},
        {{1, 0, 6}, ndUINT64_CLASS, arr("uint64 1x0")},
        {{6, 1, 1}, ndUINT64_CLASS, arr("uint64 1x0")},
        {{inf, 1, inf}, ndINT64_CLASS, arr("int64", {highest_i64})},
        {{-1e300, 1e300, 1e300}, ndINT64_CLASS, arr("int64", {lowest_i64})},
        {{-0x1p63, 0x1p63, 0x1p63}, ndINT64_CLASS, arr("int64 1x2", {lowest_i64, 0})},
        {{0, 0x1p63, 0x1p64}, ndUINT64_CLASS, arr("uint64 1x2", {u64{0}, u64{1} << 63})},
        {{nan, 1, 5}, ndINT64_CLASS, arr("double", {nan})},
        {{1, nan, 5}, ndUINT64_CLASS, arr("double", {nan})},
        {{1, 1, nan}, ndUINT64_CLASS, arr("double", {nan})},
    };
    for (const auto& row : rows) {
        EXPECT_THAT(create_colon_array(row.range.start, row.range.step, row.range.stop, row.cls),
                    EqualsArray(row.wanted.get()))
            << row.range;
    }
}

TEST_F(WideRange, OfTheInterfaceIsATemporaryOrTheError) {
    for_each_module_mode([](int mode) {
        const lists_on lists;
        const array_ptr made[] = {
            array_ptr(api::ndExpandIntColonArray(i64{5}, i64{-2}, i64{1})),
            array_ptr(api::ndExpandIntColonArray(i64{5}, -2.5, i64{1})),
            array_ptr(api::ndExpandIntColonArray(u64{1}, u64{2}, u64{5})),
            array_ptr(api::ndExpandIntColonArray(u64{5}, -2.0, u64{1})),
        };
        for (const array_ptr& array : made) EXPECT_EQ(array->scope, ndTEMPORARY_SCOPE);
        EXPECT_THAT(made[0], EqualsArray(arr("int64 1x3", {5, 3, 1})));
        EXPECT_THAT(made[1], EqualsArray(arr("int64 1x3", {5, 3, 1})));
        EXPECT_THAT(made[2], EqualsArray(arr("uint64 1x3", {1, 3, 5})));
        EXPECT_THAT(made[3], EqualsArray(arr("uint64 1x3", {5, 3, 1})));
        const auto too_large = [] { return api::ndExpandIntColonArray(lowest_i64, i64{1}, highest_i64); };
        if (mode == mode_exceptions) {
            EXPECT_EQ(raised_by(too_large), "TARVEL:pmaxsize, pmaxsize");
        } else {
            EXPECT_EQ(too_large(), nullptr);
        }
    });
}

} // namespace
} // namespace test
