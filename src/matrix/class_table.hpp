// The one list of classes, and what is known about a class from its number.
//
// A class and its complexity travel as one integer, the code: the class, plus 32 when complex. Both tables below are indexed
// by it and have 64 entries, so that every code that fits the five class bits and the complex bit answers; codes of no class
// (0, 5, 19 to 31 and their complex partners) have size 0 and aren't numeric.
//
// A new class is one row of class_rows and, if it has elements of a C++ type, one row of element_types.
#pragma once

#include <nd/array.hpp>

#include <array>
#include <complex>
#include <string_view>
#include <type_traits>
#include <utility>

namespace matrix::internal {

struct class_row {
    ndClassID id;
    const char* name;
    std::uint8_t real_size;
    std::uint8_t complex_size;
    bool numeric;
    bool container;
};

inline constexpr std::array<class_row, 19> class_rows{{
    {ndUNKNOWN_CLASS, "unknown", 0, 0, false, false},
    {ndCELL_CLASS, "cell", 8, 0, false, true},
    {ndSTRUCT_CLASS, "struct", 8, 0, false, true},
    {ndLOGICAL_CLASS, "logical", 1, 0, false, false},
    {ndCHAR_CLASS, "char", 2, 0, false, false},
    {ndVOID_CLASS, "", 0, 0, false, false},
    {ndDOUBLE_CLASS, "double", 8, 16, true, false},
    {ndSINGLE_CLASS, "single", 4, 8, true, false},
    {ndINT8_CLASS, "int8", 1, 2, true, false},
    {ndUINT8_CLASS, "uint8", 1, 2, true, false},
    {ndINT16_CLASS, "int16", 2, 4, true, false},
    {ndUINT16_CLASS, "uint16", 2, 4, true, false},
    {ndINT32_CLASS, "int32", 4, 8, true, false},
    {ndUINT32_CLASS, "uint32", 4, 8, true, false},
    {ndINT64_CLASS, "int64", 8, 16, true, false},
    {ndUINT64_CLASS, "uint64", 8, 16, true, false},
    {ndFUNCTION_CLASS, "function_handle", 32, 0, false, false},
    {ndOPAQUE_CLASS, "opaque", 8, 0, false, false},
    {ndOBJECT_CLASS, "object", 8, 0, false, true},
}};

constexpr bool rows_stand_at_their_number() {
    for (std::size_t i = 0; i < class_rows.size(); ++i) {
        if (class_rows[i].id != static_cast<std::int32_t>(i)) return false;
    }
    return true;
}
static_assert(rows_stand_at_their_number());

inline constexpr std::uint32_t complex_code_bit = 32;
inline constexpr std::uint32_t class_code_mask = 31;
inline constexpr std::size_t code_count = 64;

constexpr NdArrayTypeId code_of(std::int32_t class_id, bool complex) noexcept {
    return NdArrayTypeId{static_cast<std::uint32_t>(class_id) + (complex ? complex_code_bit : 0U)};
}

/// The class number that is stored in the header for a code.
constexpr std::int32_t class_of(NdArrayTypeId code) noexcept {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(code) & class_code_mask);
}

constexpr bool is_complex_code(NdArrayTypeId code) noexcept {
    return static_cast<std::uint32_t>(code) > class_code_mask;
}

inline constexpr auto element_sizes = [] {
    std::array<std::uint8_t, code_count> sizes{};
    for (const class_row& row : class_rows) {
        sizes[code_of(row.id, false)] = row.real_size;
        sizes[code_of(row.id, true)] = row.complex_size;
    }
    return sizes;
}();

inline constexpr auto numeric_codes = [] {
    std::array<bool, code_count> numeric{};
    for (const class_row& row : class_rows) {
        numeric[code_of(row.id, false)] = row.numeric;
        numeric[code_of(row.id, true)] = row.numeric;
    }
    return numeric;
}();

/// Bytes of one element; 0 for every code that isn't a class.
constexpr std::size_t element_size(NdArrayTypeId code) noexcept {
    return static_cast<std::uint32_t>(code) < code_count ? element_sizes[code] : 0;
}

constexpr bool is_numeric(NdArrayTypeId code) noexcept {
    return static_cast<std::uint32_t>(code) < code_count && numeric_codes[code];
}

constexpr bool is_class(std::int32_t class_id) noexcept {
    return class_id >= 0 && class_id < static_cast<std::int32_t>(class_rows.size());
}

constexpr bool is_container_class(std::int32_t class_id) noexcept {
    return is_class(class_id) && class_rows[static_cast<std::size_t>(class_id)].container;
}

/// Struct and object: the classes whose slots are elements times fields. Bit 4 is all that tells 2 from 18.
constexpr bool is_struct_like(std::int32_t class_id) noexcept {
    return ((static_cast<std::uint32_t>(class_id) - ndSTRUCT_CLASS) & ~16U) == 0;
}

/// Classes 3 to 15: elements that are plain bytes. Void lies among them and has none.
constexpr bool has_plain_elements(std::int32_t class_id) noexcept {
    return class_id >= ndLOGICAL_CLASS && class_id <= ndUINT64_CLASS;
}

/// The classes whose arrays may hold references and therefore have containment records.
constexpr bool can_hold_references(std::int32_t class_id) noexcept {
    return is_container_class(class_id) || class_id == ndFUNCTION_CLASS || class_id == ndOPAQUE_CLASS;
}

template <ndClassID Id, class T>
struct element_type {
    static constexpr ndClassID class_id = Id;
    using type = T;
};

template <class... Rows>
struct element_type_list {};

/// The C++ type of one real element. A logical element is a byte: a buffer may hold values other than 0 and 1, and reading
/// those as bool is undefined.
using element_types =
    element_type_list<element_type<ndLOGICAL_CLASS, std::uint8_t>, element_type<ndCHAR_CLASS, char16_t>,
                      element_type<ndDOUBLE_CLASS, double>, element_type<ndSINGLE_CLASS, float>,
                      element_type<ndINT8_CLASS, std::int8_t>, element_type<ndUINT8_CLASS, std::uint8_t>,
                      element_type<ndINT16_CLASS, std::int16_t>, element_type<ndUINT16_CLASS, std::uint16_t>,
                      element_type<ndINT32_CLASS, std::int32_t>, element_type<ndUINT32_CLASS, std::uint32_t>,
                      element_type<ndINT64_CLASS, std::int64_t>, element_type<ndUINT64_CLASS, std::uint64_t>>;

template <class... Rows>
constexpr bool sizes_agree(element_type_list<Rows...>) {
    return ((sizeof(typename Rows::type) == element_size(code_of(Rows::class_id, false))) && ...);
}
static_assert(sizes_agree(element_types{}));

/// Calls body(element_type<Id, T>{}) for the class and returns true; false when the class has no element type.
template <class Body>
constexpr bool with_element_type(std::int32_t class_id, Body&& body) {
    return [&]<class... Rows>(element_type_list<Rows...>) {
        return ((class_id == Rows::class_id && (body(Rows{}), true)) || ...);
    }(element_types{});
}

} // namespace matrix::internal
