/* Calls back from C. What the callback throws passes through this frame, which C code of addons must allow. */
#include "through_c.h"

int call_through_c(int (*callback)(int), int argument) { return callback(argument) + 1; }
