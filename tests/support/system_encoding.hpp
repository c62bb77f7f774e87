// The system's encoding for a while.
#pragma once

#include "platform/test_hooks.hpp"

namespace test {

/// The encoding of this name is the system's while it lives.
class system_encoding {
public:
    explicit system_encoding(const char* name) { foundation::test_hooks::set_system_encoding(name); }
    ~system_encoding() { foundation::test_hooks::set_system_encoding(nullptr); }
    system_encoding(const system_encoding&) = delete;
    system_encoding& operator=(const system_encoding&) = delete;
};

} // namespace test
