// Construction of headers and their data blocks, and custom deleters.
#include "matrix/alloc_list.hpp"
#include "matrix/gc_list.hpp"
#include "matrix/header_allocator.hpp"
#include "matrix/header_factory.hpp"
#include "matrix/sharing.hpp"
#include "matrix/spare_headers.hpp"

#include <foundation/core/except/exception.hpp>
#include <foundation/core/mem/aligned_heap.hpp>

#include <memory>
#include <new>

namespace matrix::internal {
namespace {

struct header_block_deleter {
    void operator()(void* block) const noexcept { give_header_back(static_cast<ndArray_tag*>(block)); }
};
using header_block = std::unique_ptr<void, header_block_deleter>;

// Room for a header. Raises std::bad_alloc.
void* allocate_header() {
    void* const spare = take_spare_header();
    return spare != nullptr ? spare : allocate_header_block(sizeof(ndArray_tag));
}

} // namespace

void* allocate_data(std::size_t bytes, DataInitialization init) {
    if (bytes == 0) return nullptr;
    const auto& heap = foundation::core::mem::aligned_heap_instance();
    void* block = init == DataInitialization::zeroed ? heap.calloc(1, bytes) : heap.malloc(bytes);
    if (block == nullptr) throw foundation::core::except::bad_alloc{};
    return block;
}

void free_data(void* block) noexcept { foundation::core::mem::aligned_heap_instance().free(block); }

array_ptr header_factory::make_blank() {
    auto* array = new (allocate_header()) ndArray_tag;
    start(array, ndUNKNOWN_CLASS, 0, 0, flag_inline_dims);
    array->pdata = nullptr;
    return array_ptr(array);
}

array_ptr header_factory::make(NdArrayTypeId code, dims_view dims, std::size_t bytes,
                               DataInitialization init) {
    header_block block(allocate_header());
    auto* array = new (block.get()) ndArray_tag(code, dims, bytes, init);
    static_cast<void>(block.release());
    return array_ptr(array);
}

ndArray_tag* header_factory::make_matrix(NdArrayTypeId code, std::size_t m, std::size_t n, std::size_t bytes,
                                         DataInitialization init) {
    header_block block(allocate_header());
    void* const data = allocate_data(bytes, init);
    auto* array = new (block.release()) ndArray_tag;
    start(array, class_of(code), m, n, flags_of_matrix(code, m * n));
    array->pdata = data;
    return array;
}

} // namespace matrix::internal

ndArray_tag::ndArray_tag(matrix::internal::NdArrayTypeId type, std::span<const std::size_t> dims,
                         std::size_t bytes, matrix::internal::DataInitialization init) {
    using namespace matrix::internal;
    header_factory::start(this, class_of(type), 0, 0, matrix::flag_inline_dims | flags_of_code(type));
    data_block data(allocate_data(bytes, init));
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
    static_cast<void>(data.release());
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
    using namespace matrix::internal;
    if (data != pdata) begin_own_data(this, fn != nullptr);
    if (fn != nullptr) {
        setCustomDeleter(fn);
    } else if (data != pdata || (!has_shared_data(this) && !has_borrowed_data(this))) {
        nullCustomDeleter(); // of a block that isn't the array's alone the deleter is the others' affair
    }
    flags &= ~(matrix::flag_cached_header | matrix::flag_bin_mask | matrix::flag_capacity_tracked);
    pdata = data;
}

void ndArray_tag::set_pdata_untrusted(void* data, void (*fn)(void*)) {
    set_pdata_and_deleter(data, fn);
    if (fn == nullptr && (flags & matrix::flag_data_private) == 0)
        matrix::internal::removeFromAllocList(data);
}
