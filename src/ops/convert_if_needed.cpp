// Arrays brought to a class, to full or to sparse storage: the array itself where it is so already.
//
// One decision for each of the three, which gives a new array or null for "as it is"; three ways to hand it out.
#include "ops/convert_buffer.hpp"
#include "ops/sparse_conversion.hpp"

#include "matrix/accessors.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/colon_layout.hpp"

#include <errors/raise.hpp>

#include <nd/access.hpp>
#include <nd/convert.hpp>
#include <nd/messages.hpp>

#include <utility>

namespace matrix {
namespace {

namespace api = detail::noninlined::nd_array_api;
using namespace internal;
using counted_ptr = boost::intrusive_ptr<ndArray_tag>;

[[gnu::noinline, gnu::cold, noreturn]] void raise_no_conversion(const ndArray_tag* array, ndClassID target) {
    errors::raise<TARVEL::legacy_two_part::invalidConversion>(api::ndGetClassName(array),
                                                              api::ndArrayClassIDName(target));
}

// Structs, cells and function handles are never converted here, not even where a converted copy exists. A colon object has the
// class, but not as data.
array_ptr converted(const ndArray_tag* array, ndClassID target) {
    if (array->class_id == target && !is_colon_object(array)) return nullptr;
    array_ptr result;
    if (has_scalars(array->class_id)) {
        if (target == ndCHAR_CLASS && is_complex(array))
            errors::raise<TARVEL::legacy_two_part::noConversionComplexToChar>();
        result = create_converted_copy(array, target);
    } else if (array->class_id == ndOPAQUE_CLASS || array->class_id == ndOBJECT_CLASS) {
        result = create_converted_copy(array, target);
    }
    if (!result) raise_no_conversion(array, target);
    return result;
}

// Sharing the header is the array's affair too: it has one owner more, its value stays.
template <class Change>
counted_ptr counted(const ndArray_tag* array, Change change) {
    if (array == nullptr) return nullptr;
    array_ptr changed = change(array);
    return changed ? counted_ptr(changed.release(), false) : counted_ptr(const_cast<ndArray_tag*>(array));
}

template <class Change>
array_ptr owned(array_ptr&& array, Change change) {
    if (array == nullptr) return nullptr;
    array_ptr changed = change(array.get());
    return changed ? std::move(changed) : std::move(array);
}

} // namespace

counted_ptr convert_if_needed(counted_ptr& array, ndClassID classId) {
    return convert_if_needed(static_cast<const ndArray_tag*>(array.get()), classId);
}
counted_ptr convert_if_needed(const ndArray_tag* array, ndClassID classId) {
    return counted(array, [=](const ndArray_tag* from) { return converted(from, classId); });
}
array_ptr convert_if_needed(array_ptr&& array, ndClassID classId) {
    return owned(std::move(array), [=](const ndArray_tag* from) { return converted(from, classId); });
}

counted_ptr convert_to_full_if_needed(counted_ptr& array) { return counted(array.get(), made_full); }
counted_ptr convert_to_full_if_needed(const ndArray_tag* array) { return counted(array, made_full); }
array_ptr convert_to_full_if_needed(array_ptr&& array) { return owned(std::move(array), made_full); }

counted_ptr convert_to_sparse_if_needed(counted_ptr& array) { return counted(array.get(), made_sparse); }
counted_ptr convert_to_sparse_if_needed(const ndArray_tag* array) { return counted(array, made_sparse); }
array_ptr convert_to_sparse_if_needed(array_ptr&& array) { return owned(std::move(array), made_sparse); }

} // namespace matrix
