// References, and questions about subscripts, on both sides.
#include "model/indexing_both.hpp"

#include "support/variations.hpp"

#include <nd/reference.hpp>
#include <nd/structures.hpp>

#include <algorithm>

namespace model {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;
using handle = index_world::handle;

bool counts_in_32_bits(const value& subscript) {
    return !subscript.as_range || !(std::max(subscript.as_range->start, subscript.as_range->stop) > 1e9);
}

std::vector<value> any_scalar_subscripts(choices& from, const value& a) {
    const unsigned counts[] = {1, static_cast<unsigned>(a.shape.size()), 2, 3};
    std::vector<value> subs;
    for (const std::size_t dim : folded(a.shape, from.one_of(counts)))
        subs.push_back(any_scalar_subscript(from, dim));
    return subs;
}

} // namespace

std::string reference_both(index_world& w, choices& from) {
    handle& source = w.pick(from);
    const std::vector<value> subs = any_subscripts(from, source.expected);
    w.tell(std::string("x"), index_of(w, source), subs);
    const real_subscripts real(subs);
    array_ptr object = from.seldom(6) ? test::as_colon_object(source.real.get()) : nullptr;
    const ndArray_tag* const a = object ? object.get() : source.real.get();
    const bool temporary = from.seldom(4);
    value expected;
    array_ptr found;
    bool refused = false;
    std::string wrong = do_both(
        w,
        [&] {
            found = temporary ? array_ptr(api::ndSubscriptedReference(a, real.size(), real.data()))
                              : matrix::subscriptedReference(*a, real.all());
        },
        [&] { expected = reference(source.expected, subs); }, refused);
    if (!wrong.empty() || refused) return wrong;
    w.counts().sparse += source.expected.sparse ? 1 : 0;
    w.counts().made_real += source.expected.complex && !expected.complex ? 1 : 0;
    wrong = check_result(expected, found.get());
    if (wrong.empty() && from.seldom(4)) w.add(std::move(found), std::move(expected));
    return wrong;
}

std::string reference_field(index_world& w, choices& from) {
    handle& source = w.pick(from);
    if (!source.expected.is_struct() || source.expected.fields.empty()) return reference_both(w, from);
    const std::size_t field = 1 + from.below(static_cast<unsigned>(source.expected.fields.size()));
    const std::vector<value> subs = any_subscripts(from, source.expected);
    w.tell(std::string("x"), index_of(w, source), subs, std::string(" field "), field);
    const real_subscripts real(subs);
    value expected;
    array_ptr found;
    bool refused = false;
    std::string wrong = do_both(
        w, [&] { found = matrix::structureReference(*source.real, real.all(), field); },
        [&] { expected = field_reference(source.expected, subs, field); }, refused);
    return wrong.empty() && !refused ? check_result(expected, found.get()) : wrong;
}

// Where one element lies, to be read or assigned to; what end is.
std::string ask(index_world& w, choices& from) {
    const handle& a = w.pick(from);
    const std::vector<value> subs = any_scalar_subscripts(from, a.expected);
    const std::size_t nsubs = subs.size();
    const std::size_t field = a.expected.is_struct() && !a.expected.fields.empty() && from.seldom(2) ? 1 : 0;
    const bool assigned_to = from.seldom(3);
    w.tell(std::string("x"), index_of(w, a), subs);
    const real_subscripts real(subs);
    const auto look = assigned_to
                          ? api::ndScalarRefForAssignment
                          : static_cast<decltype(&api::ndScalarRefForAssignment)>(api::ndScalarRefConst);
    place expected;
    kvIndex offset = 12345;
    kvSize failed = 0;
    ndScalarRefConstResult result = ndSCALAR_REF_IN_RANGE;
    bool refused = false;
    std::string wrong = do_both(
        w, [&] { result = look(&offset, failed, a.real.get(), nsubs, real.data(), field); },
        [&] { expected = scalar_place(a.expected, subs, field, !assigned_to); }, refused);
    if (!wrong.empty() || refused) return wrong;
    if ((result == ndSCALAR_REF_EXCEEDS) != (expected.failed != 0)) return "in range or not";
    if (expected.failed != 0 ? failed != expected.failed || offset != 12345 : offset != expected.offset)
        return "offset " + std::to_string(offset) + ", subscript " + std::to_string(failed);
    for (std::size_t position = 1; position <= nsubs; ++position) {
        if (api::ndGetEnd(a.real.get(), position, nsubs) != end_of(a.expected, position, nsubs))
            return "the end";
    }
    return {};
}

std::string make_slot(index_world& w, choices& from) {
    handle& a = w.pick(from);
    own(a);
    const std::vector<value> subs = any_scalar_subscripts(from, a.expected);
    const auto fields = static_cast<unsigned>(a.expected.fields.size());
    const std::size_t field =
        a.expected.is_struct() && fields != 0 && !from.seldom(5) ? 1 + from.below(fields) : 0;
    const bool keep = !from.seldom(4);
    w.tell(std::string("x"), index_of(w, a), subs, std::string(" field "), field);
    const real_subscripts real(subs);
    kvIndex offset = 12345;
    std::size_t expected = 0;
    bool grew = false;
    bool expected_grew = false;
    bool refused = false;
    std::string wrong = do_both(
        w, [&] { offset = api::ndScalarRef(a.real.get(), real.size(), real.data(), field, keep, grew); },
        [&] { expected = slot_place(a.expected, subs, field, keep, expected_grew); }, refused);
    if (!wrong.empty() || refused) return wrong;
    w.counts().slots += grew ? 1 : 0;
    if (grew != expected_grew) return "grew is wrong";
    return offset == expected ? std::string() : "offset " + std::to_string(offset);
}

std::string count_both(index_world& w, choices& from) {
    const handle& a = w.pick(from);
    const std::vector<value> subs = any_subscripts(from, a.expected);
    const std::size_t position = 1 + from.below(static_cast<unsigned>(subs.size()));
    const value& subscript = subs[position - 1];
    if (!counts_in_32_bits(subscript)) return {};
    w.tell(std::string("x"), index_of(w, a), std::string(", subscript "), subscript);
    const array_ptr real = real_array(subscript);
    std::optional<std::size_t> expected;
    kvSize count = 12345;
    bool can = false;
    bool refused = false;
    std::string wrong = do_both(
        w, [&] { can = api::ndSubsCount(a.real.get(), real.get(), position, subs.size(), &count); },
        [&] { expected = count_selected(a.expected, subscript, position, subs.size()); }, refused);
    if (!wrong.empty() || refused) return wrong;
    return can == expected.has_value() && count == expected.value_or(0) ? std::string()
                                                                        : "counted " + std::to_string(count);
}

} // namespace model
