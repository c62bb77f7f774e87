/*
 * species_means: the means of measures by species. An addon in C that reads texts out of a struct, and puts some out.
 *
 *   input   a 1x1 struct whose field Species is an n x 1 cell of texts, beside other fields that are n x 1 double
 *           (nd call --struct gives examples/data/iris.csv so)
 *   output  a k x 1 struct with the same fields, an element for each species in the order in which they first come: in Species
 *           its text, in the others the mean over its rows
 *
 * What the function can't use, it answers by putting out nothing.
 */
#include <nd/nd.h>

#include <string.h>

ND_ADDON_FUNCTION;

static bool same_text(const ndArray_tag* a, const ndArray_tag* b)
{
    size_t n = ndGetNumberOfElements(a);
    if (ndGetNumberOfElements(b) != n) return false;
    return n == 0 || memcmp(ndGetChars(a), ndGetChars(b), n * ndGetElementSize(a)) == 0;
}

/* For each row the first row of its species, or false where a cell holds no text. */
static bool find_first_rows(const ndArray_tag* species, size_t n, size_t* first)
{
    for (size_t i = 0; i < n; ++i) {
        const ndArray_tag* text = ndGetCell(species, i);
        if (!text || !ndIsChar(text)) return false;
        for (first[i] = 0; first[i] < i && !same_text(ndGetCell(species, first[i]), text);) ++first[i];
    }
    return true;
}

static double mean_of_rows(const double* x, size_t n, const size_t* first, size_t row)
{
    double sum = 0;
    size_t count = 0;
    for (size_t i = row; i < n; ++i) {
        if (first[i] != row) continue;
        sum += x[i];
        ++count;
    }
    return sum / (double)count;
}

/* Fields that can't be used have no values in the result. */
static ndArray_tag* summary(const ndArray_tag* table, const ndArray_tag* species, size_t n, const size_t* first)
{
    size_t k = 0;
    for (size_t i = 0; i < n; ++i) k += first[i] == i;
    ndArray_tag* result = ndCreateStructMatrix(k, 1, 0, NULL);
    for (int f = 0; result && f < ndGetNumberOfFields(table); ++f) {
        const ndArray_tag* field = ndGetFieldByNumber(table, 0, f);
        const double* x = field && ndGetNumberOfElements(field) == n ? ndGetDoubles(field) : NULL;
        ndAddField(result, ndGetFieldNameByNumber(table, f));
        for (size_t i = 0, at = 0; i < n; ++i) {
            if (first[i] != i) continue;
            if (field == species) ndSetFieldByNumber(result, at, f, ndDuplicateArray(ndGetCell(species, i)));
            else if (x) ndSetFieldByNumber(result, at, f, ndCreateDoubleScalar(mean_of_rows(x, n, first, i)));
            ++at;
        }
    }
    return result;
}

void ndAddonFunction(int nlhs, ndArray_tag* plhs[], int nrhs, const ndArray_tag* prhs[])
{
    if (nlhs > 1 || nrhs != 1 || !ndIsStruct(prhs[0])) return;
    const ndArray_tag* species = ndGetField(prhs[0], 0, "Species");
    if (!species || !ndIsCell(species)) return;
    size_t n = ndGetNumberOfElements(species);
    size_t* first = ndMalloc((n + 1) * sizeof *first);
    if (first && find_first_rows(species, n, first)) plhs[0] = summary(prhs[0], species, n, first);
    ndFree(first);
}
