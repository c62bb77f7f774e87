// Assignments as they are written: values with their elements in place, subscripts as text.
//
//     assigned({"double 1x3", {1, 2, 3}}, {"2"}, {"double", {7}})        x = 1:3; x(2) = 7
//
// Subscripts: ":", "2:4" and "5:-1:1" (colon objects), "3", "[1 3 2]" (doubles), "int64 [1 2]" (any class), "logical [1 0 1]".
#pragma once

#include "indexing/raised_error.hpp"
#include "support/arr.hpp"
#include "support/array_matchers.hpp"
#include "support/fixture.hpp"

#include <nd/assignment.hpp>
#include <nd/colon.hpp>

#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace test {

/// What arr() takes. No elements: zeros.
struct value {
    const char* description;
    std::vector<number> elements{};

    matrix::array_ptr make() const {
        return elements.empty() ? arr(description) : arr(description, std::span<const number>(elements));
    }
};

/// A left side that gives way.
inline matrix::array_ptr bracket() {
    matrix::array_ptr x = arr("double 0x0");
    x->flags |= matrix::flag_empty_square_bracket;
    return x;
}

inline matrix::array_ptr range_of(const std::string& text) {
    std::istringstream in(text);
    std::vector<double> parts;
    for (std::string part; std::getline(in, part, ':');) parts.push_back(std::stod(part));
    return parts.size() == 2 ? matrix::create_colon_object(parts[0], 1, parts[1])
                             : matrix::create_colon_object(parts[0], parts[1], parts[2]);
}

inline matrix::array_ptr subscript(const std::string& text) {
    if (text == ":") return arr("char", u":");
    const std::size_t bracket = text.find('[');
    if (bracket == std::string::npos && text.find(':') != std::string::npos) return range_of(text);
    const std::string class_name =
        bracket == std::string::npos || bracket == 0 ? "double" : text.substr(0, bracket - 1);
    std::istringstream in(bracket == std::string::npos ? text : text.substr(bracket + 1));
    std::vector<number> values;
    for (double x = 0; in >> x;) values.emplace_back(x);
    if (values.empty()) return arr(class_name + " 0x0");
    return arr(class_name + " 1x" + std::to_string(values.size()), std::span<const number>(values));
}

class subscripts {
public:
    subscripts(std::initializer_list<const char*> texts) : subscripts(std::vector<const char*>(texts)) {}
    explicit subscripts(const std::vector<const char*>& texts) {
        for (const char* const text : texts) owned_.push_back(subscript(text));
        for (const auto& one : owned_) list_.push_back(one.get());
    }

    std::size_t size() const noexcept { return list_.size(); }
    const ndArray_tag* const* data() const noexcept { return list_.data(); }

private:
    std::vector<matrix::array_ptr> owned_;
    std::vector<const ndArray_tag*> list_;
};

inline void assign(ndArray_tag* lhs, const subscripts& subs, const ndArray_tag* rhs) {
    matrix::detail::noninlined::nd_array_api::ndSubscriptedAssignment(lhs, subs.size(), subs.data(), rhs);
}

/// The full way, which the public function takes only where none of the short ones will do. The result is grew.
inline bool assign_fully(ndArray_tag* lhs, const subscripts& subs, const ndArray_tag* rhs) {
    bool grew = false;
    const matrix::array_ptr left_over =
        matrix::detail::noninlined::nd_array_api::ndSubscriptedAssignmentWithFiller(
            grew, lhs, subs.size(), subs.data(), rhs, {}, false);
    EXPECT_EQ(left_over, nullptr);
    return grew;
}

} // namespace test
