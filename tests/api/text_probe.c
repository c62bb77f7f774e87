/* Text of the generation ND_API, as an addon of that generation uses it. See text_probe.h. */
#include "api/text_probe.h"

#include <nd/nd.h>

#include <string.h>

#if ND_API == 700
typedef int size_type;
#else
typedef kvSize size_type;
#endif

enum { most_dimensions = 8, most_bytes_of_unit = 4 };

static ndArray_tag* char_array(int ndim, const long long* dims) {
    size_type sizes[most_dimensions];
    for (int i = 0; i < ndim && i < most_dimensions; ++i) {
        sizes[i] = (size_type)dims[i];
    }
    return ndCreateCharArray((size_type)ndim, sizes);
}

static ndArray_tag* char_matrix(long long m, const char** strings) {
    return ndCreateCharMatrixFromStrings((size_type)m, strings);
}

static ndArray_tag* string_of_n(const char* text, long long n) {
    return ndCreateStringFromNChars(text, (size_type)n);
}

static int get_string(const ndArray_tag* array, char* buffer, long long size) {
    return ndGetString(array, buffer, (size_type)size);
}

static int get_chars(const ndArray_tag* array, char* buffer, long long size) {
    return ndGetNChars(array, buffer, (size_type)size);
}

static ndArray_tag* round_trip(const ndArray_tag* array) {
    const size_t size = most_bytes_of_unit * ndGetNumberOfElements(array) + 1;
    char* const buffer = ndMalloc(size);
    ndArray_tag* back = NULL;
    if (buffer == NULL) return NULL;
    if (ndGetString(array, buffer, (size_type)size) == 0) {
        back = ndCreateString(buffer);
    }
    ndFree(buffer);
    return back;
}

static size_t longest_line(const ndArray_tag* array) {
    char* const text = ndArrayToString(array);
    size_t longest = 0;
    if (text == NULL) return 0;
    for (const char* line = text; line != NULL;) {
        const char* const end = strchr(line, '\n');
        const size_t length = end == NULL ? strlen(line) : (size_t)(end - line);
        if (length > longest) longest = length;
        line = end == NULL ? NULL : end + 1;
    }
    ndFree(text);
    return longest;
}

#define JOIN_TWO(a, b) a##b
#define JOIN(a, b) JOIN_TWO(a, b)

const text_probe JOIN(text_probe_, ND_API) = {
    .api = ND_API,
    .char_array = char_array,
    .char_matrix = char_matrix,
    .string = ndCreateString,
    .string_of_n = string_of_n,
    .to_string = ndArrayToString,
    .to_utf8 = ndArrayToString_UTF8,
    .to_utf16 = ndArrayToString_UTF16,
    .get_string = get_string,
    .get_chars = get_chars,
    .free = ndFree,
    .round_trip = round_trip,
    .longest_line = longest_line,
};
