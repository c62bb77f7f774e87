/*
 * Numbers for the eye. Floating-point numbers are written by a float_format; integers and logical values have all their digits.
 */
#ifndef ND_TOOLS_NUMBER_FORMAT_HPP
#define ND_TOOLS_NUMBER_FORMAT_HPP

#include "array_view.hpp"

#include <string>
#include <vector>

namespace nd_host {

struct float_format {
    enum class form {
        fixed,      ///< as many decimals as told
        scientific, ///< the same before an exponent
        brief       ///< six digits, fewer where they are zeros; whole numbers below 10^15 whole
    };
    form how = form::fixed;
    int decimals = 0;

    /// NaN, Inf and -Inf are written so in every form.
    std::string operator()(double value) const;
};

inline constexpr float_format brief_format{float_format::form::brief, 0};

/// The format that suits a column of numbers: as many decimals as the largest needs for six digits, none for whole numbers;
/// scientific where that would cut more than half a percent off a small one.
float_format format_for(std::vector<double> values);

/// A number, and a complex one from its parts as 1.5-2i.
std::string number_text(const number& value, const float_format& format);
std::string number_text(const number& real, const number& imaginary, const float_format& format);

/// The element of the array, a complex one as 1.5-2i. Needs array.has_numbers().
std::string element_text(const array_view& array, std::size_t row, std::size_t column,
                         const float_format& format);

} // namespace nd_host

#endif
