// Operands of a colon expression: which class the range gets, what is refused, and the values that come out.
#include "indexing/colon_support.hpp"
#include "support/arr.hpp"
#include "support/fixture.hpp"
#include "support/variations.hpp"

#include <nd/convert.hpp>

#include <gmock/gmock.h>

#include <array>

namespace test {
namespace {

using testing::ElementsAre;

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::create_colon_object;

constexpr double untouched = -77;

using operand_list = std::vector<array_ptr>;

template <class... Operands>
operand_list list(Operands&&... operands) {
    operand_list made;
    (made.push_back(std::forward<Operands>(operands)), ...);
    return made;
}

struct outcome {
    std::string raised;
    ndClassID cls = ndUNKNOWN_CLASS;
    std::array<double, 4> out{untouched, untouched, untouched, untouched};
};

outcome outcome_of(const operand_list& operands, int n) {
    std::vector<const ndArray_tag*> args;
    for (const array_ptr& operand : operands) args.push_back(operand.get());
    outcome found;
    found.raised = raised_by([&] { found.cls = api::ndGetColonArgs(n, args.data(), found.out.data()); });
    return found;
}
outcome outcome_of(const operand_list& operands) {
    return outcome_of(operands, static_cast<int>(operands.size()));
}

array_ptr full(const char* cls, double value) { return arr(std::string(cls) + " 1x1", {value}); }

const char* const first_and_last = "TARVEL:colon:mixedCharOperands, mixedCharOperandsFirstAndLast";
const char* const second = "TARVEL:colon:mixedCharOperands, mixedCharOperandsSecond";
const char* const mixed = "TARVEL:colon:mixedNonDoubleOperands, mixedNonDoubleOperands";
const char* const no_scalar = "TARVEL:colon:operandsNotRealScalar, operandsNotRealScalar";
const char* const char_whole =
    "TARVEL:colon:scalarDoubleMustBeIntegerValued, charOperandsMustBeIntegerValued";
const char* const integer_whole =
    "TARVEL:colon:scalarDoubleMustBeIntegerValued, integerOperandsMustBeIntegerValued";
const char* const out_of_range = "TARVEL:colon:OutOfRange, OutOfRange";

using ColonArgs = NdTest;

TEST_F(ColonArgs, GiveTheClassAndTheValues) {
    struct {
        operand_list operands;
        ndClassID cls;
        std::array<double, 4> out;
    } const rows[] = {
        {list(full("double", 1), full("double", 5)), ndDOUBLE_CLASS, {1, 1, 5, 0}},
        {list(full("double", 1), full("double", 0.5), full("double", 5)), ndDOUBLE_CLASS, {1, 0.5, 5, 0}},
        {list(full("double", -inf), full("double", inf)), ndDOUBLE_CLASS, {-inf, 1, inf, 0}},
        {list(full("logical", 1), full("logical", 1)), ndDOUBLE_CLASS, {1, 1, 1, 0}},
        {list(full("logical", 0), full("double", 2), full("logical", 1)), ndDOUBLE_CLASS, {0, 2, 1, 0}},
        {list(full("single", 1.5), full("double", 4)), ndSINGLE_CLASS, {1.5, 1, 4, 0}},
        {list(full("double", 1), full("single", 0.5), full("single", 4)), ndSINGLE_CLASS, {1, 0.5, 4, 0}},
        {list(full("char", 97), full("char", 122)), ndCHAR_CLASS, {97, 1, 122, 0}},
        {list(full("char", 97), full("double", 2), full("char", 122)), ndCHAR_CLASS, {97, 2, 122, 0}},
        {list(full("char", 97), full("char", 2), full("char", 122)), ndCHAR_CLASS, {97, 2, 122, 0}},
        {list(full("int8", -5), full("int8", 5)), ndINT8_CLASS, {-5, 1, 5, 0}},
        {list(full("double", -5), full("double", 1000), full("int8", 5)), ndINT8_CLASS, {-5, 1000, 5, 0}},
        {list(full("uint8", 0), full("uint8", 255)), ndUINT8_CLASS, {0, 1, 255, 0}},
        {list(full("int16", 3), full("double", -1), full("int16", 1)), ndINT16_CLASS, {3, -1, 1, 0}},
        {list(full("uint16", 3), full("double", 65535)), ndUINT16_CLASS, {3, 1, 65535, 0}},
        {list(full("int32", 3), full("int32", 2), full("int32", 9)), ndINT32_CLASS, {3, 2, 9, 0}},
        {list(full("double", 0), full("uint32", 9)), ndUINT32_CLASS, {0, 1, 9, 0}},
        {list(full("int64", 3), full("double", 0.5), full("int64", 9)), ndINT64_CLASS, {3, 0.5, 9, 0}},
        {list(full("uint64", 3), full("double", 1e300)), ndUINT64_CLASS, {3, 1, 1e300, 0}},
        {list(full("double", 7)), ndDOUBLE_CLASS, {7, 0, 0, 0}},
        {list(full("char", 7)), ndCHAR_CLASS, {7, 0, 0, 0}},
        {list(), ndDOUBLE_CLASS, {0, 0, 0, 0}},
    };
    for (const auto& row : rows) {
        const outcome found = outcome_of(row.operands);
        EXPECT_EQ(found.raised, "");
        EXPECT_EQ(found.cls, row.cls);
        EXPECT_EQ(found.out, row.out);
    }
}

TEST_F(ColonArgs, AreReadInEveryRepresentation) {
    for_each_variation(arr("int8", {3}), [](array_ptr& start) {
        const array_ptr stop = arr("double", {9});
        const ndArray_tag* const args[] = {start.get(), stop.get()};
        std::array<double, 4> out{};
        EXPECT_EQ(api::ndGetColonArgs(2, args, out.data()), ndINT8_CLASS);
        EXPECT_THAT(out, ElementsAre(3, 1, 9, 0));
    });
}

TEST_F(ColonArgs, AnEmptyOneLeavesNoRange) {
    const operand_list rows[] = {
        list(arr("double 0x0"), full("double", 5)),
        list(full("double", 5), arr("double 0x3")),
        list(full("double", nan), full("double", 2), arr("logical 3x0")),
    };
    for (const operand_list& operands : rows) {
        const outcome found = outcome_of(operands);
        EXPECT_EQ(found.cls, ndDOUBLE_CLASS);
        EXPECT_THAT(found.out, ElementsAre(0, 0, 0, 1));
    }
    const operand_list chars[] = {
        list(full("char", 97), arr("char 0x0")),
        list(arr("char 1x0"), full("char", 99)),
        list(full("char", 97), arr("double 0x0"), full("char", 99)),
        list(full("char", 97), arr("char 0x3"), full("char", 99)),
    };
    for (const operand_list& operands : chars) {
        const outcome found = outcome_of(operands);
        EXPECT_EQ(found.raised, "");
        EXPECT_EQ(found.cls, ndCHAR_CLASS);
        EXPECT_THAT(found.out, ElementsAre(0, 0, 0, 1));
    }
    EXPECT_EQ(outcome_of(list(full("char", 97), arr("double 0x0"))).raised, first_and_last);
    // No value is tested then: the fraction would be refused, and 200 is no int8.
    const outcome found = outcome_of(list(full("double", 1.5), arr("int8 0x0"), full("double", 200)));
    EXPECT_EQ(found.raised, "");
    EXPECT_EQ(found.cls, ndINT8_CLASS);
    EXPECT_THAT(found.out, ElementsAre(0, 0, 0, 1));
}

TEST_F(ColonArgs, OfClassesThatDontGoTogetherAreRefused) {
    const auto cell = [] { return arr("cell 1x1", arr("double", {1})); };
    struct {
        operand_list operands;
        const char* raised;
    } const rows[] = {
        {list(full("char", 97), full("double", 122)), first_and_last},
        {list(full("double", 97), full("char", 122)), first_and_last},
        {list(full("double", 97), full("char", 1), full("double", 122)), first_and_last},
        {list(full("logical", 1), full("char", 122)), first_and_last},
        {list(full("char", 97), full("int8", 1), full("int8", 122)), first_and_last},
        {list(full("char", 97), full("int8", 1), full("char", 122)), second},
        {list(full("char", 97), full("logical", 1), full("char", 122)), second},
        {list(full("char", 97), full("single", 1), full("char", 122)), second},
        {list(full("char", 97), cell(), full("char", 122)), second},
        {list(full("int8", 1), full("char", 5)), mixed},
        {list(full("int8", 1), full("logical", 1)), mixed},
        {list(full("logical", 1), full("int8", 1)), mixed},
        {list(full("int8", 1), full("int16", 1)), mixed},
        {list(full("int8", 1), full("single", 1)), mixed},
        {list(full("single", 1), full("int64", 1)), mixed},
        {list(full("single", 1), full("logical", 1)), mixed},
        {list(full("double", 1), full("int32", 1), full("uint32", 5)), mixed},
        {list(cell(), cell()), mixed},
        {list(full("double", 1), cell()), mixed},
        {list(cell(), full("double", 1)), mixed},
        {list(struct_arr("1x1", {"a"}, nullptr), full("double", 1)), mixed},
        {list(full("double", 1), arr("cell 0x0")), mixed},
        {list(arr("unknown 0x0"), full("double", 1)), mixed},
    };
    for (const auto& row : rows) {
        const outcome found = outcome_of(row.operands);
        EXPECT_EQ(found.raised, row.raised) << row.operands[0]->class_id << ':' << row.operands[1]->class_id;
        EXPECT_THAT(found.out, ElementsAre(untouched, untouched, untouched, untouched));
    }
}

TEST_F(ColonArgs, EveryPairOfNumericClassesGoesByDouble) {
    const char* const classes[] = {"single", "int8",   "uint8", "int16", "uint16",
                                   "int32",  "uint32", "int64", "uint64"};
    for (const char* a : classes)
        for (const char* b : classes)
            EXPECT_EQ(outcome_of(list(full(a, 1), full(b, 5))).raised, a == b ? "" : mixed) << a << ':' << b;
}

TEST_F(ColonArgs, ThatAreNoRealScalarsAreRefused) {
    const auto complex = [](const char* cls) {
        return arr(std::string("complex ") + cls + " 1x1", {{1, 2}});
    };
    struct {
        operand_list operands;
        const char* raised;
    } const rows[] = {
        {list(arr("double 1x2", {1, 2}), full("double", 5)), no_scalar},
        {list(full("double", 5), arr("double 2x2x2")), no_scalar},
        {list(full("double", 1), full("double", 1), arr("double 2x1", {1, 2})), no_scalar},
        {list(complex("double"), full("double", 5)), no_scalar},
        {list(full("double", 5), complex("double")), no_scalar},
        {list(complex("int8"), full("int8", 5)), no_scalar},
        {list(full("char", 97), full("double", 1), arr("char", u"xyz")), no_scalar},
        {list(arr("logical 1x2", {1, 0}), full("double", 1)), no_scalar},
        {list(arr("complex double 0x0"), arr("double 0x0")), no_scalar},
        // operand by operand: the class of each comes before its shape, and behind the shape of those before
        {list(arr("double 1x2", {1, 2}), full("int8", 1), full("int16", 1)), no_scalar},
        {list(full("int8", 1), arr("int16 1x2", {1, 2})), mixed},
        {list(full("int8", 1), full("int16", 2), arr("int8 1x2", {1, 2})), mixed},
        {list(full("int8", 1), arr("int8 1x2", {1, 2}), full("int16", 2)), no_scalar},
        {list(arr("char", u"ab"), full("int8", 1), full("char", 99)), second},
        // a value comes last
        {list(full("int8", 1), full("double", 1.5), arr("int8 1x2", {1, 2})), no_scalar},
    };
    for (const auto& row : rows) {
        const outcome found = outcome_of(row.operands);
        EXPECT_EQ(found.raised, row.raised);
        EXPECT_THAT(found.out, ElementsAre(untouched, untouched, untouched, untouched));
    }
}

TEST_F(ColonArgs, WithValuesOutsideTheClassAreRefused) {
    struct {
        operand_list operands;
        const char* raised;
    } const rows[] = {
        {list(full("int8", 1), full("double", 200)), out_of_range},
        {list(full("int8", 1), full("double", 2.5)), integer_whole},
        {list(full("char", 97), full("double", 0.5), full("char", 99)), char_whole},
        {list(full("double", 1e300), full("single", 1)), out_of_range},
    };
    for (const auto& row : rows) {
        const outcome found = outcome_of(row.operands);
        EXPECT_EQ(found.raised, row.raised);
        EXPECT_THAT(found.out, ElementsAre(untouched, untouched, untouched, untouched));
    }
}

// A range as an operand is its value: one element, none, or too many.
TEST_F(ColonArgs, AColonObjectCountsAsItsValue) {
    EXPECT_THAT(outcome_of(list(create_colon_object(3, 1, 3), full("double", 5))).out,
                ElementsAre(3, 1, 5, 0));
    EXPECT_THAT(outcome_of(list(create_colon_object(3, 9, 5, ndINT8_CLASS), full("double", 5))).out,
                ElementsAre(3, 1, 5, 0));
    EXPECT_THAT(outcome_of(list(full("double", 5), create_colon_object(3, 1, 1))).out,
                ElementsAre(0, 0, 0, 1));
    EXPECT_EQ(outcome_of(list(create_colon_object(3, 1, 4), full("double", 5))).raised, no_scalar);
}

TEST_F(ColonArgs, ASparseScalarCountsAsItsValue) {
    const auto sparse = [](double value) {
        return matrix::convert_to_sparse_if_needed(arr("double", {value}));
    };
    EXPECT_THAT(outcome_of(list(sparse(3), full("double", 5))).out, ElementsAre(3, 1, 5, 0));
    EXPECT_THAT(outcome_of(list(sparse(0), full("int8", 5))).out, ElementsAre(0, 1, 5, 0));
    EXPECT_EQ(
        outcome_of(list(matrix::convert_to_sparse_if_needed(arr("double 1x2")), full("double", 5))).raised,
        no_scalar);
}

TEST_F(ColonArgs, OfANegativeNumberThereAreNone) {
    const outcome found = outcome_of(list(), -3);
    EXPECT_EQ(found.cls, ndDOUBLE_CLASS);
    EXPECT_THAT(found.out, ElementsAre(0, 0, 0, 0));
}

TEST_F(ColonArgs, BeyondTheThirdAreLeftAlone) {
    const outcome found = outcome_of(
        list(full("double", 1), full("double", 2), full("double", 3), full("int8", 4), full("int16", 5)));
    EXPECT_EQ(found.cls, ndDOUBLE_CLASS);
    EXPECT_THAT(found.out, ElementsAre(1, 2, 3, 0));
}

// The last operand is the third then, also where the ends must be char.
TEST_F(ColonArgs, OfMoreThanThreeTheThirdIsTheLast) {
    const outcome chars =
        outcome_of(list(full("char", 97), full("double", 2), full("char", 99), full("int8", 1)));
    EXPECT_EQ(chars.raised, "");
    EXPECT_EQ(chars.cls, ndCHAR_CLASS);
    EXPECT_THAT(chars.out, ElementsAre(97, 2, 99, 0));
    EXPECT_EQ(
        outcome_of(list(full("char", 97), full("double", 2), full("double", 99), full("char", 99))).raised,
        first_and_last);
}

// ---- values

using ColonArgValues = NdTest;

TEST_F(ColonArgValues, TwoBecomeThree) {
    for (const ndClassID cls : {ndDOUBLE_CLASS, ndSINGLE_CLASS, ndCHAR_CLASS, ndINT8_CLASS, ndUINT64_CLASS}) {
        double values[4] = {3, 9, untouched, untouched};
        api::ndGetColonArgValues(2, values, cls);
        EXPECT_THAT(values, ElementsAre(3, 1, 9, untouched));
        double three[4] = {3, 2, 9, untouched};
        api::ndGetColonArgValues(3, three, cls);
        EXPECT_THAT(three, ElementsAre(3, 2, 9, untouched));
        double one[2] = {3, untouched};
        api::ndGetColonArgValues(1, one, cls);
        EXPECT_THAT(one, ElementsAre(3, untouched));
        api::ndGetColonArgValues(0, nullptr, cls);
        api::ndGetColonArgValues(-1, nullptr, cls);
    }
}

std::string raised_for(std::array<double, 3> values, int n, ndClassID cls) {
    const std::array<double, 3> before = values;
    const std::string raised = raised_by([&] { api::ndGetColonArgValues(n, values.data(), cls); });
    if (!raised.empty()) {
        EXPECT_EQ(std::memcmp(values.data(), before.data(), sizeof values), 0) << "values stay";
    }
    return raised;
}

TEST_F(ColonArgValues, MustBeWholeForCharAndShortIntegers) {
    for (const double value : {0.5, -1e-300, 65.000001, nan}) {
        for (std::size_t place = 0; place < 3; ++place) {
            std::array<double, 3> values{1, 1, 1};
            values[place] = value;
            EXPECT_EQ(raised_for(values, 3, ndCHAR_CLASS), char_whole) << value;
            for (const class_limits& c : limits_of_integers)
                EXPECT_EQ(raised_for(values, 3, c.id), integer_whole) << value;
            for (const ndClassID cls : {ndDOUBLE_CLASS, ndSINGLE_CLASS, ndINT64_CLASS, ndUINT64_CLASS})
                EXPECT_EQ(raised_for(values, 3, cls), "") << value;
            if (place < 2) {
                EXPECT_EQ(raised_for(values, 2, ndINT8_CLASS), integer_whole) << value;
            }
        }
    }
    EXPECT_EQ(raised_for({1, inf, 1}, 3, ndINT8_CLASS), "") << "an infinite step is whole";
    EXPECT_EQ(raised_for({1, 1, 0.5}, 1, ndINT8_CLASS), "") << "one value, two that aren't given";
}

TEST_F(ColonArgValues, ErrorsTellTheClass) {
    for (const class_limits& c : limits_of_integers) {
        double values[3] = {0.5, 1, 1};
        try {
            api::ndGetColonArgValues(3, values, c.id);
            ADD_FAILURE() << "nothing was raised";
        } catch (const foundation::core::except::IMsgIDException& error) {
            const auto& arguments = error.GetBaseMsgIDObj().arguments();
            ASSERT_EQ(arguments.size(), 1U);
            EXPECT_EQ(std::get<std::string>(arguments[0]), c.name);
        }
    }
}

TEST_F(ColonArgValues, MustLieInTheClassButForTheStep) {
    for (const class_limits& c : limits_of_integers) {
        EXPECT_EQ(raised_for({c.lowest, 1e300, c.highest}, 3, c.id), "") << c.name;
        EXPECT_EQ(raised_for({c.highest, -1e300, c.lowest}, 3, c.id), "") << c.name;
        EXPECT_EQ(raised_for({c.lowest, c.highest, 0}, 2, c.id), "") << c.name;
        for (const double outside : {c.lowest - 1, c.highest + 1, 1e300, -1e300, inf, -inf}) {
            EXPECT_EQ(raised_for({outside, 1, 1}, 3, c.id), out_of_range) << c.name << ' ' << outside;
            EXPECT_EQ(raised_for({1, 1, outside}, 3, c.id), out_of_range) << c.name << ' ' << outside;
            EXPECT_EQ(raised_for({1, outside, 1}, 2, c.id), out_of_range) << c.name << ' ' << outside;
            EXPECT_EQ(raised_for({1, outside, 1}, 3, c.id), "") << c.name << ' ' << outside;
        }
    }
    for (const ndClassID cls : {ndDOUBLE_CLASS, ndCHAR_CLASS, ndINT64_CLASS, ndUINT64_CLASS})
        EXPECT_EQ(raised_for({-1e300, 1, inf}, 3, cls), "") << cls;
}

TEST_F(ColonArgValues, OfSinglesMayBeInfiniteButNotBecomeIt) {
    constexpr double largest_single = std::numeric_limits<float>::max();
    const double halfway = largest_single + 0x1p102; // rounds to the largest; from the half on, to infinity
    for (const double value : {largest_single, -largest_single, halfway, inf, -inf, nan}) {
        EXPECT_EQ(raised_for({value, 1, 1}, 3, ndSINGLE_CLASS), "") << value;
        EXPECT_EQ(raised_for({1, 1, value}, 3, ndSINGLE_CLASS), "") << value;
    }
    for (const double value : {0x1p128, -0x1p128, largest_single + 0x1p103, 1e300}) {
        EXPECT_EQ(raised_for({value, 1, 1}, 3, ndSINGLE_CLASS), out_of_range) << value;
        EXPECT_EQ(raised_for({1, 1, value}, 3, ndSINGLE_CLASS), out_of_range) << value;
        EXPECT_EQ(raised_for({1, value, 1}, 3, ndSINGLE_CLASS), "") << value;
    }
}

// What int8 lets through: a step beyond the class, and a range of one element.
TEST_F(ColonArgValues, AStepMayBeLargerThanTheClass) {
    double values[3] = {1, 1000, 100};
    api::ndGetColonArgValues(3, values, ndINT8_CLASS);
    const array_ptr range = matrix::create_colon_array(values[0], values[1], values[2], ndINT8_CLASS);
    EXPECT_EQ(elements_of(range.get()), std::vector<rational>{1});
}

} // namespace
} // namespace test
