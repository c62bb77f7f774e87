// The loops of assignment under each instruction set.
#include "indexing/store_loops.hpp"

#include "support/instruction_sets.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace test {
namespace {

using matrix::internal::store_kernels_in_use;

template <std::size_t Width>
void fills_every_block() {
    std::array<std::byte, Width> value;
    for (std::size_t i = 0; i < Width; ++i) value[i] = std::byte(i + 1);
    alignas(64) std::array<std::byte, 512> block;
    for (std::size_t start = 64; start < 64 + 80; start += Width) {
        for (std::size_t count = 0; count * Width <= 300; ++count) {
            block.fill(std::byte{0});
            matrix::internal::fill_block<Width>(block.data() + start, value.data(), count);
            for (std::size_t i = 0; i < block.size(); ++i) {
                const bool inside = i >= start && i < start + count * Width;
                ASSERT_EQ(block[i], inside ? value[(i - start) % Width] : std::byte{0})
                    << Width << ' ' << start << ' ' << count << ' ' << i;
            }
        }
    }
}

TEST(StoreLoops, FillBlocksAndNothingBesideThem) {
    for_each_instruction_set([] {
        fills_every_block<1>();
        fills_every_block<2>();
        fills_every_block<4>();
        fills_every_block<8>();
        fills_every_block<16>();
    });
}

struct double_row {
    double value;
    std::uint64_t limit;
    bool within;
};
constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr std::uint64_t largest = 0xFFFF'FFFF'FFFF;
const double_row double_rows[] = {
    {1, 1, true},
    {2, 1, false},
    {1, 0, false},
    {7, 7, true},
    {8, 7, false},
    {0, 7, false},
    {-0.0, 7, false},
    {-1, 7, false},
    {1.5, 7, false},
    {6.9999999, 7, false},
    {nan, largest, false},
    {-nan, largest, false},
    {inf, largest, false},
    {-inf, largest, false},
    {1e300, largest, false},
    {0x1p48 - 1, largest, true},
    {0x1p48, largest, false},
    {0x1p52, largest, false},
    {0x1p53, largest, false},
    {0x1p63, largest, false},
    {5e-324, largest, false},
    {-0x1p52, largest, false},
};

struct word_row {
    std::uint64_t value;
    std::uint64_t limit;
    bool within;
};
const word_row word_rows[] = {
    {1, 1, true},
    {2, 1, false},
    {0, 7, false},
    {7, 7, true},
    {8, 7, false},
    {~std::uint64_t{0}, largest, false},
    {std::uint64_t{1} << 63, largest, false},
    {largest, largest, true},
    {largest + 1, largest, false},
};

// The value stands at each place among good ones.
template <class Value, class Rows, class Test>
void tests_each_place(const Rows& rows, Test within) {
    for (const auto& row : rows) {
        for (std::size_t count = 1; count < 40; ++count) {
            for (std::size_t place = 0; place < count; ++place) {
                std::vector<Value> values(count, row.limit == 0 ? row.value : Value(1));
                values[place] = row.value;
                ASSERT_EQ(within(values.data(), count, row.limit), row.within)
                    << row.value << ' ' << count << ' ' << place;
            }
        }
    }
}

TEST(StoreLoops, TestAllSubscripts) {
    for_each_instruction_set([] {
        tests_each_place<double>(double_rows, store_kernels_in_use().doubles_within);
        tests_each_place<std::uint64_t>(word_rows, store_kernels_in_use().words_within);
        EXPECT_TRUE(store_kernels_in_use().doubles_within(nullptr, 0, 0));
        EXPECT_TRUE(store_kernels_in_use().words_within(nullptr, 0, 0));
    });
}

// Places in random order, some of them twice: the later value stays.
template <class Subscript, class Element>
void scatters(matrix::internal::scatter_kernel scatter) {
    std::mt19937 random(3);
    for (const std::size_t count : {0, 1, 2, 5, 31, 32, 33, 63, 64, 65, 100}) {
        for (const std::size_t step : {std::size_t{0}, sizeof(Element)}) {
            std::vector<Subscript> places(count);
            std::vector<Element> values(count + 1);
            for (Element& value : values) value = static_cast<Element>(random());
            std::vector<Element> wanted(80, Element{7});
            for (std::size_t i = 0; i < count; ++i) {
                places[i] = static_cast<Subscript>(1 + random() % wanted.size());
                wanted[static_cast<std::size_t>(places[i]) - 1] = values[step == 0 ? 0 : i];
            }
            std::vector<Element> stored(wanted.size(), Element{7});
            scatter(stored.data(), places.data(), count, values.data(), step);
            EXPECT_EQ(stored, wanted) << sizeof(Element) << ' ' << count << ' ' << step;
        }
    }
}

TEST(StoreLoops, StoreAtListedPlaces) {
    for_each_instruction_set([] {
        const auto& kernels = store_kernels_in_use();
        scatters<double, std::uint8_t>(kernels.scatter_by_doubles[0]);
        scatters<double, std::uint16_t>(kernels.scatter_by_doubles[1]);
        scatters<double, std::uint32_t>(kernels.scatter_by_doubles[2]);
        scatters<double, std::uint64_t>(kernels.scatter_by_doubles[3]);
        scatters<std::uint64_t, std::uint8_t>(kernels.scatter_by_words[0]);
        scatters<std::uint64_t, std::uint16_t>(kernels.scatter_by_words[1]);
        scatters<std::uint64_t, std::uint32_t>(kernels.scatter_by_words[2]);
        scatters<std::uint64_t, std::uint64_t>(kernels.scatter_by_words[3]);
    });
}

} // namespace
} // namespace test
