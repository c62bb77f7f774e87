// Reference of struct and object arrays: their slots as an array with the fields as its first dimension. The result has the selected
// slots in the same order: as a struct, where all fields are selected, or as a cell of one field's values.
#include "indexing/structure_reference.hpp"

#include "indexing/element_read.hpp"
#include "indexing/growth.hpp"
#include "indexing/reference.hpp"
#include "indexing/reference_shape.hpp"

#include "errors/raise.hpp"
#include "matrix/class_table.hpp"
#include "matrix/data_copy.hpp"
#include "matrix/field_names.hpp"
#include "matrix/header_factory.hpp"

#include <nd/class_access.hpp>
#include <nd/share.hpp>

namespace matrix::internal {

void fill_field_slot(SubscriptSet& set, std::size_t fields, std::size_t field) {
    if (field == 0) return set.put_colon(0, fields);
    if (field > fields) errors::raise<TARVEL::legacy_two_part::badargs>();
    set.put_position(0, field - 1);
}

dims_list dimensions_with_fields(std::size_t fields, const dims_list& seen) {
    dims_list dims(1, fields);
    dims.insert(dims.end(), seen.begin(), seen.end());
    return dims;
}

namespace {

// The result's shape, fields left out.
dims_list selected_dims(const ndArray_tag& source, subscript_span subs, const SubscriptSet& set,
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
    if (subs.empty()) errors::raise<TARVEL::legacy_two_part::nindexIsZero>();
    if (!is_struct_like(s.class_id))
        errors::raise<TARVEL::legacy_two_part::invalidConversion>(
            detail::noninlined::nd_array_api::ndGetClassName(&s), class_rows[ndSTRUCT_CLASS].name);
    const std::size_t fields = field_count(&s);
    const dims_list seen = dimensions_with_fields(fields, folded_dimensions(dims_of(&s), subs.size()));
    SubscriptSet set(subs.size() + 1, true, true);
    fill_field_slot(set, fields, field);
    fill_within(set, &s, dims_view(seen).subspan(1), subs);

    array_ptr result = field == 0 ? create_empty_copy(&s) : create_cell({});
    const std::size_t total = checked_slot_count(set.info.num);
    result->set_dimensions(selected_dims(s, subs, set, field));
    if (total == 0) return result;
    void* const slots = allocate_data(total * sizeof(ndArray_tag*), DataInitialization::zeroed);
    put_data(result.get(), {slots});
    if (!read_elements(&s, seen, set, result.get())) errors::raise<TARVEL::legacy_two_part::nomem>();
    return result;
}

} // namespace matrix

namespace matrix::detail::noninlined::nd_array_api {

ndArray_tag* ndStructureReference(const ndArray_tag* s, std::size_t nsubs, const ndArray_tag* const* subs,
                                  std::size_t field) {
    return to_tarvel(structureReference(*s, {subs, nsubs}, field));
}

} // namespace matrix::detail::noninlined::nd_array_api
