// Arrays on their way between smart pointers and callers that know plain pointers and scopes.
#include "matrix/accessors.hpp"
#include "matrix/class_table.hpp"
#include "matrix/scope.hpp"
#include "matrix/sharing.hpp"

#include <nd/share.hpp>

#include <stdexcept>
#include <string>

namespace matrix {

using namespace internal;

namespace {

constexpr const char* scope_names[] = {"ndLOCAL_SCOPE",    "ndLOCAL_STATIC_SCOPE", "ndGLOBAL_SCOPE",
                                       "ndMEMBER_SCOPE",   "ndTEMPORARY_SCOPE",    "ndPERSISTENT_SCOPE",
                                       "ndPROPERTY_SCOPE", "ndUNKNOWN_SCOPE"};

bool is_handed_around(std::uint32_t scope) noexcept {
    return scope == ndLOCAL_SCOPE || scope == ndTEMPORARY_SCOPE;
}

[[noreturn]] void refuse_scope(std::uint32_t scope) {
    const char* const name = scope < std::size(scope_names) ? scope_names[scope] : "a scope out of range";
    throw std::invalid_argument(std::string("Cannot make unique ") + name);
}

// Containers could hold shared elements, so they never pass.
bool is_unique(const ndArray_tag* array) noexcept {
    return header_owners(array) < 2 && !has_shared_data(array) && !has_borrowed_data(array) &&
           !can_hold_references(array->class_id);
}

} // namespace

ndArray_tag* to_tarvel(array_ptr&& ptr) {
    if (ptr) set_scope(ptr.get(), ndTEMPORARY_SCOPE);
    return ptr.release();
}

array_ptr from_tarvel(ndArray_tag* array) {
    if (array == nullptr) return nullptr;
    if (!is_handed_around(array->scope)) {
        end_for_sharing_fault("Input to from_tarvel must have temporary or local scope", __PRETTY_FUNCTION__);
    }
    set_scope(array, ndLOCAL_SCOPE);
    return array_ptr(array);
}

array_ptr from_tarvel_old(ndArray_tag* array) {
    if (array == nullptr) return nullptr;
    if ((array->flags & flag_data_private) != 0)
        throw std::invalid_argument("Cannot make unique if data is private");
    if (!is_handed_around(array->scope)) refuse_scope(array->scope);
    if (is_unique(array)) {
        set_scope(array, ndLOCAL_SCOPE);
        return array_ptr(array);
    }
    array_ptr copy = detail::do_deep_copy(array);
    destroyArray(array);
    return copy;
}

} // namespace matrix
