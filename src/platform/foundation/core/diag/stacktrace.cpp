// Stack traces: return addresses by the C library's unwinder, names from the dynamic symbol tables.
#include <foundation/core/diag/diag.hpp>

#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>
#include <memory>

namespace foundation::core::diag {

namespace {

struct free_deleter {
    void operator()(char* text) const noexcept { std::free(text); }
};

std::string readable(const char* symbol) {
    int status = 0;
    const std::unique_ptr<char, free_deleter> name(abi::__cxa_demangle(symbol, nullptr, nullptr, &status));
    return status == 0 && name ? name.get() : symbol;
}

std::uintptr_t distance(const void* from, std::uintptr_t to) noexcept {
    return to - reinterpret_cast<std::uintptr_t>(from);
}

void append_number(std::string& text, const char* format, std::uintptr_t number) {
    char digits[32];
    std::snprintf(digits, sizeof digits, format, number);
    text += digits;
}

void append_frame(std::string& text, std::size_t number, void* frame) {
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(frame);
    append_number(text, "#%" PRIuPTR, number);
    append_number(text, " 0x%" PRIxPTR, address);
    // The byte before a return address is within the call; the address itself may be another function's first byte.
    Dl_info info{};
    if (dladdr(static_cast<char*>(frame) - 1, &info) != 0) {
        if (info.dli_sname != nullptr) {
            text += ' ';
            text += readable(info.dli_sname);
            append_number(text, "+0x%" PRIxPTR, distance(info.dli_saddr, address));
        }
        text += " (";
        text += info.dli_fname;
        append_number(text, "+0x%" PRIxPTR, distance(info.dli_fbase, address));
        text += ')';
    }
    text += '\n';
}

} // namespace

// The frames of the capturing itself differ from tool to tool: sanitizers put theirs on top. What the caller sees begins
// at the address to which this function returns.
stacktrace_base stacktrace_base::capture(std::size_t skip) noexcept {
    void* all[2 * max_frames]; // room for what is skipped
    void** const end = all + std::max(backtrace(all, static_cast<int>(std::size(all))), 0);
    void** const caller = std::find(all, end, __builtin_extract_return_addr(__builtin_return_address(0)));
    void** const first = caller + std::min(skip, static_cast<std::size_t>(end - caller));
    stacktrace_base stack;
    stack.size_ = std::min(static_cast<std::size_t>(end - first), max_frames);
    std::copy_n(first, stack.size_, stack.frames_.begin());
    return stack;
}

std::string stacktrace_base::format() const {
    std::string text;
    for (std::size_t i = 0; i < size_; ++i) append_frame(text, i, frames_[i]);
    return text;
}

} // namespace foundation::core::diag
