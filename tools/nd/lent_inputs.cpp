// Holding inputs.
#include "lent_inputs.hpp"

#include <algorithm>
#include <functional>
#include <iterator>
#include <new>

namespace nd_host {

namespace {

using matrix::detail::noninlined::nd_array_api::ndSetArrayScope;

bool is_temporary(const ndArray_tag* array) noexcept { return array->scope == ndTEMPORARY_SCOPE; }

// The counts and scopes of inputs are the engine's to write.
ndArray_tag* writable(const ndArray_tag* array) noexcept { return const_cast<ndArray_tag*>(array); }

std::vector<ndArray_tag*> sorted_list() {
    std::vector<ndArray_tag*> arrays;
    for (const matrix::listed_array& listed : matrix::listCurrentArrays()) {
        arrays.push_back(writable(listed.array));
    }
    std::sort(arrays.begin(), arrays.end(), std::less<>());
    return arrays;
}

} // namespace

lent_inputs::lent_inputs(const std::vector<const ndArray_tag*>& inputs) {
    inputs_.reserve(inputs.size());
    for (const ndArray_tag* input : inputs) {
        auto* const array = writable(input);
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
    return is_temporary(array) && scope != ndTEMPORARY_SCOPE;
}

bool lent_inputs::lent::was_claimed() const noexcept {
    return !is_temporary(array) && scope == ndTEMPORARY_SCOPE;
}

const char* lent_inputs::lent::damage() const noexcept {
    if (array == nullptr) {
        return nullptr;
    }
    if (has_ended() || became_temporary()) {
        return "was ended by the addon, or put into an array of its own; an addon takes a copy";
    }
    return was_claimed() ? "was claimed by the addon, which doesn't own it; an addon takes a copy" : nullptr;
}

std::optional<broken_input> lent_inputs::first_broken() const noexcept {
    for (const lent& input : inputs_) {
        if (const char* const what = input.damage()) {
            return broken_input{static_cast<std::size_t>(&input - inputs_.data()), what};
        }
    }
    return std::nullopt;
}

void lent_inputs::forget_temporaries() noexcept {
    for (lent& input : inputs_) {
        if (input.scope == ndTEMPORARY_SCOPE) {
            input.array = nullptr;
        }
    }
}

lent_temporaries::lent_temporaries(const std::vector<const ndArray_tag*>& inputs) {
    for (const ndArray_tag* input : inputs) {
        if (input != nullptr && is_temporary(input)) {
            inputs_.push_back(writable(input));
        }
    }
    if (!inputs_.empty()) {
        listed_ = sorted_list();
    }
}

lent_temporaries::~lent_temporaries() {
    if (std::all_of(inputs_.begin(), inputs_.end(), is_temporary)) {
        return;
    }
    try {
        mend_list();
    } catch (
        const std::
            bad_alloc&) { // what has no place on the list now outlives the call, and its caller ends it or doesn't
    }
}

// One that stands on the list still, or on that of an outer context, needs its scope only.
void lent_temporaries::mend_list() const {
    const std::vector<ndArray_tag*> now = sorted_list();
    std::vector<ndArray_tag*> lost;
    std::set_difference(listed_.begin(), listed_.end(), now.begin(), now.end(), std::back_inserter(lost),
                        std::less<>());
    for (ndArray_tag* const input : inputs_) {
        if (!std::binary_search(lost.begin(), lost.end(), input, std::less<>())) {
            input->scope = ndTEMPORARY_SCOPE;
        }
    }
    for (ndArray_tag* const array : lost) {
        array->scope = ndLOCAL_SCOPE;
        ndSetArrayScope(array, ndTEMPORARY_SCOPE);
    }
}

} // namespace nd_host
