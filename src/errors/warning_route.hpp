// The handler that printed warnings end in, as the library keeps it.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace matrix::errors {

using warning_handler = std::function<void(const std::basic_string<char16_t>&)>;

// Puts a handler in place for the process; null brings back the first one, which prints.
void put_warning_handler(std::shared_ptr<const warning_handler> handler) noexcept;

} // namespace matrix::errors
