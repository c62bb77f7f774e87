// Every loop gives what the rule gives, to the bit, under each instruction set; and it writes what it should and nothing else.
#include "matrix/class_table.hpp"
#include "ops/conversion_kernels.hpp"
#include "ops/conversion_oracle.hpp"
#include "support/instruction_sets.hpp"
#include "ops/scalars.hpp"
#include "support/fixture.hpp"

#include <nd/access.hpp>
#include <nd/convert.hpp>

#include <algorithm>
#include <cstring>
#include <string>

namespace test {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::internal::element_type_list;
using matrix::internal::element_types;

/// Calls body(row) for each class that has scalars; a row has class_id and type.
template <class Body>
void for_each_scalar_class(Body&& body) {
    [&]<class... Rows>(element_type_list<Rows...>) { (body(Rows{}), ...); }(element_types{});
}

std::string pair_name(ndClassID to, ndClassID from) {
    return std::string(api::ndArrayClassIDName(from)) + " to " + api::ndArrayClassIDName(to);
}

template <class T>
std::string shown(T x) {
    if constexpr (std::is_floating_point_v<T>) {
        char text[64];
        std::snprintf(text, sizeof text, "%a", static_cast<double>(x));
        return text;
    } else {
        return std::to_string(x);
    }
}

template <class T>
bool same_bits(const T& a, const T& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// A way to convert buffers: the library under some instruction set, or loops by themselves.
using converter = void (*)(void* to, ndClassID to_class, const void* from, ndClassID from_class,
                           std::size_t count);

// The loops for AVX-512 as the compiler makes them without AVX-512, so that their logic is seen on every processor.
struct wide_registers : matrix::internal::avx512_registers {};
constexpr auto wide_kernels = matrix::internal::conversion_kernels_of<wide_registers>;

void convert_by_wide_loops(void* to, ndClassID to_class, const void* from, ndClassID from_class,
                           std::size_t count) {
    const auto position = [](ndClassID id) {
        const auto& classes = matrix::internal::scalar_classes;
        return std::find(classes.begin(), classes.end(), id) - classes.begin();
    };
    EXPECT_EQ(wide_kernels.loops[position(to_class)][position(from_class)](to, from, count), count);
}

template <class Body>
void for_each_converter(Body&& body) {
    for_each_instruction_set([&] { body(api::ndConvertBufferToType); });
    SCOPED_TRACE("loops of avx512 with other instructions");
    body(convert_by_wide_loops);
}

template <class From>
std::vector<From> without_nan(std::vector<From> list) {
    if constexpr (std::is_floating_point_v<From>) std::erase_if(list, [](From x) { return std::isnan(x); });
    return list;
}

template <class To, class From>
To expected_of(ndClassID to_class, ndClassID from_class, From x) {
    if constexpr (std::is_same_v<To, From>) {
        if (to_class == from_class) return x;
    }
    return oracle<To>(to_class, x);
}

template <class To, class From>
void expect_rule(ndClassID to_class, ndClassID from_class, const std::vector<From>& from) {
    SCOPED_TRACE(pair_name(to_class, from_class));
    std::vector<To> expected;
    expected.reserve(from.size());
    for (const From x : from) expected.push_back(expected_of<To>(to_class, from_class, x));
    for_each_converter([&](converter convert) {
        std::vector<To> to(from.size());
        convert(to.data(), to_class, from.data(), from_class, from.size());
        if (std::memcmp(to.data(), expected.data(), to.size() * sizeof(To)) == 0) return;
        for (std::size_t i = 0; i < from.size(); ++i) {
            ASSERT_TRUE(same_bits(to[i], expected[i]))
                << shown(from[i]) << " gave " << shown(to[i]) << ", not " << shown(expected[i]);
        }
    });
}

using ConversionLoops = NdTest;

// A few scalars between guards, at an address that no scalar is aligned to.
template <class To, class From>
void expect_only_its_bytes(converter convert, ndClassID to_class, ndClassID from_class) {
    SCOPED_TRACE(pair_name(to_class, from_class));
    constexpr std::size_t most = 150;
    constexpr std::byte guard{0xA5};
    std::vector<From> values(most);
    for (std::size_t i = 0; i < most; ++i) values[i] = static_cast<From>(i % 3 == 0 ? 0 : i);
    std::vector<std::byte> from(1 + most * sizeof(From));
    std::memcpy(from.data() + 1, values.data(), most * sizeof(From));
    for (std::size_t count = 0; count <= most; ++count) {
        std::vector<std::byte> to(3 + most * sizeof(To), guard);
        std::vector<std::byte> expected = to;
        for (std::size_t i = 0; i < count; ++i) {
            const To x = expected_of<To>(to_class, from_class, values[i]);
            std::memcpy(expected.data() + 1 + i * sizeof(To), &x, sizeof x);
        }
        convert(to.data() + 1, to_class, from.data() + 1, from_class, count);
        ASSERT_EQ(to, expected) << count << " scalars";
    }
}

TEST_F(ConversionLoops, WriteTheirScalarsOnlyWhateverTheLengthAndTheAddress) {
    for_each_converter([](converter convert) {
        for_each_scalar_class([=]<class From>(From) {
            for_each_scalar_class([=]<class To>(To) {
                expect_only_its_bytes<typename To::type, typename From::type>(convert, To::class_id,
                                                                              From::class_id);
            });
        });
    });
}

// ---- the rules' own examples, so that the oracle isn't alone

// Enough of the same that the loop's vectors and what is left behind them take part.
template <class To, class From>
To convert_one(ndClassID to_class, ndClassID from_class, From x) {
    const std::vector<From> from(100, x);
    std::vector<To> to(from.size());
    api::ndConvertBufferToType(to.data(), to_class, from.data(), from_class, from.size());
    EXPECT_EQ(to, std::vector<To>(from.size(), to[0]));
    return to[0];
}

TEST_F(ConversionLoops, RoundHalvesAwayFromZeroAndStopAtLimits) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    struct row {
        double from;
        int int8;
        int uint8;
        int uint16;
        int character;
    };
    const row rows[] = {
        {2.5, 3, 3, 3, 2},
        {-2.5, -3, 0, 0, 0},
        {0.49, 0, 0, 0, 0},
        {-0.49, 0, 0, 0, 0},
        {0.49999999999999994, 0, 0, 0, 0},
        {0.5, 1, 1, 1, 0},
        {-0.6, -1, 0, 0, 0},
        {127.4, 127, 127, 127, 127},
        {254.5, 127, 255, 255, 254},
        {255.4, 127, 255, 255, 255},
        {65.9, 66, 66, 66, 65},
        {65534.5, 127, 255, 65535, 65534},
        {65535.5, 127, 255, 65535, 65535},
        {infinity, 127, 255, 65535, 65535},
        {-infinity, -128, 0, 0, 0},
        {nan, 0, 0, 0, 0},
        {-0.0, 0, 0, 0, 0},
    };
    for_each_instruction_set([&] {
        for (const row& r : rows) {
            SCOPED_TRACE(r.from);
            EXPECT_EQ(convert_one<std::int8_t>(ndINT8_CLASS, ndDOUBLE_CLASS, r.from), r.int8);
            EXPECT_EQ(convert_one<std::uint8_t>(ndUINT8_CLASS, ndDOUBLE_CLASS, r.from), r.uint8);
            EXPECT_EQ(convert_one<std::uint16_t>(ndUINT16_CLASS, ndDOUBLE_CLASS, r.from), r.uint16);
            EXPECT_EQ(convert_one<char16_t>(ndCHAR_CLASS, ndDOUBLE_CLASS, r.from), r.character);
        }
    });
}

TEST_F(ConversionLoops, KeepLargeWholeNumbers) {
    constexpr double two_to_53 = 9007199254740992.0;
    constexpr double two_to_63 = 9223372036854775808.0;
    constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
    constexpr std::uint64_t top_bit = std::uint64_t{1} << 63;
    for_each_instruction_set([&] {
        EXPECT_EQ(convert_one<std::int64_t>(ndINT64_CLASS, ndDOUBLE_CLASS, two_to_53), 9007199254740992);
        EXPECT_EQ(convert_one<std::int64_t>(ndINT64_CLASS, ndDOUBLE_CLASS, two_to_53 / 2 + 1),
                  4503599627370497);
        EXPECT_EQ(convert_one<std::int64_t>(ndINT64_CLASS, ndDOUBLE_CLASS, two_to_63), largest);
        EXPECT_EQ(convert_one<std::int64_t>(ndINT64_CLASS, ndDOUBLE_CLASS, -two_to_63), -largest - 1);
        EXPECT_EQ(convert_one<std::uint64_t>(ndUINT64_CLASS, ndDOUBLE_CLASS, two_to_63), top_bit);
        EXPECT_EQ(convert_one<std::uint64_t>(ndUINT64_CLASS, ndDOUBLE_CLASS, two_to_63 + 2048),
                  top_bit + 2048);
        EXPECT_EQ(convert_one<std::uint64_t>(ndUINT64_CLASS, ndDOUBLE_CLASS, 2 * two_to_63),
                  ~std::uint64_t{0});
        EXPECT_EQ(convert_one<std::int32_t>(ndINT32_CLASS, ndSINGLE_CLASS, 8388609.0F), 8388609)
            << "one half is added in double precision";
    });
}

TEST_F(ConversionLoops, ClampWholeNumbers) {
    for_each_instruction_set([] {
        EXPECT_EQ(convert_one<std::int8_t>(ndINT8_CLASS, ndINT16_CLASS, std::int16_t{300}), 127);
        EXPECT_EQ(convert_one<std::uint8_t>(ndUINT8_CLASS, ndINT8_CLASS, std::int8_t{-1}), 0);
        EXPECT_EQ(convert_one<std::uint8_t>(ndUINT8_CLASS, ndLOGICAL_CLASS, std::uint8_t{7}), 7)
            << "a logical is a byte";
    });
}

// ---- every scalar there is, or as many as tell

TEST_F(ConversionLoops, GiveWhatTheRuleGives) {
    for_each_scalar_class([]<class FromRow>(FromRow) {
        using From = typename FromRow::type;
        const std::vector<From> all = scalars_to_convert<From>();
        const std::vector<From> numbers = without_nan(all);
        for_each_scalar_class([&]<class ToRow>(ToRow) {
            const bool to_logical = ToRow::class_id == ndLOGICAL_CLASS;
            expect_rule<typename ToRow::type>(ToRow::class_id, FromRow::class_id, to_logical ? numbers : all);
        });
    });
}

} // namespace
} // namespace test
