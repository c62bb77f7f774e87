// Subscripted reference of sparse arrays, from their stored elements straight to those of the result.
//
//   x(s)                a list is looked up position by position; of a colon or a range the stored elements are asked where they go
//   x(i, j), x(i, j, 1) column by column of the result
//   anything else       would have more than two dimensions: the result is full
//
// A source that was given more than two dimensions is the matrix of its columns for one and two subscripts; more of them select from
// the full array.
//
// First it is found out which elements the result stores, and at which place each, then the result is made in one piece.
#include "indexing/reference.hpp"
#include "indexing/reference_shape.hpp"
#include "indexing/sparse_gather.hpp"

#include "matrix/accessors.hpp"
#include "matrix/complexity.hpp"
#include "matrix/numeric_creation.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/size_check.hpp"
#include "matrix/sparse_creation.hpp"
#include "matrix/sparse_parts.hpp"

#include <nd/convert.hpp>

#include <algorithm>
#include <cstring>
#include <vector>

namespace matrix::internal {
namespace {

// An element that the result stores: its place there, counted by column, and which of the source's stored ones it is.
struct gathered {
    std::size_t place;
    std::size_t from;
};
using gathered_list = std::vector<gathered>;

bool by_place(const gathered& a, const gathered& b) noexcept { return a.place < b.place; }

void gather_listed(const ndArray_tag* source, const selected_places& places, gathered_list& found) {
    const std::size_t rows = row_count(source);
    const kvIndex* const starts = column_starts(source);
    const kvIndex* const row_of = row_indices(source);
    for (std::size_t place = 0; place < places.count(); ++place) {
        const std::size_t position = places.position(place);
        const std::size_t column = position / rows;
        const kvIndex* const end = row_of + starts[column + 1];
        const kvIndex* const at = std::lower_bound(row_of + starts[column], end, position % rows);
        if (at != end && *at == position % rows)
            found.push_back({place, static_cast<std::size_t>(at - row_of)});
    }
}

void gather_in_range(const ndArray_tag* source, const selected_places& places, gathered_list& found) {
    const kvIndex* const starts = column_starts(source);
    const kvIndex* const row_of = row_indices(source);
    for (std::size_t column = 0, k = 0; k < stored_count(source); ++column) {
        const std::size_t first = column * row_count(source);
        for (; k < starts[column + 1]; ++k)
            places.for_each_place(first + row_of[k], [&](std::size_t place) { found.push_back({place, k}); });
    }
    if (!places.keeps_order()) std::sort(found.begin(), found.end(), by_place);
}

gathered_list gather_linear(const ndArray_tag* source, const SubscriptSet& set) {
    const selected_places places(set, 0);
    gathered_list found;
    const bool listed = set.indices[0] != nullptr && set.kinds[0] == slot_kind::list;
    (listed ? gather_listed : gather_in_range)(source, places, found);
    return found;
}

gathered_list gather_columns(const ndArray_tag* source, const SubscriptSet& set) {
    const selected_places rows(set, 0);
    const selected_places columns(set, 1);
    const kvIndex* const starts = column_starts(source);
    const kvIndex* const row_of = row_indices(source);
    gathered_list found;
    for (std::size_t j = 0; j < columns.count(); ++j) {
        const std::size_t column = columns.position(j);
        const std::size_t before = found.size();
        for (std::size_t k = starts[column]; k < starts[column + 1]; ++k)
            rows.for_each_place(row_of[k], [&](std::size_t i) {
                found.push_back({i + j * rows.count(), k});
            });
        if (!rows.keeps_order())
            std::sort(found.begin() + static_cast<std::ptrdiff_t>(before), found.end(), by_place);
    }
    return found;
}

array_ptr create_gathered(const ndArray_tag* source, dims_view dims, const gathered_list& found) {
    const std::size_t rows = dims[0];
    const std::size_t columns = dims[1];
    array_ptr result =
        create_sparse(rows, columns, found.size(), code_of(source), DataInitialization::uninitialized);
    result->flags |= source->flags & flags_kept_by_reference;
    const std::size_t size = stored_element_size(source);
    kvIndex* const starts = column_starts(result.get());
    for (std::size_t k = 0; k < found.size(); ++k) {
        std::memcpy(static_cast<std::byte*>(result->pdata) + k * size,
                    static_cast<const std::byte*>(source->pdata) + found[k].from * size, size);
        row_indices(result.get())[k] = found[k].place % rows;
        ++starts[found[k].place / rows + 1];
    }
    for (std::size_t j = 0; j < columns; ++j) starts[j + 1] += starts[j];
    free_imag_if_zero(result.get());
    return result;
}

// More than two dimensions: without sparse form. Subscripts behind the second one repeat what the first two select.
array_ptr create_full(const ndArray_tag* source, dims_view dims, const gathered_list& found,
                      std::size_t gathered_from) {
    array_ptr result = create_numeric(dims, code_of(source), DataInitialization::zeroed);
    result->flags |= source->flags & flags_kept_by_reference;
    const std::size_t size = stored_element_size(source);
    const std::size_t total = found.empty() ? 0 : element_count(result.get());
    auto* const to = static_cast<std::byte*>(result->pdata);
    for (std::size_t before = 0; before < total; before += gathered_from)
        for (const gathered& element : found)
            std::memcpy(to + (before + element.place) * size,
                        static_cast<const std::byte*>(source->pdata) + element.from * size, size);
    free_imag_if_zero(result.get());
    refresh_scalar_double(result.get());
    return result;
}

} // namespace

array_ptr reference_sparse(const ndArray_tag* source, subscript_span subs) {
    if (subs.size() > 2 && !has_inline_dims(source))
        return reference_full(convert_to_full_if_needed(source).get(), subs);
    const dims_list seen = folded_dimensions(dims_of(source), subs.size());
    SubscriptSet set(subs.size(), true, false);
    fill_within(set, source, seen, subs);
    const dims_list counts(set.info.num.begin(), set.info.num.end());
    checked_index_count(counts);
    dims_list dims =
        subs.size() == 1 ? linear_reference_dims(dims_of(source), seen[0], subs[0], counts[0]) : counts;
    const bool is_full = without_trailing_ones(dims).size() > 2;
    if (is_full) checked_element_count(dims, stored_element_size(source));
    bring_data_up_to_date(source);
    const bool stores_something = checked_index_count(dims) != 0 && readable_count(source) != 0;
    const gathered_list found = !stores_something  ? gathered_list()
                                : subs.size() == 1 ? gather_linear(source, set)
                                                   : gather_columns(source, set);
    if (!is_full) return create_gathered(source, dims, found);
    return create_full(source, dims, found, subs.size() == 1 ? counts[0] : counts[0] * counts[1]);
}

} // namespace matrix::internal
