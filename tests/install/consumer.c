/* A program in strict C11 that uses the installed library through nd/nd.h, compiled once for each generation. */
#include <nd/nd.h>

#include <stdio.h>

#if ND_API == 700
typedef int size_of_generation;
#else
typedef kvSize size_of_generation;
#endif

#define HAS_TYPE(expression, type) _Generic((expression), type: 1, default: 0)

int main(void)
{
    const size_of_generation dims[3] = {2, 3, 4};
    ndArray_tag* array = ndCreateNumericArray(3, dims, ndINT16_CLASS, ndREAL);
    _Static_assert(HAS_TYPE(ndGetDimensions(NULL), const size_of_generation*), "sizes are those of the generation");
    if (!array || ndGetNumberOfDimensions(array) != 3 || ndGetDimensions(array)[2] != 4) return 1;
    printf("%d %08x %s %d\n", ND_API, (unsigned)ND_INTERFACE_VERSION, ndGetClassName(array),
           (int)ndGetNumberOfElements(array));
    ndDestroyArray(array);
    return 0;
}
