// Subscripted reference: x(i), x(i, j), ...
//
//   struct, object   structureReference, of all fields
//   colon object     the vector that it stands for. Few of its elements are computed one by one; for more it is expanded, once the
//                    subscripts are known to be right
//   plain elements   without a list of positions where the subscripts allow it (reference_at_once.cpp)
//   sparse           reference_sparse.cpp
//   all others       here: the subscripts become a set, an array of the result's shape is made, and the elements are walked
#include "indexing/reference.hpp"

#include "indexing/colon_elements.hpp"
#include "indexing/element_read.hpp"
#include "indexing/reference_shape.hpp"

#include "errors/raise.hpp"
#include "matrix/accessors.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/complexity.hpp"
#include "matrix/frame.hpp"
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
#include <utility>

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

// own: all dimensions of what is selected from; any_position: none is too large for it.
void fill_checked(SubscriptSet& set, dims_view own, bool any_position, dims_view dims, subscript_span subs) {
    BadSubscriptHandler handler =
        BadSubscriptHandler::InitializeIndexExceedsBoundsHandler(subs.size(), own.size(), own.data(), 1);
    for (std::size_t i = 0; i < subs.size(); ++i) {
        FillSubscriptSlot(set, i, &subs[i], dims[i], handler);
        const std::size_t max = set.info.MaxIndex(i);
        if (max > dims[i] && set.info.NumIndices(i) != 0 && !any_position) {
            const bool logical = subs[i]->class_id == ndLOGICAL_CLASS;
            handler.ThrowIndexExceedsDimensionsError(logical ? IndicesType::logical : IndicesType::numeric,
                                                     std::to_string(max));
        }
        handler.IncrementSubscript();
    }
}

// What is selected from a full array whose own dimensions are these, seen through others.
struct selection {
    selection(dims_view own, subscript_span subs, bool use_ranges, bool any_position,
              std::size_t element_size)
        : seen(folded_dimensions(own, subs.size())), set(subs.size(), use_ranges, false) {
        fill_checked(set, own, any_position, seen, subs);
        const dims_list counts(set.info.num.begin(), set.info.num.end());
        total = checked_element_count(counts, element_size);
        dims = subs.size() == 1 ? linear_reference_dims(own, seen[0], subs[0], counts[0]) : counts;
    }

    dims_list seen;
    SubscriptSet set;
    std::size_t total = 0; ///< elements of the result
    dims_list dims;        ///< of the result
};

// What doesn't depend on how the elements got there.
array_ptr finished(array_ptr result) {
    free_imag_if_zero(result.get());
    refresh_scalar_double(result.get());
    return result;
}

array_ptr read_selected(const ndArray_tag* source, const selection& selected) {
    bring_data_up_to_date(source);
    array_ptr result = create_result(source, selected.dims, selected.total);
    if (selected.total != 0 && !read_elements(source, selected.seen, selected.set, result.get()))
        errors::raise<TARVEL::legacy_two_part::nomem>();
    return finished(std::move(result));
}

// A row is seen through one dimension as itself, and else through its second one: what other subscripts select are repetitions.
void write_selected(const colon_elements& elements, const selection& selected, std::byte* to,
                    std::size_t size) {
    const SubscriptSet& set = selected.set;
    const std::size_t slot = set.count == 1 ? 0 : 1;
    const position_run run{set.info.num[slot], set.indices[slot], set.kinds[slot], 1};
    const std::size_t repeated = slot == 0 ? 1 : set.info.num[0];
    for (std::size_t i = 0; i < selected.total; ++i)
        elements.write(run.offset(i / repeated % run.count), to + i * size);
}

// One element takes about as long as several of a whole vector.
bool are_few(std::size_t selected, std::size_t elements) noexcept {
    return selected <= 1 || selected < elements / 8;
}

array_ptr reference_range(const ndArray_tag* source, subscript_span subs) {
    const colon_elements elements(source);
    const NdArrayTypeId code = code_of(elements.class_id(), false);
    const std::size_t row[] = {1, elements.count()};
    const selection selected(row, subs, true, false, element_size(code));
    if (!are_few(selected.total, elements.count()))
        return read_selected(expand_if_colon_object(source).get(), selected);
    array_ptr result = create_numeric(selected.dims, code, DataInitialization::uninitialized);
    result->flags |= source->flags & flags_kept_by_expansion;
    write_selected(elements, selected, static_cast<std::byte*>(result->pdata), element_size(code));
    return finished(std::move(result));
}

} // namespace

void fill_within(SubscriptSet& set, const ndArray_tag* source, dims_view dims, subscript_span subs) {
    fill_checked(set, dims_of(source), is_indexing_opaque(source), dims, subs);
}

array_ptr reference_full(const ndArray_tag* source, subscript_span subs) {
    const bool any_position = is_indexing_opaque(source);
    const bool use_ranges =
        source->class_id != ndFUNCTION_CLASS && source->class_id != ndOPAQUE_CLASS && !any_position;
    const selection selected(dims_of(source), subs, use_ranges, any_position, stored_element_size(source));
    if (any_position) return finished(reference_opaque(source, selected.set, selected.dims));
    return read_selected(source, selected);
}

} // namespace matrix::internal

namespace matrix {

using namespace internal;

array_ptr subscriptedReference(const ndArray_tag& a, std::span<const ndArray_tag* const> subs) {
    if (subs.empty()) errors::raise<TARVEL::legacy_two_part::nindexIsZero>();
    if (array_ptr result = reference_at_once(&a, subs)) return result;
    if (is_struct_like(a.class_id)) return structureReference(a, subs, 0);
    complete_dimensions_if_opaque(&a);
    if (is_colon_object(&a)) return reference_range(&a, subs);
    return is_sparse(&a) ? reference_sparse(&a, subs) : reference_full(&a, subs);
}

namespace detail::noninlined::nd_array_api {

ndArray_tag* ndSubscriptedReference(const ndArray_tag* a, std::size_t nsubs, const ndArray_tag* const* subs) {
    return as_temporary_or_raise(subscriptedReference(*a, {subs, nsubs}));
}

} // namespace detail::noninlined::nd_array_api
} // namespace matrix
