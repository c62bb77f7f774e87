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

#include <initializer_list>
#include <span>
#include <string_view>

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

} // namespace test
