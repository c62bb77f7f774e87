// Conversion between classes in the reference model: each scalar by way of the widest floating point, which holds every value of
// every class.
#include "model/array_model.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>

namespace model {
namespace {

using wide = long double;
static_assert(std::numeric_limits<wide>::digits >= 64);

template <class T>
T read_as(const std::byte* at) {
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

template <class T>
void write_as(std::byte* at, T value) {
    std::memcpy(at, &value, sizeof value);
}

// Calls body with a value of the scalar type that the class has.
template <class Body>
void with_scalar_of(ndClassID class_id, Body body) {
    switch (class_id) {
    case ndCHAR_CLASS:
    case ndUINT16_CLASS:
        return body(std::uint16_t{});
    case ndDOUBLE_CLASS:
        return body(double{});
    case ndSINGLE_CLASS:
        return body(float{});
    case ndINT8_CLASS:
        return body(std::int8_t{});
    case ndLOGICAL_CLASS:
    case ndUINT8_CLASS:
        return body(std::uint8_t{});
    case ndINT16_CLASS:
        return body(std::int16_t{});
    case ndINT32_CLASS:
        return body(std::int32_t{});
    case ndUINT32_CLASS:
        return body(std::uint32_t{});
    case ndINT64_CLASS:
        return body(std::int64_t{});
    default:
        return body(std::uint64_t{});
    }
}

wide scalar_at(ndClassID class_id, const std::byte* at) {
    wide value = 0;
    with_scalar_of(class_id, [&]<class T>(T) { value = read_as<T>(at); });
    return value;
}

// To a whole number within limits: text cuts the fraction off, everything else rounds halves away from zero.
template <class T>
T whole(wide value, bool cut) {
    if (std::isnan(value)) return 0;
    const wide rounded = cut ? std::trunc(value) : std::round(value);
    const wide lowest = std::numeric_limits<T>::min();
    const wide highest = std::numeric_limits<T>::max();
    return static_cast<T>(std::clamp(rounded, lowest, highest));
}

void store(ndClassID class_id, std::byte* at, wide value) {
    with_scalar_of(class_id, [&]<class T>(T) {
        if constexpr (std::is_floating_point_v<T>) {
            write_as(at, static_cast<T>(value));
        } else {
            write_as(at, class_id == ndLOGICAL_CLASS ? static_cast<T>(value != 0)
                                                     : whole<T>(value, class_id == ndCHAR_CLASS));
        }
    });
}

// Nothing when a NaN should become a logical.
std::optional<std::vector<std::byte>> converted_scalars(const array& source, ndClassID target,
                                                        std::size_t count) {
    const std::size_t from = element_size(source.class_id, false);
    const std::size_t to = element_size(target, false);
    std::vector<std::byte> bytes(count * to);
    for (std::size_t i = 0; i < count; ++i) {
        const std::byte* const at = source.data->bytes.data() + i * from;
        // A signalling NaN to floating point is a NaN as the processor makes it: the bits of one are the conversion's own.
        if (source.class_id == ndDOUBLE_CLASS && target == ndSINGLE_CLASS) {
            write_as(bytes.data() + i * to, static_cast<float>(read_as<double>(at)));
            continue;
        }
        if (source.class_id == ndSINGLE_CLASS && target == ndDOUBLE_CLASS) {
            write_as(bytes.data() + i * to, static_cast<double>(read_as<float>(at)));
            continue;
        }
        const wide value = scalar_at(source.class_id, at);
        if (target == ndLOGICAL_CLASS && std::isnan(value)) return std::nullopt;
        store(target, bytes.data() + i * to, value);
    }
    return bytes;
}

bool all_zeros_and_ones(const array& source) {
    const auto end = source.data->bytes.begin() + static_cast<std::ptrdiff_t>(source.byte_count());
    return std::all_of(source.data->bytes.begin(), end, [](std::byte b) { return b <= std::byte{1}; });
}

bool is_zero(ndClassID class_id, const std::byte* part) { return scalar_at(class_id, part) == 0; }

// Complex values without imaginary parts become real ones.
void drop_zero_imaginary_parts(array& made) {
    const std::size_t part = element_size(made.class_id, false);
    std::vector<std::byte>& bytes = made.data->bytes;
    for (std::size_t i = 0; i < made.count(); ++i) {
        if (!is_zero(made.class_id, &bytes[(2 * i + 1) * part])) return;
    }
    for (std::size_t i = 0; i < made.count(); ++i) std::memmove(&bytes[i * part], &bytes[2 * i * part], part);
    made.complex = false;
}

// A header of the class with source's shape and user bits, and nothing in it.
array blank_of_class(const array& source, ndClassID target) {
    array made;
    made.class_id = target;
    made.complex = source.complex && target != ndCHAR_CLASS;
    made.set_dimensions(source.shape);
    made.user_bits = source.user_bits;
    return made;
}

} // namespace

conversion converted_copy(array& source, ndClassID target) {
    using outcome = conversion::outcome;
    if (source.class_id == target) return {outcome::made, deep_copy(source)};
    if (source.class_id == ndUNKNOWN_CLASS) return {outcome::none, {}};
    if (target == ndLOGICAL_CLASS && source.complex) return {outcome::raises, {}};
    if (target == ndCHAR_CLASS && source.class_id == ndLOGICAL_CLASS) return {outcome::none, {}};
    const bool bytes = element_size(source.class_id, source.complex) == 1;
    if (target == ndLOGICAL_CLASS && bytes && (source.data == nullptr || all_zeros_and_ones(source))) {
        array made = shared_copy(source);
        made.class_id = target;
        made.scalar_double = false;
        return {outcome::made, std::move(made)};
    }
    array made = blank_of_class(source, target);
    if (source.data == nullptr || source.count() == 0) {
        made.complex = false;
        return {outcome::made, std::move(made)};
    }
    auto scalars = converted_scalars(source, target, source.count() * (made.complex ? 2 : 1));
    if (!scalars) return {outcome::raises, {}};
    made.data = std::make_shared<block>(block{std::move(*scalars)});
    if (made.complex) drop_zero_imaginary_parts(made);
    return {outcome::made, std::move(made)};
}

} // namespace model
