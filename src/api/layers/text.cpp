// C strings in managed blocks.
#include "api/layers/text.hpp"

#include <nd/memory.hpp>
#include <nd/text.hpp>

namespace matrix::detail::noninlined::entry_points {

char* ndArrayToString(const ndArray_tag* array) {
    return nd_array_api::ndCreateCStrFromArray(array, &nd_array_api::ndMalloc);
}

unsigned char* ndArrayToString_UTF8(const ndArray_tag* array) {
    return nd_array_api::ndCreateUTF8CStrFromArray(array, &nd_array_api::ndMalloc);
}

char16_t* ndArrayToString_UTF16(const ndArray_tag* array) {
    return nd_array_api::ndCreateUTF16CStrFromArray(array, &nd_array_api::ndMalloc);
}

} // namespace matrix::detail::noninlined::entry_points
