// Walking containers with a list of what is still to be looked at, not by recursion: they may be nested to any depth.
#include "elements.hpp"

#include <nd/nd.h>

#include <algorithm>
#include <functional>
#include <iterator>

namespace nd_host {

namespace {

// Elements, times fields for struct and object; none for anything else.
std::size_t slot_count(const ndArray_tag* array) {
    switch (array->class_id) {
    case ndCELL_CLASS:
        return ndGetNumberOfElements(array);
    case ndSTRUCT_CLASS:
    case ndOBJECT_CLASS:
        return ndGetNumberOfElements(array) * static_cast<std::size_t>(array->get_number_of_struct_fields());
    default:
        return 0;
    }
}

} // namespace

// Elements that are containers are walked in their turn: those behind next haven't been looked into.
void element_index::add(const ndArray_tag* array) {
    std::size_t next = elements_.size();
    for (;;) {
        const std::size_t count = slot_count(array);
        if (count != 0 && array->pdata != nullptr && blocks_.insert(array->pdata).second) {
            const auto* const slots = static_cast<const ndArray_tag* const*>(array->pdata);
            std::copy_if(slots, slots + count, std::back_inserter(elements_),
                         [](const ndArray_tag* element) { return element != nullptr; });
        }
        if (next == elements_.size()) {
            return;
        }
        array = elements_[next++];
    }
}

void element_index::sort() { std::sort(elements_.begin(), elements_.end(), std::less<>()); }

std::size_t element_index::slots_with(const ndArray_tag* array) const noexcept {
    const auto range = std::equal_range(elements_.begin(), elements_.end(), array, std::less<>());
    return static_cast<std::size_t>(range.second - range.first);
}

} // namespace nd_host
