// Sparse to full storage and back, with the result's end: a million doubles of which a few lie here and there.
#include "rows/rows.hpp"

#include "harness/process.hpp"
#include "limits/limits.h"

#include <nd/convert.hpp>
#include <nd/create.hpp>
#include <nd/sparse.hpp>

#include <memory>

namespace bench {
namespace {

namespace api = matrix::detail::noninlined::nd_array_api;

constexpr std::size_t rows_of_million = 1000;
constexpr std::size_t columns_of_million = 1000;

// The same values in both storages, made when a row first needs them.
class subject {
public:
    explicit subject(unsigned percent) : percent_(percent) {}

    const ndArray_tag* full() {
        if (!full_) make();
        return full_.get();
    }
    const ndArray_tag* sparse() {
        full();
        return sparse_.get();
    }

private:
    void make() {
        constexpr unsigned hundred = 100;
        const std::size_t dims[] = {rows_of_million, columns_of_million};
        full_ = matrix::create(dims, ndDOUBLE_CLASS, ndREAL);
        auto* const elements = static_cast<double*>(full_->pdata);
        std::uint64_t state = 1;
        for (std::size_t i = 0; i < rows_of_million * columns_of_million; ++i) {
            state = state * 6364136223846793005U + 1442695040888963407U;
            if ((state >> 33) % hundred < percent_) elements[i] = static_cast<double>(i + 1);
        }
        sparse_.reset(api::ndMustBeSparse(full_.get()));
    }

    unsigned percent_;
    matrix::array_ptr full_, sparse_;
};

template <class Body>
meter timed_conversion(std::shared_ptr<subject> values, Body body) {
    return [values, body](std::size_t repetitions) {
        values->full();
        const double begin = processor_time();
        for (std::size_t i = 0; i < repetitions; ++i) body(*values);
        return processor_time() - begin;
    };
}

void limit_to_full(subject& values) {
    const ndArray_tag* const sparse = values.sparse();
    limit_destroy_storage(limit_full_from_sparse(static_cast<const double*>(sparse->pdata),
                                                 api::ndGetIr(sparse), api::ndGetJc(sparse), rows_of_million,
                                                 columns_of_million));
}

void limit_to_sparse(subject& values) {
    limit_destroy_storage(limit_sparse_from_full(static_cast<const double*>(values.full()->pdata),
                                                 rows_of_million, columns_of_million));
}

void add_rows(row_list& rows, unsigned percent) {
    const auto values = std::make_shared<subject>(percent);
    const std::string size = "1e6," + std::to_string(percent) + "%";
    rows.push_back({.work = "sparse_to_full",
                    .size = size,
                    .limit_name = "C(-O3)",
                    .libnd = timed_conversion(
                        values, [](subject& s) { api::ndDestroyArray(api::ndMustBeFull(s.sparse())); }),
                    .limit = timed_conversion(values, limit_to_full),
                    .group = "sparse"});
    rows.push_back({.work = "full_to_sparse",
                    .size = size,
                    .limit_name = "C(-O3)",
                    .libnd = timed_conversion(
                        values, [](subject& s) { api::ndDestroyArray(api::ndMustBeSparse(s.full())); }),
                    .limit = timed_conversion(values, limit_to_sparse),
                    .group = "sparse"});
}

} // namespace

row_list sparse_rows() {
    row_list rows;
    for (const unsigned percent : {1U, 10U}) add_rows(rows, percent);
    return rows;
}

} // namespace bench
