/*
 * sparse_probe.h: sparse arrays of one generation behind one shape. sparse_probe.c is compiled once for each ND_API.
 */
#ifndef SPARSE_PROBE_H
#define SPARSE_PROBE_H

#include <nd/types.h>

ND_EXTERN_C_BEGIN

typedef struct sparse_probe {
    int api;
    ndArray_tag* (*sparse)(long long m, long long n, long long nzmax, int complexity);
    ndArray_tag* (*sparse_logical)(long long m, long long n, long long nzmax);
    void* (*rows)(const ndArray_tag* array);
    void (*set_rows)(ndArray_tag* array, void* rows);
    void* (*starts)(const ndArray_tag* array);
    void (*set_starts)(ndArray_tag* array, void* starts);
    long long (*nzmax)(const ndArray_tag* array);
} sparse_probe;

extern const sparse_probe sparse_probe_700;
extern const sparse_probe sparse_probe_730;
extern const sparse_probe sparse_probe_800;

/* For the newest generation only: makes room for more elements as an addon function does. */
void grow_sparse(ndArray_tag* array, size_t nzmax);

ND_EXTERN_C_END

#endif
