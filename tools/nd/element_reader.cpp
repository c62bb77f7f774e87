#include "element_reader.hpp"

#include <nd/types.h>

#include <array>
#include <cstring>

namespace nd_host {

namespace {

// memcpy, since nothing promises that an addon aligned its block.
template <class T, class Wide>
number read_element(const void* data, std::size_t index) {
    T value;
    std::memcpy(&value, static_cast<const unsigned char*>(data) + index * sizeof(T), sizeof(T));
    return static_cast<Wide>(value);
}

} // namespace

element_reader reader_for(std::int32_t class_id) noexcept {
    static constexpr auto table = [] {
        std::array<element_reader, ndOBJECT_CLASS + 1> readers{};
        readers[ndLOGICAL_CLASS] = read_element<std::uint8_t, std::uint64_t>;
        readers[ndDOUBLE_CLASS] = read_element<double, double>;
        readers[ndSINGLE_CLASS] = read_element<float, float>;
        readers[ndINT8_CLASS] = read_element<std::int8_t, std::int64_t>;
        readers[ndUINT8_CLASS] = read_element<std::uint8_t, std::uint64_t>;
        readers[ndINT16_CLASS] = read_element<std::int16_t, std::int64_t>;
        readers[ndUINT16_CLASS] = read_element<std::uint16_t, std::uint64_t>;
        readers[ndINT32_CLASS] = read_element<std::int32_t, std::int64_t>;
        readers[ndUINT32_CLASS] = read_element<std::uint32_t, std::uint64_t>;
        readers[ndINT64_CLASS] = read_element<std::int64_t, std::int64_t>;
        readers[ndUINT64_CLASS] = read_element<std::uint64_t, std::uint64_t>;
        return readers;
    }();
    const bool known = class_id >= 0 && static_cast<std::size_t>(class_id) < table.size();
    return known ? table[static_cast<std::size_t>(class_id)] : nullptr;
}

} // namespace nd_host
