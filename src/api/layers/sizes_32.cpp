// The checked conversions between int and 64-bit sizes.
#include "api/layers/sizes_32.hpp"

#include "matrix/size_limit.hpp"

#include <boost/numeric/conversion/cast.hpp>

namespace matrix::internal {
namespace {

// The size that was given is negative: its own digits are what helps the caller.
[[noreturn, gnu::cold]] void raise_unrepresentable(std::span<const int> given) {
    raise_size_limit_exceeded(dimension_text(given), 0, 0);
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

std::size_t widened(int index) {
    try {
        return boost::numeric_cast<std::size_t>(index);
    } catch (const boost::numeric::negative_overflow&) {
        raise_unrepresentable({&index, 1});
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
