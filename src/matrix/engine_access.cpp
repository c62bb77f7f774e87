// The published positions of header fields.
#include <nd/access.hpp>
#include <nd/engine_access.hpp>

#include "matrix/accessors.hpp"

namespace matrix::engine_access {

NdArrayOffsets::NdArrayOffsets()
    : pdata(offsetof(ndArray_tag, pdata)),
      share_record(offsetof(ndArray_tag, share_record)),
      scope(offsetof(ndArray_tag, scope)),
      ref_count(offsetof(ndArray_tag, ref_count)),
      internal_ref_count(offsetof(ndArray_tag, internal_ref_count)),
      flags(offsetof(ndArray_tag, flags)),
      root_record(offsetof(ndArray_tag, root_record)),
      first_dims{offsetof(ndArray_tag, m_or_dims), offsetof(ndArray_tag, n_or_ndims)},
      second_dims{offsetof(ndArray_tag, m_or_dims), offsetof(ndArray_tag, n_or_ndims)},
      masks{flag_scalar_double,
            flag_share_data_private,
            flag_empty_square_bracket,
            flag_from_global_workspace,
            flag_sparse,
            flag_colon_object,
            flag_data_private,
            flag_numeric,
            flag_indexing_opaque,
            flag_reusable,
            flag_capacity_tracked,
            flag_complex,
            flag_shared_data,
            flag_cached_header,
            flag_inline_dims,
            flag_single_threaded_sharing} {}

bool mightBeShared(const ndArray_tag* array) {
    if (array == nullptr) return false;
    return internal::header_owners(array) > 1 || (array->flags & flag_shared_data) != 0;
}

} // namespace matrix::engine_access

namespace matrix::detail::noninlined::nd_array_api {

using engine_access::NdArrayOffsets;

std::size_t ndGetPdataOffset() { return NdArrayOffsets().pdata; }
std::size_t ndGetControlBlockOffset() { return NdArrayOffsets().share_record; }
std::size_t ndGetScopeOffset() { return NdArrayOffsets().scope; }
std::size_t ndGetReferenceCountOffset() { return NdArrayOffsets().ref_count; }
std::size_t ndGetDimMOffset() { return NdArrayOffsets().first_dims[0]; }
std::size_t ndGetDimNOffset() { return NdArrayOffsets().first_dims[1]; }

} // namespace matrix::detail::noninlined::nd_array_api
