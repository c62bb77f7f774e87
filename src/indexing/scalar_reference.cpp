// Where the one slot lies that an engine reads or writes: the subscripts become indices one by one, and the indices an offset. No set of
// subscripts is built. Where nothing is raised and the array doesn't grow only a subscript may allocate: one whose parts stand in a
// separate view, for its block.
//
// A field is a slot of its own in front; what isn't a struct or an object has none. Growth leaves the class of what has fields alone: an
// object that became a struct would lose its class with its first new element, and a bracket-empty array has no names that the field's
// number could mean, so it raises instead of becoming a struct.
#include "indexing/folded_dimensions.hpp"
#include "indexing/growth.hpp"
#include "indexing/scalar_index.hpp"

#include "errors/raise.hpp"
#include "matrix/accessors.hpp"
#include "matrix/class_hooks.hpp"
#include "matrix/field_names.hpp"

#include <nd/messages.hpp>
#include <nd/reference.hpp>
#include <nd/share.hpp>

#include <algorithm>

namespace matrix::internal {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using Korvane::indexing::utilities::BadSubscriptHandler;
using subscript_list = const ndArray_tag* const*;

[[gnu::cold, noreturn]] void raise_no_subscripts() { errors::raise<TARVEL::legacy_two_part::nindexIsZero>(); }

BadSubscriptHandler handler_within(const ndArray_tag* array, std::size_t nsubs,
                                   std::size_t position) noexcept {
    const dims_view dims = dims_of(array);
    return BadSubscriptHandler::InitializeIndexExceedsBoundsHandler(nsubs, dims.size(), dims.data(),
                                                                    position);
}

BadSubscriptHandler handler_of_growth(const ndArray_tag* /*array*/, std::size_t nsubs,
                                      std::size_t position) noexcept {
    return BadSubscriptHandler::InitializeInvalidIndexHandler(nsubs, position);
}

// Turns indices, slot by slot, into an offset, and notes the first that exceeds its dimension. An index of 0 wraps.
class offset_sum {
public:
    void add(kvIndex index, std::size_t dim) noexcept {
        ++slots_;
        if (index > dim && failed_ == 0) failed_ = slots_;
        offset_ += (index - 1) * stride_;
        stride_ *= dim;
    }
    std::size_t failed_slot() const noexcept { return failed_; } ///< counted from 1; 0: all are within
    kvIndex offset() const noexcept { return offset_; }

private:
    kvIndex offset_ = 0;
    std::size_t stride_ = 1;
    std::size_t slots_ = 0;
    std::size_t failed_ = 0;
};

// All subscripts are converted before the first one that exceeds is told.
template <class HandlerFor>
[[gnu::always_inline]] inline offset_sum look_for(const ndArray_tag* array, std::size_t nsubs,
                                                  subscript_list subs, std::size_t field,
                                                  HandlerFor&& handler_for) {
    if (nsubs == 0) raise_no_subscripts();
    complete_dimensions_if_opaque(array);
    const dims_view dims = dims_of(array);
    offset_sum sum;
    if (field != 0) sum.add(field, fields_of(array));
    for (std::size_t i = 0; i < nsubs; ++i) {
        const kvIndex index = scalar_index(subs[i], [&] { return handler_for(array, nsubs, i + 1); });
        sum.add(index, folded_dimension(dims, nsubs, i));
    }
    return sum;
}

ndScalarRefConstResult tell(const offset_sum& sum, kvIndex* offset, kvSize* failed) noexcept {
    if (sum.failed_slot() != 0) {
        if (failed != nullptr) *failed = sum.failed_slot();
        return ndSCALAR_REF_EXCEEDS;
    }
    *offset = sum.offset();
    return ndSCALAR_REF_IN_RANGE;
}

kvIndex offset_in(dims_view dims, dims_view indices) noexcept {
    offset_sum sum;
    for (std::size_t i = 0; i < dims.size(); ++i) sum.add(indices[i], dims[i]);
    return sum.offset();
}

// What isn't a cell yet becomes one with its first slot; that holds for arrays without elements only.
void grow_slots(ndArray_tag* array, const left_side_growth& change) {
    if (array->class_id == ndCELL_CLASS || change.has_field_slot) return grow_left_side(array, change);
    if (element_count(array) != 0 || is_struct_like(array->class_id))
        errors::raise<TARVEL::legacy_two_part::invalidInput>();
    array_ptr cell = create_cell(dims_of(array));
    cell->flags |= array->flags & (flag_from_global_workspace | flag_user_mask);
    grow_left_side(cell.get(), change);
    api::ndMoveArrayOntoHeader(array, cell.release());
}

// The offset in the array as it has grown; indices and seen have the field, if there is one, in front.
kvIndex grow_to(ndArray_tag* array, dims_view indices, bool has_field, bool keep) {
    const std::size_t fields = has_field ? 1 : 0;
    const std::size_t nsubs = indices.size() - fields;
    dims_list seen = folded_dimensions(dims_of(array), nsubs);
    if (has_field) seen.insert(seen.begin(), fields_of(array));
    if (has_field && indices[0] > seen[0]) errors::raise<TARVEL::legacy_two_part::badargs>();
    const dims_list before = seen;
    const bool all_zero =
        std::all_of(dims_of(array).begin(), dims_of(array).end(), [](std::size_t dim) { return dim == 0; });
    const std::span<std::size_t> subscripted(seen.data() + fields, nsubs);
    grow_dimensions(dims_of(array), indices.subspan(fields), subscripted);
    grow_slots(array, {before, seen, all_zero, has_field, keep, nullptr});
    return offset_in(seen, indices);
}

} // namespace
} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

kvIndex ndScalarRef(ndArray_tag* a, std::size_t nsubs, const ndArray_tag* const* subs, std::size_t field,
                    bool keepData, bool& grew) {
    const offset_sum sum = look_for(a, nsubs, subs, field, handler_of_growth);
    grew = false;
    if (sum.failed_slot() == 0) return sum.offset();
    dims_list indices;
    if (field != 0) indices.push_back(field);
    for (std::size_t i = 0; i < nsubs; ++i)
        indices.push_back(scalar_index(subs[i], [&] { return handler_of_growth(a, nsubs, i + 1); }));
    const kvIndex offset = grow_to(a, indices, field != 0, keepData);
    grew = true;
    return offset;
}

ndScalarRefConstResult ndScalarRefConst(kvIndex* offset, const ndArray_tag* a, std::size_t nsubs,
                                        const ndArray_tag* const* subs, std::size_t field) {
    return tell(look_for(a, nsubs, subs, field, handler_within), offset, nullptr);
}

ndScalarRefConstResult ndScalarRefConst(kvIndex* offset, kvSize& failedSubscript, const ndArray_tag* a,
                                        std::size_t nsubs, const ndArray_tag* const* subs,
                                        std::size_t field) {
    return tell(look_for(a, nsubs, subs, field, handler_within), offset, &failedSubscript);
}

ndScalarRefConstResult ndScalarRefForAssignment(kvIndex* offset, kvSize& failedSubscript,
                                                const ndArray_tag* a, std::size_t nsubs,
                                                const ndArray_tag* const* subs, std::size_t field) {
    return tell(look_for(a, nsubs, subs, field, handler_of_growth), offset, &failedSubscript);
}

} // namespace matrix::detail::noninlined::nd_array_api
