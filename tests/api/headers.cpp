// The public C header together with everything for the engine, in one C++ file and once for each ND_API: the names of the C
// interface, bound to their generation, stand beside those of the namespaces.
#include <nd/compat.hpp>
#include <nd/engine.hpp>
#include <nd/nd.h>

#include <complex>
#include <type_traits>

ND_ADDON_FUNCTION;

static_assert(std::is_same_v<decltype(ndGetM(nullptr)), kvSize>);
static_assert(std::is_same_v<decltype(ndGetNumberOfDimensions(nullptr)),
                             std::conditional_t<ND_API == 700, int, kvSize>>);
static_assert(sizeof(nd_complex_uint64) == sizeof(std::complex<std::uint64_t>));
static_assert(alignof(nd_complex_single) == alignof(std::complex<float>));

extern "C" void ndAddonFunction(int, ndArray_tag* plhs[], int nrhs, const ndArray_tag* prhs[]) {
    namespace engine = matrix::detail::noninlined::nd_array_api;
    const bool same = nrhs > 0 && engine::ndGetM(prhs[0]) == ndGetM(prhs[0]);
    plhs[0] = same ? ndCreateLogicalScalar(true) : engine::ndCreateLogicalScalar(false);
}
