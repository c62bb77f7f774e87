/*
 * What a colon object stands for: all its elements when they are few enough to look at, else its operands.
 */
#ifndef ND_TOOLS_RANGE_VALUES_HPP
#define ND_TOOLS_RANGE_VALUES_HPP

#include <nd/engine.hpp>

#include <cstddef>
#include <memory>
#include <string>

namespace nd_host {

/// A longer range isn't expanded: it may have more elements than there is memory for.
inline constexpr std::size_t longest_range = std::size_t{1} << 20;

bool is_long_range(const ndArray_tag& array) noexcept;

/// The vector; null for an array that isn't a colon object and for a long range. Raises as a creator does.
std::shared_ptr<const ndArray_tag> range_values(const ndArray_tag& array);

/// Start, step and stop of a long range, as in 1:0.5:3.
std::string range_text(const ndArray_tag& array);

} // namespace nd_host

#endif
