// A struct of one element, as many times as the subscripts of an assignment select elements.
#include "indexing/folded_dimensions.hpp"
#include "indexing/subscript_set.hpp"

#include "matrix/class_hooks.hpp"
#include "matrix/class_table.hpp"
#include "matrix/containers.hpp"
#include "matrix/header_factory.hpp"
#include "matrix/own_block.hpp"
#include "matrix/size_check.hpp"
#include "matrix/slots.hpp"

#include <errors/raise.hpp>

#include <nd/access.hpp>
#include <nd/assignment.hpp>
#include <nd/scalars.hpp>
#include <nd/share.hpp>

#include <algorithm>
#include <span>
#include <utility>

namespace matrix::internal {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using Korvane::indexing::utilities::BadSubscriptHandler;
using subscript_list = std::span<ndArray_tag* const>;

bool counts_as_all_zero(const ndArray_tag* lhs, subscript_list subs) {
    const dims_view dims = dims_of(lhs);
    if (!std::all_of(dims.begin(), dims.end(), [](std::size_t dim) { return dim == 0; })) return false;
    return subs.size() != 1 || !api::ndIsColonIndex(subs[0]) || lhs->class_id == ndUNKNOWN_CLASS;
}

dims_list selected_shape(const ndArray_tag* lhs, subscript_list subs) {
    const bool all_zero = counts_as_all_zero(lhs, subs);
    dims_list shape(subs.size());
    BadSubscriptHandler handler = BadSubscriptHandler::InitializeInvalidIndexHandler(subs.size(), 1);
    for (std::size_t i = 0; i < subs.size(); ++i, handler.IncrementSubscript()) {
        SubscriptSet slot(1, true, false);
        const ndArray_tag* const subscript = subs[i];
        FillSubscriptSlot(slot, 0, &subscript, folded_dimension(dims_of(lhs), subs.size(), i), handler);
        const bool open = all_zero && slot.info.IsColonCorrespondingToZeroDim(0);
        shape[i] = open ? 1 : slot.info.NumIndices(0);
    }
    return shape;
}

void check_is_struct(const ndArray_tag* value) {
    if (!is_struct_like(value->class_id))
        errors::raise<TARVEL::legacy_two_part::invalidConversion>(api::ndGetClassName(value),
                                                                  api::ndArrayClassIDName(ndSTRUCT_CLASS));
}

array_ptr repeated(const ndArray_tag* value, dims_view shape) {
    array_ptr result = create_empty_copy(value);
    const std::size_t fields = field_count(value);
    const std::size_t count = checked_element_count(shape, fields * sizeof(ndArray_tag*));
    if (count != 0 && fields != 0)
        replace_block(result.get(),
                      allocate_data(count * fields * sizeof(ndArray_tag*), DataInitialization::zeroed));
    result->set_dimensions(shape);
    if (value->pdata == nullptr || result->pdata == nullptr) return result;
    for (std::size_t slot = 0; slot < count * fields; ++slot) {
        ndArray_tag* const element = slots_of(value)[slot % fields];
        if (element != nullptr) set_copy_in_slot(result.get(), slot, element);
    }
    return result;
}

} // namespace
} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

using namespace internal;

ndArray_tag* ndScalarExpan(ndArray_tag* value, ndArray_tag* lhs, ndArray_tag* const* subs,
                           std::size_t nsubs) {
    complete_dimensions_if_opaque(lhs);
    const dims_list shape = selected_shape(lhs, {subs, nsubs});
    if (saturated_count({shape.data(), shape.size()}) == 1) return value;
    check_is_struct(value);
    return to_tarvel(repeated(value, {shape.data(), shape.size()}));
}

} // namespace matrix::detail::noninlined::nd_array_api
