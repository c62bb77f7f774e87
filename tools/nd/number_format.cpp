#include "number_format.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <optional>

namespace nd_host {

namespace {

template <class... Args>
std::string formatted(const char* format, Args... args) {
    std::array<char, 400> text{}; // the largest double has 309 digits before its point
    const int length = std::snprintf(text.data(), text.size(), format, args...);
    return {text.data(), static_cast<std::size_t>(length)};
}

constexpr float_format scientific_format{float_format::form::scientific, 5};

bool is_short_integer(double value) { return value == std::floor(value) && std::fabs(value) < 1e15; }

std::string brief_text(double value) { return formatted(is_short_integer(value) ? "%.0f" : "%.6g", value); }

// The decimals that value needs when it is rounded to most of them; nothing when too much of it would be lost by that.
std::optional<int> decimals_needed(double value, int most) {
    std::string text = formatted("%.*f", most, value);
    if (std::fabs(std::strtod(text.c_str(), nullptr) - value) > 0.005 * std::fabs(value)) {
        return std::nullopt;
    }
    const std::size_t point = text.find('.');
    return point == std::string::npos ? 0 : static_cast<int>(text.find_last_not_of('0') - point);
}

} // namespace

std::string float_format::operator()(double value) const {
    if (std::isnan(value)) {
        return "NaN";
    }
    if (std::isinf(value)) {
        return value > 0 ? "Inf" : "-Inf";
    }
    if (how == form::brief) {
        return brief_text(value);
    }
    return formatted(how == form::scientific ? "%.*e" : "%.*f", decimals, value);
}

float_format format_for(std::vector<double> values) {
    values.erase(std::remove_if(values.begin(), values.end(), [](double v) { return !std::isfinite(v); }),
                 values.end());
    if (std::all_of(values.begin(), values.end(), is_short_integer)) {
        return {};
    }
    double largest = 0;
    for (const double value : values) {
        largest = std::max(largest, std::fabs(value));
    }
    if (largest < 1e-4 || largest >= 1e10) {
        return scientific_format;
    }
    const int most = std::max(0, 5 - static_cast<int>(std::floor(std::log10(largest))));
    float_format format;
    for (const double value : values) {
        const auto decimals = decimals_needed(value, most);
        if (!decimals) {
            return scientific_format;
        }
        format.decimals = std::max(format.decimals, *decimals);
    }
    return format;
}

std::string number_text(const number& value, const float_format& format) {
    if (const auto* wide = std::get_if<double>(&value)) {
        return format(*wide);
    }
    if (const auto* narrow = std::get_if<float>(&value)) {
        return format(static_cast<double>(*narrow));
    }
    if (const auto* integer = std::get_if<std::int64_t>(&value)) {
        return std::to_string(*integer);
    }
    return std::to_string(std::get<std::uint64_t>(value));
}

std::string number_text(const number& real, const number& imaginary, const float_format& format) {
    const std::string part = number_text(imaginary, format);
    return number_text(real, format) + (part.front() == '-' ? "" : "+") + part + "i";
}

std::string element_text(const array_view& array, std::size_t row, std::size_t column,
                         const float_format& format) {
    const number real = array.real(row, column);
    return array.is_complex() ? number_text(real, array.imaginary(row, column), format)
                              : number_text(real, format);
}

} // namespace nd_host
