// The elements of a function handle array: what a record holds is known to the client who made it. The library tells the
// client of each array that gets a copy of a record or loses one.
#pragma once

#include <nd/array.hpp>

#include <cstddef>

namespace matrix::internal {

/// One element. The client's data are passed to all three routines.
struct function_record {
    void (*invoke)(void* data, int nlhs, ndArray_tag** plhs, int nrhs, ndArray_tag** prhs);
    void* data;
    void (*acquire)(void* data, const ndArray_tag* holder); ///< a new holder has a copy; null: nobody asks
    void (*release)(void* data, const ndArray_tag* holder); ///< a holder lets go; null: nobody asks
};
static_assert(sizeof(function_record) == 32);

/// Copies count records for holder, in order: acquire first, then the 32 bytes. to is zeroed. Raises what acquire raises; the
/// records behind are then still zero.
void copy_function_records(const void* from, void* to, std::size_t count, const ndArray_tag* holder);

/// Lets count records of holder go: each is cleared and then released. A record of zeros is left alone.
void release_function_records(void* records, std::size_t count, const ndArray_tag* holder) noexcept;

} // namespace matrix::internal
