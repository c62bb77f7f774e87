/*
 * nd/types.h: the names that every interface of libnd shares, in C11 and in C++20.
 *
 * Sizes and indices are 64-bit unsigned. Subscripts of the C interface are zero-based unless a function says otherwise.
 * No index and no element count exceeds 2^48 - 1; a request beyond that is refused before anything is allocated. A dimension
 * may be larger where another one is 0.
 */
#ifndef ND_TYPES_H
#define ND_TYPES_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#    define ND_ENUM_BASE(type) : type
#    define ND_EXTERN_C_BEGIN extern "C" {
#    define ND_EXTERN_C_END }
#else
#    include <uchar.h>
#    define ND_ENUM_BASE(type)
#    define ND_EXTERN_C_BEGIN
#    define ND_EXTERN_C_END
#endif

/*
 * Marks what libnd exports. C functions and C++ names carry it at their declaration in a public header and nowhere else;
 * everything without it is hidden.
 */
#if defined(__GNUC__) || defined(__clang__)
#    define ND_EXPORT __attribute__((visibility("default")))
#else
#    define ND_EXPORT
#endif

/* 64-bit size and index of the interface. The 32-bit generation takes int instead. */
typedef size_t kvSize;
typedef size_t kvIndex;

/*
 * An array value. C code handles it through a pointer only; C++ code that includes nd/array.hpp sees the record.
 */
struct ndArray_tag;
#ifndef __cplusplus
typedef struct ndArray_tag ndArray_tag;
#endif

/*
 * The class of an array. The numbers are part of the interface: they stand in array headers and in saved files.
 */
enum ndClassID ND_ENUM_BASE(int32_t){
    ndUNKNOWN_CLASS = 0,   /* no class yet, or an emptied header */
    ndCELL_CLASS = 1,      /* container: each element is an array or null */
    ndSTRUCT_CLASS = 2,    /* container: each element has one array for every field */
    ndLOGICAL_CLASS = 3,   /* one byte an element, 0 or 1 */
    ndCHAR_CLASS = 4,      /* one UTF-16 code unit an element */
    ndVOID_CLASS = 5,      /* reserved: no array has it */
    ndDOUBLE_CLASS = 6,    /* IEEE 754 binary64 */
    ndSINGLE_CLASS = 7,    /* IEEE 754 binary32 */
    ndINT8_CLASS = 8,      /* two's complement integers and their unsigned partners */
    ndUINT8_CLASS = 9,     /* */
    ndINT16_CLASS = 10,    /* */
    ndUINT16_CLASS = 11,   /* */
    ndINT32_CLASS = 12,    /* */
    ndUINT32_CLASS = 13,   /* */
    ndINT64_CLASS = 14,    /* */
    ndUINT64_CLASS = 15,   /* also the class of indices */
    ndFUNCTION_CLASS = 16, /* function handle */
    ndOPAQUE_CLASS = 17,   /* value of a class system that lives outside the library */
    ndOBJECT_CLASS = 18    /* struct with a class name */
};

/* Whether elements have an imaginary part. Complex data lie interleaved: real, imaginary, real, imaginary... */
enum ndComplexity ND_ENUM_BASE(int32_t){ndREAL = 0, ndCOMPLEX = 1};

/* Who holds an array. ndTEMPORARY_SCOPE means that it stands on the current array list. */
enum ndVariableScope ND_ENUM_BASE(uint32_t){
    ndLOCAL_SCOPE = 0,        /* its creator or a local workspace */
    ndLOCAL_STATIC_SCOPE = 1, /* a static local variable */
    ndGLOBAL_SCOPE = 2,       /* a global variable */
    ndMEMBER_SCOPE = 3,       /* a slot of a cell, struct or object */
    ndTEMPORARY_SCOPE = 4,    /* the current array list */
    ndPERSISTENT_SCOPE = 5,   /* a persistent variable */
    ndPROPERTY_SCOPE = 6,     /* an object's property */
    ndUNKNOWN_SCOPE = 7       /* nobody: the header is being destroyed */
};

#ifndef __cplusplus
typedef enum ndClassID ndClassID;
typedef enum ndComplexity ndComplexity;
typedef enum ndVariableScope ndVariableScope;
#endif

#endif
