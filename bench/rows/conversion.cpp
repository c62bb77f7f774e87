// Conversion of arrays between all classes that have scalars, through ndCreateConvertedCopy, with the result's end.
#include "rows/rows.hpp"

#include "harness/process.hpp"
#include "limits/limits.h"

#include <nd/convert.hpp>
#include <nd/create.hpp>

#include <map>
#include <utility>

namespace bench {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;

struct scalar_class {
    const char* name;
    ndClassID id;
    std::size_t size;
};

constexpr scalar_class classes[] = {
    {"logical", ndLOGICAL_CLASS, 1}, {"char16", ndCHAR_CLASS, 2},   {"double", ndDOUBLE_CLASS, 8},
    {"single", ndSINGLE_CLASS, 4},   {"int8", ndINT8_CLASS, 1},     {"uint8", ndUINT8_CLASS, 1},
    {"int16", ndINT16_CLASS, 2},     {"uint16", ndUINT16_CLASS, 2}, {"int32", ndINT32_CLASS, 4},
    {"uint32", ndUINT32_CLASS, 4},   {"int64", ndINT64_CLASS, 8},   {"uint64", ndUINT64_CLASS, 8},
};

struct length {
    const char* name;
    std::size_t count;
};

constexpr length lengths[] = {{"12", 12}, {"1000", 1000}, {"1e6", 1000000}};

// Values on either side of the limits of short classes, with fractions where the class has them. Logical values are 0 and 1; an
// array of bytes holds more than that, so that none passes as logical without a copy.
matrix::array_ptr make_source(const scalar_class& from, std::size_t count) {
    const std::size_t dims[] = {count, 1};
    const matrix::array_ptr numbers = matrix::create(dims, ndDOUBLE_CLASS, ndREAL);
    auto* const values = static_cast<double*>(numbers->pdata);
    for (std::size_t i = 0; i < count; ++i)
        values[i] = (static_cast<double>(i * 7919 % 4000) - 2000) / 7; // -286 to 286
    return matrix::create_converted_copy(numbers.get(), from.id);
}

// Made when a row first needs it: rows before this group want the memory of a fresh process.
const ndArray_tag* source_of(const scalar_class& from, std::size_t count) {
    static std::map<std::pair<ndClassID, std::size_t>, matrix::array_ptr> sources;
    matrix::array_ptr& source = sources[{from.id, count}];
    if (!source) source = make_source(from, count);
    return source.get();
}

row conversion(const scalar_class& from, const scalar_class& to, const length& size) {
    const limit_conversion limit = limit_conversion_between(from.id, to.id);
    return {.work = std::string(from.name) + "->" + to.name,
            .size = size.name,
            .limit_name = limit.name,
            .libnd =
                [=](std::size_t repetitions) {
                    const ndArray_tag* const source = source_of(from, size.count);
                    const double begin = processor_time();
                    for (std::size_t i = 0; i < repetitions; ++i)
                        api::ndDestroyArray(api::ndCreateConvertedCopy(source, to.id));
                    return processor_time() - begin;
                },
            .limit =
                [=](std::size_t repetitions) {
                    const void* const source = source_of(from, size.count)->pdata;
                    const double begin = processor_time();
                    for (std::size_t i = 0; i < repetitions; ++i)
                        limit_destroy_result(limit.convert(source, size.count), size.count * to.size);
                    return processor_time() - begin;
                },
            .group = "convert"};
}

bool exists(const scalar_class& from, const scalar_class& to) {
    return from.id != to.id && !(from.id == ndLOGICAL_CLASS && to.id == ndCHAR_CLASS);
}

} // namespace

row_list conversion_rows() {
    row_list rows;
    if (!__builtin_cpu_supports("avx2")) return rows; // the limits are AVX2 code
    for (const scalar_class& from : classes) {
        for (const scalar_class& to : classes) {
            if (!exists(from, to)) continue;
            for (const length& size : lengths) rows.push_back(conversion(from, to, size));
        }
    }
    return rows;
}

} // namespace bench
