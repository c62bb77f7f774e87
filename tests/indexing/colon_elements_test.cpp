// The elements of colon objects one by one: those of the expanded vector, to the bit.
#include "indexing/colon_elements.hpp"
#include "indexing/colon_support.hpp"
#include "indexing/random_ranges.hpp"
#include "support/fixture.hpp"

#include <cmath>
#include <cstring>
#include <limits>

namespace test {
namespace {

using matrix::array_ptr;
using matrix::internal::colon_elements;
using ColonElements = NdTest;

// "" or what differs.
std::string difference(const array_ptr& object) {
    const array_ptr vector = matrix::expand_colon_object(object.get());
    const colon_elements elements(object.get());
    if (elements.class_id() != vector->class_id) return "class " + std::to_string(elements.class_id());
    if (elements.count() != matrix::internal::element_count(vector.get()))
        return "count " + std::to_string(elements.count());
    const std::size_t size = matrix::internal::stored_element_size(vector.get());
    for (std::size_t k = 0; k < elements.count(); ++k) {
        std::byte element[8];
        elements.write(k, element);
        if (std::memcmp(element, static_cast<const std::byte*>(vector->pdata) + k * size, size) != 0)
            return "element " + std::to_string(k) + " of " + std::to_string(elements.count());
    }
    return {};
}

constexpr double inf = std::numeric_limits<double>::infinity();
const double nan = std::nan("");

const triple operands[] = {
    {1, 1, 10},
    {10, -3, 1},
    {3, 1, 2},
    {-0.0, 1, 5},
    {0, 0.1, 1},
    {1, 0.1, 2.05},
    {0.5, -0.25, -3},
    {0, 1.0 / 3, 7},
    {1, 0, 5},
    {-5, 1, 5},
    {1, nan, 5},
    {nan, 1, 2},
    {1, 2, nan},
    {7, inf, 9},
    {-inf, 1, -inf},
    {0x1p53, 1, 9},
    {1.5, 1, 120.5},
    {-0.1, 0.1, 0.1},
    {1e37, 1e36, 3e37},
    {-0x1p53, 0x1p51 + 1, 0x1p53},
    {0, 3, 200},
    {200, -7, 0},
    {5e-324, 5e-324, 5e-323},
    {-0x1p53, 3, -0x1p53 + 50},
    {1, 3, 1},
};

TEST_F(ColonElements, AreThoseOfTheExpandedVectorInEveryClass) {
    for (const ndClassID cls : short_range_classes)
        for (const triple& t : operands)
            EXPECT_EQ(difference(matrix::create_colon_object(t.start, t.step, t.stop, cls)), "")
                << t << " in " << cls;
}

TEST_F(ColonElements, OfRandomFractionsAreThoseOfTheExpandedVector) {
    range_source random;
    for (int i = 0; i < 2000; ++i) {
        const triple t{random.whole(12) / 7, random.whole(9) / 11, random.whole(12) / 5};
        for (const ndClassID cls : {ndDOUBLE_CLASS, ndSINGLE_CLASS}) {
            const array_ptr object = matrix::create_colon_object(t.start, t.step, t.stop, cls);
            if (colon_elements(object.get()).count() > 3000) continue;
            ASSERT_EQ(difference(object), "") << t << " in " << cls;
        }
    }
}

TEST_F(ColonElements, Of64BitsAreThoseOfTheExpandedVector) {
    using limits = std::numeric_limits<long long>;
    const auto object = [](auto start, auto step, auto stop) {
        return matrix::create_int_colon_object(
            start, step, stop, std::is_signed_v<decltype(start)> ? ndINT64_CLASS : ndUINT64_CLASS);
    };
    for (const array_ptr& range :
         {object(1LL, 3LL, 20LL), object(limits::min(), limits::max(), limits::max()),
          object(5LL, -2LL, -9LL), object(5LL, 2LL, 1LL), object(1LL, 2.5, 9LL), object(1LL, 1e300, 9LL),
          object(9LL, -1.0, 1LL), object(0ULL, 1ULL << 60, ~0ULL), object(~0ULL, -3.0, ~0ULL - 10)})
        EXPECT_EQ(difference(range), "");
}

} // namespace
} // namespace test
