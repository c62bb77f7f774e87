// The table of operations that random programs over subscripts consist of.
#include "model/indexing_both.hpp"

#include "support/variations.hpp"

namespace model {
namespace {

using matrix::array_ptr;
using handle = index_world::handle;

// A fresh array in any representation.
std::string create(index_world& w, choices& from) {
    value made = any_value(from);
    w.tell(made);
    array_ptr plain = real_array(made);
    const auto variations = test::all_variations();
    const test::variation& chosen = variations[from.below(static_cast<unsigned>(variations.size()))];
    if (made.bracket || made.class_id == ndUNKNOWN_CLASS || !chosen.applies(plain.get())) {
        w.add(std::move(plain), std::move(made));
        return {};
    }
    w.tell(std::string(", "), std::string(chosen.name));
    test::representation given = chosen.make(plain.get());
    w.add(std::move(given.value), made);
    handle& h = w.handles().back();
    h.others = std::move(given.sharers);
    for (array_ptr& owner : given.other_owners) h.others.push_back(std::move(owner));
    h.others_value = std::move(made);
    return {};
}

std::string share(index_world& w, choices& from) {
    handle& source = w.pick(from);
    w.tell(std::string("x"), index_of(w, source));
    value same = source.expected;
    same.bracket = false; // a copy isn't the literal
    array_ptr copy = matrix::detail::do_shared_copy(source.real.get());
    w.add(std::move(copy), std::move(same));
    return {};
}

std::string drop(index_world& w, choices& from) {
    const std::size_t i = from.below(static_cast<unsigned>(w.size()));
    w.tell(std::string("x"), i);
    w.handles().erase(w.handles().begin() + static_cast<std::ptrdiff_t>(i));
    return {};
}

constexpr index_operation table[] = {
    {"create", create},
    {"reference", reference_both},
    {"assign", assign_both},
    {"erase", erase_both},
    {"reference", reference_both},
    {"assign", assign_both},
    {"scalar assign", scalar_assign_both},
    {"reference a field", reference_field},
    {"assign a field", assign_field},
    {"assign with a filler", assign_with_filler},
    {"append", append},
    {"ask for one element", ask},
    {"ask for a slot to write", make_slot},
    {"count a subscript", count_both},
    {"resize", resize_both},
    {"lengthen", lengthen},
    {"share", share},
    {"reference", reference_both},
    {"assign", assign_both},
    {"create", create},
    {"drop", drop},
};

} // namespace

std::span<const index_operation> all_index_operations() { return table; }

} // namespace model
