// What all loops over subscripts in the limits use: one index tested, and the result that is given up for a bad one.
#pragma once

#include "results.hpp"

#include <cstddef>
#include <cstdint>

namespace limits {

inline limit_array* result_of(std::size_t count) noexcept { return create_result(count * sizeof(double)); }

inline double* elements_of(limit_array* array) noexcept { return static_cast<double*>(array->data); }

inline limit_array* refuse(limit_array* array, std::size_t count) noexcept {
    limit_destroy_result(array, count * sizeof(double));
    return nullptr;
}

inline bool position_of(double index, std::size_t count, std::size_t& position) noexcept {
    if (!(index >= 1 && index <= static_cast<double>(count))) return false;
    const auto whole = static_cast<std::int64_t>(index);
    position = static_cast<std::size_t>(whole) - 1;
    return static_cast<double>(whole) == index;
}

inline bool position_of(std::int64_t index, std::size_t count, std::size_t& position) noexcept {
    position = static_cast<std::size_t>(index) - 1;
    return position < count;
}

} // namespace limits
