/* Cells and structs of the generation ND_API, as an addon of that generation uses them. See container_probe.h. */
#include "api/container_probe.h"

#include <nd/nd.h>

#if ND_API == 700
typedef int size_type;
#else
typedef kvSize size_type;
#endif

enum { most_dimensions = 8 };

static const size_type* sizes_of(int ndim, const long long* dims, size_type* sizes) {
    for (int i = 0; i < ndim && i < most_dimensions; ++i) {
        sizes[i] = (size_type)dims[i];
    }
    return sizes;
}

static ndArray_tag* cell_matrix(long long m, long long n) {
    return ndCreateCellMatrix((size_type)m, (size_type)n);
}

static ndArray_tag* cell_array(int ndim, const long long* dims) {
    size_type sizes[most_dimensions];
    return ndCreateCellArray((size_type)ndim, sizes_of(ndim, dims, sizes));
}

static ndArray_tag* struct_matrix(long long m, long long n, int nfields, const char** names) {
    return ndCreateStructMatrix((size_type)m, (size_type)n, nfields, names);
}

static ndArray_tag* struct_array(int ndim, const long long* dims, int nfields, const char** names) {
    size_type sizes[most_dimensions];
    return ndCreateStructArray((size_type)ndim, sizes_of(ndim, dims, sizes), nfields, names);
}

static ndArray_tag* get_cell(const ndArray_tag* cell, long long index) {
    return ndGetCell(cell, (size_type)index);
}

static void set_cell(ndArray_tag* cell, long long index, ndArray_tag* value) {
    ndSetCell(cell, (size_type)index, value);
}

static ndArray_tag* get_field(const ndArray_tag* array, long long index, const char* name) {
    return ndGetField(array, (size_type)index, name);
}

static void set_field(ndArray_tag* array, long long index, const char* name, ndArray_tag* value) {
    ndSetField(array, (size_type)index, name, value);
}

static ndArray_tag* get_field_by_number(const ndArray_tag* array, long long index, int number) {
    return ndGetFieldByNumber(array, (size_type)index, number);
}

static void set_field_by_number(ndArray_tag* array, long long index, int number, ndArray_tag* value) {
    ndSetFieldByNumber(array, (size_type)index, number, value);
}

#define JOIN_TWO(a, b) a##b
#define JOIN(a, b) JOIN_TWO(a, b)

const container_probe JOIN(container_probe_, ND_API) = {
    .api = ND_API,
    .cell_matrix = cell_matrix,
    .cell_array = cell_array,
    .struct_matrix = struct_matrix,
    .struct_array = struct_array,
    .get_cell = get_cell,
    .set_cell = set_cell,
    .get_field = get_field,
    .set_field = set_field,
    .get_field_by_number = get_field_by_number,
    .set_field_by_number = set_field_by_number,
    .add_field = ndAddField,
    .remove_field = ndRemoveField,
    .field_number = ndGetFieldNumber,
    .field_name = ndGetFieldNameByNumber,
    .number_of_fields = ndGetNumberOfFields,
};
