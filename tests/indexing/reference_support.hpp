// References as tests write them: at(x, colon(), num({1, 2})) and what a bad one raises.
#pragma once

#include "indexing/raised_error.hpp"
#include "support/arr.hpp"

#include <nd/colon.hpp>
#include <nd/reference.hpp>

#include <concepts>
#include <string>
#include <utility>
#include <vector>

namespace test {

inline matrix::array_ptr colon() { return arr("char", u":"); }
inline matrix::array_ptr range(double first, double step, double last) {
    return matrix::create_colon_object(first, step, last);
}

using subscripts = std::vector<matrix::array_ptr>;

/// Borrows what subs own.
inline std::vector<const ndArray_tag*> pointers_of(const subscripts& subs) {
    std::vector<const ndArray_tag*> pointers;
    pointers.reserve(subs.size());
    for (const matrix::array_ptr& sub : subs) pointers.push_back(sub.get());
    return pointers;
}

template <class... Subs>
subscripts subs_of(Subs&&... subs) {
    subscripts list;
    (list.push_back(std::forward<Subs>(subs)), ...);
    return list;
}

inline matrix::array_ptr referenced(const ndArray_tag* x, const subscripts& subs) {
    return matrix::subscriptedReference(*x, pointers_of(subs));
}

template <std::same_as<matrix::array_ptr>... Subs>
matrix::array_ptr at(const matrix::array_ptr& x, Subs... subs) {
    return referenced(x.get(), subs_of(std::move(subs)...));
}

/// What the reference raises; empty for nothing.
template <std::same_as<matrix::array_ptr>... Subs>
std::string error_at(const matrix::array_ptr& x, Subs... subs) {
    const subscripts list = subs_of(std::move(subs)...);
    return error_of([&] { referenced(x.get(), list); });
}

} // namespace test
