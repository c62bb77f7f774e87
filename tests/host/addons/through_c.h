#ifndef THROUGH_C_H
#define THROUGH_C_H

#ifdef __cplusplus
extern "C"
#endif
    int
    call_through_c(int (*callback)(int), int argument);

#endif
