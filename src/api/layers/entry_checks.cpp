// The refusals of class numbers; out of line, since the stubs are jumps.
#include "api/layers/entry_checks.hpp"

#include "errors/raise.hpp"
#include "matrix/frame.hpp"

#include <nd/messages.hpp>

namespace matrix::detail::noninlined::entry_checks {

ndArray_tag* refuse_class_id() {
    return internal::framed([]() -> ndArray_tag* { errors::raise<TARVEL::legacy_two_part::badargs>(); });
}

ndArray_tag* refuse_struct_class() {
    return internal::framed(
        []() -> ndArray_tag* { errors::raise<TARVEL::legacy_two_part::numericArgRequired>(); });
}

} // namespace matrix::detail::noninlined::entry_checks
