/*
 * breaks: an entry point for each way in which a C function breaks what it was lent, or puts out what isn't there any more. The host
 * is to say what was wrong, whatever memory is used for meanwhile.
 */
#include <nd/host.h>
#include <nd/nd.h>

#include <stdlib.h>

ND_ADDON_FUNCTION;

#define ENTRY(name)                                                                                          \
    ND_EXPORT void name(int nlhs, ndArray_tag* plhs[], int nrhs, const ndArray_tag* prhs[]);                 \
    ND_EXPORT void name(int nlhs, ndArray_tag* plhs[], int nrhs, const ndArray_tag* prhs[])
#define UNUSED ((void)nlhs, (void)plhs, (void)nrhs, (void)prhs)

static const char self[] = "test_breaks";

static ndArray_tag* row(size_t columns) { return ndCreateDoubleMatrix(1, columns, ndREAL); }

static ndArray_tag* input(const ndArray_tag* prhs[]) { return (ndArray_tag*)prhs[0]; }

/* More than any array may have. */
static void raise_error(void) { ndCreateDoubleMatrix((size_t)1 << 40, (size_t)1 << 40, ndREAL); }

ENTRY(end_process) {
    UNUSED;
    exit(0);
}

/* ---- outputs that have ended */

ENTRY(end_small_output) {
    UNUSED;
    plhs[0] = row(3);
    ndDestroyArray(plhs[0]);
}

ENTRY(end_large_output) {
    UNUSED;
    plhs[0] = row(100000);
    ndDestroyArray(plhs[0]);
}

ENTRY(end_older_output) {
    UNUSED;
    plhs[0] = row(3);
    row(4);
    ndDestroyArray(plhs[0]);
}

/* The ordinary way to clean up before an error. */
ENTRY(end_small_output_and_raise) {
    UNUSED;
    plhs[0] = row(3);
    ndDestroyArray(plhs[0]);
    raise_error();
}

ENTRY(end_large_output_and_raise) {
    UNUSED;
    plhs[0] = row(100000);
    row(4);
    ndDestroyArray(plhs[0]);
    raise_error();
}

/* Its memory is another array's by then. */
ENTRY(end_output_and_make_another) {
    UNUSED;
    plhs[0] = row(3);
    ndDestroyArray(plhs[0]);
    row(3);
    row(3);
    raise_error();
}

/* ---- outputs that end with their container */

ENTRY(put_out_element_of_input) {
    UNUSED;
    plhs[0] = ndGetFieldByNumber(input(prhs), 0, 0);
}

ENTRY(put_out_element_of_output) {
    UNUSED;
    plhs[0] = ndCreateCellMatrix(1, 1);
    ndSetCell(plhs[0], 0, row(3));
    plhs[1] = ndGetCell(plhs[0], 0);
}

/* ---- inputs that are ended, or given away */

ENTRY(end_input) {
    UNUSED;
    ndDestroyArray(input(prhs));
    plhs[0] = row(1);
}

ENTRY(end_input_twice) {
    UNUSED;
    ndDestroyArray(input(prhs));
    ndDestroyArray(input(prhs));
    plhs[0] = row(1);
}

ENTRY(end_input_and_raise) {
    UNUSED;
    ndDestroyArray(input(prhs));
    raise_error();
}

ENTRY(end_input_and_put_it_out) {
    UNUSED;
    plhs[0] = input(prhs);
    ndDestroyArray(plhs[0]);
}

ENTRY(put_input_into_a_cell) {
    UNUSED;
    plhs[0] = ndCreateCellMatrix(1, 1);
    ndSetCell(plhs[0], 0, input(prhs));
}

/* A row of n elements, an argument between two others: each position on the caller's list. */
static void call_with_one_of_three(const char* entry, size_t place, ndArray_tag* plhs[]) {
    ndArray_tag* rows[3];
    for (size_t i = 0; i < 3; ++i) {
        rows[i] = row(i + 1);
    }
    const ndArray_tag* argument[1] = {rows[place]};
    ndCallAddon(self, entry, 1, plhs, 1, argument);
}

ENTRY(call_that_ends_the_first) {
    UNUSED;
    call_with_one_of_three("end_input", 0, plhs);
}

ENTRY(call_that_ends_the_last) {
    UNUSED;
    call_with_one_of_three("end_input_twice", 2, plhs);
}

/* ---- calls with nulls */

ENTRY(call_for_no_result) {
    UNUSED;
    ndCallAddon(self, "answer", 0, NULL, 0, NULL);
    plhs[0] = row(2);
}

ENTRY(answer) {
    UNUSED;
    plhs[0] = row(1);
}

ENTRY(call_nobody) {
    UNUSED;
    ndCallAddon(NULL, "answer", 1, plhs, 0, NULL);
}

ENTRY(call_without_place) {
    UNUSED;
    ndCallAddon(self, "answer", 1, NULL, 0, NULL);
}

ENTRY(call_without_arguments) {
    UNUSED;
    ndCallAddon(self, "answer", 1, plhs, 1, NULL);
}
