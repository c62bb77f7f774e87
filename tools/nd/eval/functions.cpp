#include "eval/functions.hpp"

#include "eval/brackets.hpp"
#include "eval/notation_error.hpp"
#include "inputs.hpp"

#include <algorithm>
#include <limits>
#include <string>

namespace nd_host::eval {

namespace {

using arguments = std::vector<array_ptr>;
using sizes = std::vector<std::size_t>;
constexpr std::size_t any_number = std::numeric_limits<std::size_t>::max();

[[noreturn]] void refuse(const std::string& text) { throw notation_error("arguments", text); }

std::string text_of(const ndArray_tag& array, const char* what) {
    if (!nd_array_api::ndIsChar(&array)) {
        refuse(std::string(what) + " has to be a text");
    }
    return matrix::get_string(&array);
}

array_ptr logical_scalar(bool value) {
    array_ptr array = matrix::create(std::array<std::size_t, 2>{1, 1}, ndLOGICAL_CLASS, ndREAL);
    *static_cast<unsigned char*>(array->pdata) = value ? 1 : 0;
    return array;
}

array_ptr count(std::size_t value) { return scalar(static_cast<double>(value)); }

/* Sizes of new arrays: (), (n) for n by n, (m, n, ...) or one vector of them. */

sizes sizes_in(const ndArray_tag& array) {
    const array_ptr full = matrix::convert_to_full_if_needed(copy_of(array));
    sizes result(nd_array_api::ndGetNumberOfElements(full.get()));
    nd_array_api::ndArgMustBeIndices(full.get(), result.size(), result.data());
    return result;
}

sizes sizes_of(const arguments& args, std::size_t from = 0) {
    if (args.size() == from) {
        return {1, 1};
    }
    if (args.size() == from + 1) {
        sizes all = sizes_in(*args[from]);
        if (all.empty()) {
            refuse("sizes are missing");
        }
        return all.size() == 1 ? sizes{all[0], all[0]} : all;
    }
    sizes all;
    for (std::size_t i = from; i < args.size(); ++i) {
        const sizes one = sizes_in(*args[i]);
        if (one.size() != 1) {
            refuse("a size has to be a single number");
        }
        all.push_back(one.front());
    }
    return all;
}

// Takes the name of a class from the end of the arguments, when one stands there.
ndClassID take_class(arguments& args) {
    if (args.empty() || !nd_array_api::ndIsChar(args.back().get())) {
        return ndDOUBLE_CLASS;
    }
    const std::string name = text_of(*args.back(), "the class");
    const ndClassID cls = nd_array_api::ndClassIDFromClassName(name.c_str());
    if (cls != ndLOGICAL_CLASS && !nd_array_api::ndIsNumericArrayType(cls)) {
        refuse("there are no numbers of class '" + name + "'");
    }
    args.pop_back();
    return cls;
}

array_ptr filled(const sizes& dims, double value, ndClassID cls) {
    array_ptr array = matrix::create(dims, ndDOUBLE_CLASS, ndREAL);
    auto* elements = static_cast<double*>(array->pdata);
    std::fill_n(elements, nd_array_api::ndGetNumberOfElements(array.get()), value);
    return matrix::convert_if_needed(std::move(array), cls);
}

array_ptr zeros(arguments& args) {
    const ndClassID cls = take_class(args);
    return matrix::create(sizes_of(args), cls, ndREAL);
}
array_ptr ones(arguments& args) {
    const ndClassID cls = take_class(args);
    return filled(sizes_of(args), 1, cls);
}
array_ptr constant_false(arguments& args) { return matrix::create(sizes_of(args), ndLOGICAL_CLASS, ndREAL); }
array_ptr constant_true(arguments& args) { return filled(sizes_of(args), 1, ndLOGICAL_CLASS); }
array_ptr not_a_number(arguments& args) {
    return filled(sizes_of(args), std::numeric_limits<double>::quiet_NaN(), ndDOUBLE_CLASS);
}
array_ptr infinity(arguments& args) {
    return filled(sizes_of(args), std::numeric_limits<double>::infinity(), ndDOUBLE_CLASS);
}
array_ptr cell(arguments& args) { return matrix::create_cell(args.empty() ? sizes{0, 0} : sizes_of(args)); }

/* Questions. */

// Of a colon object those of the row that it stands for.
sizes dims_of(const ndArray_tag& array) {
    if (nd_array_api::ndIsColonObj(&array)) {
        return {1, nd_array_api::ndCountColonObj(&array)};
    }
    const kvSize* const dims = nd_array_api::ndGetDimensions(&array);
    return {dims, dims + nd_array_api::ndGetNumberOfDimensions(&array)};
}

std::size_t elements_of(const ndArray_tag& array) {
    return nd_array_api::ndIsColonObj(&array) ? nd_array_api::ndCountColonObj(&array)
                                              : nd_array_api::ndGetNumberOfElements(&array);
}

array_ptr size(arguments& args) {
    const sizes dims = dims_of(*args[0]);
    if (args.size() == 2) {
        const sizes which = sizes_in(*args[1]);
        if (which.size() != 1 || which[0] == 0) {
            refuse("the dimension has to be a number from 1");
        }
        return count(which[0] <= dims.size() ? dims[which[0] - 1] : 1);
    }
    array_ptr result = matrix::create(std::array<std::size_t, 2>{1, dims.size()}, ndDOUBLE_CLASS, ndREAL);
    std::copy(dims.begin(), dims.end(), static_cast<double*>(result->pdata));
    return result;
}
array_ptr numel(arguments& args) { return count(elements_of(*args[0])); }
array_ptr ndims(arguments& args) { return count(dims_of(*args[0]).size()); }
array_ptr nnz(arguments& args) {
    const array_ptr stored = matrix::convert_to_sparse_if_needed(std::move(args[0]));
    return count(nd_array_api::ndGetNumNonZeroEl(stored.get()));
}
array_ptr class_of(arguments& args) {
    return text_row(nd_array_api::ndArrayClassIDName(nd_array_api::ndGetArrayType(args[0].get())));
}
array_ptr isempty(arguments& args) { return logical_scalar(elements_of(*args[0]) == 0); }
array_ptr isreal(arguments& args) { return logical_scalar(!nd_array_api::ndIsComplex(args[0].get())); }
array_ptr issparse(arguments& args) { return logical_scalar(nd_array_api::ndIsSparse(args[0].get())); }
array_ptr fieldnames(arguments& args) {
    part_rows rows;
    for (int field = 0; field < nd_array_api::ndGetNumberOfFields(args[0].get()); ++field) {
        rows.emplace_back();
        rows.back().push_back(text_row(nd_array_api::ndGetFieldNameByNumber(args[0].get(), field)));
    }
    return cell_of(std::move(rows));
}

/* Conversions. */

template <ndClassID Class>
array_ptr converted(arguments& args) {
    return matrix::convert_if_needed(std::move(args[0]), Class);
}
array_ptr full(arguments& args) { return matrix::convert_to_full_if_needed(std::move(args[0])); }
array_ptr sparse(arguments& args) {
    if (args.size() == 1) {
        return matrix::convert_to_sparse_if_needed(std::move(args[0]));
    }
    const sizes dims = sizes_of(args);
    return matrix::detail::do_create_sparse(dims[0], dims[1], 0, ndDOUBLE_CLASS, ndREAL, true);
}

// A field's value for each element. The library would read a cell of another size as far as it goes.
void refuse_other_sizes(const arguments& args) {
    const ndArray_tag* first = nullptr;
    for (std::size_t i = 1; i < args.size(); i += 2) {
        const ndArray_tag* const value = args[i].get();
        if (!nd_array_api::ndIsCell(value) || elements_of(*value) == 1) {
            continue;
        }
        if (first != nullptr && dims_of(*first) != dims_of(*value)) {
            refuse("the cells have different sizes");
        }
        first = value;
    }
}

array_ptr structure(arguments& args) {
    if (args.size() % 2 != 0) {
        refuse("struct takes pairs of name and value");
    }
    refuse_other_sizes(args);
    return matrix::struct_conversion_fcn(static_cast<int>(args.size()), args.data());
}

array_ptr reshape(arguments& args) {
    const sizes dims = sizes_of(args, 1);
    std::size_t product = 1;
    for (const std::size_t dim : dims) {
        if (__builtin_mul_overflow(product, dim, &product)) refuse("the sizes are too large");
    }
    if (nd_array_api::ndIsSparse(args[0].get())) {
        refuse("sparse arrays can't be reshaped");
    }
    args[0] = matrix::convert_to_full_if_needed(std::move(args[0])); // a colon object becomes a row
    if (product != elements_of(*args[0])) {
        refuse("the number of elements has to stay");
    }
    args[0]->set_dimensions(dims);
    return std::move(args[0]);
}

array_ptr read(arguments& args) {
    const std::string form = args.size() == 2 ? text_of(*args[1], "the form") : "matrix";
    if (form != "matrix" && form != "struct") {
        refuse("a file is read as 'matrix' or as 'struct'");
    }
    auto arrays = read_inputs({text_of(*args[0], "the file's name")},
                              form == "struct" ? csv_form::struct_of_columns : csv_form::matrix);
    return std::move(arrays.front());
}

constexpr builtin builtins[] = {
    {"Inf", 0, any_number, infinity},
    {"NaN", 0, any_number, not_a_number},
    {"cell", 0, any_number, cell},
    {"char", 1, 1, converted<ndCHAR_CLASS>},
    {"class", 1, 1, class_of},
    {"double", 1, 1, converted<ndDOUBLE_CLASS>},
    {"false", 0, any_number, constant_false},
    {"fieldnames", 1, 1, fieldnames},
    {"full", 1, 1, full},
    {"int16", 1, 1, converted<ndINT16_CLASS>},
    {"int32", 1, 1, converted<ndINT32_CLASS>},
    {"int64", 1, 1, converted<ndINT64_CLASS>},
    {"int8", 1, 1, converted<ndINT8_CLASS>},
    {"isempty", 1, 1, isempty},
    {"isreal", 1, 1, isreal},
    {"issparse", 1, 1, issparse},
    {"logical", 1, 1, converted<ndLOGICAL_CLASS>},
    {"ndims", 1, 1, ndims},
    {"nnz", 1, 1, nnz},
    {"numel", 1, 1, numel},
    {"ones", 0, any_number, ones},
    {"read", 1, 2, read},
    {"reshape", 2, any_number, reshape},
    {"single", 1, 1, converted<ndSINGLE_CLASS>},
    {"size", 1, 2, size},
    {"sparse", 1, 2, sparse},
    {"struct", 0, any_number, structure},
    {"true", 0, any_number, constant_true},
    {"uint16", 1, 1, converted<ndUINT16_CLASS>},
    {"uint32", 1, 1, converted<ndUINT32_CLASS>},
    {"uint64", 1, 1, converted<ndUINT64_CLASS>},
    {"uint8", 1, 1, converted<ndUINT8_CLASS>},
    {"zeros", 0, any_number, zeros},
};

} // namespace

const builtin* find_builtin(std::string_view name) {
    const auto* const found = std::find_if(std::begin(builtins), std::end(builtins),
                                           [&](const builtin& one) { return one.name == name; });
    return found != std::end(builtins) ? found : nullptr;
}

array_ptr call(const builtin& function, std::vector<array_ptr> arguments) {
    if (arguments.size() < function.least || arguments.size() > function.most) {
        refuse(std::string(function.name) + " doesn't take " + std::to_string(arguments.size()) +
               " arguments");
    }
    return function.call(arguments);
}

} // namespace nd_host::eval
