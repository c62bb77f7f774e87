// Errors by number: the table from ndErrorMessage to the raise functions.
#include <errors/raise.hpp>

#include <array>
#include <cstddef>

namespace matrix::detail {
namespace {

using raise_function = void (*)();

template <class... Ids>
constexpr std::array<raise_function, sizeof...(Ids)> raise_functions() {
    return {&errors::raise<Ids>...};
}

namespace ids = TARVEL::legacy_two_part;

// In the order of the numbers, from 1 on.
constexpr auto by_number =
    raise_functions<ids::maxrhs, ids::minrhs, ids::maxlhs, ids::minlhs, ids::vector, ids::square,
                    ids::singular, ids::noconverge, ids::nostring, ids::dimagree, ids::posdef, ids::innerdim,
                    ids::samelen, ids::nocomplex, ids::badopt, ids::string, ids::nomem, ids::pmaxsize,
                    ids::overflow, ids::mesh, ids::nonaninf, ids::badargs, ids::outrange, ids::ginput,
                    ids::builtin, ids::badfid_nd, ids::badformat_nd, ids::badoffset_nd, ids::badorigin_nd,
                    ids::badstringall_nd, ids::badstringarg1_nd, ids::badstringarg2_nd,
                    ids::badstringclear_nd, ids::badmachformat_nd, ids::noformat_nd, ids::badnchar_nd,
                    ids::nologicalnan, ids::subsassigndimmismatch, ids::p64bitsize, ids::p32bitsize>();

static_assert(by_number.size() == ndERR_LARGER_THAN_32_BIT);

} // namespace

void noninlined::nd_array_api::ndErrMsg(ndErrorMessage number) {
    if (number < 1 || static_cast<std::size_t>(number) > by_number.size()) return;
    by_number[static_cast<std::size_t>(number) - 1]();
}

} // namespace matrix::detail
