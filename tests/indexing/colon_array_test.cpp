// Expanded ranges of every class but those of 64 bits (wide_range_test.cpp).
#include "indexing/colon_support.hpp"
#include "indexing/random_ranges.hpp"
#include "matrix/process_state.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"

#include <nd/sizes.hpp>

#include <cstring>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using matrix::create_colon_array;

using ColonArray = NdTest;

TEST_F(ColonArray, HasTheElementsInItsClass) {
    struct {
        triple range;
        ndClassID cls;
        array_ptr wanted;
    } const rows[] = {
        {{1, 1, 4}, ndDOUBLE_CLASS, arr("double 1x4", {1, 2, 3, 4})},
        {{0, 0.25, 1}, ndSINGLE_CLASS, arr("single 1x5", {0, 0.25, 0.5, 0.75, 1})},
        {{5, 1, 5}, ndDOUBLE_CLASS, arr("double 1x1", {5})},
        {{97, 1, 101}, ndCHAR_CLASS, arr("char", u"abcde")},
        {{-128, 51, 127}, ndINT8_CLASS, arr("int8 1x6", {-128, -77, -26, 25, 76, 127})},
        {{255, -100, 0}, ndUINT8_CLASS, arr("uint8 1x3", {255, 155, 55})},
        {{32767, -65535, -32768}, ndINT16_CLASS, arr("int16 1x2", {32767, -32768})},
        {{65535, -1, 65533}, ndUINT16_CLASS, arr("uint16 1x3", {65535, 65534, 65533})},
        {{-2147483648.0, 4294967295.0, 2147483647.0},
         ndINT32_CLASS,
         arr("int32 1x2",
             {std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()})},
        {{4294967295.0, -1, 4294967293.0},
         ndUINT32_CLASS,
         arr("uint32 1x3", {4294967295U, 4294967294U, 4294967293U})},
        {{0, 4294967295.0, 4294967295.0}, ndUINT32_CLASS, arr("uint32 1x2", {0U, 4294967295U})},
        {{1, 1000, 100}, ndINT8_CLASS, arr("int8 1x1", {1})},
        {{7, 1e300, 100}, ndINT8_CLASS, arr("int8 1x1", {7})},
        {{7, inf, 100}, ndUINT16_CLASS, arr("uint16 1x1", {7})},
        {{7, -inf, 1}, ndINT32_CLASS, arr("int32 1x1", {7})},
        {{1, 0.5, 3}, ndINT8_CLASS, arr("int8 1x5", {1, 1, 1, 1, 1})},
        {{1.75, 1.5, 5}, ndINT16_CLASS, arr("int16 1x3", {1, 2, 3})},
        {{126, 1, 129}, ndINT8_CLASS, arr("int8 1x4", {126, 127, -128, -127})},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.range);
        EXPECT_THAT(create_colon_array(row.range.start, row.range.step, row.range.stop, row.cls),
                    EqualsArray(row.wanted.get()));
    }
}

TEST_F(ColonArray, WithoutElementsIsOneByNone) {
    for (const triple& t :
         {triple{1, 1, 0}, triple{1, 0, 5}, triple{5, 2, 1}, triple{0.5, -1, 3}, triple{3, 0, 3}}) {
        for (const ndClassID cls : short_range_classes) {
            const array_ptr array = create_colon_array(t.start, t.step, t.stop, cls);
            EXPECT_EQ(array->class_id, cls);
            EXPECT_EQ(api::ndGetM(array.get()), 1U);
            EXPECT_EQ(api::ndGetN(array.get()), 0U);
            EXPECT_EQ(array->flags & matrix::flag_colon_object, 0U);
        }
    }
}

TEST_F(ColonArray, OfNoNumberIsOneNaN) {
    for (const triple& t : {triple{nan, 1, 5}, triple{1, nan, 5}, triple{1, 1, nan}, triple{1, 0, nan},
                            triple{inf, 1, inf}, triple{-inf, -1, -inf}}) {
        for (const ndClassID cls : short_range_classes) {
            const array_ptr array = create_colon_array(t.start, t.step, t.stop, cls);
            const bool single = cls == ndSINGLE_CLASS;
            EXPECT_THAT(array, EqualsArray(arr(single ? "single" : "double", {nan}))) << t << " in " << cls;
        }
    }
}

TEST_F(ColonArray, OfAClassWithoutRangesIsNone) {
    for (const ndClassID cls : classes_without_ranges) {
        EXPECT_EQ(create_colon_array(1, 1, 5, cls), nullptr) << cls;
        EXPECT_EQ(create_colon_array(nan, 1, 5, cls), nullptr) << cls;
        EXPECT_EQ(api::ndColonop(1, 1, 5, cls), nullptr) << cls;
    }
}

// Every element of every range between small operands: shifted, so that unsigned classes have them too.
TEST_F(ColonArray, OfSmallOperandsIsExactInEveryClass) {
    constexpr int extent = 6;
    for (const ndClassID cls : short_range_classes) {
        for_each_small_range(extent, 1, [&](const triple& t) {
            const triple shifted{t.start + extent, t.step, t.stop + extent};
            const array_ptr array = create_colon_array(shifted.start, shifted.step, shifted.stop, cls);
            ASSERT_EQ(array->class_id, cls);
            ASSERT_EQ(elements_of(array.get()),
                      elements_of(exact_range::of(shifted.start, shifted.step, shifted.stop)))
                << shifted << " in " << cls;
        });
    }
}

TEST_F(ColonArray, OfRandomOperandsIsExactInEveryIntegerClass) {
    range_source random;
    for (const class_limits& c : limits_of_integers) {
        const auto operand = [&] {
            const auto span = static_cast<std::uint64_t>(c.highest - c.lowest);
            return c.lowest + static_cast<double>(random.up_to(span));
        };
        for (int i = 0; i < 2000; ++i) {
            const triple t{operand(), random.whole(33), operand()};
            const exact_range exact = exact_range::of(t.start, t.step, t.stop);
            if (exact.count() > 3000) continue;
            const array_ptr array = create_colon_array(t.start, t.step, t.stop, c.id);
            ASSERT_EQ(elements_of(array.get()), elements_of(exact)) << t << " in " << c.name;
        }
    }
}

TEST_F(ColonArray, FromOneLimitOfTheClassToTheOther) {
    for (const class_limits& c : limits_of_integers) {
        for (const int pieces : {1, 3, 250}) {
            const double step = std::floor((c.highest - c.lowest) / pieces);
            for (const bool up : {true, false}) {
                const triple t = up ? triple{c.lowest, step, c.highest} : triple{c.highest, -step, c.lowest};
                const array_ptr array = create_colon_array(t.start, t.step, t.stop, c.id);
                EXPECT_EQ(elements_of(array.get()), elements_of(exact_range::of(t.start, t.step, t.stop)))
                    << t << " in " << c.name;
            }
        }
    }
}

TEST_F(ColonArray, ThatWouldBeTooLargeRaisesBeforeItIsMade) {
    const auto raised = [](const triple& t, ndClassID cls) {
        return raised_by([&] { create_colon_array(t.start, t.step, t.stop, cls); });
    };
    const std::string too_large = "TARVEL:pmaxsize, pmaxsize";
    EXPECT_EQ(raised({1, 1, inf}, ndDOUBLE_CLASS), too_large);
    EXPECT_EQ(raised({-inf, 1, 5}, ndDOUBLE_CLASS), too_large);
    EXPECT_EQ(raised({0, 0.5, 1e300}, ndSINGLE_CLASS), too_large);
    EXPECT_EQ(raised({1, 1, 0x1p46}, ndDOUBLE_CLASS), too_large);
    EXPECT_EQ(raised({1, 1, 0x1p47}, ndCHAR_CLASS), too_large);
    EXPECT_EQ(raised({1, 1, 0x1p46}, ndSINGLE_CLASS), too_large);
}

// The limit is asked even of an array that would come from the cache, and of a column of as many elements.
TEST_F(ColonArray, IsHeldToTheUsersLimit) {
    const size_limit_scope limit(100, 100);
    for (const bool cached : {false, true}) {
        const cache_scope cache(cached);
        EXPECT_NE(create_colon_array(1, 1, 12, ndDOUBLE_CLASS), nullptr);
        try {
            create_colon_array(1, 1, 13, ndDOUBLE_CLASS);
            ADD_FAILURE() << "nothing was raised";
        } catch (const matrix::internal::SizeLimitExceeded& error) {
            const TARVEL::array::SizeLimitExceeded& id = error.GetMsgIDObj();
            EXPECT_EQ(std::get<std::string>(id.arguments().front()), "13x1");
        }
    }
}

TEST_F(ColonArray, ComesFromTheCacheWhenThatIsOn) {
    const cache_scope cache(true);
    const array_ptr array = create_colon_array(1, 1, 10, ndDOUBLE_CLASS);
    EXPECT_NE(array->flags & matrix::flag_cached_header, 0U);
    EXPECT_THAT(array, EqualsArray(arr("double 1x10", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10})));
    EXPECT_THAT(create_colon_array(2, 1, 2, ndDOUBLE_CLASS), EqualsArray(arr("double", {2})));
}

// To the bit what the creator that isn't short makes, up to and beyond the largest block of the cache.
TEST_F(ColonArray, OfTheInterfaceIsTheSameWhereAPairIsReady) {
    const cache_scope cache(true);
    const auto expect_same = [](const triple& t) {
        const array_ptr quick(api::ndColonop(t.start, t.step, t.stop, ndDOUBLE_CLASS));
        matrix::cache::setEnabled(false);
        const array_ptr plain = create_colon_array(t.start, t.step, t.stop, ndDOUBLE_CLASS);
        matrix::cache::setEnabled(true);
        ASSERT_THAT(quick, EqualsArray(plain.get())) << t;
        const std::size_t bytes = sizeof(double) * api::ndGetNumberOfElements(plain.get());
        ASSERT_TRUE(bytes == 0 || std::memcmp(quick->pdata, plain->pdata, bytes) == 0) << t;
    };
    for (const double step : {1.0, -1.0, 3.0, 0.1, -0.1, 0.3, 1e-300, 0x1p52}) {
        for (const double start : {0.0, -0.0, 1.0, -7.0, 0.1, 0x1p53})
            for (double count = 0; count <= 70; ++count)
                expect_same({start, step, start + (count - 1) * step});
    }
    for (const double count : {2028, 2029, 2030, 2031, 2032})
        for (const double step : {1.0, 0.1}) expect_same({1, step, 1 + (count - 1) * step});
    for (const triple& t :
         {triple{1, 1, nan}, triple{nan, 1, 1}, triple{1, 0, 1}, triple{1, 1, -inf}, triple{0, inf, 1}})
        expect_same(t);
}

TEST_F(ColonArray, OfTheInterfaceIsHeldToTheUsersLimit) {
    const cache_scope cache(true);
    const size_limit_scope limit(100, 100);
    for_each_module_mode([&](int mode) {
        EXPECT_NE(array_ptr(api::ndColonop(1, 1, 12, ndDOUBLE_CLASS)), nullptr);
        const auto make_too_many = [] { EXPECT_EQ(api::ndColonop(1, 1, 13, ndDOUBLE_CLASS), nullptr); };
        EXPECT_EQ(raised_by(make_too_many).substr(0, 30),
                  mode == mode_exceptions ? "TARVEL:array:SizeLimitExceeded" : "");
    });
}

TEST_F(ColonArray, OfTheInterfaceIsATemporaryOrTheError) {
    for_each_module_mode([&](int mode) {
        const lists_on lists;
        const array_ptr array(api::ndColonop(1, 2, 6, ndINT16_CLASS));
        EXPECT_THAT(array, EqualsArray(arr("int16 1x3", {1, 3, 5})));
        EXPECT_EQ(array->scope, ndTEMPORARY_SCOPE);
        if (mode == mode_exceptions) {
            EXPECT_EQ(raised_by([] { api::ndColonop(1, 1, inf, ndDOUBLE_CLASS); }),
                      "TARVEL:pmaxsize, pmaxsize");
        } else {
            EXPECT_EQ(api::ndColonop(1, 1, inf, ndDOUBLE_CLASS), nullptr);
        }
    });
    EXPECT_EQ(create_colon_array(1, 1, 2, ndDOUBLE_CLASS)->scope, ndLOCAL_SCOPE);
}

} // namespace
} // namespace test
