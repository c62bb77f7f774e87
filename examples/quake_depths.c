/*
 * quake_depths: earthquakes by how deep they are. An addon in C that reads a struct and makes one.
 *
 *   input   a 1x1 struct with the columns depth (km) and mag, perhaps lat and long, all n x 1; other fields don't count
 *           (nd call --struct gives a CSV file so)
 *   output  a 1x1 struct with the fields shallow (down to 70 km), intermediate (300) and deep (700). Each is a 1x1 struct:
 *           range    1 x 2, from and to in km
 *           quakes   1 x 1, how many there are
 *           mag      1 x 2, the least and the greatest magnitude; empty where there are no quakes
 *           place    1 x 2, latitude and longitude of the strongest, the first of several; empty where that isn't known
 *
 * A depth counts to the class that it ends: 70 is shallow. Rows without a depth or a magnitude (NaN) don't count.
 * What the function can't use, it answers by putting out nothing.
 */
#include <nd/nd.h>

#include <math.h>

enum { CLASSES = 3, RESULTS = 4 };

ND_ADDON_FUNCTION;

static const char* class_names[CLASSES] = {"shallow", "intermediate", "deep"};
static const double class_ends[CLASSES + 1] = {0, 70, 300, 700};
static const char* result_names[RESULTS] = {"range", "quakes", "mag", "place"};

/* The columns, each n long; latitude and longitude are there when has_place says so. */
struct quakes {
    size_t n;
    const double *depth, *mag, *lat, *lon;
    bool has_place;
};

/* What is known about the quakes of one class. */
struct depth_class {
    double count, weakest;
    size_t strongest; /* its row */
};

/* True when the field is a column of n real doubles, which *x then has; without elements that may be null. */
static bool read_column(const ndArray_tag* table, const char* name, size_t n, const double** x)
{
    const ndArray_tag* field = ndGetField(table, 0, name);
    if (!field || !ndIsDouble(field) || ndIsComplex(field) || ndIsSparse(field)) return false;
    *x = ndGetDoubles(field);
    return ndGetM(field) == n && ndGetN(field) == 1;
}

static bool read_quakes(const ndArray_tag* table, struct quakes* q)
{
    if (!ndIsStruct(table) || ndGetNumberOfElements(table) != 1) return false;
    const ndArray_tag* depth = ndGetField(table, 0, "depth");
    q->n = depth ? ndGetM(depth) : 0;
    q->has_place = read_column(table, "lat", q->n, &q->lat) && read_column(table, "long", q->n, &q->lon);
    return read_column(table, "depth", q->n, &q->depth) && read_column(table, "mag", q->n, &q->mag);
}

static struct depth_class look_at(const struct quakes* q, double from, double to)
{
    struct depth_class c = {0, 0, 0};
    for (size_t i = 0; i < q->n; ++i) {
        bool inside = (q->depth[i] > from || (from == 0 && q->depth[i] == 0)) && q->depth[i] <= to;
        if (!inside || isnan(q->mag[i])) continue;
        if (c.count == 0 || q->mag[i] < c.weakest) c.weakest = q->mag[i];
        if (c.count == 0 || q->mag[i] > q->mag[c.strongest]) c.strongest = i;
        c.count += 1;
    }
    return c;
}

/* A row of two numbers, or an empty array when there is nothing to tell. */
static ndArray_tag* pair(bool known, double first, double second)
{
    ndArray_tag* row = known ? ndCreateDoubleMatrix(1, 2, ndREAL) : ndCreateDoubleMatrix(0, 0, ndREAL);
    double* x = known ? ndGetDoubles(row) : NULL;
    if (x) {
        x[0] = first;
        x[1] = second;
    }
    return row;
}

/* A field takes the array over: nothing here is destroyed by hand. */
static ndArray_tag* summary(const struct quakes* q, double from, double to)
{
    struct depth_class c = look_at(q, from, to);
    bool any = c.count > 0;
    bool placed = any && q->has_place;
    ndArray_tag* result = ndCreateStructMatrix(1, 1, RESULTS, result_names);
    if (!result) return NULL;
    ndSetField(result, 0, "range", pair(true, from, to));
    ndSetField(result, 0, "quakes", ndCreateDoubleScalar(c.count));
    ndSetField(result, 0, "mag", pair(any, c.weakest, any ? q->mag[c.strongest] : 0));
    ndSetField(result, 0, "place",
               pair(placed, placed ? q->lat[c.strongest] : 0, placed ? q->lon[c.strongest] : 0));
    return result;
}

void ndAddonFunction(int nlhs, ndArray_tag* plhs[], int nrhs, const ndArray_tag* prhs[])
{
    struct quakes q;
    if (nlhs > 1 || nrhs != 1 || !read_quakes(prhs[0], &q)) return;
    plhs[0] = ndCreateStructMatrix(1, 1, CLASSES, class_names);
    if (!plhs[0]) return;
    for (int k = 0; k < CLASSES; ++k) {
        ndSetFieldByNumber(plhs[0], 0, k, summary(&q, class_ends[k], class_ends[k + 1]));
    }
}
