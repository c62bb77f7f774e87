// The table of operations that random programs consist of.
#include "matrix/creator_table.hpp"
#include "model/program.hpp"

#include <nd/access.hpp>
#include <nd/convert.hpp>
#include <nd/create.hpp>
#include <nd/share.hpp>

#include <algorithm>
#include <cstring>

namespace model {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;

constexpr std::size_t most_handles = 24;

// Shapes with all that dimensions can be: none, one, trailing ones, zeros, equal counts in other shapes.
const std::vector<dims> shapes{
    {1, 1}, {2, 3},       {0, 0},    {3, 2},    {1, 6},       {6, 1},       {},        {4},       {2, 3, 4},
    {24},   {1, 1, 1},    {2, 3, 1}, {2, 1, 3}, {0, 3},       {3, 0, 2},    {1, 1, 6}, {4, 3, 2}, {1, 24},
    {300},  {2, 2, 2, 3}, {5, 1, 1}, {1, 2},    {2, 3, 4, 1}, {1, 0, 1, 1}, {8, 3}};

ndClassID class_at(unsigned pick) {
    static constexpr ndClassID with_bytes[] = {
        ndDOUBLE_CLASS, ndSINGLE_CLASS, ndLOGICAL_CLASS, ndCHAR_CLASS,   ndINT8_CLASS,  ndUINT8_CLASS,
        ndINT16_CLASS,  ndUINT16_CLASS, ndINT32_CLASS,   ndUINT32_CLASS, ndINT64_CLASS, ndUINT64_CLASS};
    return with_bytes[pick % std::size(with_bytes)];
}

bool can_be_complex(ndClassID class_id) { return element_size(class_id, true) != 0; }

handle* pick(world& w, unsigned which) {
    return w.handles().empty() ? nullptr : &w.handles()[which % w.handles().size()];
}

// The first handle from the given place on, around the end, that satisfies the condition.
template <class Condition>
const handle* pick_if(world& w, unsigned from, Condition condition) {
    const auto& handles = w.handles();
    for (std::size_t i = 0; i < handles.size(); ++i) {
        const handle& h = handles[(from + i) % handles.size()];
        if (condition(*h.expected)) return &h;
    }
    return nullptr;
}

bool has_room(world& w) { return w.handles().size() < most_handles; }

// Undefined elements become known ones on both sides.
void define_elements(const ndArray_tag* real, array& expected, unsigned seed) {
    if (expected.data == nullptr) return;
    auto& bytes = expected.data->bytes;
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::byte>(seed + i * 7);
    std::memcpy(real->pdata, bytes.data(), bytes.size());
}

// c: class, complexity; b: shape; a: creator.
void create(world& w, const step& s) {
    if (!has_room(w)) return;
    const auto creators = test::all_creators();
    const test::creator_row& creator = creators[s.a % creators.size()];
    if (creator.class_id == ndCELL_CLASS) return; // cells have no bytes to compare
    const dims& given = shapes[s.b % shapes.size()];
    if (!creator.takes_any_rank && given.size() != 2) return;
    const ndClassID class_id = class_at(s.c / 2);
    const bool want_complex = s.c % 2 == 1 && can_be_complex(class_id);
    const test::creator_args args{given, class_id, want_complex ? 1 : 0};
    const auto made_class = static_cast<ndClassID>(
        creator.class_id == test::creator_row::given_class ? class_id : creator.class_id);
    const bool complex = want_complex && creator.complexity != test::creator_row::counts::never;
    ndArray_tag* const real = creator.make(args);
    array expected = zeros(made_class, complex, given);
    if (!creator.zeroed) define_elements(real, expected, s.a);
    w.add(real, std::move(expected));
}

void create_scalar(world& w, const step& s) {
    if (!has_room(w)) return;
    const double value = s.b;
    array expected = zeros(s.a % 3 == 0   ? ndDOUBLE_CLASS
                           : s.a % 3 == 1 ? ndSINGLE_CLASS
                                          : ndLOGICAL_CLASS,
                           false, {1, 1});
    const auto store = [&](auto element) {
        std::memcpy(expected.data->bytes.data(), &element, sizeof element);
    };
    switch (s.a % 3) {
    case 0:
        store(value);
        return w.add(api::ndCreateDoubleScalar(value), std::move(expected));
    case 1:
        store(static_cast<float>(value));
        return w.add(api::ndCreateSingleScalar(static_cast<float>(value)), std::move(expected));
    default:
        store(s.b % 2 == 1);
        return w.add(api::ndCreateLogicalScalar(s.b % 2 == 1), std::move(expected));
    }
}

void create_blank(world& w, const step&) {
    if (has_room(w)) w.add(api::ndCreateEmptyUnknownArrayNotOnArrayList(), array{});
}

// The candidate that the reuse creators must choose: the first that is free, of the same element size and the same length.
array* chosen_candidate(world& w, std::size_t element_bytes, std::size_t needed) {
    for (const handle& h : w.handles()) {
        array& candidate = *h.expected;
        if (candidate.reusable && candidate.element_bytes() == element_bytes &&
            candidate.byte_count() == needed) {
            return &candidate;
        }
    }
    return nullptr;
}

ndArray_tag* call_reuse_creator(const array& wanted, std::vector<ndArray_tag*>& candidates, bool as_matrix) {
    const ndComplexity complexity = wanted.complex ? ndCOMPLEX : ndREAL;
    const dims& shape = wanted.shape;
    if (as_matrix && shape.size() == 2) {
        return api::ndCreateNumericMatrixWithReuse(shape[0], shape[1], wanted.class_id, complexity,
                                                   candidates.size(), candidates.data());
    }
    return api::ndCreateUninitNumericArray(shape.size(), shape.data(), wanted.class_id, complexity,
                                           candidates.size(), candidates.data());
}

// Every handle is offered as a candidate. Two in three ask for what one of them has, so that reuse does happen.
void create_with_reuse(world& w, const step& s) {
    if (!has_room(w)) return;
    std::vector<ndArray_tag*> candidates;
    for (const handle& h : w.handles()) candidates.push_back(h.real);
    array wanted =
        zeros(class_at(s.c), s.b % 2 == 1 && can_be_complex(class_at(s.c)), shapes[s.b % shapes.size()]);
    const handle* like = pick_if(w, s.c, [](const array& a) { return a.reusable && a.element_bytes() != 0; });
    if (like != nullptr && s.a % 3 != 0) {
        wanted = zeros(like->expected->class_id, like->expected->complex, like->expected->shape);
    }
    ndArray_tag* const real = call_reuse_creator(wanted, candidates, s.a % 2 == 0);
    if (array* lender = chosen_candidate(w, wanted.element_bytes(), wanted.byte_count())) {
        lender->joined = true;
        lender->reusable = false;
        wanted.data = lender->data;
        wanted.joined = true;
        w.count_reuse();
    } else {
        define_elements(real, wanted, s.a);
    }
    w.add(real, std::move(wanted));
}

void share(world& w, const step& s) {
    const handle* h = pick(w, s.a);
    if (h == nullptr || !has_room(w)) return;
    const handle source = *h;
    ndArray_tag* const real = s.b % 2 == 0 ? matrix::detail::do_shared_copy(source.real).release()
                                           : api::ndCreateSharedCopyNotOnArrayList(source.real);
    w.add(real, shared_copy(*source.expected));
}

void copy(world& w, const step& s) {
    const handle* h = pick(w, s.a);
    if (h == nullptr || !has_room(w)) return;
    const handle source = *h;
    w.add(matrix::detail::do_deep_copy(source.real).release(), deep_copy(*source.expected));
}

// In place for the only owner; otherwise the picked reference becomes a copy.
void unshare(world& w, const step& s) {
    if (w.handles().empty()) return;
    handle& h = w.handles()[s.a % w.handles().size()];
    ndArray_tag* const real = api::ndUnshare(h.real);
    if (h.expected->owners == 1) {
        unshare(*h.expected);
        return;
    }
    auto copied = std::make_shared<array>(deep_copy(*h.expected));
    --h.expected->owners;
    h = {real, std::move(copied)};
}

// The value of one array onto the header of another, as a shared copy where others hold it.
void move_onto_header(world& w, const step& s) {
    if (w.handles().size() < 2) return;
    const std::size_t from = s.a % w.handles().size();
    const handle src = w.handles()[from];
    const handle dest = w.handles()[s.b % w.handles().size()];
    if (dest.real == src.real) return;
    api::ndMoveArrayOntoHeader(dest.real, src.real);
    w.handles().erase(w.handles().begin() + static_cast<std::ptrdiff_t>(from));
    if (src.expected->owners == 1) {
        move_onto(*dest.expected, *src.expected);
    } else {
        array copy = shared_copy(*src.expected);
        --src.expected->owners;
        move_onto(*dest.expected, copy);
    }
}

// A copy that takes the data of a reusable array.
void claim(world& w, const step& s) {
    if (w.handles().empty() || !has_room(w)) return;
    const handle h = w.handles()[s.a % w.handles().size()];
    const bool reusable = h.expected->reusable;
    array copy = shared_copy(*h.expected);
    ndArray_tag* const real = api::ndCreateClaimedDataCopy(h.real);
    if (reusable) {
        array emptied;
        emptied.owners = h.expected->owners;
        emptied.user_bits = h.expected->user_bits;
        emptied.reusable = true;
        *h.expected = std::move(emptied);
    }
    w.add(real, std::move(copy));
}

// Null where there is no conversion and where it raises: both leave everything as it is.
void convert(world& w, const step& s) {
    if (w.handles().empty() || !has_room(w)) return;
    const handle h = w.handles()[s.a % w.handles().size()];
    const ndClassID target = class_at(s.b);
    conversion expected = converted_copy(*h.expected, target);
    ndArray_tag* const real = api::ndCreateConvertedCopy(h.real, target);
    if ((real != nullptr) != (expected.how == conversion::outcome::made)) {
        ++h.expected->owners; // the next comparison tells
        matrix::destroyArray(real);
        return;
    }
    if (real == nullptr) return;
    if (expected.made.class_id != h.expected->class_id) w.count_conversion();
    w.add(real, std::move(expected.made));
}

// The same array with one owner more, or a converted copy.
void convert_if_needed(world& w, const step& s) {
    if (w.handles().empty() || !has_room(w)) return;
    const handle h = w.handles()[s.a % w.handles().size()];
    const ndClassID target = s.b % 2 == 0 ? h.expected->class_id : class_at(s.b);
    if (target != h.expected->class_id) return convert(w, s);
    ndArray_tag* const real = matrix::convert_if_needed(h.real, target).detach();
    if (real != h.real) return matrix::destroyArray(real);
    ++h.expected->owners;
    h.expected->reusable = false;
    w.handles().push_back(h);
}

void reference(world& w, const step& s) {
    const handle* h = pick(w, s.a);
    if (h == nullptr || !has_room(w)) return;
    const handle source = *h;
    api::ndCreateReference(source.real);
    ++source.expected->owners;
    source.expected->reusable = false;
    w.handles().push_back(source);
}

void destroy(world& w, const step& s) {
    if (!w.handles().empty()) w.release(s.a % w.handles().size());
}

// The first shape from the picked one on that the block has bytes for; there is always one without elements.
const dims& shape_that_fits(const array& expected, unsigned from) {
    const std::size_t room = expected.data == nullptr ? 0 : expected.data->bytes.size();
    for (std::size_t i = 0;; ++i) {
        const dims& shape = shapes[(from + i) % shapes.size()];
        if (count_of(stored_dims(shape)) * expected.element_bytes() <= room) return shape;
    }
}

void set_dimensions(world& w, const step& s) {
    const handle* h = pick(w, s.a);
    if (h == nullptr) return;
    const dims& shape = shape_that_fits(*h->expected, s.b);
    if (s.c % 2 == 0) {
        h->real->set_dimensions(shape);
    } else {
        api::ndSetDimensions(h->real, shape.data(), shape.size());
    }
    h->expected->set_dimensions(shape);
}

// Fewer rows, by the setter that leaves everything else alone.
void set_rows(world& w, const step& s) {
    const handle* h = pick(w, s.a);
    if (h == nullptr) return;
    const std::size_t rows = s.b % (h->expected->shape[0] + 1);
    api::ndSetM(h->real, rows);
    h->expected->shape[0] = rows;
    h->expected->scalar_double = false;
}

#ifdef ND_TORTURE
constexpr bool may_write_to_sharers = false; // the library ends a process that does
#else
constexpr bool may_write_to_sharers = true;
#endif

// Writes through the data pointer, which doesn't unshare: all sharers see it.
void write(world& w, const step& s) {
    const handle* h = pick(w, s.a);
    if (h == nullptr || h->expected->byte_count() == 0) return;
    if (!may_write_to_sharers && h->expected->data.use_count() > 1) return;
    const std::size_t at = s.b % h->expected->byte_count();
    const auto value = static_cast<std::byte>(s.c);
    static_cast<std::byte*>(api::ndGetData(h->real))[at] = value;
    h->expected->data->bytes[at] = value;
}

bool may_become_reusable(const array& a) {
    return a.data != nullptr && a.owners == 1 && !(a.joined && a.data.use_count() > 1);
}

// Any handle, or one where it has an effect.
void mark_reusable(world& w, const step& s) {
    const handle* h = s.b % 2 == 0 ? pick(w, s.a) : pick_if(w, s.a, may_become_reusable);
    if (h == nullptr) return;
    const bool wanted = s.b % 4 != 0;
    api::ndSetReusable(h->real, wanted);
    if (!wanted || may_become_reusable(*h->expected)) h->expected->reusable = wanted;
}

void set_user_bits(world& w, const step& s) {
    const handle* h = pick(w, s.a);
    if (h == nullptr) return;
    api::ndSetUserBits(h->real, static_cast<int>(s.b % 256));
    h->expected->user_bits = s.b % 256;
}

// Creation stands here twice, so that programs have something to work on.
constexpr operation table[] = {
    {"create", create},
    {"create", create},
    {"create_scalar", create_scalar},
    {"create_blank", create_blank},
    {"create_with_reuse", create_with_reuse},
    {"share", share},
    {"copy", copy},
    {"unshare", unshare},
    {"move_onto_header", move_onto_header},
    {"claim", claim},
    {"convert", convert},
    {"convert_if_needed", convert_if_needed},
    {"reference", reference},
    {"destroy", destroy},
    {"set_dimensions", set_dimensions},
    {"set_rows", set_rows},
    {"write", write},
    {"mark_reusable", mark_reusable},
    {"set_user_bits", set_user_bits},
};

} // namespace

std::span<const operation> all_operations() { return table; }

} // namespace model
