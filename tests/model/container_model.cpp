// Values of cells and structs, as slowly as they can be written.
#include "model/container_model.hpp"

#include <cstring>
#include <utility>

namespace model {
namespace {

std::unique_ptr<tree> copy_of(const std::unique_ptr<tree>& slot) {
    return slot == nullptr ? nullptr : std::make_unique<tree>(*slot);
}

std::string at(std::size_t slot, const std::string& what) {
    return "slot " + std::to_string(slot) + ": " + what;
}

// The dimensions as numbers with dimension dim there, which may lie beyond the last.
dims with_dim(dims shape, std::size_t dim) {
    shape = stored_dims(shape);
    while (shape.size() <= dim) shape.push_back(1);
    return shape;
}

std::string leaf_difference(double expected, const ndArray_tag* real) {
    double found = 0;
    if (real->class_id != ndDOUBLE_CLASS || real->pdata == nullptr) return "a number was expected";
    std::memcpy(&found, real->pdata, sizeof found);
    return found == expected ? ""
                             : "expected " + std::to_string(expected) + ", found " + std::to_string(found);
}

dims dims_of_real(const ndArray_tag* real) {
    if ((real->flags & matrix::flag_inline_dims) != 0) return {real->m_or_dims, real->n_or_ndims};
    const auto* const words = reinterpret_cast<const std::size_t*>(real->m_or_dims);
    return {words, words + real->n_or_ndims};
}

std::vector<std::string> fields_of_real(const ndArray_tag* real) {
    if (real->class_id != ndSTRUCT_CLASS) return {};
    const char* const* const names = real->get_struct_field_names();
    return {names, names + real->get_number_of_struct_fields()};
}

} // namespace

tree::tree(const tree& other)
    : class_id(other.class_id), number(other.number), shape(other.shape), fields(other.fields) {
    for (const auto& slot : other.slots) slots.push_back(copy_of(slot));
}

tree& tree::operator=(tree other) noexcept {
    class_id = other.class_id;
    number = other.number;
    shape = std::move(other.shape);
    fields = std::move(other.fields);
    slots = std::move(other.slots);
    return *this;
}

int tree::field(const std::string& name) const {
    for (std::size_t i = fields.size(); i-- > 0;) {
        if (fields[i] == name) return static_cast<int>(i);
    }
    return -1;
}

std::size_t tree::size() const {
    std::size_t size = 1;
    for (const auto& slot : slots) size += slot == nullptr ? 0 : slot->size();
    return size;
}

std::string tree::difference_from(const ndArray_tag* real) const {
    if (!is_container()) return leaf_difference(number, real);
    if (real->class_id != class_id) return "class " + std::to_string(real->class_id);
    if (dims_of_real(real) != stored_dims(shape)) return "other dimensions";
    if (fields_of_real(real) != fields) return "other fields";
    if (slots.empty()) return {};
    const auto* const held = static_cast<ndArray_tag* const*>(real->pdata);
    if (held == nullptr) return "no slots";
    for (std::size_t i = 0; i < slots.size(); ++i) {
        if ((held[i] == nullptr) != (slots[i] == nullptr)) return at(i, slots[i] ? "empty" : "not empty");
        if (held[i] == nullptr) continue;
        if (held[i]->scope != ndMEMBER_SCOPE) return at(i, "no member");
        if (const std::string inner = slots[i]->difference_from(held[i]); !inner.empty()) return at(i, inner);
    }
    return {};
}

tree number_tree(double number) {
    tree made;
    made.number = number;
    return made;
}

tree cell_tree(const dims& shape) {
    tree made;
    made.class_id = ndCELL_CLASS;
    made.shape = shape;
    made.slots.resize(count_of(stored_dims(shape)));
    return made;
}

tree struct_tree(const dims& shape, std::vector<std::string> fields) {
    tree made;
    made.class_id = ndSTRUCT_CLASS;
    made.shape = shape;
    made.slots.resize(count_of(stored_dims(shape)) * fields.size());
    made.fields = std::move(fields);
    return made;
}

// Each slot of the cell by its subscripts: that of dim is the field, the others are the element.
tree struct_of_cell(const tree& cell, std::size_t dim, std::vector<std::string> fields) {
    const dims shape = with_dim(cell.shape, dim);
    dims rest = shape;
    rest.erase(rest.begin() + static_cast<std::ptrdiff_t>(dim));
    while (rest.size() < 2) rest.push_back(1);
    const std::size_t field_count = fields.size();
    tree made = struct_tree(rest, std::move(fields));
    for (std::size_t position = 0; position < cell.slots.size(); ++position) {
        std::size_t field = 0;
        std::size_t element = 0;
        std::size_t stride = 1;
        std::size_t left = position;
        for (std::size_t i = 0; i < shape.size(); ++i) {
            if (i == dim) {
                field = left % shape[i];
            } else {
                element += left % shape[i] * stride;
                stride *= shape[i];
            }
            left /= shape[i];
        }
        made.slots[element * field_count + field] = copy_of(cell.slots[position]);
    }
    return made;
}

tree cell_of_struct(const tree& array) {
    dims shape = stored_dims(array.shape);
    shape.insert(shape.begin(), array.fields.size());
    tree made = cell_tree(shape);
    for (std::size_t i = 0; i < array.slots.size(); ++i) made.slots[i] = copy_of(array.slots[i]);
    return made;
}

} // namespace model
