// The loops between full and sparse storage, on plain buffers: counts at every length and offset, and packing that stays within
// its room.
#include "ops/sparse_kernels.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace test {
namespace {

using matrix::internal::complex_element;
using matrix::internal::count_nonzero;
using matrix::internal::pack_columns;
using matrix::internal::packed_elements;

template <class T>
T element(bool nonzero) {
    return static_cast<T>(nonzero ? 1 : 0);
}

template <class T>
class SparseKernels : public testing::Test {};
using real_types = testing::Types<std::uint8_t, float, double>;
TYPED_TEST_SUITE(SparseKernels, real_types);

TYPED_TEST(SparseKernels, CountAtEveryLengthAndOffset) {
    std::mt19937 random(3);
    std::vector<TypeParam> buffer(400);
    for (auto& x : buffer) x = element<TypeParam>(random() % 3 == 0);
    for (std::size_t offset = 0; offset < 20; ++offset) {
        std::size_t expected = 0;
        for (std::size_t count = 0; offset + count <= buffer.size(); ++count) {
            ASSERT_EQ(count_nonzero(buffer.data() + offset, count), expected) << offset << ", " << count;
            if (offset + count < buffer.size()) expected += buffer[offset + count] != TypeParam(0);
        }
    }
}

// A counter in a lane holds no more than its element's width lets it.
TYPED_TEST(SparseKernels, CountWhereEveryElementCounts) {
    for (const std::size_t count : {6399UL, 6400UL, 6401UL, 12800UL, 100001UL}) {
        EXPECT_EQ(count_nonzero(std::vector<TypeParam>(count, TypeParam(1)).data(), count), count);
    }
}

TYPED_TEST(SparseKernels, CountWhatIsNotZero) {
    if constexpr (std::is_floating_point_v<TypeParam>) {
        using limits = std::numeric_limits<TypeParam>;
        std::vector<TypeParam> buffer(64, TypeParam(-0.0));
        EXPECT_EQ(count_nonzero(buffer.data(), buffer.size()), 0U);
        for (const TypeParam x : {limits::quiet_NaN(), -limits::quiet_NaN(), limits::infinity(),
                                  limits::denorm_min(), -limits::denorm_min(), limits::min()}) {
            buffer[17] = buffer[63] = x;
            EXPECT_EQ(count_nonzero(buffer.data(), buffer.size()), 2U) << x;
        }
    } else {
        const std::vector<TypeParam> buffer{0, 1, 2, 0x80, 0xFF, 0};
        EXPECT_EQ(count_nonzero(buffer.data(), buffer.size()), 4U);
    }
}

TEST(SparseKernelsOfComplex, CountEitherPart) {
    const std::vector<complex_element<double>> buffer{
        {0, 0}, {1, 0}, {0, 1}, {-0.0, -0.0}, {0, std::nan("")}};
    EXPECT_EQ(count_nonzero(buffer.data(), buffer.size()), 3U);
}

// Guards behind the room stay as they are: a block is stored whole only while there is room for a whole one.
TYPED_TEST(SparseKernels, PackingStaysWithinItsRoom) {
    constexpr kvIndex guard = 0x5555;
    std::mt19937 random(4);
    for (int round = 0; round < 500; ++round) {
        const std::size_t rows = random() % 40, columns = random() % 4 + 1;
        const unsigned one_in = random() % 12 + 1;
        std::vector<TypeParam> full(rows * columns);
        for (auto& x : full) x = element<TypeParam>(random() % one_in == 0);
        const std::size_t stored = count_nonzero(full.data(), full.size());
        std::vector<TypeParam> values(stored + 8, TypeParam(77));
        std::vector<kvIndex> places(stored + 8, guard), starts(columns + 1);
        pack_columns(packed_elements<TypeParam>{values.data(), places.data(), stored}, starts.data(),
                     full.data(), rows, columns);
        ASSERT_EQ(starts.back(), stored);
        for (std::size_t i = stored; i < stored + 8; ++i) {
            ASSERT_EQ(values[i], TypeParam(77));
            ASSERT_EQ(places[i], guard);
        }
        for (std::size_t column = 0, k = 0; column < columns; ++column) {
            for (std::size_t row = 0; row < rows; ++row) {
                if (full[column * rows + row] == TypeParam(0)) continue;
                ASSERT_EQ(places[k++], row);
            }
            ASSERT_EQ(starts[column + 1], k);
        }
    }
}

} // namespace
} // namespace test
