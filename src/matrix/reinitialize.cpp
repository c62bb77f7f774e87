// A live header begins anew as another class.
#include "matrix/class_hooks.hpp"
#include "matrix/empty_header.hpp"
#include "matrix/gc_list.hpp"
#include "matrix/header_factory.hpp"

#include <nd/assignment.hpp>

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

void ndReInitArray2Type(ndArray_tag* a, ndArrayType type) {
    const auto code = NdArrayTypeId{static_cast<std::uint32_t>(type)};
    const bool known = is_class(class_of(code)) && static_cast<std::uint32_t>(type) < code_count;
    empty_header(a);
    a->class_id = known ? class_of(code) : ndUNKNOWN_CLASS;
    a->flags = known ? flags_of_code(code) : 0;
    store_inline_dims(a, 1, 1);
    if (a->class_id == ndOBJECT_CLASS) become_object(a);
    if (can_hold_references(a->class_id)) add_to_gc_list(a);
}

} // namespace matrix::detail::noninlined::nd_array_api
