/*
 * What a function put out, and what became of its inputs meanwhile.
 *
 * An output is owned from the moment it is taken. An array on the list of the call's context is known to be alive; one that stands
 * on no list is taken on the function's word, unless its header says that it has ended. After an error nobody's word is taken:
 * functions clean up before they raise, and leave the pointers.
 *
 * Inputs are held while the function runs, by the count that belongs to engines: whoever ends one of them by mistake ends nothing.
 */
#ifndef ND_TOOLS_OUTPUTS_HPP
#define ND_TOOLS_OUTPUTS_HPP

#include <nd/engine.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace nd_host {

/// Outputs, owned. One that has an owner already, as an input or in a slot before, is left to that owner, and one that has ended to
/// nobody; refused is its place then, and why tells the reason.
struct taken_outputs {
    std::vector<matrix::array_ptr> arrays; ///< as many as there are slots
    std::size_t refused = 0;
    const char* why = nullptr;
    std::optional<std::size_t> ended_input; ///< the place of an input that the function ended

    explicit taken_outputs(std::size_t slots) : arrays(slots) {}

    /// Takes what stands in the slots when the function has returned. Raises std::bad_alloc; what stands on no list is taken then.
    void take(const std::vector<ndArray_tag*>& slots, const std::vector<const ndArray_tag*>& inputs);

private:
    void refuse(std::size_t place, const char* reason) noexcept;
};

/// Holds inputs (nulls are passed over) while it lives.
class lent_inputs {
public:
    /// Raises std::bad_alloc.
    explicit lent_inputs(const std::vector<const ndArray_tag*>& inputs);
    ~lent_inputs();
    lent_inputs(const lent_inputs&) = delete;
    lent_inputs& operator=(const lent_inputs&) = delete;

    /// The place of the first input that has fewer owners than before, or is a temporary now.
    std::optional<std::size_t> first_ended() const noexcept;

private:
    struct lent {
        ndArray_tag* array;
        std::uint32_t owners;
        std::uint32_t scope;
        bool has_ended() const noexcept;
        bool became_temporary() const noexcept;
    };
    std::vector<lent> inputs_;
};

} // namespace nd_host

#endif
