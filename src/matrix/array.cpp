// Construction of headers and their data blocks, and custom deleters.
#include "matrix/alloc_list.hpp"
#include "matrix/gc_list.hpp"
#include "matrix/header_allocator.hpp"
#include "matrix/header_factory.hpp"
#include "matrix/sharing.hpp"

#include <foundation/core/except/exception.hpp>
#include <foundation/core/mem/aligned_heap.hpp>

#include <memory>
#include <new>

namespace matrix::internal {
namespace {

struct header_block_deleter {
    void operator()(void* block) const noexcept { free_header_block(block); }
};
using header_block = std::unique_ptr<void, header_block_deleter>;

struct data_deleter {
    void operator()(void* block) const noexcept { free_data(block); }
};
using data_block = std::unique_ptr<void, data_deleter>;

} // namespace

void* allocate_data(std::size_t bytes, DataInitialization init) {
    if (bytes == 0) return nullptr;
    const auto& heap = foundation::core::mem::aligned_heap_instance();
    void* block = init == DataInitialization::zeroed ? heap.calloc(1, bytes) : heap.malloc(bytes);
    if (block == nullptr) throw foundation::core::except::bad_alloc{};
    return block;
}

void free_data(void* block) noexcept { foundation::core::mem::aligned_heap_instance().free(block); }

void header_factory::reset(ndArray_tag* array) noexcept {
    array->share_record = nullptr;
    array->next = nullptr;
    array->class_id = ndUNKNOWN_CLASS;
    array->scope = ndLOCAL_SCOPE;
    array->ref_count = 1;
    array->internal_ref_count = 0;
    array->flags = flag_inline_dims;
    array->m_or_dims = 0;
    array->n_or_ndims = 0;
    array->root_record = nullptr;
    array->parent = nullptr;
    array->pdata = nullptr;
    array->info_a = 0;
    array->info_b = 0;
    array->info_c = 0;
    array->dims32 = nullptr;
}

array_ptr header_factory::make_blank() {
    auto* array = new (allocate_header_block(sizeof(ndArray_tag))) ndArray_tag;
    reset(array);
    return array_ptr(array);
}

array_ptr header_factory::make(NdArrayTypeId code, dims_view dims, std::size_t bytes,
                               DataInitialization init) {
    header_block block(allocate_header_block(sizeof(ndArray_tag)));
    auto* array = new (block.get()) ndArray_tag(code, dims, bytes, init);
    block.release();
    return array_ptr(array);
}

} // namespace matrix::internal

ndArray_tag::ndArray_tag(matrix::internal::NdArrayTypeId type, std::span<const std::size_t> dims,
                         std::size_t bytes, matrix::internal::DataInitialization init) {
    using namespace matrix::internal;
    header_factory::reset(this);
    class_id = class_of(type);
    data_block data(allocate_data(bytes, init));
    flags |= flags_of_code(type);
    prepared_dims(dims).commit_to_new(this);
    pdata = data.get();
    if (class_id == ndFUNCTION_CLASS || class_id == ndOPAQUE_CLASS) {
        try {
            add_to_gc_list(this);
        } catch (...) {
            free_dims(this);
            throw;
        }
    }
    data.release();
}

bool ndArray_tag::hasCustomDeleter() const noexcept {
    return share_record != nullptr && share_record->deleter != nullptr;
}

bool ndArray_tag::hasSameCustomDeleter(void (*fn)(void*)) const noexcept {
    return hasCustomDeleter() && share_record->deleter == fn;
}

void ndArray_tag::setCustomDeleter(void (*fn)(void*)) {
    matrix::internal::ensure_share_record(this)->deleter = fn;
    if (fn != nullptr) flags &= ~(matrix::flag_cached_header | matrix::flag_bin_mask);
}

void ndArray_tag::nullCustomDeleter() noexcept {
    if (share_record != nullptr) share_record->deleter = nullptr;
}

void ndArray_tag::set_pdata_and_deleter(void* data, void (*fn)(void*)) {
    if (fn != nullptr) {
        setCustomDeleter(fn);
    } else {
        nullCustomDeleter();
    }
    flags &= ~(matrix::flag_cached_header | matrix::flag_bin_mask | matrix::flag_capacity_tracked);
    pdata = data;
}

void ndArray_tag::set_pdata_untrusted(void* data, void (*fn)(void*)) {
    set_pdata_and_deleter(data, fn);
    if (fn == nullptr && (flags & matrix::flag_data_private) == 0)
        matrix::internal::removeFromAllocList(data);
}
