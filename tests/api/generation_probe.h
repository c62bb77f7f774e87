/*
 * generation_probe.h: the functions of one generation behind one shape, so that a test goes through all generations.
 * generation_probe.c is compiled once for each ND_API and fills one of the tables below.
 */
#ifndef GENERATION_PROBE_H
#define GENERATION_PROBE_H

#include <nd/types.h>

ND_EXTERN_C_BEGIN

typedef struct named_predicate {
    const char* name;
    bool (*test)(const ndArray_tag* array);
} named_predicate;

typedef struct generation_probe {
    int api;
    uint32_t interface_version;
    ndArray_tag* (*double_matrix)(long long m, long long n, int complexity);
    ndArray_tag* (*numeric_matrix)(long long m, long long n, int class_id, int complexity);
    ndArray_tag* (*numeric_array)(int ndim, const long long* dims, int class_id, int complexity);
    ndArray_tag* (*logical_matrix)(long long m, long long n);
    ndArray_tag* (*logical_array)(int ndim, const long long* dims);
    ndArray_tag* (*numeric_scalar)(int class_id, int complexity);
    ndArray_tag* (*uninit_double_matrix)(int complex_flag, size_t m, size_t n);
    ndArray_tag* (*uninit_numeric_matrix)(size_t m, size_t n, int class_id, int complexity);
    ndArray_tag* (*uninit_numeric_array)(int ndim, const size_t* dims, int class_id, int complexity);
    ndArray_tag* (*double_scalar)(double value);
    ndArray_tag* (*single_scalar)(float value);
    ndArray_tag* (*logical_scalar)(bool value);
    void (*destroy)(ndArray_tag* array);
    long long (*number_of_dimensions)(const ndArray_tag* array);
    /* What ndGetDimensions returns, and the dimension with number i in it. */
    const void* (*dimensions)(const ndArray_tag* array);
    long long (*dimension)(const void* dimensions, int i);
    size_t (*m)(const ndArray_tag* array);
    size_t (*n)(const ndArray_tag* array);
    size_t (*number_of_elements)(const ndArray_tag* array);
    long long (*single_subscript)(const ndArray_tag* array, int nsubs, const long long* subs);
    const named_predicate* predicates; /* ended by a null name */
    ndClassID (*class_id)(const ndArray_tag* array);
    const char* (*class_name)(const ndArray_tag* array);
    ndClassID (*class_of_name)(const char* name);
    int (*set_class_name)(ndArray_tag* array, const char* name);
    bool (*is_class)(const ndArray_tag* array, const char* name);
    bool (*is_global)(const ndArray_tag* array);
    void (*set_global)(ndArray_tag* array, bool flag);
    int (*user_bits)(const ndArray_tag* array);
    void (*set_user_bits)(ndArray_tag* array, int bits);
    bool* (*logicals)(const ndArray_tag* array);
    void* (*chars)(const ndArray_tag* array);
    double (*eps)(void);
    double (*inf)(void);
    double (*nan)(void);
    bool (*is_finite)(double x);
    bool (*is_inf)(double x);
    bool (*is_nan)(double x);
    void* (*malloc)(size_t size);
    void* (*calloc)(size_t n, size_t size);
    void* (*realloc)(void* p, size_t size);
    void (*free)(void* p);
} generation_probe;

extern const generation_probe probe_700;
extern const generation_probe probe_730;
extern const generation_probe probe_800;

ND_EXTERN_C_END

#endif
