/*
 * trimmed_means: the mean of each column of a real matrix without the column's smallest and largest element.
 *
 * It forgets, on purpose, what it makes on the way: two arrays and a block of memory. "Finding what your function forgot" in the
 * project's README finds them.
 */
#include <nd/nd.h>

ND_ADDON_FUNCTION;

/* A row with the largest element of each column; with sign -1 the smallest, its sign changed. */
static ndArray_tag* extremes(const ndArray_tag* matrix, double sign)
{
    size_t rows = ndGetM(matrix), columns = ndGetN(matrix);
    const double* x = ndGetDoubles(matrix);
    ndArray_tag* result = ndCreateDoubleMatrix(1, columns, ndREAL);
    double* extreme = ndGetDoubles(result);
    for (size_t j = 0; extreme && j < columns; ++j) {
        extreme[j] = sign * x[j * rows];
        for (size_t i = 1; i < rows; ++i) {
            if (sign * x[j * rows + i] > extreme[j]) extreme[j] = sign * x[j * rows + i];
        }
    }
    return result;
}

void ndAddonFunction(int nlhs, ndArray_tag* plhs[], int nrhs, const ndArray_tag* prhs[])
{
    const double* x = nrhs == 1 ? ndGetDoubles(prhs[0]) : NULL;
    if (nlhs > 1 || !x || ndIsSparse(prhs[0]) || ndGetM(prhs[0]) < 3) return;
    size_t rows = ndGetM(prhs[0]), columns = ndGetN(prhs[0]);

    plhs[0] = ndCreateDoubleMatrix(1, columns, ndREAL);
    double* mean = ndGetDoubles(plhs[0]);
    const double* largest = ndGetDoubles(extremes(prhs[0], 1)); /* who is to end these two? */
    const double* smallest = ndGetDoubles(extremes(prhs[0], -1));
    double* sum = ndCalloc(columns, sizeof *sum); /* and free this? */
    for (size_t j = 0; mean && largest && smallest && sum && j < columns; ++j) {
        for (size_t i = 0; i < rows; ++i) sum[j] += x[j * rows + i];
        mean[j] = (sum[j] - largest[j] + smallest[j]) / (double)(rows - 2);
    }
}
