/*
 * limits.h: the limit programs. Each does the work of the rows that name it and nothing more, behind calls into a shared
 * library of its own, as libnd's work stands behind calls into libnd.
 *
 * Arrays here are real doubles, m by n. A header of 112 bytes is the size of libnd's; who creates an array destroys it with
 * the function of the same family. Creators answer null when memory runs out. One thread: blocks go back where they came from.
 */
#ifndef ND_BENCH_LIMITS_H
#define ND_BENCH_LIMITS_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <uchar.h>

#define LIMIT_EXPORT __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

typedef struct limit_array limit_array;

/* freelist-hdr+data: header and block up to 16384 bytes from a thread-local free list. */
LIMIT_EXPORT limit_array* limit_create_zero(size_t m, size_t n);
LIMIT_EXPORT limit_array* limit_create_raw(size_t m, size_t n);
LIMIT_EXPORT void limit_destroy(limit_array* array);

/* freelist-hdr,atomic-count: another header over array's block, whose users are counted; headers from a thread-local free list.
 * limit_release gives a header back; the block stays with the array that it was made for. */
LIMIT_EXPORT limit_array* limit_share(limit_array* array);
LIMIT_EXPORT void limit_release(limit_array* array);

/* shared-library-call: one field is read and compared. */
LIMIT_EXPORT bool limit_is_double(const limit_array* array);

/* header+data allocated: two allocations and their release; the header from the scalable allocator, the zeroed block from
 * the heap. Of the header only the pointer to the block is set. */
LIMIT_EXPORT limit_array* limit_allocate_two(size_t m, size_t n);
LIMIT_EXPORT void limit_release_two(limit_array* array);

/* calloc, malloc and free of the heap: the aligned heap of libnd, linked a second time. */
LIMIT_EXPORT void* limit_heap_calloc(size_t bytes);
LIMIT_EXPORT void* limit_heap_malloc(size_t bytes);
LIMIT_EXPORT void limit_heap_free(void* block);

/* malloc+memcpy of the heap: a fresh block with the bytes of source. */
LIMIT_EXPORT void* limit_heap_copy(const void* source, size_t bytes);

/* mmap+2MiB-pages: fresh pages from the system at each call, given back at each release. */
LIMIT_EXPORT void* limit_map(size_t bytes);
LIMIT_EXPORT void limit_unmap(void* block, size_t bytes);

/* freelist-hdr+data,kept: the same pages with a header, kept for the next array of that size. */
LIMIT_EXPORT limit_array* limit_create_kept(size_t m, size_t n);
LIMIT_EXPORT void limit_destroy_kept(limit_array* array);

/* avx2, C(-O3,avx2): a new array with count elements converted from source, between two classes by their numbers in nd/types.h;
 * no function for equal classes. */
typedef limit_array* (*limit_converter)(const void* source, size_t count);
typedef struct limit_conversion {
    limit_converter convert;
    const char* name;
} limit_conversion;
LIMIT_EXPORT limit_conversion limit_conversion_between(int from_class, int to_class);

/* C(-O3,avx2), avx512: a new array of start, start + step, ... up to stop, which is its last element: the quickest for so many. */
typedef limit_array* (*limit_range_maker)(double start, double step, double stop);
typedef struct limit_range {
    limit_range_maker make;
    const char* name;
} limit_range;
LIMIT_EXPORT limit_range limit_range_of(size_t count);

/* strlen+freelist+avx512 and the like: a new char row of the text, and a block with the text of a row and a NUL, which
 * limit_free_text ends. ASCII for text that is nothing else, else ICU's conversion. */
typedef struct limit_text {
    limit_array* (*create)(const char* text);
    char* (*back)(const char16_t* units, size_t count);
    const char* create_name;
    const char* back_name;
} limit_text;
LIMIT_EXPORT limit_text limit_text_of(bool ascii);
LIMIT_EXPORT void limit_free_text(char* text);

/* Parts of count elements by indices that count from 1; each is checked, and null or false is the answer to one that is none. New
 * arrays end with limit_destroy_result. Each kernel is the quickest for n elements on this processor; the name tells it.
 *   gather        x(indices)
 *   select        x(mask); the block has room for four elements more than are selected
 *   every_second  x(1:2:end)
 *   scatter       x(indices) = values, in place
 *   fill          a value to each of n elements */
typedef struct limit_by_subscripts {
    struct {
        limit_array* (*run)(const double* x, size_t count, const int64_t* indices, size_t n);
        const char* name;
    } gather_int64;
    struct {
        limit_array* (*run)(const double* x, size_t count, const double* indices, size_t n);
        const char* name;
    } gather_double;
    struct {
        limit_array* (*run)(const double* x, const bool* mask, size_t count);
        const char* name;
    } select;
    struct {
        limit_array* (*run)(const double* x, size_t count);
        const char* name;
    } every_second;
    struct {
        bool (*run)(double* x, size_t count, const int64_t* indices, const double* values, size_t n);
        const char* name;
    } scatter_int64;
    struct {
        bool (*run)(double* x, size_t count, const double* indices, const double* values, size_t n);
        const char* name;
    } scatter_double;
    struct {
        void (*run)(double* to, double value, size_t n);
        const char* name;
    } fill;
} limit_by_subscripts;
LIMIT_EXPORT limit_by_subscripts limit_by_subscripts_of(size_t n);

/* memcpy: n elements from first on. memcpy-kept: count elements without those. */
LIMIT_EXPORT limit_array* limit_run(const double* x, size_t first, size_t n);
LIMIT_EXPORT limit_array* limit_kept(const double* x, size_t count, size_t first, size_t n);

/* memcpy-per-column, C-gather-per-column: part of a matrix with so many rows. At most 1024 row indices. */
typedef struct limit_region {
    size_t row;
    size_t rows;
    size_t column;
    size_t columns;
} limit_region;
LIMIT_EXPORT limit_array* limit_block(const double* x, size_t rows, limit_region part);
LIMIT_EXPORT limit_array* limit_block_by_indices(const double* x, size_t rows, size_t columns,
                                                 const double* row_indices, size_t m,
                                                 const double* column_indices, size_t n);

/* shared-library-call,checked: where x(i, j) is. freelist-hdr+data: x(index) as a new array, which limit_destroy ends. call-per-element: one
 * value stored. */
LIMIT_EXPORT bool limit_offset(const double* i, const double* j, size_t rows, size_t columns, size_t* offset);
LIMIT_EXPORT limit_array* limit_element(const double* x, size_t count, const double* index);
LIMIT_EXPORT void limit_store(double* x, size_t index, double value);

/* loop nests in C: x(row, :, page) and x(:, indices, :) of n by n by n. */
LIMIT_EXPORT limit_array* limit_row_of_page(const double* x, size_t n, size_t row, size_t page);
LIMIT_EXPORT limit_array* limit_columns_of_pages(const double* x, size_t n, const double* column_indices,
                                                 size_t columns);

/* A new array of so many doubles, from the lists or the heap, and the end of one that this, a conversion, a range, a text or a reference made. */
LIMIT_EXPORT limit_array* limit_create_result(size_t count);
LIMIT_EXPORT void limit_destroy_result(limit_array* array, size_t bytes);

/* C(-O3): a new full array of m by n doubles from compressed columns, and back: a new array with three blocks, as long as needed. */
LIMIT_EXPORT limit_array* limit_full_from_sparse(const double* values, const size_t* rows,
                                                 const size_t* starts, size_t m, size_t n);
LIMIT_EXPORT limit_array* limit_sparse_from_full(const double* elements, size_t m, size_t n);
LIMIT_EXPORT void limit_destroy_storage(limit_array* array);

/* open-hash: the values of one record by name. The names stay the caller's; by_pointer wants the very pointers. Null for a
 * name that isn't there. */
typedef struct limit_fields limit_fields;
LIMIT_EXPORT limit_fields* limit_create_fields(const char* const* names, void* const* values, size_t count);
LIMIT_EXPORT void limit_destroy_fields(limit_fields* fields);
LIMIT_EXPORT void* limit_field_by_text(const limit_fields* fields, const char* name);
LIMIT_EXPORT void* limit_field_by_pointer(const limit_fields* fields, const char* name);

/* The elements of an array of any family. */
LIMIT_EXPORT void* limit_data(const limit_array* array);

#ifdef __cplusplus
}
#endif

#endif
