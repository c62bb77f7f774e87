// Text for addon functions: C strings in blocks that the library frees when the call ends.
#pragma once

#include <nd/array.hpp>

namespace matrix::detail::noninlined::entry_points {

/// nd_array_api::ndCreateCStrFromArray and its kin, with ndMalloc.
char* ndArrayToString(const ndArray_tag* array);
unsigned char* ndArrayToString_UTF8(const ndArray_tag* array);
char16_t* ndArrayToString_UTF16(const ndArray_tag* array);

} // namespace matrix::detail::noninlined::entry_points
