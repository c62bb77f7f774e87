/*
 * Reads the elements of a result for showing and saving. Borrows the array: it must outlive the view.
 *
 * A result is looked at as a matrix: dimensions beyond the second continue the columns, page after page. A colon object is looked
 * at as the vector that it stands for; one of more than longest_range elements (range_values.hpp) has neither numbers nor text.
 * What a sparse array stores is sparse_view's.
 */
#ifndef ND_TOOLS_ARRAY_VIEW_HPP
#define ND_TOOLS_ARRAY_VIEW_HPP

#include "element_reader.hpp"

#include <nd/engine.hpp>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace nd_host {

class array_view {
public:
    /// Raises what expanding a colon object raises.
    explicit array_view(const ndArray_tag& array);

    /// Shape and class as one reads them aloud: "12x3 double", "1x1 complex single". An object without a class name is an "object".
    std::string description() const;

    /// Whether the elements are numbers that this view can read: full, and numeric or logical. An array without elements counts.
    bool has_numbers() const noexcept;

    /// Whether the elements are UTF-16 units of text. An array without elements counts.
    bool has_text() const noexcept;

    bool is_complex() const noexcept { return complex_; }
    std::size_t rows() const noexcept { return dims_[0]; }
    std::size_t columns() const noexcept { return columns_; }
    const std::vector<std::size_t>& dims() const noexcept { return dims_; }

    /// The element, for a complex array its real part. Needs has_numbers() and indices, from 0, below rows() and columns().
    number real(std::size_t row, std::size_t column) const noexcept;

    /// The imaginary part; needs is_complex() too.
    number imaginary(std::size_t row, std::size_t column) const noexcept;

    /// The unit; needs has_text() and such indices.
    char16_t unit(std::size_t row, std::size_t column) const noexcept;

private:
    bool has_elements_in_place() const noexcept;

    std::shared_ptr<const ndArray_tag> expanded_; // of a colon object
    const ndArray_tag& array_;                    // what is looked at
    element_reader read_;
    bool complex_;
    std::vector<std::size_t> dims_;
    std::size_t columns_ = 1;
};

} // namespace nd_host

#endif
