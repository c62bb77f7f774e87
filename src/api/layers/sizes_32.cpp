// The checked conversions between int and 64-bit sizes.
#include "api/layers/sizes_32.hpp"

#include "matrix/size_limit.hpp"

#include <nd/errors.hpp>
#include <nd/sizes.hpp>

#include <boost/numeric/conversion/cast.hpp>

#include <string>
#include <utility>
#include <variant>

namespace matrix::internal {
namespace {

using size_message =
    foundation::core::except::Exception<TARVEL::array::SizeLimitExceeded, std::exception, void>;

// The class makes its texts from unsigned sizes. Here the size that was given is negative, and its own digits are what
// helps the caller, so the dimension text is put in place of the made one.
[[noreturn, gnu::cold]] void raise_unrepresentable(std::span<const int> given) {
    std::string dimensions;
    for (const int dim : given) {
        if (!dimensions.empty()) dimensions += 'x';
        dimensions += std::to_string(dim);
    }
    if (given.size() == 1) dimensions += "x1";
    SizeLimitExceeded error({}, 0, 0);
    const auto& made = error.GetMsgIDObj().arguments();
    static_cast<size_message&>(error) = size_message(TARVEL::array::SizeLimitExceeded(
        std::move(dimensions), std::get<std::string>(made[1]), std::get<std::string>(made[2])));
    detail::do_legacy_nd_error(error);
    throw SizeLimitExceeded(error);
}

} // namespace

matrix_size widened(int m, int n) {
    try {
        const auto columns = boost::numeric_cast<std::size_t>(n); // the second size is converted first
        return {boost::numeric_cast<std::size_t>(m), columns};
    } catch (const boost::numeric::negative_overflow&) {
        const int given[] = {m, n};
        raise_unrepresentable(given);
    }
}

void widen_dimensions(int ndim, const int* dims, wide_dimensions& wide) {
    std::span<const int> given(&ndim, 1);
    try {
        given = {dims, boost::numeric_cast<std::size_t>(ndim)};
        wide.reserve(given.size());
        for (const int dim : given) wide.push_back(boost::numeric_cast<std::size_t>(dim));
    } catch (const boost::numeric::negative_overflow&) {
        raise_unrepresentable(given);
    }
}

int narrowed(std::size_t value) {
    try {
        return boost::numeric_cast<int>(value);
    } catch (const boost::numeric::positive_overflow&) {
        raise_size_limit_exceeded(std::span(&value, 1), 0, 0);
    }
}

} // namespace matrix::internal
