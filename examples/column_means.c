/* column_means: the mean of each column of a real matrix. */
#include <nd/nd.h>

ND_ADDON_FUNCTION;

void ndAddonFunction(int nlhs, ndArray_tag* plhs[], int nrhs, const ndArray_tag* prhs[])
{
    const double* x = nrhs == 1 ? ndGetDoubles(prhs[0]) : NULL; /* null: not real doubles */
    if (nlhs > 1 || !x || ndIsSparse(prhs[0])) return;          /* no output: the host says so */
    size_t rows = ndGetM(prhs[0]), columns = ndGetN(prhs[0]);

    plhs[0] = ndCreateDoubleMatrix(1, columns, ndREAL); /* zeroed, and the caller's from now on */
    double* mean = ndGetDoubles(plhs[0]);
    for (size_t j = 0; mean && j < columns; ++j) {
        for (size_t i = 0; i < rows; ++i) mean[j] += x[j * rows + i]; /* columns lie one after another */
        mean[j] /= (double)rows;
    }
}
