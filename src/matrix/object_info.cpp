// The object record of a header, and its accessors. Opaque arrays, whose words lie in the same place, have theirs here too.
#include "matrix/object_info.hpp"

#include "matrix/class_hooks.hpp"
#include "matrix/frame.hpp"

#include <libbase/symbol_table.hpp>

#include <nd/access.hpp>

namespace matrix::internal {

void write_object_info(ndArray_tag* array, const object_info& info) {
    if (array->info_c != 0) {
        *std::bit_cast<object_info*>(array->info_c) = info;
    } else if (info != object_info()) {
        array->info_c = std::bit_cast<std::uint64_t>(new object_info(info));
    }
}

void free_object_info(ndArray_tag* array) noexcept {
    delete std::bit_cast<object_info*>(array->info_c);
    array->info_c = 0;
}

namespace {

const char* symbol_or_null(const char* name) { return name == nullptr ? nullptr : base_symtab_add(name); }

// info_b of an opaque header.
struct opaque_words {
    std::int32_t tag_index;
    std::uint32_t bits;
};

} // namespace
} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

const char* ndGetObjectClassName(const ndArray_tag* array) { return read_object_info(array).class_name; }

void ndSetObjectClassName(ndArray_tag* array, const char* name) {
    framed([=] {
        object_info info = read_object_info(array);
        info.class_name = symbol_or_null(name);
        write_object_info(array, info);
    });
}

std::int32_t ndGetObjectTagIndex(const ndArray_tag* array) { return read_object_info(array).tag_index; }

void ndSetObjectTagIndex(ndArray_tag* array, std::int32_t tagIndex) {
    framed([=] {
        object_info info = read_object_info(array);
        info.tag_index = tagIndex;
        write_object_info(array, info);
    });
}

std::uint32_t ndGetObjectCheckSum(const ndArray_tag* array) { return read_object_info(array).check_sum; }

void ndSetObjectCheckSum(ndArray_tag* array, std::uint32_t checkSum) {
    framed([=] {
        object_info info = read_object_info(array);
        info.check_sum = checkSum;
        write_object_info(array, info);
    });
}

int ndSetClassName(ndArray_tag* array, const char* name) {
    if (array->class_id != ndSTRUCT_CLASS || name == nullptr) return 1;
    const bool named = framed([=] {
        object_info info = read_object_info(array);
        info.class_name = base_symtab_add(name);
        write_object_info(array, info);
        return true;
    });
    if (!named) return 1;
    array->class_id = ndOBJECT_CLASS;
    call_object_create_hook(array);
    return 0;
}

xxInfo* ndGetInfo(const ndArray_tag* array) { return std::bit_cast<xxInfo*>(array->info_a); }

void* ndGetOpaqueGiblet(const ndArray_tag* array) { return array->pdata; }
void ndSetOpaqueGiblet(ndArray_tag* array, void* giblet) { array->pdata = giblet; }

std::int32_t ndGetOpaqueObjectTagIndex(const ndArray_tag* array) {
    return std::bit_cast<opaque_words>(array->info_b).tag_index;
}

void ndSetOpaqueObjectTagIndex(ndArray_tag* array, std::int32_t tagIndex) {
    auto words = std::bit_cast<opaque_words>(array->info_b);
    words.tag_index = tagIndex;
    array->info_b = std::bit_cast<std::uint64_t>(words);
}

} // namespace matrix::detail::noninlined::nd_array_api
