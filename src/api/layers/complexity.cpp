// The tests that stand before a change of complexity.
#include "api/layers/complexity.hpp"

#include "matrix/accessors.hpp"
#include "matrix/sharing.hpp"

#include <nd/interleaved.hpp>

namespace matrix::detail::noninlined::entry_points {
namespace {

using namespace internal;

bool is_callers_alone(const ndArray_tag* array) noexcept {
    return array != nullptr && (array->flags & flag_numeric) != 0 &&
           (array->flags & flag_data_private) == 0 && header_owners(array) < 2 && !has_shared_data(array);
}

} // namespace

int ndMakeArrayComplex(ndArray_tag* array) {
    if (!is_callers_alone(array)) return 0;
    nd_array_api::ndInflateRealToComplex(array);
    return is_complex(array) ? 1 : 0;
}

int ndMakeArrayReal(ndArray_tag* array) {
    if (!is_callers_alone(array)) return 0;
    nd_array_api::ndDeflateComplexToReal(array);
    return is_complex(array) ? 0 : 1;
}

} // namespace matrix::detail::noninlined::entry_points
