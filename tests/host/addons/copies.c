/* copies: output k is a copy of input k, made through the C interface alone. */
#include <nd/nd.h>

#include <string.h>

ND_ADDON_FUNCTION;

void ndAddonFunction(int nlhs, ndArray_tag* plhs[], int nrhs, const ndArray_tag* prhs[])
{
    for (int k = 0; k < nlhs && k < nrhs; ++k) {
        size_t rows = ndGetM(prhs[k]), columns = ndGetN(prhs[k]);
        plhs[k] = ndCreateDoubleMatrix(rows, columns, ndREAL);
        if (plhs[k] && rows * columns != 0) {
            memcpy(ndGetDoubles(plhs[k]), ndGetDoubles(prhs[k]), rows * columns * sizeof(double));
        }
    }
}
