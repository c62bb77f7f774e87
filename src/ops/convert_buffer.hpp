// Conversion of plain buffers, as operations on arrays use it.
#pragma once

#include <nd/types.h>

#include <cstddef>
#include <cstdint>

namespace matrix::internal {

/// Whether a class has scalars that can be converted: logical, char and the numeric classes.
bool has_scalars(std::int32_t class_id) noexcept;

/// Converts count scalars between buffers that don't overlap, of classes that have scalars. False where a NaN stopped a conversion
/// to logical; what stands before the four scalars with the NaN has been written then.
bool try_convert_scalars(void* destination, std::int32_t destination_class, const void* source,
                         std::int32_t source_class, std::size_t count) noexcept;

/// The same; raises TARVEL:legacy_two_part:nologicalnan where that answers false.
void convert_scalars(void* destination, std::int32_t destination_class, const void* source,
                     std::int32_t source_class, std::size_t count);

} // namespace matrix::internal
