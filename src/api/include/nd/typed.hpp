/*
 * nd/typed.hpp: views that bind an array to a compile-time element type.
 *
 * A view is a pointer to the array and a type: it owns nothing and is valid while the array is. Making one tests that the
 * array has the class and complexity that the type stands for, so code below needs no test of its own.
 */
#ifndef ND_TYPED_HPP
#define ND_TYPED_HPP

#include <nd/array.hpp>

#include <complex>
#include <cstdint>
#include <span>
#include <type_traits>

namespace matrix {

/// Raise std::invalid_argument with what a dispatch over classes refused:
/// "Array with 3 dimensions not compatible with shape of NAME"
[[noreturn]] ND_EXPORT void rejectArrayShape(std::size_t ndims, const char* typeName);
/// "Functor NAME does not accept ndClassID 6"
[[noreturn]] ND_EXPORT void rejectClassId(const char* typeName, ndClassID classId);
/// "Unknown or invalid ndClassID: unknown (99)"
[[noreturn]] ND_EXPORT void rejectInvalidClassId(ndClassID classId);

namespace detail {

/// The class whose real elements are T; ndUNKNOWN_CLASS for every other type.
template <class T>
inline constexpr ndClassID class_of_type = ndUNKNOWN_CLASS;
template <>
inline constexpr ndClassID class_of_type<bool> = ndLOGICAL_CLASS;
template <>
inline constexpr ndClassID class_of_type<double> = ndDOUBLE_CLASS;
template <>
inline constexpr ndClassID class_of_type<float> = ndSINGLE_CLASS;
template <>
inline constexpr ndClassID class_of_type<std::int8_t> = ndINT8_CLASS;
template <>
inline constexpr ndClassID class_of_type<std::uint8_t> = ndUINT8_CLASS;
template <>
inline constexpr ndClassID class_of_type<std::int16_t> = ndINT16_CLASS;
template <>
inline constexpr ndClassID class_of_type<std::uint16_t> = ndUINT16_CLASS;
template <>
inline constexpr ndClassID class_of_type<std::int32_t> = ndINT32_CLASS;
template <>
inline constexpr ndClassID class_of_type<std::uint32_t> = ndUINT32_CLASS;
template <>
inline constexpr ndClassID class_of_type<std::int64_t> = ndINT64_CLASS;
template <>
inline constexpr ndClassID class_of_type<std::uint64_t> = ndUINT64_CLASS;

template <class T>
struct real_part {
    using type = T;
};
template <class T>
struct real_part<std::complex<T>> {
    using type = T;
};

/// Class and complexity of the arrays whose elements are T.
template <class T>
struct array_kind {
    using real_type = typename real_part<T>::type;
    static constexpr ndClassID class_id = class_of_type<real_type>;
    static constexpr bool complex = !std::is_same_v<T, real_type>;

    static bool matches(const ndArray_tag* array) noexcept {
        return array->class_id == class_id &&
               ((array->flags & flags_complex_numeric) == flags_complex_numeric) == complex;
    }
};

ND_EXPORT std::size_t count_elements(const ndArray_tag* array);
ND_EXPORT std::size_t count_dimensions(const ndArray_tag* array);

} // namespace detail

/// A full numeric array with elements of type T: an integer type of 8 to 64 bits, float, double or std::complex of one.
template <class T>
class typed_array {
    using kind = detail::array_kind<T>;
    static_assert(kind::class_id >= ndDOUBLE_CLASS, "no array has elements of this type");

public:
    using element_type = T;
    static constexpr ndClassID class_id = kind::class_id;
    static constexpr ndComplexity complexity = kind::complex ? ndCOMPLEX : ndREAL;

    /// Whether array has such elements and is stored full.
    static bool accepts(const ndArray_tag* array) noexcept {
        return kind::matches(array) && (array->flags & flag_sparse) == 0;
    }

    /// Binds to array, which must outlive the view. typeName names the caller's operation in the refusal.
    /// Raises std::invalid_argument when the array isn't accepted.
    explicit typed_array(ndArray_tag* array, const char* typeName = "typed_array") : array_(array) {
        if (!accepts(array)) rejectClassId(typeName, static_cast<ndClassID>(array->class_id));
    }

    ndArray_tag* get() const noexcept { return array_; }

    /// The elements in column-major order.
    std::span<T> elements() const { return {static_cast<T*>(array_->pdata), detail::count_elements(array_)}; }

private:
    ndArray_tag* array_;
};

/// A sparse matrix with elements of type T: bool, float, double, std::complex<float> or std::complex<double>.
/// A stored logical value is a byte that may be other than 0 and 1; values() therefore gives it as one.
template <class T>
class typed_sparse_matrix {
    using kind = detail::array_kind<T>;
    static_assert(std::is_same_v<T, bool> || kind::class_id == ndDOUBLE_CLASS ||
                      kind::class_id == ndSINGLE_CLASS,
                  "no sparse matrix has elements of this type");

public:
    using element_type = std::conditional_t<std::is_same_v<T, bool>, std::uint8_t, T>;
    static constexpr ndClassID class_id = kind::class_id;
    static constexpr ndComplexity complexity = kind::complex ? ndCOMPLEX : ndREAL;

    /// Whether array is sparse with such elements.
    static bool accepts(const ndArray_tag* array) noexcept {
        return kind::matches(array) && (array->flags & flag_sparse) != 0;
    }

    /// Binds to array, which must outlive the view. Raises std::invalid_argument for another class and for an array with
    /// more than two dimensions.
    explicit typed_sparse_matrix(ndArray_tag* array, const char* typeName = "typed_sparse_matrix")
        : array_(array) {
        if (!accepts(array)) rejectClassId(typeName, static_cast<ndClassID>(array->class_id));
        if (const std::size_t ndims = detail::count_dimensions(array); ndims != 2)
            rejectArrayShape(ndims, typeName);
    }

    ndArray_tag* get() const noexcept { return array_; }

    /// The stored values, column by column.
    std::span<element_type> values() const {
        return {static_cast<element_type*>(array_->pdata), stored_count()};
    }

    /// The zero-based row of each stored value.
    std::span<const std::size_t> rows() const {
        return {reinterpret_cast<const std::size_t*>(array_->info_a), stored_count()};
    }

    /// Where each column starts in values(); one more than there are columns. Empty when nothing has been stored yet.
    std::span<const std::size_t> column_starts() const {
        const auto* starts = reinterpret_cast<const std::size_t*>(array_->info_b);
        return starts == nullptr ? std::span<const std::size_t>() : std::span(starts, array_->n_or_ndims + 1);
    }

private:
    std::size_t stored_count() const {
        const std::span<const std::size_t> starts = column_starts();
        return starts.empty() ? 0 : starts.back();
    }

    ndArray_tag* array_;
};

} // namespace matrix

#endif
