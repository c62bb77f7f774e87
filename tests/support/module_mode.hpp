// Bodies under a module mode: 1 lets errors leave creators as exceptions, any other makes creators return null.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace test {

inline constexpr int mode_exceptions = 1;
inline constexpr int mode_null_results = 0;

/// The mode while it lives; then the module counts as not initialised again.
class module_mode_scope {
public:
    explicit module_mode_scope(int mode) noexcept;
    ~module_mode_scope();
    module_mode_scope(const module_mode_scope&) = delete;
    module_mode_scope& operator=(const module_mode_scope&) = delete;
};

/// Both lists are on while it lives, whatever the module mode.
class lists_on {
public:
    lists_on() noexcept;
    ~lists_on();
    lists_on(const lists_on&) = delete;
    lists_on& operator=(const lists_on&) = delete;
};

template <class Body>
auto with_module_mode(int mode, Body&& body) {
    const module_mode_scope scope(mode);
    return std::forward<Body>(body)();
}

/// Calls body(mode) in both kinds of mode; the mode stands in every failure.
template <class Body>
void for_each_module_mode(Body&& body) {
    for (const int mode : {mode_exceptions, mode_null_results}) {
        SCOPED_TRACE("module mode " + std::to_string(mode));
        const module_mode_scope scope(mode);
        body(mode);
    }
}

} // namespace test
