/*
 * nd/host.h: what the command-line host nd offers to the addon functions that it calls, in C11 and in C++.
 *
 * These names are in the program nd, not in libnd: an addon that uses them is loaded by nd alone.
 */
#ifndef ND_HOST_H
#define ND_HOST_H

#include <nd/types.h>

ND_EXTERN_C_BEGIN

/*
 * Calls another addon function. The call ends like any other: what that function made and didn't put out is gone.
 *     addon  which addon: a name without a slash is the file NAME.so beside the calling addon, anything else a path
 *     entry  the function in it; null for ndAddonFunction
 *     nlhs   how many results are wanted
 *     plhs   gets them: room for nlhs, and for one when nlhs is 0; then it may be null, and what comes unasked ends.
 *            Slots that get no result are left as they are
 *     nrhs   how many arguments there are
 *     prhs   the arguments, which stay the caller's
 * The results belong to the calling function, like arrays that it made itself. Errors leave this function as C++ exceptions
 * in every mode and plhs is then unchanged: what the called function raised, and
 *     nd:callAddon:outside  when no addon function is running on this thread
 *     nd:callAddon:depth    when 256 addon functions are running already, one called by the other
 *     nd:callAddon:count    when nlhs or nrhs is negative, or above 1000000
 *     nd:callAddon:null     when addon is null, or plhs or prhs is where something is to stand there
 *     std::exception        when there is no such addon, or its results aren't as asked for
 */
ND_EXPORT void ndCallAddon(const char* addon, const char* entry, int nlhs, ndArray_tag* plhs[], int nrhs,
                           const ndArray_tag* prhs[]);

ND_EXTERN_C_END

#endif
