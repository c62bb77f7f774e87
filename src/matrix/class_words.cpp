// The words of the header that go by class: the record of an object, and what an opaque array keeps for its class system.
//
// A reader of the object record takes a missing one for a record of zeros. A writer makes it, unless it would be of zeros.
#include "matrix/class_hooks.hpp"
#include "matrix/frame.hpp"
#include "matrix/object_info.hpp"

#include <libbase/symbol_table.hpp>

#include <nd/access.hpp>

#include <utility>

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

namespace {

constexpr object_info no_info{nullptr, 0, 0};

const object_info& info_of(const ndArray_tag* array) noexcept {
    const object_info* const info = object_info_of(array);
    return info == nullptr ? no_info : *info;
}

// Stores one field of the record. Raises std::bad_alloc for the record; the array is then unchanged.
template <class Field>
void store(ndArray_tag* array, Field object_info::*field, Field value) {
    if (info_of(array).*field == value) return;
    if (object_info_of(array) == nullptr)
        array->info_c = std::bit_cast<std::uint64_t>(new object_info(no_info));
    object_info_of(array)->*field = value;
}

void store_name(ndArray_tag* array, const char* name) {
    store(array, &object_info::class_name, name == nullptr ? nullptr : base_symtab_add(name));
}

// A struct on the way to an object: a struct again, with the words that it had, unless its hook lets it pass.
class named_object {
public:
    named_object(ndArray_tag* array, const char* name)
        : array_(array), had_record_(object_info_of(array) != nullptr), before_(info_of(array)) {
        store_name(array, name);
        array->class_id = ndOBJECT_CLASS;
    }
    ~named_object() {
        if (array_ == nullptr) return;
        array_->class_id = ndSTRUCT_CLASS;
        if (had_record_) {
            *object_info_of(array_) = before_;
        } else {
            free_object_info(std::exchange(array_->info_c, 0));
        }
    }
    named_object(const named_object&) = delete;
    named_object& operator=(const named_object&) = delete;

    void commit() noexcept { array_ = nullptr; }

private:
    ndArray_tag* array_;
    bool had_record_;
    object_info before_;
};

// info_b of an opaque header.
struct opaque_words {
    std::int32_t tag_index;
    std::uint32_t bits;
};

} // namespace

const char* ndGetObjectClassName(const ndArray_tag* array) { return info_of(array).class_name; }

void ndSetObjectClassName(ndArray_tag* array, const char* name) {
    framed([=] { store_name(array, name); });
}

std::int32_t ndGetObjectTagIndex(const ndArray_tag* array) { return info_of(array).tag_index; }

void ndSetObjectTagIndex(ndArray_tag* array, std::int32_t tagIndex) {
    framed([=] { store(array, &object_info::tag_index, tagIndex); });
}

std::uint32_t ndGetObjectCheckSum(const ndArray_tag* array) { return info_of(array).check_sum; }

void ndSetObjectCheckSum(ndArray_tag* array, std::uint32_t checkSum) {
    framed([=] { store(array, &object_info::check_sum, checkSum); });
}

int ndSetClassName(ndArray_tag* array, const char* name) {
    if (array->class_id != ndSTRUCT_CLASS || name == nullptr) return 1;
    const bool named = framed([=] {
        named_object made(array, name);
        call_object_create_hook(array);
        made.commit();
        return true;
    });
    return named ? 0 : 1;
}

xxInfo* ndGetInfo(const ndArray_tag* array) { return std::bit_cast<xxInfo*>(array->info_a); }

void* ndGetOpaqueGiblet(const ndArray_tag* array) { return array->pdata; }

void ndSetOpaqueGiblet(ndArray_tag* array, void* giblet) {
    // The giblet is the class's: no bin may lend it to another array.
    if (giblet != array->pdata) array->flags &= ~(flag_cached_header | flag_bin_mask);
    array->pdata = giblet;
}

std::int32_t ndGetOpaqueObjectTagIndex(const ndArray_tag* array) {
    return std::bit_cast<opaque_words>(array->info_b).tag_index;
}

void ndSetOpaqueObjectTagIndex(ndArray_tag* array, std::int32_t tagIndex) {
    auto words = std::bit_cast<opaque_words>(array->info_b);
    words.tag_index = tagIndex;
    array->info_b = std::bit_cast<std::uint64_t>(words);
}

} // namespace matrix::detail::noninlined::nd_array_api
