// What a call raises, as one text: shown id, key and arguments.
//
//     EXPECT_EQ(error_of([&] { convert(x); }), "TARVEL:badsubscript badTypeIndices(1, , 1.5, 2)");
#pragma once

#include <foundation/core/except/exception.hpp>

#include <new>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

namespace test {

inline std::string error_text(const foundation::core::except::IMsgIDException& error) {
    std::ostringstream text;
    text << error.GetID() << ' ' << error.GetBaseMsgIDObj().key() << '(';
    const char* separator = "";
    for (const auto& argument : error.GetBaseMsgIDObj().arguments()) {
        text << std::exchange(separator, ", ");
        std::visit(
            [&](const auto& value) {
                if constexpr (!std::is_same_v<std::decay_t<decltype(value)>, std::u16string>) text << value;
            },
            argument);
    }
    text << ')';
    return text.str();
}

/// Empty when nothing was raised.
template <class Call>
std::string error_of(Call&& call) {
    try {
        std::forward<Call>(call)();
        return {};
    } catch (const foundation::core::except::IMsgIDException& error) {
        return error_text(error);
    } catch (const std::bad_alloc&) {
        return "out of memory";
    }
}

} // namespace test
