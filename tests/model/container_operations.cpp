// The table of operations that random programs over cells and structs consist of.
#include "model/container_program.hpp"

#include <nd/access.hpp>
#include <nd/containers.hpp>
#include <nd/convert.hpp>
#include <nd/share.hpp>

#include <algorithm>
#include <array>

namespace model {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using matrix::array_ptr;

const std::vector<dims> shapes{{1, 1}, {1, 2}, {2, 1},    {2, 2},    {3, 1},
                               {0, 0}, {0, 2}, {2, 1, 2}, {1, 1, 2}, {1, 3}};

const dims& shape_at(unsigned pick) { return shapes[pick % shapes.size()]; }

// Few names, so that programs meet them again; now and then enough for a table.
std::vector<std::string> names_at(unsigned pick) {
    const unsigned count = pick % 16 == 15 ? 63 + pick / 16 % 3 : pick % 4;
    std::vector<std::string> names;
    for (unsigned i = 0; i < count; ++i) names.push_back("f" + std::to_string((i + pick / 64) % 80));
    return names;
}

std::vector<const char*> pointers_to(const std::vector<std::string>& names) {
    std::vector<const char*> pointers;
    for (const std::string& name : names) pointers.push_back(name.c_str());
    return pointers;
}

template <class Condition>
container_handle* pick_if(container_world& w, unsigned from, Condition condition) {
    auto& handles = w.handles();
    for (std::size_t i = 0; i < handles.size(); ++i) {
        container_handle& h = handles[(from + i) % handles.size()];
        if (condition(h.expected)) return &h;
    }
    return nullptr;
}

container_handle* pick(container_world& w, unsigned from) {
    return pick_if(w, from, [](const tree&) { return true; });
}

container_handle* pick_struct(container_world& w, unsigned from) {
    return pick_if(w, from, [](const tree& t) { return t.class_id == ndSTRUCT_CLASS; });
}

bool has_sharers(const ndArray_tag* array) {
    return (array->flags & matrix::flag_shared_data) != 0 && array->is_data_shared_impl();
}

enum class ways { deep_copy, unshare, unshare_shallow };

// Slots and header become the handle's own: whatever the way, its value stays.
void own_slots(container_world& w, container_handle& h, ways way) {
    if (!has_sharers(h.real.get()) && h.real->ref_count == 1) return;
    w.count_unsharing();
    if (way == ways::deep_copy) {
        h.real = matrix::detail::do_deep_copy(h.real.get());
        return;
    }
    ndArray_tag* const given = h.real.release();
    h.real.reset(way == ways::unshare ? api::ndUnshare(given) : api::ndUnshareShallow(given));
}

// What a caller does before it changes slots.
void own_slots(container_world& w, container_handle& h, const step& s) {
    own_slots(w, h, static_cast<ways>((s.a + s.b + s.c) % 3));
}

void create_number(container_world& w, const step& s) {
    if (w.has_room()) w.add(array_ptr(api::ndCreateDoubleScalar(s.a)), number_tree(s.a));
}

void create_cell(container_world& w, const step& s) {
    if (!w.has_room()) return;
    const dims& shape = shape_at(s.a);
    w.add(array_ptr(api::ndCreateCellArray(shape.size(), shape.data())), cell_tree(shape));
}

void create_struct(container_world& w, const step& s) {
    if (!w.has_room()) return;
    const dims& shape = shape_at(s.a);
    const std::vector<std::string> names = names_at(s.b);
    std::vector<const char*> pointers = pointers_to(names);
    w.add(array_ptr(api::ndCreateStructArray(shape.size(), shape.data(), static_cast<int>(pointers.size()),
                                             pointers.data())),
          struct_tree(shape, names));
}

// The four ways into a slot. What stood there is ended by the replacing two, and by the program itself otherwise.
void put(ndArray_tag* container, std::size_t slot, ndArray_tag* value, unsigned way) {
    const array_ptr old(way < 2 ? api::ndGetCell(container, slot) : nullptr);
    switch (way) {
    case 0:
        return api::ndSetCell(container, slot, api::ndCreateReference(value));
    case 1:
        return api::ndSetCopyInCell(container, slot, value);
    case 2:
        return api::ndReplaceCell(container, slot, api::ndCreateReference(value));
    default:
        return api::ndReplaceCopyInCell(container, slot, value);
    }
}

void set(container_world& w, const step& s) {
    container_handle* const target =
        pick_if(w, s.a, [](const tree& t) { return t.is_container() && !t.slots.empty(); });
    container_handle* const value = pick(w, s.b);
    if (target == nullptr || !w.has_room(value->expected.size())) return;
    const std::size_t slot = s.c / 5 % target->expected.slots.size();
    own_slots(w, *target, s);
    if (s.c % 5 == 4) { // null
        const array_ptr old(api::ndGetCell(target->real.get(), slot));
        api::ndSetCell(target->real.get(), slot, nullptr);
        target->expected.slots[slot].reset();
        return;
    }
    auto copy = std::make_unique<tree>(value->expected);
    put(target->real.get(), slot, value->real.get(), s.c % 5);
    target->expected.slots[slot] = std::move(copy);
}

// The caller's only reference goes into the slot.
void hand_over(container_world& w, const step& s) {
    container_handle* const target =
        pick_if(w, s.a, [](const tree& t) { return t.is_container() && !t.slots.empty(); });
    container_handle* const value = pick(w, s.b);
    if (target == nullptr || target == value || !w.has_room()) return;
    const std::size_t slot = s.c % target->expected.slots.size();
    own_slots(w, *target, s);
    own_slots(w, *value, s);
    api::ndReplaceCell(target->real.get(), slot, value->real.release());
    target->expected.slots[slot] = std::make_unique<tree>(std::move(value->expected));
    w.handles().erase(w.handles().begin() + (value - w.handles().data()));
}

// An element goes on under a handle of its own.
void refer_to_element(container_world& w, const step& s) {
    container_handle* const source = pick_if(w, s.a, [](const tree& t) {
        return std::any_of(t.slots.begin(), t.slots.end(), [](const auto& slot) { return slot != nullptr; });
    });
    if (source == nullptr) return;
    const auto& slots = source->expected.slots;
    std::size_t slot = s.b % slots.size();
    while (slots[slot] == nullptr) slot = (slot + 1) % slots.size();
    if (!w.has_room(slots[slot]->size())) return;
    array_ptr element(api::ndCreateReference(api::ndGetCell(source->real.get(), slot)));
    w.add(std::move(element), *slots[slot]);
}

void share(container_world& w, const step& s) {
    container_handle* const source = pick(w, s.a);
    if (source == nullptr || !w.has_room(source->expected.size())) return;
    w.add(matrix::detail::do_shared_copy(source->real.get()), source->expected);
}

void copy(container_world& w, const step& s) {
    container_handle* const source = pick(w, s.a);
    if (source == nullptr || !w.has_room(source->expected.size())) return;
    w.add(matrix::detail::do_deep_copy(source->real.get()), source->expected);
}

void destroy(container_world& w, const step& s) {
    if (w.handles().empty()) return;
    w.handles().erase(w.handles().begin() + static_cast<std::ptrdiff_t>(s.a % w.handles().size()));
}

void add_field(container_world& w, const step& s) {
    container_handle* const h = pick_struct(w, s.a);
    if (h == nullptr || !w.has_room()) return;
    tree& t = h->expected;
    const std::string name = "f" + std::to_string(s.b % 80);
    own_slots(w, *h, s);
    const int number = api::ndAddField(h->real.get(), name.c_str());
    if (number != static_cast<int>(t.fields.size())) { // it was there
        if (number != t.field(name)) t.fields.push_back("number of a field that is there");
        return;
    }
    const std::size_t elements = count_of(stored_dims(t.shape));
    for (std::size_t i = elements; i-- > 0;) {
        const auto place = static_cast<std::ptrdiff_t>((i + 1) * t.fields.size());
        t.slots.insert(t.slots.begin() + place, nullptr);
    }
    t.fields.push_back(name);
}

void remove_field(container_world& w, const step& s) {
    container_handle* const h =
        pick_if(w, s.a, [](const tree& t) { return t.class_id == ndSTRUCT_CLASS && !t.fields.empty(); });
    if (h == nullptr) return;
    tree& t = h->expected;
    const std::size_t fields = t.fields.size();
    const std::size_t field = s.b % fields;
    own_slots(w, *h, s);
    std::vector<array_ptr> removed; // the program's from now on
    for (std::size_t slot = field; slot < t.slots.size(); slot += fields)
        removed.emplace_back(api::ndGetCell(h->real.get(), slot));
    api::ndRemoveField(h->real.get(), static_cast<int>(field));
    for (std::size_t i = removed.size(); i-- > 0;)
        t.slots.erase(t.slots.begin() + static_cast<std::ptrdiff_t>(i * fields + field));
    t.fields.erase(t.fields.begin() + static_cast<std::ptrdiff_t>(field));
}

array_ptr names_cell(const std::vector<std::string>& names) {
    array_ptr cell = matrix::create_cell(dims{1, names.size()});
    for (std::size_t i = 0; i < names.size(); ++i) {
        array_ptr name = matrix::detail::do_create_char(dims{1, names[i].size()});
        std::copy(names[i].begin(), names[i].end(), static_cast<char16_t*>(name->pdata));
        api::ndSetCell(cell.get(), i, name.release());
    }
    return cell;
}

void to_struct(container_world& w, const step& s) {
    container_handle* const source =
        pick_if(w, s.a, [](const tree& t) { return t.class_id == ndCELL_CLASS; });
    if (source == nullptr || !w.has_room(source->expected.size())) return;
    const std::size_t dim = s.b % 4;
    const dims shape = stored_dims(source->expected.shape);
    std::vector<std::string> names;
    for (std::size_t i = 0; i < (dim < shape.size() ? shape[dim] : 1); ++i)
        names.push_back("n" + std::to_string(i));
    const array_ptr texts = names_cell(names);
    tree expected = struct_of_cell(source->expected, dim, names);
    w.add(matrix::cell_to_struct(source->real.get(), texts.get(), dim + 1), std::move(expected));
}

void to_cell(container_world& w, const step& s) {
    container_handle* const source = pick_struct(w, s.a);
    if (source == nullptr || !w.has_room(source->expected.size())) return;
    tree expected = cell_of_struct(source->expected);
    w.add(array_ptr(api::ndStruct2Cell(source->real.get())), std::move(expected));
}

// Any value in any of the classes that the model has: the same class is a copy, a struct can be a cell, that is all.
void convert(container_world& w, const step& s) {
    static constexpr ndClassID targets[] = {ndCELL_CLASS, ndSTRUCT_CLASS, ndDOUBLE_CLASS};
    container_handle* const source = pick(w, s.a);
    if (source == nullptr || !w.has_room(source->expected.size())) return;
    const tree& value = source->expected;
    const ndClassID target = targets[s.b % std::size(targets)];
    array_ptr made(api::ndCreateConvertedCopy(source->real.get(), target));
    const bool fields_to_slots = value.class_id == ndSTRUCT_CLASS && target == ndCELL_CLASS;
    const bool exists = target == value.class_id || fields_to_slots;
    if ((made != nullptr) != exists) {
        source->expected.fields.emplace_back("a conversion that there is and isn't");
        return;
    }
    if (exists) w.add(std::move(made), fields_to_slots ? cell_of_struct(value) : tree(value));
}

void unshare(container_world& w, const step& s) {
    if (container_handle* const h = pick(w, s.a); h != nullptr)
        own_slots(w, *h, s.b % 2 == 0 ? ways::unshare : ways::unshare_shallow);
}

// Sharers that are all on one thread can be sent away; of others nothing changes.
void single_threaded(container_world& w, const step& s) {
    container_handle* const h = pick(w, s.a);
    if (h != nullptr) h->real->set_data_sharing_single_threaded(s.b % 4 != 0);
}

void unshare_others(container_world& w, const step& s) {
    container_handle* const h = pick_if(w, s.a, [](const tree& t) { return t.is_container(); });
    if (h == nullptr || h->real->ref_count > 1) return;
    const bool had_sharers = has_sharers(h->real.get());
    if (api::ndUnshareOtherArrays(h->real.get()) == 0 && had_sharers) w.count_unsharing();
}

// One pair whose value is no cell: one element with one field.
void wrap(container_world& w, const step& s) {
    container_handle* const value = pick_if(w, s.a, [](const tree& t) { return t.class_id != ndCELL_CLASS; });
    if (value == nullptr || !w.has_room(value->expected.size())) return;
    const array_ptr names = names_cell({"wrapped"});
    const ndArray_tag* const arguments[] = {api::ndGetCell(names.get(), 0), value->real.get()};
    tree expected = struct_tree({1, 1}, {"wrapped"});
    expected.slots[0] = std::make_unique<tree>(value->expected);
    w.add(matrix::struct_conversion_fcn(2, arguments), std::move(expected));
}

constexpr container_operation table[] = {
    {"create_number", create_number},
    {"create_cell", create_cell},
    {"create_struct", create_struct},
    {"set", set},
    {"set", set},
    {"hand_over", hand_over},
    {"refer_to_element", refer_to_element},
    {"share", share},
    {"copy", copy},
    {"destroy", destroy},
    {"add_field", add_field},
    {"remove_field", remove_field},
    {"to_struct", to_struct},
    {"to_cell", to_cell},
    {"convert", convert},
    {"unshare", unshare},
    {"single_threaded", single_threaded},
    {"unshare_others", unshare_others},
    {"wrap", wrap},
};

} // namespace

std::span<const container_operation> all_container_operations() { return table; }

} // namespace model
