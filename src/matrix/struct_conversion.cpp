// A struct array from pairs of name and value.
//
// The values go into a cell, all elements of a field together, with the fields as its last dimension; the rest is the conversion
// from cell to struct. The caller has compared the sizes of the values: what doesn't fit is read as far as it goes.
#include "matrix/cell_to_struct.hpp"
#include "matrix/containers.hpp"
#include "matrix/frame.hpp"
#include "matrix/sharing_rollback.hpp"
#include "matrix/slots.hpp"

#include <nd/containers.hpp>

#include <algorithm>
#include <vector>

namespace matrix {

using namespace internal;

namespace {

using argument_list = std::vector<ndArray_tag*>;

template <class Pointer>
argument_list arguments_of(int count, const Pointer* pointers, ndArray_tag* (*plain)(const Pointer&)) {
    argument_list arguments;
    arguments.reserve(count > 0 ? static_cast<std::size_t>(count) : 0);
    for (int i = 0; i < count; ++i) arguments.push_back(plain(pointers[i]));
    return arguments;
}

// Sharing an argument changes its owners, never its value.
ndArray_tag* writable(const ndArray_tag* array) noexcept { return const_cast<ndArray_tag*>(array); }

bool is_cell(const ndArray_tag* value) noexcept {
    return value != nullptr && value->class_id == ndCELL_CLASS;
}

std::vector<std::size_t> shape_of_result(const argument_list& arguments) {
    for (std::size_t i = 1; i < arguments.size(); i += 2) {
        if (!is_cell(arguments[i]) || element_count(arguments[i]) == 1) continue;
        const dims_view dims = dims_of(arguments[i]);
        return {dims.begin(), dims.end()};
    }
    return {1, 1};
}

void share_into_slot(ndArray_tag* cell, std::size_t slot, ndArray_tag* value, sharing_rollback& shared) {
    if (value != nullptr) shared.note(value);
    set_copy_in_slot(cell, slot, value);
}

// A value cell without elements leaves the value before it in force.
void fill_field(ndArray_tag* values, std::size_t first, std::size_t count, const ndArray_tag* value,
                sharing_rollback& shared) {
    const std::size_t given = is_cell(value) ? element_count(value) : 1;
    const std::size_t filled = given == 1 ? count : std::min(count, given);
    for (std::size_t i = 0; i < filled; ++i) {
        ndArray_tag* const element = is_cell(value) ? slots_of(value)[given == 1 ? 0 : i] : writable(value);
        share_into_slot(values, first + i, element, shared);
    }
}

array_ptr values_in(const argument_list& arguments, std::vector<std::size_t> shape,
                    sharing_rollback& shared) {
    std::size_t count = 1;
    for (const std::size_t dim : shape) count *= dim;
    shape.push_back(arguments.size() / 2);
    array_ptr values = detail::do_create_cell(shape);
    if (count == 0) return values;
    const ndArray_tag* in_force = nullptr;
    for (std::size_t field = 0; field < arguments.size() / 2; ++field) {
        const ndArray_tag* const value = arguments[2 * field + 1];
        if (!is_cell(value) || element_count(value) != 0) in_force = value;
        fill_field(values.get(), field * count, count, in_force, shared);
    }
    return values;
}

array_ptr names_in(const argument_list& arguments, sharing_rollback& shared) {
    const std::size_t dims[] = {1, arguments.size() / 2};
    array_ptr names = detail::do_create_cell(dims);
    for (std::size_t field = 0; field < dims[1]; ++field)
        share_into_slot(names.get(), field, arguments[2 * field], shared);
    return names;
}

// Arguments are shared one by one, and what is built of them may fail then: after that they are as they were.
array_ptr convert(const argument_list& arguments, ndVariableScope scope) {
    const std::vector<std::size_t> shape = shape_of_result(arguments);
    sharing_rollback shared;
    const array_ptr values = values_in(arguments, shape, shared);
    const array_ptr names = names_in(arguments, shared);
    array_ptr result = struct_from_cell(values.get(), names.get(), shape.size() + 1, scope);
    shared.keep();
    return result;
}

array_ptr convert(int nrhs, const ndArray_tag* const* prhs, ndVariableScope scope) {
    return convert(arguments_of<const ndArray_tag*>(
                       nrhs, prhs, [](const ndArray_tag* const& array) { return writable(array); }),
                   scope);
}

} // namespace

array_ptr struct_conversion_fcn(int nrhs, ndArray_tag* const* prhs) {
    return convert(arguments_of<ndArray_tag*>(nrhs, prhs, [](ndArray_tag* const& array) { return array; }),
                   ndLOCAL_SCOPE);
}

array_ptr struct_conversion_fcn(int nrhs, const ndArray_tag* const* prhs) {
    return convert(nrhs, prhs, ndLOCAL_SCOPE);
}

array_ptr struct_conversion_fcn(int nrhs, const array_ptr* prhs) {
    return convert(arguments_of<array_ptr>(nrhs, prhs, [](const array_ptr& array) { return array.get(); }),
                   ndLOCAL_SCOPE);
}

array_ptr struct_conversion_fcn(int nrhs,
                                const std::unique_ptr<const ndArray_tag, detail::ndDestroy_deleter>* prhs) {
    using const_array_ptr = std::unique_ptr<const ndArray_tag, detail::ndDestroy_deleter>;
    return convert(arguments_of<const_array_ptr>(
                       nrhs, prhs, [](const const_array_ptr& array) { return writable(array.get()); }),
                   ndLOCAL_SCOPE);
}

} // namespace matrix

namespace matrix::detail::noninlined::nd_array_api {

void ndStructureConversionFcn(ndArray_tag** result, int nrhs, const ndArray_tag* const* prhs) {
    ndArray_tag* const made =
        internal::framed_creator([=] { return convert(nrhs, prhs, ndTEMPORARY_SCOPE); });
    if (made != nullptr) *result = made;
}

} // namespace matrix::detail::noninlined::nd_array_api
