/*
 * What a function put out, taken from its slots.
 *
 * An output is owned from the moment it is taken. An array on the list of the call's context is known to be alive; one that stands
 * on no list is taken on the function's word, unless its header says that it has ended. Of these
 *
 *   an element of an input, of another output or of what the function left    is its container's, and refused
 *   one that other owners have as well, a reference to such an element, say   is taken as a shared copy, for the reference
 *   any other, an element that was taken out of its container too             is taken as it is
 *
 * After an error nobody's word is taken: functions clean up before they raise, and leave the pointers. Nor is it when contexts were
 * closed too many, which ends arrays.
 */
#ifndef ND_TOOLS_OUTPUTS_HPP
#define ND_TOOLS_OUTPUTS_HPP

#include <nd/engine.hpp>

#include <cstddef>
#include <vector>

namespace nd_host {

/// Outputs, owned. One that has an owner already, as an input or in a slot before, is left to that owner, and one that has ended to
/// nobody; refused is the first such place then, and why tells the reason.
class taken_outputs {
public:
    std::vector<matrix::array_ptr> arrays; ///< as many as there are slots
    std::size_t refused = 0;
    const char* why = nullptr;

    /// Makes ready to take from so many slots. Raises std::bad_alloc.
    taken_outputs(std::size_t slots, const std::vector<const ndArray_tag*>& inputs);

    /// Takes what stands in the slots when the function has returned. Raises std::bad_alloc; of what stands on no list, all but
    /// elements is taken then.
    void take(const std::vector<ndArray_tag*>& slots);

private:
    struct filled_slot {
        ndArray_tag* array;
        std::size_t place;
    };

    void refuse(std::size_t place, const char* reason) noexcept;
    void sort_filled(const std::vector<ndArray_tag*>& slots) noexcept;
    bool is_input(const ndArray_tag* array) const noexcept;
    void take_elements(const std::vector<matrix::listed_array>& listed);
    void take_shared_copy(const filled_slot& slot);

    std::vector<const ndArray_tag*> inputs_; // sorted, without nulls
    std::vector<filled_slot> filled_;        // by array, then by place
    std::vector<filled_slot> elements_;      // what may be a container's, or has more owners
};

} // namespace nd_host

#endif
