// Sparse to full storage and back: the loops that anybody would write, with blocks from the heap and a header from the lists.
#include "array_header.hpp"

#include <foundation/core/mem/aligned_heap.hpp>

#include <bit>

namespace {

const foundation::core::mem::aligned_heap& heap() noexcept {
    return foundation::core::mem::aligned_heap_instance();
}

// The block that the header had from its list waits in the last of its words.
limit_array* with_block(void* block) noexcept {
    limit_array* const array = limit_create_raw(1, 1);
    array->info[2] = std::bit_cast<std::uint64_t>(array->data);
    array->data = block;
    return array;
}

template <class T>
T* allocate(std::size_t count) noexcept {
    return static_cast<T*>(heap().malloc(count * sizeof(T)));
}

std::size_t count_values(const double* elements, std::size_t count) noexcept {
    std::size_t values = 0;
    for (std::size_t i = 0; i < count; ++i) values += elements[i] != 0;
    return values;
}

} // namespace

limit_array* limit_full_from_sparse(const double* values, const size_t* rows, const size_t* starts, size_t m,
                                    size_t n) {
    auto* const full = static_cast<double*>(heap().calloc(m * n, sizeof(double)));
    for (std::size_t column = 0; column < n; ++column) {
        for (std::size_t k = starts[column]; k < starts[column + 1]; ++k)
            full[m * column + rows[k]] = values[k];
    }
    return with_block(full);
}

limit_array* limit_sparse_from_full(const double* elements, size_t m, size_t n) {
    const std::size_t count = count_values(elements, m * n);
    auto* const values = allocate<double>(count);
    auto* const rows = allocate<std::size_t>(count);
    auto* const starts = allocate<std::size_t>(n + 1);
    std::size_t k = 0;
    for (std::size_t column = 0; column < n; ++column) {
        starts[column] = k;
        for (std::size_t row = 0; row < m; ++row) {
            const double x = elements[m * column + row];
            if (x == 0) continue;
            values[k] = x;
            rows[k] = row;
            ++k;
        }
    }
    starts[n] = k;
    limit_array* const sparse = with_block(values);
    sparse->info[0] = std::bit_cast<std::uint64_t>(rows);
    sparse->info[1] = std::bit_cast<std::uint64_t>(starts);
    return sparse;
}

void limit_destroy_storage(limit_array* array) {
    heap().free(array->data);
    heap().free(std::bit_cast<void*>(array->info[0]));
    heap().free(std::bit_cast<void*>(array->info[1]));
    array->data = std::bit_cast<void*>(array->info[2]);
    limit_destroy(array);
}
