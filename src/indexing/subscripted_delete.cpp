// Deletion by subscripts. Cases, in the order in which they are tried:
//
//   no subscript; no class         errors
//   indexing-opaque                its class is told by the assignment of an empty array
//   colon object, sparse array     the vector or the full array that it stands for, which comes back as what it was
//   a subscript without elements   of an empty array: nothing goes
//   several that aren't colons     an error
//   one, without elements          nothing goes; one subscript alone makes a matrix a row
//   colons only                    everything goes, along the first dimension
//   one                            the positions that it selects
#include "indexing/delete_positions.hpp"
#include "indexing/folded_dimensions.hpp"
#include "indexing/reference.hpp"

#include "errors/raise.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/complexity.hpp"
#include "matrix/containers.hpp"

#include <nd/access.hpp>
#include <nd/assignment.hpp>
#include <nd/convert.hpp>
#include <nd/deletion.hpp>
#include <nd/scalars.hpp>
#include <nd/share.hpp>

#include <algorithm>
#include <array>
#include <functional>
#include <numeric>
#include <span>

namespace matrix::internal {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using Korvane::indexing::utilities::BadSubscriptHandler;

// The subscripts that aren't the colon.
struct survey {
    explicit survey(subscript_span subs) {
        for (std::size_t i = 0; i < subs.size(); ++i) {
            if (api::ndIsColonIndex(subs[i])) continue;
            ++count;
            last = i;
            any_empty = any_empty || api::ndIsEmpty(subs[i]);
        }
    }

    std::size_t count = 0;
    std::size_t last = 0; ///< its number
    bool any_empty = false;
};

std::size_t product(std::span<const std::size_t> dims) noexcept {
    return std::accumulate(dims.begin(), dims.end(), std::size_t{1}, std::multiplies<>());
}

// The shape of the array when count positions of a dimension stay. seen: the dimensions as the subscripts see them.
dims_list shape_of_rest(const ndArray_tag* array, const dims_list& seen, std::size_t dimension,
                        std::size_t count) {
    if (seen.size() != 1) {
        dims_list shape = seen;
        shape[dimension] = count;
        return shape;
    }
    const dims_view dims = dims_of(array);
    const std::size_t along = orient(dims);
    dims_list shape(along == 0 ? 2 : dims.size(), 1);
    shape[along == 0 ? 1 : along - 1] = count;
    return shape;
}

void delete_all_by_colons(ndArray_tag* array, std::size_t nsubs) {
    dims_list shape(2);
    if (nsubs != 1) {
        shape = folded_dimensions(dims_of(array), nsubs);
        shape[0] = 0;
    }
    delete_everything(array, shape);
}

void delete_selected(ndArray_tag* array, subscript_span subs, std::size_t dimension) {
    const dims_list seen = folded_dimensions(dims_of(array), subs.size());
    const auto handler = BadSubscriptHandler::InitializeInvalidIndexHandler(subs.size(), dimension + 1);
    const keep_list keep = kept_positions(&subs[dimension], seen[dimension], handler);
    if (keep.deletes_nothing()) return;
    const dims_list shape = shape_of_rest(array, seen, dimension, keep.count);
    if (keep.count == 0) return delete_everything(array, shape);
    const dims_view all = seen;
    const std::size_t fields = is_struct_like(array->class_id) ? field_count(array) : 1;
    delete_positions(
        array, {keep, fields * product(all.first(dimension)), product(all.subspan(dimension + 1)), shape});
}

bool is_vector(const ndArray_tag* array) noexcept {
    const dims_view dims = dims_of(array);
    return std::count_if(dims.begin(), dims.end(), [](std::size_t dim) { return dim > 1; }) <= 1;
}

// A row in place of a matrix, with the elements as they lie.
void make_row(ndArray_tag* array) {
    const std::array<std::size_t, 2> dims{1, element_count(array)};
    array->set_dimensions(dims);
}

void delete_from_full(ndArray_tag* array, subscript_span subs) {
    const survey found(subs);
    if (found.any_empty && api::ndIsEmpty(array)) return free_imag_if_zero(array);
    if (found.count > 1) errors::raise<TARVEL::legacy_two_part::badnullassign>();
    if (found.any_empty) {
        free_imag_if_zero(array);
        if (subs.size() == 1 && !is_vector(array)) make_row(array);
        return;
    }
    if (found.count == 0) return delete_all_by_colons(array, subs.size());
    delete_selected(array, subs, found.last);
}

// Marks that belong to the header, not to its storage.
void move_back(ndArray_tag* array, array_ptr value) {
    value->flags |= array->flags & flags_kept_by_reference & ~(flag_complex | flag_numeric);
    api::ndMoveArrayOntoHeader(array, value.release());
}

void delete_from_sparse(ndArray_tag* array, subscript_span subs) {
    const boost::intrusive_ptr<ndArray_tag> full = convert_to_full_if_needed(array);
    delete_from_full(full.get(), subs);
    boost::intrusive_ptr<ndArray_tag> rest = convert_to_sparse_if_needed(full.get());
    move_back(array, array_ptr(rest.detach()));
}

void delete_from_opaque(ndArray_tag* array, subscript_span subs) {
    const array_ptr nothing = create({}, ndDOUBLE_CLASS, ndREAL);
    api::ndSubscriptedAssignment(array, subs.size(), subs.data(), nothing.get());
}

} // namespace
} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

void ndSubscriptedDelete(ndArray_tag* a, std::size_t nsubs, const ndArray_tag* const* subs) {
    const std::span<const ndArray_tag* const> list(subs, nsubs);
    if (list.empty()) errors::raise<TARVEL::legacy_two_part::nindexIsZero>();
    if (a->class_id == ndUNKNOWN_CLASS && ndIsEmpty(a))
        errors::raise<TARVEL::legacy_two_part::badnullindex>();
    if ((a->flags & flag_indexing_opaque) != 0) return delete_from_opaque(a, list);
    if (array_ptr range = expand_if_colon_object(a)) {
        delete_from_full(range.get(), list);
        move_back(a, std::move(range));
    } else if ((a->flags & flag_sparse) != 0) {
        delete_from_sparse(a, list);
    } else {
        delete_from_full(a, list);
    }
}

} // namespace matrix::detail::noninlined::nd_array_api
