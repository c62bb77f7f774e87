// A call into a shared library with the least work that reads an array.
#include "array_header.hpp"

bool limit_is_double(const limit_array* array) { return array->class_id == limits::double_class; }
