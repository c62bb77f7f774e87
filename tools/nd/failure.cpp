#include "failure.hpp"

#include <foundation/core/except/exception.hpp>

#include <cstdio>
#include <new>

namespace nd_host {

namespace {

constexpr const char* out_of_memory = "TARVEL:nomem: out of memory";

// The kinds that are told alike wherever they were raised; what is left goes on to the caller's handlers.
failure known_failure() {
    try {
        throw;
    } catch (const failure& error) {
        return error;
    } catch (const foundation::core::except::IUserException& error) {
        return {exit_status::error_raised, std::string(error.GetID()) + ": " + error.what()};
    }
}

} // namespace

failure failure_of_call() {
    try {
        return known_failure();
    } catch (const std::bad_alloc&) {
        return {exit_status::error_raised, out_of_memory};
    } catch (const std::exception& error) {
        return {exit_status::foreign_exception,
                std::string("the addon threw a C++ exception: ") + error.what()};
    } catch (...) {
        return {exit_status::foreign_exception, "the addon threw something that is no C++ exception class"};
    }
}

failure failure_of_line() {
    try {
        return known_failure();
    } catch (const std::bad_alloc&) {
        return {exit_status::error_raised, out_of_memory};
    } catch (const std::exception& error) {
        return {exit_status::internal, error.what()};
    }
}

failure failure_of_host() {
    try {
        return known_failure();
    } catch (const std::bad_alloc&) {
        return {exit_status::internal, "out of memory"};
    } catch (const std::exception& error) {
        return {exit_status::internal, error.what()};
    }
}

exit_status tell_failure() {
    try {
        const failure why = failure_of_host();
        std::fprintf(stderr, "nd: %s\n", why.what());
        return why.status();
    } catch (const std::bad_alloc&) {
        std::fputs("nd: out of memory\n", stderr);
        return exit_status::internal;
    }
}

} // namespace nd_host
