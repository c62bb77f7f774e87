// References without lists of positions against those with them, under every instruction set: one must be as the other wherever the short
// way answers, and it answers for the common kinds.
#include "indexing/reference.hpp"
#include "indexing/reference_support.hpp"
#include "support/array_matchers.hpp"
#include "support/classes.hpp"
#include "support/fixture.hpp"
#include "support/instruction_sets.hpp"

#include <cmath>
#include <limits>
#include <random>

namespace test {
namespace {

using matrix::array_ptr;
using matrix::internal::reference_at_once;
using matrix::internal::reference_full;

using ReferenceWays = NdTest;

std::string sized(const char* class_name, std::size_t rows, std::size_t columns) {
    return std::string(class_name) + " " + std::to_string(rows) + "x" + std::to_string(columns);
}

array_ptr random_numbers(const char* class_name, std::size_t count, std::size_t most, std::mt19937& random) {
    std::vector<number> numbers;
    for (std::size_t i = 0; i < count; ++i) numbers.emplace_back(1 + random() % most);
    return arr(sized(class_name, 1, count), numbers);
}

array_ptr random_mask(std::size_t count, unsigned percent, std::mt19937& random) {
    std::vector<number> bits;
    for (std::size_t i = 0; i < count; ++i) bits.emplace_back(random() % 100 < percent ? 1 : 0);
    return arr(sized("logical", 1, count), bits);
}

// Lengths around the widths of registers and of the blocks of values.
constexpr std::size_t lengths[] = {1, 2, 3, 7, 8, 9, 15, 16, 17, 31, 32, 33, 63, 64, 65, 100, 130, 200};

void expect_same(const array_ptr& x, const subscripts& subs) {
    const auto pointers = pointers_of(subs);
    const array_ptr quick = reference_at_once(x.get(), pointers);
    ASSERT_NE(quick, nullptr);
    EXPECT_THAT(quick, EqualsArray(reference_full(x.get(), pointers)));
}

TEST_F(ReferenceWays, GiveTheSameOfVectors) {
    for_each_instruction_set([] {
        for_each_class(class_set::with_bytes, [](const class_case& c) {
            std::mt19937 random(1);
            for (const std::size_t length : lengths) {
                SCOPED_TRACE(length);
                const array_ptr x = numbered(sized(c.name.c_str(), 1, length));
                for (const char* const index : {"double", "int64", "uint64"})
                    expect_same(x, subs_of(random_numbers(index, length, length, random)));
                for (const unsigned percent : {0U, 3U, 50U, 97U, 100U}) {
                    expect_same(x, subs_of(random_mask(length, percent, random)));
                    expect_same(x, subs_of(random_mask((length + 1) / 2, percent, random)));
                }
                expect_same(x, subs_of(colon()));
            }
        });
    });
}

TEST_F(ReferenceWays, GiveTheSameOfRanges) {
    for_each_instruction_set([] {
        for_each_class(class_set::with_bytes, [](const class_case& c) {
            for (const std::size_t length : lengths) {
                SCOPED_TRACE(length);
                const array_ptr x = numbered(sized(c.name.c_str(), length, 1));
                const auto n = static_cast<double>(length);
                for (const double step : {1.0, 2.0, 3.0, 7.0, 300.0}) {
                    expect_same(x, subs_of(range(1, step, n)));
                    expect_same(x, subs_of(range(std::min(2.0, n), step, n)));
                    expect_same(x, subs_of(range(n, -step, 1)));
                    expect_same(x, subs_of(range(n, step, 1)));
                }
            }
        });
    });
}

TEST_F(ReferenceWays, GiveTheSameOfBlocks) {
    for_each_instruction_set([] {
        for (const char* const description :
             {"double 9x20", "int8 9x20", "complex double 9x20", "single 9x4x5"}) {
            const array_ptr x = numbered(description);
            const std::function<array_ptr()> rows[] = {colon,
                                                       [] { return range(2, 1, 8); },
                                                       [] { return range(9, -1, 1); },
                                                       [] { return range(1, 2, 9); },
                                                       [] { return arr("double", {4}); },
                                                       [] {
                                                           return arr("double 1x4", {9, 1, 1, 4});
                                                       },
                                                       [] {
                                                           return arr("uint64 2x1", {9, 2});
                                                       },
                                                       [] { return range(3, 1, 2); }};
            const std::function<array_ptr()> columns[] = {colon,
                                                          [] { return range(2, 3, 20); },
                                                          [] { return range(20, -4, 1); },
                                                          [] { return arr("double", {17}); },
                                                          [] {
                                                              return arr("int64 1x3", {20, 1, 20});
                                                          },
                                                          [] {
                                                              return arr("double 2x2", {7, 7, 1, 20});
                                                          },
                                                          [] { return range(5, -1, 6); }};
            for (const auto& row : rows)
                for (const auto& column : columns) expect_same(x, subs_of(row(), column()));
        }
    });
}

// Axes that lie evenly behind one another, that don't, that select one position or none, and behind the last dimension.
TEST_F(ReferenceWays, GiveTheSameOfWalks) {
    const std::function<array_ptr()> axes[] = {colon,
                                               [] { return range(2, 1, 3); },
                                               [] { return range(1, 2, 3); },
                                               [] { return range(3, -1, 1); },
                                               [] { return arr("double", {2}); },
                                               [] {
                                                   return arr("double 1x3", {3, 1, 1});
                                               },
                                               [] { return arr("int64", {3}); },
                                               [] { return range(3, 1, 2); }};
    for_each_instruction_set([&] {
        for (const char* const description :
             {"double 3x4x5", "int8 3x4x5", "complex double 3x4x5", "single 3x3x4x2"}) {
            const array_ptr x = numbered(description);
            for (const auto& first : axes) {
                for (const auto& second : axes) {
                    for (const auto& third : axes) {
                        expect_same(x, subs_of(first(), second(), third()));
                        expect_same(x, subs_of(first(), second(), third(), arr("double", {1})));
                    }
                }
            }
        }
    });
}

// Around the number of positions that a subscript of two may have in the short way.
TEST_F(ReferenceWays, GiveTheSameOfLongLists) {
    for_each_instruction_set([] {
        std::mt19937 random(5);
        const array_ptr x = numbered("int16 30x20");
        for (const std::size_t count : {511, 512, 513}) {
            for (const char* const index : {"double", "int64", "uint64"}) {
                for (const bool down : {true, false}) {
                    SCOPED_TRACE(index + std::string(down ? " rows, " : " columns, ") +
                                 std::to_string(count));
                    array_ptr list = random_numbers(index, count, down ? 30 : 20, random);
                    const subscripts subs =
                        down ? subs_of(std::move(list), colon()) : subs_of(colon(), std::move(list));
                    const auto pointers = pointers_of(subs);
                    const array_ptr quick = reference_at_once(x.get(), pointers);
                    EXPECT_EQ(quick != nullptr, count <= 512);
                    const array_ptr wanted = reference_full(x.get(), pointers);
                    if (quick) {
                        EXPECT_THAT(quick, EqualsArray(wanted.get()));
                    }
                }
            }
        }
    });
}

// Whatever the short way can't tell it leaves alone: it raises nothing of subscripts, and gives no result.
TEST_F(ReferenceWays, LeaveBadSubscriptsToTheLongOne) {
    const double nan = std::nan("");
    const double inf = std::numeric_limits<double>::infinity();
    for_each_instruction_set([&] {
        const array_ptr x = numbered("double 1x50");
        for (const double bad :
             {0.0, -1.0, 51.0, 1.5, 0.5, nan, inf, -inf, 1e300, -1e300, 0x1p63, 0x1p52 + 1}) {
            for (std::size_t place = 0; place < 70; ++place) {
                std::vector<number> numbers(70, number(3));
                numbers[place] = bad;
                const subscripts subs = subs_of(arr("double 1x70", numbers));
                EXPECT_EQ(reference_at_once(x.get(), pointers_of(subs)), nullptr) << bad << " at " << place;
            }
            const subscripts scalar = subs_of(arr("double", {bad}));
            EXPECT_EQ(reference_at_once(x.get(), pointers_of(scalar)), nullptr) << bad;
        }
        for (const std::int64_t bad :
             {std::int64_t{0}, std::int64_t{-1}, std::int64_t{51}, std::numeric_limits<std::int64_t>::min(),
              std::numeric_limits<std::int64_t>::max()}) {
            for (std::size_t place = 0; place < 70; ++place) {
                std::vector<number> numbers(70, number(3));
                numbers[place] = bad;
                const subscripts subs = subs_of(arr("int64 1x70", numbers));
                EXPECT_EQ(reference_at_once(x.get(), pointers_of(subs)), nullptr) << bad << " at " << place;
            }
        }
        std::vector<number> bits(60, number(0));
        bits[50] = 1;
        for (const subscripts& subs :
             {subs_of(arr("logical 1x60", bits)), subs_of(range(1, 1, 51)), subs_of(range(0, 1, 3)),
              subs_of(range(50, -1, 0)), subs_of(range(1.5, 1, 3)), subs_of(range(1, 1, inf)),
              subs_of(arr("double", {1}), range(1, 2, 51)), subs_of(arr("double", {2}), colon()),
              subs_of(arr("double", {1}), arr("double 1x2", {50, 51})),
              subs_of(arr("int64 1x2", {1, 2}), colon()), subs_of(arr("double 1x2", {1, 0.5}), colon())})
            EXPECT_EQ(reference_at_once(x.get(), pointers_of(subs)), nullptr);
    });
}

// The long way against positions that are looked up one by one.
TEST_F(ReferenceWays, AgreeWithOneElementAtATime) {
    std::mt19937 random(7);
    for (int round = 0; round < 300; ++round) {
        const std::size_t rows = 1 + random() % 5;
        const std::size_t columns = 1 + random() % 5;
        const std::size_t pages = 1 + random() % 3;
        const array_ptr x = numbered("int32 " + std::to_string(rows) + "x" + std::to_string(columns) + "x" +
                                     std::to_string(pages));
        const std::size_t sizes[] = {rows, columns, pages};
        subscripts subs;
        std::vector<std::size_t> positions[3];
        for (std::size_t i = 0; i < 3; ++i) {
            const auto n = static_cast<double>(sizes[i]);
            switch (random() % 4) {
            case 0:
                subs.push_back(colon());
                for (std::size_t p = 0; p < sizes[i]; ++p) positions[i].push_back(p);
                break;
            case 1:
                subs.push_back(range(n, -2, 1));
                for (std::size_t p = sizes[i]; p >= 1; p = p > 2 ? p - 2 : 0) positions[i].push_back(p - 1);
                break;
            case 2:
                subs.push_back(range(2, 1, n));
                for (std::size_t p = 1; p < sizes[i]; ++p) positions[i].push_back(p);
                break;
            default: {
                std::vector<number> numbers;
                for (std::size_t k = random() % 5; k > 0; --k) {
                    positions[i].push_back(random() % sizes[i]);
                    numbers.emplace_back(positions[i].back() + 1);
                }
                subs.push_back(arr(sized("uint8", 1, numbers.size()), numbers));
            }
            }
        }
        std::vector<number> wanted;
        for (const std::size_t k : positions[2])
            for (const std::size_t j : positions[1])
                for (const std::size_t i : positions[0])
                    wanted.emplace_back(1 + i + rows * (j + columns * k));
        const std::string shape = "int32 " + std::to_string(positions[0].size()) + "x" +
                                  std::to_string(positions[1].size()) + "x" +
                                  std::to_string(positions[2].size());
        EXPECT_THAT(referenced(x.get(), subs), EqualsArray(arr(shape, wanted)));
    }
}

} // namespace
} // namespace test
