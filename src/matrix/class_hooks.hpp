// What the library asks of things that live above the array model: function handles, opaque class systems, colon objects,
// object hooks.
// Declared here, so that the model never includes upwards; filled by the folders above it.
#pragma once

#include <nd/array.hpp>
#include <nd/create.hpp>

namespace matrix::internal {

/// Releases what the records of a function handle hold.
void destroy_function_records(ndArray_tag* array) noexcept;

/// Releases an opaque array's payload (indexing-opaque) or its elements.
void destroy_opaque_payload(ndArray_tag* array) noexcept;

/// Tells the class of an indexing-opaque array that one header more has the array's payload.
void retain_opaque_payload(const ndArray_tag* source);

/// What the classes of opaque arrays do with one element, which isn't null.
struct opaque_element_hooks {
    /// A copy of an element of source. Null: out of memory. It may raise as well.
    void* (*copy)(const ndArray_tag* source, const void* element);
    /// The end of an element that holder had or was going to have.
    void (*destroy)(const ndArray_tag* holder, void* element);
};

/// Sets the hooks, which live from now on; null for none: elements then can't be copied, and nobody hears of their end.
void set_opaque_element_hooks(const opaque_element_hooks* hooks) noexcept;

/// The copy of an element, not null, of an opaque array. It is never null: raises TARVEL:legacy_two_part:nomem when the class has
/// no memory, TARVEL:legacy_two_part:invalidInput when it can't copy elements, and what it raises itself.
void* copy_opaque_element(const ndArray_tag* source, const void* element);

/// Releases elements, null ones aside: those of a holder, and copied ones that no array has taken.
void destroy_opaque_elements(const ndArray_tag* holder, void* const* elements, std::size_t count) noexcept;

/// Fills an array without data, of the dimensions that subscripted reference of an indexing-opaque array gives, with the elements that
/// nsubs lists of positions select; a null list is the colon, or a subscript without positions. Raises
/// TARVEL:legacy_two_part:invalidInput when the class can't tell.
void reference_opaque_elements(const ndArray_tag* source, std::size_t nsubs, ndArray_tag* result,
                               const kvIndex* const* positions, const kvSize* counts);

/// Stores the dimensions that the class of an indexing-opaque array gives.
void complete_opaque_dimensions(const ndArray_tag* array);

/// Whether the class computes the dimensions on demand and answers for the elements.
inline bool is_indexing_opaque(const ndArray_tag* array) noexcept {
    return (array->flags & flag_indexing_opaque) != 0;
}

/// Completes the dimensions if they are computed on demand.
inline void complete_dimensions_if_opaque(const ndArray_tag* array) {
    if (is_indexing_opaque(array)) complete_opaque_dimensions(array);
}

/// Class ID of an opaque array (its class decides) or of an object (its tag index, when it has one).
ndClassID class_id_from_class_system(const ndArray_tag* array);

/// Class name of an opaque array or an object.
const char* class_name_from_class_system(const ndArray_tag* array);

/// Whether an opaque array is of the class with this name; name isn't null.
bool is_class_by_class_system(const ndArray_tag* array, const char* name);

/// How many elements a colon object stands for, or any other array has.
std::size_t count_colon_elements(const ndArray_tag* array);

/// What operations on values take in place of a colon object: the vector that it stands for, with the flags of the object that say
/// nothing about storage. Null for any other array. Raises as a creator does.
array_ptr expand_if_colon_object(const ndArray_tag* array);

/// The value of an opaque array in another class, as its own class makes it; null when that can't.
array_ptr convert_opaque(const ndArray_tag* array, ndClassID target);

/// Calls the hook for a new header of class object.
void call_object_create_hook(ndArray_tag* array);

/// Makes an object of a struct that is whole otherwise, and tells the hook. What the hook raises goes on; a struct again, of whose
/// end nobody hears, is left then.
void become_object(ndArray_tag* array);

/// Calls the hook for a header of class object that is about to end, while it is whole; others may go on with its data.
void call_object_destroy_hook(ndArray_tag* array) noexcept;

} // namespace matrix::internal
