// The size tests, in their internal and their public form.
#include "matrix/size_check.hpp"

#include "matrix/size_limit.hpp"

#include <errors/raise.hpp>

#include <nd/access.hpp>
#include <nd/messages.hpp>
#include <nd/sizes.hpp>

#include <algorithm>
#include <bit>

namespace matrix::internal {
namespace {

[[gnu::noinline, gnu::cold, noreturn]] void raise_too_large() {
    errors::raise<TARVEL::legacy_two_part::pmaxsize>();
}

void check_bytes(dims_view dims, std::uint64_t bytes) {
    if (bytes > address_ceiling) raise_too_large();
    const std::uint64_t limit = array_size_limit();
    if (limit != 0 && bytes > limit) raise_size_limit_exceeded(dims, bytes, limit);
}

} // namespace

std::size_t checked_index_count(dims_view dims) {
    if (dims.empty()) return 0;
    std::uint64_t count = 1;
    for (const std::size_t dim : dims) count = saturated_product(count, dim);
    if (count > address_ceiling) raise_too_large();
    return count;
}

std::size_t checked_element_count(dims_view dims, std::size_t element_size) {
    const std::size_t count = checked_index_count(dims);
    check_bytes(dims, saturated_product(count, element_size));
    return count;
}

std::size_t checked_sparse_size(std::size_t m, std::size_t n, std::size_t nzmax, std::size_t element_size) {
    constexpr std::uint64_t index_size = sizeof(kvIndex);
    const std::size_t dims[] = {m, n};
    const std::size_t count = checked_index_count(dims);
    const std::uint64_t column_starts = saturated_product(saturated_sum(n, 1), index_size);
    const std::uint64_t row_indices = saturated_product(nzmax, index_size);
    const std::uint64_t elements = saturated_product(nzmax, element_size);
    check_bytes(dims, saturated_sum(saturated_sum(elements, row_indices), column_starts));
    return count;
}

std::size_t capacity_for(std::size_t count) noexcept {
    constexpr std::uint64_t exact_up_to = 256;
    constexpr std::uint64_t powers_up_to = 0x7FF'FFFF;
    constexpr std::uint64_t step = 0x800'0000;
    if (count <= exact_up_to || count > address_ceiling - 1) return count;
    if (count <= powers_up_to) return std::min<std::uint64_t>(std::bit_ceil(count), address_ceiling);
    // Wraps for count == step, which stays as it is.
    return std::min<std::uint64_t>(((count - step - 1) & ~(step - 1)) + 2 * step, address_ceiling);
}

} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {
namespace {

// The number of fields multiplies a struct's slots, so its data say nothing about its size: only the count is judged.
std::size_t judged_element_size(ndClassID class_id, ndComplexity complexity) noexcept {
    return class_id == ndSTRUCT_CLASS ? 0 : ndGetElementSizeofClassID(class_id, complexity);
}

template <class Check>
bool succeeds(Check&& check, std::size_t* out) noexcept {
    try {
        const std::size_t count = check();
        if (out != nullptr) *out = count;
        return true;
    } catch (...) {
        return false;
    }
}

} // namespace

std::size_t ndCheckDim(const std::size_t* dims, std::size_t ndim, std::size_t elementSize) {
    return internal::checked_element_count({dims, ndim}, elementSize);
}

std::size_t ndCheckDim(const std::size_t* dims, std::size_t ndim, ndClassID classId,
                       ndComplexity complexity) {
    return ndCheckDim(dims, ndim, judged_element_size(classId, complexity));
}

bool ndCheckDim_nothrow(const std::size_t* dims, std::size_t ndim, std::size_t elementSize,
                        std::size_t* out) {
    return succeeds([&] { return ndCheckDim(dims, ndim, elementSize); }, out);
}

bool ndCheckDim_nothrow(const std::size_t* dims, std::size_t ndim, ndClassID classId, ndComplexity complexity,
                        std::size_t* out) {
    return succeeds([&] { return ndCheckDim(dims, ndim, classId, complexity); }, out);
}

std::size_t ndCheckDimForIndexing(const std::size_t* dims, std::size_t ndim) {
    return internal::checked_index_count({dims, ndim});
}

bool ndCheckDimForIndexing_nothrow(const std::size_t* dims, std::size_t ndim, std::size_t* out) {
    return succeeds([&] { return ndCheckDimForIndexing(dims, ndim); }, out);
}

std::size_t ndCheckMN(std::size_t m, std::size_t n, std::size_t elementSize) {
    const std::size_t dims[] = {m, n};
    return ndCheckDim(dims, 2, elementSize);
}

std::size_t ndCheckMN(std::size_t m, std::size_t n, ndClassID classId, ndComplexity complexity) {
    return ndCheckMN(m, n, judged_element_size(classId, complexity));
}

bool ndCheckMN_nothrow(std::size_t m, std::size_t n, std::size_t elementSize, std::size_t* out) {
    return succeeds([&] { return ndCheckMN(m, n, elementSize); }, out);
}

bool ndCheckMN_nothrow(std::size_t m, std::size_t n, ndClassID classId, ndComplexity complexity,
                       std::size_t* out) {
    return succeeds([&] { return ndCheckMN(m, n, classId, complexity); }, out);
}

std::size_t ndCheckMNForIndexing(std::size_t m, std::size_t n) {
    const std::size_t dims[] = {m, n};
    return ndCheckDimForIndexing(dims, 2);
}

bool ndCheckMNForIndexing_nothrow(std::size_t m, std::size_t n, std::size_t* out) {
    return succeeds([&] { return ndCheckMNForIndexing(m, n); }, out);
}

std::size_t ndCheckSparse(std::size_t m, std::size_t n, std::size_t nzmax, ndClassID classId,
                          ndComplexity complexity) {
    return internal::checked_sparse_size(m, n, nzmax, judged_element_size(classId, complexity));
}

kvSize ndGetCapacity(kvSize n) { return internal::capacity_for(n); }

} // namespace matrix::detail::noninlined::nd_array_api
