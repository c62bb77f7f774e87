/*
 * The inputs of a call: held while the function runs, by the count that belongs to engines, so that whoever ends one of them by
 * mistake ends nothing. What became of one is told, and undone where it belongs to the caller.
 */
#ifndef ND_TOOLS_LENT_INPUTS_HPP
#define ND_TOOLS_LENT_INPUTS_HPP

#include <nd/engine.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace nd_host {

/// An input that the function did to what it may not, and what that was, as the end of a sentence.
struct broken_input {
    std::size_t place;
    const char* what;
};

/// Holds inputs (nulls are passed over) while it lives, within the brackets of the call.
class lent_inputs {
public:
    /// Raises std::bad_alloc.
    explicit lent_inputs(const std::vector<const ndArray_tag*>& inputs);
    ~lent_inputs();
    lent_inputs(const lent_inputs&) = delete;
    lent_inputs& operator=(const lent_inputs&) = delete;

    /// The first input that has fewer owners than before, or became or ceased to be a temporary.
    std::optional<broken_input> first_broken() const noexcept;

    /// Lets go of those that were temporaries without a look at them: their contexts were closed, and they ended.
    void forget_temporaries() noexcept;

private:
    struct lent {
        ndArray_tag* array;
        std::uint32_t owners;
        std::uint32_t scope;
        bool has_ended() const noexcept;
        bool became_temporary() const noexcept;
        bool was_claimed() const noexcept;
        const char* damage() const noexcept;
    };
    std::vector<lent> inputs_;
};

/// Inputs that are temporaries of the caller, and what stood on its list with them: to be made before the brackets open, and ended
/// when the caller's context is the current one again. An input that is no temporary any more becomes one then, on the place that
/// it had. Claiming it in another context has cost an array its place: that one comes back to the end of the list.
class lent_temporaries {
public:
    /// Raises std::bad_alloc.
    explicit lent_temporaries(const std::vector<const ndArray_tag*>& inputs);
    ~lent_temporaries();
    lent_temporaries(const lent_temporaries&) = delete;
    lent_temporaries& operator=(const lent_temporaries&) = delete;

    /// As for lent_inputs.
    void forget() noexcept { inputs_.clear(); }

private:
    void mend_list() const;

    std::vector<ndArray_tag*> inputs_;
    std::vector<ndArray_tag*> listed_;
};

} // namespace nd_host

#endif
