// How many elements a subscript selects, without a look at whether it may.
#include "indexing/folded_dimensions.hpp"
#include "indexing/kernel_choice.hpp"
#include "indexing/subscript_value.hpp"

#include "matrix/class_hooks.hpp"
#include "matrix/colon_layout.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/sparse_parts.hpp"

#include <nd/colon.hpp>
#include <nd/reference.hpp>
#include <nd/scalars.hpp>

#include <array>

namespace matrix::internal {
namespace {

// True elements, each of them one, whatever a byte holds: as many as the positions that it selects. A byte that is neither 0 nor 1 isn't
// a logical value, and a sum of the bytes would then say more than there are positions.
std::size_t count_true(const ndArray_tag* mask) {
    if (is_sparse(mask)) return stored_count(mask);
    if (mask->pdata == nullptr) return 0;
    return subscript_loops_here().count_true(static_cast<const std::uint8_t*>(mask->pdata),
                                             element_count(mask));
}

// The colon in a dimension of an array. Nothing is written for a position that no subscript has.
void count_colon(dims_view dims, std::size_t elements, std::size_t position, std::size_t nsubs,
                 kvSize* count) {
    const std::size_t n = dims.size();
    if (position == 0) return;
    if (position > n) {
        *count = elements == 0 ? 0 : 1;
    } else if (position == n || position < nsubs) {
        *count = dims[position - 1];
    } else if (position == nsubs) {
        *count = saturated_count(dims.subspan(position - 1));
    }
}

} // namespace
} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

bool ndSubsCount(const ndArray_tag* a, const ndArray_tag* subscript, kvSize position, kvSize nsubs,
                 kvSize* count) {
    if (ndIsColonIndex(subscript)) {
        if (is_colon_object(a)) { // its dimensions are those of its operands
            const std::array<std::size_t, 2> row{1, count_colon_elements(a)};
            count_colon(row, row[1], position, nsubs, count);
            return true;
        }
        complete_dimensions_if_opaque(a);
        count_colon(dims_of(a), element_count(a), position, nsubs, count);
        return true;
    }
    if (is_colon_object(subscript)) {
        *count = ndCountIntColonObj(subscript);
    } else if (subscript->class_id == ndLOGICAL_CLASS) {
        *count = count_true(subscript);
    } else if (has_index_values(subscript->class_id)) {
        *count = element_count(subscript);
    } else {
        *count = 0;
        return false;
    }
    return true;
}

} // namespace matrix::detail::noninlined::nd_array_api
