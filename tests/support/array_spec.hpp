// Descriptions of arrays as tests write them: "double 2x3", "complex single 2x2", "cell 1x4", "int8" (which is 1x1).
#pragma once

#include <nd/types.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace test {

struct array_spec {
    ndClassID class_id = ndUNKNOWN_CLASS;
    ndComplexity complexity = ndREAL;
    std::vector<std::size_t> dims;

    std::size_t element_count() const; ///< the product of dims
};

/// Raises std::invalid_argument, which names the word that isn't understood.
array_spec parse_array_spec(std::string_view text);

/// "2x3x4".
std::string dims_text(const std::vector<std::size_t>& dims);

} // namespace test
