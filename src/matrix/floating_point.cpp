// Constants and tests of doubles. The tests are comparisons: no target may be built with options that assume there is no NaN.
#include <nd/scalars.hpp>

#include <bit>
#include <cmath>
#include <limits>

namespace matrix::detail::noninlined::nd_array_api {

double ndGetEps() { return std::numeric_limits<double>::epsilon(); }
double ndGetInf() { return std::numeric_limits<double>::infinity(); }
double ndGetNaN() { return std::bit_cast<double>(std::uint64_t{0xFFF8'0000'0000'0000}); }
bool ndIsFinite(double x) { return std::fabs(x) <= std::numeric_limits<double>::max(); }
bool ndIsInf(double x) { return std::fabs(x) > std::numeric_limits<double>::max(); }
bool ndIsNaN(double x) { return std::isunordered(x, x); }

} // namespace matrix::detail::noninlined::nd_array_api
