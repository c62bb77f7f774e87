// Assignment and growth.
#include "model/indexing_model.hpp"

#include <algorithm>

namespace model {
namespace {

bool all_zero(const dims& shape) {
    return std::all_of(shape.begin(), shape.end(), [](std::size_t dim) { return dim == 0; });
}

bool gives_way(const value& a) { return a.bracket || (a.class_id == ndUNKNOWN_CLASS && a.is_empty()); }

dims other_than_one(const dims& shape) {
    dims rest;
    std::copy_if(shape.begin(), shape.end(), std::back_inserter(rest),
                 [](std::size_t dim) { return dim != 1; });
    return rest;
}

[[noreturn]] void mismatch() { throw refusal{"subsassigndimmismatch"}; }

dims counts_of(const std::vector<selection>& chosen) {
    dims counts;
    for (const selection& one : chosen) counts.push_back(one.count());
    return counts;
}

// By position: an open slot takes the dimension at its place, if the others have theirs.
bool fit_by_position(std::vector<selection>& chosen, const std::vector<bool>& open, const dims& right) {
    for (std::size_t i = chosen.size(); i < right.size(); ++i) {
        if (right[i] != 1) return false;
    }
    const auto dim = [&](std::size_t i) { return i < right.size() ? right[i] : 1; };
    for (std::size_t i = 0; i < chosen.size(); ++i) {
        if (!open[i] && chosen[i].count() != dim(i)) return false;
    }
    for (std::size_t i = 0; i < chosen.size(); ++i) {
        if (open[i]) chosen[i].take_first(dim(i));
    }
    return true;
}

// In order: slots consume the dimensions other than 1.
void fit_in_order(std::vector<selection>& chosen, const std::vector<bool>& open, const dims& right) {
    const dims rest = other_than_one(right);
    std::size_t used = 0;
    bool taken = false;
    for (std::size_t i = 0; i < chosen.size(); ++i) {
        if (open[i]) {
            taken = taken || used < rest.size();
            chosen[i].take_first(used < rest.size() ? rest[used++] : 1);
        } else if (chosen[i].count() != 1) {
            if (used == rest.size() || rest[used++] != chosen[i].count()) mismatch();
        }
    }
    if (used < rest.size() || !taken) mismatch();
}

// Gives open slots their lengths and tests the counts against the right side.
void fit(std::vector<selection>& chosen, bool lhs_all_zero, const dims& right, bool& copy) {
    const std::size_t total = count_of(right);
    std::vector<bool> open;
    for (const selection& one : chosen) open.push_back(one.open && lhs_all_zero);
    const bool any_open = std::find(open.begin(), open.end(), true) != open.end();
    if (total == 1) {
        for (std::size_t i = 0; i < chosen.size(); ++i) {
            if (open[i]) chosen[i].take_first(1);
        }
        return;
    }
    if (chosen.size() == 1) {
        if (any_open) chosen[0].take_first(total);
        if (chosen[0].count() != total) mismatch();
    } else {
        if (any_open && !fit_by_position(chosen, open, right)) fit_in_order(chosen, open, right);
        const bool nothing = count_of(counts_of(chosen)) == 0 && total == 0;
        if (!nothing && other_than_one(counts_of(chosen)) != other_than_one(right)) mismatch();
    }
    if (count_of(counts_of(chosen)) == 0 || total == 0) copy = false;
}

// Whether an index beyond the last, folded dimension would leave open where elements go.
bool is_ambiguous(const dims& shape, std::size_t nsubs) {
    const std::size_t n = shape.size();
    if (nsubs >= n) return false;
    const auto ones = static_cast<std::size_t>(std::count(shape.begin(), shape.end(), 1));
    if (n == 2) return shape[0] >= 2 && shape[1] >= 2;
    return !(nsubs == 1 && ones == n - 1);
}

// The dimensions that the working dimensions grow to; nothing when they hold everything.
std::optional<dims> growth(const dims& working, const dims& maxima, const dims& shape) {
    dims grown = working;
    bool any = false;
    for (std::size_t i = 0; i < working.size(); ++i) {
        any = any || maxima[i] > working[i];
        grown[i] = std::max(working[i], maxima[i]);
    }
    if (!any) return std::nullopt;
    if (is_ambiguous(shape, working.size()) && maxima.back() > working.back())
        throw refusal{"ambiguousArrayGrowth"};
    return grown;
}

dims grown_shape(const dims& shape, const dims& grown, bool lhs_all_zero) {
    if (grown.size() == 1) {
        const std::size_t k = orientation(shape);
        if (lhs_all_zero || grown[0] == 1 || k == 0) return {1, grown[0]};
        dims result = shape;
        result[k - 1] = grown[0];
        return stored_dims(result);
    }
    if (grown.size() >= shape.size()) return stored_dims(grown);
    dims result = shape;
    std::copy(grown.begin(), grown.end() - 1, result.begin());
    return stored_dims(result);
}

void grow(value& a, const dims& working, const dims& grown, bool lhs_all_zero,
          const growth_terms& terms = {}) {
    check_size(grown, a.element_bytes());
    element fresh;
    if (terms.filler) fresh = *terms.filler;
    if (!a.complex) fresh.im = 0;
    move_elements(a, working, grown, fresh);
    a.shape = grown_shape(a.shape, grown, lhs_all_zero);
    a.bracket = false;
}

// What the left side is to become before anything is stored, and where things are stored.
struct target {
    dims working; ///< the dimensions that subscripts see, grown
    std::vector<selection> chosen;
    bool copy;
};

void check_classes(const value& lhs, const value& rhs, bool replaced, bool field) {
    bool suits = lhs.class_id == rhs.class_id || replaced;
    if (field) suits = lhs.is_struct() && rhs.class_id == ndCELL_CLASS;
    if (!field && lhs.is_struct() && !replaced)
        suits = rhs.is_struct() && rhs.fields.size() == lhs.fields.size();
    if (!suits) throw refusal{"invalidConversion"};
}

// Everything but the store.
target prepare(value& lhs, subscripts subs, const value& rhs, bool field, growth_terms& terms) {
    const bool unknown = lhs.class_id == ndUNKNOWN_CLASS && lhs.is_empty();
    const bool replaced = gives_way(lhs);
    const dims shape = replaced ? dims{0, 0} : lhs.shape;
    bool lhs_all_zero = all_zero(shape) && !field;
    if (lhs_all_zero && subs.size() == 1 && subs[0].is_colon()) lhs_all_zero = unknown;
    target to{lhs_all_zero ? dims(subs.size(), 0) : folded(shape, subs.size()), {}, !rhs.elements.empty()};
    const bool scalar = rhs.elements.size() == 1;
    bool skip = false;
    for (std::size_t i = 0; i < subs.size(); ++i) {
        to.chosen.push_back(select(subs[i], to.working[i], i + 1, false));
        const selection& one = to.chosen.back();
        if (scalar && (one.is_nothing() || (one.open && !unknown && !lhs_all_zero))) skip = true;
    }
    if (skip) to.copy = false;
    if (!skip) fit(to.chosen, lhs_all_zero, rhs.shape, to.copy);
    dims maxima;
    for (const selection& one : to.chosen) maxima.push_back(one.max);
    const std::optional<dims> grown = growth(to.working, maxima, shape);
    if (!grown && scalar && (lhs.is_empty() || replaced)) to.copy = false;
    check_classes(lhs, rhs, replaced, field);
    if (replaced) {
        lhs = blank_value(rhs.class_id, rhs.complex, {0, 0}, rhs.fields); // full, also where rhs is sparse
    }
    terms.grew = replaced || grown;
    if (grown) {
        grow(lhs, to.working, *grown, lhs_all_zero, terms);
        to.working = *grown;
    }
    return to;
}

template <class Store>
void store(value& lhs, const target& to, std::size_t available, Store put) {
    const std::size_t count = count_of(counts_of(to.chosen));
    for (std::size_t i = 0; i < count; ++i) {
        std::size_t rest = i;
        std::size_t offset = 0;
        std::size_t stride = 1;
        for (std::size_t slot = 0; slot < to.chosen.size(); ++slot) {
            const selection& one = to.chosen[slot];
            offset += one.positions[rest % one.count()] * stride;
            rest /= one.count();
            stride *= to.working[slot];
        }
        put(lhs.elements.at(offset), available == 1 ? 0 : i);
    }
}

} // namespace

void move_elements(value& a, const dims& from, const dims& to, const element& fresh) {
    std::vector<element> moved(count_of(to), fresh);
    for (std::size_t i = 0; i < a.elements.size(); ++i) {
        std::size_t rest = i;
        std::size_t offset = 0;
        std::size_t stride = 1;
        bool fits = true;
        for (std::size_t slot = 0; slot < from.size(); ++slot) {
            const std::size_t at = rest % from[slot];
            rest /= from[slot];
            fits = fits && at < to[slot];
            offset += at * stride;
            stride *= to[slot];
        }
        if (fits) moved[offset] = a.elements[i];
    }
    a.elements = std::move(moved);
}

void assign(value& lhs, subscripts subs, const value& rhs, growth_terms& terms) {
    const bool fields = lhs.is_struct() || (gives_way(lhs) && rhs.is_struct());
    value made = lhs;
    const target to = prepare(made, subs, rhs, false, terms);
    if (!terms.resize_only || fields) {
        made.complex = made.complex || rhs.complex;
        if (to.copy)
            store(made, to, rhs.elements.size(), [&](element& at, std::size_t i) { at = rhs.elements[i]; });
        free_zero_imaginary(made);
    }
    store_sparsely(made);
    lhs = std::move(made);
}

void field_assign(value& lhs, subscripts subs, const value& rhs, std::size_t field, bool& grew) {
    value made = lhs;
    growth_terms terms;
    const target to = prepare(made, subs, rhs, true, terms);
    grew = terms.grew;
    if (to.copy) {
        store(made, to, rhs.elements.size(),
              [&](element& at, std::size_t i) { at.slots.at(field - 1) = rhs.elements[i].re; });
    }
    lhs = std::move(made);
}

void scalar_assign(value& a, std::span<const std::size_t> subs, const element& one, bool complex) {
    value made = a;
    dims working = folded(a.shape, subs.size());
    dims maxima;
    for (const std::size_t at : subs) maxima.push_back(at + 1);
    if (const std::optional<dims> grown = growth(working, maxima, a.shape)) {
        grow(made, working, *grown, false);
        working = *grown;
    }
    std::size_t offset = 0;
    for (std::size_t i = subs.size(); i-- > 0;) offset = subs[i] + working[i] * offset;
    const bool imaginary = complex && number_of(a.class_id, one.im) != 0;
    made.elements.at(offset).re = one.re;
    made.elements.at(offset).im = imaginary || (complex && made.complex) ? one.im : 0;
    if (imaginary) made.complex = true;
    if (!imaginary || made.elements.size() == 1) free_zero_imaginary(made);
    a = std::move(made);
}

std::size_t slot_place(value& a, subscripts subs, std::size_t field, bool keep, bool& grew) {
    place at = scalar_place(a, subs, field, false);
    grew = at.failed != 0;
    if (!grew) return at.offset;
    const std::size_t fields = field == 0 ? 1 : a.fields.size();
    const std::size_t first = field == 0 ? 0 : field - 1;
    if (field != 0) at.indices.erase(at.indices.begin());
    const dims working = folded(a.shape, subs.size());
    const std::optional<dims> grown = growth(working, at.indices, a.shape);
    value made = a;
    if (field == 0 && a.class_id != ndCELL_CLASS) {
        if (!a.is_empty() || a.is_struct()) throw refusal{"invalidInput"};
        made = blank_value(ndCELL_CLASS, false, a.shape);
    }
    grow(made, working, *grown, all_zero(a.shape));
    if (!keep) {
        made.elements = a.elements;
        made.elements.resize(count_of(made.shape));
    }
    a = std::move(made);
    std::size_t offset = 0;
    for (std::size_t i = subs.size(); i-- > 0;) offset = at.indices[i] - 1 + (*grown)[i] * offset;
    return first + fields * offset;
}

void resize(value& a, const dims& shape) {
    if (count_of(shape) == a.elements.size()) return;
    const dims rest = other_than_one(shape);
    if (rest.size() == 1) {
        check_size(rest, a.element_bytes());
        a.bracket = false;
        const dims old{a.elements.size()};
        move_elements(a, old, rest, {});
        a.shape = grown_shape(a.shape, rest, false);
        return;
    }
    check_size(shape, a.element_bytes());
    a.bracket = false;
    move_elements(a, folded(a.shape, shape.size()), shape, {});
    a.shape = stored_dims(shape);
}

bool resize_vector(value& a, std::size_t length, bool complex) {
    if (complex) a.complex = true;
    if (length <= a.elements.size()) return true;
    if (a.shape[0] > 1 && a.shape[1] != 1) return false;
    const bool row = a.shape[0] <= 1;
    a.elements.resize(length, {});
    a.shape = row ? dims{1, length} : dims{length, 1};
    return true;
}

void resize_matrix(value& a, std::size_t m, std::size_t n, bool complex) {
    if (complex) a.complex = true;
    if (m <= a.shape[0] && n <= a.shape[1]) return;
    const dims to{std::max(m, a.shape[0]), std::max(n, a.shape[1])};
    move_elements(a, a.shape, to, {});
    a.shape = to;
}

} // namespace model
