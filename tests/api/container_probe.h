/*
 * container_probe.h: cells and structs of one generation behind one shape. container_probe.c is compiled once for each ND_API.
 */
#ifndef CONTAINER_PROBE_H
#define CONTAINER_PROBE_H

#include <nd/types.h>

ND_EXTERN_C_BEGIN

typedef struct container_probe {
    int api;
    ndArray_tag* (*cell_matrix)(long long m, long long n);
    ndArray_tag* (*cell_array)(int ndim, const long long* dims);
    ndArray_tag* (*struct_matrix)(long long m, long long n, int nfields, const char** names);
    ndArray_tag* (*struct_array)(int ndim, const long long* dims, int nfields, const char** names);
    ndArray_tag* (*get_cell)(const ndArray_tag* cell, long long index);
    void (*set_cell)(ndArray_tag* cell, long long index, ndArray_tag* value);
    ndArray_tag* (*get_field)(const ndArray_tag* array, long long index, const char* name);
    void (*set_field)(ndArray_tag* array, long long index, const char* name, ndArray_tag* value);
    ndArray_tag* (*get_field_by_number)(const ndArray_tag* array, long long index, int number);
    void (*set_field_by_number)(ndArray_tag* array, long long index, int number, ndArray_tag* value);
    int (*add_field)(ndArray_tag* array, const char* name);
    void (*remove_field)(ndArray_tag* array, int number);
    int (*field_number)(const ndArray_tag* array, const char* name);
    const char* (*field_name)(const ndArray_tag* array, int number);
    int32_t (*number_of_fields)(const ndArray_tag* array);
} container_probe;

extern const container_probe container_probe_700;
extern const container_probe container_probe_730;
extern const container_probe container_probe_800;

ND_EXTERN_C_END

#endif
