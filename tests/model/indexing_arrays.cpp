// Building arrays from the model's values and reading them, with as little of the library as there can be: creators and the record.
#include "model/indexing_arrays.hpp"

#include "matrix/class_hooks.hpp"
#include "matrix/containers.hpp"
#include "matrix/function_records.hpp"
#include "support/sparse_arr.hpp"

#include <nd/access.hpp>
#include <nd/class_access.hpp>
#include <nd/colon.hpp>
#include <nd/containers.hpp>

#include <bit>
#include <cmath>
#include <cstring>
#include <sstream>

namespace model {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;

using matrix::internal::function_record;

constexpr std::size_t shown_elements = 12;

long held = 0; // records and elements, by arrays of the library

void acquire(void*, const ndArray_tag*) { ++held; }
void release(void*, const ndArray_tag*) { --held; }

void* copy_element(const ndArray_tag*, const void* element) {
    ++held;
    return const_cast<void*>(element);
}
void destroy_element(const ndArray_tag*, void*) { --held; }

constexpr matrix::internal::opaque_element_hooks element_hooks{copy_element, destroy_element};

// In place of a pointer.
void* as_pointer(std::uint64_t number) { return std::bit_cast<void*>(number); }

array_ptr handle_of(std::uint64_t number) {
    array_ptr handle = matrix::create(dims{1, 1}, ndFUNCTION_CLASS, ndREAL);
    *static_cast<function_record*>(handle->pdata) = {nullptr, as_pointer(number), acquire, release};
    ++held;
    return handle;
}

array_ptr opaque_of(std::uint64_t number) {
    array_ptr opaque = matrix::create(dims{1, 1}, ndOPAQUE_CLASS, ndREAL);
    *static_cast<void**>(opaque->pdata) = as_pointer(number);
    ++held;
    return opaque;
}

// A double, or what can hold references: a cell, a function handle or an opaque array.
array_ptr slot_value(std::uint64_t number) {
    if (number == 0) return nullptr;
    if (number % 7 == 1) return handle_of(number);
    if (number % 7 == 2) return opaque_of(number);
    array_ptr content(api::ndCreateDoubleScalar(static_cast<double>(number)));
    if (number % 3 != 0) return content;
    array_ptr cell(api::ndCreateCellMatrix(1, 1));
    api::ndSetCell(cell.get(), 0, content.release());
    return cell;
}

array_ptr colon_object(const value& v) {
    const range& r = *v.as_range;
    if (v.class_id == ndINT64_CLASS)
        return matrix::create_int_colon_object(static_cast<long long>(r.start), r.step,
                                               static_cast<long long>(r.stop), v.class_id);
    if (v.class_id == ndUINT64_CLASS)
        return matrix::create_int_colon_object(static_cast<unsigned long long>(r.start), r.step,
                                               static_cast<unsigned long long>(r.stop), v.class_id);
    return matrix::create_colon_object(r.start, r.step, r.stop, v.class_id);
}

array_ptr with_slots(const value& v) {
    std::vector<const char*> names;
    for (const std::string& name : v.fields) names.push_back(name.c_str());
    array_ptr made =
        v.is_struct() ? matrix::detail::do_create_struct(v.shape, names) : matrix::create_cell(v.shape);
    if (v.class_id == ndOBJECT_CLASS) api::ndSetClassName(made.get(), "thing");
    std::size_t slot = 0;
    for (const element& one : v.elements) {
        if (!v.is_struct()) api::ndSetCell(made.get(), slot++, slot_value(one.re).release());
        for (std::size_t field = 0; field < v.fields.size(); ++field)
            api::ndSetCell(made.get(), slot++, slot_value(one.slots[field]).release());
    }
    return made;
}

array_ptr full_array(const value& v) {
    array_ptr made;
    if (v.class_id == ndLOGICAL_CLASS) {
        made.reset(api::ndCreateLogicalArray(v.shape.size(), v.shape.data()));
    } else if (v.class_id == ndCHAR_CLASS) {
        made = matrix::detail::do_create_char(v.shape);
    } else {
        made = matrix::create(v.shape, v.class_id, v.complex ? ndCOMPLEX : ndREAL);
    }
    const std::size_t part = element_size(v.class_id, false);
    auto* out = static_cast<std::byte*>(made->pdata);
    for (const element& one : v.elements) {
        std::memcpy(out, &one.re, part);
        out += part;
        if (!v.complex) continue;
        std::memcpy(out, &one.im, part);
        out += part;
    }
    return made;
}

dims dims_of(const ndArray_tag* real) {
    if ((real->flags & matrix::flag_inline_dims) != 0) return {real->m_or_dims, real->n_or_ndims};
    const auto* words = std::bit_cast<const std::size_t*>(real->m_or_dims);
    return {words, words + real->n_or_ndims};
}

// One number of plain bytes, zero where there are none.
element plain_element(const std::byte* from, std::size_t part, bool complex) {
    element one;
    std::memcpy(&one.re, from, part);
    if (complex) std::memcpy(&one.im, from + part, part);
    return one;
}

void read_sparse(value& v, const ndArray_tag* real) {
    const auto* rows = std::bit_cast<const std::size_t*>(real->info_a);
    const auto* starts = std::bit_cast<const std::size_t*>(real->info_b);
    const std::size_t part = element_size(v.class_id, false);
    const std::size_t width = element_size(v.class_id, v.complex);
    for (std::size_t column = 0; column < v.shape[1]; ++column) {
        for (std::size_t k = starts[column]; k < starts[column + 1]; ++k) {
            v.elements.at(column * v.shape[0] + rows[k]) =
                plain_element(static_cast<const std::byte*>(real->pdata) + k * width, part, v.complex);
        }
    }
}

void read_slots(value& v, const ndArray_tag* real) {
    auto* const* slots = static_cast<ndArray_tag* const*>(real->pdata);
    for (element& one : v.elements) {
        if (!v.is_struct()) one.re = number_in(*slots++);
        for (std::size_t field = 0; field < v.fields.size(); ++field) one.slots[field] = number_in(*slots++);
    }
}

value value_of(const ndArray_tag* real) {
    value v;
    v.class_id = static_cast<ndClassID>(real->class_id);
    v.complex = (real->flags & matrix::flags_complex_numeric) == matrix::flags_complex_numeric;
    v.sparse = (real->flags & matrix::flag_sparse) != 0;
    v.bracket = (real->flags & matrix::flag_empty_square_bracket) != 0;
    v.shape = dims_of(real);
    for (std::int32_t i = 0; i < real->get_number_of_struct_fields(); ++i)
        v.fields.emplace_back(real->get_struct_field_names()[i]);
    v.elements.resize(count_of(v.shape));
    if (v.elements.empty() || v.class_id == ndUNKNOWN_CLASS) return v;
    if (v.sparse) {
        read_sparse(v, real);
    } else if (v.is_cell_like()) {
        if (real->pdata != nullptr) read_slots(v, real);
    } else {
        const std::size_t width = element_size(v.class_id, v.complex);
        for (std::size_t i = 0; i < v.elements.size(); ++i) {
            v.elements[i] = plain_element(static_cast<const std::byte*>(real->pdata) + i * width,
                                          element_size(v.class_id, false), v.complex);
        }
    }
    return v;
}

const char* name_of(ndClassID class_id) {
    constexpr const char* names[] = {"unknown", "cell",   "struct", "logical", "char",   "void",  "double",
                                     "single",  "int8",   "uint8",  "int16",   "uint16", "int32", "uint32",
                                     "int64",   "uint64", "handle", "opaque",  "object"};
    return names[class_id];
}

void tell_element(std::ostream& out, const value& v, const element& one) {
    if (v.is_struct()) {
        out << '(';
        for (std::size_t field = 0; field < v.fields.size(); ++field)
            out << (field == 0 ? "" : " ") << one.slots[field];
        out << ')';
        return;
    }
    out << static_cast<double>(number_of(v.class_id, one.re));
    if (v.complex) out << '+' << static_cast<double>(number_of(v.class_id, one.im)) << 'i';
}

} // namespace

std::uint64_t number_in(const ndArray_tag* slot) {
    if (slot == nullptr) return 0;
    if (slot->class_id == ndFUNCTION_CLASS)
        return std::bit_cast<std::uint64_t>(static_cast<const function_record*>(slot->pdata)->data);
    if (slot->class_id == ndOPAQUE_CLASS)
        return std::bit_cast<std::uint64_t>(*static_cast<void* const*>(slot->pdata));
    if (slot->class_id == ndCELL_CLASS) slot = *static_cast<ndArray_tag* const*>(slot->pdata);
    return static_cast<std::uint64_t>(*static_cast<const double*>(slot->pdata));
}

counted_contents::counted_contents() {
    held = 0;
    matrix::internal::set_opaque_element_hooks(&element_hooks);
}

counted_contents::~counted_contents() { matrix::internal::set_opaque_element_hooks(nullptr); }

long counted_contents::count() const noexcept { return held; }

array_ptr real_array(const value& expected) {
    if (expected.as_range) return colon_object(expected);
    array_ptr made;
    if (expected.class_id == ndUNKNOWN_CLASS) {
        made.reset(api::ndCreateEmptyUnknownArrayNotOnArrayList());
        made->set_dimensions(expected.shape);
    } else if (expected.is_cell_like()) {
        made = with_slots(expected);
    } else {
        made = full_array(expected);
    }
    if (expected.sparse) made = test::sparse_of(made.get());
    if (expected.bracket) api::ndSetEmptySqrBrktFlag(made.get());
    return made;
}

std::string difference(const value& expected, const ndArray_tag* real) {
    const value found = value_of(real);
    if (found == expected) return {};
    return "expected " + text_of(expected) + "\n   found " + text_of(found);
}

std::string text_of(const value& v) {
    std::ostringstream out;
    if (v.is_colon()) return "':'";
    if (v.as_range) {
        out << name_of(v.class_id) << ' ' << v.as_range->start << ':' << v.as_range->step << ':'
            << v.as_range->stop;
        return out.str();
    }
    out << (v.bracket ? "bracket " : "") << (v.sparse ? "sparse " : "") << (v.complex ? "complex " : "")
        << name_of(v.class_id) << ' ';
    for (std::size_t i = 0; i < v.shape.size(); ++i) out << (i == 0 ? "" : "x") << v.shape[i];
    out << " {";
    for (std::size_t i = 0; i < v.elements.size(); ++i) {
        if (i == shown_elements) {
            out << ", ...";
            break;
        }
        out << (i == 0 ? "" : ", ");
        tell_element(out, v, v.elements[i]);
    }
    out << '}';
    if (v.is_struct()) out << " with " << v.fields.size() << " fields";
    return out.str();
}

} // namespace model
