// The value of the word "end" in a subscript.
#include "matrix/class_hooks.hpp"
#include "matrix/colon_layout.hpp"

#include <nd/structures.hpp>

#include <array>

namespace matrix::internal {
namespace {

double end_of(dims_view dims, std::size_t position, std::size_t nsubs) noexcept {
    if (position == 0 || position > dims.size()) return 1;
    auto size = static_cast<double>(dims[position - 1]);
    if (position != nsubs) return size;
    for (const std::size_t dim : dims.subspan(position)) size *= static_cast<double>(dim);
    return size;
}

} // namespace
} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

double ndGetEnd(const ndArray_tag* a, kvSize position, kvSize nsubs) {
    if (is_colon_object(a)) { // its dimensions are those of its operands
        const std::array<std::size_t, 2> dims{1, count_colon_elements(a)};
        return end_of(dims, position, nsubs);
    }
    complete_dimensions_if_opaque(a);
    return end_of(dims_of(a), position, nsubs);
}

} // namespace matrix::detail::noninlined::nd_array_api
