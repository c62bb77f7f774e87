// Checks of what environment variables do.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace test {

// Sets a variable while it lives; then the variable is as before.
class environment_variable {
public:
    environment_variable(const char* name, const std::string& value) : name_(name) {
        if (const char* const old = std::getenv(name)) {
            old_ = old;
            was_set_ = true;
        }
        setenv(name, value.c_str(), 1);
    }
    ~environment_variable() {
        if (was_set_) {
            setenv(name_, old_.c_str(), 1);
        } else {
            unsetenv(name_);
        }
    }
    environment_variable(const environment_variable&) = delete;
    environment_variable& operator=(const environment_variable&) = delete;

private:
    const char* name_;
    std::string old_;
    bool was_set_ = false;
};

} // namespace test

// The condition holds in a process that starts with the variable at this value.
#define EXPECT_IN_NEW_PROCESS(variable, value, condition)                                                    \
    do {                                                                                                     \
        const ::test::environment_variable set(variable, value);                                             \
        GTEST_FLAG_SET(death_test_style, "threadsafe");                                                      \
        EXPECT_EXIT(std::_Exit((condition) ? 0 : 1), ::testing::ExitedWithCode(0), "");                      \
        GTEST_FLAG_SET(death_test_style, "fast");                                                            \
    } while (false)
