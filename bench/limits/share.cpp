// Headers over one block: a counted record, made with the first copy, and headers from a thread-local list.
#include "array_header.hpp"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

struct counted_record {
    std::atomic<std::uint32_t> count{1};
};

[[gnu::tls_model("initial-exec")]] constinit thread_local limit_array* headers = nullptr;

[[gnu::noinline, gnu::cold]] counted_record* make_record(limit_array* array) noexcept {
    auto* const record = new (std::nothrow) counted_record;
    array->share_record = record;
    return record;
}

[[gnu::noinline, gnu::cold]] limit_array* make_header() noexcept {
    return static_cast<limit_array*>(std::malloc(sizeof(limit_array)));
}

} // namespace

limit_array* limit_share(limit_array* array) {
    auto* record = static_cast<counted_record*>(array->share_record);
    if (record == nullptr) [[unlikely]]
        record = make_record(array);
    limit_array* header = headers;
    if (header == nullptr) [[unlikely]]
        header = make_header();
    else
        headers = header->next;
    if (record == nullptr || header == nullptr) return nullptr;
    limits::start(header, array->m, array->n, array->list);
    header->share_record = record;
    header->data = array->data;
    record->count.fetch_add(1, std::memory_order_relaxed);
    return header;
}

void limit_release(limit_array* array) {
    auto* const record = static_cast<counted_record*>(array->share_record);
    record->count.fetch_sub(1, std::memory_order_acq_rel);
    array->next = headers;
    headers = array;
}
