// Making and freeing the narrowed dimensions.
#include "matrix/dims32.hpp"

#include "matrix/class_hooks.hpp"
#include "matrix/dimensions.hpp"

#include "matrix/size_limit.hpp"

#include <boost/container/small_vector.hpp>

#include <limits>
#include <memory>

namespace matrix::internal {
namespace {

constexpr std::size_t inline_dims = 4;
using narrowed_dims = boost::container::small_vector<int, inline_dims>;

void check_fit_int(dims_view dims) {
    for (const std::size_t dim : dims) {
        if (dim > static_cast<std::size_t>(std::numeric_limits<int>::max()))
            raise_size_limit_exceeded(dims, 0, 0);
    }
}

} // namespace

const int* narrowed_dimensions(const ndArray_tag* array) {
    complete_dimensions_if_opaque(array);
    const dims_view dims = dims_of(array);
    check_fit_int(dims);
    auto* kept = static_cast<narrowed_dims*>(array->dims32);
    std::unique_ptr<narrowed_dims> fresh;
    if (kept == nullptr) {
        fresh = std::make_unique<narrowed_dims>();
        kept = fresh.get();
    }
    kept->reserve(dims.size());
    kept->clear();
    for (const std::size_t dim : dims) kept->push_back(static_cast<int>(dim));
    // A cache beside the value: filling it leaves the array the same.
    if (fresh) const_cast<ndArray_tag*>(array)->dims32 = fresh.release();
    return kept->data();
}

void delete_dims32(ndArray_tag* array) noexcept {
    delete static_cast<narrowed_dims*>(array->dims32);
    array->dims32 = nullptr;
}

} // namespace matrix::internal
