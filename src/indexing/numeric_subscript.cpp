// Numeric subscripts as lists of positions.
//
// The order: complex is refused, a sparse array with an implicit zero is refused, elements without data are refused, then the loop runs
// over all values. Only when it says that one of them is no index are they looked at singly, for the first of these and its error.
#include "indexing/kernel_choice.hpp"
#include "indexing/subscript_lists.hpp"
#include "indexing/subscript_text.hpp"
#include "indexing/subscript_value.hpp"

#include "matrix/accessors.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/sparse_parts.hpp"

#include <cstring>
#include <utility>

namespace matrix::internal {
namespace {

using Korvane::indexing::utilities::BadSubscriptHandler;
using Korvane::indexing::utilities::IndicesType;

// Null for a class that has no numbers.
position_kernel kernel_for(std::int32_t class_id) noexcept {
    const subscript_kernels& kernels = subscript_loops_here();
    switch (class_id) {
    case ndDOUBLE_CLASS:
        return kernels.doubles;
    case ndSINGLE_CLASS:
        return kernels.singles;
    case ndINT8_CLASS:
        return kernels.int8;
    case ndUINT8_CLASS:
        return kernels.uint8;
    case ndINT16_CLASS:
        return kernels.int16;
    case ndUINT16_CLASS:
    case ndCHAR_CLASS:
        return kernels.uint16;
    case ndINT32_CLASS:
        return kernels.int32;
    case ndUINT32_CLASS:
        return kernels.uint32;
    case ndINT64_CLASS:
    case ndUINT64_CLASS:
        return kernels.wide;
    default:
        return nullptr;
    }
}

// The first value that is no index; there is one.
[[noreturn, gnu::cold]] void raise_for_first_bad(const ndArray_tag* subscript, std::size_t count,
                                                 const BadSubscriptHandler& handler) {
    std::size_t bad = 0;
    index_verdict verdict = index_verdict::valid;
    with_element_type(subscript->class_id, [&]<class Row>(Row) {
        using value = typename Row::type;
        const auto* const bytes = static_cast<const std::byte*>(subscript->pdata);
        for (; bad < count; ++bad) {
            value x;
            std::memcpy(&x, bytes + bad * sizeof x, sizeof x);
            verdict = judge_index(x);
            if (verdict != index_verdict::valid) return;
        }
    });
    std::string text = element_text(subscript, bad);
    if (verdict == index_verdict::too_large)
        handler.ThrowIndexTooLargeOrIndexExceedsDimension(IndicesType::numeric, std::move(text));
    handler.ThrowInvalidIndexError(std::move(text));
}

// The first value is told where there is one.
[[noreturn, gnu::cold]] void raise_for_complex(const ndArray_tag* subscript, std::size_t count,
                                               const BadSubscriptHandler& handler) {
    if (count == 0 || is_sparse(subscript)) handler.ThrowInvalidIndexError();
    bring_data_up_to_date(subscript);
    if (subscript->pdata == nullptr) handler.ThrowInvalidIndexError();
    handler.ThrowInvalidIndexError(element_text(subscript, 0));
}

} // namespace

index_list numeric_positions(const ndArray_tag* subscript, const BadSubscriptHandler& handler) {
    const position_kernel convert = kernel_for(subscript->class_id);
    if (convert == nullptr) return {};
    const std::size_t count = element_count(subscript);
    if (is_complex(subscript)) raise_for_complex(subscript, count, handler);
    if (is_sparse(subscript) && stored_count(subscript) != count) handler.ThrowInvalidIndexError("0");
    if (count == 0) return {};
    bring_data_up_to_date(subscript);
    if (subscript->pdata == nullptr) handler.ThrowInvalidIndexError();
    index_list list{make_index_block(count), count, 0};
    if (!convert(subscript->pdata, count, list.positions.get(), &list.max))
        raise_for_first_bad(subscript, count, handler);
    return list;
}

} // namespace matrix::internal
