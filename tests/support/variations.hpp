// One value in every representation that it can have.
//
//     for_each_variation(arr("double 2x3", {1, 2, 3, 4, 5, 6}), [](matrix::array_ptr& x) {
//         EXPECT_THAT(do_something(x.get()), EqualsArray(...));
//     });
//
// The body gets the value by reference: it may change it, destroy it or take it. Companions of a representation (another
// sharer of the block, another owner of the header) are held outside; a companion that shares only the block must keep its
// value. The name of the representation stands in every failure.
//
// A new representation is one row of the table in variations.cpp.
#pragma once

#include <nd/create.hpp>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace test {

struct representation {
    matrix::array_ptr value;
    std::vector<matrix::array_ptr> sharers;      ///< other headers over the same block
    std::vector<matrix::array_ptr> other_owners; ///< the same header once more
    std::vector<matrix::array_ptr> bystanders;   ///< headers that share something else
};

struct variation {
    const char* name;
    bool (*applies)(const ndArray_tag* value);
    representation (*make)(const ndArray_tag* value); ///< a fresh array of the same value
};

std::span<const variation> all_variations();

using variation_body = std::function<void(matrix::array_ptr& value)>;

void for_each_variation(const ndArray_tag* value, const variation_body& body);
inline void for_each_variation(const matrix::array_ptr& value, const variation_body& body) {
    for_each_variation(value.get(), body);
}

/// The colon object that stands for the value; null where the value is no range.
matrix::array_ptr as_colon_object(const ndArray_tag* value);

/// The same for operations that take a value and not its data: also as a colon object, where the value is a range.
void for_each_variation_of_value(const ndArray_tag* value, const variation_body& body);
inline void for_each_variation_of_value(const matrix::array_ptr& value, const variation_body& body) {
    for_each_variation_of_value(value.get(), body);
}

} // namespace test
