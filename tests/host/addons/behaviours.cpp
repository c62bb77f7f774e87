// behaviours: one entry point for each thing that an addon may do right or wrong in its call; the tests choose by --entry.
#include "through_c.h"

#include <nd/engine.hpp>
#include <nd/nd.h>

#include <array>
#include <cstddef>
#include <limits>
#include <new>
#include <stdexcept>

namespace {

namespace nd_array_api = matrix::detail::noninlined::nd_array_api;

// More elements than any array may have.
constexpr std::size_t huge = std::size_t{1} << 40U;

ndArray_tag* scalar(double value) { return ndCreateDoubleScalar(value); }

} // namespace

ND_ADDON_FUNCTION;

#define ENTRY(name)                                                                                          \
    extern "C" ND_EXPORT void name([[maybe_unused]] int nlhs, [[maybe_unused]] ndArray_tag* plhs[],          \
                                   [[maybe_unused]] int nrhs, [[maybe_unused]] const ndArray_tag* prhs[])

ENTRY(nothing) {}

ENTRY(answer) { plhs[0] = scalar(42); }

ENTRY(all_asked_for) {
    for (int k = 0; k < nlhs; ++k) {
        plhs[k] = scalar(k + 1);
    }
}

// From 1 to the first input.
ENTRY(range) { plhs[0] = nd_array_api::ndCreateColonObj(1, 1, ndGetScalar(prhs[0])); }

ENTRY(sparse_eye) {
    const auto n = static_cast<std::size_t>(ndGetScalar(prhs[0]));
    plhs[0] = ndCreateSparse(n, n, n, ndREAL);
    for (std::size_t i = 0; i < n; ++i) {
        ndGetDoubles(plhs[0])[i] = 1;
        ndGetIr(plhs[0])[i] = i;
        ndGetJc(plhs[0])[i + 1] = i + 1;
    }
}

ENTRY(one_too_many) {
    for (int k = 0; k <= nlhs; ++k) {
        plhs[k] = scalar(k);
    }
}

ENTRY(same_array_twice) { plhs[1] = plhs[0] = scalar(1); }

ENTRY(input_as_output) { plhs[0] = const_cast<ndArray_tag*>(prhs[0]); }

// What the engine's error mode is; leaves another behind.
ENTRY(change_error_mode) {
    plhs[0] = scalar(static_cast<double>(matrix::getErrorMode()));
    matrix::setErrorMode(matrix::ErrorMode{99});
}

ENTRY(warn) {
    nd_array_api::ndWarningMsgIdAndTxt("behaviours:warning", "%d \xC3\xA4 \xF0\x9F\x8C\x8B", 5);
    plhs[0] = scalar(1);
}

ENTRY(raise_own) {
    plhs[0] = scalar(1); // an output that was made before the error goes with it
    nd_array_api::ndErrMsgIdAndTxt("behaviours:own", "%s of %d, 100%% \xC3\xA4", "Nummer", 7);
}

ENTRY(raise_by_number) { nd_array_api::ndErrMsg(ndERR_BAD_ARGUMENTS); }

ENTRY(raise_no_memory) { nd_array_api::ndErrMsg(ndERR_OUT_OF_MEMORY); }

ENTRY(create_too_large) { plhs[0] = ndCreateDoubleMatrix(huge, huge, ndREAL); }

ENTRY(create_beyond_memory) { plhs[0] = ndCreateDoubleMatrix(huge, 16, ndREAL); }

ENTRY(throw_bad_alloc) { throw std::bad_alloc(); }

ENTRY(throw_standard) { throw std::out_of_range("seven is beyond six"); }

ENTRY(throw_number) { throw 42; }

ENTRY(throw_through_c) {
    call_through_c(
        [](int argument) -> int {
            if (argument == 7) {
                nd_array_api::ndErrMsgIdAndTxt("behaviours:c", "through C");
            }
            return argument;
        },
        7);
}

ENTRY(results_of_classes) {
    const std::array<ndClassID, 5> classes{ndINT64_CLASS, ndLOGICAL_CLASS, ndCELL_CLASS, ndCHAR_CLASS,
                                           ndSINGLE_CLASS};
    for (int k = 0; k < nlhs && k < 5; ++k) {
        plhs[k] =
            matrix::create(std::array<std::size_t, 2>{1, 2}, classes[static_cast<std::size_t>(k)], ndREAL)
                .release();
    }
    if (nlhs > 0) {
        static_cast<std::int64_t*>(plhs[0]->pdata)[1] = std::numeric_limits<std::int64_t>::min();
    }
}
