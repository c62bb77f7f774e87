/* one: puts out 1. Compiled for every generation, since nothing in it differs between them. */
#include <nd/nd.h>

ND_ADDON_FUNCTION;

void ndAddonFunction(int nlhs, ndArray_tag* plhs[], int nrhs, const ndArray_tag* prhs[])
{
    (void)nlhs;
    (void)nrhs;
    (void)prhs;
    plhs[0] = ndCreateDoubleMatrix(1, 1, ndREAL);
}
