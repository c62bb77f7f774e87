// The end of results.
#include "results.hpp"

void limit_destroy_result(limit_array* array, size_t bytes) {
    if (bytes > limits::largest_listed) {
        foundation::core::mem::aligned_heap_instance().free(array->data);
        array->data = std::bit_cast<void*>(array->info[0]);
    }
    limit_destroy(array);
}
