// New arrays in the other storage. Elements are moved by their bytes; what is nonzero is asked of their class.
#include "ops/sparse_conversion.hpp"

#include "matrix/accessors.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/size_check.hpp"
#include "matrix/sparse_creation.hpp"
#include "matrix/sparse_parts.hpp"
#include "ops/convert_buffer.hpp"
#include "ops/sparse_kernels.hpp"

#include <foundation/feature/feature.hpp>

#include <cstring>

namespace matrix::internal {
namespace {

// Calls body with a null pointer to the type that the elements of a class with a sparse form have; false for other classes.
template <class Body>
bool with_stored_element(const ndArray_tag* array, Body&& body) {
    if (!may_be_sparse(array->class_id)) return false;
    return with_element_type(array->class_id, [&]<class Row>(Row) {
        using part = typename Row::type;
        if constexpr (may_be_sparse(Row::class_id)) {
            if (is_complex(array)) {
                body(static_cast<complex_element<part>*>(nullptr));
            } else {
                body(static_cast<part*>(nullptr));
            }
        }
    });
}

// A full array as the matrix of its columns. A product that doesn't fit is refused like any other that is too large.
struct folded_shape {
    explicit folded_shape(dims_view dims) : rows(dims[0]) {
        for (const std::size_t dim : dims.subspan(1)) columns = saturated_product(columns, dim);
    }
    std::size_t count() const noexcept { return rows * columns; }

    std::size_t rows;
    std::size_t columns = 1;
};

// Room that nothing is stored in is cleared, so that no byte of the array is undefined.
array_ptr create_with_room_for(std::size_t stored, const folded_shape& shape, NdArrayTypeId code) {
    return create_sparse(shape.rows, shape.columns, stored, code,
                         stored == 0 ? DataInitialization::zeroed : DataInitialization::uninitialized);
}

template <class Element>
array_ptr packed(const ndArray_tag* full, const folded_shape& shape) {
    const auto* const elements = static_cast<const Element*>(full->pdata);
    const std::size_t stored = elements == nullptr ? 0 : count_nonzero(elements, shape.count());
    array_ptr sparse = create_with_room_for(stored, shape, code_of(full));
    if (stored == 0) return sparse;
    const packed_elements<Element> to{static_cast<Element*>(sparse->pdata), row_indices(sparse.get()),
                                      stored};
    pack_columns(to, column_starts(sparse.get()), elements, shape.rows, shape.columns);
    return sparse;
}

} // namespace

bool has_sparse_form(ndClassID class_id) noexcept {
    static const foundation::feature::IFeature single_sparse("SingleSparse");
    if (class_id == ndSINGLE_CLASS) return single_sparse.get() != 0;
    return may_be_sparse(class_id);
}

array_ptr convert_sparse_class(const ndArray_tag* sparse, ndClassID target) {
    if (!has_sparse_form(target)) raise_no_sparse_form();
    const std::size_t stored = readable_count(sparse);
    const bool complex = is_complex(sparse);
    array_ptr copy = create_with_room_for(stored, folded_shape(dims_of(sparse)), code_of(target, complex));
    if (stored == 0) return copy;
    convert_scalars(copy->pdata, target, sparse->pdata, sparse->class_id, complex ? 2 * stored : stored);
    std::memcpy(row_indices(copy.get()), row_indices(sparse), stored * sizeof(kvIndex));
    const std::size_t starts = column_count(sparse) + 1;
    std::memcpy(column_starts(copy.get()), column_starts(sparse), starts * sizeof(kvIndex));
    return copy;
}

array_ptr full_from_sparse(const ndArray_tag* sparse) {
    array_ptr full;
    with_stored_element(sparse, [&]<class Element>(Element*) {
        bring_data_up_to_date(sparse);
        full = detail::do_create_numeric(dims_of(sparse), code_of(sparse));
        if (readable_count(sparse) == 0) return;
        spread_columns(static_cast<Element*>(full->pdata), row_count(sparse), column_count(sparse),
                       static_cast<const Element*>(sparse->pdata), row_indices(sparse),
                       column_starts(sparse));
    });
    return full;
}

array_ptr sparse_from_full(const ndArray_tag* full) {
    if (!has_sparse_form(static_cast<ndClassID>(full->class_id))) raise_no_sparse_form();
    const array_ptr expanded = expand_if_colon_object(full);
    const ndArray_tag* const source = expanded ? expanded.get() : full;
    bring_data_up_to_date(source);
    array_ptr sparse;
    with_stored_element(source, [&]<class Element>(Element*) {
        sparse = packed<Element>(source, folded_shape(dims_of(source)));
    });
    return sparse;
}

array_ptr made_full(const ndArray_tag* array) {
    return is_sparse(array) ? full_from_sparse(array) : expand_if_colon_object(array);
}

array_ptr made_sparse(const ndArray_tag* array) {
    return is_sparse(array) ? nullptr : sparse_from_full(array);
}

} // namespace matrix::internal
