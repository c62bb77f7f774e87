// The fingerprints of the torture build: a table by record, in which one may push another out. No memory is asked for, so that counts of
// allocations are those of other builds.
#include "matrix/shared_fingerprint.hpp"

#include "matrix/accessors.hpp"
#include "matrix/class_table.hpp"
#include "matrix/dimensions.hpp"
#include "matrix/scaffolding.hpp"
#include "matrix/sharing.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>

namespace matrix::internal {
namespace {

struct fingerprint {
    const ::share_record* record = nullptr;
    const void* block = nullptr;
    std::size_t bytes = 0;
    std::uint64_t hash = 0;
};

constexpr std::size_t table_size = 1 << 14;
constinit std::array<fingerprint, table_size> table;
constinit std::mutex table_lock;

fingerprint& place_of(const ::share_record* record) noexcept {
    constexpr unsigned alignment_bits = 5;
    return table[(reinterpret_cast<std::uintptr_t>(record) >> alignment_bits) % table_size];
}

// 0 where there is nothing to compare.
std::size_t compared_bytes(const ndArray_tag* array) noexcept {
    constexpr std::uint32_t other_storage = flag_sparse | flag_colon_object | flag_indexing_opaque;
    constexpr std::size_t most = 1'000'000;
    if (!has_plain_elements(array->class_id) || (array->flags & other_storage) != 0 ||
        array->pdata == nullptr || view_of(array) != nullptr)
        return 0;
    const std::size_t count = element_count(array);
    const std::size_t size = stored_element_size(array);
    return size != 0 && count <= most / size ? count * size : 0;
}

// FNV-1a.
std::uint64_t hash_of(const void* block, std::size_t bytes) noexcept {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (std::size_t i = 0; i < bytes; ++i)
        hash = (hash ^ static_cast<const std::uint8_t*>(block)[i]) * 0x100000001B3;
    return hash;
}

} // namespace

void note_joining(const ndArray_tag* array) noexcept {
    if (array->share_record->count.load(std::memory_order_acquire) > 1) return check_shared_block(array);
    const std::size_t bytes = compared_bytes(array);
    if (bytes == 0) return forget_fingerprint(array->share_record);
    const std::uint64_t hash = hash_of(array->pdata, bytes);
    const std::lock_guard guard(table_lock);
    place_of(array->share_record) = {array->share_record, array->pdata, bytes, hash};
}

void check_shared_block(const ndArray_tag* array) noexcept {
    if (!has_shared_data(array)) return;
    const std::size_t bytes = compared_bytes(array);
    const std::lock_guard guard(table_lock);
    const fingerprint& known = place_of(array->share_record);
    // Sharers may see a block through dimensions of their own.
    if (bytes == 0 || known.record != array->share_record || known.block != array->pdata ||
        known.bytes != bytes)
        return;
    if (known.hash != hash_of(array->pdata, bytes))
        end_for_sharing_fault("A shared block was written to", __PRETTY_FUNCTION__);
}

void forget_fingerprint(const ::share_record* record) noexcept {
    const std::lock_guard guard(table_lock);
    fingerprint& known = place_of(record);
    if (known.record == record) known = {};
}

} // namespace matrix::internal
