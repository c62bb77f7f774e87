// Printing and formatting over the C library. basePrintf itself keeps no buffer: the C library formats straight into
// stdout, so that text of any length costs no heap and can't be cut.
#include <libbase/text.hpp>

#include "platform/libbase/seams.hpp"

#include <algorithm>
#include <cstdio>

namespace libbase {

constinit std::atomic<print_sink> current_print_sink{&std::vprintf};
constinit std::atomic<bool> output_shows_links{false};

} // namespace libbase

int basePrintf(const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int length = libbase::current_print_sink.load(std::memory_order_acquire)(format, args);
    va_end(args);
    return length;
}

int baseVSNprintf(char* buffer, std::size_t size, const char* format, va_list args) noexcept {
    if (size == 0) return 0;
    const int wanted = std::vsnprintf(buffer, size, format, args);
    if (wanted < 0) {
        buffer[0] = '\0';
        return 0;
    }
    return static_cast<int>(std::min<std::size_t>(static_cast<std::size_t>(wanted), size - 1));
}

bool basePrintfIsHot() noexcept { return libbase::output_shows_links.load(std::memory_order_relaxed); }
