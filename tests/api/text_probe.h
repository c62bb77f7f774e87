/*
 * text_probe.h: text of one generation behind one shape. text_probe.c is compiled once for each ND_API.
 *
 * round_trip and longest_line are what addon functions do with text: they allocate with the library, and what they can't do they
 * answer with null or 0.
 */
#ifndef ND_TEST_TEXT_PROBE_H
#define ND_TEST_TEXT_PROBE_H

#include <nd/types.h>

typedef struct text_probe {
    int api;
    ndArray_tag* (*char_array)(int ndim, const long long* dims);
    ndArray_tag* (*char_matrix)(long long m, const char** strings);
    ndArray_tag* (*string)(const char* text);
    ndArray_tag* (*string_of_n)(const char* text, long long n);
    char* (*to_string)(const ndArray_tag* array);
    unsigned char* (*to_utf8)(const ndArray_tag* array);
    char16_t* (*to_utf16)(const ndArray_tag* array);
    int (*get_string)(const ndArray_tag* array, char* buffer, long long size);
    int (*get_chars)(const ndArray_tag* array, char* buffer, long long size);
    void (*free)(void* block);
    ndArray_tag* (*round_trip)(const ndArray_tag* array); /* bytes out by ndGetString, and in again */
    size_t (*longest_line)(const ndArray_tag* array);     /* in bytes, of lines that '\n' ends */
} text_probe;

ND_EXTERN_C_BEGIN
extern const text_probe text_probe_700, text_probe_730, text_probe_800;
ND_EXTERN_C_END

#endif
