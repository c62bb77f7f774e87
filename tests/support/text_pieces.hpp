// Text in small pieces for a while.
#pragma once

#include "platform/test_hooks.hpp"

namespace test {

/// So many units go to ICU at once while it lives, at least 2.
class text_pieces {
public:
    explicit text_pieces(std::size_t units) { foundation::test_hooks::set_largest_text_piece(units); }
    ~text_pieces() { foundation::test_hooks::set_largest_text_piece(0); }
    text_pieces(const text_pieces&) = delete;
    text_pieces& operator=(const text_pieces&) = delete;
};

} // namespace test
