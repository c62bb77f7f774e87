// Conversion of plain buffers: the loop of a pair of classes, for the instruction set in use.
#include "ops/convert_buffer.hpp"

#include "matrix/class_table.hpp"
#include "ops/conversion_kernels.hpp"

#include <errors/raise.hpp>

#include <foundation/core/cpu/instruction_set.hpp>
#include <nd/convert.hpp>
#include <nd/messages.hpp>

#include <array>
#include <type_traits>

namespace matrix::internal {
namespace {

constexpr foundation::core::cpu::kernel_family<conversion_kernels> family{
    {&conversion_kernels_baseline, &conversion_kernels_avx2, &conversion_kernels_avx512}};

constexpr std::int8_t no_scalars = -1;

// Row and column of each class in the table of rules.
constexpr auto position_of_class = [] {
    std::array<std::int8_t, class_rows.size()> positions{};
    positions.fill(no_scalars);
    for (std::size_t i = 0; i < scalar_class_count; ++i)
        positions[static_cast<std::size_t>(scalar_classes[i])] = static_cast<std::int8_t>(i);
    return positions;
}();

// The rules' scalars are the elements of the class: as wide, of the same kind and with the same sign.
template <class Scalar>
constexpr bool is_scalar_of(ndClassID class_id) {
    bool same = false;
    with_element_type(class_id, [&]<class Row>(Row) {
        using element = typename Row::type;
        same = sizeof(Scalar) == sizeof(element) &&
               std::is_floating_point_v<Scalar> == std::is_floating_point_v<element> &&
               std::is_signed_v<Scalar> == std::is_signed_v<element>;
    });
    return same;
}

template <std::size_t... Position>
constexpr bool scalars_agree(std::index_sequence<Position...>) {
    return (is_scalar_of<scalar_at<Position>>(scalar_classes[Position]) && ...);
}
static_assert(scalars_agree(std::make_index_sequence<scalar_class_count>()));

conversion_kernel loop_of(std::int32_t destination_class, std::int32_t source_class) noexcept {
    return family.get().loops[position_of_class[static_cast<std::size_t>(destination_class)]]
                             [position_of_class[static_cast<std::size_t>(source_class)]];
}

[[gnu::noinline, gnu::cold, noreturn]] void raise_nan() {
    errors::raise<TARVEL::legacy_two_part::nologicalnan>();
}

// count scalars of size bytes, each followed by a zero.
void spread(std::byte* destination, const std::byte* scalars, std::size_t size, std::size_t count) noexcept {
    for (std::size_t i = 0; i < count; ++i) {
        std::byte* const element = destination + 2 * size * i;
        __builtin_memcpy(element, scalars + size * i, size);
        __builtin_memset(element + size, 0, size);
    }
}

// The converted scalars come by way of a buffer, so that the loops know one layout only.
void convert_to_complex(void* destination, std::int32_t destination_class, const void* source,
                        std::int32_t source_class, std::size_t count) {
    constexpr std::size_t scalars_at_once = 512;
    constexpr std::size_t largest_scalar = 8;
    alignas(64) std::byte buffer[scalars_at_once * largest_scalar];
    const std::size_t size = element_size(code_of(destination_class, false));
    const std::size_t source_size = element_size(code_of(source_class, false));
    const conversion_kernel loop = loop_of(destination_class, source_class);
    auto* to = static_cast<std::byte*>(destination);
    auto* from = static_cast<const std::byte*>(source);
    while (count != 0) {
        const std::size_t now = count < scalars_at_once ? count : scalars_at_once;
        const std::size_t done = loop(buffer, from, now);
        spread(to, buffer, size, done);
        if (done != now) raise_nan();
        to += 2 * size * now;
        from += source_size * now;
        count -= now;
    }
}

} // namespace

bool has_scalars(std::int32_t class_id) noexcept {
    return is_class(class_id) && position_of_class[static_cast<std::size_t>(class_id)] != no_scalars;
}

bool try_convert_scalars(void* destination, std::int32_t destination_class, const void* source,
                         std::int32_t source_class, std::size_t count) noexcept {
    return loop_of(destination_class, source_class)(destination, source, count) == count;
}

void convert_scalars(void* destination, std::int32_t destination_class, const void* source,
                     std::int32_t source_class, std::size_t count) {
    if (!try_convert_scalars(destination, destination_class, source, source_class, count)) raise_nan();
}

} // namespace matrix::internal

namespace matrix::detail::noninlined::nd_array_api {

void ndConvertBufferToType(void* destination, ndClassID destinationClass, const void* source,
                           ndClassID sourceClass, std::size_t count) {
    ndConvertBufferToTypeAndComplexity(destination, destinationClass, false, source, sourceClass, false,
                                       count);
}

void ndConvertBufferToTypeAndComplexity(void* destination, ndClassID destinationClass,
                                        bool destinationComplex, const void* source, ndClassID sourceClass,
                                        bool sourceComplex, std::size_t count) {
    using namespace internal;
    if (!has_scalars(destinationClass) || !has_scalars(sourceClass)) return;
    if (destinationComplex && !sourceComplex) {
        convert_to_complex(destination, destinationClass, source, sourceClass, count);
    } else {
        convert_scalars(destination, destinationClass, source, sourceClass,
                        destinationComplex ? 2 * count : count);
    }
}

} // namespace matrix::detail::noninlined::nd_array_api
