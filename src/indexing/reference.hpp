// Subscripted reference below the interface: the ways that it takes, each for arrays of one kind of storage.
//
// The ways give the same result where two are possible. subscriptedReference tries the first one, and then takes that for the storage.
#pragma once

#include "indexing/subscript_set.hpp"

#include <nd/create.hpp>

#include <cstddef>
#include <span>

namespace matrix::internal {

using subscript_span = std::span<const ndArray_tag* const>;

/// Full arrays of plain elements, where no list of positions is needed. Null where it isn't that simple: what the subscripts raise, too,
/// is left to the general way. Raises as a creator does.
array_ptr reference_at_once(const ndArray_tag* source, subscript_span subs);

/// Any array but a sparse one, a struct or object and a colon object.
array_ptr reference_full(const ndArray_tag* source, subscript_span subs);

/// A sparse array.
array_ptr reference_sparse(const ndArray_tag* source, subscript_span subs);

/// Fills the slots of a set for subscripts that must stay within source, seen through dims. Raises what they raise.
void fill_within(SubscriptSet& set, const ndArray_tag* source, std::span<const std::size_t> dims,
                 subscript_span subs);

/// The bits of the source's header that an array of some of its elements has too.
inline constexpr std::uint32_t flags_kept_by_reference =
    flag_from_global_workspace | flag_complex | flag_numeric | flag_single_threaded_sharing | flag_user_mask;

} // namespace matrix::internal
