// How many bytes the data of an array take, elements of containers included. The walk goes down with a list of its own, so that
// any depth of nesting takes constant stack.
#include "matrix/accessors.hpp"
#include "matrix/containers.hpp"
#include "matrix/flag_words.hpp"
#include "matrix/frame.hpp"
#include "matrix/sparse_parts.hpp"

#include <boost/container/small_vector.hpp>

#include <nd/access.hpp>

namespace matrix::internal {
namespace {

constexpr std::size_t inline_levels = 16;

/// The slots of a container that are still to be counted.
struct level {
    ndArray_tag* const* next;
    ndArray_tag* const* end;
};
using levels = boost::container::small_vector<level, inline_levels>;

/// The blocks of the header itself. Sparse: values, rows and column starts.
std::size_t own_bytes(const ndArray_tag* array) noexcept {
    constexpr std::size_t word = sizeof(std::size_t);
    if (has_flag(array, flag_indexing_opaque)) return 0;
    if (is_container_class(array->class_id)) return slot_count(array) * sizeof(ndArray_tag*);
    if (has_flag(array, flag_sparse)) {
        return array->info_c * (stored_element_size(array) + word) + (column_count(array) + 1) * word;
    }
    return element_count(array) * stored_element_size(array);
}

void enter_if_container(levels& pending, const ndArray_tag* array) {
    if (!is_container_class(array->class_id) || array->pdata == nullptr) return;
    ndArray_tag* const* const slots = slots_of(array);
    pending.push_back({slots, slots + slot_count(array)});
}

std::size_t total_bytes(const ndArray_tag* array) {
    std::size_t total = own_bytes(array);
    levels pending;
    enter_if_container(pending, array);
    while (!pending.empty()) {
        level& deepest = pending.back();
        if (deepest.next == deepest.end) {
            pending.pop_back();
            continue;
        }
        const ndArray_tag* const element = *deepest.next++;
        if (element == nullptr) continue;
        total += own_bytes(element);
        enter_if_container(pending, element);
    }
    return total;
}

} // namespace
} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

kvSize ndGetNumberOfBytes(const ndArray_tag* array, kvSize* out) {
    return internal::framed([=] {
        const kvSize total = array == nullptr ? 0 : internal::total_bytes(array);
        if (out != nullptr) *out = total;
        return total;
    });
}

} // namespace matrix::detail::noninlined::nd_array_api
