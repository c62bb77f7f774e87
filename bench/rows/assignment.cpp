// Storing into double arrays by subscripts, deletion and growth.
#include "rows/rows.hpp"

#include "harness/meters.hpp"
#include "rows/works.hpp"

#include <nd/assignment.hpp>
#include <nd/colon.hpp>
#include <nd/containers.hpp>
#include <nd/deletion.hpp>
#include <nd/reference.hpp>

#include <algorithm>
#include <memory>
#include <numeric>
#include <random>
#include <vector>

namespace bench {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;
using array = std::shared_ptr<ndArray_tag>;

constexpr std::size_t appended = 100000;

array owned(ndArray_tag* given) { return {given, ndDestroyArray}; }

double* elements_of(const array& a) { return static_cast<double*>(a->pdata); }

array numbered(std::size_t n) {
    array made = owned(ndCreateDoubleMatrix(1, n, ndREAL));
    std::iota(elements_of(made), elements_of(made) + n, 1.0);
    return made;
}

// Every index once, in random order: what is stored doesn't depend on the order.
array shuffled(std::size_t n) {
    array made = numbered(n);
    std::shuffle(elements_of(made), elements_of(made) + n, std::mt19937_64(1));
    return made;
}

array as_int64(const array& indices, std::size_t n) {
    array made = owned(api::ndCreateNumericMatrix(1, n, ndINT64_CLASS, ndREAL));
    std::transform(elements_of(indices), elements_of(indices) + n, static_cast<std::int64_t*>(made->pdata),
                   [](double index) { return static_cast<std::int64_t>(index); });
    return made;
}

array range_of(std::size_t first, std::size_t last) {
    return owned(api::ndCreateColonObj(static_cast<double>(first), 1, static_cast<double>(last)));
}

meter assignment_to(const array& x, const array& sub, const array& rhs) {
    return timed([=] {
        const ndArray_tag* const subs[] = {sub.get()};
        api::ndSubscriptedAssignment(x.get(), 1, subs, rhs.get());
    });
}

void add_stores(row_list& rows, const char* size, std::size_t n) {
    const array doubles = shuffled(n);
    const array integers = as_int64(doubles, n);
    const array values = numbered(n);
    const array x = numbered(n);
    const array limit_x = numbered(n);
    const limit_by_subscripts best = limit_by_subscripts_of(n);
    rows.push_back({.work = "scatter_int64",
                    .size = size,
                    .limit_name = best.scatter_int64.name,
                    .libnd = assignment_to(x, integers, values),
                    .limit = timed([=] {
                        best.scatter_int64.run(elements_of(limit_x), n,
                                               static_cast<std::int64_t*>(integers->pdata),
                                               elements_of(values), n);
                    }),
                    .group = "assignment"});
    rows.push_back({.work = "scatter_double",
                    .size = size,
                    .limit_name = best.scatter_double.name,
                    .libnd = assignment_to(x, doubles, values),
                    .limit = timed([=] {
                        best.scatter_double.run(elements_of(limit_x), n, elements_of(doubles),
                                                elements_of(values), n);
                    }),
                    .group = "assignment"});
    const std::size_t first = n / 4;
    const array range = range_of(first + 1, first + n / 2);
    const array one = owned(ndCreateDoubleScalar(7));
    rows.push_back(
        {.work = "fill_range_half",
         .size = size,
         .limit_name = best.fill.name,
         .libnd = assignment_to(x, range, one),
         .limit = timed([=] { best.fill.run(elements_of(limit_x) + first, *elements_of(one), n / 2); }),
         .group = "assignment"});
}

// Work that uses its operand up, on many that were made before; a repetition is one of them.
template <class Operand, class Make, class Work, class End>
meter timed_on_many(std::size_t many, Make make, Work work, End end) {
    return [=](std::size_t repetitions) {
        std::vector<Operand> operands(many);
        double sum = 0;
        for (std::size_t done = 0; done < repetitions; done += many) {
            for (Operand& operand : operands) operand = make();
            const double begin = processor_time();
            for (Operand& operand : operands) operand = work(operand);
            sum += processor_time() - begin;
            for (const Operand& operand : operands) end(operand);
        }
        const std::size_t rounds = (repetitions + many - 1) / many;
        return sum * static_cast<double>(repetitions) / static_cast<double>(rounds * many);
    };
}

// The middle half goes. Both sides end what was there.
void add_deletion(row_list& rows, const char* size, std::size_t n, std::size_t many) {
    const std::size_t first = n / 4;
    const array range = range_of(first + 1, first + n / 2);
    const std::size_t bytes = n * sizeof(double);
    rows.push_back({.work = "delete_range_half",
                    .size = size,
                    .limit_name = "memcpy-kept",
                    .libnd = timed_on_many<ndArray_tag*>(
                        many,
                        [n] {
                            ndArray_tag* const x = ndCreateUninitDoubleMatrix(0, 1, n);
                            std::fill_n(static_cast<double*>(x->pdata), n, 1.0);
                            return x;
                        },
                        [range](ndArray_tag* x) {
                            const ndArray_tag* const subs[] = {range.get()};
                            api::ndSubscriptedDelete(x, 1, subs);
                            return x;
                        },
                        [](ndArray_tag* x) { ndDestroyArray(x); }),
                    .limit = timed_on_many<limit_array*>(
                        many,
                        [n] {
                            limit_array* const x = limit_create_result(n);
                            std::fill_n(static_cast<double*>(limit_data(x)), n, 1.0);
                            return x;
                        },
                        [=](limit_array* x) {
                            limit_array* const kept =
                                limit_kept(static_cast<double*>(limit_data(x)), n, first, n / 2);
                            limit_destroy_result(x, bytes);
                            return kept;
                        },
                        [=](limit_array* x) { limit_destroy_result(x, (n - n / 2) * sizeof(double)); }),
                    .group = "assignment"});
}

// An engine's c{end + 1} = v, and with a field s(end + 1).f = v: the slot is looked for, and v, which all of them share, goes there.
meter appended_slots(std::size_t count, std::size_t field) {
    const array value = owned(ndCreateDoubleScalar(7));
    const array index = owned(ndCreateDoubleScalar(1));
    return timed([=] {
        const char* names[] = {"f"};
        ndArray_tag* const x = field == 0 ? ndCreateCellMatrix(1, 0) : ndCreateStructMatrix(1, 0, 1, names);
        const ndArray_tag* const subs[] = {index.get()};
        for (std::size_t i = 1; i <= count; ++i) {
            *elements_of(index) = static_cast<double>(i);
            bool grew = false;
            const kvIndex slot = api::ndScalarRef(x, 1, subs, field, true, grew);
            api::ndSetCopyInCell(x, slot, value.get());
        }
        ndDestroyArray(x);
    });
}

meter appended_numbers(std::size_t count) {
    return timed([count] {
        ndArray_tag* const x = ndCreateDoubleMatrix(1, 0, ndREAL);
        for (kvIndex i = 0; i < count; ++i)
            api::ndScalarSubscriptedAssignment(x, &i, 1, static_cast<double>(i));
        ndDestroyArray(x);
    });
}

meter stores_into_known_size(std::size_t count) {
    return timed([count] {
        limit_array* const x = limit_create_result(count);
        auto* const elements = static_cast<double*>(limit_data(x));
        for (std::size_t i = 0; i < count; ++i) limit_store(elements, i, static_cast<double>(i));
        limit_destroy_result(x, count * sizeof(double));
    });
}

// One past the end, again and again, beginning with nothing.
void add_growth(row_list& rows) {
    rows.push_back({.work = "append_1e5",
                    .size = "1e5",
                    .limit_name = "array-of-known-size,call-per-element",
                    .libnd = appended_numbers(appended),
                    .limit = stores_into_known_size(appended),
                    .group = "assignment"});
}

// For information: ten times as many take ten times as long where growth is amortised.
void add_long_growth(row_list& rows) {
    const struct {
        const char* name;
        std::size_t count;
    } lengths[] = {{"1e4", 10000}, {"1e5", 100000}, {"1e6", 1000000}};
    for (const auto& length : lengths) {
        const auto add = [&](const char* work, const meter& libnd) {
            rows.push_back({.work = work,
                            .size = length.name,
                            .limit_name = "array-of-known-size,call-per-element",
                            .libnd = libnd,
                            .limit = stores_into_known_size(length.count),
                            .group = "growth"});
        };
        add("append(vector)", appended_numbers(length.count));
        add("append(cell)", appended_slots(length.count, 0));
        add("append(field)", appended_slots(length.count, 1));
    }
}

} // namespace

row_list assignment_rows() {
    row_list rows;
    add_stores(rows, "1000", 1000);
    add_stores(rows, "1e6", 1000000);
    add_deletion(rows, "1000", 1000, 64);
    add_deletion(rows, "1e6", 1000000, 1);
    add_growth(rows);
    add_long_growth(rows);
    return rows;
}

} // namespace bench
