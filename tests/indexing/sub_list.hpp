// Subscripts of a call, written as the language writes them:
//
//     const sub_list subs("[1 3], :");
//     matrix::subscriptedReference(*x, subs.span());
//
//     :          the colon
//     2:4        a colon object; 1:2:9 with a step
//     [1 3 3]    a row of doubles; [1;2] a column; [] is 0x0, [0x3] any other shape without elements
//     3          a double
//     <0110>     a row of logical; <> is 0x0
//     'ab'       code units
//
// Arrays of any other form are added by hand: sub_list(array).and_then(array).
#pragma once

#include "support/arr.hpp"

#include <nd/colon.hpp>
#include <nd/scalars.hpp>

#include <algorithm>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace test {

class sub_list {
public:
    sub_list() = default;
    sub_list(const char* text) : sub_list(std::string(text)) {}
    sub_list(const std::string& text) {
        std::istringstream stream(text);
        for (std::string one; std::getline(stream, one, ',');) {
            one.erase(0, one.find_first_not_of(' '));
            add(parsed(one));
        }
    }
    explicit sub_list(matrix::array_ptr first) { add(std::move(first)); }

    sub_list& add(matrix::array_ptr next) {
        list_.push_back(next.get());
        owned_.push_back(std::move(next));
        return *this;
    }

    std::size_t size() const noexcept { return list_.size(); }
    const ndArray_tag* const* data() const noexcept { return list_.data(); }
    std::span<const ndArray_tag* const> span() const noexcept { return {list_.data(), list_.size()}; }

private:
    static matrix::array_ptr parsed(const std::string& one) {
        if (one == ":")
            return matrix::array_ptr(matrix::detail::noninlined::nd_array_api::ndCreateColonIndex());
        if (one[0] == '[') return bracket(one.substr(1, one.size() - 2));
        if (one[0] == '<') return mask(one.substr(1, one.size() - 2));
        if (one[0] == '\'') return arr("char", std::u16string(one.begin() + 1, one.end() - 1));
        if (one.find(':') != std::string::npos) return range(one);
        return arr("double", {std::stod(one)});
    }

    static matrix::array_ptr bracket(std::string inside) {
        if (inside.empty()) return arr("double 0x0");
        if (inside.find('x') != std::string::npos) return arr("double " + inside);
        const bool column = inside.find(';') != std::string::npos;
        std::replace(inside.begin(), inside.end(), ';', ' ');
        std::istringstream stream(inside);
        std::vector<number> values;
        for (double value; stream >> value;) values.emplace_back(value);
        const std::string count = std::to_string(values.size());
        return arr(column ? "double " + count + "x1" : "double 1x" + count, values);
    }

    static matrix::array_ptr mask(const std::string& inside) {
        if (inside.empty()) return arr("logical 0x0");
        std::vector<number> values;
        for (const char c : inside) values.emplace_back(c - '0');
        return arr("logical 1x" + std::to_string(values.size()), values);
    }

    static matrix::array_ptr range(const std::string& text) {
        std::istringstream stream(text);
        std::vector<double> operands;
        for (std::string one; std::getline(stream, one, ':');) operands.push_back(std::stod(one));
        if (operands.size() == 2) operands.insert(operands.begin() + 1, 1.0);
        if (operands.size() != 3) throw std::invalid_argument("no range: " + text);
        return matrix::create_colon_object(operands[0], operands[1], operands[2]);
    }

    std::vector<matrix::array_ptr> owned_;
    std::vector<const ndArray_tag*> list_;
};

} // namespace test
