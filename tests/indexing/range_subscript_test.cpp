// Colon objects as subscripts: ranges, lists and refusals.
#include "indexing/colon_support.hpp"
#include "indexing/raised_error.hpp"
#include "indexing/slot_text.hpp"
#include "support/arr.hpp"
#include "support/fixture.hpp"

#include "platform/test_hooks.hpp"

#include <nd/colon.hpp>
#include <nd/sizes.hpp>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::create_colon_object;

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double largest_double = std::numeric_limits<double>::max();
constexpr double two_48 = 281474976710656.0;

class RangeSubscripts : public NdTest {
protected:
    silent_warnings warnings_;
};

std::string invalid(const std::string& value) {
    return "TARVEL:badsubscript badTypeIndices(1, , " + value + ", 1)";
}
const std::string too_large = "TARVEL:pmaxsize pmaxsize()";

struct range_row {
    double start, step, stop;
    std::string slot; ///< with ranges
    std::string list; ///< without; the refusal where both are the same
};

TEST_F(RangeSubscripts, OfWholeOperandsStayRanges) {
    const range_row rows[] = {
        {1, 1, 5, "{0 1 4} up, 5 max 5", "[0 1 2 3 4] max 5"},
        {2, 3, 9, "{1 3 7} up, 3 max 8", "[1 4 7] max 8"},
        {2, 3, 8, "{1 3 7} up, 3 max 8", "[1 4 7] max 8"},
        {3, 1, 3, "{2 1 2} up, 1 max 3", "[2] max 3"},
        {3, -1, 3, "{2 1 2} down, 1 max 3", "[2] max 3"},
        {3, 100, 4, "{2 100 2} up, 1 max 3", "[2] max 3"},
        {2, -1, 1, "{1 1 0} down, 2 max 2", "[1 0] max 2"},
        {9, -3, 2, "{8 3 2} down, 3 max 9", "[8 5 2] max 9"},
        {6, -4, 0, "{5 4 1} down, 2 max 6", "[5 1] max 6"},
        {5, -4, -1, "{4 4 0} down, 2 max 5", "[4 0] max 5"},
        {5, -100, -90, "{4 100 4} down, 1 max 5", "[4] max 5"},
        {5, -largest_double, -1, "{4 9223372036854775808 4} down, 1 max 5", "[4] max 5"},
    };
    for (const range_row& row : rows) {
        SCOPED_TRACE(std::to_string(row.start) + ":" + std::to_string(row.step) + ":" +
                     std::to_string(row.stop));
        const array_ptr x = create_colon_object(row.start, row.step, row.stop);
        EXPECT_EQ(converted(x), row.slot);
        EXPECT_EQ(converted(x, 10, false), row.list);
    }
    EXPECT_EQ(warnings_.count(), 0u);
}

TEST_F(RangeSubscripts, OfEveryClassAreRanges) {
    for (const ndClassID cls : {ndSINGLE_CLASS, ndCHAR_CLASS, ndINT8_CLASS, ndUINT8_CLASS, ndINT16_CLASS,
                                ndUINT16_CLASS, ndINT32_CLASS, ndUINT32_CLASS})
        EXPECT_EQ(converted(create_colon_object(7, -2, 2, cls)), "{6 2 2} down, 3 max 7") << cls;
    EXPECT_EQ(converted(matrix::create_int_colon_object(7LL, -2LL, 2LL, ndINT64_CLASS)),
              "{6 2 2} down, 3 max 7");
    EXPECT_EQ(converted(matrix::create_int_colon_object(7ULL, -2.0, 2ULL, ndUINT64_CLASS)),
              "{6 2 2} down, 3 max 7");
}

TEST_F(RangeSubscripts, WithoutElementsSelectNothing) {
    const range_row rows[] = {
        {1, 1, 0, "", ""},         {5, 1, 1, "", ""},
        {1, -1, 5, "", ""},        {1, 0, 5, "", ""},
        {0, 0, 0, "", ""},         {0, 1, -5, "", ""},
        {-5, -1, 0, "", ""},       {two_48 * 4, 1, 1, "", ""},
        {1.5, 1, 0, "", ""},       {1, -largest_double, 2, "", ""},
        {2e300, 0, 1e300, "", ""}, {1e300, 1, -1e300, "", ""},
    };
    for (const range_row& row : rows) {
        const array_ptr x = create_colon_object(row.start, row.step, row.stop);
        for (const bool ranges : {true, false})
            EXPECT_EQ(converted(x, 10, ranges), "nothing") << row.start << ":" << row.step << ":" << row.stop;
    }
}

TEST_F(RangeSubscripts, OutsideTheIndicesAreRefused) {
    struct {
        double start, step, stop;
        std::string growing;
        std::string value; ///< of the error of one within bounds; empty where it is the same
    } const rows[] = {
        {0, 1, 2, invalid("0"), ""},
        {-3, 1, 2, invalid("-3"), ""},
        {-1, -1, -3, invalid("-1"), ""},
        {5, -1, 0, invalid("0"), ""},
        {5, -4, -4, invalid("-3"), ""},
        {1, 1, two_48 - 1, "", ""}, // the largest index
        {1, 1, two_48, too_large, "281474976710656"},
        {two_48, 1, two_48, too_large, "281474976710656"},
        {two_48, -1, 1, too_large, "281474976710656"},
        {two_48 - 1, -1, two_48 - 2, "", ""},
        {1, 1, 1e300, too_large, "9223372036854775808"},
        {1e300, 1, 1e300, too_large, "9223372036854775808"},
        {1, largest_double, largest_double, too_large, "9223372036854775808"},
        {-1e300, 1, 1, invalid("-1e+300"), ""},
        // ends beyond 64 bits on the same side are one position, which a step in either direction reaches
        {2e300, 1, 1e300, too_large, "9223372036854775808"},
        {1e300, -1, 2e300, too_large, "9223372036854775808"},
        {-1e300, 1, -2e300, invalid("-1e+300"), ""},
        {-2e300, -1, -1e300, invalid("-2e+300"), ""},
        {5, -largest_double, -largest_double, invalid("-9223372036854775808"), ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.start) + ":" + std::to_string(row.step) + ":" +
                     std::to_string(row.stop));
        const array_ptr x = create_colon_object(row.start, row.step, row.stop);
        EXPECT_EQ(error_of([&] { converted(x); }), row.growing);
        const std::string bounded = error_of([&] { converted(x, 10, true, within_3x4(2, 2)); });
        if (!row.value.empty()) {
            EXPECT_EQ(bounded, "TARVEL:badsubscript indexExceedsDims(2, 3x4, " + row.value + ", 2, numeric)");
        } else if (!row.growing.empty()) {
            EXPECT_EQ(bounded.substr(0, bounded.find('(')), "TARVEL:badsubscript badTypeIndices");
        } else {
            EXPECT_EQ(bounded, "");
        }
    }
}

TEST_F(RangeSubscripts, WithAnEndThatIsNotFiniteAreRefused) {
    const double nan = std::nan("");
    for (const double bad : {inf, -inf, nan}) {
        for (int operand = 0; operand < 3; ++operand) {
            double operands[] = {1, 1, 3};
            operands[operand] = bad;
            const array_ptr x = create_colon_object(operands[0], operands[1], operands[2]);
            EXPECT_EQ(error_of([&] { converted(x); }), "TARVEL:colon:nonFiniteEndpoint nonFiniteEndpoint()");
        }
    }
}

TEST_F(RangeSubscripts, WithFractionsAreRoundedWithAWarning) {
    const range_row rows[] = {
        {1.5, 1, 3, "[1 2] max 3", ""},
        {1, 0.5, 3, "[0 1 1 2 2] max 3", ""},
        {3.2, -1, 1, "[2 1 0] max 3", ""},
        {0.5, 1, 2, "[0 1] max 2", ""},       // the first rounds up to 1
        {1, 1, 2.5, "[0 1] max 2", ""},       // a fraction in the stop counts too
        {0.4, 1, 2, invalid("0.4"), "error"}, // the first is below one half
        {3, -0.75, 0, invalid("0"), "error"},
        {two_48 - 0.5, 1, two_48, too_large, "error"},
        {two_48 - 1.5, 1, two_48 - 1, "[281474976710654] max 281474976710655", ""},
    };
    std::size_t warned = 0;
    for (const range_row& row : rows) {
        SCOPED_TRACE(std::to_string(row.start) + ":" + std::to_string(row.step) + ":" +
                     std::to_string(row.stop));
        const array_ptr x = create_colon_object(row.start, row.step, row.stop);
        for (const bool ranges : {true, false}) {
            if (row.list.empty()) {
                EXPECT_EQ(converted(x, 10, ranges), row.slot);
            } else {
                EXPECT_EQ(error_of([&] { converted(x, 10, ranges); }), row.slot);
            }
            EXPECT_EQ(warnings_.count(), ++warned);
        }
    }
    const array_ptr high = create_colon_object(two_48 - 0.5, 1, two_48);
    EXPECT_EQ(error_of([&] { converted(high, 10, true, within_3x4()); }),
              "TARVEL:badsubscript indexExceedsDims(1, 3x4, 281474976710656, 1, numeric)");
    const array_ptr empty = create_colon_object(2.5, 1, 1);
    EXPECT_EQ(converted(empty), "nothing");
}

// In an integer class the vector goes on by the whole part of the step. The subscript doesn't: it rounds each position.
TEST_F(RangeSubscripts, WithAStepThatHasAFractionAreNotTheirVectors) {
    const struct {
        array_ptr range;
        const char* slot;
        const char* vector;
        kvSize elements;
    } rows[] = {
        {matrix::create_int_colon_object(5LL, 2.5, 9LL, ndINT64_CLASS), "[4 7] max 8", "[4 6 8] max 9", 3},
        {matrix::create_int_colon_object(9LL, -2.5, 1LL, ndINT64_CLASS), "[8 6 3 1] max 9",
         "[8 6 4 2 0] max 9", 5},
        {matrix::create_int_colon_object(5ULL, 2.5, 9ULL, ndUINT64_CLASS), "[4 7] max 8", "[4 6 8] max 9", 3},
        {matrix::create_int_colon_object(1ULL, 0.5, 3ULL, ndUINT64_CLASS), "[0 1 1 2 2] max 3", "nothing", 0},
        {create_colon_object(1, 0.5, 3, ndINT8_CLASS), "[0 1 1 2 2] max 3", "[0 0 0 0 0] max 1", 5},
        {create_colon_object(9, -2.5, 1, ndUINT16_CLASS), "[8 6 3 1] max 9", "[8 6 4 2] max 9", 4},
        {create_colon_object(1, 1.5, 4, ndCHAR_CLASS), "[0 2 3] max 4", "[0 1 2] max 3", 3},
    };
    std::size_t warned = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.slot);
        for (const bool ranges : {true, false}) {
            EXPECT_EQ(converted(row.range, 10, ranges), row.slot);
            EXPECT_EQ(warnings_.count(), ++warned);
        }
        EXPECT_EQ(api::ndCountIntColonObj(row.range.get()), row.elements);
        EXPECT_EQ(warnings_.count(), ++warned);
        EXPECT_EQ(converted(matrix::expand_colon_object(row.range.get())), row.vector);
        EXPECT_EQ(warnings_.count(), warned);
    }
}

TEST_F(RangeSubscripts, StopWhereTheWarningIsAnError) {
    foundation::test_hooks::set_warning_status("TARVEL:colon:nonIntegerIndex", 2);
    const array_ptr x = create_colon_object(1.5, 1, 3);
    EXPECT_THROW(converted(x), Korvane::System::SimpleException);
}

// As lists, ranges take memory: their size is tested before it is asked for. As ranges they don't.
TEST_F(RangeSubscripts, TakeNoMoreThanThreeWords) {
    const array_ptr x = create_colon_object(1, 1, two_48 - 1);
    EXPECT_EQ(converted(x), "{0 1 281474976710654} up, 281474976710655 max 281474976710655");
    EXPECT_EQ(error_of([&] { converted(x, 10, false); }), too_large);
    const array_ptr halves = create_colon_object(0.5, 1, two_48 - 2);
    EXPECT_EQ(error_of([&] { converted(halves); }), too_large);
}

// Against the range counted in whole numbers of 128 bits.
TEST_F(RangeSubscripts, OfRandomOperandsAgreeWithTheirElements) {
    __extension__ using wide = __int128;
    std::mt19937_64 random(41);
    std::uniform_int_distribution<int> small(-12, 12);
    for (int i = 0; i < 20000; ++i) {
        const int start = small(random), step = small(random), stop = small(random);
        std::vector<wide> elements;
        for (wide x = start; step > 0 ? x <= stop : step < 0 && x >= stop; x += step) elements.push_back(x);
        const array_ptr x = create_colon_object(start, step, stop);
        std::ostringstream wanted;
        wide most = 0;
        wanted << '[';
        for (std::size_t k = 0; k < elements.size(); ++k) {
            wanted << (k == 0 ? "" : " ") << static_cast<int>(elements[k] - 1);
            most = std::max(most, elements[k]);
        }
        wanted << "] max " << static_cast<int>(most);
        const bool bad = !elements.empty() && (elements.front() < 1 || elements.back() < 1);
        const std::string error = error_of([&] {
            EXPECT_EQ(converted(x, 10, false), elements.empty() ? "nothing" : wanted.str())
                << start << ":" << step << ":" << stop;
        });
        EXPECT_EQ(error.empty(), !bad) << start << ":" << step << ":" << stop;
    }
}

} // namespace
} // namespace test
