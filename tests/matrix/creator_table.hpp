// All creators of numeric arrays as rows of one table: how each takes its dimensions, which class and complexity it makes of its
// arguments, and whether the elements are zeroed.
#pragma once

#include "matrix/class_table.hpp"

#include <nd/create.hpp>

#include <span>
#include <string>

namespace test {

/// Arguments of a creator; which of them it looks at is told by its row.
struct creator_args {
    std::span<const std::size_t> dims; ///< exactly two for a matrix creator
    int class_id;
    int complexity;
};

struct creator_row {
    enum class counts { never, when_one, when_not_zero };
    static constexpr int given_class = -1;

    const char* name;
    bool takes_any_rank;
    int class_id; ///< the class that it always makes, or given_class
    counts complexity;
    bool zeroed;
    bool framed;    ///< has the interface's frame: module mode decides between exception and null
    bool may_cache; ///< takes a pair of the cache where that is on
    ndArray_tag* (*make)(const creator_args& args);

    /// The class and complexity that the arguments mean to this creator.
    matrix::internal::NdArrayTypeId code(const creator_args& args) const;
};

std::span<const creator_row> all_creators();

/// Whether an uninitialised block of the class could not be destroyed: such blocks are zeroed always.
bool holds_references(matrix::internal::NdArrayTypeId code);

} // namespace test
