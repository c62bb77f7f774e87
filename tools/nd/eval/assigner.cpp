#include "eval/assigner.hpp"

#include "eval/brackets.hpp"
#include "eval/notation_error.hpp"
#include "eval/result_class.hpp"

#include <nd/assignment.hpp>
#include <nd/deletion.hpp>
#include <nd/structures.hpp>

#include <new>
#include <utility>

namespace nd_host::eval {

namespace {

void unshare(ndArray_tag& array) {
    if (nd_array_api::ndUnshareArray(&array, 1) != 0) {
        throw std::bad_alloc();
    }
}

void assign(ndArray_tag& target, const subscript_list& subscripts, array_ptr value) {
    value = fitted_to(target, std::move(value));
    unshare(target);
    nd_array_api::ndSubscriptedAssignment(&target, subscripts.size(), subscripts.data(), value.get());
}

void remove(ndArray_tag& target, const subscript_list& subscripts) {
    unshare(target);
    nd_array_api::ndSubscriptedDelete(&target, subscripts.size(), subscripts.data());
}

// Field number field of the elements gets the one value.
void assign_field(ndArray_tag& target, const subscript_list& subscripts, array_ptr value, std::size_t field) {
    const array_ptr values = cell_around(std::move(value));
    unshare(target);
    bool grew = false;
    nd_array_api::ndStructureAssignment(grew, &target, subscripts.size(), subscripts.data(), values.get(),
                                        field);
}

array_ptr struct_with(const std::string& field, array_ptr value) {
    array_ptr one = matrix::detail::do_create_struct(std::array<std::size_t, 2>{1, 1}, {});
    nd_array_api::ndAddFieldToStruct(one.get(), field.c_str()); // which tests the name
    nd_array_api::ndSetFieldByNumber(one.get(), 0, 0, value.get());
    static_cast<void>(value.release()); // the struct's from here on
    return one;
}

// A copy that has the field, too.
array_ptr with_field(const ndArray_tag& target, const std::string& field) {
    array_ptr wider = copy_of(target);
    unshare(*wider);
    nd_array_api::ndAddFieldToStruct(wider.get(), field.c_str());
    return wider;
}

// The one element that x.f means when x has no more.
subscript_list first_element(const ndArray_tag& target, std::size_t place) {
    if (nd_array_api::ndGetNumberOfElements(&target) > 1) {
        throw notation_error("valueCount", "the struct has more than one element; say which");
    }
    subscript_list list(place);
    list.add(scalar(1.0));
    return list;
}

} // namespace

void assigner::store(array_ptr& target, std::span<const path_step> path, array_ptr value) {
    if (path.empty()) {
        target = std::move(value);
        return;
    }
    array_ptr changed; // a variable that isn't there comes to be when all has gone well
    array_ptr& place = target ? target : changed;
    if (!target) {
        changed.reset(nd_array_api::ndCreateEmptyUnknownArrayNotOnArrayList());
    }
    const bool with_subscripts = path.front().kind == step_kind::parentheses;
    if (path.front().kind == step_kind::braces) {
        store_content(place, path, std::move(value));
    } else if (!with_subscripts || (path.size() > 1 && path[1].kind == step_kind::field)) {
        store_field(place, path, std::move(value));
    } else {
        store_elements(place, path, std::move(value));
    }
    if (!target) {
        target = std::move(changed);
    }
}

subscript_list assigner::some_subscripts(const path_step& step, const ndArray_tag& target) {
    subscript_list subscripts = evaluator_.subscripts(step, target);
    if (subscripts.size() == 0) {
        throw placed_failure(notation_error("syntax", "subscripts are missing"), step.place);
    }
    return subscripts;
}

// x(i)... = value
void assigner::store_elements(array_ptr& target, std::span<const path_step> path, array_ptr value) {
    const path_step& step = path.front();
    const subscript_list subscripts = some_subscripts(step, *target);
    if (path.size() > 1) {
        array_ptr part = at_step(subscripts, [&] { return elements(*target, subscripts); });
        store(part, path.subspan(1), std::move(value));
        value = std::move(part);
    }
    at_step(subscripts,
            [&] { value ? assign(*target, subscripts, std::move(value)) : remove(*target, subscripts); });
}

// x{i}... = value
void assigner::store_content(array_ptr& target, std::span<const path_step> path, array_ptr value) {
    const path_step& step = path.front();
    const subscript_list subscripts = some_subscripts(step, *target);
    const bool new_cell = gives_way(*target);
    if (!new_cell && !nd_array_api::ndIsCell(target.get())) {
        throw placed_failure(notation_error("notACell", "the variable is a " + class_name(*target)),
                             step.place);
    }
    array_ptr content;
    if (path.size() > 1 && !new_cell) {
        content = at_step(subscripts, [&] { return slot_to_write(*target, subscripts, 0); });
    }
    store(content, path.subspan(1), std::move(value));
    at_step(subscripts, [&] { assign(*target, subscripts, cell_around(std::move(content))); });
}

// x(i).f... = value, x.f... = value
void assigner::store_field(array_ptr& target, std::span<const path_step> path, array_ptr value) {
    const bool with_subscripts = path.front().kind == step_kind::parentheses;
    const path_step& step = path.front();
    const path_step& field = path[with_subscripts ? 1 : 0];
    const auto rest = path.subspan(with_subscripts ? 2 : 1);
    const bool new_struct = gives_way(*target);
    if (!new_struct && !nd_array_api::ndIsStruct(target.get())) {
        at(field.place, [&] { field_number(*target, field.field); }); // which says that it is none
    }
    const subscript_list subscripts =
        with_subscripts ? some_subscripts(step, *target)
                        : at(step.place, [&] { return first_element(*target, step.place); });
    const int known = new_struct ? -1 : nd_array_api::ndGetFieldNumber(target.get(), field.field.c_str());
    array_ptr content;
    if (!rest.empty() && known >= 0) {
        content = at_step(subscripts, [&] {
            return slot_to_write(*target, subscripts, static_cast<std::size_t>(known) + 1);
        });
    }
    store(content, rest, std::move(value));
    at_step(subscripts, [&] {
        if (new_struct) {
            assign(*target, subscripts, struct_with(field.field, std::move(content)));
        } else if (known >= 0) {
            assign_field(*target, subscripts, std::move(content), static_cast<std::size_t>(known) + 1);
        } else {
            array_ptr wider = with_field(*target, field.field);
            assign_field(*wider, subscripts, std::move(content), field_number(*wider, field.field));
            target = std::move(wider);
        }
    });
}

} // namespace nd_host::eval
