// The user's limit on one array, set low while a test looks at it.
#pragma once

#include <nd/sizes.hpp>

#include <cstdint>

namespace test {

/// While it lives, one array may have 1 percent of the machine's memory.
class small_limit {
public:
    small_limit() { set(1, true); }
    ~small_limit() { set(100, false); }
    small_limit(const small_limit&) = delete;
    small_limit& operator=(const small_limit&) = delete;

private:
    static void set(std::uint32_t percent, bool enabled) {
        matrix::ArraySizeLimit& limit = matrix::ArraySizeLimit::getInstance();
        limit.setPercent(percent);
        limit.setEnabled(enabled);
    }
};

} // namespace test
