// Taking outputs. Everything is looked up in sorted vectors: there may be very many outputs.
#include "outputs.hpp"

#include "elements.hpp"

#include <algorithm>
#include <functional>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#    define ND_KNOWS_FREED_MEMORY 1
#elif defined(__has_feature)
#    if __has_feature(address_sanitizer)
#        define ND_KNOWS_FREED_MEMORY 1
#    endif
#endif
#ifdef ND_KNOWS_FREED_MEMORY
#    include <sanitizer/asan_interface.h>
#endif

namespace nd_host {

namespace {

// The arrays of the call's context, for many questions.
class listed_arrays {
public:
    /// False without memory; then none is had.
    bool look() noexcept {
        try {
            entries_ = matrix::listCurrentArrays();
            std::sort(entries_.begin(), entries_.end(), is_before);
        } catch (const std::bad_alloc&) {
            return false;
        }
        return true;
    }
    bool have(const ndArray_tag* array) const {
        return std::binary_search(entries_.begin(), entries_.end(), matrix::listed_array{array, 0},
                                  is_before);
    }
    const std::vector<matrix::listed_array>& entries() const noexcept { return entries_; }

private:
    static bool is_before(const matrix::listed_array& a, const matrix::listed_array& b) noexcept {
        return std::less<>()(a.array, b.array);
    }
    std::vector<matrix::listed_array> entries_;
};

// Of an array that isn't in this call's context. A header that has ended says so, by its scope, as long as its memory has no other
// use; a temporary has ended too, or belongs to another call.
bool may_be_alive(const ndArray_tag* array) noexcept {
#ifdef ND_KNOWS_FREED_MEMORY
    if (__asan_address_is_poisoned(&array->scope) != 0) {
        return false;
    }
#endif
    return array->scope != ndTEMPORARY_SCOPE && array->scope != ndUNKNOWN_SCOPE;
}

// A new header for whoever has a reference only. Data that may not be shared are copied.
matrix::array_ptr shared_copy(const ndArray_tag* array) {
    const bool may_be_shared =
        (array->flags & (matrix::flag_data_private | matrix::flag_share_data_private)) !=
        matrix::flag_data_private;
    return may_be_shared ? matrix::detail::do_shared_copy(array) : matrix::detail::do_deep_copy(array);
}

} // namespace

taken_outputs::taken_outputs(std::size_t slots, const std::vector<const ndArray_tag*>& inputs)
    : arrays(slots), inputs_(inputs) {
    inputs_.erase(std::remove(inputs_.begin(), inputs_.end(), nullptr), inputs_.end());
    std::sort(inputs_.begin(), inputs_.end(), std::less<>());
    filled_.reserve(slots);
    elements_.reserve(slots);
}

void taken_outputs::take(const std::vector<ndArray_tag*>& slots) {
    listed_arrays listed;
    const bool has_looked = listed.look();
    sort_filled(slots);
    const ndArray_tag* before = nullptr;
    for (const filled_slot& slot : filled_) {
        if (is_input(slot.array)) {
            refuse(slot.place, "is an input itself; an addon puts out a copy");
        } else if (slot.array == before) {
            refuse(slot.place, "is the same array as an output before it");
        } else if (listed.have(slot.array)) {
            arrays[slot.place].reset(slot.array);
        } else if (!may_be_alive(slot.array)) {
            refuse(slot.place, "isn't alive: the addon has ended that array, or it belongs to another call");
        } else if (slot.array->scope == ndMEMBER_SCOPE || slot.array->ref_count > 1) {
            elements_.push_back(slot);
        } else {
            arrays[slot.place].reset(slot.array);
        }
        before = slot.array;
    }
    if (!has_looked) {
        throw std::bad_alloc(); // those on the list end with it, those on none with this
    }
    if (!elements_.empty()) {
        take_elements(listed.entries());
    }
}

void taken_outputs::sort_filled(const std::vector<ndArray_tag*>& slots) noexcept {
    for (std::size_t place = 0; place < slots.size(); ++place) {
        if (slots[place] != nullptr) {
            filled_.push_back({slots[place], place});
        }
    }
    std::sort(filled_.begin(), filled_.end(), [](const filled_slot& a, const filled_slot& b) {
        return a.array == b.array ? a.place < b.place : std::less<>()(a.array, b.array);
    });
}

bool taken_outputs::is_input(const ndArray_tag* array) const noexcept {
    return std::binary_search(inputs_.begin(), inputs_.end(), array, std::less<>());
}

// An array is in as many slots as it has owners, or has one more: that is the function's, and goes to its caller.
void taken_outputs::take_elements(const std::vector<matrix::listed_array>& listed) {
    element_index held;
    for (const ndArray_tag* input : inputs_) {
        held.add(input);
    }
    for (const matrix::listed_array& entry : listed) {
        held.add(entry.array);
    }
    for (const matrix::array_ptr& output : arrays) {
        if (output) {
            held.add(output.get());
        }
    }
    for (const filled_slot& slot : elements_) {
        held.add(slot.array);
    }
    held.sort();
    for (const filled_slot& slot : elements_) {
        const std::size_t slots = held.slots_with(slot.array);
        if (slots != 0 && slots >= slot.array->ref_count) {
            refuse(slot.place, "stands in another array; an addon puts out a copy");
        } else if (slot.array->ref_count > 1) {
            take_shared_copy(slot);
        } else {
            arrays[slot.place].reset(slot.array);
        }
    }
}

void taken_outputs::take_shared_copy(const filled_slot& slot) {
    arrays[slot.place].reset(slot.array); // the reference ends when the copy is there, or can't be had
    arrays[slot.place] = shared_copy(slot.array);
}

void taken_outputs::refuse(std::size_t place, const char* reason) noexcept {
    if (why == nullptr || place < refused) {
        refused = place;
        why = reason;
    }
}

} // namespace nd_host
