// ownership: functions that hand out what others own, claim what they were lent, or leave the lists in other contexts than they
// found. Where a function calls another, what it puts out tells whether its own arrays are as they were: 1 for yes.
#include <nd/engine.hpp>
#include <nd/host.h>
#include <nd/nd.h>

#include <exception>
#include <vector>

namespace {

namespace nd_array_api = matrix::detail::noninlined::nd_array_api;

constexpr const char* self = "test_ownership";

ndArray_tag* scalar(double value) { return ndCreateDoubleScalar(value); }

ndArray_tag* cell_of(ndArray_tag* element) {
    ndArray_tag* const cell = ndCreateCellMatrix(1, 1);
    ndSetCell(cell, 0, element);
    return cell;
}

ndArray_tag* writable(const ndArray_tag* array) { return const_cast<ndArray_tag*>(array); }

/// Calls entry for one result. False when that fails.
bool call(const char* entry, std::vector<const ndArray_tag*> inputs, ndArray_tag** result) {
    try {
        ndCallAddon(self, entry, 1, result, static_cast<int>(inputs.size()), inputs.data());
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

std::size_t listed() { return matrix::listCurrentArrays().size(); }

} // namespace

ND_ADDON_FUNCTION;

#define ENTRY(name)                                                                                          \
    extern "C" ND_EXPORT void name([[maybe_unused]] int nlhs, [[maybe_unused]] ndArray_tag* plhs[],          \
                                   [[maybe_unused]] int nrhs, [[maybe_unused]] const ndArray_tag* prhs[])

// ---- what is handed out

ENTRY(answer) { plhs[0] = scalar(42); }

ENTRY(put_out_element) { plhs[0] = ndGetCell(prhs[0], 0); }

ENTRY(put_out_field) { plhs[0] = ndGetFieldByNumber(prhs[0], 0, 0); }

ENTRY(put_out_element_of_forgotten) { plhs[0] = ndGetCell(cell_of(scalar(1)), 0); }

ENTRY(put_out_deep_element) { plhs[0] = ndGetCell(ndGetCell(cell_of(cell_of(scalar(1))), 0), 0); }

ENTRY(put_out_element_of_ended) {
    ndArray_tag* const cell = cell_of(scalar(1));
    plhs[0] = ndGetCell(cell, 0);
    ndDestroyArray(cell);
}

ENTRY(put_out_large_element_of_ended) {
    ndArray_tag* const cell = cell_of(ndCreateDoubleMatrix(1000, 1000, ndREAL));
    plhs[0] = ndGetCell(cell, 0);
    ndDestroyArray(cell);
}

// What was put out goes into a cell afterwards.
ENTRY(store_output_in_output) {
    plhs[0] = scalar(1);
    plhs[1] = cell_of(plhs[0]);
}

ENTRY(store_output_in_forgotten) {
    plhs[0] = scalar(1);
    cell_of(plhs[0]);
}

ENTRY(put_out_removed_element) {
    ndArray_tag* const cell = cell_of(scalar(7));
    plhs[0] = ndGetCell(cell, 0);
    ndSetCell(cell, 0, nullptr);
}

ENTRY(put_out_reference_to_field) {
    plhs[0] = nd_array_api::ndCreateReference(ndGetFieldByNumber(prhs[0], 0, 0));
}

ENTRY(put_out_reference_to_element) { plhs[0] = nd_array_api::ndCreateReference(ndGetCell(prhs[0], 0)); }

// A block that may not be shared.
ENTRY(put_out_reference_to_private_element) {
    ndArray_tag* const element = ndGetCell(prhs[0], 0);
    element->flags |= matrix::flag_data_private;
    plhs[0] = nd_array_api::ndCreateReference(element);
}

ENTRY(put_out_reference_to_kept) {
    static ndArray_tag* const kept = matrix::from_tarvel(scalar(7)).release();
    plhs[0] = nd_array_api::ndCreateReference(kept);
}

// The element must not end with the call, and the result must not with the cell.
void call_for_reference(const char* entry, ndArray_tag** plhs) {
    ndArray_tag* const cell = cell_of(scalar(7));
    ndArray_tag* result = nullptr;
    const bool done = call(entry, {cell}, &result);
    const bool apart = done && result != ndGetCell(cell, 0) && *ndGetDoubles(ndGetCell(cell, 0)) == 7;
    ndGetCell(cell, 0)->flags &= ~matrix::flag_data_private;
    ndDestroyArray(cell);
    plhs[0] = scalar(apart && *ndGetDoubles(result) == 7 ? 1 : 0);
}

ENTRY(call_for_reference_to_element) { call_for_reference("put_out_reference_to_element", plhs); }

ENTRY(call_for_reference_to_private_element) {
    call_for_reference("put_out_reference_to_private_element", plhs);
}

ENTRY(call_for_reference_to_kept) {
    double sum = 0;
    for (int i = 0; i < 2; ++i) {
        ndArray_tag* result = nullptr;
        sum += call("put_out_reference_to_kept", {}, &result) ? *ndGetDoubles(result) : 0;
        ndDestroyArray(result);
    }
    plhs[0] = scalar(sum == 14 ? 1 : 0);
}

ENTRY(call_for_element) {
    ndArray_tag* const cell = cell_of(scalar(7));
    ndArray_tag* result = nullptr;
    const bool done = call("put_out_element", {cell}, &result);
    plhs[0] = scalar(!done && *ndGetDoubles(ndGetCell(cell, 0)) == 7 ? 1 : 0);
}

ENTRY(all_asked_for) {
    for (int k = 0; k < nlhs; ++k) {
        plhs[k] = scalar(k);
    }
}

// As many results as the input says.
ENTRY(call_for_many) {
    const auto count = static_cast<std::size_t>(*ndGetDoubles(prhs[0]));
    std::vector<ndArray_tag*> results(count);
    ndCallAddon(self, "all_asked_for", static_cast<int>(count), results.data(), 0, nullptr);
    plhs[0] = scalar(*ndGetDoubles(results.back()) + 1);
}

ENTRY(call_with_many) {
    ndCallAddon(self, "answer", 1, plhs, static_cast<int>(*ndGetDoubles(prhs[0])), prhs);
}

// ---- what is claimed

ENTRY(claim_input) {
    nd_array_api::ndSetArrayScope(writable(prhs[0]), ndLOCAL_SCOPE);
    plhs[0] = scalar(1);
}

ENTRY(take_input) {
    matrix::from_tarvel(writable(prhs[0]));
    plhs[0] = scalar(1);
}

// The argument is one of three rows; all of them stand on the list after the call that fails, and end once.
void call_and_end_all(const char* entry, std::size_t place, ndArray_tag** plhs) {
    ndArray_tag* rows[3] = {scalar(1), scalar(2), scalar(3)};
    const std::size_t before = listed();
    ndArray_tag* result = nullptr;
    bool fine = !call(entry, {rows[place]}, &result) && listed() == before;
    for (std::size_t i = 0; i < 3; ++i) {
        fine = fine && rows[i]->scope == ndTEMPORARY_SCOPE &&
               *ndGetDoubles(rows[i]) == static_cast<double>(i + 1);
        ndDestroyArray(rows[i]);
    }
    plhs[0] = scalar(fine && listed() == before - 3 ? 1 : 0);
}

ENTRY(call_that_claims_the_first) { call_and_end_all("claim_input", 0, plhs); }
ENTRY(call_that_claims_the_last) { call_and_end_all("claim_input", 2, plhs); }
ENTRY(call_that_takes_the_first) { call_and_end_all("take_input", 0, plhs); }
ENTRY(call_that_takes_the_last) { call_and_end_all("take_input", 2, plhs); }

ENTRY(call_that_claims) {
    const ndArray_tag* inputs[1] = {scalar(1)};
    ndCallAddon(self, "claim_input", 1, plhs, 1, inputs);
}

// ---- contexts

ENTRY(leave_open) {
    plhs[0] = scalar(1);
    matrix::pushArrayListContext();
    scalar(2);
    matrix::pushArrayListContext();
    plhs[1 % (nlhs > 1 ? nlhs : 1)] = scalar(7);
    scalar(3);
    matrix::pushAllocListContext();
    ndMalloc(10);
}

ENTRY(leave_open_and_raise) {
    leave_open(nlhs, plhs, nrhs, prhs);
    nd_array_api::ndErrMsgIdAndTxt("ownership:open", "with contexts open");
}

// What is older than the call ends as before it.
void call_and_end_older(const char* entry, ndArray_tag** plhs) {
    ndArray_tag* const older = scalar(5);
    scalar(6);
    void* const block = ndMalloc(20);
    ndArray_tag* result = nullptr;
    const std::size_t before = listed();
    const bool done = call(entry, {}, &result);
    bool fine = listed() == before + (done ? 1 : 0) && (!done || *ndGetDoubles(result) == 7);
    ndDestroyArray(older);
    ndFree(block);
    fine = fine && listed() == before - (done ? 0 : 1);
    plhs[0] = scalar(fine && matrix::isAllocListContextEmpty() ? 1 : 0);
}

ENTRY(call_one_that_leaves_open) { call_and_end_older("leave_open", plhs); }
ENTRY(call_one_that_leaves_open_and_raises) { call_and_end_older("leave_open_and_raise", plhs); }

ENTRY(close_own_context) {
    plhs[0] = scalar(1);
    matrix::popArrayListContext({}, true);
}

ENTRY(close_own_block_context) {
    matrix::popAllocListContext();
    plhs[0] = scalar(1);
}

ENTRY(close_context_of_caller) {
    plhs[0] = scalar(1);
    matrix::popArrayListContext({}, true);
    matrix::popArrayListContext({}, true);
}

ENTRY(call_one_that_closes_its_context) { call_and_end_older("close_own_context", plhs); }

// The arrays are gone with the context, the argument too.
ENTRY(call_one_that_closes_this_context) {
    ndArray_tag* result = nullptr;
    const bool done = call("close_context_of_caller", {scalar(1)}, &result);
    plhs[0] = scalar(!done && listed() == 0 ? 1 : 0);
}
