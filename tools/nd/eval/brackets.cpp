#include "eval/brackets.hpp"

#include "eval/notation_error.hpp"

#include <algorithm>
#include <cstring>

namespace nd_host::eval {

namespace {

bool is_nothing(const array_ptr& part) {
    return nd_array_api::ndGetM(part.get()) == 0 && nd_array_api::ndGetN(part.get()) == 0;
}

// Which of two classes comes first in the list of the head comment; of two integer classes the left one.
ndClassID stronger(ndClassID left, ndClassID right) {
    static constexpr auto rank = [](ndClassID cls) {
        return cls == ndCELL_CLASS                            ? 5
               : cls == ndCHAR_CLASS                          ? 4
               : cls >= ndINT8_CLASS && cls <= ndUINT64_CLASS ? 3
               : cls == ndSINGLE_CLASS                        ? 2
               : cls == ndDOUBLE_CLASS                        ? 1
                                                              : 0;
    };
    return rank(right) > rank(left) ? right : left;
}

// The class and complexity of the result, from all parts, [] included.
struct result_kind {
    ndClassID cls = ndUNKNOWN_CLASS;
    bool is_complex = false;

    void take_in(const ndArray_tag& part) {
        const ndClassID its = nd_array_api::ndGetArrayType(&part);
        if (its != ndCELL_CLASS && (its < ndLOGICAL_CLASS || its > ndUINT64_CLASS)) {
            throw notation_error("operands", "[...] takes no " + class_name(part));
        }
        if (nd_array_api::ndGetNumberOfDimensions(&part) != 2) {
            throw notation_error("operands", "[...] takes no arrays of more than two dimensions");
        }
        cls = cls == ndUNKNOWN_CLASS ? its : stronger(cls, its);
        is_complex = is_complex || nd_array_api::ndIsComplex(&part);
    }

    // What isn't a number has no imaginary part: complex numbers among text are for their conversion to refuse.
    ndComplexity complexity() const {
        return is_complex && nd_array_api::ndIsNumericArrayType(cls) ? ndCOMPLEX : ndREAL;
    }
};

array_ptr fitted(array_ptr part, const result_kind& kind) {
    part = matrix::convert_to_full_if_needed(std::move(part));
    if (kind.cls == ndCELL_CLASS) {
        return part->class_id == ndCELL_CLASS ? std::move(part) : cell_around(std::move(part));
    }
    if (part->class_id == ndLOGICAL_CLASS && kind.cls == ndCHAR_CLASS) {
        part = matrix::convert_if_needed(std::move(part), ndDOUBLE_CLASS); // the way that there is to char
    }
    part = matrix::convert_if_needed(std::move(part), kind.cls);
    if (kind.complexity() == ndCOMPLEX && !nd_array_api::ndIsComplex(part.get())) {
        nd_array_api::ndUnshareArray(part.get(), 1);
        nd_array_api::ndInflateRealToComplex(part.get());
    }
    return part;
}

struct extent {
    std::size_t rows = 0;
    std::size_t columns = 0;
};

[[noreturn]] void dont_fit(const char* what) {
    throw notation_error("dimensions", std::string("the ") + what);
}

extent extent_of_row(const std::vector<array_ptr>& row) {
    extent all;
    for (const array_ptr& part : row) {
        const std::size_t m = nd_array_api::ndGetM(part.get());
        if (&part != &row.front() && m != all.rows) {
            dont_fit("parts of a row have different heights");
        }
        all.rows = m;
        all.columns += nd_array_api::ndGetN(part.get());
    }
    return all;
}

extent extent_of(const part_rows& rows) {
    extent all;
    for (const auto& row : rows) {
        const extent one = extent_of_row(row);
        if (&row != &rows.front() && one.columns != all.columns) {
            dont_fit("rows have different lengths");
        }
        all.columns = one.columns;
        all.rows += one.rows;
    }
    return all;
}

// Puts part into result, its first element at (row, column). Both are of one class and complexity.
void put(ndArray_tag& result, const ndArray_tag& part, std::size_t row, std::size_t column) {
    if (nd_array_api::ndIsEmpty(&part)) {
        return; // however many columns without elements it has
    }
    const std::size_t m = nd_array_api::ndGetM(&part);
    const std::size_t height = nd_array_api::ndGetM(&result);
    for (std::size_t j = 0; j < nd_array_api::ndGetN(&part); ++j) {
        const std::size_t to = (column + j) * height + row;
        if (result.class_id == ndCELL_CLASS) {
            for (std::size_t i = 0; i < m; ++i) {
                ndArray_tag* const element = nd_array_api::ndGetCell(&part, j * m + i);
                nd_array_api::ndSetCopyInCell(&result, to + i, element);
            }
        } else {
            const std::size_t size = nd_array_api::ndGetElementSize(&result);
            std::memcpy(static_cast<char*>(result.pdata) + to * size,
                        static_cast<const char*>(part.pdata) + j * m * size, m * size);
        }
    }
}

array_ptr created(const extent& size, const result_kind& kind) {
    const std::array dims{size.rows, size.columns};
    if (kind.cls == ndCELL_CLASS) {
        return matrix::create_cell(dims);
    }
    return matrix::create(dims, kind.cls, kind.complexity());
}

array_ptr joined(const part_rows& rows, const result_kind& kind) {
    array_ptr result = created(extent_of(rows), kind);
    std::size_t top = 0;
    for (const auto& row : rows) {
        std::size_t left = 0;
        for (const array_ptr& part : row) {
            put(*result, *part, top, left);
            left += nd_array_api::ndGetN(part.get());
        }
        top += nd_array_api::ndGetM(row.front().get());
    }
    return result;
}

} // namespace

array_ptr matrix_of(part_rows rows) {
    result_kind kind;
    bool any = false;
    for (auto& row : rows) {
        for (array_ptr& part : row) {
            any = true;
            kind.take_in(*part);
        }
    }
    if (!any) {
        return empty_brackets();
    }
    for (auto& row : rows) {
        std::erase_if(row, is_nothing);
        for (array_ptr& part : row) {
            part = fitted(std::move(part), kind);
        }
    }
    std::erase_if(rows, [](const auto& row) { return row.empty(); });
    return joined(rows, kind);
}

array_ptr cell_of(part_rows rows) {
    for (auto& row : rows) {
        for (array_ptr& part : row) {
            part = cell_around(std::move(part));
        }
    }
    std::erase_if(rows, [](const auto& row) { return row.empty(); });
    return joined(rows, {ndCELL_CLASS, false});
}

array_ptr cell_around(array_ptr value) {
    array_ptr cell = matrix::create_cell(std::array<std::size_t, 2>{1, 1});
    nd_array_api::ndSetCell(cell.get(), 0, value.get());
    static_cast<void>(value.release()); // the cell's from here on
    return cell;
}

} // namespace nd_host::eval
