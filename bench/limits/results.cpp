// Results and their end.
#include "results.hpp"

limit_array* limit_create_result(size_t count) { return limits::create_result(count * sizeof(double)); }

void limit_destroy_result(limit_array* array, size_t bytes) {
    if (bytes > limits::largest_listed) {
        foundation::core::mem::aligned_heap_instance().free(array->data);
        array->data = std::bit_cast<void*>(array->info[0]);
    }
    limit_destroy(array);
}
