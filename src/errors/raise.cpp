// The raising functions that aren't bound to one identifier.
#include <errors/raise.hpp>

#include <errors/ensure_catalog.hpp>
#include <libbase/text.hpp>

#include <cstdarg>
#include <cstddef>

namespace except = foundation::core::except;

namespace matrix::errors {

void raise_bad_alloc() { throw except::bad_alloc(); }

} // namespace matrix::errors

namespace matrix::detail {

void do_legacy_nd_error(const except::IUserException& /*error*/) { errors::ensure_message_catalog(); }

namespace noninlined::nd_array_api {

void ndErrMsgId(const TARVEL::legacy_two_part::nomem& /*id*/) {
    const except::detail::legacy<except::bad_alloc> error;
    do_legacy_nd_error(error);
    throw except::detail::legacy<except::bad_alloc>(error);
}

void ndErrMsgIdAndTxt(const char* id, const char* format, ...) {
    constexpr std::size_t buffer_size = 8192;
    char text[buffer_size] = "";
    if (format != nullptr) {
        va_list args;
        va_start(args, format);
        baseVSNprintf(text, buffer_size, format, args);
        va_end(args);
    }
    throw Korvane::System::SimpleException(id != nullptr ? id : "", text);
}

void ndReThrowException(boost::exception_ptr error) {
    if (!error) errors::raise<TARVEL::legacy_two_part::badargs>();
    try {
        boost::rethrow_exception(error);
    } catch (const except::IUserException& user_error) {
        do_legacy_nd_error(user_error);
        throw;
    }
}

} // namespace noninlined::nd_array_api
} // namespace matrix::detail
