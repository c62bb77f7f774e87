/*
 * The public C header as plain C11 under every warning, once for each ND_API: an addon that uses the stamp, and the types.
 * Compiled only; what the functions do is tested elsewhere.
 */
#include <nd/nd.h>

#include <stddef.h>

ND_ADDON_FUNCTION;

_Static_assert(sizeof(nd_complex_double) == 2 * sizeof(double), "real part, imaginary part, nothing else");
_Static_assert(offsetof(nd_complex_int8, im) == 1, "real part, imaginary part, nothing else");
_Static_assert(sizeof(ndClassID) == 4 && sizeof(ndComplexity) == 4,
               "enumerations are 32 bits wide in C as in C++");

void ndAddonFunction(int nlhs, ndArray_tag* plhs[], int nrhs, const ndArray_tag* prhs[]) {
    const bool wanted = nlhs > 0 && nrhs > 0 && ndIsNumeric(prhs[0]);
    plhs[0] = wanted ? ndCreateDoubleMatrix(1, 1, ndREAL) : NULL;
}
