/*
 * forgets: an entry point for each way in which a C function leaves what it made, and for some in which it leaves nothing.
 * Tests compare what the host reports with what stands here.
 */
#include <nd/host.h>
#include <nd/nd.h>

#include <string.h>

ND_ADDON_FUNCTION;

#define ENTRY(name) ND_EXPORT void name(int nlhs, ndArray_tag* plhs[], int nrhs, const ndArray_tag* prhs[])
#define UNUSED ((void)nlhs, (void)plhs, (void)nrhs, (void)prhs)

enum { COUNT = 60, THOUSANDS = 5000 };

/* The addon with these entry points, for calls from one to another. */
static const char self[] = "test_forgets";

static ndArray_tag* row(size_t columns) { return ndCreateDoubleMatrix(1, columns, ndREAL); }

/* Forgets arrays of several classes. */
ENTRY(forget_arrays);
ENTRY(forget_arrays)
{
    UNUSED;
    ndCreateDoubleMatrix(2, 3, ndREAL);
    ndCreateLogicalMatrix(1, 4);
    plhs[0] = ndCreateDoubleScalar(1);
    ndCreateNumericMatrix(2, 2, ndSINGLE_CLASS, ndCOMPLEX);
    ndCreateDoubleMatrix(0, 7, ndREAL);
    ndCreateDoubleMatrix(1000, 1000, ndREAL);
}

/* Forgets blocks from each function that makes some, written to from end to end. */
ENTRY(forget_blocks);
ENTRY(forget_blocks)
{
    UNUSED;
    memset(ndMalloc(100), 1, 100);
    memset(ndCalloc(10, 8), 1, 80);
    memset(ndRealloc(NULL, 7), 1, 7);
    memset(ndRealloc(ndMalloc(5), 100000), 1, 100000);
    ndFree(ndMalloc(20));
    plhs[0] = ndCreateDoubleScalar(2);
}

/* Ends all that it made: the even ones forwards, the odd ones backwards. */
ENTRY(free_in_odd_orders);
ENTRY(free_in_odd_orders)
{
    UNUSED;
    ndArray_tag* arrays[COUNT];
    void* blocks[COUNT];
    for (int i = 0; i < COUNT; ++i) {
        arrays[i] = row((size_t)i);
        blocks[i] = ndMalloc((size_t)i);
    }
    plhs[0] = ndCreateDoubleScalar(3);
    for (int i = 0; i < COUNT; i += 2) {
        ndDestroyArray(arrays[i]);
        ndFree(blocks[i]);
    }
    for (int i = COUNT - 1; i > 0; i -= 2) {
        ndDestroyArray(arrays[i]);
        ndFree(blocks[i]);
    }
}

/* Makes sixty rows of 1 to 60 elements and, from the middle outwards, ends all but those of 1, 31 and 60. */
ENTRY(end_most);
ENTRY(end_most)
{
    UNUSED;
    ndArray_tag* arrays[COUNT];
    for (int i = 0; i < COUNT; ++i) {
        arrays[i] = row((size_t)i + 1);
    }
    for (int step = 1; step < COUNT / 2; ++step) {
        ndDestroyArray(arrays[COUNT / 2 + step == COUNT - 1 ? 0 : COUNT / 2 + step]);
        ndDestroyArray(arrays[COUNT / 2 - step]);
    }
    plhs[0] = ndCreateDoubleScalar(4);
}

/* Keeps an array and a block for the next call, which they don't live to see; counts its calls. */
ENTRY(keep);
ENTRY(keep)
{
    UNUSED;
    static ndArray_tag* kept_array;
    static void* kept_block;
    static int calls;
    ++calls;
    kept_array = row((size_t)calls);
    kept_block = ndMalloc(64);
    plhs[0] = ndCreateDoubleScalar(kept_array && kept_block ? calls : -1);
}

/* Forgets thousands of arrays and blocks. */
ENTRY(forget_thousands);
ENTRY(forget_thousands)
{
    UNUSED;
    for (size_t i = 1; i <= THOUSANDS; ++i) {
        row(i % 100);
        memset(ndMalloc(i), 1, i);
    }
    plhs[0] = ndCreateDoubleScalar(6);
}

/* n: forgets rows of 1 to n elements. */
ENTRY(forget_rows);
ENTRY(forget_rows)
{
    UNUSED;
    for (size_t i = 1; i <= (size_t)*ndGetDoubles(prhs[0]); ++i) {
        row(i);
    }
    plhs[0] = ndCreateDoubleScalar(7);
}

/* Makes its result, and forgets to put it out. */
ENTRY(forget_the_output);
ENTRY(forget_the_output)
{
    UNUSED;
    row(3);
}

/* Forgets something and raises an error, with a result made before. */
ENTRY(raise_and_forget);
ENTRY(raise_and_forget)
{
    UNUSED;
    plhs[0] = row(3);
    ndMalloc(1000);
    row(4);
    ndCreateDoubleMatrix((size_t)1 << 40, (size_t)1 << 40, ndREAL);
}

/* Calls functions that forget, forgets what one of them gave, and puts out what the other gave. */
ENTRY(call_others);
ENTRY(call_others)
{
    UNUSED;
    ndArray_tag* first[1];
    row(8);
    ndCallAddon(self, "forget_arrays", 1, first, 0, NULL);
    ndMalloc(9);
    const ndArray_tag* input[1] = {first[0]};
    ndCallAddon(self, "forget_blocks", 1, plhs, 1, input);
}

/* Calls a function that raises. */
ENTRY(call_one_that_raises);
ENTRY(call_one_that_raises)
{
    UNUSED;
    plhs[0] = row(5);
    ndMalloc(50);
    ndArray_tag* result[1];
    ndCallAddon(self, "raise_and_forget", 1, result, 0, NULL);
}

/* Calls a function that doesn't put out what it is asked for. */
ENTRY(call_one_without_output);
ENTRY(call_one_without_output)
{
    UNUSED;
    row(6);
    ndCallAddon(self, "forget_the_output", 1, plhs, 0, NULL);
}

/* Calls an addon that isn't there. */
ENTRY(call_nobody);
ENTRY(call_nobody)
{
    UNUSED;
    row(6);
    ndCallAddon("test_nobody", NULL, 1, plhs, 0, NULL);
}

/* Calls the usual function of a neighbour, copies, with its own argument. */
ENTRY(call_neighbour);
ENTRY(call_neighbour)
{
    UNUSED;
    ndCallAddon("test_copies", NULL, 1, plhs, nrhs, prhs);
}

ENTRY(call_with_negative_count);
ENTRY(call_with_negative_count)
{
    UNUSED;
    ndCallAddon(self, "keep", -1, plhs, 0, NULL);
}

/* n: calls itself with n - 1, down to 0, forgets a row of n + 1 elements on each level, and puts out the sum of all n. */
ENTRY(descend);
ENTRY(descend)
{
    UNUSED;
    double n = *ndGetDoubles(prhs[0]), below = 0;
    row((size_t)n + 1);
    if (n > 0) {
        ndArray_tag* result[1];
        const ndArray_tag* next[1] = {ndCreateDoubleScalar(n - 1)};
        ndCallAddon(self, "descend", 1, result, 1, next);
        below = *ndGetDoubles(result[0]);
        ndDestroyArray(result[0]);
        ndDestroyArray((ndArray_tag*)next[0]);
    }
    plhs[0] = ndCreateDoubleScalar(n + below);
}

/* Calls descend with 3. */
ENTRY(descend_from_three);
ENTRY(descend_from_three)
{
    UNUSED;
    const ndArray_tag* input[1] = {ndCreateDoubleScalar(3)};
    ndCallAddon(self, "descend", 1, plhs, 1, input);
}
