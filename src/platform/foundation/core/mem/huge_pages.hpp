// Advice to the system to back large blocks by huge pages.
#pragma once

#include <cstddef>

namespace foundation::core::mem {

inline constexpr std::size_t huge_page_threshold = std::size_t{4} << 20;

// Advises a raw block of the C heap of `size` bytes; smaller ones than the threshold are left alone. Advice that the
// system refuses is no failure. errno is kept.
void advise_huge_pages(void* raw, std::size_t size) noexcept;

} // namespace foundation::core::mem
