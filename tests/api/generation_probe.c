/* The functions of the generation ND_API, called as an addon of that generation calls them. See generation_probe.h. */
#include "api/generation_probe.h"

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

static ndArray_tag* double_matrix(long long m, long long n, int complexity) {
    return ndCreateDoubleMatrix((size_type)m, (size_type)n, (ndComplexity)complexity);
}

static ndArray_tag* numeric_matrix(long long m, long long n, int class_id, int complexity) {
    return ndCreateNumericMatrix((size_type)m, (size_type)n, (ndClassID)class_id, (ndComplexity)complexity);
}

static ndArray_tag* numeric_array(int ndim, const long long* dims, int class_id, int complexity) {
    size_type sizes[most_dimensions];
    return ndCreateNumericArray((size_type)ndim, sizes_of(ndim, dims, sizes), (ndClassID)class_id,
                                (ndComplexity)complexity);
}

static ndArray_tag* logical_matrix(long long m, long long n) {
    return ndCreateLogicalMatrix((size_type)m, (size_type)n);
}

static ndArray_tag* logical_array(int ndim, const long long* dims) {
    size_type sizes[most_dimensions];
    return ndCreateLogicalArray((size_type)ndim, sizes_of(ndim, dims, sizes));
}

static ndArray_tag* numeric_scalar(int class_id, int complexity) {
    return ndCreateNumericScalar((ndClassID)class_id, (ndComplexity)complexity);
}

static ndArray_tag* uninit_numeric_matrix(size_t m, size_t n, int class_id, int complexity) {
    return ndCreateUninitNumericMatrix(m, n, (ndClassID)class_id, (ndComplexity)complexity);
}

static ndArray_tag* uninit_numeric_array(int ndim, const size_t* dims, int class_id, int complexity) {
    return ndCreateUninitNumericArray((size_t)ndim, dims, (ndClassID)class_id, (ndComplexity)complexity);
}

static long long number_of_dimensions(const ndArray_tag* array) {
    return (long long)ndGetNumberOfDimensions(array);
}

static long long single_subscript(const ndArray_tag* array, int nsubs, const long long* subs) {
    size_type own[most_dimensions];
    return (long long)ndCalcSingleSubscript(array, (size_type)nsubs, sizes_of(nsubs, subs, own));
}

static void* chars(const ndArray_tag* array) { return ndGetChars(array); }

static const void* dimensions(const ndArray_tag* array) { return ndGetDimensions(array); }

static long long dimension(const void* dims, int i) { return (long long)((const size_type*)dims)[i]; }

#define PREDICATE(name)                                                                                      \
    { #name, name }

static const named_predicate predicates[] = {
    PREDICATE(ndIsCell),    PREDICATE(ndIsChar),    PREDICATE(ndIsDouble),         PREDICATE(ndIsSingle),
    PREDICATE(ndIsLogical), PREDICATE(ndIsStruct),  PREDICATE(ndIsFunctionHandle), PREDICATE(ndIsObject),
    PREDICATE(ndIsOpaque),  PREDICATE(ndIsInt8),    PREDICATE(ndIsUint8),          PREDICATE(ndIsInt16),
    PREDICATE(ndIsUint16),  PREDICATE(ndIsInt32),   PREDICATE(ndIsUint32),         PREDICATE(ndIsInt64),
    PREDICATE(ndIsUint64),  PREDICATE(ndIsNumeric), PREDICATE(ndIsSparse),         PREDICATE(ndIsEmpty),
    {NULL, NULL},
};

#define JOIN_TWO(a, b) a##b
#define JOIN(a, b) JOIN_TWO(a, b)

const generation_probe JOIN(probe_, ND_API) = {
    .api = ND_API,
    .interface_version = ND_INTERFACE_VERSION,
    .double_matrix = double_matrix,
    .numeric_matrix = numeric_matrix,
    .numeric_array = numeric_array,
    .logical_matrix = logical_matrix,
    .logical_array = logical_array,
    .numeric_scalar = numeric_scalar,
    .uninit_double_matrix = ndCreateUninitDoubleMatrix,
    .uninit_numeric_matrix = uninit_numeric_matrix,
    .uninit_numeric_array = uninit_numeric_array,
    .double_scalar = ndCreateDoubleScalar,
    .single_scalar = ndCreateSingleScalar,
    .logical_scalar = ndCreateLogicalScalar,
    .destroy = ndDestroyArray,
    .number_of_dimensions = number_of_dimensions,
    .dimensions = dimensions,
    .dimension = dimension,
    .m = ndGetM,
    .n = ndGetN,
    .number_of_elements = ndGetNumberOfElements,
    .single_subscript = single_subscript,
    .predicates = predicates,
    .class_id = ndGetClassID,
    .class_name = ndGetClassName,
    .class_of_name = ndClassIDFromClassName,
    .set_class_name = ndSetClassName,
    .is_class = ndIsClass,
    .is_global = ndIsFromGlobalWS,
    .set_global = ndSetFromGlobalWS,
    .user_bits = ndGetUserBits,
    .set_user_bits = ndSetUserBits,
    .logicals = ndGetLogicals,
    .chars = chars,
    .eps = ndGetEps,
    .inf = ndGetInf,
    .nan = ndGetNaN,
    .is_finite = ndIsFinite,
    .is_inf = ndIsInf,
    .is_nan = ndIsNaN,
    .malloc = ndMalloc,
    .calloc = ndCalloc,
    .realloc = ndRealloc,
    .free = ndFree,
};
