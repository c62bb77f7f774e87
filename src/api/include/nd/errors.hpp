// Raising errors of the library from C++: by number, by id and text, and by passing an exception on.
//
// The exceptions are told in <foundation/core/except/exception.hpp>, the identifiers in <nd/messages.hpp>. All
// functions here throw in any mode of the library: they have no error frame.
#ifndef ND_ERRORS_HPP
#define ND_ERRORS_HPP

#include <foundation/core/except/exception.hpp>
#include <nd/messages.hpp>
#include <nd/types.h>

#include <boost/exception_ptr.hpp>

#include <cstdint>

/// Errors that can be raised by number. The numbers are part of the interface. Behind each stands its key in the
/// catalog "TARVEL:legacy_two_part"; the id that is shown is "TARVEL:" and that key.
enum ndErrorMessage : std::int32_t {
    ndERR_TOO_MANY_INPUTS = 1,                 ///< maxrhs
    ndERR_NOT_ENOUGH_INPUTS = 2,               ///< minrhs
    ndERR_TOO_MANY_OUTPUTS = 3,                ///< maxlhs
    ndERR_NOT_ENOUGH_OUTPUTS = 4,              ///< minlhs
    ndERR_VECTOR_REQUIRED = 5,                 ///< vector
    ndERR_SQUARE_REQUIRED = 6,                 ///< square
    ndERR_SINGULAR = 7,                        ///< singular
    ndERR_NO_CONVERGENCE = 8,                  ///< noconverge
    ndERR_STRING_NOT_ALLOWED = 9,              ///< nostring
    ndERR_DIMENSIONS_DISAGREE = 10,            ///< dimagree
    ndERR_POSITIVE_DEFINITE_REQUIRED = 11,     ///< posdef
    ndERR_INNER_DIMENSIONS_DISAGREE = 12,      ///< innerdim
    ndERR_LENGTHS_DISAGREE = 13,               ///< samelen
    ndERR_COMPLEX_NOT_ALLOWED = 14,            ///< nocomplex
    ndERR_BAD_OPTION = 15,                     ///< badopt
    ndERR_STRING_REQUIRED = 16,                ///< string
    ndERR_OUT_OF_MEMORY = 17,                  ///< nomem, thrown as legacy<bad_alloc>
    ndERR_ARRAY_TOO_LARGE = 18,                ///< pmaxsize
    ndERR_OVERFLOW = 19,                       ///< overflow
    ndERR_BAD_MESH = 20,                       ///< mesh
    ndERR_NAN_OR_INF_NOT_ALLOWED = 21,         ///< nonaninf
    ndERR_BAD_ARGUMENTS = 22,                  ///< badargs
    ndERR_OUT_OF_RANGE = 23,                   ///< outrange
    ndERR_GRAPHIC_INPUT = 24,                  ///< ginput
    ndERR_BUILTIN = 25,                        ///< builtin
    ndERR_BAD_FILE_ID = 26,                    ///< badfid_nd
    ndERR_BAD_FORMAT = 27,                     ///< badformat_nd
    ndERR_BAD_OFFSET = 28,                     ///< badoffset_nd
    ndERR_BAD_ORIGIN = 29,                     ///< badorigin_nd
    ndERR_ALL_ARGUMENTS_STRINGS = 30,          ///< badstringall_nd
    ndERR_FIRST_ARGUMENT_STRING = 31,          ///< badstringarg1_nd
    ndERR_SECOND_ARGUMENT_STRING = 32,         ///< badstringarg2_nd
    ndERR_CLEAR_ARGUMENTS_STRINGS = 33,        ///< badstringclear_nd
    ndERR_BAD_MACHINE_FORMAT = 34,             ///< badmachformat_nd
    ndERR_FORMAT_REQUIRED = 35,                ///< noformat_nd
    ndERR_BAD_CHARACTER_COUNT = 36,            ///< badnchar_nd
    ndERR_NAN_TO_LOGICAL = 37,                 ///< nologicalnan
    ndERR_ASSIGNMENT_DIMENSIONS_MISMATCH = 38, ///< subsassigndimmismatch
    ndERR_LARGER_THAN_64_BIT = 39,             ///< p64bitsize
    ndERR_LARGER_THAN_32_BIT = 40              ///< p32bitsize
};

namespace matrix::detail {

/// Makes sure that the message catalogs are initialised, so that the text of the error can be had in the user's
/// language; on the first call in the process this tells them where the library is installed. Does nothing else with
/// the error. Each error of the library passes here before it is thrown. Any thread may call it; a failure to
/// initialise ends the process.
ND_EXPORT void do_legacy_nd_error(const foundation::core::except::IUserException& error);

namespace noninlined::nd_array_api {

/// Raises the error with that number, without arguments: foundation::core::except::Exception of the identifier, or
/// for number 17 what ndErrMsgId() raises. A number outside 1 to 40 does nothing and returns.
ND_EXPORT void ndErrMsg(ndErrorMessage number);

/// Raises out of memory: foundation::core::except::bad_alloc with the legacy error interface, so that handlers of
/// std::bad_alloc and of IUserException both catch it. Needs no memory.
[[noreturn]] ND_EXPORT void ndErrMsgId(const TARVEL::legacy_two_part::nomem& id);

/// Raises Korvane::System::SimpleException with that id and text. The text is made from the format and the arguments
/// as printf does it, and cut after 8191 bytes, be it in the middle of a UTF-8 character; both are copied. A null id
/// counts as an empty one, a null format as an empty text. Raises std::bad_alloc if there's no memory for the copies.
[[noreturn]] ND_EXPORT void ndErrMsgIdAndTxt(const char* id, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

/// Throws the exception that the pointer holds, unchanged. An IUserException passes do_legacy_nd_error() first. The
/// error "TARVEL:badargs" is raised for a pointer that holds nothing.
[[noreturn]] ND_EXPORT void ndReThrowException(boost::exception_ptr error);

} // namespace noninlined::nd_array_api
} // namespace matrix::detail

#endif
