// Values are written by the growth itself. References are made beforehand, one for each new slot; growth marks the new slots.
#include "indexing/new_elements.hpp"

#include "indexing/assignment_source.hpp"
#include "indexing/element_store.hpp"
#include "matrix/accessors.hpp"
#include "matrix/arraycpy.hpp"
#include "matrix/complexity.hpp"
#include "matrix/size_check.hpp"

#include <errors/raise.hpp>

#include <nd/access.hpp>

#include <span>
#include <utility>

namespace matrix::internal {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;

void grow_with_references(ndArray_tag* array, left_side_growth change, const ndArray_tag* filler) {
    const std::size_t count = checked_element_count(change.new_seen, sizeof(void*));
    data_copy made = copies_for_slots(array, filler, count - element_count(array));
    static char mark = 0;
    void* const marked = &mark;
    change.filler = &marked;
    grow_left_side(array, change);
    auto* next = static_cast<void**>(made.blocks().pdata);
    for (void*& slot : std::span(static_cast<void**>(array->pdata), count)) {
        if (slot == marked) slot = std::exchange(*next++, nullptr);
    }
}

void grow_with_value(ndArray_tag* array, left_side_growth change, array_ptr filler) {
    const assignment_source source(filler.get(), nullptr);
    const ndArray_tag* value = source.get();
    array_ptr complex;
    if (is_complex(array) && !is_complex(value)) {
        complex = detail::do_deep_copy(value);
        inflate_to_complex(complex.get());
        value = complex.get();
    }
    change.filler = value->pdata;
    grow_left_side(array, change);
}

} // namespace

void grow_with_filler(ndArray_tag* array, left_side_growth change, array_ptr filler) {
    if (filler == nullptr) return grow_left_side(array, change);
    if (filler->class_id != array->class_id)
        errors::raise<TARVEL::legacy_two_part::invalidConversion>(api::ndGetClassName(filler.get()),
                                                                  api::ndGetClassName(array));
    if (element_count(filler.get()) == 0 || filler->pdata == nullptr || array->class_id == ndFUNCTION_CLASS)
        return grow_left_side(array, change);
    if (has_plain_elements(array->class_id)) return grow_with_value(array, change, std::move(filler));
    grow_with_references(array, change, filler.get());
}

} // namespace matrix::internal
