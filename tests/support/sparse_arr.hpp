// Sparse arrays written in place:
//
//     sparse_arr("double 3x2", {{1, 0, 1.5}, {2, 1, 2.5}})                     rows and columns count from 0
//     sparse_arr("complex single 3x2", {{0, 0, {1, -1}}}, 4)                   with room for four
//     sparse_of(arr("double 2x2", {1, 0, 0, 4}))                               what a full array would store
//
// The values are stored as they are told, zeros too. They stand column by column, by ascending row: another order raises
// std::invalid_argument, as a description does that makes no sense.
#pragma once

#include "support/arr.hpp"

#include <bit>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string_view>
#include <utility>

namespace test {

struct stored_value {
    std::size_t row;
    std::size_t column;
    number value;
};

matrix::array_ptr sparse_arr(std::string_view description, std::span<const stored_value> values,
                             std::size_t room = 0);

inline matrix::array_ptr sparse_arr(std::string_view description, std::initializer_list<stored_value> values,
                                    std::size_t room = 0) {
    return sparse_arr(description, std::span<const stored_value>(values.begin(), values.size()), room);
}

/// Element by element, slowly; with room for more than is stored when asked for.
matrix::array_ptr sparse_of(const ndArray_tag* full, std::size_t slack = 0);
inline matrix::array_ptr sparse_of(const matrix::array_ptr& full, std::size_t slack = 0) {
    return sparse_of(full.get(), slack);
}

/// Where element (row, column) is stored among the values; no place when it is 0.
inline constexpr std::size_t not_stored = ~std::size_t{0};
std::size_t place_in(const ndArray_tag* sparse, std::size_t row, std::size_t column);

/// The blocks of a sparse array, each of which can be missing.
struct sparse_block {
    const char* name;
    std::uint64_t (*take)(ndArray_tag* sparse); ///< leaves null
    void (*put)(ndArray_tag* sparse, std::uint64_t block);
};
inline constexpr sparse_block sparse_blocks[] = {
    {"values", [](ndArray_tag* x) { return std::bit_cast<std::uint64_t>(std::exchange(x->pdata, nullptr)); },
     [](ndArray_tag* x, std::uint64_t block) { x->pdata = std::bit_cast<void*>(block); }},
    {"rows", [](ndArray_tag* x) { return std::exchange(x->info_a, 0); },
     [](ndArray_tag* x, std::uint64_t block) { x->info_a = block; }},
    {"column starts", [](ndArray_tag* x) { return std::exchange(x->info_b, 0); },
     [](ndArray_tag* x, std::uint64_t block) { x->info_b = block; }},
};

} // namespace test
