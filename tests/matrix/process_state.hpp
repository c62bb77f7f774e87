// State of the process that a test changes and puts back: the array cache, the size limit, a log channel.
#pragma once

#include "support/fixture.hpp"

#include <nd/cache.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace test {

/// The cache is on while it lives. At its end the calling thread's bins hold whole pairs only, or the test fails; afterwards they
/// are empty.
class cache_on {
public:
    cache_on() : before_(matrix::cache::isEnabled()) {
        matrix::cache::clear();
        matrix::cache::setEnabled(true);
    }
    ~cache_on();
    cache_on(const cache_on&) = delete;
    cache_on& operator=(const cache_on&) = delete;

private:
    bool before_;
};

/// A test with the cache on. Its arrays end before it does: what keep() holds would fall into a bin after the last clear().
class CacheTest : public NdTest {
protected:
    cache_on cache_;
};

/// A limit of percent of a machine with memory bytes of RAM, while it lives.
class size_limit_scope {
public:
    size_limit_scope(std::uint64_t memory, std::uint32_t percent, bool enabled = true);
    ~size_limit_scope();
    size_limit_scope(const size_limit_scope&) = delete;
    size_limit_scope& operator=(const size_limit_scope&) = delete;
};

struct log_line {
    std::string channel;
    std::uint32_t severity;
    std::string text;
};

/// Collects what channels write while it lives. The channel given is on for the mask and off afterwards.
class log_capture {
public:
    log_capture(const char* channel, std::uint32_t mask);
    ~log_capture();
    log_capture(const log_capture&) = delete;
    log_capture& operator=(const log_capture&) = delete;

    const std::vector<log_line>& lines() const noexcept { return lines_; }
    std::vector<std::string> texts() const;

private:
    const char* channel_;
    std::vector<log_line> lines_;
};

} // namespace test
