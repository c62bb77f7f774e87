// Values, shapes, reference and deletion.
#include "model/indexing_model.hpp"

#include <algorithm>

namespace model {
namespace {

bool is_range_empty(const range& r) {
    return r.step == 0 || (r.start < r.stop && r.step < 0) || (r.start > r.stop && r.step > 0);
}

bool is_true_mask(const value& subscript) {
    return subscript.class_id == ndLOGICAL_CLASS && !subscript.as_range;
}

bool can_select(const value& subscript) {
    const ndClassID id = subscript.class_id;
    return id == ndLOGICAL_CLASS || id == ndCHAR_CLASS || (id >= ndDOUBLE_CLASS && id <= ndUINT64_CLASS);
}

dims line_along(std::size_t k, std::size_t rank, std::size_t count) {
    dims shape(rank, 1);
    shape[k - 1] = count;
    return stored_dims(shape);
}

// The shape of x(subscript) with count elements.
dims linear_shape(const value& a, const value& subscript, std::size_t count) {
    const std::size_t k = orientation(a.shape);
    if (subscript.is_colon()) return {count, 1};
    if (subscript.as_range) return k == 0 ? dims{1, count} : line_along(k, a.shape.size(), count);
    if (is_true_mask(subscript)) {
        const bool one = count_of(subscript.shape) == 1;
        const bool none = subscript.shape == dims{0, 0};
        if (count == 0 && (one || none)) return {0, 0};
        const std::size_t along = k != 0 ? k : orientation(subscript.shape);
        return along == 0 ? dims{count, 1} : line_along(along, std::max<std::size_t>(along, 2), count);
    }
    if (!can_select(subscript)) return {0, 0};
    if (k != 0 && orientation(subscript.shape) != 0) return line_along(k, a.shape.size(), count);
    return subscript.shape;
}

dims counts_of(const std::vector<selection>& chosen) {
    dims counts;
    for (const selection& one : chosen) counts.push_back(one.count());
    return counts;
}

// The selected elements in the order of the result.
std::vector<element> gather(const value& a, const dims& seen, const std::vector<selection>& chosen) {
    std::vector<element> elements;
    const std::size_t count = count_of(counts_of(chosen));
    for (std::size_t i = 0; i < count; ++i) {
        std::size_t rest = i;
        std::size_t offset = 0;
        std::size_t stride = 1;
        for (std::size_t slot = 0; slot < chosen.size(); ++slot) {
            offset += chosen[slot].positions[rest % chosen[slot].count()] * stride;
            rest /= chosen[slot].count();
            stride *= seen[slot];
        }
        elements.push_back(a.elements.at(offset));
    }
    return elements;
}

std::vector<selection> select_within(const value& a, subscripts subs) {
    const dims seen = folded(a.shape, subs.size());
    std::vector<selection> chosen;
    for (std::size_t i = 0; i < subs.size(); ++i) {
        chosen.push_back(select(subs[i], seen[i], i + 1, true));
        if (chosen.back().max > seen[i] && chosen.back().count() != 0)
            throw refusal{"indexExceedsDims(" + std::to_string(i + 1) + ")"};
    }
    return chosen;
}

// What is left of a when nothing along one dimension is.
void empty_along(value& a, subscripts subs, std::size_t along) {
    a.elements.clear();
    a.complex = false;
    dims seen = folded(a.shape, subs.size());
    if (subs.size() > 1) {
        seen[along] = 0;
        a.shape = stored_dims(seen);
        return;
    }
    const std::size_t k = orientation(a.shape);
    if (subs[0].is_colon()) {
        a.shape = {0, 0};
    } else {
        a.shape = k == 0 ? dims{1, 0} : line_along(k, a.shape.size(), 0);
    }
}

// The positions that stay; nothing when the subscript deletes none.
std::optional<selection> kept_positions(const value& subscript, std::size_t dim, std::size_t position) {
    const selection gone = select(subscript, dim, position, false);
    if (gone.max > dim) throw refusal{"subsdeldimmismatch"};
    if (gone.count() == 0) return std::nullopt;
    std::vector<bool> stays(dim, true);
    for (const std::size_t at : gone.positions) stays[at] = false;
    selection kept;
    for (std::size_t at = 0; at < dim; ++at) {
        if (stays[at]) kept.positions.push_back(at);
    }
    return kept;
}

void erase_along(value& a, subscripts subs, std::size_t q) {
    const dims seen = folded(a.shape, subs.size());
    const std::optional<selection> kept = kept_positions(subs[q], seen[q], q + 1);
    if (!kept) return;
    if (kept->count() == 0) return empty_along(a, subs, q);
    std::vector<selection> chosen(subs.size());
    for (std::size_t i = 0; i < subs.size(); ++i) chosen[i].take_first(seen[i]);
    chosen[q] = *kept;
    a.elements = gather(a, seen, chosen);
    const std::size_t k = orientation(a.shape);
    if (subs.size() > 1) {
        a.shape = stored_dims(counts_of(chosen));
    } else {
        a.shape = k == 0 ? dims{1, kept->count()} : line_along(k, a.shape.size(), kept->count());
    }
    free_zero_imaginary(a);
}

} // namespace

bool value::is_colon() const {
    return class_id == ndCHAR_CLASS && !as_range && elements.size() == 1 && elements[0].re == u':';
}

bool value::is_empty() const { return as_range ? is_range_empty(*as_range) : elements.empty(); }

std::size_t value::element_bytes() const {
    if (is_struct()) return 8 * fields.size();
    return class_id == ndCELL_CLASS || class_id == ndUNKNOWN_CLASS ? 8 : element_size(class_id, complex);
}

bool value::operator==(const value& other) const {
    return class_id == other.class_id && complex == other.complex && sparse == other.sparse &&
           bracket == other.bracket && shape == other.shape && elements == other.elements &&
           fields == other.fields;
}

value blank_value(ndClassID class_id, bool complex, const dims& shape, std::vector<std::string> fields) {
    value made;
    made.class_id = class_id;
    made.complex = complex;
    made.shape = stored_dims(shape);
    made.fields = std::move(fields);
    made.elements.resize(count_of(made.shape));
    return made;
}

value colon() {
    value text = blank_value(ndCHAR_CLASS, false, {1, 1});
    text.elements[0].re = u':';
    return text;
}

dims folded(const dims& shape, std::size_t nsubs) {
    dims seen(nsubs, 1);
    for (std::size_t i = 0; i < shape.size(); ++i) {
        if (i < nsubs) {
            seen[i] = shape[i];
        } else {
            seen[nsubs - 1] *= shape[i];
        }
    }
    return seen;
}

std::size_t orientation(const dims& shape) {
    std::size_t found = 0;
    for (std::size_t i = 0; i < shape.size(); ++i) {
        if (shape[i] == 1) continue;
        if (found != 0) return 0;
        found = i + 1;
    }
    return found;
}

void check_size(const dims& shape, std::size_t element_bytes) {
    constexpr long double ceiling = 0xFFFFFFFFFFFFp0L;
    constexpr long double memory = 0x1p40L;
    long double count = 1;
    for (const std::size_t dim : shape) count *= static_cast<long double>(dim);
    const long double bytes = count * static_cast<long double>(element_bytes);
    if (count > ceiling || bytes > ceiling) throw refusal{"pmaxsize"};
    if (bytes > memory) throw refusal{"nomem"};
}

void free_zero_imaginary(value& a) {
    if (!a.complex) return;
    for (const element& one : a.elements) {
        if (number_of(a.class_id, one.im) != 0) return;
    }
    for (element& one : a.elements) one.im = 0;
    a.complex = false;
}

void store_sparsely(value& a) {
    if (!a.sparse) return;
    a.shape = folded(a.shape, 2);
    for (element& one : a.elements) {
        if (number_of(a.class_id, one.re) == 0 && number_of(a.class_id, one.im) == 0) one = {};
    }
}

value reference(const value& a, subscripts subs) {
    const std::vector<selection> chosen = select_within(a, subs);
    value result = blank_value(a.class_id, a.complex, {0, 0}, a.fields);
    result.sparse = a.sparse;
    check_size(counts_of(chosen), a.element_bytes());
    result.elements = gather(a, folded(a.shape, subs.size()), chosen);
    result.shape =
        subs.size() == 1 ? linear_shape(a, subs[0], chosen[0].count()) : stored_dims(counts_of(chosen));
    if (result.shape.size() > 2) result.sparse = false;
    free_zero_imaginary(result);
    return result;
}

value field_reference(const value& a, subscripts subs, std::size_t field) {
    const std::vector<selection> chosen = select_within(a, subs);
    value cell = blank_value(ndCELL_CLASS, false, counts_of(chosen));
    const std::vector<element> found = gather(a, folded(a.shape, subs.size()), chosen);
    for (std::size_t i = 0; i < found.size(); ++i) cell.elements[i].re = found[i].slots.at(field - 1);
    return cell;
}

void erase(value& a, subscripts subs) {
    if (a.class_id == ndUNKNOWN_CLASS && a.is_empty()) throw refusal{"badnullindex"};
    std::size_t others = 0; // subscripts that aren't the colon
    std::size_t q = 0;      // the last of them
    bool any_empty = false;
    for (std::size_t i = 0; i < subs.size(); ++i) {
        if (subs[i].is_colon()) continue;
        ++others;
        q = i;
        any_empty = any_empty || subs[i].is_empty();
    }
    if (any_empty && a.is_empty()) return free_zero_imaginary(a);
    if (others > 1) throw refusal{"badnullassign"};
    if (any_empty) {
        const auto above_one =
            std::count_if(a.shape.begin(), a.shape.end(), [](std::size_t d) { return d > 1; });
        if (subs.size() == 1 && above_one > 1) a.shape = {1, count_of(a.shape)};
        return free_zero_imaginary(a);
    }
    if (others == 0) {
        empty_along(a, subs, 0);
    } else {
        erase_along(a, subs, q);
    }
    store_sparsely(a);
}

double end_of(const value& a, std::size_t position, std::size_t nsubs) {
    if (position > a.shape.size()) return 1;
    if (position < nsubs) return static_cast<double>(a.shape[position - 1]);
    return static_cast<double>(folded(a.shape, position)[position - 1]);
}

} // namespace model
