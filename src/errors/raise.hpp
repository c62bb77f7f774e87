// Raising an error by its identifier: raise<TARVEL::legacy_two_part::badargs>(), with the identifier's arguments.
// Each instance is the raise function of one identifier, and it stays out of line: call sites are on hot paths.
#pragma once

#include <foundation/core/except/exception.hpp>
#include <nd/errors.hpp>
#include <nd/messages.hpp>

#include <exception>
#include <string>
#include <type_traits>
#include <utility>

namespace matrix::errors {

// Throws foundation::core::except::Exception<Id, std::exception, void>, built from args. Out of memory is thrown as
// legacy<bad_alloc>, which needs no memory. If there's no memory to build the exception, std::bad_alloc passes.
template <class Id, class... Args>
[[noreturn, gnu::cold, gnu::noinline]] void raise(Args&&... args) {
    if constexpr (std::is_same_v<Id, TARVEL::legacy_two_part::nomem>) {
        matrix::detail::noninlined::nd_array_api::ndErrMsgId(Id());
    } else {
        using Error = foundation::core::except::Exception<Id, std::exception, void>;
        const Error error{Id(std::forward<Args>(args)...)};
        matrix::detail::do_legacy_nd_error(error);
        throw Error(error); // made in place: a copy that runs out of memory then passes its std::bad_alloc on
    }
}

// The same, shown under another id than its own: raise_as<TARVEL::matrix::badTypeIndices>("TARVEL:badsubscript", ...).
template <class Id, class... Args>
[[noreturn, gnu::cold, gnu::noinline]] void raise_as(const char* shown_id, Args&&... args) {
    static_assert(!std::is_same_v<Id, TARVEL::legacy_two_part::nomem>, "out of memory has one id");
    using Error = foundation::core::except::Exception<Id, std::exception, void>;
    const Error error(std::string(shown_id), Id(std::forward<Args>(args)...));
    matrix::detail::do_legacy_nd_error(error);
    throw Error(error);
}

// Throws foundation::core::except::bad_alloc: a data block can't be had.
[[noreturn, gnu::cold]] void raise_bad_alloc();

} // namespace matrix::errors
