// From cells to structs and back. Both ways the slots stay where they are and are shared: a struct's slots lie fields first, so it
// is the cell of (fields, dimensions...) under another class.
//
//   1  the fields are the cell's dimension dim, which may lie beyond its last
//   2  the names are checked, by class and shape first, then as texts
//   3  the dimension of the fields comes first: as it is, or by a permutation
#include "matrix/cell_to_struct.hpp"

#include "matrix/arraycpy.hpp"
#include "matrix/containers.hpp"
#include "matrix/data_copy.hpp"
#include "matrix/field_names.hpp"
#include "matrix/frame.hpp"
#include "matrix/header_factory.hpp"
#include "matrix/permute_cell.hpp"
#include "matrix/scope.hpp"
#include "matrix/sharing.hpp"

#include "errors/raise.hpp"

#include <fl/i18n/message_catalog.hpp>
#include <nd/access.hpp>
#include <nd/containers.hpp>
#include <nd/names.hpp>
#include <nd/text.hpp>

#include <string>
#include <vector>

namespace matrix {
namespace internal {
namespace {

namespace api = detail::noninlined::nd_array_api;
namespace ids = TARVEL::Cell2Struct;

void check_name_count(const ndArray_tag* names, std::size_t fields) {
    const bool mismatch = names->class_id == ndCHAR_CLASS   ? dims_of(names)[0] != fields
                          : names->class_id == ndCELL_CLASS ? element_count(names) != fields
                                                            : false;
    if (mismatch) errors::raise<ids::NumberOfNamesMismatch>();
}

void check_name_shapes(const ndArray_tag* names, std::size_t fields) {
    if (names->class_id == ndCHAR_CLASS && !has_inline_dims(names)) errors::raise<ids::Non2DCharArray>();
    if (names->class_id != ndCELL_CLASS) return;
    for (std::size_t i = 0; i < fields; ++i) {
        const ndArray_tag* const name = slots_of(names)[i];
        if (name == nullptr || name->class_id != ndCHAR_CLASS || element_count(name) == 0)
            errors::raise<ids::NonStringFieldNames>();
        if (dims_of(name)[0] != 1) errors::raise<ids::NonStringVector>();
    }
}

// Rows of a char matrix are as long as its longest name.
void trim_padding(std::u16string& row) {
    static constexpr char16_t padding[] = {u' ', u'\0'};
    const std::size_t last = row.find_last_not_of(padding, std::u16string::npos, std::size(padding));
    row.resize(last == std::u16string::npos ? 0 : last + 1);
}

std::vector<std::string> name_texts(const ndArray_tag* names, std::size_t fields) {
    std::vector<std::u16string> rows = get_ustring_array(names);
    if (rows.size() != fields) errors::raise<ids::NumberOfNamesMismatch>();
    std::vector<std::string> texts;
    texts.reserve(rows.size());
    for (std::u16string& row : rows) {
        if (names->class_id == ndCHAR_CLASS) trim_padding(row);
        api::ndTruncateRecName(row);
        texts.push_back(fl::i18n::codecvt_ustring_to_string(row));
    }
    return texts;
}

name_set_ptr checked_names(const ndArray_tag* names, std::size_t fields) {
    check_name_count(names, fields);
    check_name_shapes(names, fields);
    const std::vector<std::string> texts = name_texts(names, fields);
    std::vector<const char*> pointers;
    pointers.reserve(texts.size());
    for (const std::string& text : texts) pointers.push_back(text.c_str());
    check_field_name_set(pointers);
    return make_name_set(pointers);
}

// The order that brings dimension dim, counted from 0, to the front.
std::vector<std::size_t> dimension_to_front(std::size_t dim, std::size_t ndims) {
    std::vector<std::size_t> order{dim};
    for (std::size_t i = 0; i < ndims; ++i) {
        if (i != dim) order.push_back(i);
    }
    return order;
}

// A dimension beyond the cell's is 1: without it the elements are in order already.
struct struct_shape {
    std::size_t fields = 1;
    std::vector<std::size_t> dims;
};

struct_shape shape_without(dims_view dims, std::size_t dim) {
    struct_shape shape;
    shape.dims.assign(dims.begin(), dims.end());
    if (dim < dims.size()) {
        shape.fields = dims[dim];
        shape.dims.erase(shape.dims.begin() + static_cast<std::ptrdiff_t>(dim));
    }
    while (shape.dims.size() < 2) shape.dims.push_back(1);
    return shape;
}

// Nothing of it can fail: half-way the slots would be miscounted.
array_ptr as_struct(array_ptr cell, name_set_ptr names, prepared_dims& dims) noexcept {
    api::ndSetArrayType(cell.get(), ndSTRUCT_CLASS);
    put_names(cell.get(), std::move(names));
    dims.commit_to(cell.get());
    return cell;
}

} // namespace

array_ptr struct_to_cell(const ndArray_tag* source, ndVariableScope scope) {
    const dims_view dims = dims_of(source);
    std::vector<std::size_t> cell_dims{field_count(source)};
    cell_dims.insert(cell_dims.end(), dims.begin(), dims.end());
    array_ptr cell =
        header_factory::make(code_of(ndCELL_CLASS, false), cell_dims, 0, DataInitialization::zeroed);
    set_scope(cell.get(), scope);
    if (source->pdata == nullptr || slot_count(source) == 0) return cell;
    if (is_copied_unasked(source)) {
        put_data(cell.get(), copy_data(source, cell.get()).take());
    } else {
        share_block(source, cell.get());
    }
    return cell;
}

array_ptr struct_from_cell(const ndArray_tag* cell, const ndArray_tag* names, std::size_t dim,
                           ndVariableScope scope) {
    if (dim == 0) errors::raise<TARVEL::Cell2Struct::DimensionNumber>();
    const dims_view dims = dims_of(cell);
    const struct_shape shape = shape_without(dims, dim - 1);
    name_set_ptr set = checked_names(names, shape.fields);
    const bool to_front = dim > 1 && dim <= dims.size();
    prepared_dims prepared(shape.dims);
    array_ptr ordered = to_front ? permuted_cell(cell, dimension_to_front(dim - 1, dims.size()), scope)
                                 : share_or_copy(cell, scope);
    return as_struct(std::move(ordered), std::move(set), prepared);
}

} // namespace internal

array_ptr cell_to_struct(const ndArray_tag* cell, const ndArray_tag* names, std::size_t dim) {
    return internal::struct_from_cell(cell, names, dim, ndLOCAL_SCOPE);
}

} // namespace matrix

namespace matrix::detail::noninlined::nd_array_api {

ndArray_tag* ndCell2Struct(const ndArray_tag* cell, const ndArray_tag* names, std::size_t dim) {
    return internal::framed_creator(
        [=] { return internal::struct_from_cell(cell, names, dim, ndTEMPORARY_SCOPE); });
}

} // namespace matrix::detail::noninlined::nd_array_api
