// Which failure an exception is: of the call that threw it, or of the host.
#include "started_library.hpp"

#include <failure.hpp>

#include <nd/engine.hpp>

#include <gtest/gtest.h>

#include <array>
#include <new>
#include <stdexcept>
#include <string>

namespace {

using nd_host::exit_status;
using nd_host::failure;
using nd_host::failure_of_call;
using nd_host::failure_of_host;
using nd_host::failure_of_line;

template <class Throws>
failure failure_from(failure (*kind)(), Throws&& throws) {
    try {
        throws();
    } catch (...) {
        return kind();
    }
    return {exit_status::success, "nothing was thrown"};
}

void expect(const failure& found, exit_status status, const std::string& text) {
    EXPECT_EQ(found.status(), status);
    EXPECT_STREQ(found.what(), text.c_str());
}

// An error of the library, as its catcher reads it.
template <class Throws>
std::string told_by_the_library(Throws&& throws) {
    try {
        throws();
    } catch (const foundation::core::except::IUserException& error) {
        return std::string(error.GetID()) + ": " + error.what();
    }
    return "nothing was thrown";
}

TEST(Failures, ErrorsOfTheLibraryKeepTheirIdentifierInTheCallAndOutside) {
    test::start_library();
    const auto too_large = [] {
        matrix::create(std::array{std::size_t{1} << 40U, std::size_t{1} << 40U}, ndDOUBLE_CLASS, ndREAL);
    };
    const auto no_memory = [] { matrix::detail::noninlined::nd_array_api::ndMalloc(~std::size_t{0}); };
    const auto own = [] { matrix::detail::noninlined::nd_array_api::ndErrMsgIdAndTxt("a:b", "%d", 5); };
    for (const auto kind : {failure_of_call, failure_of_host}) {
        const failure large = failure_from(kind, too_large);
        expect(large, exit_status::error_raised, told_by_the_library(too_large));
        EXPECT_EQ(std::string(large.what()).rfind("TARVEL:pmaxsize: ", 0), 0U) << large.what();
        const failure memory = failure_from(kind, no_memory); // also a std::bad_alloc
        expect(memory, exit_status::error_raised, told_by_the_library(no_memory));
        EXPECT_EQ(std::string(memory.what()).rfind("TARVEL:nomem: ", 0), 0U) << memory.what();
        expect(failure_from(kind, own), exit_status::error_raised, "a:b: 5");
    }
}

TEST(Failures, FailuresStayWhatTheyAre) {
    const auto broken = [] { throw failure(exit_status::broken_outputs, "x.so: output 2"); };
    for (const auto kind : {failure_of_call, failure_of_line, failure_of_host}) {
        expect(failure_from(kind, broken), exit_status::broken_outputs, "x.so: output 2");
    }
}

TEST(Failures, OtherExceptionsAreTheAddonsOrTheHosts) {
    const auto no_memory = [] { throw std::bad_alloc(); };
    const auto standard = [] { throw std::out_of_range("seven"); };
    expect(failure_from(failure_of_call, no_memory), exit_status::error_raised,
           "TARVEL:nomem: out of memory");
    expect(failure_from(failure_of_host, no_memory), exit_status::internal, "out of memory");
    expect(failure_from(failure_of_call, standard), exit_status::foreign_exception,
           "the addon threw a C++ exception: seven");
    expect(failure_from(failure_of_host, standard), exit_status::internal, "seven");
    expect(failure_from(failure_of_line, no_memory), exit_status::error_raised,
           "TARVEL:nomem: out of memory");
    expect(failure_from(failure_of_line, standard), exit_status::internal, "seven");
    expect(failure_from(failure_of_call, [] { throw 42; }), exit_status::foreign_exception,
           "the addon threw something that is no C++ exception class");
}

} // namespace
