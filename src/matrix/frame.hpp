// The frame that every creator of the interface has: how a result gets out and how an error does.
//
//   result   its scope becomes temporary while a smart pointer still owns it, which puts it on the array list; with the
//            list facility off the scope stays local
//   error    with module mode 1 the exception goes on to the caller unchanged; in any other mode it ends here and the
//            caller gets null
#pragma once

#include "matrix/module_state.hpp"
#include "matrix/scope.hpp"

#include <nd/create.hpp>

namespace matrix::internal {

/// Runs body and returns what it returns; the way out of an error as above, with a value-initialised result for "null".
template <class Body>
auto framed(Body&& body) -> decltype(body()) {
    try {
        return body();
    } catch (...) {
        if (errors_leave_as_exceptions()) throw;
        return decltype(body())();
    }
}

/// The same for an operation that answers 0, or 1 where it fails.
template <class Body>
int framed_status(Body&& body) {
    try {
        return body();
    } catch (...) {
        if (errors_leave_as_exceptions()) throw;
        return 1;
    }
}

/// The frame of a creator: body returns an array_ptr, the caller gets a plain pointer to an array of temporary scope.
template <class Body>
ndArray_tag* framed_creator(Body&& body) {
    return framed([&]() -> ndArray_tag* {
        array_ptr result = body();
        if (result) set_scope(result.get(), ndTEMPORARY_SCOPE);
        return result.release();
    });
}

/// The same for a result that is there. Out of line, so that callers need no stack frame for what few of them reach.
[[gnu::noinline, gnu::cold]] inline ndArray_tag* put_on_array_list_slowly(ndArray_tag* result) {
    return framed_creator([&] { return array_ptr(result); });
}
[[gnu::noinline]] inline ndArray_tag* put_on_array_list(ndArray_tag* result) {
    return make_temporary_at_once(result) ? result : put_on_array_list_slowly(result);
}

[[gnu::always_inline]] inline ndArray_tag* as_temporary(ndArray_tag* result) {
    return the_module.array_lists ? put_on_array_list(result) : result;
}

/// The same for a function whose errors are exceptions in every module mode.
[[gnu::always_inline]] inline ndArray_tag* as_temporary_or_raise(array_ptr result) {
    if (the_module.array_lists && !make_temporary_at_once(result.get()))
        set_scope(result.get(), ndTEMPORARY_SCOPE);
    return result.release();
}

} // namespace matrix::internal
