// The elements that a colon object stands for, one by one: nothing is expanded, so that one element of a long range costs what one
// element of a short one does.
#pragma once

#include "indexing/colon_count.hpp"
#include "indexing/colon_operands.hpp"

#include <cstddef>
#include <cstdint>

namespace matrix::internal {

/// The bits of the object's header that the vector has too.
inline constexpr std::uint32_t flags_kept_by_expansion = flag_from_global_workspace | flag_user_mask;

/// What its object held when it was made. Elements are those of matrix::expand_colon_object, to the bit.
class colon_elements {
public:
    /// An object such as is_colon_object() has accepted. Raises std::bad_alloc, as reading its operands does.
    explicit colon_elements(const ndArray_tag* object);

    /// The class of the vector: the object's own, but that of NaN where there is no other element.
    std::int32_t class_id() const noexcept { return class_id_; }
    std::size_t count() const noexcept { return count_; }

    /// Writes element number k, counted from 0 and below count(), by its bytes.
    void write(std::size_t k, std::byte* to) const noexcept;

private:
    double_operands operands_{}; ///< of the floating classes
    whole_range whole_{};        ///< of all others; its count isn't asked for
    std::int32_t class_id_;
    std::size_t count_ = 0;
    bool is_nan_ = false;
};

} // namespace matrix::internal
