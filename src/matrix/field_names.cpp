// Name sets in and out of headers.
#include "matrix/field_names.hpp"

#include "matrix/object_info.hpp"

#include <array>
#include <cstring>

namespace matrix::internal {
namespace {

constexpr std::size_t info_a_offset = offsetof(ndArray_tag, info_a);
static_assert(sizeof(name_set_ptr) == 2 * sizeof(std::uint64_t) &&
              offsetof(ndArray_tag, info_b) == info_a_offset + sizeof(std::uint64_t));

std::byte* words_of(ndArray_tag* array) noexcept {
    return reinterpret_cast<std::byte*>(array) + info_a_offset;
}

// A shared_ptr that isn't ended when it goes out of scope: its bytes came from a header or are on the way into one.
class words_of_pointer {
public:
    name_set_ptr& pointer() noexcept { return *std::launder(reinterpret_cast<name_set_ptr*>(bytes_.data())); }
    std::byte* bytes() noexcept { return bytes_.data(); }

private:
    alignas(name_set_ptr) std::array<std::byte, sizeof(name_set_ptr)> bytes_;
};

} // namespace

name_set_ptr take_names(ndArray_tag* array) noexcept {
    words_of_pointer words;
    std::memcpy(words.bytes(), words_of(array), sizeof(name_set_ptr));
    array->info_a = array->info_b = 0;
    return std::move(words.pointer()); // what is left behind owns nothing
}

void put_names(ndArray_tag* array, name_set_ptr set) noexcept {
    words_of_pointer words;
    ::new (words.bytes()) name_set_ptr(std::move(set));
    std::memcpy(words_of(array), words.bytes(), sizeof(name_set_ptr));
}

long name_set_owners(const ndArray_tag* array) noexcept {
    words_of_pointer words;
    std::memcpy(words.bytes(), reinterpret_cast<const std::byte*>(array) + info_a_offset,
                sizeof(name_set_ptr));
    return words.pointer().use_count();
}

void copy_struct_info(const ndArray_tag* source, ndArray_tag* copy) {
    copy->info_c = copy_object_info(source->info_c);
    words_of_pointer words;
    std::memcpy(words.bytes(), reinterpret_cast<const std::byte*>(source) + info_a_offset,
                sizeof(name_set_ptr));
    put_names(copy, words.pointer());
}

void release_struct_info(ndArray_tag* array) noexcept {
    take_names(array);
    free_object_info(array->info_c);
    array->info_c = 0;
}

} // namespace matrix::internal
