/* no_stamp: an addon function whose author forgot ND_ADDON_FUNCTION. */
#include <nd/nd.h>

void ndAddonFunction(int nlhs, ndArray_tag* plhs[], int nrhs, const ndArray_tag* prhs[])
{
    (void)nlhs;
    (void)plhs;
    (void)nrhs;
    (void)prhs;
}
