#include "csv_writer.hpp"

#include "csv_reader.hpp"
#include "failure.hpp"

#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <type_traits>

namespace nd_host {

namespace {

template <class T>
void append_value(std::string& out, T value) {
    std::array<char, 40> text{};
    std::to_chars_result result{};
    if constexpr (std::is_floating_point_v<T>) {
        if (!std::isfinite(value)) {
            out += std::isnan(value) ? "NaN" : value > 0 ? "Inf" : "-Inf";
            return;
        }
        result = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::general,
                               std::numeric_limits<T>::max_digits10);
    } else {
        result = std::to_chars(text.data(), text.data() + text.size(), value);
    }
    out.append(text.data(), result.ptr);
}

void append_number(std::string& out, const number& value) {
    std::visit([&out](auto v) { append_value(out, v); }, value);
}

// A name that the reader would take for something else, or that has a character with a meaning, stands in quotes.
void append_name(std::string& out, const std::string& name) {
    const bool plain = !name.empty() && name != "NA" && name.find_first_of(",\"\r\n") == std::string::npos &&
                       name.front() != ' ' && name.back() != ' ' && !spells_number(name);
    if (plain) {
        out += name;
        return;
    }
    out += '"';
    for (const char c : name) {
        out.append(c == '"' ? 2 : 1, c);
    }
    out += '"';
}

void append_names(std::string& out, const array_view& array, const std::vector<std::string>& names) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i != 0) {
            out += ',';
        }
        append_name(out, array.is_complex() ? names[i] + ".re" : names[i]);
        if (array.is_complex()) {
            out += ',';
            append_name(out, names[i] + ".im");
        }
    }
    out += '\n';
}

[[noreturn]] void fail_writing(const std::string& path) {
    throw failure(exit_status::cannot_write, path + ": can't be written: " + std::strerror(errno));
}

} // namespace

std::string csv_text(const array_view& array, const std::vector<std::string>& names) {
    std::string out;
    if (!names.empty()) {
        append_names(out, array, names);
    }
    if (array.columns() == 0) {
        return out;
    }
    for (std::size_t row = 0; row < array.rows(); ++row) {
        for (std::size_t column = 0; column < array.columns(); ++column) {
            if (column != 0) {
                out += ',';
            }
            append_number(out, array.real(row, column));
            if (array.is_complex()) {
                out += ',';
                append_number(out, array.imaginary(row, column));
            }
        }
        out += '\n';
    }
    return out;
}

void write_text(const std::string& path, const std::string& text) {
    const bool to_stdout = path == "-";
    std::FILE* file = to_stdout ? stdout : std::fopen(path.c_str(), "wb");
    if (file == nullptr) {
        fail_writing(path);
    }
    const bool written =
        std::fwrite(text.data(), 1, text.size(), file) == text.size() && std::fflush(file) == 0;
    const int write_error = errno;
    const bool closed = to_stdout || std::fclose(file) == 0;
    if (!written) {
        errno = write_error;
    }
    if (!written || !closed) {
        fail_writing(to_stdout ? "standard output" : path);
    }
}

} // namespace nd_host
