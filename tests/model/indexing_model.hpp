// The reference model of subscripts: reference, assignment, growth, deletion and fields over arrays of any class and number of
// dimensions, written slowly and obviously. Nothing is shared with the library but the names of the classes.
//
// A value is a list of elements by column. What an element is doesn't matter to the rules, which move elements about: a number is
// its bits, a slot of a cell the number of what it holds, an element of a struct one such number for each field.
//
// A subscript is a value too. What the library refuses is thrown as a refusal, which names the error.
#pragma once

#include "model/array_model.hpp"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace model {

/// "badTypeIndices(2)": the key of the error and, where the error tells it, the position of the subscript.
struct refusal {
    std::string error;
};

inline constexpr std::size_t most_fields = 3;

struct element {
    std::uint64_t re = 0; ///< the bytes of a number from the lowest on; what a slot holds, 0 for nothing
    std::uint64_t im = 0; ///< the same of the imaginary part
    std::array<std::uint64_t, most_fields> slots{}; ///< of a struct: one for each field

    bool operator==(const element&) const = default;
};

/// What a colon object says.
struct range {
    double start = 1;
    double step = 1;
    double stop = 0;
};

struct value {
    ndClassID class_id = ndUNKNOWN_CLASS;
    bool complex = false;
    bool sparse = false;
    bool bracket = false; ///< the literal empty bracket, which gives way to what is assigned
    dims shape{0, 0};
    std::vector<element> elements;
    std::vector<std::string> fields;
    std::optional<range> as_range; ///< a subscript that is a colon object; its elements aren't here

    bool is_struct() const { return class_id == ndSTRUCT_CLASS || class_id == ndOBJECT_CLASS; }
    bool is_cell_like() const { return is_struct() || class_id == ndCELL_CLASS; }
    bool is_colon() const; ///< the text ':'
    bool is_empty() const;

    std::size_t element_bytes() const;
    bool operator==(const value& other) const;
};

value blank_value(ndClassID class_id, bool complex, const dims& shape, std::vector<std::string> fields = {});
value colon();

/// A double as an element's bits and back; by class.
std::uint64_t bits_of(ndClassID class_id, long double number);
long double number_of(ndClassID class_id, std::uint64_t bits);

using subscripts = std::span<const value>;

/// What the array looks like through so many subscripts.
dims folded(const dims& shape, std::size_t nsubs);

/// The position, counted from 1, of the only dimension other than 1; 0 if there is none or more than one.
std::size_t orientation(const dims& shape);

/// What one subscript selects of a dimension.
struct selection {
    std::vector<std::size_t> positions; ///< counted from 0
    std::size_t max = 0;                ///< counted from 1
    bool is_colon = false;
    bool open = false; ///< a colon of a dimension of size 0

    std::size_t count() const { return positions.size(); }
    bool is_nothing() const { return positions.empty() && !is_colon; }
    void take_first(std::size_t length);
};

/// position tells errors which subscript it is, counted from 1; with bounds an index beyond 2^48 - 1 is beyond the array.
selection select(const value& subscript, std::size_t dim, std::size_t position, bool with_bounds);

/// What an array of such elements can't have: pmaxsize above 2^48 - 1 elements or bytes, nomem above what memory could hold.
void check_size(const dims& shape, std::size_t element_bytes);

/// A complex value without imaginary parts becomes real.
void free_zero_imaginary(value& a);

/// What becomes of a sparse array that was changed in full storage: its zeros have no sign, and columns are all that is left of further
/// dimensions.
void store_sparsely(value& a);

value reference(const value& a, subscripts subs);

/// Field number field, counted from 1, of the elements that are selected, as a cell.
value field_reference(const value& a, subscripts subs, std::size_t field);

/// What an assignment may be told beside its operands, and whether it grew the left side or replaced it.
struct growth_terms {
    std::optional<element> filler = {}; ///< what new elements are; zeros without it
    bool resize_only = false;
    bool grew = false;
};
void assign(value& lhs, subscripts subs, const value& rhs, growth_terms& terms);

/// rhs is a cell with what the field of the selected elements shall hold.
void field_assign(value& lhs, subscripts subs, const value& rhs, std::size_t field, bool& grew);

/// Subscripts counted from 0. complex: the element is stored with its imaginary part.
void scalar_assign(value& a, std::span<const std::size_t> subs, const element& one, bool complex);

void erase(value& a, subscripts subs);

/// Grows or shrinks: elements keep their positions.
void resize(value& a, const dims& shape);
bool resize_vector(value& a, std::size_t length, bool complex);
void resize_matrix(value& a, std::size_t m, std::size_t n, bool complex);

/// What the word end stands for.
double end_of(const value& a, std::size_t position, std::size_t nsubs);

/// Elements at their places in the new shape; those without one go, the others are new.
void move_elements(value& a, const dims& from, const dims& to, const element& fresh);

/// The offset of an element, or which subscript, counted from 1, is beyond its dimension. Each subscript selects one element.
struct place {
    std::size_t offset = 0;
    std::size_t failed = 0;
    std::vector<std::size_t> indices = {}; ///< counted from 1, that of the field in front
};
place scalar_place(const value& a, subscripts subs, std::size_t field, bool with_bounds);

/// The offset of a slot that is going to be written: a grows to have it. Without keep, elements stay in their order.
std::size_t slot_place(value& a, subscripts subs, std::size_t field, bool keep, bool& grew);

/// How many elements a subscript selects; nothing for a class that can't be one.
std::optional<std::size_t> count_selected(const value& a, const value& subscript, std::size_t position,
                                          std::size_t nsubs);

} // namespace model
