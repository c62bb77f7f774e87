// Deletion and growth on both sides.
#include "model/indexing_both.hpp"

#include <nd/assignment.hpp>
#include <nd/deletion.hpp>

namespace model {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using handle = index_world::handle;

bool is_resizable(const value& a) { return !a.sparse && a.class_id != ndUNKNOWN_CLASS; }

} // namespace

std::string erase_both(index_world& w, choices& from) {
    handle& a = w.pick(from);
    own(a);
    std::vector<value> subs = any_subscripts(from, a.expected);
    // Two subscripts that aren't the colon are refused: one stays in most programs.
    const std::size_t kept = from.below(static_cast<unsigned>(subs.size()));
    const bool strict = from.seldom(6);
    for (std::size_t i = 0; i < subs.size(); ++i) {
        if (i != kept && !strict) subs[i] = colon();
    }
    w.tell(std::string("x"), index_of(w, a), subs, std::string(" = []"));
    const real_subscripts real(subs);
    bool refused = false;
    w.counts().sparse += a.expected.sparse ? 1 : 0;
    return do_both(
        w, [&] { api::ndSubscriptedDelete(a.real.get(), real.size(), real.data()); },
        [&] { erase(a.expected, subs); }, refused);
}

std::string resize_both(index_world& w, choices& from) {
    handle& a = w.pick(from);
    if (!is_resizable(a.expected)) return {};
    own(a);
    dims shape = any_shape(from);
    while (shape.size() < a.expected.shape.size()) shape.push_back(1 + from.below(3));
    w.tell(std::string("x"), index_of(w, a), std::string(" to "), blank_value(ndCELL_CLASS, false, shape));
    bool refused = false;
    return do_both(
        w, [&] { api::ndResizeArray(a.real.get(), shape.size(), shape.data()); },
        [&] { resize(a.expected, shape); }, refused);
}

std::string lengthen(index_world& w, choices& from) {
    handle& a = w.pick(from);
    const ndClassID id = a.expected.class_id;
    if (!is_resizable(a.expected) || a.expected.bracket || a.expected.shape.size() != 2) return {};
    const bool known = id == ndCHAR_CLASS || (id >= ndDOUBLE_CLASS && id <= ndUINT64_CLASS);
    own(a);
    const std::size_t m = a.expected.shape[0];
    const std::size_t n = a.expected.shape[1];
    const bool complex = id != ndCHAR_CLASS && known && from.seldom(4);
    const std::size_t length = from.seldom(2) ? m * n + from.below(9) : from.below(40);
    if (id == ndDOUBLE_CLASS && from.seldom(2)) {
        const std::size_t rows = from.below(8);
        w.tell(std::string("x"), index_of(w, a), std::string(" to "), rows, std::string(" by "), length);
        api::ndResizeDoubleMatrix(a.real.get(), m, n, rows, length, complex);
        resize_matrix(a.expected, rows, length, complex);
        return {};
    }
    w.tell(std::string("x"), index_of(w, a), std::string(" to length "), length);
    const bool found = api::ndResizeNumericVector(a.real.get(), m, n, length, complex);
    const bool expected = known && resize_vector(a.expected, length, complex);
    return found == expected ? std::string() : "the answer is wrong";
}

} // namespace model
