// The module mode of this run, and how a refusal looks in it: the programs of this folder run once in each kind of mode.
#pragma once

#include <nd/array.hpp>

#include <foundation/core/except/exception.hpp>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace test {

/// True when errors leave creators as exceptions; otherwise a refused creator returns null.
bool errors_are_exceptions();

/// An error as its catcher sees it.
struct caught_error {
    std::string id; ///< empty when nothing was thrown
    std::vector<std::string> arguments;
};

template <class Call>
caught_error error_of(Call&& call) {
    try {
        std::forward<Call>(call)();
        return {};
    } catch (const foundation::core::except::IMsgIDException& error) {
        caught_error caught{std::string(error.GetID()), {}};
        for (const auto& argument : error.GetBaseMsgIDObj().arguments()) {
            caught.arguments.push_back(std::holds_alternative<std::string>(argument)
                                           ? std::get<std::string>(argument)
                                           : "not a text");
        }
        return caught;
    }
}

/// Expects that call is refused with the identifier: thrown, or answered with `failure`.
template <class Call, class Result>
void expect_refused(Call&& call, Result failure, const std::string& id) {
    Result result = failure;
    const caught_error error = error_of([&] { result = call(); });
    EXPECT_EQ(error.id, errors_are_exceptions() ? id : "");
    EXPECT_EQ(result, failure);
}

} // namespace test
