/* Sparse arrays of the generation ND_API, as an addon of that generation uses them. See sparse_probe.h. */
#include "api/sparse_probe.h"

#include <nd/nd.h>

#if ND_API == 700
typedef int size_type;
typedef int index_type;
#else
typedef kvSize size_type;
typedef kvIndex index_type;
#endif

static ndArray_tag* sparse(long long m, long long n, long long nzmax, int complexity) {
    return ndCreateSparse((size_type)m, (size_type)n, (size_type)nzmax, (ndComplexity)complexity);
}

static ndArray_tag* sparse_logical(long long m, long long n, long long nzmax) {
    return ndCreateSparseLogicalMatrix((size_type)m, (size_type)n, (size_type)nzmax);
}

static void* rows(const ndArray_tag* array) { return ndGetIr(array); }
static void set_rows(ndArray_tag* array, void* to) { ndSetIr(array, (index_type*)to); }
static void* starts(const ndArray_tag* array) { return ndGetJc(array); }
static void set_starts(ndArray_tag* array, void* to) { ndSetJc(array, (index_type*)to); }
static long long nzmax(const ndArray_tag* array) { return (long long)ndGetNzmax(array); }

#if ND_API == 800
void grow_sparse(ndArray_tag* array, size_t room) {
    ndSetDoubles(array, ndRealloc(ndGetDoubles(array), room * sizeof(double)));
    ndSetIr(array, ndRealloc(ndGetIr(array), room * sizeof(kvIndex)));
    ndSetNzmax(array, room);
}
#endif

#define JOIN_TWO(a, b) a##b
#define JOIN(a, b) JOIN_TWO(a, b)

const sparse_probe JOIN(sparse_probe_, ND_API) = {
    .api = ND_API,
    .sparse = sparse,
    .sparse_logical = sparse_logical,
    .rows = rows,
    .set_rows = set_rows,
    .starts = starts,
    .set_starts = set_starts,
    .nzmax = nzmax,
};
