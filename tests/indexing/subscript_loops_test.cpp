// The loops of every instruction set against one value at a time.
#include "indexing/raised_error.hpp"
#include "indexing/slot_text.hpp"
#include "indexing/subscript_value.hpp"
#include "support/arr.hpp"
#include "support/classes.hpp"
#include "support/fixture.hpp"
#include "support/instruction_sets.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace test {
namespace {

using matrix::array_ptr;
using matrix::internal::index_verdict;
using matrix::internal::judge_index;

using SubscriptLoops = NdTest;

template <class T>
std::vector<T> good_values() {
    std::vector<T> values{1, 2, 3, 100, std::numeric_limits<T>::max()};
    if constexpr (sizeof(T) == 8) values = {1, 2, 3, 4294967296, (1LL << 47), (1LL << 48) - 1};
    if constexpr (std::is_same_v<T, float>) values = {1, 2, 3, 100, 16777216, 0x1p48F - 0x1p24F};
    return values;
}

template <class T>
std::vector<T> bad_values() {
    std::vector<T> values{0};
    if constexpr (std::is_signed_v<T>) values.push_back(std::numeric_limits<T>::lowest());
    if constexpr (std::is_floating_point_v<T>) {
        const T inf = std::numeric_limits<T>::infinity();
        for (const T x : {T(0.5), T(1.5), T(-1), inf, -inf, std::numeric_limits<T>::quiet_NaN(), T(-0.0),
                          T(0x1p48), T(0x1p52), T(0x1p63), T(0x1p64), std::numeric_limits<T>::max(),
                          std::numeric_limits<T>::min(), std::numeric_limits<T>::denorm_min()})
            values.push_back(x);
    } else if constexpr (sizeof(T) == 8) {
        values.push_back(static_cast<T>(1LL << 48));
        values.push_back(static_cast<T>((1LL << 48) + 1));
        values.push_back(std::numeric_limits<T>::max());
    }
    return values;
}

template <class T>
array_ptr array_of(ndClassID id, const std::vector<T>& values) {
    const std::size_t dims[] = {1, values.size()};
    array_ptr array = matrix::create(dims, id, ndREAL);
    if (!values.empty()) std::memcpy(array->pdata, values.data(), values.size() * sizeof(T));
    return array;
}

template <class T>
void check_good(ndClassID id, std::mt19937& random) {
    const std::vector<T> choice = good_values<T>();
    std::uniform_int_distribution<std::size_t> any(0, choice.size() - 1);
    for (std::size_t count = 1; count < 70; ++count) {
        std::vector<T> values(count);
        std::generate(values.begin(), values.end(), [&] { return choice[any(random)]; });
        std::ostringstream wanted;
        wanted << '[';
        for (std::size_t i = 0; i < count; ++i)
            wanted << (i == 0 ? "" : " ") << static_cast<std::uint64_t>(values[i]) - 1;
        wanted << "] max " << static_cast<std::uint64_t>(*std::max_element(values.begin(), values.end()));
        EXPECT_EQ(converted(array_of(id, values)), wanted.str());
    }
}

template <class T>
void check_bad(ndClassID id) {
    for (const T bad : bad_values<T>()) {
        const bool too_large = judge_index(bad) == index_verdict::too_large;
        for (std::size_t count = 1; count < 40; count += 3) {
            for (std::size_t place = 0; place < count; ++place) {
                std::vector<T> values(count, T(2));
                values[place] = bad;
                const std::string error = error_of([&] { converted(array_of(id, values)); });
                EXPECT_EQ(error.substr(0, error.find('(')),
                          too_large ? "TARVEL:pmaxsize pmaxsize" : "TARVEL:badsubscript badTypeIndices")
                    << +bad << " at " << place << " of " << count;
            }
        }
    }
}

TEST_F(SubscriptLoops, ConvertNumbersOfEveryClassAlike) {
    for_each_instruction_set([] {
        std::mt19937 random(7);
        for_each_class(class_set::with_bytes, [&](const class_case& c) {
            if (c.complexity == ndCOMPLEX || c.id == ndLOGICAL_CLASS) return;
            matrix::internal::with_element_type(c.id, [&](auto row) {
                using stored = typename decltype(row)::type;
                using value = std::conditional_t<std::is_same_v<stored, char16_t>, std::uint16_t, stored>;
                check_good<value>(c.id, random);
                check_bad<value>(c.id);
            });
        });
    });
}

TEST_F(SubscriptLoops, JudgeOneValueByItsRule) {
    for (const double x : {1.0, 2.0, 281474976710655.0}) EXPECT_EQ(judge_index(x), index_verdict::valid) << x;
    for (const double x : {0x1p48, 0x1p52, 0x1p80, 1e308})
        EXPECT_EQ(judge_index(x), index_verdict::too_large) << x;
    for (const double x : bad_values<double>()) {
        const bool too_large = x >= 0x1p48 && !std::isinf(x);
        EXPECT_EQ(judge_index(x), too_large ? index_verdict::too_large : index_verdict::invalid) << x;
    }
}

// Masks of every length around the widths of registers and words, from nothing true to everything.
TEST_F(SubscriptLoops, FindTrueElements) {
    for_each_instruction_set([] {
        std::mt19937 random(11);
        for (std::size_t count = 0; count < 300; ++count) {
            for (const unsigned percent : {0u, 2u, 10u, 50u, 90u, 100u}) {
                std::vector<std::uint8_t> mask(count);
                std::vector<std::size_t> places;
                for (std::size_t i = 0; i < count; ++i) {
                    mask[i] = random() % 100 < percent;
                    if (mask[i] != 0) places.push_back(i);
                }
                std::ostringstream wanted;
                for (const std::size_t place : places) wanted << ' ' << place;
                std::string text = places.empty() ? "nothing" : "[" + wanted.str().substr(1) + "]";
                if (!places.empty()) text += " max " + std::to_string(places.back() + 1);
                EXPECT_EQ(converted(array_of(ndLOGICAL_CLASS, mask)), text);
            }
        }
    });
}

// More rounds than a lane of a byte can count.
TEST_F(SubscriptLoops, CountManyTrueElements) {
    static constexpr std::size_t count = 255 * 64 * 3 + 17;
    for_each_instruction_set([] {
        const array_ptr mask = array_of(ndLOGICAL_CLASS, std::vector<std::uint8_t>(count, 1));
        SubscriptSet set(1, true, false);
        const ndArray_tag* const subscript = mask.get();
        FillSubscriptSlot(set, 0, &subscript, count, growing());
        EXPECT_EQ(set.info.NumIndices(0), count);
        EXPECT_EQ(set.info.MaxIndex(0), count);
        EXPECT_EQ(set.indices[0][count - 1], count - 1);
    });
}

} // namespace
} // namespace test
