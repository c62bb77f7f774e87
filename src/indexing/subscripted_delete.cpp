// Deletion by subscripts. Cases, in the order in which they are tried:
//
//   no subscript; no class         errors
//   indexing-opaque                its class is told by the assignment of an empty array
//   colon object                   the vector that it stands for
//   a subscript without elements   of an empty array: nothing goes
//   several that aren't colons     an error
//   one, without elements          nothing goes; one subscript alone makes a matrix a row
//   colons only                    everything goes, along the first dimension
//   one                            the positions that it selects; of a sparse array through the full one that it stands for
#include "indexing/delete_positions.hpp"
#include "indexing/folded_dimensions.hpp"
#include "indexing/reference.hpp"

#include "errors/raise.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/colon_layout.hpp"
#include "matrix/complexity.hpp"
#include "matrix/containers.hpp"
#include "matrix/sparse_creation.hpp"

#include <nd/access.hpp>
#include <nd/assignment.hpp>
#include <nd/convert.hpp>
#include <nd/deletion.hpp>
#include <nd/scalars.hpp>
#include <nd/share.hpp>

#include <algorithm>
#include <array>
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

// The shape of the array when count positions of a dimension stay. seen: the dimensions as the subscripts see them.
dims_list shape_of_rest(const ndArray_tag* array, const dims_list& seen, std::size_t dimension,
                        std::size_t count) {
    dims_list shape = seen;
    if (seen.size() == 1) {
        const dims_view dims = dims_of(array);
        const std::size_t along = orient(dims);
        shape.assign(along == 0 ? 2 : dims.size(), 1);
        dimension = along == 0 ? 1 : along - 1;
    }
    shape[dimension] = count;
    return shape;
}

dims_list shape_after_colons(const ndArray_tag* array, std::size_t nsubs) {
    dims_list shape = folded_dimensions(dims_of(array), nsubs);
    if (nsubs == 1) shape.resize(2);
    shape[0] = 0;
    return shape;
}

// Marks that belong to the header, not to its storage.
void move_back(ndArray_tag* array, array_ptr value) {
    value->flags |= array->flags & flags_kept_by_reference & ~(flag_complex | flag_numeric);
    api::ndMoveArrayOntoHeader(array, value.release());
}

// change(array), of a sparse one on the full array that it stands for.
template <class Change>
void change_as_full(ndArray_tag* array, Change change) {
    if ((array->flags & flag_sparse) == 0) return change(array);
    const boost::intrusive_ptr<ndArray_tag> full = convert_to_full_if_needed(array);
    change(full.get());
    boost::intrusive_ptr<ndArray_tag> rest = convert_to_sparse_if_needed(full.get());
    move_back(array, array_ptr(rest.detach()));
}

void leave_nothing(ndArray_tag* array, const dims_list& shape) {
    if ((array->flags & flag_sparse) == 0) return delete_everything(array, shape);
    const dims_view dims = shape;
    move_back(array, create_sparse(dims[0], saturated_count(dims.subspan(1)), 0,
                                   code_of(array->class_id, false), DataInitialization::uninitialized));
}

void delete_selected(ndArray_tag* given, subscript_span subs, std::size_t dimension) {
    const dims_list seen = folded_dimensions(dims_of(given), subs.size());
    const auto handler = BadSubscriptHandler::InitializeInvalidIndexHandler(subs.size(), dimension + 1);
    const keep_list keep = kept_positions(&subs[dimension], seen[dimension], handler);
    if (keep.deletes_nothing()) return;
    const dims_list shape = shape_of_rest(given, seen, dimension, keep.count);
    if (keep.count == 0) return leave_nothing(given, shape);
    change_as_full(given, [&](ndArray_tag* array) {
        const dims_view all = seen;
        const std::size_t fields = is_struct_like(array->class_id) ? field_count(array) : 1;
        delete_positions(array, {keep, fields * saturated_count(all.first(dimension)),
                                 saturated_count(all.subspan(dimension + 1)), shape});
    });
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

void delete_nothing(ndArray_tag* given, std::size_t nsubs) {
    if (nsubs != 1 || api::ndIsEmpty(given) || is_vector(given)) return free_imag_if_zero(given);
    change_as_full(given, [](ndArray_tag* array) {
        free_imag_if_zero(array);
        make_row(array);
    });
}

// A sparse array becomes full only where elements move. What is refused, and what leaves all or none, needs none of them.
void delete_elements(ndArray_tag* array, subscript_span subs) {
    const survey found(subs);
    if (found.count > 1 && !(found.any_empty && api::ndIsEmpty(array)))
        errors::raise<TARVEL::legacy_two_part::badnullassign>();
    if (found.any_empty) return delete_nothing(array, subs.size());
    if (found.count == 0) return leave_nothing(array, shape_after_colons(array, subs.size()));
    delete_selected(array, subs, found.last);
}

// The vector comes into being only for subscripts that may go on.
void delete_from_colon_object(ndArray_tag* array, subscript_span subs) {
    const survey found(subs);
    if (found.count > 1 && !found.any_empty) errors::raise<TARVEL::legacy_two_part::badnullassign>();
    array_ptr range = expand_if_colon_object(array);
    delete_elements(range.get(), subs);
    move_back(array, std::move(range));
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
    if (is_colon_object(a)) return delete_from_colon_object(a, list);
    delete_elements(a, list);
    a->flags &= ~flag_colon_object; // what wasn't a range becomes none by what is left of it
}

} // namespace matrix::detail::noninlined::nd_array_api
