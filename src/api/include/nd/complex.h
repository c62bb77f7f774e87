/*
 * nd/complex.h: the elements of complex arrays, in C11 and in C++.
 *
 * Real part first, imaginary part directly behind it, no padding: the layout of std::complex and of the C types
 * double _Complex and float _Complex, so pointers may be converted between them.
 */
#ifndef ND_COMPLEX_H
#define ND_COMPLEX_H

#include <stdint.h>

#define ND_COMPLEX_TYPE(name, part)                                                                          \
    typedef struct name {                                                                                    \
        part re;                                                                                             \
        part im;                                                                                             \
    } name

ND_COMPLEX_TYPE(nd_complex_double, double);
ND_COMPLEX_TYPE(nd_complex_single, float);
ND_COMPLEX_TYPE(nd_complex_int8, int8_t);
ND_COMPLEX_TYPE(nd_complex_uint8, uint8_t);
ND_COMPLEX_TYPE(nd_complex_int16, int16_t);
ND_COMPLEX_TYPE(nd_complex_uint16, uint16_t);
ND_COMPLEX_TYPE(nd_complex_int32, int32_t);
ND_COMPLEX_TYPE(nd_complex_uint32, uint32_t);
ND_COMPLEX_TYPE(nd_complex_int64, int64_t);
ND_COMPLEX_TYPE(nd_complex_uint64, uint64_t);

#undef ND_COMPLEX_TYPE

#endif
