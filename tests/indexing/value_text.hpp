// A value as tables write it: "double 1x4 {1, 3, 4, 5}", "cell 0x3". Class, shape and elements, without the flags.
#pragma once

#include "support/array_text.hpp"

#include <string>

namespace test {

inline std::string value_text(const matrix::array_ptr& x) {
    const std::string text = array_text(x.get());
    const std::string value = text.substr(0, text.rfind(" ["));
    const std::string without_elements = " {}";
    return value.ends_with(without_elements) ? value.substr(0, value.size() - without_elements.size())
                                             : value;
}

} // namespace test
