// Arrays, subscripts and right-hand sides that random programs choose, out of bytes: the same bytes choose the same, used-up bytes
// choose the simplest. Whatever lies in the bytes makes a program, so they may come from a generator as well as from a fuzzer.
#pragma once

#include "model/indexing_model.hpp"

#include <cstdint>
#include <span>
#include <vector>

namespace model {

class choices {
public:
    explicit choices(std::span<const std::uint8_t> bytes) : rest_(bytes) {}

    /// 0 to end - 1; 0 is the simplest, and what there is when the bytes are used up.
    unsigned below(unsigned end);

    /// Once in n times; the simple answer is no.
    bool seldom(unsigned n) { return below(n) == n - 1; }

    template <class T, std::size_t N>
    const T& one_of(const T (&table)[N]) {
        return table[below(N)];
    }

private:
    std::span<const std::uint8_t> rest_;
};

/// A class that arrays of programs have; not unknown.
ndClassID any_class(choices& from);
dims any_shape(choices& from);
std::vector<std::string> any_fields(choices& from);

value any_value(choices& from);
value any_value_of(choices& from, ndClassID class_id, const dims& shape,
                   const std::vector<std::string>& fields);
element any_element(choices& from, ndClassID class_id, bool complex, std::size_t fields);

/// Subscripts of an array: most of them fit, some reach beyond, a few can't be subscripts.
std::vector<value> any_subscripts(choices& from, const value& a);

/// A subscript of one index.
value any_scalar_subscript(choices& from, std::size_t dim);

/// Most of them suit the left side and what the subscripts select of it.
value any_right_side(choices& from, const value& lhs, subscripts subs);

} // namespace model
