// Changing the scope of an array.
#include "matrix/scope.hpp"

#include "matrix/array_list.hpp"
#include "matrix/root_record.hpp"

namespace matrix::internal {

void set_scope(ndArray_tag* array, ndVariableScope scope) {
    const std::uint32_t old_scope = array->scope;
    if (old_scope == scope) return;
    if (scope == ndTEMPORARY_SCOPE && !add_to_array_list(array)) scope = ndLOCAL_SCOPE;
    if (old_scope == ndTEMPORARY_SCOPE) leave_array_list(array);
    array->scope = scope;
    update_root_for_scope(array);
}

} // namespace matrix::internal
