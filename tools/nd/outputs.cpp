// Taking outputs, and holding inputs.
#include "outputs.hpp"

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

using matrix::detail::noninlined::nd_array_api::ndSetArrayScope;

// The arrays of the call's context, for many questions.
class listed_arrays {
public:
    /// False without memory; then none is had.
    bool look() noexcept {
        try {
            for (const matrix::listed_array& listed : matrix::listCurrentArrays()) {
                arrays_.push_back(listed.array);
            }
        } catch (const std::bad_alloc&) {
            arrays_.clear();
            return false;
        }
        std::sort(arrays_.begin(), arrays_.end(), std::less<>());
        return true;
    }
    bool have(const ndArray_tag* array) const {
        return std::binary_search(arrays_.begin(), arrays_.end(), array, std::less<>());
    }

private:
    std::vector<const ndArray_tag*> arrays_;
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

} // namespace

void taken_outputs::take(const std::vector<ndArray_tag*>& slots,
                         const std::vector<const ndArray_tag*>& inputs) {
    listed_arrays listed;
    const bool has_looked = listed.look();
    for (auto slot = slots.begin(); slot != slots.end(); ++slot) {
        const auto place = static_cast<std::size_t>(slot - slots.begin());
        if (*slot == nullptr) {
            continue;
        }
        if (std::find(inputs.begin(), inputs.end(), *slot) != inputs.end()) {
            refuse(place, "is an input itself; an addon puts out a copy");
        } else if (std::find(slots.begin(), slot, *slot) != slot) {
            refuse(place, "is the same array as an output before it");
        } else if (!listed.have(*slot) && !may_be_alive(*slot)) {
            refuse(place, "isn't alive: the addon has ended that array, or it belongs to another call");
        } else if ((*slot)->scope == ndMEMBER_SCOPE) { // it ends with its container
            refuse(place, "stands in another array; an addon puts out a copy");
        } else {
            arrays[place].reset(*slot);
        }
    }
    if (!has_looked) {
        throw std::bad_alloc(); // those on the list end with it, those on none with this
    }
}

void taken_outputs::refuse(std::size_t place, const char* reason) noexcept {
    refused = place;
    why = reason;
}

lent_inputs::lent_inputs(const std::vector<const ndArray_tag*>& inputs) {
    inputs_.reserve(inputs.size());
    for (const ndArray_tag* input : inputs) {
        auto* const array = const_cast<ndArray_tag*>(input); // the counts are the engine's to write
        inputs_.push_back(
            {array, array == nullptr ? 0 : array->ref_count, array == nullptr ? 0 : array->scope});
        if (array != nullptr) {
            ++array->internal_ref_count;
        }
    }
}

// An input that has other owners now keeps them; one that was ended has the owners that it came with.
lent_inputs::~lent_inputs() {
    for (const lent& input : inputs_) {
        if (input.array == nullptr) {
            continue;
        }
        if (input.became_temporary()) {
            ndSetArrayScope(input.array, static_cast<ndVariableScope>(input.scope));
        }
        if (input.has_ended()) {
            input.array->ref_count = input.owners;
        }
        --input.array->internal_ref_count;
    }
}

// The count may have wrapped: it was ended more often than it had owners.
bool lent_inputs::lent::has_ended() const noexcept {
    return static_cast<std::int32_t>(array->ref_count - owners) < 0;
}

bool lent_inputs::lent::became_temporary() const noexcept {
    return array->scope == ndTEMPORARY_SCOPE && scope != ndTEMPORARY_SCOPE;
}

std::optional<std::size_t> lent_inputs::first_ended() const noexcept {
    const auto found = std::find_if(inputs_.begin(), inputs_.end(), [](const lent& input) {
        return input.array != nullptr && (input.has_ended() || input.became_temporary());
    });
    if (found == inputs_.end()) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(found - inputs_.begin());
}

} // namespace nd_host
