// What guards over C strings do with them.
#include <nd/protected.hpp>

#include "matrix/c_strings.hpp"
#include "matrix/text_view.hpp"

#include <libbase/encodings.hpp>
#include <nd/memory.hpp>

#include <cstring>

namespace api = matrix::detail::noninlined::nd_array_api;

char* Kprotected_ndString_helper::toString(const ndArray_tag* array) {
    return api::ndCreateCStrFromArray(array, &api::ndMallocEx);
}

char* Kprotected_ndString_helper::copy(const char* text) {
    if (text == nullptr) return nullptr;
    const std::size_t length = std::strlen(text);
    char* const block = matrix::internal::block_for_text<char>(length, &api::ndMallocEx);
    std::memcpy(block, text, length);
    return block;
}

void Kprotected_ndString_helper::free(char* text) { api::ndFreeEx(text); }

char16_t* Kprotected_ndStringUTF16_helper::toString(const ndArray_tag* array) {
    return api::ndCreateUTF16CStrFromArray(array, &api::ndMallocEx);
}

char16_t* Kprotected_ndStringUTF16_helper::copy(const char16_t* text) {
    if (text == nullptr) return nullptr;
    return matrix::internal::block_of({text, utf16_strlen(text)}, &api::ndMallocEx);
}

void Kprotected_ndStringUTF16_helper::free(char16_t* text) { api::ndFreeEx(text); }
