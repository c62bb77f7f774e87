// Conversion of plain buffers, as operations on arrays use it.
#pragma once

#include <nd/types.h>

#include <cstddef>
#include <cstdint>

namespace matrix::internal {

/// Whether a class has scalars that can be converted: logical, char and the numeric classes.
bool has_scalars(std::int32_t class_id) noexcept;

/// Converts count scalars between buffers that don't overlap. Both classes have scalars. Raises
/// TARVEL:legacy_two_part:nologicalnan; what stands before the four scalars with the NaN has been written then.
void convert_scalars(void* destination, std::int32_t destination_class, const void* source,
                     std::int32_t source_class, std::size_t count);

} // namespace matrix::internal
