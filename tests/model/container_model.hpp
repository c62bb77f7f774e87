// The reference model of cells and structs: values all the way down, copied whole. Who shares what with whom is the library's
// matter; the model only knows what every holder must see.
#pragma once

#include "model/array_model.hpp"

#include <memory>
#include <string>
#include <vector>

namespace model {

/// A number, a cell or a struct.
struct tree {
    ndClassID class_id = ndDOUBLE_CLASS;
    double number = 0;               ///< of a double, which is 1x1
    dims shape{1, 1};                ///< as given: see stored_dims()
    std::vector<std::string> fields; ///< of a struct
    std::vector<std::unique_ptr<tree>> slots;

    tree() = default;
    tree(const tree& other);
    tree& operator=(tree other) noexcept;
    tree(tree&&) noexcept = default;

    bool is_container() const { return class_id != ndDOUBLE_CLASS; }

    /// Index of the last field with the name, -1 without one.
    int field(const std::string& name) const;

    /// Numbers and containers in it, itself included.
    std::size_t size() const;

    /// Where the real array isn't this value; empty when it is.
    std::string difference_from(const ndArray_tag* real) const;
};

tree number_tree(double number);

/// All slots empty.
tree cell_tree(const dims& shape);
tree struct_tree(const dims& shape, std::vector<std::string> fields);

/// A struct whose fields are dimension dim of the cell, counted from 0; one beyond the last is 1.
tree struct_of_cell(const tree& cell, std::size_t dim, std::vector<std::string> fields);

/// A cell with the fields as its first dimension.
tree cell_of_struct(const tree& array);

} // namespace model
