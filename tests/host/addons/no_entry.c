/* no_entry: a stamp without an addon function. */
#include <nd/nd.h>

ND_ADDON_FUNCTION;
