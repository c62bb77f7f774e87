/*
 * Reads one element of a block of numbers, by the class of the array.
 */
#ifndef ND_TOOLS_ELEMENT_READER_HPP
#define ND_TOOLS_ELEMENT_READER_HPP

#include <cstddef>
#include <cstdint>
#include <variant>

namespace nd_host {

/// An element, exact in its own kind: logical and integer elements as integers of 64 bits.
using number = std::variant<double, float, std::int64_t, std::uint64_t>;

/// The scalar at an index, from 0; of a complex array the parts lie side by side. The block may lie at any address.
using element_reader = number (*)(const void* data, std::size_t index);

/// The reader for a class; null for one whose elements aren't numbers.
element_reader reader_for(std::int32_t class_id) noexcept;

} // namespace nd_host

#endif
