// Conversion of buffers: complexity, classes without scalars, and what stands in a buffer when a NaN stops the conversion.
#include "support/instruction_sets.hpp"
#include "support/fixture.hpp"
#include "support/module_mode.hpp"

#include <foundation/core/except/exception.hpp>
#include <nd/convert.hpp>
#include <nd/messages.hpp>

#include <gmock/gmock.h>

#include <limits>
#include <vector>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using nan_error =
    foundation::core::except::Exception<TARVEL::legacy_two_part::nologicalnan, std::exception, void>;
using testing::ElementsAre;

using ConversionBuffers = NdTest;

TEST_F(ConversionBuffers, HaveFourWaysToBeComplexOrReal) {
    const double from[] = {1.5, -2.5, 3.5, 4.5, 300, -300};
    struct row {
        bool to_complex;
        bool from_complex;
        std::vector<std::int8_t> expected; // of 3 elements; 99 is what was there
    };
    const row rows[] = {
        {false, false, {2, -3, 4, 99, 99, 99}},
        {false, true, {2, -3, 4, 99, 99, 99}}, // the first scalars as they lie
        {true, false, {2, 0, -3, 0, 4, 0}},
        {true, true, {2, -3, 4, 5, 127, -128}},
    };
    for (const row& r : rows) {
        SCOPED_TRACE(std::to_string(r.from_complex) + " to " + std::to_string(r.to_complex));
        std::vector<std::int8_t> to(6, 99);
        api::ndConvertBufferToTypeAndComplexity(to.data(), ndINT8_CLASS, r.to_complex, from, ndDOUBLE_CLASS,
                                                r.from_complex, 3);
        EXPECT_EQ(to, r.expected);
    }
}

TEST_F(ConversionBuffers, SpreadRealScalarsOfEveryWidthAndLength) {
    for (const std::size_t count : {0U, 1U, 511U, 512U, 513U, 2000U}) {
        std::vector<std::uint16_t> from(count);
        for (std::size_t i = 0; i < count; ++i) from[i] = static_cast<std::uint16_t>(i + 1);
        std::vector<double> doubles(2 * count + 1, -1.0);
        std::vector<std::uint8_t> bytes(2 * count + 1, 99);
        api::ndConvertBufferToTypeAndComplexity(doubles.data(), ndDOUBLE_CLASS, true, from.data(),
                                                ndUINT16_CLASS, false, count);
        api::ndConvertBufferToTypeAndComplexity(bytes.data(), ndUINT8_CLASS, true, from.data(),
                                                ndUINT16_CLASS, false, count);
        for (std::size_t i = 0; i < count; ++i) {
            ASSERT_EQ(doubles[2 * i], static_cast<double>(i + 1));
            ASSERT_EQ(doubles[2 * i + 1], 0.0);
            ASSERT_EQ(bytes[2 * i], std::min<std::size_t>(i + 1, 255));
            ASSERT_EQ(bytes[2 * i + 1], 0);
        }
        EXPECT_EQ(doubles[2 * count], -1.0);
        EXPECT_EQ(bytes[2 * count], 99);
    }
}

TEST_F(ConversionBuffers, AreLeftAloneByClassesWithoutScalars) {
    const double from[] = {1, 2};
    for (const int id : {-1, 0, 1, 2, 5, 16, 17, 18, 19, 31, 38, 1000}) {
        SCOPED_TRACE(id);
        const auto no_scalars = static_cast<ndClassID>(id);
        double to[] = {7, 8, 9, 10};
        api::ndConvertBufferToType(to, no_scalars, from, ndDOUBLE_CLASS, 2);
        api::ndConvertBufferToType(to, ndDOUBLE_CLASS, from, no_scalars, 2);
        api::ndConvertBufferToType(to, no_scalars, from, no_scalars, 2);
        api::ndConvertBufferToTypeAndComplexity(to, no_scalars, true, from, ndDOUBLE_CLASS, false, 2);
        api::ndConvertBufferToTypeAndComplexity(to, ndDOUBLE_CLASS, true, from, no_scalars, false, 2);
        EXPECT_THAT(to, ElementsAre(7, 8, 9, 10));
    }
}

TEST_F(ConversionBuffers, OfNoScalarsMayBeNull) {
    api::ndConvertBufferToType(nullptr, ndDOUBLE_CLASS, nullptr, ndDOUBLE_CLASS, 0);
    api::ndConvertBufferToType(nullptr, ndINT8_CLASS, nullptr, ndDOUBLE_CLASS, 0);
    api::ndConvertBufferToTypeAndComplexity(nullptr, ndINT8_CLASS, true, nullptr, ndDOUBLE_CLASS, false, 0);
}

// Fours are judged whole before they are written, the short last one too.
template <class T>
void expect_stop_at(std::size_t place, std::size_t count, ndClassID from_class) {
    std::vector<T> from(count, T(2));
    from[place] = std::numeric_limits<T>::quiet_NaN();
    std::vector<std::uint8_t> expected(count, 99);
    std::fill_n(expected.begin(), place / 4 * 4, std::uint8_t{1});
    std::vector<std::uint8_t> to(count, 99);
    EXPECT_THROW(api::ndConvertBufferToType(to.data(), ndLOGICAL_CLASS, from.data(), from_class, count),
                 nan_error);
    ASSERT_EQ(to, expected) << place << " of " << count;
}

TEST_F(ConversionBuffers, KeepTheFoursBeforeANan) {
    for_each_instruction_set([] {
        for (const std::size_t count : {1U, 4U, 6U, 64U, 131U, 200U}) {
            for (std::size_t place = 0; place < count; ++place) {
                expect_stop_at<double>(place, count, ndDOUBLE_CLASS);
                expect_stop_at<float>(place, count, ndSINGLE_CLASS);
            }
        }
    });
}

TEST_F(ConversionBuffers, KeepTheFoursBeforeANanWithImaginaryPartsToo) {
    constexpr std::size_t count = 600;
    for (const std::size_t place : {0U, 3U, 5U, 511U, 512U, 599U}) {
        std::vector<double> from(count, 2.0);
        from[place] = std::numeric_limits<double>::signaling_NaN();
        std::vector<std::uint8_t> expected(2 * count, 99);
        for (std::size_t i = 0; i < place / 4 * 4; ++i) {
            expected[2 * i] = 1;
            expected[2 * i + 1] = 0;
        }
        std::vector<std::uint8_t> to(2 * count, 99);
        EXPECT_THROW(api::ndConvertBufferToTypeAndComplexity(to.data(), ndLOGICAL_CLASS, true, from.data(),
                                                             ndDOUBLE_CLASS, false, count),
                     nan_error);
        EXPECT_EQ(to, expected) << place;
    }
}

TEST_F(ConversionBuffers, RaiseInEveryModuleMode) {
    const double from[] = {std::numeric_limits<double>::quiet_NaN()};
    std::uint8_t to[] = {99};
    for_each_module_mode([&](int) {
        EXPECT_THROW(api::ndConvertBufferToType(to, ndLOGICAL_CLASS, from, ndDOUBLE_CLASS, 1), nan_error);
    });
}

} // namespace
} // namespace test
