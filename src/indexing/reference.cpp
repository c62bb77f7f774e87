// Subscripted reference: x(i), x(i, j), ...
//
//   struct, object   structureReference, of all fields
//   colon object     the vector that it stands for, in its place
//   plain elements   without a list of positions where the subscripts allow it (reference_at_once.cpp)
//   sparse           reference_sparse.cpp
//   all others       here: the subscripts become a set, an array of the result's shape is made, and the elements are walked
#include "indexing/reference.hpp"

#include "indexing/element_read.hpp"
#include "indexing/reference_shape.hpp"

#include "errors/raise.hpp"
#include "matrix/accessors.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/complexity.hpp"
#include "matrix/header_factory.hpp"
#include "matrix/numeric_creation.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/sparse_parts.hpp"

#include <nd/messages.hpp>
#include <nd/reference.hpp>
#include <nd/share.hpp>
#include <nd/structures.hpp>
#include <nd/subscripts.hpp>

#include <string>

namespace matrix::internal {
namespace {

using Korvane::indexing::utilities::BadSubscriptHandler;
using Korvane::indexing::utilities::IndicesType;

// An array like source, of other dimensions, with the block for its elements.
array_ptr create_result(const ndArray_tag* source, dims_view dims, std::size_t count) {
    if (has_plain_elements(source->class_id)) {
        // A header can have lost its data.
        const auto init =
            source->pdata == nullptr ? DataInitialization::zeroed : DataInitialization::uninitialized;
        array_ptr result = create_numeric(dims, code_of(source), init);
        result->flags |= source->flags & flags_kept_by_reference;
        return result;
    }
    array_ptr result = create_empty_copy(source);
    prepared_dims(dims).commit_to(result.get());
    result->pdata = allocate_data(count * stored_element_size(source), DataInitialization::zeroed);
    return result;
}

array_ptr reference_opaque(const ndArray_tag* source, const SubscriptSet& set, dims_view dims) {
    array_ptr result = create_empty_copy(source);
    prepared_dims(dims).commit_to(result.get());
    reference_opaque_elements(source, set.count, result.get(), set.indices.data(), set.info.num.data());
    return result;
}

} // namespace

void fill_within(SubscriptSet& set, const ndArray_tag* source, dims_view dims, subscript_span subs) {
    const dims_view own = dims_of(source);
    BadSubscriptHandler handler =
        BadSubscriptHandler::InitializeIndexExceedsBoundsHandler(subs.size(), own.size(), own.data(), 1);
    for (std::size_t i = 0; i < subs.size(); ++i) {
        FillSubscriptSlot(set, i, &subs[i], dims[i], handler);
        const std::size_t max = set.info.MaxIndex(i);
        if (max > dims[i] && set.info.NumIndices(i) != 0 && !is_indexing_opaque(source)) {
            const bool logical = subs[i]->class_id == ndLOGICAL_CLASS;
            handler.ThrowIndexExceedsDimensionsError(logical ? IndicesType::logical : IndicesType::numeric,
                                                     std::to_string(max));
        }
        handler.IncrementSubscript();
    }
}

array_ptr reference_full(const ndArray_tag* source, subscript_span subs) {
    const dims_list seen = folded_dimensions(dims_of(source), subs.size());
    const bool use_ranges = source->class_id != ndFUNCTION_CLASS && source->class_id != ndOPAQUE_CLASS &&
                            !is_indexing_opaque(source);
    SubscriptSet set(subs.size(), use_ranges, false);
    fill_within(set, source, seen, subs);
    const dims_list counts(set.info.num.begin(), set.info.num.end());
    const std::size_t total = checked_element_count(counts, stored_element_size(source));
    const dims_list dims =
        subs.size() == 1 ? linear_reference_dims(dims_of(source), seen[0], subs[0], counts[0]) : counts;
    if (is_indexing_opaque(source)) return reference_opaque(source, set, dims);
    bring_data_up_to_date(source);
    array_ptr result = create_result(source, dims, total);
    if (total != 0 && !read_elements(source, seen, set, result.get()))
        errors::raise<TARVEL::legacy_two_part::nomem>();
    free_imag_if_zero(result.get());
    refresh_scalar_double(result.get());
    return result;
}

} // namespace matrix::internal

namespace matrix {

using namespace internal;

array_ptr subscriptedReference(const ndArray_tag& a, std::span<const ndArray_tag* const> subs) {
    if (subs.empty()) errors::raise<TARVEL::legacy_two_part::nindexIsZero>();
    if (is_struct_like(a.class_id)) return structureReference(a, subs, 0);
    complete_dimensions_if_opaque(&a);
    if (array_ptr result = reference_at_once(&a, subs)) return result;
    const array_ptr expanded = expand_if_colon_object(&a);
    const ndArray_tag* const source = expanded ? expanded.get() : &a;
    return is_sparse(source) ? reference_sparse(source, subs) : reference_full(source, subs);
}

namespace detail::noninlined::nd_array_api {

ndArray_tag* ndSubscriptedReference(const ndArray_tag* a, std::size_t nsubs, const ndArray_tag* const* subs) {
    return to_tarvel(subscriptedReference(*a, {subs, nsubs}));
}

} // namespace detail::noninlined::nd_array_api
} // namespace matrix
