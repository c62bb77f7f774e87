/*
 * co2_seasons: the trend and the seasons of a monthly series.
 *
 *   input     n x 3: year, month (1 to 12), value; rows with a missing value (NaN) don't count
 *   output 1  12 x 3: month, mean value, mean departure from the trend (the season)
 *   output 2  1 x 3: change per year, value of the trend in the middle of the record, root mean square of what neither
 *             trend nor season explains
 *
 * The trend is the least-squares line through value against time, a month standing at its middle. What the function can't use,
 * it answers by putting out nothing.
 */
#include <nd/nd.h>

#include <math.h>

enum { MONTHS = 12 };

ND_ADDON_FUNCTION;

/* The series, column by column as the array holds it. */
struct series {
    size_t n;
    const double* year;
    const double* month;
    const double* value;
};

struct line {
    double slope, middle, at_middle;
};

static double time_of(const struct series* s, size_t i) { return s->year[i] + (s->month[i] - 0.5) / MONTHS; }

static double above(const struct line* l, const struct series* s, size_t i)
{
    return s->value[i] - (l->at_middle + l->slope * (time_of(s, i) - l->middle));
}

/* True when the months are months, so that they can be used as subscripts. */
static bool months_are_valid(const struct series* s)
{
    for (size_t i = 0; i < s->n; ++i) {
        if (!(s->month[i] >= 1 && s->month[i] <= MONTHS && floor(s->month[i]) == s->month[i])) return false;
    }
    return true;
}

/* Least squares about the means: the plain normal equations would lose half the digits on years. */
static struct line fit(const struct series* s)
{
    struct line l = {0, 0, 0};
    double count = 0, products = 0, squares = 0;
    for (size_t i = 0; i < s->n; ++i) {
        if (isnan(s->value[i])) continue;
        count += 1;
        l.middle += (time_of(s, i) - l.middle) / count;
        l.at_middle += (s->value[i] - l.at_middle) / count;
    }
    for (size_t i = 0; i < s->n; ++i) {
        if (isnan(s->value[i])) continue;
        double t = time_of(s, i) - l.middle;
        products += t * (s->value[i] - l.at_middle);
        squares += t * t;
    }
    l.slope = products / squares;
    return l;
}

/* Fills table, 12 x 3 and zeroed, and gives the root mean square of the remainder. */
static double seasons(const struct series* s, const struct line* l, double* table)
{
    double *month = table, *mean = table + MONTHS, *season = table + 2 * MONTHS;
    double count[MONTHS] = {0}, squares = 0, n = 0;
    for (size_t i = 0; i < s->n; ++i) {
        size_t m = (size_t)s->month[i] - 1;
        if (isnan(s->value[i])) continue;
        count[m] += 1;
        mean[m] += (s->value[i] - mean[m]) / count[m];
        season[m] += (above(l, s, i) - season[m]) / count[m];
    }
    for (size_t m = 0; m < MONTHS; ++m) {
        month[m] = (double)(m + 1);
        if (count[m] == 0) mean[m] = season[m] = NAN;
    }
    for (size_t i = 0; i < s->n; ++i) {
        if (isnan(s->value[i])) continue;
        double rest = above(l, s, i) - season[(size_t)s->month[i] - 1];
        squares += rest * rest;
        n += 1;
    }
    return sqrt(squares / n);
}

void ndAddonFunction(int nlhs, ndArray_tag* plhs[], int nrhs, const ndArray_tag* prhs[])
{
    const double* x = nrhs == 1 ? ndGetDoubles(prhs[0]) : NULL;
    if (!x || ndIsSparse(prhs[0]) || ndGetN(prhs[0]) != 3) return;
    size_t n = ndGetM(prhs[0]);
    struct series s = {n, x, x + n, x + 2 * n};
    if (!months_are_valid(&s)) return;

    plhs[0] = ndCreateDoubleMatrix(MONTHS, 3, ndREAL);
    double* table = ndGetDoubles(plhs[0]);
    if (!table) return;
    struct line trend = fit(&s);
    double rest = seasons(&s, &trend, table);

    if (nlhs < 2) return;
    plhs[1] = ndCreateDoubleMatrix(1, 3, ndREAL);
    double* summary = ndGetDoubles(plhs[1]);
    if (!summary) return;
    summary[0] = trend.slope;
    summary[1] = trend.at_middle;
    summary[2] = rest;
}
