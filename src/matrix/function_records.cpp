// Copying and releasing function handle records.
#include "matrix/function_records.hpp"

#include <span>

namespace matrix::internal {

void copy_function_records(const void* from, void* to, std::size_t count, const ndArray_tag* holder) {
    const auto* source = static_cast<const function_record*>(from);
    auto* target = static_cast<function_record*>(to);
    for (const function_record& record : std::span(source, count)) {
        if (record.acquire != nullptr) record.acquire(record.data, holder);
        *target++ = record;
    }
}

void release_function_records(void* records, std::size_t count, const ndArray_tag* holder) noexcept {
    for (function_record& record : std::span(static_cast<function_record*>(records), count)) {
        const function_record ended = record;
        record = {nullptr, nullptr, nullptr, ended.release};
        if (ended.release != nullptr) ended.release(ended.data, holder);
    }
}

} // namespace matrix::internal
