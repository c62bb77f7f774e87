// Accessors and predicates: one field of the header each.
#include <nd/access.hpp>

#include "matrix/accessors.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/frame.hpp"
#include "matrix/scope.hpp"
#include "matrix/sharing.hpp"

#include <errors/raise.hpp>

#include <nd/messages.hpp>

#include <bit>
#include <cmath>
#include <limits>
#include <new>

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

namespace {

bool has_flag(const ndArray_tag* array, std::uint32_t flag) noexcept { return (array->flags & flag) != 0; }

void put_flag(ndArray_tag* array, std::uint32_t flag, bool on) noexcept {
    array->flags = on ? array->flags | flag : array->flags & ~flag;
}

} // namespace

bool ndIsCell(const ndArray_tag* array) { return array->class_id == ndCELL_CLASS; }
bool ndIsChar(const ndArray_tag* array) { return array->class_id == ndCHAR_CLASS; }
bool ndIsDouble(const ndArray_tag* array) { return array->class_id == ndDOUBLE_CLASS; }
bool ndIsSingle(const ndArray_tag* array) { return array->class_id == ndSINGLE_CLASS; }
bool ndIsLogical(const ndArray_tag* array) { return array->class_id == ndLOGICAL_CLASS; }
bool ndIsFunctionHandle(const ndArray_tag* array) { return array->class_id == ndFUNCTION_CLASS; }
bool ndIsOpaque(const ndArray_tag* array) { return array->class_id == ndOPAQUE_CLASS; }
bool ndIsObject(const ndArray_tag* array) { return array->class_id == ndOBJECT_CLASS; }
bool ndIsInt8(const ndArray_tag* array) { return array->class_id == ndINT8_CLASS; }
bool ndIsInt16(const ndArray_tag* array) { return array->class_id == ndINT16_CLASS; }
bool ndIsInt32(const ndArray_tag* array) { return array->class_id == ndINT32_CLASS; }
bool ndIsInt64(const ndArray_tag* array) { return array->class_id == ndINT64_CLASS; }
bool ndIsUint8(const ndArray_tag* array) { return array->class_id == ndUINT8_CLASS; }
bool ndIsUint16(const ndArray_tag* array) { return array->class_id == ndUINT16_CLASS; }
bool ndIsUint32(const ndArray_tag* array) { return array->class_id == ndUINT32_CLASS; }
bool ndIsUint64(const ndArray_tag* array) { return array->class_id == ndUINT64_CLASS; }
bool ndIsStruct(const ndArray_tag* array) { return is_struct_like(array->class_id); }
bool ndIsContainer(const ndArray_tag* array) { return is_container_class(array->class_id); }

bool ndIsNumeric(const ndArray_tag* array) { return has_flag(array, flag_numeric); }
bool ndIsComplex(const ndArray_tag* array) { return is_complex(array); }
bool ndIsSparse(const ndArray_tag* array) { return has_flag(array, flag_sparse); }
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
        array->pdata == nullptr || header_owners(array) > 1 || has_shared_data(array) ||
        has_flag(array, flag_from_global_workspace | flag_sparse | flag_indexing_opaque) ||
        (array->scope & ~std::uint32_t{ndTEMPORARY_SCOPE}) != 0;
    if (flag && may_be_noticed) return;
    put_flag(array, flag_reusable, flag);
}

int ndGetUserBits(const ndArray_tag* array) { return static_cast<int>(array->flags >> flag_user_shift); }

void ndSetUserBits(ndArray_tag* array, int bits) {
    array->flags = (array->flags & ~flag_user_mask) | (static_cast<std::uint32_t>(bits) << flag_user_shift);
}

ndVariableScope ndGetArrayScope(const ndArray_tag* array) {
    return static_cast<ndVariableScope>(array->scope);
}

void ndSetArrayScope(ndArray_tag* array, ndVariableScope scope) { set_scope(array, scope); }

kvSize ndGetNumberOfDimensions(const ndArray_tag* array) { return dims_of(array).size(); }

const kvSize* ndGetDimensions(const ndArray_tag* array) {
    complete_dimensions_if_opaque(array);
    return dims_of(array).data();
}

kvSize ndGetM(const ndArray_tag* array) {
    complete_dimensions_if_opaque(array);
    return has_inline_dims(array) ? array->m_or_dims : dims_block(array)[0];
}

kvSize ndGetN(const ndArray_tag* array) {
    complete_dimensions_if_opaque(array);
    if (has_inline_dims(array)) return array->n_or_ndims;
    kvSize product = 1;
    for (const std::size_t dim : dims_of(array).subspan(1)) product *= dim;
    return product;
}

kvSize ndGetNumberOfElements(const ndArray_tag* array) {
    complete_dimensions_if_opaque(array);
    return element_count(array);
}

bool ndIsEmpty(const ndArray_tag* array) {
    complete_dimensions_if_opaque(array);
    for (const std::size_t dim : dims_of(array)) {
        if (dim == 0) return true;
    }
    return false;
}

namespace {

// The block's size is a function of the tracked count: a larger count would make the promise of spare room a lie.
void forget_capacity_if_larger(ndArray_tag* array, std::size_t old_count) noexcept {
    if (element_count(array) > old_count) put_flag(array, flag_capacity_tracked, false);
}

} // namespace

void ndSetM(ndArray_tag* array, kvSize m) {
    const std::size_t old_count = element_count(array);
    if (has_inline_dims(array)) {
        array->m_or_dims = m;
    } else {
        dims_block(array)[0] = m;
    }
    put_flag(array, flag_scalar_double, false);
    forget_capacity_if_larger(array, old_count);
}

void ndSetN(ndArray_tag* array, kvSize n) {
    const std::size_t old_count = element_count(array);
    if (!has_inline_dims(array)) {
        const std::size_t m = dims_block(array)[0];
        free_dims(array);
        array->m_or_dims = m;
    }
    array->n_or_ndims = n;
    put_flag(array, flag_scalar_double, false);
    forget_capacity_if_larger(array, old_count);
}

int ndSetDimensions(ndArray_tag* array, const kvSize* dims, kvSize ndim) {
    const std::size_t old_count = element_count(array);
    try {
        array->set_dimensions({dims, ndim});
    } catch (const std::bad_alloc&) {
        return 1;
    }
    forget_capacity_if_larger(array, old_count);
    return 0;
}

void* ndGetData(const ndArray_tag* array) { return array->pdata; }
char16_t* ndGetChars(const ndArray_tag* array) { return static_cast<char16_t*>(array->pdata); }
bool* ndGetLogicals(const ndArray_tag* array) { return static_cast<bool*>(array->pdata); }

std::size_t ndGetElementSize(const ndArray_tag* array) {
    if (has_flag(array, flag_indexing_opaque)) return 0;
    return element_size(internal::code_of(array->class_id, has_flag(array, flag_complex)));
}

double ndGetScalar(const ndArray_tag* array) {
    if (array->pdata == nullptr) return 0.0;
    if (has_flag(array, flag_sparse)) {
        // The first stored value stands for the array; column starts tell whether there is one.
        const auto* column_starts = std::bit_cast<const std::size_t*>(array->info_b);
        if (column_starts == nullptr || column_starts[array->n_or_ndims] == 0) return 0.0;
    }
    double value = 0.0;
    with_element_type(array->class_id, [&]<class Row>(Row) {
        value = static_cast<double>(*static_cast<const typename Row::type*>(array->pdata));
    });
    return value;
}

double ndGetEps() { return std::numeric_limits<double>::epsilon(); }
double ndGetInf() { return std::numeric_limits<double>::infinity(); }
double ndGetNaN() { return std::bit_cast<double>(std::uint64_t{0xFFF8'0000'0000'0000}); }
bool ndIsFinite(double x) { return std::fabs(x) <= std::numeric_limits<double>::max(); }
bool ndIsInf(double x) { return std::fabs(x) > std::numeric_limits<double>::max(); }
bool ndIsNaN(double x) { return std::isunordered(x, x); }

namespace published {

void* ndGetData(const ndArray_tag* array) { return array == nullptr ? nullptr : array->pdata; }

std::size_t ndGetElementSize(const ndArray_tag* array) {
    return array == nullptr ? 0 : nd_array_api::ndGetElementSize(array);
}

double* ndGetPr(const ndArray_tag* array) {
    if (array == nullptr) return nullptr;
    return framed([=] {
        if (is_complex(array)) errors::raise<TARVEL::matrix::illegalComplexArray>();
        return static_cast<double*>(array->pdata);
    });
}

} // namespace published
} // namespace matrix::detail::noninlined::nd_array_api
