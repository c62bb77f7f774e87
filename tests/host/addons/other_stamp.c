/* other_stamp: an addon function with the stamp OTHER_STAMP, which no header of this library writes. */
#include <nd/nd.h>

const uint32_t ndAddonInterfaceVersion = OTHER_STAMP;

void ndAddonFunction(int nlhs, ndArray_tag* plhs[], int nrhs, const ndArray_tag* prhs[])
{
    (void)nlhs;
    (void)plhs;
    (void)nrhs;
    (void)prhs;
}
