// A copy of an array in another class. Cases in the order in which they are tried:
//
//   colon object                the vector that it stands for, and that in the class
//   same class                  deep copy
//   struct, object              to cell: the slots shared; object to struct: slots of its own over shared values
//   opaque                      its class system answers (class_hooks.hpp): none, while none is registered
//   no scalars                  none: unknown, cell, void, function handle
//   logical, char, numeric
//     to struct and others      when the array has no elements: an empty array of that class
//     sparse                    sparse_conversion.hpp
//     to logical from zeros     a shared copy under another class name, where an element is a byte
//       and ones
//     other full arrays         a new block and one loop over it; small real matrices in line, before all this is asked
#include "ops/convert_buffer.hpp"
#include "ops/sparse_conversion.hpp"

#include "matrix/accessors.hpp"
#include "matrix/array_cache.hpp"
#include "matrix/arraycpy.hpp"
#include "matrix/cell_to_struct.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/frame.hpp"
#include "matrix/header_factory.hpp"
#include "matrix/imaginary_scan.hpp"
#include "matrix/interleave_kernels.hpp"
#include "matrix/numeric_creation.hpp"
#include "matrix/object_info.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/sharing.hpp"

#include <errors/raise.hpp>

#include <nd/access.hpp>
#include <nd/containers.hpp>
#include <nd/convert.hpp>
#include <nd/messages.hpp>

#include <algorithm>
#include <utility>

namespace matrix::internal {
namespace {

// What a converted copy keeps of the flags: whatever says nothing about class, shape, storage or block.
constexpr std::uint32_t flags_kept =
    ~(flags_lost_by_copy | flag_scalar_double | flag_sparse | flag_numeric | flag_complex | flag_inline_dims);

[[gnu::noinline, gnu::cold, noreturn]] void raise_complex() {
    errors::raise<TARVEL::legacy_two_part::nologicalcomplex>();
}

// Blocks of bytes are gathered before they are judged, so that the compiler can use vectors.
bool are_zeros_and_ones(const std::uint8_t* bytes, std::size_t count) noexcept {
    constexpr std::size_t block = 4096;
    while (count != 0) {
        const std::size_t now = std::min(block, count);
        std::uint8_t gathered = 0;
        for (std::size_t i = 0; i < now; ++i) gathered |= bytes[i];
        if (gathered > 1) return false;
        bytes += now;
        count -= now;
    }
    return true;
}

// Private data that may not be shared and lent ones are copied like everything else, and so are data with a separate view: that
// belongs to numbers.
bool can_pass_as_logical(const ndArray_tag* array) noexcept {
    if (stored_element_size(array) != 1) return false;
    if (is_copied_unasked(array) || view_of(array) != nullptr) return false;
    return array->pdata == nullptr ||
           are_zeros_and_ones(static_cast<const std::uint8_t*>(array->pdata), element_count(array));
}

array_ptr shared_as_logical(const ndArray_tag* array, ndVariableScope scope) {
    array_ptr copy = share(array, scope);
    detail::noninlined::nd_array_api::ndSetArrayType(copy.get(), ndLOGICAL_CLASS);
    return copy;
}

// An empty array of any class; of a struct there are no fields either. An object begins as one and its hook is told, as of every
// new header of the class: it will hear of the end.
array_ptr empty_of_class(const ndArray_tag* array, ndClassID target) {
    if (element_count(array) != 0 || !is_class(target)) return nullptr;
    if (is_struct_like(target)) {
        array_ptr made = header_factory::make(code_of(ndSTRUCT_CLASS, false), dims_of(array), 0,
                                              DataInitialization::uninitialized);
        if (target == ndOBJECT_CLASS) become_object(made.get());
        return made;
    }
    return detail::do_create_numeric(dims_of(array), code_of(target, false));
}

array_ptr convert_elements(const ndArray_tag* array, ndClassID target) {
    const bool complex = is_complex(array) && target != ndCHAR_CLASS;
    const NdArrayTypeId code = code_of(target, complex);
    if (array->pdata == nullptr) {
        array_ptr copy = header_factory::make(code, dims_of(array), 0, DataInitialization::uninitialized);
        copy->flags = (copy->flags & ~flag_complex) | (array->flags & flags_kept);
        return copy;
    }
    array_ptr copy = create_numeric(dims_of(array), code, DataInitialization::uninitialized);
    copy->flags |= array->flags & flags_kept;
    const std::size_t count = element_count(array);
    convert_scalars(copy->pdata, target, array->pdata, array->class_id, complex ? 2 * count : count);
    if (complex && !any_imaginary_part(target, copy->pdata, count)) {
        keep_real_parts(target, copy->pdata, count);
        copy->flags &= ~flag_complex;
    }
    return copy;
}

array_ptr convert_scalar_class(const ndArray_tag* array, ndClassID target, ndVariableScope scope) {
    if (!has_scalars(target)) return empty_of_class(array, target);
    if (target == ndLOGICAL_CLASS && is_complex(array)) raise_complex();
    if (target == ndCHAR_CLASS && array->class_id == ndLOGICAL_CLASS) return nullptr;
    bring_data_up_to_date(array);
    if ((array->flags & flag_sparse) != 0) return convert_sparse_class(array, target);
    if (target == ndLOGICAL_CLASS && can_pass_as_logical(array)) return shared_as_logical(array, scope);
    return convert_elements(array, target);
}

// The way of most small arrays: real and full, with two dimensions, into a pair that the cache has ready. Null where the way isn't
// this short, and where a NaN has no logical value: then the long way is taken, and raises.
[[gnu::always_inline]] inline ndArray_tag* convert_at_once(const ndArray_tag* array, ndClassID target) {
    constexpr std::uint32_t special = flag_sparse | flag_complex | flag_colon_object;
    if (array == nullptr || (array->flags & (flag_inline_dims | special)) != flag_inline_dims) return nullptr;
    const std::int32_t source = array->class_id;
    if (source == target || !has_scalars(source) || !has_scalars(target)) return nullptr;
    if (source == ndLOGICAL_CLASS && target == ndCHAR_CLASS) return nullptr;
    if (target == ndLOGICAL_CLASS && element_size(code_of(source, false)) == 1)
        return nullptr; // may be shared
    if (array->pdata == nullptr || view_of(array) != nullptr) return nullptr;
    const std::size_t m = array->m_or_dims;
    const std::size_t n = array->n_or_ndims;
    ndArray_tag* const copy =
        take_ready_pair(code_of(target, false), m, n, DataInitialization::uninitialized);
    if (copy == nullptr) return nullptr;
    if (!try_convert_scalars(copy->pdata, target, array->pdata, source, m * n)) [[unlikely]] {
        const array_ptr ended(copy);
        return nullptr;
    }
    copy->flags |= array->flags & flags_kept;
    return copy;
}

// The copy ends as an object before it goes on as a struct, so that the hooks are called in pairs.
array_ptr object_to_struct(const ndArray_tag* array, ndVariableScope scope) {
    array_ptr copy = shallow_copy(array, scope);
    call_object_destroy_hook(copy.get());
    detail::noninlined::nd_array_api::ndSetArrayType(copy.get(), ndSTRUCT_CLASS);
    free_object_info(std::exchange(copy->info_c, 0));
    return copy;
}

// matrix::create_converted_copy. Only a copy that shares data has the scope already: the list may refuse others later.
array_ptr converted_copy(const ndArray_tag* array, ndClassID classId, ndVariableScope scope) {
    if (array == nullptr) return nullptr;
    if (array_ptr expanded = expand_if_colon_object(array))
        return expanded->class_id == classId ? std::move(expanded)
                                             : convert_scalar_class(expanded.get(), classId, scope);
    if (array->class_id == classId) return detail::do_deep_copy(array);
    if (has_scalars(array->class_id)) return convert_scalar_class(array, classId, scope);
    switch (array->class_id) {
    case ndSTRUCT_CLASS:
        return classId == ndCELL_CLASS ? struct_to_cell(array, scope) : nullptr;
    case ndOBJECT_CLASS:
        if (classId == ndSTRUCT_CLASS) return object_to_struct(array, scope);
        return classId == ndCELL_CLASS ? struct_to_cell(array, scope) : nullptr;
    case ndOPAQUE_CLASS:
        return convert_opaque(array, classId);
    default:
        return nullptr;
    }
}

} // namespace
} // namespace matrix::internal

namespace matrix {

using namespace internal;

array_ptr create_converted_copy(const ndArray_tag* array, ndClassID classId) {
    return converted_copy(array, classId, ndLOCAL_SCOPE);
}

namespace detail::noninlined::nd_array_api {

ndArray_tag* ndCreateConvertedCopy(const ndArray_tag* array, ndClassID classId) {
    if (ndArray_tag* const copy = convert_at_once(array, classId)) return as_temporary(copy);
    return framed_creator([=] { return converted_copy(array, classId, ndTEMPORARY_SCOPE); });
}

ndArray_tag* ndStruct2Cell(const ndArray_tag* array) { return ndCreateConvertedCopy(array, ndCELL_CLASS); }

} // namespace detail::noninlined::nd_array_api
} // namespace matrix
