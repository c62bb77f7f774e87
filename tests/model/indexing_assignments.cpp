// Assignments on both sides.
#include "model/indexing_both.hpp"

#include "support/variations.hpp"

#include <nd/assignment.hpp>
#include <nd/structures.hpp>

#include <algorithm>
#include <complex>
#include <cstring>

namespace model {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using handle = index_world::handle;

// The right-hand side: mostly an array of its own, at times one that there is.
struct right_side {
    value expected;
    array_ptr own;
    const ndArray_tag* real;
};

right_side choose_right_side(index_world& w, choices& from, const handle& lhs,
                             const std::vector<value>& subs) {
    if (from.seldom(8)) {
        handle& other = w.pick(from);
        if (&other == &lhs) return {other.expected, nullptr, other.real.get()};
        array_ptr copy = matrix::detail::do_shared_copy(other.real.get());
        const ndArray_tag* const real = copy.get();
        return {other.expected, std::move(copy), real};
    }
    right_side made{any_right_side(from, lhs.expected, subs), nullptr, nullptr};
    made.own = real_array(made.expected);
    if (from.seldom(8)) {
        if (array_ptr object = test::as_colon_object(made.own.get())) made.own = std::move(object);
    }
    made.real = made.own.get();
    return made;
}

template <class T>
void store_scalar(ndArray_tag* a, const std::vector<kvIndex>& subs, const element& one) {
    T number;
    std::memcpy(&number, &one.re, sizeof number);
    api::ndScalarSubscriptedAssignment(a, subs.data(), subs.size(), number);
}

template <class T>
void store_complex(ndArray_tag* a, const std::vector<kvIndex>& subs, const element& one) {
    T parts[2];
    std::memcpy(&parts[0], &one.re, sizeof(T));
    std::memcpy(&parts[1], &one.im, sizeof(T));
    api::ndScalarSubscriptedAssignment(a, subs.data(), subs.size(), std::complex<T>(parts[0], parts[1]));
}

void store_by_class(ndArray_tag* a, const std::vector<kvIndex>& subs, const element& one, bool complex) {
    switch (static_cast<ndClassID>(a->class_id)) {
    case ndLOGICAL_CLASS:
        return store_scalar<bool>(a, subs, one);
    case ndCHAR_CLASS:
        return store_scalar<char16_t>(a, subs, one);
    case ndDOUBLE_CLASS:
        return complex ? store_complex<double>(a, subs, one) : store_scalar<double>(a, subs, one);
    case ndSINGLE_CLASS:
        return complex ? store_complex<float>(a, subs, one) : store_scalar<float>(a, subs, one);
    case ndINT8_CLASS:
        return store_scalar<signed char>(a, subs, one);
    case ndUINT8_CLASS:
        return store_scalar<unsigned char>(a, subs, one);
    case ndINT16_CLASS:
        return store_scalar<short>(a, subs, one);
    case ndUINT16_CLASS:
        return store_scalar<unsigned short>(a, subs, one);
    case ndINT32_CLASS:
        return store_scalar<int>(a, subs, one);
    case ndUINT32_CLASS:
        return store_scalar<unsigned int>(a, subs, one);
    case ndINT64_CLASS:
        return store_scalar<long long>(a, subs, one);
    default:
        return store_scalar<unsigned long long>(a, subs, one);
    }
}

} // namespace

std::string assign_both(index_world& w, choices& from) {
    handle& lhs = w.pick(from);
    own(lhs);
    const std::vector<value> subs = any_subscripts(from, lhs.expected);
    const right_side rhs = choose_right_side(w, from, lhs, subs);
    w.tell(std::string("x"), index_of(w, lhs), subs, std::string(" = "), rhs.expected);
    const real_subscripts real(subs);
    const std::size_t before = lhs.expected.elements.size();
    const void* const block = lhs.real->pdata;
    growth_terms terms;
    bool refused = false;
    std::string wrong = do_both(
        w, [&] { api::ndSubscriptedAssignment(lhs.real.get(), real.size(), real.data(), rhs.real); },
        [&] { assign(lhs.expected, subs, rhs.expected, terms); }, refused);
    count_growth(w, lhs, before, block);
    w.counts().sparse += lhs.expected.sparse && !refused ? 1 : 0;
    return wrong.empty() && !refused ? check_result(lhs.expected, lhs.real.get()) : wrong;
}

// With new elements other than zero, or without a store.
std::string assign_with_filler(index_world& w, choices& from) {
    handle& lhs = w.pick(from);
    if (lhs.expected.is_cell_like() || lhs.expected.sparse) return assign_both(w, from);
    own(lhs);
    const std::vector<value> subs = any_subscripts(from, lhs.expected);
    value rhs = any_right_side(from, lhs.expected, subs);
    const ndClassID id = lhs.expected.bracket || lhs.expected.class_id == ndUNKNOWN_CLASS
                             ? rhs.class_id
                             : lhs.expected.class_id;
    if (rhs.is_cell_like() || id == ndUNKNOWN_CLASS) return {};
    const real_subscripts real(subs);
    const array_ptr real_rhs = real_array(rhs);
    value one = blank_value(id, id >= ndDOUBLE_CLASS && from.seldom(4), {1, 1});
    one.elements[0] = any_element(from, id, one.complex, 0);
    growth_terms terms{.filler = one.elements[0], .resize_only = from.seldom(3)};
    w.tell(std::string("x"), index_of(w, lhs), subs, std::string(" = "), rhs, std::string(" filling with "),
           one, std::string(terms.resize_only ? ", no store" : ""));
    bool grew = false;
    bool refused = false;
    array_ptr given_back;
    std::string wrong = do_both(
        w,
        [&] {
            given_back = api::ndSubscriptedAssignmentWithFiller(
                grew, lhs.real.get(), real.size(), real.data(), real_rhs.get(),
                [&](const ndArray_tag*) { return real_array(one); }, terms.resize_only);
        },
        [&] { assign(lhs.expected, subs, rhs, terms); }, refused);
    if (!wrong.empty() || refused) return wrong;
    if (given_back != nullptr) return "a filler came back";
    return grew == terms.grew ? std::string() : "grew is wrong";
}

std::string assign_field(index_world& w, choices& from) {
    handle& lhs = w.pick(from);
    if (!lhs.expected.is_struct() || lhs.expected.fields.empty() || lhs.expected.bracket)
        return assign_both(w, from);
    own(lhs);
    const std::size_t field = 1 + from.below(static_cast<unsigned>(lhs.expected.fields.size()));
    const std::vector<value> subs = any_subscripts(from, lhs.expected);
    value cell_shape = lhs.expected;
    cell_shape.class_id = ndCELL_CLASS;
    cell_shape.fields.clear();
    const value rhs = any_right_side(from, cell_shape, subs);
    w.tell(std::string("x"), index_of(w, lhs), subs, std::string(" field "), field, std::string(" = "), rhs);
    const real_subscripts real(subs);
    const array_ptr real_rhs = real_array(rhs);
    bool grew = false;
    bool expected_grew = false;
    bool refused = false;
    std::string wrong = do_both(
        w,
        [&] {
            api::ndStructureAssignment(grew, lhs.real.get(), real.size(), real.data(), real_rhs.get(), field);
        },
        [&] { field_assign(lhs.expected, subs, rhs, field, expected_grew); }, refused);
    if (!wrong.empty() || refused) return wrong;
    return grew == expected_grew ? std::string() : "grew is wrong";
}

// Element by element at the end, which capacity is for.
std::string append(index_world& w, choices& from) {
    handle& lhs = w.pick(from);
    own(lhs);
    const std::size_t times = 1 + from.below(12);
    const ndClassID id = lhs.expected.class_id == ndUNKNOWN_CLASS ? any_class(from) : lhs.expected.class_id;
    const value one = any_value_of(from, id, {1, 1}, lhs.expected.fields);
    w.tell(std::string("x"), index_of(w, lhs), std::string("(end + 1) = "), one, std::string(", times "),
           times);
    const array_ptr real_one = real_array(one);
    for (std::size_t i = 0; i < times; ++i) {
        value at = blank_value(ndDOUBLE_CLASS, false, {1, 1});
        at.elements[0].re =
            bits_of(ndDOUBLE_CLASS, static_cast<long double>(lhs.expected.elements.size() + 1));
        const std::vector<value> subs{at};
        const real_subscripts real(subs);
        const std::size_t before = lhs.expected.elements.size();
        const void* const block = lhs.real->pdata;
        growth_terms terms;
        bool refused = false;
        std::string wrong = do_both(
            w, [&] { api::ndSubscriptedAssignment(lhs.real.get(), 1, real.data(), real_one.get()); },
            [&] { assign(lhs.expected, subs, one, terms); }, refused);
        if (!wrong.empty() || refused) return wrong;
        count_growth(w, lhs, before, block);
    }
    return {};
}

std::string scalar_assign_both(index_world& w, choices& from) {
    handle& a = w.pick(from);
    const ndClassID id = a.expected.class_id;
    if (a.expected.is_cell_like() || id == ndUNKNOWN_CLASS || a.expected.sparse) return assign_both(w, from);
    own(a);
    const unsigned counts[] = {1, static_cast<unsigned>(a.expected.shape.size()), 2, 3};
    const dims seen = folded(a.expected.shape, from.one_of(counts));
    std::vector<kvIndex> subs;
    for (const std::size_t dim : seen)
        subs.push_back(from.seldom(5) ? dim + from.below(3)
                                      : from.below(250) % std::max<std::size_t>(dim, 1));
    const bool complex = (id == ndDOUBLE_CLASS || id == ndSINGLE_CLASS) && from.seldom(3);
    const element one = any_element(from, id, complex, 0);
    w.tell(std::string("x"), index_of(w, a), std::string("["));
    for (const kvIndex at : subs) w.tell(at, std::string(" "));
    value shown = blank_value(id, complex, {1, 1});
    shown.elements[0] = one;
    w.tell(std::string("] = "), shown);
    bool refused = false;
    const std::size_t before = a.expected.elements.size();
    const void* const block = a.real->pdata;
    std::string wrong = do_both(
        w, [&] { store_by_class(a.real.get(), subs, one, complex); },
        [&] { scalar_assign(a.expected, subs, one, complex); }, refused);
    count_growth(w, a, before, block);
    return wrong.empty() && !refused ? check_result(a.expected, a.real.get()) : wrong;
}

} // namespace model
