// Subscripts against the dimensions that they go through. One that selects nothing is within any.
#include "indexing/bounded_subscripts.hpp"

#include "indexing/subscript_text.hpp"

namespace matrix::internal {

using Korvane::indexing::utilities::BadSubscriptHandler;
using Korvane::indexing::utilities::IndicesType;

void fill_within_bounds(SubscriptSet& set, std::span<const ndArray_tag* const> subs, dims_view seen,
                        const ndArray_tag& array) {
    const dims_view dims = dims_of(&array);
    auto handler =
        BadSubscriptHandler::InitializeIndexExceedsBoundsHandler(subs.size(), dims.size(), dims.data(), 1);
    for (std::size_t i = 0; i < subs.size(); ++i, handler.IncrementSubscript()) {
        FillSubscriptSlot(set, i, &subs[i], seen[i], handler);
        const std::size_t largest = set.info.MaxIndex(i);
        if (largest <= seen[i] || set.info.NumIndices(i) == 0) continue;
        const bool logical = subs[i]->class_id == ndLOGICAL_CLASS;
        handler.ThrowIndexExceedsDimensionsError(logical ? IndicesType::logical : IndicesType::numeric,
                                                 index_text(static_cast<double>(largest)));
    }
}

} // namespace matrix::internal
