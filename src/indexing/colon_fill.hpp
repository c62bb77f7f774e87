// Writing the elements of a range to a buffer.
#pragma once

#include <cstddef>
#include <cstdint>

namespace matrix::internal {

/// count elements of the range of doubles, as ndColonop_fill_with_doubles tells; in singles the same, each rounded when it is
/// stored.
void fill_range(double* out, std::size_t count, double start, double step, double stop) noexcept;
void fill_range(float* out, std::size_t count, double start, double step, double stop) noexcept;

/// Element number k of the same, counted from 0.
void fill_range_element(double* out, std::size_t k, std::size_t count, double start, double step,
                        double stop) noexcept;
void fill_range_element(float* out, std::size_t k, std::size_t count, double start, double step,
                        double stop) noexcept;

/// count whole numbers of size bytes (1, 2, 4 or 8): start, start + step, ..., modulo their width.
void fill_whole(void* out, std::size_t size, std::size_t count, std::uint64_t start,
                std::uint64_t step) noexcept;

} // namespace matrix::internal
