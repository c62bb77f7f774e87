/*
 * Reads what a sparse array stores, for showing. Borrows the array: it must outlive the view.
 */
#ifndef ND_TOOLS_SPARSE_VIEW_HPP
#define ND_TOOLS_SPARSE_VIEW_HPP

#include "element_reader.hpp"
#include "number_format.hpp"

#include <nd/engine.hpp>

#include <cstddef>
#include <string>

namespace nd_host {

class sparse_view {
public:
    explicit sparse_view(const ndArray_tag& array) noexcept;

    /// Whether this is a sparse array with vectors that fit its size: rows in it, columns one behind the other. An addon function
    /// may have put in others; then nothing else may be asked.
    bool is_sound() const noexcept { return sound_; }

    std::size_t rows() const noexcept { return rows_; }
    std::size_t columns() const noexcept { return columns_; }

    /// How many elements are stored, zeros among them too. The places below this are those of stored elements, column by column.
    std::size_t count() const noexcept { return starts_[columns_]; }

    /// The first place of a column; of columns(), count().
    std::size_t start_of(std::size_t column) const noexcept { return starts_[column]; }

    /// Row and column of a stored element, from 0.
    std::size_t row_of(std::size_t place) const noexcept { return rows_of_[place]; }
    std::size_t column_of(std::size_t place) const noexcept;

    std::string value_text(std::size_t place, const float_format& format) const;

private:
    bool fits() const noexcept;

    const ndArray_tag& array_;
    std::size_t rows_;
    std::size_t columns_;
    const kvIndex* rows_of_;
    const kvIndex* starts_;
    element_reader read_;
    bool sound_;
};

} // namespace nd_host

#endif
