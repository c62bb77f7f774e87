/* values: addon functions for tests of inputs and results that are no matrices. */
#include <nd/nd.h>

ND_ADDON_FUNCTION;

/* Puts out a copy of each input. */
void ndAddonFunction(int nlhs, ndArray_tag* plhs[], int nrhs, const ndArray_tag* prhs[])
{
    for (int k = 0; k < nlhs && k < nrhs; ++k) plhs[k] = ndDuplicateArray(prhs[k]);
}

/* n: puts out n cells, one in the other, around the input itself. */
ND_EXPORT void nest(int nlhs, ndArray_tag* plhs[], int nrhs, const ndArray_tag* prhs[])
{
    (void)nlhs;
    (void)nrhs;
    plhs[0] = ndDuplicateArray(prhs[0]);
    for (double n = *ndGetDoubles(prhs[0]); n > 0; --n) {
        ndArray_tag* outer = ndCreateCellMatrix(1, 1);
        ndSetCell(outer, 0, plhs[0]);
        plhs[0] = outer;
    }
}
