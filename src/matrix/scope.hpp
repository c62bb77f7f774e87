// The scope of an array, and with it the doors of the array list. An array stands on the list exactly while its scope is temporary.
//
// set_scope is the door for an array that lives. New arrays come in, and arrays that end go out, by short ways that look at the
// list alone: make_temporary_at_once, leave_list_at_once and leave_list_in_order here, and leave_array_list in destroy.cpp. The
// root record of an array hears of a change from set_scope only; an array on one of the short ways has none, or gives it up.
#pragma once

#include "matrix/library_context.hpp"

#include <nd/array.hpp>

namespace matrix::internal {

/// Changes the scope. A new scope of temporary puts the array on the array list, and is stored as local when no list takes
/// it; leaving temporary takes the array off. Raises what adding to the list raises; the array is then unchanged.
void set_scope(ndArray_tag* array, ndVariableScope scope);

/// set_scope(array, ndTEMPORARY_SCOPE) for a new array, where that comes down to an append; false when it doesn't, and
/// nothing is done then.
[[gnu::always_inline]] inline bool make_temporary_at_once(ndArray_tag* array) noexcept {
    MatrixLibraryContext* const context = find_context();
    if (context == nullptr || !context->array_list.add_at_once(array)) return false;
    array->scope = ndTEMPORARY_SCOPE;
    return true;
}

/// Takes a temporary off its list where it is the newest one there; false when it isn't, and nothing is done then.
[[gnu::always_inline]] inline bool leave_list_at_once(ndArray_tag* array) noexcept {
    MatrixLibraryContext* const context = find_context();
    return context != nullptr && context->array_list.remove_at_once(array);
}

/// The same where the array isn't the newest one, but arrays are leaving in the order of their creation.
[[gnu::always_inline]] inline bool leave_list_in_order(ndArray_tag* array) noexcept {
    MatrixLibraryContext* const context = find_context();
    return context != nullptr && context->array_list.remove_in_order(array);
}

} // namespace matrix::internal
