// What subscripted assignment asks the classes of opaque arrays, which live above the library's array model. Until a class system has told
// its table, opaque arrays can't be assigned to.
#pragma once

#include <nd/array.hpp>

namespace matrix::internal {

/// An entry may be null: what then happens is told beside it.
struct opaque_assignment_table {
    /// array(subscripts) = rhs for an indexing-opaque array: positions (counted from 0; null for a colon), counts and largest
    /// positions of each subscript. Raises what it likes. Null: TARVEL:legacy_two_part:invalidInput.
    void (*assign)(ndArray_tag* array, std::size_t subscripts, const kvIndex* const* positions,
                   const kvSize* counts, const kvSize* maxima, const ndArray_tag* rhs);
    /// Puts a copy of an element into a slot of holder, in the place of what stands there. False: out of memory. Null: a
    /// copy as copy_opaque_element makes it.
    bool (*replace_element)(ndArray_tag* holder, void** slot, const void* element);
    /// The name of the array's class, not null. Null: no class has a name.
    const char* (*subclass)(const ndArray_tag* array);
};

/// Sets the table, which lives from now on; null for none.
void set_opaque_assignment(const opaque_assignment_table* table) noexcept;

void assign_to_opaque(ndArray_tag* array, std::size_t subscripts, const kvIndex* const* positions,
                      const kvSize* counts, const kvSize* maxima, const ndArray_tag* rhs);

/// False: out of memory. element may be null: the slot is empty then. Raises what copy_opaque_element does.
bool replace_opaque_element(ndArray_tag* holder, const ndArray_tag* source, void** slot, const void* element);

/// Whether an array is of the one opaque class that makes its new elements itself.
bool makes_own_elements(const ndArray_tag* array) noexcept;

} // namespace matrix::internal
