// Flags and scope of a header: tests of one bit, and the few writers with a rule of their own.
#include "matrix/accessors.hpp"
#include "matrix/flag_words.hpp"
#include "matrix/scope.hpp"
#include "matrix/sharing.hpp"

#include <nd/access.hpp>

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

bool ndIsNumeric(const ndArray_tag* array) { return has_flag(array, flag_numeric); }
bool ndIsComplex(const ndArray_tag* array) { return is_complex(array); }
bool ndIsSparse(const ndArray_tag* array) { return has_flag(array, flag_sparse); }
bool ndIsColonObj(const ndArray_tag* array) { return has_flag(array, flag_colon_object); }
bool ndIsIndexingOpaque(const ndArray_tag* array) { return has_flag(array, flag_indexing_opaque); }
bool ndIsFromGlobalWS(const ndArray_tag* array) { return has_flag(array, flag_from_global_workspace); }
void ndSetFromGlobalWS(ndArray_tag* array, bool flag) { put_flag(array, flag_from_global_workspace, flag); }
bool ndIsEmptySqrBrktArray(const ndArray_tag* array) { return has_flag(array, flag_empty_square_bracket); }
void ndSetEmptySqrBrktFlag(ndArray_tag* array) { put_flag(array, flag_empty_square_bracket, true); }
void ndClearEmptySqrBrktFlag(ndArray_tag* array) { put_flag(array, flag_empty_square_bracket, false); }
bool ndIsScalarDoubleFlagSet(const ndArray_tag* array) { return has_flag(array, flag_scalar_double); }
void ndSetScalarDoubleFlag(ndArray_tag* array) { put_flag(array, flag_scalar_double, true); }
void ndClearScalarDoubleFlag(ndArray_tag* array) { put_flag(array, flag_scalar_double, false); }
bool ndIsReusable(const ndArray_tag* array) { return has_flag(array, flag_reusable); }

void ndSetReusable(ndArray_tag* array, bool flag) {
    const bool may_be_noticed =
        array->pdata == nullptr || ndIsSharedArray(array) ||
        has_flag(array, flag_from_global_workspace | flag_sparse | flag_indexing_opaque) ||
        (array->scope & ~std::uint32_t{ndTEMPORARY_SCOPE}) != 0;
    if (flag && may_be_noticed) return;
    put_flag(array, flag_reusable, flag);
}

bool ndIsDataPrivate(const ndArray_tag* array) { return has_flag(array, flag_data_private); }

void ndSetDataPrivateFlag(ndArray_tag* array, bool flag) {
    // A bin would hand out a block that isn't the library's.
    if (flag) put_flag(array, flag_cached_header | flag_bin_mask, false);
    put_flag(array, flag_data_private, flag);
}

bool ndIsShareDataPrivate(const ndArray_tag* array) { return has_flag(array, flag_share_data_private); }

bool ndIsSharedArray(const ndArray_tag* array) { return header_owners(array) > 1 || has_shared_data(array); }

int ndGetUserBits(const ndArray_tag* array) { return static_cast<int>(array->flags >> flag_user_shift); }

void ndSetUserBits(ndArray_tag* array, int bits) {
    array->flags = (array->flags & ~flag_user_mask) | (static_cast<std::uint32_t>(bits) << flag_user_shift);
}

ndVariableScope ndGetArrayScope(const ndArray_tag* array) {
    return static_cast<ndVariableScope>(array->scope);
}

ndVariableScope ndGetArrayScopeField(const ndArray_tag* array) { return ndGetArrayScope(array); }
bool ndIsGlobal(const ndArray_tag* array) { return array->scope == ndGLOBAL_SCOPE; }
bool ndIsLocal(const ndArray_tag* array) { return array->scope == ndLOCAL_SCOPE; }
bool ndIsTemp(const ndArray_tag* array) { return array->scope == ndTEMPORARY_SCOPE; }

void ndSetArrayScope(ndArray_tag* array, ndVariableScope scope) { set_scope(array, scope); }

} // namespace matrix::detail::noninlined::nd_array_api
