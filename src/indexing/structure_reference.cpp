// Reference of struct and object arrays: their slots as an array with the fields as its first dimension. The result has the selected
// slots in the same order: as a struct, where all fields are selected, or as a cell of one field's values.
#include "indexing/structure_reference.hpp"

#include "indexing/bounded_subscripts.hpp"
#include "indexing/element_read.hpp"
#include "indexing/reference_shape.hpp"

#include "errors/raise.hpp"
#include "matrix/data_copy.hpp"
#include "matrix/field_names.hpp"
#include "matrix/header_factory.hpp"
#include "matrix/size_check.hpp"

#include <nd/share.hpp>

#include <utility>

namespace matrix::internal {

void fill_field_slot(SubscriptSet& set, std::size_t fields, std::size_t field) {
    if (field == 0) return set.put_colon(0, fields);
    if (field > fields) errors::raise<TARVEL::legacy_two_part::badargs>();
    index_block position = make_index_block(1);
    position[0] = field - 1;
    set.put_list(0, std::move(position), 1, field);
}

dims_list dimensions_with_fields(std::size_t fields, const dims_list& seen) {
    dims_list dims(1, fields);
    dims.insert(dims.end(), seen.begin(), seen.end());
    return dims;
}

namespace {

using subscript_list = std::span<const ndArray_tag* const>;

// The result's shape, fields left out.
dims_list selected_dims(const ndArray_tag& source, subscript_list subs, const SubscriptSet& set,
                        std::size_t field) {
    if (subs.size() == 1 && field == 0)
        return linear_reference_dims(dims_of(&source), element_count(&source), subs[0],
                                     set.info.NumIndices(0));
    return {set.info.num.begin() + 1, set.info.num.end()};
}

} // namespace
} // namespace matrix::internal

namespace matrix {

using namespace internal;

array_ptr structureReference(const ndArray_tag& s, std::span<const ndArray_tag* const> subs,
                             std::size_t field) {
    const std::size_t fields = field_count(&s);
    const dims_list seen = dimensions_with_fields(fields, folded_dimensions(dims_of(&s), subs.size()));
    const dims_view dims(seen.data(), seen.size());
    SubscriptSet set(subs.size() + 1, true, true);
    fill_field_slot(set, fields, field);
    fill_within_bounds(set, subs, dims.subspan(1), s);

    array_ptr result = field == 0 ? create_empty_copy(&s) : create_cell({});
    const std::size_t total =
        checked_element_count({set.info.num.data(), set.info.num.size()}, sizeof(ndArray_tag*));
    const dims_list shape = selected_dims(s, subs, set, field);
    result->set_dimensions({shape.data(), shape.size()});
    if (total == 0) return result;
    void* const slots = allocate_data(total * sizeof(ndArray_tag*), DataInitialization::zeroed);
    put_data(result.get(), {slots});
    if (!read_elements(&s, dims, set, result.get())) errors::raise<TARVEL::legacy_two_part::nomem>();
    return result;
}

} // namespace matrix

namespace matrix::detail::noninlined::nd_array_api {

ndArray_tag* ndStructureReference(const ndArray_tag* s, std::size_t nsubs, const ndArray_tag* const* subs,
                                  std::size_t field) {
    return to_tarvel(structureReference(*s, {subs, nsubs}, field));
}

} // namespace matrix::detail::noninlined::nd_array_api
