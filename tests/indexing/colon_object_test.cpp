// Colon objects: how they are stored, what they answer, and that they stand for the vector that the same operands expand to.
#include "indexing/colon_support.hpp"
#include "indexing/random_ranges.hpp"
#include "matrix/validate.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"
#include "support/snapshot.hpp"
#include "support/variations.hpp"

#include "matrix/colon_layout.hpp"
#include "matrix/scaffolding.hpp"

#include <nd/interleaved.hpp>
#include <nd/scalars.hpp>
#include <nd/share.hpp>

#include <cstring>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::create_colon_array;
using matrix::create_colon_object;
using matrix::create_int_colon_object;
using matrix::expand_colon_object;

// The bytes of the operands, one behind the other.
template <class... Operands>
std::vector<std::byte> bytes_of(Operands... operands) {
    std::vector<std::byte> bytes;
    const auto add = [&](const auto& operand) {
        const auto* first = reinterpret_cast<const std::byte*>(&operand);
        bytes.insert(bytes.end(), first, first + sizeof operand);
    };
    (add(operands), ...);
    return bytes;
}

std::vector<std::byte> stored_bytes(const ndArray_tag* object) {
    const auto* first = static_cast<const std::byte*>(object->pdata);
    return {first, first + api::ndGetNumberOfElements(object) * api::ndGetElementSize(object)};
}

void expect_object(const array_ptr& object, ndClassID cls, std::size_t columns,
                   const std::vector<std::byte>& bytes) {
    SCOPED_TRACE(cls);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->class_id, cls);
    EXPECT_TRUE(api::ndIsColonObj(object.get()));
    EXPECT_FALSE(api::ndIsComplex(object.get()));
    EXPECT_FALSE(api::ndIsScalarDoubleFlagSet(object.get()));
    EXPECT_EQ(api::ndGetM(object.get()), 1U);
    EXPECT_EQ(api::ndGetN(object.get()), columns);
    EXPECT_EQ(stored_bytes(object.get()), bytes);
    EXPECT_LE(bytes.size(), 32U);
    EXPECT_EQ(object->scope, ndLOCAL_SCOPE);
    EXPECT_EQ(matrix::internal::validate(object.get()), "");
}

using ColonObject = NdTest;

TEST_F(ColonObject, StoresStepStartAndStopInItsClass) {
    const double step = 0.5;
    expect_object(create_colon_object(1, step, 9), ndDOUBLE_CLASS, 3, bytes_of(step, 1.0, 9.0));
    expect_object(create_colon_object(1, step, 9, ndDOUBLE_CLASS), ndDOUBLE_CLASS, 3,
                  bytes_of(step, 1.0, 9.0));
    expect_object(create_colon_object(0.1, step, 9, ndSINGLE_CLASS), ndSINGLE_CLASS, 4,
                  bytes_of(step, 0.1F, 9.0F));
    expect_object(create_colon_object(65, step, 90, ndCHAR_CLASS), ndCHAR_CLASS, 6,
                  bytes_of(step, u'A', u'Z'));
    expect_object(create_colon_object(-3.9, step, 9.9, ndINT16_CLASS), ndINT16_CLASS, 6,
                  bytes_of(step, std::int16_t{-3}, std::int16_t{9}));
    expect_object(create_colon_object(3, step, 65535, ndUINT16_CLASS), ndUINT16_CLASS, 6,
                  bytes_of(step, std::uint16_t{3}, std::uint16_t{65535}));
    expect_object(create_colon_object(-3, step, 9, ndINT8_CLASS), ndINT8_CLASS, 10,
                  bytes_of(step, std::int8_t{-3}, std::int8_t{9}));
    expect_object(create_colon_object(3, step, 255, ndUINT8_CLASS), ndUINT8_CLASS, 10,
                  bytes_of(step, std::uint8_t{3}, std::uint8_t{255}));
    expect_object(create_colon_object(-3, step, 9, ndINT32_CLASS), ndINT32_CLASS, 4,
                  bytes_of(step, std::int32_t{-3}, std::int32_t{9}));
    expect_object(create_colon_object(3, step, 4294967295.0, ndUINT32_CLASS), ndUINT32_CLASS, 4,
                  bytes_of(step, std::uint32_t{3}, std::uint32_t{4294967295}));
    const u64 zero = 0;
    expect_object(create_int_colon_object(lowest_i64, i64{7}, highest_i64, ndINT64_CLASS), ndINT64_CLASS, 4,
                  bytes_of(zero, lowest_i64, highest_i64, i64{7}));
    expect_object(create_int_colon_object(lowest_i64, step, highest_i64, ndINT64_CLASS), ndINT64_CLASS, 3,
                  bytes_of(step, lowest_i64, highest_i64));
    expect_object(create_int_colon_object(u64{3}, highest_u64, highest_u64, ndUINT64_CLASS), ndUINT64_CLASS,
                  4, bytes_of(zero, u64{3}, highest_u64, highest_u64));
    expect_object(create_int_colon_object(u64{3}, step, highest_u64, ndUINT64_CLASS), ndUINT64_CLASS, 3,
                  bytes_of(step, u64{3}, highest_u64));
}

TEST_F(ColonObject, HoldsOperandsToTheClass) {
    for (const class_limits& c : limits_of_integers) {
        for (const double beyond : {1e300, inf}) {
            double values[3];
            api::ndGetColonObjValues(create_colon_object(-beyond, 1, beyond, c.id).get(), values);
            EXPECT_EQ(values[0], c.lowest) << c.name;
            EXPECT_EQ(values[2], c.highest) << c.name;
        }
        double values[3];
        api::ndGetColonObjValues(create_colon_object(nan, 1, nan, c.id).get(), values);
        EXPECT_EQ(values[0], 0) << c.name;
    }
    double values[3];
    api::ndGetColonObjValues(create_colon_object(-1, 1, 1e9, ndCHAR_CLASS).get(), values);
    EXPECT_EQ(values[0], 0);
    EXPECT_EQ(values[2], 65535);
}

TEST_F(ColonObject, OfAnotherClassIsNone) {
    for (const ndClassID cls : classes_without_ranges) {
        EXPECT_EQ(create_colon_object(1, 1, 5, cls), nullptr) << cls;
        EXPECT_EQ(api::ndCreateColonObject(1, 1, 5, cls), nullptr) << cls;
        EXPECT_EQ(create_int_colon_object(i64{1}, i64{1}, i64{5}, cls), nullptr) << cls;
    }
    for (const ndClassID cls : short_range_classes) {
        EXPECT_EQ(create_int_colon_object(i64{1}, 1.0, i64{5}, cls), nullptr) << cls;
        EXPECT_EQ(create_int_colon_object(u64{1}, 1.0, u64{5}, cls), nullptr) << cls;
    }
    EXPECT_EQ(create_colon_object(1, 1, 5, ndINT64_CLASS), nullptr);
    EXPECT_EQ(create_colon_object(1, 1, 5, ndUINT64_CLASS), nullptr);
    EXPECT_EQ(create_int_colon_object(i64{1}, i64{1}, i64{5}, ndUINT64_CLASS), nullptr);
    EXPECT_EQ(create_int_colon_object(u64{1}, u64{1}, u64{5}, ndINT64_CLASS), nullptr);
}

TEST_F(ColonObject, TellsItsOperandsAsDoubles) {
    struct {
        array_ptr object;
        triple wanted;
    } const rows[] = {
        {create_colon_object(1, 0.5, 9), {1, 0.5, 9}},
        {create_colon_object(-inf, nan, inf), {-inf, nan, inf}},
        {create_colon_object(0.5, 0.1, 9, ndSINGLE_CLASS), {0.5, 0.1, 9}},
        {create_colon_object(65, -2, 0, ndCHAR_CLASS), {65, -2, 0}},
        {create_colon_object(-128, 1000, 127, ndINT8_CLASS), {-128, 1000, 127}},
        {create_int_colon_object(lowest_i64, i64{-3}, highest_i64, ndINT64_CLASS), {-0x1p63, -3, 0x1p63}},
        {create_int_colon_object(i64{4}, -3.25, i64{-4}, ndINT64_CLASS), {4, -3.25, -4}},
        {create_int_colon_object(u64{4}, u64{1} << 63, highest_u64, ndUINT64_CLASS), {4, 0x1p63, 0x1p64}},
        {create_int_colon_object(u64{4}, -0.5, u64{1}, ndUINT64_CLASS), {4, -0.5, 1}},
    };
    for (const auto& row : rows) {
        double values[3] = {-1, -1, -1};
        api::ndGetColonObjValues(row.object.get(), values);
        EXPECT_EQ(values[0], row.wanted.start) << row.wanted;
        if (row.wanted.step == row.wanted.step) {
            EXPECT_EQ(values[1], row.wanted.step) << row.wanted;
        }
        EXPECT_EQ(values[2], row.wanted.stop) << row.wanted;
    }
}

template <class T>
struct wide_values {
    T start = 77;
    T step = 77;
    T stop = 77;
    double double_step = 77;

    explicit wide_values(const array_ptr& object) {
        api::ndGetColonObjValues(object.get(), start, step, stop, double_step);
    }
    std::string text() const {
        return std::to_string(start) + " " + std::to_string(step) + " " + std::to_string(stop) + " " +
               std::to_string(double_step);
    }
};

TEST_F(ColonObject, Of64BitsTellsItsOperandsExactly) {
    EXPECT_EQ(
        wide_values<i64>(create_int_colon_object(lowest_i64, i64{-7}, highest_i64, ndINT64_CLASS)).text(),
        "-9223372036854775808 -7 9223372036854775807 0.000000");
    EXPECT_EQ(wide_values<i64>(create_int_colon_object(lowest_i64, -7.5, highest_i64, ndINT64_CLASS)).text(),
              "-9223372036854775808 0 9223372036854775807 -7.500000");
    EXPECT_EQ(
        wide_values<u64>(create_int_colon_object(u64{1}, highest_u64, highest_u64, ndUINT64_CLASS)).text(),
        "1 18446744073709551615 18446744073709551615 0.000000");
    EXPECT_EQ(wide_values<u64>(create_int_colon_object(u64{1}, 0.25, highest_u64, ndUINT64_CLASS)).text(),
              "1 0 18446744073709551615 0.250000");
}

TEST_F(ColonObject, OtherArraysHaveNoOperands) {
    for (const array_ptr& array : {arr("double 1x3", {1, 2, 3}), arr("int64 1x4", {1, 2, 3, 4}), arr("int8"),
                                   arr("cell 1x1", nullptr), arr("double 0x0")}) {
        double values[3] = {1, 1, 1};
        api::ndGetColonObjValues(array.get(), values);
        EXPECT_EQ(values[0] + values[1] + values[2], 0);
        EXPECT_EQ(wide_values<i64>(array).text(), "0 0 0 0.000000");
        EXPECT_EQ(wide_values<u64>(array).text(), "0 0 0 0.000000");
        EXPECT_EQ(api::ndCountColonObj(array.get()), api::ndGetNumberOfElements(array.get()));
        EXPECT_EQ(api::ndCountIntColonObj(array.get()), api::ndGetNumberOfElements(array.get()));
        EXPECT_THAT(expand_colon_object(array.get()), EqualsArray(array.get()));
    }
    const array_ptr doubles = create_colon_object(1, 1, 5);
    EXPECT_EQ(wide_values<i64>(doubles).text(), "0 0 0 0.000000");
    EXPECT_EQ(wide_values<i64>(create_int_colon_object(u64{1}, u64{1}, u64{5}, ndUINT64_CLASS)).text(),
              "0 0 0 0.000000");
    EXPECT_EQ(wide_values<u64>(create_int_colon_object(i64{1}, i64{1}, i64{5}, ndINT64_CLASS)).text(),
              "0 0 0 0.000000");
    EXPECT_EQ(expand_colon_object(nullptr), nullptr);
    EXPECT_EQ(api::ndExpandColonObj(nullptr), nullptr);
}

// An array that isn't a range shares its data with its expansion, unless they may not be shared.
TEST_F(ColonObject, ExpansionOfAnotherArrayIsACopyOfIt) {
    for_each_variation(numbered("double 2x3"), [](array_ptr& array) {
        const array_ptr copy = expand_colon_object(array.get());
        EXPECT_EQ(copy->pdata, array->pdata);
        EXPECT_NE(copy.get(), array.get());
    });
}

// A flag doesn't make operands: of a header that lost its data, or was given other dimensions, there are none to be read.
TEST_F(ColonObject, WithoutOperandsIsAnArrayLikeAnyOther) {
    const array_ptr object = create_int_colon_object(i64{1}, 1.0, i64{9}, ndINT64_CLASS);
    void* const block = std::exchange(object->pdata, nullptr);
    EXPECT_EQ(api::ndCountColonObj(object.get()), 3U);
    EXPECT_FALSE(api::ndIsEmpty(object.get()));
    object->pdata = block;
    for (const std::size_t columns : {2U, 5U, 0U}) {
        object->n_or_ndims = columns;
        EXPECT_EQ(api::ndCountColonObj(object.get()), columns);
        EXPECT_EQ(api::ndIsEmpty(object.get()), columns == 0);
    }
    object->n_or_ndims = 3;
    EXPECT_EQ(api::ndCountColonObj(object.get()), 9U);
}

TEST_F(ColonObject, CountsItsElements) {
    struct {
        array_ptr object;
        kvSize wanted;
    } const rows[] = {
        {create_colon_object(1, 1, 5), 5},
        {create_colon_object(0, 0.1, 1), 11},
        {create_colon_object(1, 1, 0), 0},
        {create_colon_object(1, 0, 5), 0},
        {create_colon_object(nan, 1, 5), 1},
        {create_colon_object(1, nan, 5, ndINT8_CLASS), 1},
        {create_colon_object(inf, 1, inf), 1},
        {create_colon_object(1, 1, inf), 0xFFFFFFFFFFFF},
        {create_colon_object(1, 1, 0x1p48), 0xFFFFFFFFFFFF},
        {create_colon_object(1, 1, 0x1p48 - 2), 0xFFFFFFFFFFFE},
        {create_colon_object(0, 0.5, 1 - 0x1p-24, ndDOUBLE_CLASS), 2},
        {create_colon_object(0, 0.5, 1 - 0x1p-24, ndSINGLE_CLASS), 3},
        {create_colon_object(255, -1, 0, ndUINT8_CLASS), 256},
        {create_int_colon_object(i64{1}, i64{2}, i64{9}, ndINT64_CLASS), 5},
        {create_int_colon_object(i64{9}, i64{2}, i64{1}, ndINT64_CLASS), 0},
        {create_int_colon_object(i64{9}, i64{0}, i64{9}, ndINT64_CLASS), 0},
        {create_int_colon_object(lowest_i64, i64{1}, highest_i64, ndINT64_CLASS), 0xFFFFFFFFFFFF},
        {create_int_colon_object(lowest_i64, 0x1p63, highest_i64, ndINT64_CLASS), 2},
        {create_int_colon_object(lowest_i64, nan, highest_i64, ndINT64_CLASS), 0},
        {create_int_colon_object(u64{9}, -2.0, u64{1}, ndUINT64_CLASS), 5},
        {create_int_colon_object(u64{0}, highest_u64, highest_u64, ndUINT64_CLASS), 2},
        {create_int_colon_object(u64{0}, 0.5, highest_u64, ndUINT64_CLASS), 0},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(api::ndCountColonObj(row.object.get()), row.wanted);
        EXPECT_EQ(api::ndIsEmpty(row.object.get()), row.wanted == 0);
        EXPECT_EQ(api::ndGetNumberOfElements(row.object.get()), row.object->n_or_ndims) << "as it is stored";
    }
}

// The lazy form and the expanded one have the same value: count, class, elements to the bit.
void expect_same_value(const array_ptr& object, const array_ptr& expanded) {
    const snapshot before(object.get());
    const array_ptr value = expand_colon_object(object.get());
    EXPECT_THAT(value, EqualsArray(expanded.get()));
    EXPECT_EQ(api::ndCountColonObj(object.get()), api::ndGetNumberOfElements(expanded.get()));
    EXPECT_EQ(value->flags & matrix::flag_colon_object, 0U);
    EXPECT_EQ(before.difference(), "");
}

TEST_F(ColonObject, ExpandsToTheVectorOfTheSameOperands) {
    for (const ndClassID cls : short_range_classes) {
        SCOPED_TRACE(cls);
        for_each_small_range(6, 1, [&](const triple& t) {
            if (testing::Test::HasFailure()) return;
            const double start = t.start + 6;
            const double stop = t.stop + 6;
            expect_same_value(create_colon_object(start, t.step, stop, cls),
                              create_colon_array(start, t.step, stop, cls));
        });
    }
    range_source random;
    for (int i = 0; i < 3000 && !HasFailure(); ++i) {
        const triple t = random.fractional(-10, 10, 100);
        if (api::ndColonop_size(t.start, t.step, t.stop, ndSINGLE_CLASS) > 5000) continue;
        expect_same_value(create_colon_object(t.start, t.step, t.stop),
                          create_colon_array(t.start, t.step, t.stop, ndDOUBLE_CLASS));
        const double start = static_cast<float>(t.start); // singles are stored as singles
        const double stop = static_cast<float>(t.stop);
        expect_same_value(create_colon_object(start, t.step, stop, ndSINGLE_CLASS),
                          create_colon_array(start, t.step, stop, ndSINGLE_CLASS));
    }
}

TEST_F(ColonObject, OfNoNumberExpandsToOneNaN) {
    EXPECT_THAT(expand_colon_object(create_colon_object(1, nan, 5).get()), EqualsArray(arr("double", {nan})));
    EXPECT_THAT(expand_colon_object(create_colon_object(1, nan, 5, ndINT16_CLASS).get()),
                EqualsArray(arr("double", {nan})));
    EXPECT_THAT(expand_colon_object(create_colon_object(inf, 1, inf, ndSINGLE_CLASS).get()),
                EqualsArray(arr("single", {nan})));
}

template <class T, class Step>
void expect_same_wide_value(T start, Step step, T stop) {
    constexpr ndClassID cls = std::is_signed_v<T> ? ndINT64_CLASS : ndUINT64_CLASS;
    const array_ptr object = create_int_colon_object(start, step, stop, cls);
    if (api::ndCountColonObj(object.get()) <= 1000) {
        expect_same_value(object, matrix::create_int_colon_array(start, step, stop));
    }
}

TEST_F(ColonObject, Of64BitsExpandsToTheVectorOfTheSameOperands) {
    range_source random;
    for (int i = 0; i < 5000 && !HasFailure(); ++i) {
        const double step = random.number(-1, 66);
        expect_same_wide_value(random.wide<i64>(), random.wide<i64>(), random.wide<i64>());
        expect_same_wide_value(random.wide<i64>(), step, random.wide<i64>());
        expect_same_wide_value(random.wide<u64>(), random.wide<u64>(), random.wide<u64>());
        expect_same_wide_value(random.wide<u64>(), step, random.wide<u64>());
    }
    expect_same_wide_value(i64{1}, i64{0}, i64{5});
    expect_same_wide_value(u64{1}, u64{0}, u64{5});
    expect_same_wide_value(i64{1}, nan, i64{5});
}

TEST_F(ColonObject, ThatIsTooLargeToExpandRaises) {
    const std::string too_large = "TARVEL:pmaxsize, pmaxsize";
    const array_ptr endless = create_colon_object(1, 1, inf);
    const array_ptr wide = create_int_colon_object(lowest_i64, i64{1}, highest_i64, ndINT64_CLASS);
    EXPECT_EQ(raised_by([&] { expand_colon_object(endless.get()); }), too_large);
    EXPECT_EQ(raised_by([&] { expand_colon_object(wide.get()); }), too_large);
    for_each_module_mode([&](int mode) {
        if (mode == mode_exceptions) {
            EXPECT_EQ(raised_by([&] { api::ndExpandColonObj(endless.get()); }), too_large);
        } else {
            EXPECT_EQ(api::ndExpandColonObj(endless.get()), nullptr);
        }
    });
}

TEST_F(ColonObject, OfTheInterfaceIsATemporary) {
    for_each_module_mode([](int) {
        const lists_on lists;
        const array_ptr made[] = {
            array_ptr(api::ndCreateColonObj(1, 2, 5)),
            array_ptr(api::ndCreateColonObject(1, 2, 5, ndINT8_CLASS)),
            array_ptr(api::ndCreateIntColonObject(i64{1}, i64{2}, i64{5}, ndINT64_CLASS)),
            array_ptr(api::ndCreateIntColonObject(i64{1}, 2.5, i64{5}, ndINT64_CLASS)),
            array_ptr(api::ndCreateIntColonObject(u64{1}, u64{2}, u64{5}, ndUINT64_CLASS)),
            array_ptr(api::ndCreateIntColonObject(u64{1}, 2.5, u64{5}, ndUINT64_CLASS)),
        };
        const char* const classes[] = {"double", "int8", "int64", "int64", "uint64", "uint64"};
        for (std::size_t i = 0; i < std::size(made); ++i) {
            EXPECT_EQ(made[i]->scope, ndTEMPORARY_SCOPE);
            EXPECT_TRUE(api::ndIsColonObj(made[i].get()));
            const array_ptr expanded(api::ndExpandColonObj(made[i].get()));
            EXPECT_EQ(expanded->scope, ndTEMPORARY_SCOPE);
            EXPECT_THAT(expanded, EqualsArray(arr(std::string(classes[i]) + " 1x3", {1, 3, 5})));
        }
    });
}

// A colon object is a value like any other: copies share or repeat the operands and stand for the same vector.
TEST_F(ColonObject, CopiesStandForTheSameVector) {
    for (const array_ptr& object :
         {create_colon_object(0, 0.1, 1), create_colon_object(1, 2, 99, ndINT8_CLASS),
          create_int_colon_object(u64{9}, -2.0, u64{1}, ndUINT64_CLASS),
          create_int_colon_object(i64{9}, i64{-2}, i64{1}, ndINT64_CLASS)}) {
        const array_ptr expanded = expand_colon_object(object.get());
        for_each_variation(object, [&](array_ptr& copy) {
            if (!api::ndIsColonObj(copy.get())) return ADD_FAILURE() << "the copy is no colon object";
            EXPECT_THAT(expand_colon_object(copy.get()), EqualsArray(expanded.get()));
        });
    }
}

// What was written to the separate parts counts, as in any other array.
TEST_F(ColonObject, OfSplitDataStandsForWhatThePartsSay) {
    struct {
        array_ptr object, other;
    } const rows[] = {
        {create_colon_object(1, 1, 5), create_colon_object(2, 3, 8)},
        {create_colon_object(1, 1, 5, ndSINGLE_CLASS), create_colon_object(2, 3, 8, ndSINGLE_CLASS)},
        {create_colon_object(1, 1, 5, ndINT8_CLASS), create_colon_object(2, 3, 8, ndINT8_CLASS)},
        {create_int_colon_object(i64{1}, i64{1}, i64{5}, ndINT64_CLASS),
         create_int_colon_object(i64{2}, i64{3}, i64{8}, ndINT64_CLASS)},
        {create_int_colon_object(u64{1}, 1.0, u64{5}, ndUINT64_CLASS),
         create_int_colon_object(u64{2}, 3.0, u64{8}, ndUINT64_CLASS)},
    };
    const auto reads = {
        +[](const ndArray_tag* x) { return api::ndCountColonObj(x); },
        +[](const ndArray_tag* x) { return api::ndCountIntColonObj(x); },
        +[](const ndArray_tag* x) {
            double values[3] = {};
            api::ndGetColonObjValues(x, values);
            return static_cast<kvSize>(values[1] * 10 + values[2]);
        },
        +[](const ndArray_tag* x) {
            const array_ptr expanded = expand_colon_object(x);
            return static_cast<kvSize>(api::ndGetScalar(expanded.get()) * 10) + expanded->n_or_ndims;
        },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.object->class_id);
        const std::vector<std::byte> before = stored_bytes(row.object.get());
        const std::vector<std::byte> after = stored_bytes(row.other.get());
        for (const auto read : reads) {
            ASSERT_TRUE(row.object->split_data(true));
            std::memcpy(row.object->get_scData()->real_data, after.data(), after.size());
            EXPECT_EQ(read(row.object.get()), read(row.other.get()));
            std::memcpy(row.object->get_scData()->real_data, before.data(), before.size());
            EXPECT_NE(read(row.object.get()), read(row.other.get()));
            row.object->interleave_data();
        }
    }
}

// The view of a range in other dimensions is the range itself, which has none.
TEST_F(ColonObject, InOtherDimensionsIsExpanded) {
    const array_ptr object = create_colon_object(1, 1, 6);
    const std::size_t dims[] = {2, 3};
    EXPECT_THAT(matrix::createReshapedView(object.get(), dims), EqualsArray(numbered("double 2x3")));
    const ndArray_tag* const constant = object.get();
    const auto view = matrix::createReshapedView(constant, dims);
    EXPECT_THAT(view.get(), EqualsArray(numbered("double 2x3")));
    EXPECT_TRUE(api::ndIsColonObj(constant));
}

} // namespace
} // namespace test
