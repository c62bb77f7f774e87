// The scan for imaginary parts: every class, every place, on either side of the lengths at which the scan changes its way.
#include "matrix/imaginary_scan.hpp"

#include "support/classes.hpp"
#include "support/fixture.hpp"

#include <cstring>
#include <limits>
#include <vector>

namespace test {
namespace {

using matrix::internal::any_imaginary_part;

using ImaginaryScan = NdTest;

TEST_F(ImaginaryScan, FindsOneInEveryPlaceOfEveryClass) {
    for_each_class(class_set::numeric, [](const class_case& c) {
        if (c.complexity != ndCOMPLEX) return;
        const std::size_t part = c.element_size / 2;
        for (const std::size_t count : {1U, 3U, 64U, 65U, 200U}) {
            std::vector<std::byte> elements(count * c.element_size);
            for (std::size_t i = 0; i < count; ++i) std::memset(&elements[i * c.element_size], 1, part);
            EXPECT_FALSE(any_imaginary_part(c.id, elements.data(), count));
            for (std::size_t i = 0; i < count; ++i) {
                std::byte* const imaginary = &elements[i * c.element_size + part];
                std::memset(imaginary, 1, part);
                EXPECT_TRUE(any_imaginary_part(c.id, elements.data(), count)) << i << " of " << count;
                std::memset(imaginary, 0, part);
            }
        }
    });
}

TEST_F(ImaginaryScan, KnowsNoDifferenceBetweenZerosAndTakesNanForOne) {
    const double minus_zero[] = {1, -0.0};
    const double nan[] = {1, std::numeric_limits<double>::quiet_NaN()};
    EXPECT_FALSE(any_imaginary_part(ndDOUBLE_CLASS, minus_zero, 1));
    EXPECT_TRUE(any_imaginary_part(ndDOUBLE_CLASS, nan, 1));
    EXPECT_FALSE(any_imaginary_part(ndDOUBLE_CLASS, nullptr, 0));
}

TEST_F(ImaginaryScan, AnswersTheSameInEveryWayOfScanning) {
    for (const std::size_t count : {25599U, 25600U, 25601U, 100000U}) {
        std::vector<double> elements(2 * count, 0.0);
        EXPECT_FALSE(any_imaginary_part(ndDOUBLE_CLASS, elements.data(), count)) << count;
        for (const std::size_t place :
             {std::size_t{0}, std::size_t{6143}, std::size_t{6144}, std::size_t{20000}, count - 1}) {
            elements[2 * place + 1] = 1;
            EXPECT_TRUE(any_imaginary_part(ndDOUBLE_CLASS, elements.data(), count))
                << place << " of " << count;
            elements[2 * place + 1] = 0;
        }
    }
}

} // namespace
} // namespace test
