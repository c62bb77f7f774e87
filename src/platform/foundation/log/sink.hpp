// Where the records of all channels end: standard error, or a function that tests put in its place.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace foundation::log::detail {

using sink_function =
    std::function<void(const std::string& channel, std::uint32_t severity, const std::string& text)>;

// Registers the sink with the logging core, once.
void ensure_sink();

// An empty function means standard error.
void set_sink_function(sink_function function);

// The attribute by which the sink knows the records of these channels among those of the whole program.
inline constexpr const char* origin_attribute = "NdOrigin";

} // namespace foundation::log::detail
