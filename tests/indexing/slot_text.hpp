// Converted subscripts as text, and a subscript converted alone.
//
//     ":4"  ":0"                       the colon of a dimension of that size
//     "nothing"
//     "[0 2 4] max 5"                  a list
//     "{0 2 4} up, 3 max 5"            a range: first, step, last; its kind, count and maximum
#pragma once

#include "indexing/subscript_set.hpp"

#include <nd/create.hpp>

#include <sstream>
#include <string>

namespace test {

using Korvane::indexing::utilities::BadSubscriptHandler;
using matrix::internal::SubscriptSet;

/// The slot by its absolute number. A slot that breaks a rule of the set reads "broken".
inline std::string slot_text(const SubscriptSet& set, std::size_t slot) {
    using Korvane::engine::IndexFlag;
    using matrix::internal::slot_kind;
    const kvIndex* const block = set.indices[slot];
    const kvSize num = set.info.num[slot];
    const kvSize max = set.info.max[slot];
    std::ostringstream text;
    switch (set.info.flag[slot]) {
    case IndexFlag::colon:
    case IndexFlag::colon_of_zero:
        if (block != nullptr || num != max || set.kinds[slot] != slot_kind::list ||
            (num == 0) != (set.info.flag[slot] == IndexFlag::colon_of_zero))
            return "broken";
        text << ':' << num;
        return text.str();
    case IndexFlag::empty:
        return block == nullptr && num == 0 && max == 0 && set.kinds[slot] == slot_kind::list ? "nothing"
                                                                                              : "broken";
    case IndexFlag::list:
        break;
    }
    if (block == nullptr || num == 0) return "broken";
    const bool list = set.kinds[slot] == slot_kind::list;
    text << (list ? '[' : '{');
    for (std::size_t i = 0; i < (list ? num : 3); ++i) text << (i == 0 ? "" : " ") << block[i];
    if (list) {
        text << ']';
    } else {
        text << (set.kinds[slot] == slot_kind::ascending ? "} up, " : "} down, ") << num;
    }
    text << " max " << max;
    return text.str();
}

/// For an operation that may grow the array, and for one that stays within 3x4.
inline BadSubscriptHandler growing(std::size_t position = 1, std::size_t nsubs = 1) {
    return BadSubscriptHandler::InitializeInvalidIndexHandler(nsubs, position);
}
inline BadSubscriptHandler within_3x4(std::size_t position = 1, std::size_t nsubs = 1) {
    static constexpr std::size_t dims[] = {3, 4};
    return BadSubscriptHandler::InitializeIndexExceedsBoundsHandler(nsubs, 2, dims, position);
}

inline std::string converted(const ndArray_tag* subscript, std::size_t dim = 10, bool use_ranges = true,
                             const BadSubscriptHandler& handler = growing()) {
    SubscriptSet set(1, use_ranges, false);
    matrix::internal::FillSubscriptSlot(set, 0, &subscript, dim, handler);
    return slot_text(set, 0);
}
inline std::string converted(const matrix::array_ptr& subscript, std::size_t dim = 10, bool use_ranges = true,
                             const BadSubscriptHandler& handler = growing()) {
    return converted(subscript.get(), dim, use_ranges, handler);
}

} // namespace test
