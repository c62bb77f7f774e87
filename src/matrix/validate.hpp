// Does an array keep every rule that the library states for a value?
//
// validate() answers with an empty string, or with the first rule that is broken: where (the path through containers), the
// rule as a sentence, and the header as it stands. Rules are checked in an order in which each may rely on those before it, sizes
// before contents, so a damaged header isn't followed to places that it doesn't own. Children are checked before what holds them
// is called valid, on an explicit stack: any depth is fine on a small stack, and a container met twice is entered once.
//
//   cheap   this header alone; time grows with the number of dimensions only
//   full    also sparse index vectors, field-name sets and everything in the slots of containers
//
// The array isn't changed and no reference is taken. The thread that calls owns the header, so a free spin lock is expected.
#pragma once

#include <nd/array.hpp>

#include <string>

namespace matrix::internal {

enum class validate_depth { cheap, full };

/// Empty, or the broken rule. Null is broken too. Raises std::bad_alloc.
std::string validate(const ndArray_tag* array, validate_depth depth = validate_depth::full);

/// Empty, or what is wrong with the array list of the current engine: its contexts, its hint and its records are in order, and each
/// array on it, in whatever context, is valid, has temporary scope and stands there once. Raises std::bad_alloc.
std::string validate_array_list();

/// The same for the alloc list: its contexts and its hint are in order, and each block stands there once.
std::string validate_alloc_list();

/// Empty, or what is wrong with the bins of the calling thread: each holds as many pairs as it counts, and pairs only that are
/// whole. Raises std::bad_alloc.
std::string validate_cache();

/// The header's fields on one line, for a header that may be damaged: out-of-line dimensions are read only where their form
/// is right, data never. Raises std::bad_alloc.
std::string describe_header(const ndArray_tag* array);

/// The bits of a flag word by name: "numeric|inline-dims"; "none" for 0.
std::string flag_names(std::uint32_t flags);

} // namespace matrix::internal
