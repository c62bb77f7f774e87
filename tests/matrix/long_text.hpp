// A text that is longer than text may be.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

namespace test {

/// 2^30 bytes and a NUL, one more than may be converted. They lie on the same MiB of memory, over and over.
class long_text {
public:
    long_text() {
        const int file = ::memfd_create("text", 0);
        EXPECT_EQ(::ftruncate(file, piece), 0);
        text_ = static_cast<char*>(::mmap(nullptr, size + piece, PROT_READ | PROT_WRITE,
                                          MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
        for (std::size_t at = 0; at < size; at += piece)
            ::mmap(text_ + at, piece, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file, 0);
        std::memset(text_, 'x', piece);
        ::close(file);
    }
    ~long_text() { ::munmap(text_, size + piece); }
    long_text(const long_text&) = delete;
    long_text& operator=(const long_text&) = delete;

    const char* get() const noexcept { return text_; }

private:
    static constexpr std::size_t piece = std::size_t{1} << 20;
    static constexpr std::size_t size = std::size_t{1} << 30;
    char* text_;
};

} // namespace test
