// What the generated calls of the argument sweep are made of.
#pragma once

#include <nd/array.hpp>
#include <nd/complex.h>
#include <nd/create.hpp>

#include <climits>
#include <cstdint>
#include <vector>

namespace test {

struct sweep_case {
    const char* symbol;
    const char* check; ///< the promise, as the table of entry points calls it
    const char*
        id; ///< the error that is raised where errors are exceptions; empty for an answer in every mode
    bool (*answers)(); ///< makes the call; true when its answer is the promised one
};

/// The cases that follow from the table of entry points.
const std::vector<sweep_case>& sweep_cases();

inline constexpr std::size_t above_ceiling = std::size_t{1} << 48;

/// Two such sizes make 2^44 bytes at least, more than 1 percent of any machine's memory and, at 8 bytes an element, below 2^48.
inline constexpr int above_any_limit = 1 << 22;

/// Two dimensions, written in place.
template <class Size>
struct shape {
    Size dims[2];
};

/// Where getters of text may write.
inline char text_buffer[16];

/// Ends the array. True when there was one, and when there was none.
bool made_one(ndArray_tag* array);
bool made_nothing(ndArray_tag* array);

using array_call = bool (*)(ndArray_tag*);

/// The call's answer for a 2x3 array of the class, for a 2^31x0 one, and for one array of each class and complexity that
/// isn't of the given class (whose answers must all be true).
bool with_array(ndClassID class_id, ndComplexity complexity, array_call call);
bool with_long_array(array_call call);
bool with_every_class_but(ndClassID class_id, ndComplexity complexity, array_call call);

/// The call's answer for a block, which must still be the caller's to free afterwards.
bool with_block(bool (*call)(void*));

/// The call's answer while one array may have 1 percent of the machine's memory.
bool under_a_small_limit(bool (*call)());

/// A 2x1 struct with the fields "a" and "b", whose values are all there; its data must be the same afterwards. And the call's
/// answer for arrays of every class that is no container, or no struct (all must be true).
inline constexpr int struct_elements = 2;
inline constexpr int struct_fields = 2;
inline constexpr int struct_slots = struct_elements * struct_fields;
bool with_struct(array_call call);
bool with_no_container(array_call call);
bool with_no_struct(array_call call);

} // namespace test
