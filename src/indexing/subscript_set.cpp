// The slots of a set of subscripts and the blocks that they own.
#include "indexing/subscript_set.hpp"

#include "errors/raise.hpp"

#include <nd/memory.hpp>

#include <algorithm>
#include <cstring>

namespace matrix::internal {

namespace api = matrix::detail::noninlined::nd_array_api;
using Korvane::engine::IndexFlag;

void index_block_deleter::operator()(kvIndex* block) const noexcept { api::ndFreeEx(block); }

index_block make_index_block(std::size_t count) {
    void* const block = api::ndMallocEx(count * sizeof(kvIndex));
    if (block == nullptr) errors::raise<TARVEL::legacy_two_part::nomem>();
    return index_block(static_cast<kvIndex*>(block));
}

void SubscriptSet::free_block(std::size_t slot) noexcept {
    if (indices[slot] != words_[slot].data()) index_block_deleter()(indices[slot]);
}

SubscriptSet::~SubscriptSet() {
    for (std::size_t slot = 0; slot < indices.size(); ++slot) free_block(slot);
}

void SubscriptSet::put(std::size_t slot, kvIndex* block, slot_kind kind, IndexFlag flag, kvSize num,
                       kvSize max) noexcept {
    free_block(slot);
    indices[slot] = block;
    kinds[slot] = kind;
    info.flag[slot] = flag;
    info.num[slot] = num;
    info.max[slot] = max;
}

void SubscriptSet::put_colon(std::size_t slot, kvSize dim) noexcept {
    put(slot, nullptr, slot_kind::list, dim == 0 ? IndexFlag::colon_of_zero : IndexFlag::colon, dim, dim);
}

void SubscriptSet::put_nothing(std::size_t slot) noexcept {
    put(slot, nullptr, slot_kind::list, IndexFlag::empty, 0, 0);
}

void SubscriptSet::put_list(std::size_t slot, index_block positions, kvSize num, kvSize max) noexcept {
    put(slot, positions.release(), slot_kind::list, IndexFlag::list, num, max);
}

void SubscriptSet::put_position(std::size_t slot, kvIndex position) noexcept {
    words_[slot][0] = position;
    put(slot, words_[slot].data(), slot_kind::list, IndexFlag::list, 1, position + 1);
}

void SubscriptSet::put_range(std::size_t slot, const IndexRange& range, slot_kind kind, kvSize num) noexcept {
    std::memcpy(words_[slot].data(), &range, sizeof range);
    put(slot, words_[slot].data(), kind, IndexFlag::list, num, std::max(range.first, range.last) + 1);
}

} // namespace matrix::internal
