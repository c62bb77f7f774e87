// The record beside an object's fields: copying it and ending it.
#include "matrix/object_info.hpp"

namespace matrix::internal {

std::uint64_t copy_object_info(std::uint64_t word) {
    const auto* const source = std::bit_cast<const object_info*>(word);
    return source == nullptr ? 0 : std::bit_cast<std::uint64_t>(new object_info(*source));
}

void free_object_info(std::uint64_t word) noexcept { delete std::bit_cast<object_info*>(word); }

} // namespace matrix::internal
