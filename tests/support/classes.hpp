// The classes as test cases, read from the library's own table.
//
//     for_each_class(class_set::numeric, [](const class_case& c) { ... });   // double, complex double, single, ...
#pragma once

#include "matrix/class_table.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace test {

struct class_case {
    ndClassID id;
    ndComplexity complexity;
    std::string name; ///< as arr() takes it: "complex int8"
    std::size_t element_size;

    matrix::internal::NdArrayTypeId code() const {
        return matrix::internal::code_of(id, complexity == ndCOMPLEX);
    }
};

enum class class_set {
    all,        ///< 0 to 18, real
    numeric,    ///< double, single, the integers; real and complex
    with_bytes, ///< whatever has elements of plain bytes: logical, char and the numeric ones, real and complex
    containers, ///< cell, struct, object
};

std::vector<class_case> classes_of(class_set set);

/// Calls body for each class of the set; its name stands in every failure.
template <class Body>
void for_each_class(class_set set, Body&& body) {
    for (const class_case& c : classes_of(set)) {
        SCOPED_TRACE("class " + c.name);
        body(c);
    }
}

} // namespace test
