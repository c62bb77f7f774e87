// Comparison of arrays with a diff:
//
//     EXPECT_THAT(result, EqualsArray(arr("double 1x2", {1, 2})));
//
// Two values are equal when class, complexity, dimensions, field names, sparsity and every element agree, whatever block or header
// they have. Elements compare by their bits, but for NaN, which equals every NaN. The actual value is validated first: a
// broken one equals nothing, and the message says which rule it breaks. Of function handles and opaque values only
// class and shape are compared.
#pragma once

#include "support/array_text.hpp"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <utility>

namespace test {

/// Where two values differ, with the first differing elements and their subscripts; empty when they are equal.
std::string array_difference(const ndArray_tag* expected, const ndArray_tag* actual);

inline bool same_value(const ndArray_tag* a, const ndArray_tag* b) { return array_difference(a, b).empty(); }

class equals_array_matcher {
public:
    using is_gtest_matcher = void;

    explicit equals_array_matcher(std::shared_ptr<const ndArray_tag> expected)
        : expected_(std::move(expected)) {}

    bool MatchAndExplain(const ndArray_tag* actual, std::ostream* explanation) const;
    bool MatchAndExplain(const matrix::array_ptr& actual, std::ostream* explanation) const {
        return MatchAndExplain(actual.get(), explanation);
    }
    void DescribeTo(std::ostream* out) const;
    void DescribeNegationTo(std::ostream* out) const;

private:
    std::shared_ptr<const ndArray_tag> expected_;
};

/// The expected value, owned by the matcher or borrowed from the caller.
inline equals_array_matcher EqualsArray(matrix::array_ptr expected) {
    return equals_array_matcher(std::shared_ptr<const ndArray_tag>(std::move(expected)));
}
inline equals_array_matcher EqualsArray(const ndArray_tag* expected) {
    return equals_array_matcher(std::shared_ptr<const ndArray_tag>(expected, [](const ndArray_tag*) {}));
}

} // namespace test
